#include "util/LocStream.h"

#include "util/FileMapper.h"
#include "testsupport/testsupport.h"

using namespace std::literals;

namespace {

TEST(LocStream, BinaryEncodingBytes) {
  const struct {
    void (*write)(BinaryLocSerializer &);
    std::string bytes;
  } cases[] = {
      {[](BinaryLocSerializer &s) { s.writeU64(0); }, "\x00"s},
      {[](BinaryLocSerializer &s) { s.writeU64(127); }, "\x7f"s},
      {[](BinaryLocSerializer &s) { s.writeCount(128); }, "\x80\x01"s},
      {[](BinaryLocSerializer &s) { s.writeU64(300); }, "\xac\x02"s},
      {[](BinaryLocSerializer &s) { s.writeU64(UINT64_MAX); }, "\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"s},
      {[](BinaryLocSerializer &s) { s.writeString("hi"); }, "\x02hi"s},
      {[](BinaryLocSerializer &s) { s.writeStamp(1.5); }, "\x00\x00\x00\x00\x00\x00\xf8\x3f"s},
      {[](BinaryLocSerializer &s) { s.writePair(1, 2); }, "\x01\x02"s},
  };
  for (const auto &c : cases) {
    BinaryLocSerializer ser;
    c.write(ser);
    EXPECT_EQ(ser.bytes(), c.bytes);
  }
}

// Each hostile stream reads as one locator: what comes back, and whether
// the reader noticed a broken stream.
TEST(LocStream, HostileStreams) {
  auto stream = [](std::initializer_list<uint64_t> values, bool withStamp = false) {
    BinaryLocSerializer ser;
    for (uint64_t v : values)
      ser.writeU64(v);
    if (withStamp)
      ser.writeStamp(0);
    return ser.bytes();
  };
  // number 1, FileLocator, path "p", stamp; then the line count and the rest.
  const std::string file = stream({1, 2, 1, 'p'}, true);
  std::string deep;
  for (uint64_t number = 1; number <= kMaxLocatorDepth + 5; ++number)
    deep += stream({number, 3}); // each RemapLocator's parent is the next one
  const struct {
    const char *what;
    std::string bytes;
    bool located, failed;
  } cases[] = {
      {"empty", "", false, true},
      {"truncated tag", stream({1}), false, true},
      {"number out of sequence", stream({5, 1}), false, false},
      {"unknown tag", stream({1, 6}), false, false},
      {"tag zero", stream({1, 0}), false, false},
      {"string beyond the end", stream({1, 1, 0x7f}) + "abc", false, true},
      {"varint too long", std::string(10, '\xff') + "\x01", false, true},
      {"2^60 line starts", file + stream({uint64_t(1) << 60, 1, 1, 1}), false, true},
      {"line start repeated", file + stream({3, 1, 0, 0, 0}), false, true},
      {"too deep", deep, false, true},
  };
  for (const auto &c : cases) {
    BinaryLocDeserializer des(c.bytes.data(), c.bytes.size());
    LocatorRef locator = des.readLocator();
    EXPECT_EQ(bool(locator), c.located) << c.what;
    EXPECT_EQ(des.failed(), c.failed) << c.what;
  }
}

// A reference into a body still being read is that same locator.  Each
// stream holds one locator: what printTrace prints of it (registered at 0
// with base 2), and the stream written back byte for byte, which the
// writer numbering by identity gives only when the references are the
// locators they refer back to.
TEST(LocStream, ReferencesIntoOpenBodies) {
  auto file = [](uint64_t number, const char *path) { // up to its includer
    BinaryLocSerializer ser;
    ser.writeU64(number);
    return ser.bytes() + "\x02\x05" + path + std::string(8, '\0') + "\x01";
  };
  std::string chain; // each includes the next one, the last nothing
  for (uint64_t number = 1; number <= kMaxLocatorDepth; ++number)
    chain += file(number, "lsc.v");
  chain += '\0' + std::string(kMaxLocatorDepth, '\x04');
  const struct {
    const char *what;
    std::string bytes;
    std::vector<std::string> lines; ///< the first, then the rest repeated
  } cases[] = {
      {"includes itself", file(1, "lsa.v") + "\x01\x04",
       {"lsa.v:1:3", "Included from lsa.v:1:5"}},
      {"includes its includer", file(1, "lsa.v") + file(2, "lsb.v") + "\x01\x06\x04",
       {"lsa.v:1:3", "Included from lsb.v:1:5", "Included from lsa.v:1:7"}},
      {"acyclic at the depth bound", chain, {"lsc.v:1:3", "Included from lsc.v:1:5"}},
  };
  for (const auto &c : cases) {
    BinaryLocDeserializer des(c.bytes.data(), c.bytes.size());
    const LocatorRef locator = des.readLocator();
    ASSERT_TRUE(locator) << c.what;
    std::string expected = c.lines[0] + "\n";
    for (uint32_t i = 1; i < kMaxLocatorDepth; ++i)
      expected += c.lines[1 + (i - 1) % (c.lines.size() - 1)] + "\n";
    EXPECT_EQ(run_in_child([&] {
                TopLocator::global().addEntry(0, locator, 2);
                printTrace(0);
              }).out,
              expected)
        << c.what;
    BinaryLocSerializer ser;
    ser.writeLocator(locator);
    EXPECT_EQ(ser.bytes(), c.bytes) << c.what;
    des.unlinkAll();
    EXPECT_FALSE(locator->parent()) << c.what;
  }
  FileMapper::clearTable();
}

// One deeper than a reader accepts: written cut at the bound, so it reads.
TEST(LocStream, WritingStopsAtTheDepthBound) {
  LocatorRef chain = new ConstLocator("k");
  for (uint32_t i = 0; i < kMaxLocatorDepth; ++i)
    chain = new ProtectedLocator(chain, 0);
  BinaryLocSerializer ser;
  ser.writeLocator(chain);
  BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
  EXPECT_TRUE(des.readLocator() && !des.failed());
}

TEST(LocStream, UniqueStampsIncreaseFasterThanTheClock) {
  std::pair<uint64_t, uint64_t> last = uniqueStamp();
  for (int i = 0; i < 1100000; ++i) {
    const std::pair<uint64_t, uint64_t> next = uniqueStamp();
    ASSERT_LT(last, next);
    ASSERT_LT(next.second, 1000000u);
    last = next;
  }
}

} // namespace
