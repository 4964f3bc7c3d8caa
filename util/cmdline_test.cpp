#include "util/cmdline.h"

#include "testsupport/testsupport.h"
#include "util/LocStream.h"
#include "util/strings.h"

#include <pty.h>
#include <termios.h>

namespace {

/// A tool's options: one of each kind, two groups of its own.
struct ToolOptions {
  int32_t speed = 0;
  StringArg out{"-out", 2, "file:where the result goes"};
  MultiStringArg include{"-I", 2, "dir:a directory to search"};
  IntegerArg jobs{"-jobs", 2, "n:parallel jobs", IntegerArg::NotNegative};
  MutexArg fast{"-fast", 2, "run fast", &speed, 1};
  MutexArg slow{"-slow", 2, "run slow", &speed, 2};
  SwitchArg verbose{"-v", 2};
  StringArg pass{"-pass", 16, "handed to the next tool"};
  SwitchArg define{"+define", 2, "defines a macro"};
  SwitchArg old{"-old", 2, "superseded"};
  SwitchArg older{"-older", 2, "superseded"};
  StringArg repro{"-repro", 2, "script"};
  StringArg target{"-target", 2, "machine"};
  SwitchArg hidden{"-hidden", 4, "in no group"};
  ToolOptions() {
    old.Deprecate("-new");
    older.Deprecate();
    AddOptionGroup(2 | 16 | 32, "Tool options");
    SetVersionStrings("9.1", "9.1 verbose");
  }
};

/// Parses \p args in a fresh registry, in a child; standard output holds
/// what the parse printed, "--", then the results.
RunResult Parse(const std::vector<std::vector<std::string>> &parses, int mode = 1) {
  return run_in_child([&] {
    ScopedCmdLine scope;
    ToolOptions tool;
    bool ok = true;
    for (const auto &args : parses)
      ok = ParseArguments(args[0], args, mode) && ok;
    std::string clean;
    for (char *const *arg = CleanArgv(); *arg; ++arg)
      clean += std::string(*arg) + " ";
    std::printf("--\n%s files=%s expanded=%s plus=%s fwd=%s clean=%s out=%s I=%s jobs=%d v=%d speed=%d "
                "xo=%d\n",
                ok ? "ok" : "failed", joinStrings(Files(), ",").c_str(), joinStrings(ExpandedFiles(), ",").c_str(),
                joinStrings(UnknownPlusArgs(), ",").c_str(), joinStrings(ForwardedArgs(), ",").c_str(),
                clean.c_str(), tool.out.Value().c_str(), joinStrings(tool.include.Values(), ",").c_str(),
                tool.jobs.Value(), tool.verbose.Value(), tool.speed, excludeFileOffsets());
  });
}

TEST(ParseArguments, MessagesAndResults) {
  const struct {
    std::vector<std::string> args;
    const char *err;
    const char *out;
  } cases[] = {
      {{"t", "-out=a", "-out=b"}, "t: error: option '-out' given more than once.\n",
       "--\nfailed files= expanded= plus= fwd= clean=t -out=a -out=b  out=b I= jobs=0 v=0 speed=0 xo=0\n"},
      {{"t", "-I", "x", "-I=y", "-jobs"}, "t: error: option '-jobs' must be given a value.\n",
       "--\nfailed files= expanded= plus= fwd= clean=t -I x -I=y -jobs  out= I=x,y jobs=0 v=0 speed=0 xo=0\n"},
      {{"t", "-v=yes", "--0fast", "-"}, "t: error: invalid switch '--0fast'\nt: error: invalid switch '-'\n",
       "--\nok files= expanded= plus= fwd= clean=t -v=yes --0fast -  out= I= jobs=0 v=1 speed=0 xo=0\n"},
      {{"t", "-hidden", "-nosuch=1", "a.c"}, "t: error: invalid switch '-hidden'\nt: error: invalid switch '-nosuch'\n",
       "--\nfailed files=a.c expanded=./a.c plus= fwd= clean=t -hidden -nosuch=1 a.c  out= I= jobs=0 v=0 speed=0 xo=0\n"},
      {{"t", "-fast", "-slow", "-fast"},
       "t: error: Argument -slow conflicts with previous-given argument -fast\n"
       "t: error: option '-fast' given more than once.\n"
       "t: error: Argument -fast conflicts with previous-given argument -fast\n",
       "--\nfailed files= expanded= plus= fwd= clean=t -fast -slow -fast  out= I= jobs=0 v=0 speed=1 xo=0\n"},
      {{"t", "-old", "-older", "-jobs=-3"},
       "t: error: option '-old' is deprecated in favor of -new.\nt: error: option '-older' is deprecated.\n"
       "t: error: Invalid value '-3' for '-jobs' option, which expects a positive value.\n",
       "--\nfailed files= expanded= plus= fwd= clean=t -old -older -jobs=-3  out= I= jobs=-3 v=0 speed=0 xo=0\n"},
      {{"t", "+define+X", "+define", "+foo+1", "-pass", "v", "/abs/b.c", "-version"},
       "t: error: option '+define' given more than once.\n9.1\n",
       "--\nfailed files=/abs/b.c expanded=/abs/b.c plus=+foo+1 fwd=+foo+1,-pass,v,-version "
       "clean=t +define+X +define +foo+1 -pass v /abs/b.c -version  out= I= jobs=0 v=0 speed=0 xo=0\n"},
      {{"t", "-repro", "r.sh", "-v", "-target", "x86", "f.c", "-version-verbose", "-options"}, "",
       "-help -version -version-verbose -exclude-file-offsets -out= -I= -jobs= -fast -slow -v -pass= +define "
       "-old -older -repro= -target=--\n"
       "ok files=f.c expanded=./f.c plus= fwd=-version-verbose clean=t -v f.c -version-verbose -options  out= I= "
       "jobs=0 v=1 speed=0 xo=0\n"},
  };
  for (const auto &c : cases) {
    const RunResult result = Parse({c.args});
    EXPECT_EQ(result.err, c.err) << c.args[1];
    EXPECT_EQ(result.out, c.out) << c.args[1];
  }
}

TEST(ParseArguments, ModesKeepOrExtendTheCleanVector) {
  // Append mode adds all but the first argument; merge mode leaves the
  // vector alone and skips given options with their values, silently.  The
  // standard switch reaches the locator stream's flag.
  RunResult result =
      Parse({{"t", "-out", "a", "x.c"}, {"u", "-v", "-exclude-file-offsets", "-target", "t", "y.c"}});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "--\nok files=x.c,y.c expanded=./x.c,./y.c plus= fwd= clean=t -out a x.c -v "
                        "-exclude-file-offsets y.c  out=a I= jobs=0 v=1 speed=0 xo=1\n");
  result = Parse({{"t", "-out", "a"}, {"u", "-out", "b", "-v", "z.c"}}, 2);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "--\nok files=z.c expanded=./z.c plus= fwd= clean= out=a I= jobs=0 v=1 speed=0 xo=0\n");
}

