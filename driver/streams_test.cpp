#include "driver/streams.h"

#include "testsupport/testsupport.h"

#include <gtest/gtest.h>

#include <string>

using testsupport::read_file;
using testsupport::TempDir;
using testsupport::write_file;

namespace {

std::string read_all(FILE *stream) {
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, stream)) > 0)
    text.append(buffer, n);
  return text;
}

void write_all(const std::string &name, const char *mode, const std::string &text) {
  FILE *stream = open_stream(name.c_str(), mode);
  ASSERT_NE(stream, nullptr) << name;
  std::fwrite(text.data(), 1, text.size(), stream);
  EXPECT_EQ(close_stream(stream), 0);
}

std::string read_through(const std::string &name) {
  FILE *stream = open_stream(name.c_str(), "r");
  if (!stream)
    return "<null>";
  std::string text = read_all(stream);
  EXPECT_EQ(close_stream(stream), 0);
  return text;
}

// Every byte value, several times over, so that a compressor really has
// something to do and a text-mode accident would show.
std::string sample_payload() {
  std::string text;
  for (int round = 0; round < 64; ++round)
    for (int b = 0; b < 256; ++b)
      text += static_cast<char>(b);
  return text;
}

struct CompressorCase {
  const char *extension;
  const char *decompress; // how the real tool reads the file back
  std::string magic;      // first bytes of that format
};

class CompressorRoundTrip : public ::testing::TestWithParam<CompressorCase> {};

TEST_P(CompressorRoundTrip, WritesRealFormatAndReadsItBack) {
  TempDir dir;
  const CompressorCase &c = GetParam();
  const std::string name = (dir / (std::string("data") + c.extension)).string();
  const std::string payload = sample_payload();

  write_all(name, "w", payload);
  std::string raw = read_file(name);
  ASSERT_GE(raw.size(), c.magic.size());
  EXPECT_EQ(raw.substr(0, c.magic.size()), c.magic);
  EXPECT_LT(raw.size(), payload.size());

  // The real tool agrees with what we wrote.
  auto decoded = testsupport::run({"sh", "-c", std::string(c.decompress) + " <" + name}, dir.path());
  EXPECT_EQ(decoded.status, 0);
  EXPECT_EQ(decoded.out, payload);

  EXPECT_EQ(read_through(name), payload);
  // A missing plain name finds its compressed twin.
  EXPECT_EQ(read_through((dir / "data").string()), payload);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, CompressorRoundTrip,
    ::testing::Values(CompressorCase{".gz", "gzip -d", "\x1f\x8b"},
                      CompressorCase{".bz2", "bzip2 -d", "BZh"},
                      CompressorCase{".xz", "xz -d", "\xfd" "7zXZ"},
                      CompressorCase{".Z", "compress -d", "\x1f\x9d"}),
    [](const auto &info) { return std::string(info.param.extension + 1); });

TEST(Streams, IsCompressedNameLooksAtTheTextAfterTheLastDot) {
  struct {
    const char *name;
    bool compressed;
  } cases[] = {
      {"a.gz", true},       {"a.bz2", true},     {"a.xz", true},      {"a.Z", true},
      {"a.z", false},       {"a.GZ", false},     {"a.tar.gz", true},  {"a.gz.txt", false},
      {"gz", false},        {".gz", true},       {"dir.gz/file", false}, {"a.gzip", false},
      {"", false},          {"a.", false},
  };
  for (const auto &c : cases)
    EXPECT_EQ(is_compressed_name(c.name), c.compressed) << c.name;
}

TEST(Streams, OnlyAFreshWriteGoesThroughACompressor) {
  TempDir dir;
  const std::string plain = (dir / "a.txt").string(), appended = (dir / "x.gz").string();
  write_all(plain, "w", "hello\n");
  EXPECT_EQ(read_file(plain), "hello\n");
  write_all(appended, "a", "plain ");
  write_all(appended, "a", "text");
  EXPECT_EQ(read_file(appended), "plain text");
}

TEST(Streams, MissingFileWithoutTwinIsNull) {
  TempDir dir;
  EXPECT_EQ(open_stream((dir / "nothing").c_str(), "r"), nullptr);
  EXPECT_EQ(open_stream((dir / "no/such/dir/x.txt").c_str(), "w"), nullptr);
}

TEST(Streams, PlainNameWinsAndTwinsAreTriedInTableOrder) {
  TempDir dir;
  write_all((dir / "t.xz").string(), "w", "from xz");
  write_all((dir / "t.bz2").string(), "w", "from bz2");
  EXPECT_EQ(read_through((dir / "t").string()), "from bz2");
  write_all((dir / "t.gz").string(), "w", "from gz");
  EXPECT_EQ(read_through((dir / "t").string()), "from gz");
  write_file(dir / "t", "plain");
  EXPECT_EQ(read_through((dir / "t").string()), "plain");
}

TEST(Streams, CloseStreamFallsBackToFcloseForForeignStreams) {
  TempDir dir;
  FILE *stream = std::fopen((dir / "f").c_str(), "w");
  ASSERT_NE(stream, nullptr);
  std::fputs("x", stream);
  EXPECT_EQ(close_stream(stream), 0);
  EXPECT_EQ(read_file(dir / "f"), "x");
}

TEST(Streams, CloseStreamReportsTheCompressorsStatus) {
  TempDir dir;
  // A compressed name that the shell cannot redirect into: the pipe starts,
  // the shell fails, and pclose says so.
  FILE *stream = open_stream((dir / "missing-dir/x.gz").c_str(), "w");
  ASSERT_NE(stream, nullptr);
  EXPECT_NE(close_stream(stream), 0);
}

} // namespace
