#include "util/FileMapper.h"

#include "testsupport/testsupport.h"

namespace {

struct Position {
  int line, column;
  bool operator==(const Position &) const = default;
};

Position positionOf(FileMapper &mapper, uint64_t offset) {
  const LocEntry entry = mapper.toPosition(offset);
  EXPECT_EQ(entry.kind, LocKind::Plain);
  EXPECT_EQ(entry.file, mapper.path());
  return {entry.line, entry.column};
}

TEST(FileMapper, PositionsInSmallFile) {
  TempDir dir;
  write_file(dir / "s.v", "ab\ncd\n\nxyz");
  FileMapper mapper((dir / "s.v").string(), 0);
  const struct {
    uint64_t offset;
    Position expected;
  } cases[] = {
      {0, {1, 1}}, {2, {1, 3}},  {3, {2, 1}},  {5, {2, 3}},
      {6, {3, 1}}, {7, {4, 1}},  {9, {4, 3}},  {100, {4, 94}},
  };
  for (const auto &c : cases)
    EXPECT_EQ(positionOf(mapper, c.offset), c.expected) << c.offset;
  EXPECT_EQ(mapper.loadState(), FileMapper::kRegularFile);
  EXPECT_EQ(mapper.lineStarts(), (std::vector<uint64_t>{0, 3, 6, 7}));
}

// Enough lines for the indexed search, in two layouts whose positions are
// known in closed form: equal lines, and one huge line among short ones.
TEST(FileMapper, PositionsInLargeFiles) {
  TempDir dir;
  std::string equal;
  for (int i = 0; i < 3000; ++i)
    equal += "line text\n"; // 10 bytes
  write_file(dir / "equal.v", equal);
  FileMapper equalLines((dir / "equal.v").string(), 0);
  for (uint64_t offset : {0ul, 9ul, 10ul, 12345ul, 29999ul, 30000ul})
    EXPECT_EQ(positionOf(equalLines, offset),
              (Position{int(offset / 10 + 1), int(offset % 10 + 1)}))
        << offset;

  std::string mixed(1000, '\n');
  mixed += std::string(100000, 'x') + "\n" + std::string(1000, '\n');
  write_file(dir / "mixed.v", mixed);
  FileMapper mixedLines((dir / "mixed.v").string(), 0);
  EXPECT_EQ(positionOf(mixedLines, 999), (Position{1000, 1}));
  EXPECT_EQ(positionOf(mixedLines, 1000), (Position{1001, 1}));
  EXPECT_EQ(positionOf(mixedLines, 51000), (Position{1001, 50001}));
  EXPECT_EQ(positionOf(mixedLines, 101000), (Position{1001, 100001}));
  EXPECT_EQ(positionOf(mixedLines, 101001), (Position{1002, 1}));
  EXPECT_EQ(positionOf(mixedLines, 101500), (Position{1501, 1}));
}

TEST(FileMapper, UnreadablePathsGiveLineZero) {
  TempDir dir;
  FileMapper directory(dir.path().string(), 0);
  EXPECT_EQ(positionOf(directory, 5), (Position{0, 0}));
  EXPECT_EQ(directory.loadState(), FileMapper::kNotRegularFile);
  FileMapper missing((dir / "gone.v").string(), 0);
  EXPECT_EQ(positionOf(missing, 0), (Position{0, 0}));
  // The verdict stays: a file that appears later is not read.
  write_file(dir / "gone.v", "x\n");
  EXPECT_EQ(positionOf(missing, 0), (Position{0, 0}));
}

TEST(FileMapper, CompressedSourceGivesSamePositions) {
  TempDir dir;
  write_file(dir / "c.v", "module m;\n  wire w;\nendmodule\n");
  ASSERT_EQ(run({"gzip", "-k", "c.v"}, dir.path()).status, 0);
  FileMapper plain((dir / "c.v").string(), 0);
  FileMapper packed((dir / "c.v.gz").string(), 0);
  for (uint64_t offset = 0; offset < 31; ++offset)
    EXPECT_EQ(positionOf(packed, offset), positionOf(plain, offset)) << offset;
  EXPECT_EQ(packed.lineStarts(), (std::vector<uint64_t>{0, 10, 20, 30}));
}

TEST(FileMapper, TableSharesByPathAndStamp) {
  TempDir dir;
  write_file(dir / "t.v", "x\n");
  const std::string path = (dir / "t.v").string();
  CountedRef<FileMapper> first = FileMapper::forPath(path);
  EXPECT_EQ(FileMapper::forPath(path), first);
  EXPECT_FALSE(FileMapper::registerMapper(new FileMapper(path, first->stamp())));
  CountedRef<FileMapper> older = new FileMapper(path, first->stamp() - 60);
  EXPECT_TRUE(FileMapper::registerMapper(older));
  EXPECT_EQ(FileMapper::find(path, first->stamp() - 60), older);
}

} // namespace