TEST(IntegerArg, ValuesAndMessages) {
  const std::tuple<const char *, uint32_t, const char *, const char *> cases[] = {
      {"0x1F", 0, "1 31", ""},
      {"4294967297", 0, "1 1", ""}, // truncated to 32 bits
      {"0x", 0, "0 0", "p: error: Invalid value '0x' for '-n' option, which expects an integer.\n"},
      {"0X10", 0, "0 0", "p: error: Invalid value '0X10' for '-n' option, which expects an integer.\n"},
      {"12abc", 0, "0 12", "p: error: Invalid value '12abc' for '-n' option, which expects an integer.\n"},
      {"0", IntegerArg::NotNegative, "1 0", ""},
      {"-3", IntegerArg::NotNegative, "0 -3", "p: error: Invalid value '-3' for '-n' option, which expects a positive value.\n"},
      {"0", IntegerArg::NotZero, "0 0", "p: error: Invalid value '0' for '-n' option, which expects a non-zero value.\n"},
  };
  for (const auto &[text, constraints, out, err] : cases) {
    const char *value = text;
    const uint32_t limits = constraints;
    const RunResult result = run_in_child([&] {
      ScopedCmdLine scope(false);
      SetProgramName("p");
      IntegerArg arg("-n", 2, "n", limits);
      const bool ok = arg.Set(value);
      std::printf("%d %d%s", ok, arg.Value(), arg.Given() ? "" : " not given");
    });
    EXPECT_EQ(result.out, out) << text;
    EXPECT_EQ(result.err, err) << text;
  }
}

