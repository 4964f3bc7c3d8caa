// libFuzzer target for the locator stream round trip.  The input is a
// recipe for a locator graph over three scratch files (includes, macros,
// remaps, protected blocks, constants) registered in the global
// TopLocator.  The table is written, the global TopLocator released and
// the file table cleared, and the stream read back: every probed offset
// must print the same trace as before.

#include "util/FileMapper.h"
#include "util/LocStream.h"
#include "util/Location.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

class Recipe {
public:
  Recipe(const uint8_t *data, size_t size) : m_Data(data), m_Size(size) {}
  unsigned byte() { return m_At < m_Size ? m_Data[m_At++] : 0; }
  uint64_t offset() { return byte() | byte() << 8; }

private:
  const uint8_t *m_Data;
  size_t m_Size;
  size_t m_At = 0;
};

const std::vector<std::string> &scratchFiles() {
  static const std::vector<std::string> &files = *[] {
    auto *names = new std::vector<std::string>;
    const char *contents[] = {"module a;\n  wire w;\n\n`include \"b\"\nendmodule\n",
                              "x\ny\nz\n", "no line feed at all"};
    for (int i = 0; i < 3; ++i) {
      names->push_back("/tmp/locstream_roundtrip_" + std::to_string(::getpid()) + "_" +
                       std::to_string(i) + ".v");
      std::FILE *file = std::fopen(names->back().c_str(), "w");
      if (file) {
        std::fputs(contents[i], file);
        std::fclose(file);
      }
    }
    return names;
  }();
  return files;
}

std::vector<std::string> traced(uint64_t offset) {
  std::vector<LocEntry> chain;
  TopLocator::global().trace(offset, chain);
  std::vector<std::string> lines;
  for (const LocEntry &entry : chain)
    lines.push_back(formatEntry(entry));
  return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Recipe recipe(data, size);
  std::vector<LocatorRef> made;
  auto earlier = [&]() -> LocatorRef {
    const unsigned pick = recipe.byte();
    return made.empty() || pick % 8 == 0 ? nullptr : made[pick % made.size()];
  };
  const unsigned count = 1 + recipe.byte() % 32;
  for (unsigned i = 0; i < count; ++i) {
    switch (recipe.byte() % 5) {
    case 0:
      made.push_back(new ConstLocator(std::string(recipe.byte() % 4, 'k')));
      break;
    case 1: {
      CountedRef<FileMapper> file = FileMapper::forPath(scratchFiles()[recipe.byte() % 3]);
      LocatorRef includer = earlier();
      made.push_back(new FileLocator(file, includer, recipe.offset()));
      break;
    }
    case 2: {
      LocatorRef parent = earlier();
      LocatorRef target = earlier();
      const unsigned delta = recipe.byte();
      made.push_back(new RemapLocator(parent, target, delta, "remapped.v", recipe.offset()));
      break;
    }
    case 3: {
      LocatorRef definition = earlier();
      const uint64_t definitionOffset = recipe.offset();
      LocatorRef expansion = earlier();
      made.push_back(new MacroLocator("M", definition, definitionOffset, expansion, recipe.offset()));
      break;
    }
    default: {
      LocatorRef parent = earlier();
      made.push_back(new ProtectedLocator(parent, recipe.offset()));
      break;
    }
    }
  }
  TopLocator::releaseGlobal();
  FileMapper::clearTable();
  TopLocator &top = TopLocator::global();
  const unsigned entries = 1 + recipe.byte() % 16;
  for (unsigned i = 0; i < entries; ++i) {
    // One entry at 0 only: a unit read back keeps just the first of those.
    const uint64_t start = i == 0 ? 0 : recipe.offset() + 1;
    top.addEntry(start, made[recipe.byte() % made.size()], recipe.offset());
  }
  top.addSegment(70000);

  std::vector<uint64_t> probes;
  for (const TopLocator::Entry &entry : top.entries())
    for (uint64_t delta : {0, 1, 37})
      probes.push_back(entry.start + delta);
  std::vector<std::vector<std::string>> before;
  for (uint64_t probe : probes)
    before.push_back(traced(probe));

  BinaryLocSerializer ser;
  top.serialize(ser);
  made.clear();
  TopLocator::releaseGlobal();
  FileMapper::clearTable();

  BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
  TopLocator::global().deserialize(des);
  if (des.failed() || !des.atEnd())
    __builtin_trap();
  for (size_t i = 0; i < probes.size(); ++i)
    if (traced(probes[i]) != before[i])
      __builtin_trap();
  TopLocator::releaseGlobal();
  FileMapper::clearTable();
  return 0;
}
