// libFuzzer target for the locator stream reader on arbitrary bytes: a
// TopLocator unit, then loose locator references, must read without a
// crash, a hang or an allocation the input does not pay for; whatever was
// read, cycles included, must then print and write.  The reader empties
// what it made at the end, so that the cycles free and leak checking
// still finds every other leak.

#include "util/FileMapper.h"
#include "util/LocStream.h"
#include "util/Location.h"

#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  {
    BinaryLocDeserializer des(data, size);
    TopLocator top;
    top.deserialize(des);
    if (des.failed() && !top.entries().empty())
      __builtin_trap(); // a broken unit must leave the table alone
    std::vector<LocatorRef> loose;
    for (int i = 0; i < 64 && !des.failed() && !des.atEnd(); ++i)
      loose.push_back(des.readLocator());

    std::vector<LocEntry> chain;
    size_t printed = 0;
    for (const TopLocator::Entry &entry : top.entries()) {
      if (++printed > 32)
        break;
      for (uint64_t delta : {uint64_t(0), uint64_t(1), uint64_t(99)}) {
        chain.clear();
        top.trace(entry.start + delta, chain);
        for (const LocEntry &line : chain)
          (void)formatEntry(line);
        LocEntry outer;
        top.outerLocation(entry.start + delta, outer);
        (void)top.isProtected(entry.start + delta);
        (void)top.lineInSegment(entry.start + delta);
      }
    }
    for (const LocatorRef &locator : loose) {
      if (!locator)
        continue;
      chain.clear();
      locator->trace(5, chain);
      (void)locator->name();
      (void)locator->sameRegion(locator->parent());
    }
    (void)top.name();
    BinaryLocSerializer ser;
    top.serialize(ser);
    for (const LocatorRef &locator : loose)
      ser.writeLocator(locator);
    des.unlinkAll();
  }
  FileMapper::clearTable();
  return 0;
}