/// About twenty options in three groups, with every case of the listing.
void PrintToolHelp() {
  ScopedCmdLine scope;
  int32_t mode = 0;
  SwitchArg zeta{"-Zeta", 2, "last despite its capital"};
  SwitchArg alpha{"-alpha", 2, "first"};
  StringArg out{"-out", 2, "file:the {result} file"};
  StringArg lib{"-lib", 2, "a <library> name"};
  MultiStringArg inc{"-incdir", 2 | 4, "dir:searched for includes"};
  IntegerArg jobs{"-jobs", 2, "n:parallel jobs"};
  MutexArg fast{"-fast", 4, "optimise for speed", &mode, 1};
  MutexArg small{"-small", 4, "optimise for size", &mode, 2};
  SwitchArg quiet{"-quiet", 4};
  SwitchArg define{"+define", 4, "name:define a macro"};
  SwitchArg trace{"+trace", 4, "trace everything"};
  StringArg seed{"-seed", 4, "seed:random seed"};
  StringArg verylong{"-a-very-long-option-name-indeed", 4, "value:overflows the column"};
  SwitchArg gone{"-gone", 2, "deprecated"};
  SwitchArg internal{"-internal", 2 | 0x100000, "hidden kind"};
  SwitchArg debug{"-debug", 8, "debug only"};
  SwitchArg dump{"-dump", 8, "dump tables"};
  IntegerArg level{"-level", 8, "debug level"};
  SwitchArg secret{"-secret", 0x100, "in a hidden group"};
  gone.Deprecate("-alpha");
  AddOptionGroup(2, "Tool options");
  AddOptionGroup(4, "Code generation");
  AddOptionGroup(8, "Debug");
  AddOptionGroup(0x100, "Hidden");
  AddOptionGroup(0x100000, "Only hidden kinds");
  PrintUsage("tool");
  std::fflush(stdout);
}

/// The listing of PrintToolHelp(), kept marked up in a data file: ^ red
/// bold, ` blue bold, ~ reset.  Off a terminal the marks are simply absent.
std::string ExpectedHelp(bool terminal) {
  std::string expected = read_file(CORVANE_TESTDATA "/help_listing.txt");
  for (const auto &[marker, escape] : {std::pair{'^', "\033[31;1m"}, {'`', "\033[34;1m"}, {'~', "\033[0m"}})
    for (size_t at; (at = expected.find(marker)) != std::string::npos;)
      expected.replace(at, 1, terminal ? escape : "");
  return expected;
}

TEST(PrintUsage, ListingToAFile) { EXPECT_EQ(run_in_child(PrintToolHelp).out, ExpectedHelp(false)); }

TEST(PrintUsage, ListingOnATerminal) {
  int master = -1;
  const pid_t pid = ::forkpty(&master, nullptr, nullptr, nullptr);
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    struct termios raw;
    ::tcgetattr(1, &raw);
    ::cfmakeraw(&raw);
    ::tcsetattr(1, TCSANOW, &raw);
    PrintToolHelp();
    ::_exit(0);
  }
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = ::read(master, buffer, sizeof buffer)) > 0)
    text.append(buffer, static_cast<size_t>(n));
  ::close(master);
  ::waitpid(pid, nullptr, 0);
  EXPECT_EQ(text, ExpectedHelp(true));
}

} // namespace
