#include "util/LocStream.h"

#include "util/FileMapper.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string hexOf(const std::string &bytes) {
  std::string hex;
  for (unsigned char c : bytes) {
    char pair[4];
    std::snprintf(pair, sizeof pair, "%02x ", c);
    hex += pair;
  }
  return hex;
}

TEST(LocStream, BinaryEncodingBytes) {
  const struct {
    void (*write)(BinaryLocSerializer &);
    const char *hex;
  } cases[] = {
      {[](BinaryLocSerializer &s) { s.writeU64(0); }, "00 "},
      {[](BinaryLocSerializer &s) { s.writeU64(127); }, "7f "},
      {[](BinaryLocSerializer &s) { s.writeCount(128); }, "80 01 "},
      {[](BinaryLocSerializer &s) { s.writeU64(300); }, "ac 02 "},
      {[](BinaryLocSerializer &s) { s.writeU64(UINT64_MAX); }, "ff ff ff ff ff ff ff ff ff 01 "},
      {[](BinaryLocSerializer &s) { s.writeString("hi"); }, "02 68 69 "},
      {[](BinaryLocSerializer &s) { s.writeStamp(1.5); }, "00 00 00 00 00 00 f8 3f "},
      {[](BinaryLocSerializer &s) { s.writePair(1, 2); }, "01 02 "},
  };
  for (const auto &c : cases) {
    BinaryLocSerializer ser;
    c.write(ser);
    EXPECT_EQ(hexOf(ser.bytes()), c.hex);
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
      {"self as includer", file + stream({0, 1, 0}), true, false},
      {"2^60 line starts", file + stream({uint64_t(1) << 60, 1, 1, 1}), false, true},
      {"line start repeated", file + stream({3, 1, 0, 0, 0}), false, true},
      {"too deep", deep, false, true},
  };
  for (const auto &c : cases) {
    BinaryLocDeserializer des(c.bytes.data(), c.bytes.size());
    LocatorRef locator = des.readLocator();
    EXPECT_EQ(bool(locator), c.located) << c.what;
    EXPECT_EQ(des.failed(), c.failed) << c.what;
    if (locator) {
      EXPECT_FALSE(locator->parent()) << c.what;
    }
  }
}

// A chain one deeper than a reader accepts is written cut at the bound.
TEST(LocStream, WritingStopsAtTheDepthBound) {
  LocatorRef chain = new ConstLocator("k");
  for (uint32_t i = 0; i < kMaxLocatorDepth; ++i)
    chain = new ProtectedLocator(chain, 0);
  BinaryLocSerializer ser;
  ser.writeLocator(chain);
  BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
  LocatorRef at = des.readLocator();
  EXPECT_FALSE(des.failed());
  for (uint32_t i = 1; i < kMaxLocatorDepth && at; ++i)
    at = at->parent();
  ASSERT_TRUE(at);
  EXPECT_EQ(at->name(), "(protected)");
  EXPECT_FALSE(at->parent());
}

TEST(LocStream, SharedLocatorsAreWrittenOnce) {
  LocatorRef top = new ConstLocator("shared-label");
  LocatorRef a = new RemapLocator(top, top, 1, "a", 0);
  LocatorRef b = new RemapLocator(top, a, 2, "b", 0);
  BinaryLocSerializer ser;
  ser.writeLocator(b);
  ser.writeLocator(a);
  EXPECT_EQ(ser.bytes().find("shared-label"), ser.bytes().rfind("shared-label"));

  BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
  LocatorRef b2 = des.readLocator();
  LocatorRef a2 = des.readLocator();
  ASSERT_TRUE(a2 && b2);
  EXPECT_TRUE(des.atEnd());
  EXPECT_FALSE(des.failed());
  EXPECT_EQ(b2->parent(), a2->parent());
  EXPECT_EQ(a2->parent()->name(), "shared-label");
  EXPECT_EQ(b2->name(), "b");
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
