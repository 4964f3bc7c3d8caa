#include "util/digest.h"

#include "testsupport/testsupport.h"

namespace {

TEST(Digest, StringsAndFilesOfKnownDigest) {
  TempDir dir;
  // 5000 bytes: more than one 4096-byte chunk.
  std::string longText;
  for (int i = 0; i < 500; ++i)
    longText += "0123456789";
  const struct {
    std::string text;
    const char *hex;
  } cases[] = {
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {longText, "6735ad9f2e97ef671a692791f3c4a075723d91c7f9c4ee1df5f2bc7ef87dc76d"},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(sha256Hex(c.text), c.hex);
    write_file(dir / "f", c.text);
    std::string hex;
    ASSERT_TRUE(sha256FileHex((dir / "f").string(), hex));
    EXPECT_EQ(hex, c.hex);
  }
  std::string untouched = "kept";
  EXPECT_FALSE(sha256FileHex((dir / "missing").string(), untouched));
  EXPECT_EQ(untouched, "kept");
}

} // namespace
