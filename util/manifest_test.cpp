#include "util/manifest.h"

#include "testsupport/testsupport.h"
#include "util/cmdline.h"
#include "util/strings.h"

namespace {

TEST(ReadManifest, Tokens) {
  const std::pair<const char *, const char *> cases[] = {
      {"-help   \"a b\"  x", "-help|\"a b\"|x"},
      {"a/b a/ b", "a/b|a/|b"},
      {"a//c d\ne", "ae"},
      {"x/*c*/y x/*/y x/**/y x/*a**/y", "xy|xy|xy|xy"},
      {"abc#note\ndef\rg", "abcdef|g"},
      {"a\"b c\"d e a/\"b c", "a\"b c\"d|e|a/\"b|c"},
      {"\"open # /* x", "\"open # /* x"},
      {"x/* never closed", "x"},
      {"$V/f ~nosuchuser/g", "value/f|/g"},
      {"# only\n/* comments */ // here", ""},
  };
  TempDir dir;
  for (const auto &[content, expected] : cases) {
    write_file(dir / "m.f", content);
    const auto result = run_in_child(
        [&] {
          ScopedCmdLine scope;
          ::setenv("V", "value", 1);
          std::vector<std::string> tokens;
          const bool parsed = ReadManifest("m.f", 3, tokens, 0);
          std::printf("%d %s", parsed, joinStrings(tokens, "|").c_str());
        },
        dir.path());
    EXPECT_EQ(result.out.substr(result.out.find("0 ")), std::string("0 ") + expected) << content;
    EXPECT_EQ(result.err, "") << content; // the note has severity 0: silenced by default
  }
}

TEST(ReadManifest, ParsesUnderItsOwnNameAndKeepsItsDirectory) {
  TempDir dir;
  std::filesystem::create_directory(dir / "sub");
  write_file(dir / "sub/good.f", "first -out=o a.c /abs.c // comment");
  write_file(dir / "sub/bad.f", "first -zz b.c");
  const auto result = run_in_child(
      [] {
        // A failed parse (-zz) leaves the directory it pushed on the stack.
        for (int mode : {0, 1, 2, 3, 4, 5, -1, -2, -3}) {
          ScopedCmdLine scope;
          std::vector<std::string> tokens;
          const bool ok = ReadManifest("sub/bad.f", mode, tokens, 0);
          std::printf("%d:%d:%s ", mode, ok, joinStrings(SearchDirectories(), ",").c_str());
        }
        std::fputs("--\n", stderr); // their errors are not this test's concern
        ScopedCmdLine scope;
        StringArg out("-out", 2, "file:output");
        AddOptionGroup(2, "Tool");
        SetProgramName("tool");
        std::vector<std::string> tokens;
        for (const char *manifest : {"sub/good.f", "sub/bad.f", "missing.f", "."}) {
          const bool ok = ReadManifest(manifest, 1, tokens, 0);
          std::printf("\n%s %d [%s]", manifest, ok, joinStrings(SearchDirectories(), ",").c_str());
        }
        std::printf("\n%s|%s|%s|%s\n", out.Value().c_str(), joinStrings(ExpandedFiles(), ",").c_str(),
                    joinStrings(tokens, ",").c_str(), ProgramName().c_str());
      },
      dir.path());
  // The first token stands for the program, as argv[0] does.
  EXPECT_EQ(result.out, "0:0:. 1:0:./sub 2:0:. 3:0:. 4:0:./sub 5:0:. -1:0:./sub -2:0:. -3:0:./sub \n"
                        "sub/good.f 1 []\nsub/bad.f 0 [./sub]\nmissing.f 0 [./sub]\n. 0 [./sub]\n"
                        "o|./sub/a.c,/abs.c,./sub/b.c|first,-out=o,a.c,/abs.c,first,-zz,b.c|tool\n");
  EXPECT_EQ(result.err.substr(result.err.find("--\n") + 3), "./sub/bad.f: error: invalid switch '-zz'\n"
                        "tool: error: ./sub/missing.f: No such file or directory\n"
                        "tool: error: ./sub/.: Is a directory\n");
}

} // namespace
