#include "util/roster.h"

#include "driver/log.h"
#include "testsupport/testsupport.h"

#include <utility>

// Tests that print, count or crash run in a forked child (run_in_child), so
// the process-wide roster starts pristine there and this process's stays
// untouched.  Severity decisions use rosters of their own.

namespace {

const char kLimitHead[] = "=F:[LimitReached]\n    The message limit has been reached\n";

TEST(ErrorRoster, EffectiveSeverityTable) {
  struct Case {
    const char *what;
    uint32_t mode;
    std::vector<std::pair<const char *, int>> settings; // SetSeverity calls
    const char *id;
    int requested, expected;
  };
  const Case cases[] = {
      {"continuation is silenced", 0, {}, nullptr, 0, 0},
      {"soft error shows as error", 0, {}, "S", 3, 4},
      {"unknown code passes", 0, {}, nullptr, 9, 9},
      {"id silences a warning", 0, {{"X", 0}}, "X", 2, 0},
      {"id silences a soft error", 0, {{"X", 0}}, "X", 3, 0},
      {"mode 0: id cannot touch an error", 0, {{"X", 0}}, "X", 4, 4},
      {"mode 1: id silences an error", 1, {{"X", 0}}, "X", 4, 0},
      {"ids compare exactly", 0, {{"X", 0}}, "x", 2, 2},
      {"second setting of an id replaces", 0, {{"X", 0}, {"X", 1}}, "X", 2, 1},
      {"mode 2: id silences a fatal", 2, {{"X", 0}}, "X", 5, 0},
      {"id override to soft error gives error", 0, {{"X", 3}}, "X", 1, 4},
      {"id override can raise", 1, {{"X", 8}}, "X", 2, 8},
      {"override beats the map", 0, {{"warn", 0}, {"X", 2}}, "X", 2, 2},
      {"mode 2: soft error is a warning", 2, {}, nullptr, 3, 2},
      {"mode 2: soft error wins over override", 2, {{"X", 5}}, "X", 3, 2},
      {"error 2 demotes soft errors", 0, {{"error", 2}}, nullptr, 3, 2},
      {"error 2 leaves errors", 1, {{"error", 2}}, nullptr, 4, 4},
      {"error 0 silences soft errors only", 1, {{"error", 0}}, nullptr, 4, 4},
      {"error 5 makes errors fatal", 1, {{"error", 5}}, nullptr, 4, 5},
      {"mode 0 keeps errors final", 0, {{"error", 5}}, nullptr, 4, 4},
      {"fatal cannot be remapped", 1, {{"fatal", 1}}, nullptr, 5, 5},
      {"fatal is a class, not an id", 1, {{"fatal", 1}}, "fatal", 5, 5},
      {"info alias", 0, {{"info", 2}}, nullptr, 1, 2},
      {"warn alias", 0, {{"warn", 0}}, nullptr, 2, 0},
      {"warning class", 0, {{"warning", 4}}, nullptr, 2, 4},
      {"warning remap leaves notes", 0, {{"warning", 4}}, nullptr, 1, 1},
      {"a class word is case-sensitive", 1, {{"Error", 0}}, nullptr, 4, 4},
  };
  for (const Case &c : cases) {
    ErrorRoster roster;
    roster.SetOverrideMode(c.mode);
    for (const auto &[name, severity] : c.settings)
      ASSERT_TRUE(roster.SetSeverity(name, severity)) << c.what;
    EXPECT_EQ(roster.EffectiveSeverity(c.id, c.requested), c.expected) << c.what;
  }
  ErrorRoster roster; // what it cannot store changes nothing
  EXPECT_FALSE(roster.SetSeverity(nullptr, 1) || roster.SetSeverity("", 1) ||
               roster.SetSeverity("warning", 9) || roster.SetSeverity("X", -1));
  EXPECT_EQ(roster.EffectiveSeverity("X", 2), 2);
  for (const char *name : {"", "Error", "#", "SoftError", "errors", "terminate"})
    EXPECT_EQ(SeverityClassOf(name), 0) << name;
}

// Layouts a shown message cannot reach: continuation lines, unknown codes,
// a soft error without id, missing text.
TEST(FormatMessageLine, Layouts) {
  EXPECT_EQ(FormatMessageLine(2, true, nullptr, "T"), "=W: <demotable>T");
  EXPECT_EQ(FormatMessageLine(2, false, "", "T"), "=W:T");
  EXPECT_EQ(FormatMessageLine(5, true, "Id", nullptr), "=F:[Id] <demotable>");
  EXPECT_EQ(FormatMessageLine(0, false, "Id", "more"), "    more");
  EXPECT_EQ(FormatMessageLine(-1, false, nullptr, "T"), "=U:T");
  EXPECT_STREQ(SeverityName(12), "U");
}

// Console and log get the same bytes; a composed "%%" prints as "%", and no
// other "%" of the text is taken for a conversion.  Then blocks.
TEST(ReportMessage, PrintsLinesToConsoleAndLog) {
  TempDir dir;
  const std::string longText(5000, 'x');
  auto result = run_in_child(
      [&] {
        open_log_file("run.log");
        int shown[] = {
            ReportMessage(2, "W1", "value %d\n", 5),
            ReportMessage(3, "Soft", "soft\n"),
            ReportMessage(1, nullptr, "note\n"),
            ReportMessage(4, "Open", "cannot open %s\n", "a%s%n.cpp"),
            ReportMessage(2, "P", "%s\n", "50%% done, 100%%%% sure, 7% left, trailing %"),
            ReportMessage(2, "i%%d", "\n"),
            ReportMessage(2, "Long", "<%s>\n", longText.c_str()),
            ReportMessageToStderr(5, "B", "err %s\n", "%n%%"),
            ReportMessage(0, nullptr, "continuation is silenced\n"),
            ReportMessage(5, "Empty", "%s", ""),
        };
        std::string codes = "|";
        for (int s : shown)
          codes += std::to_string(s);
        // Blocks go to standard error, or through the log's printer.
        ErrorRoster &r = ErrorRoster::Get();
        r.SetSeverity("Hidden", 0);
        codes += std::to_string(r.BeginBlock("Hidden", 2));
        r.Flush(); // nothing collected, no bracket: prints nothing
        codes += std::to_string(r.BeginBlock("Blk", 3));
        r.AddLine(0, "first\n");
        r.AddFormattedLine(1, 0, "%s", "name");
        r.AddFormattedLine(1, 1, "%d%%", 42);
        r.Flush();
        r.SetLogThroughSession(true);
        r.SetBracketBlocks(true);
        r.BeginBlock(nullptr, 1);
        r.AddLine(0, "logged");
        r.Flush();
        close_log_file();
        std::fputs(codes.c_str(), stdout);
      },
      dir.path());
  EXPECT_EQ(result.status, 0);
  const std::string out = "=W:[W1] value 5\n=E:[Soft] <demotable> soft\n=N:note\n"
                          "=E:[Open] cannot open a%s%n.cpp\n"
                          "=W:[P] 50% done, 100%% sure, 7% left, trailing %\n=W:[i%d] \n"
                          "=W:[Long] <" + longText + ">\n";
  EXPECT_EQ(result.out, out + "=F:[Empty]|111111110104");
  EXPECT_EQ(result.err, "=F:[B] err %n%\n=E:[Blk] <demotable>\n    first\n    name  42%\n"
                        "=N:\n    logged\n=]\n");
  EXPECT_EQ(read_file(dir / "run.log"), out + "=F:[B] err %n%\n=F:[Empty]=N:\n    logged\n=]\n");
}

// The limit check after every message: '.' nothing, 'L' a report (queued).
std::string CheckAfterEach(ErrorRoster &r, const std::vector<int> &severities) {
  std::string trace;
  for (int s : severities) {
    r.ReportMessage(s, nullptr, "m\n");
    auto report = r.CheckLimit(4);
    trace += report ? "L" : ".";
    if (report)
      r.LimitClass().Add(std::move(report));
  }
  return trace;
}

TEST(ErrorRoster, CountsLimitsAndSummaries) {
  struct Plain : ErrorMsgClassBase {
    const char *Name() const override { return "Plain"; }
  } plain, empty;
  auto result = run_in_child([&] {
    ErrorRoster &r = ErrorRoster::Get();
    r.SetSeverity("Quiet", 0);
    // 3 shows as 4; 0 and the silenced id are not shown; 6 to 9 are shown but
    // not counted.  No limit is set: no reports.
    std::string noLimit = CheckAfterEach(r, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 4, 4});
    r.ReportMessage(2, "Quiet", "not counted\n");
    std::fprintf(stderr, "F%u E%u W%u N%u R%u %s", r.FatalCount(), r.TotalErrorCount(), r.WarningCount(),
                 r.NoteCount(), r.ErrorCount(), noLimit.c_str());
    r.ResetErrorCount();
    r.ReportMessage(4, nullptr, "m\n");
    std::fprintf(stderr, " / E%u R%u\n", r.TotalErrorCount(), r.ErrorCount());

    ErrorRoster &limited = *new ErrorRoster;
    limited.SetMessageLimit(4, 6);
    limited.AddClass(&empty);
    limited.AddClass(&plain);
    std::fprintf(stderr, "%s\n", CheckAfterEach(limited, {4, 4, 2, 4, 4, 4, 5, 4}).c_str());
    limited.LimitClass().Add(std::make_unique<PPErrorMessage>("not a limit report"));
    limited.LimitClass().SetInProtectedCode();
    plain.SetInProtectedCode();
    limited.SetBracketBlocks(true);
    limited.PrintClassSummaries();
    limited.PrintClassSummaries(); // printed classes are cleared
  });
  ASSERT_EQ(result.status, 0);
  const std::string encrypted = "    (occurs in encrypted code)\n=]\n";
  EXPECT_EQ(result.err, "F1 E4 W1 N1 R4 ............ / E5 R1\n......LL\n" + std::string(kLimitHead) +
                            "    6 errors have been found\n    6 errors have been found\n" + encrypted +
                            kLimitHead + encrypted);
  EXPECT_TRUE(result.out.starts_with("=N:m\n=W:m\n=E: <demotable>m\n=E:m\n=F:m\n=T:m\n=S:m\n=M:m\n=U:m\n"))
      << result.out;

  ErrorRoster r; // a limit of 0 is none; other codes have no limit
  r.SetMessageLimit(4, 0);
  r.SetMessageLimit(42, 1);
  EXPECT_TRUE(!r.CheckLimit(4) && !r.CheckLimit(5) && !r.CheckLimit(42));
}

TEST(ErrorRoster, InternalAssertEndsInTheCrashHandler) {
  const int assertLine = __LINE__ + 5;
  auto result = run_in_child([] {
    // Not the process-wide roster: each roster has its own crash handler.
    ErrorRoster &r = *new ErrorRoster;
    r.LimitClass().Add(std::make_unique<LimitReachedMsg>(10, "errors", 1));
    CORVANE_ASSERT(r.FatalCount() == 7);
  });
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "=F:[InternalAssert] r.FatalCount() == 7 failed @util/roster_test.cpp:" +
                            std::to_string(assertLine) +
                            "\n=F:[Crash] \nCorvane has crashed due to an internal error.\n"
                            "Please seek assistance from Corvane support personnel.\n"
                            "Additional information may follow.\n\n" +
                            kLimitHead + "    10 errors have been found\n");
}

} // namespace
