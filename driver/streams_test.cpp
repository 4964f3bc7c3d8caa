#include "driver/streams.h"

#include "testsupport/testsupport.h"

namespace {

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
  std::string text;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, stream)) > 0;)
    text.append(buffer, n);
  EXPECT_EQ(close_stream(stream), 0);
  return text;
}

TEST(Streams, EachCompressorWritesItsRealFormatAndReadsItBack) {
  // Every byte value, many times over: a compressor has something to do and
  // a text-mode accident would show.
  std::string payload;
  for (int i = 0; i < 64 * 256; ++i)
    payload += static_cast<char>(i);
  const struct {
    const char *extension, *tool;
    std::string magic;
  } cases[] = {{".gz", "gzip", "\x1f\x8b"}, {".bz2", "bzip2", "BZh"},
               {".xz", "xz", "\xfd" "7zXZ"}, {".Z", "compress", "\x1f\x9d"}};
  for (const auto &c : cases) {
    TempDir dir;
    const std::string name = (dir / "data").string() + c.extension;
    write_all(name, "w", payload);
    const std::string raw = read_file(name);
    EXPECT_TRUE(raw.starts_with(c.magic) && raw.size() < payload.size()) << name;
    auto decoded = run({"sh", "-c", std::string(c.tool) + " -d <" + name}, dir.path());
    EXPECT_EQ(decoded.out, payload) << name;
    EXPECT_EQ(read_through(name), payload) << name;
    // A missing plain name finds its compressed twin.
    EXPECT_EQ(read_through((dir / "data").string()), payload) << name;
  }
}

TEST(Streams, IsCompressedNameLooksAtTheTextAfterTheLastDot) {
  for (const char *name : {"a.gz", "a.bz2", "a.xz", "a.Z", "a.tar.gz", ".gz"})
    EXPECT_TRUE(is_compressed_name(name)) << name;
  for (const char *name : {"a.z", "a.GZ", "a.gz.txt", "gz", "dir.gz/file", "a.gzip", "", "a."})
    EXPECT_FALSE(is_compressed_name(name)) << name;
}

TEST(Streams, PlainFilesTwinsInTableOrderAndClosing) {
  TempDir dir;
  const std::string t = (dir / "t").string(), appended = (dir / "x.gz").string();
  EXPECT_EQ(read_through(t), "<null>");
  EXPECT_EQ(open_stream((dir / "no/such/x.txt").c_str(), "w"), nullptr);
  // Only a fresh write goes through a compressor.
  write_all(appended, "a", "plain ");
  write_all(appended, "a", "text");
  EXPECT_EQ(read_file(appended), "plain text");
  write_all(t + ".xz", "w", "from xz");
  write_all(t + ".bz2", "w", "from bz2");
  EXPECT_EQ(read_through(t), "from bz2");
  write_all(t + ".gz", "w", "from gz");
  EXPECT_EQ(read_through(t), "from gz");
  write_all(t, "w", "plain");
  EXPECT_EQ(read_through(t), "plain");
  // A stream this layer never saw is closed with fclose.
  FILE *foreign = std::fopen((dir / "f").c_str(), "w");
  std::fputs("x", foreign);
  EXPECT_EQ(close_stream(foreign), 0);
  EXPECT_EQ(read_file(dir / "f"), "x");
  // The pipe starts, the shell cannot redirect, and pclose says so.
  FILE *failing = open_stream((dir / "missing-dir/x.gz").c_str(), "w");
  ASSERT_NE(failing, nullptr);
  EXPECT_NE(close_stream(failing), 0);
}

} // namespace
