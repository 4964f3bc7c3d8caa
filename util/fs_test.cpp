#include "util/fs.h"

#include "testsupport/testsupport.h"
#include "util/env.h"

#include <sys/stat.h>
#include <utime.h>

namespace {

TEST(CommitIfChanged, KeepsOrReplaces) {
  TempDir dir;
  const std::string target = dir / "gen.cpp", fresh = target + ".new";
  write_file(fresh, "one");
  EXPECT_TRUE(commitIfChanged(target)); // no target yet
  EXPECT_EQ(read_file(target), "one");

  const struct utimbuf past = {1000000000, 1000000000};
  ::utime(target.c_str(), &past);
  write_file(fresh, "one");
  EXPECT_FALSE(commitIfChanged(target));
  EXPECT_FALSE(isRegularFile(fresh));
  EXPECT_EQ(modificationTime(target), 1000000000.0);

  write_file(fresh, "one more"); // the old content is a prefix
  EXPECT_TRUE(commitIfChanged(target));
  EXPECT_EQ(read_file(target), "one more");
  EXPECT_FALSE(isRegularFile(fresh));
}

TEST(RemoveDirectory, EmptyNonEmptyAndTrees) {
  TempDir dir;
  const std::string empty = dir / "empty", tree = dir / "tree";
  ASSERT_TRUE(makeDirectory(empty));
  EXPECT_FALSE(makeDirectory(empty));
  EXPECT_TRUE(removeDirectory(empty, true));

  ASSERT_TRUE(makeDirectory(tree) && makeDirectory(tree + "/sub") && makeDirectory(tree + "/sub/deeper"));
  write_file(tree + "/a", "a");
  write_file(tree + "/sub/b", "b");
  ::symlink("sub", (tree + "/link").c_str());
  EXPECT_EQ(listFiles(tree), (std::vector<std::string>{"a", "link"}));
  EXPECT_EQ(listSubdirectories(tree), std::vector<std::string>{"sub"});
  EXPECT_FALSE(removeDirectory(tree, true));
  EXPECT_TRUE(isRegularFile(tree + "/sub/b"));
  EXPECT_TRUE(removeDirectory(tree, false));
  EXPECT_FALSE(isDirectory(tree));
  EXPECT_FALSE(isEmptyDirectory(tree));
}

TEST(FindSharedLibrary, CurrentDirectoryThenLibraryPath) {
  TempDir dir;
  ASSERT_TRUE(makeDirectory(dir / "lib") && makeDirectory(dir / "sub"));
  write_file(dir / "libx.so", "");
  write_file(dir / "lib/libx.so", "");
  write_file(dir / "lib/liby.so", "");
  write_file(dir / "lib/libz", "");
  const auto result = run_in_child(
      [&] {
        ::setenv("LD_LIBRARY_PATH", (":/nonexistent:" + (dir / "lib").string()).c_str(), 1);
        ClearEnvironmentCache();
        for (const char *name : {"libx", "liby", "libz", "liby.so", "sub/../libx", "lib/libz", "libq",
                                 "/nonexistent/libx.so"})
          std::printf("%s=%s\n", name, findSharedLibrary(name).c_str());
      },
      dir.path());
  const std::string lib = (dir / "lib").string();
  EXPECT_EQ(result.out, "libx=./libx.so\nliby=" + lib + "/liby.so\nlibz=" + lib + "/libz\nliby.so=" + lib +
                            "/liby.so\nsub/../libx=./sub/../libx.so\nlib/libz=./lib/libz\nlibq=\n"
                            "/nonexistent/libx.so=\n");
}

TEST(FileQuestions, ReadOnlyRandomAndJoin) {
  TempDir dir;
  EXPECT_FALSE(isReadOnly(dir / "missing"));
  EXPECT_FALSE(isReadOnly(dir.path()));
  unsigned char bytes[64];
  EXPECT_TRUE(randomBytes(bytes, sizeof bytes));
  EXPECT_TRUE(randomBytes(bytes, 0));
  EXPECT_FALSE(randomBytes(bytes, -2));

  const std::tuple<const char *, const char *, const char *> joins[] = {
      {".", "x", "./x"},   {"d/", "./x", "d/x"}, {"d", "/abs", "/abs"},  {"", "x", "x"},
      {"d", "", "d"},      {"/", "x", "/x"},     {".", "././x", "./x"}, {"d//", "x", "d/x"},
  };
  for (const auto &[base, name, joined] : joins)
    EXPECT_EQ(joinPath(base, name), joined) << base << " + " << name;
}

} // namespace
