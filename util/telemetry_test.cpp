#include "util/telemetry.h"

#include "testsupport/testsupport.h"
#include "util/AppInfo.h"
#include "util/roster.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <unistd.h>

using testsupport::read_file;
using testsupport::run;
using testsupport::run_in_child;
using testsupport::TempDir;
using testsupport::write_file;

namespace fs = std::filesystem;

namespace {

std::string Quoted(const char *text) {
  std::string out;
  JsonWriter::WriteQuoted(out, text);
  return out;
}

TEST(JsonEscapes, Table) {
  struct Case {
    const char *text;
    const char *json;
  };
  const Case cases[] = {
      {"", R"("")"},
      {"plain / text", R"("plain / text")"},
      {"a\tb\nc\rd", R"("a\tb\nc\rd")"},
      {"say \"hi\" \\ bye", R"("say \"hi\" \\ bye")"},
      {"\x01", R"("\u0001")"},
      {"\b\f", R"("\u0008\u000c")"},
      {"\x1b[0m", R"("\u001b[0m")"},
      {"\x1f \x7f", R"("\u001f \u007f")"},
      {"\x20~", R"(" ~")"},
      {"caf\xc3\xa9 \xe2\x82\xac", "\"caf\xc3\xa9 \xe2\x82\xac\""},
      {"\x80\xfe\xff", "\"\x80\xfe\xff\""},
      {"\t\"\x01", R"("\t\"\u0001")"},
  };
  for (const Case &c : cases)
    EXPECT_EQ(Quoted(c.text), c.json) << c.json;
}

TEST(JsonEscapes, LongTextAcrossTheStagingBlock) {
  std::string text, expected = "\"";
  for (int i = 0; i < 300; ++i) {
    text += (i % 3 == 0) ? "\x02" : (i % 3 == 1 ? "x" : "\\");
    expected += (i % 3 == 0) ? "\\u0002" : (i % 3 == 1 ? "x" : "\\\\");
  }
  EXPECT_EQ(Quoted(text.c_str()), expected + "\"");
}

TEST(JsonWriter, CompactMembersScopesAndClosing) {
  std::string out;
  JsonWriter top(out);
  top.AddString("s", "x");
  top.AddInt("i", -5);
  top.AddUnsigned("u", UINT64_MAX);
  top.AddDouble("d", 2.5);
  top.AddDouble("big", 1e20);
  top.AddDouble("third", 1.0 / 3);
  top.AddDouble("nan", std::nan(""));
  top.AddString("null", nullptr);
  JsonWriter array = top.AddArray("a");
  array.AddString(nullptr, "p");
  array.AddArray(nullptr).Close();
  array.AddInt(nullptr, 7);
  array.Close();
  top.AddObject("o").Close();
  top.Close();
  top.AddString("late", "ignored");
  top.AddObject("late").AddInt("n", 1); // nested in a closed scope
  JsonWriter(out, true).Close();
  EXPECT_EQ(out, R"({"s":"x","i":-5,"u":18446744073709551615,"d":2.5,"big":1e+20,)"
                 R"("third":0.333333,"nan":null,"null":"","a":["p",[],7],"o":{}}[])");
}

TEST(JsonWriter, PrettyWithSpacesAndTabs) {
  for (bool tabs : {false, true}) {
    std::string out;
    JsonWriter top(out, false, 0, true, 4, tabs);
    top.AddInt("a", 1);
    JsonWriter o = top.AddObject("o");
    JsonWriter b = o.AddArray("b");
    b.AddString(nullptr, "x");
    b.AddString(nullptr, "y");
    b.Close();
    o.Close();
    top.AddObject("e").Close();
    top.Close();
    std::string expected = "{\n"
                           "    \"a\": 1,\n"
                           "    \"o\": {\n"
                           "        \"b\": [\n"
                           "            \"x\",\n"
                           "            \"y\"\n"
                           "        ]\n"
                           "    },\n"
                           "    \"e\": {}\n"
                           "}";
    if (tabs)
      for (size_t at; (at = expected.find("    ")) != std::string::npos;)
        expected.replace(at, 4, "\t");
    EXPECT_EQ(out, expected) << (tabs ? "tabs" : "spaces");
  }
}

/// Parses a telemetry file with Python's json module and prints every record
/// as its leaves in document order ("path=value" with the value as Python
/// writes it back), then "--".  Duplicate keys stay visible.  A
/// "sample_time" in the expected form prints as <T>.
const char kFlatten[] = R"PY(
import json, re, sys
TIME = re.compile(r'^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$')
class Pairs(list):
    pass
def walk(path, value, out):
    if isinstance(value, Pairs):
        if not value:
            out.append(path + '={}')
        for k, v in value:
            walk(path + '.' + k if path else k, v, out)
    elif isinstance(value, list):
        if not value:
            out.append(path + '=[]')
        for i, v in enumerate(value):
            walk('%s[%d]' % (path, i), v, out)
    elif path.endswith('sample_time') and isinstance(value, str) and TIME.match(value):
        out.append(path + '=<T>')
    else:
        out.append(path + '=' + json.dumps(value))
data = open(sys.argv[1], 'rb').read().decode('utf-8')
lines = data.split('\n')
if lines[-1] != '':
    print('NO FINAL LINE FEED')
for line in lines[:-1]:
    record = json.loads(line, object_pairs_hook=Pairs)
    if not isinstance(record, Pairs):
        print('NOT AN OBJECT')
    out = []
    walk('', record, out)
    print('\n'.join(out))
    print('--')
)PY";

std::string Flatten(const fs::path &file) {
  TempDir scratch;
  write_file(scratch / "flatten.py", kFlatten);
  auto result = run({"python3", (scratch / "flatten.py").string(), file.string()}, scratch.path());
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

/// The values of the leaves at \p path, in order, each followed by a blank.
std::string Leaves(const std::string &flat, const std::string &path) {
  std::istringstream lines(flat);
  std::string line, values;
  while (std::getline(lines, line))
    if (line.rfind(path + "=", 0) == 0)
      values += line.substr(path.size() + 1) + " ";
  return values;
}

/// The keys every record ends with, under \p prefix.
std::string Common(const std::string &prefix) {
  return prefix + "tool=\"quillc\"\n" + prefix + "version=\"" + kToolVersion + "\"\n" + prefix +
         "version_verbose=\"" + kToolVersionVerbose + "\"\n--\n";
}

std::string Event(const std::string &name, const std::string &keys) {
  return "event_name=\"" + name + "\"\ndimensions.sample_time=<T>\n" + keys +
         Common("dimensions.");
}

std::string Message(const std::string &severity, const std::string &keys) {
  return "message.severity=\"" + severity + "\"\nmessage.dimensions.sample_time=<T>\n" + keys +
         Common("message.dimensions.");
}

/// Runs \p body in a child with the two variables set (execution id "run42"
/// and \p dir) and returns the child's process id, which it prints first.
long RunWithTelemetry(const fs::path &dir, const std::function<void()> &body) {
  auto result = run_in_child([&] {
    ::setenv("OBX_EXECUTION_ID", "run42", 1);
    ::setenv("OBX_TELEMETRY_LOG_PATH", dir.c_str(), 1);
    SetTelemetryToolName("quillc");
    std::fprintf(stderr, "%ld\n", static_cast<long>(::getpid()));
    body();
  });
  EXPECT_EQ(result.status, 0);
  return std::atol(result.err.c_str());
}

TEST(Telemetry, EveryEventAndMessageRecord) {
  TempDir dir;
  long pid = RunWithTelemetry(dir.path(), [] {
    ::setenv("TELTEST_A", "1", 1);
    ::setenv("TELTEST_B", "x=y\t\x01", 1);
    const char *argv[] = {"quillc", "-module", "a b", "tab\there", nullptr};
    StartTelemetrySession();
    TelemetryStartup(4, argv, "TELTEST_");
    TelemetryFileProcessing("a.cpp");
    TelemetryFileProcessing("b.vhd", "VHDL");
    TelemetrySimulationStatistics(10, 2.5, 3, 4);
    TelemetryTermination("done", 0);
    TelemetryTermination("why");
    TelemetryCrash("boom\n");
    TelemetrySignal(SIGTERM);
    ReportMessage(2, "W1", "shown\n");
    ReportMessage(3, "S", "soft\n");
    ReportMessageToStderr(5, nullptr, "fatal\n");
    SetSeverity("Q", 0);
    ReportMessage(2, "Q", "silenced: no record\n");
    SetSeverity("Up", 4);
    ErrorRoster::Get().SetOverrideMode(1);
    ReportMessage(2, "Up", "raised\n");
    ErrorRoster::Get().BeginBlock("Blk", 1);
    ErrorRoster::Get().AddLine(0, "row");
    ErrorRoster::Get().Flush();
    TelemetryShutdown();
  });
  fs::path file = dir / ("run42_" + std::to_string(pid) + ".tel");
  ASSERT_TRUE(fs::exists(file)) << file;

  std::string expected =
      Event("startup", "dimensions.hostname=\"" + get_host_name() + "\"\n" +
                           "dimensions.process_id=" + std::to_string(pid) + "\n" +
                           "dimensions.arguments[0]=\"quillc\"\n"
                           "dimensions.arguments[1]=\"-module\"\n"
                           "dimensions.arguments[2]=\"a b\"\n"
                           "dimensions.arguments[3]=\"tab\\there\"\n"
                           "dimensions.environment.TELTEST_A=\"1\"\n"
                           "dimensions.environment.TELTEST_B=\"x=y\\t\\u0001\"\n") +
      Event("file_processing", "dimensions.filename=\"a.cpp\"\ndimensions.language=\"Unknown\"\n") +
      Event("file_processing", "dimensions.filename=\"b.vhd\"\ndimensions.language=\"VHDL\"\n") +
      Event("simulation_statistics", "dimensions.ticks=10\ndimensions.seconds=2.5\n"
                                     "dimensions.basic_events=3\ndimensions.fast_events=4\n") +
      Event("termination", "dimensions.reason=\"done\"\ndimensions.code=0\n") +
      Event("termination", "dimensions.reason=\"why\"\ndimensions.code=-1\n") +
      Event("crash", "dimensions.message=\"boom\\n\"\n") +
      Event("signal", std::string("dimensions.signal=\"") + ::strsignal(SIGTERM) + "\"\n") +
      Message("Warning", "message.dimensions.type=\"W1\"\nmessage.dimensions.io=\"stdout\"\n") +
      Message("Error", "message.dimensions.type=\"S\"\n"
                       "message.dimensions.original_severity=\"SoftError\"\n"
                       "message.dimensions.io=\"stdout\"\n") +
      Message("Fatal", "message.dimensions.io=\"stderr\"\n") +
      Message("Error", "message.dimensions.type=\"Up\"\n"
                       "message.dimensions.original_severity=\"Warning\"\n"
                       "message.dimensions.io=\"stdout\"\n") +
      Message("Info", "message.dimensions.type=\"Blk\"\nmessage.dimensions.io=\"stderr\"\n");
  std::string flat = Flatten(file);
  // The shutdown record's times vary; check the rest exactly.
  size_t shutdown = flat.find("event_name=\"shutdown\"");
  ASSERT_NE(shutdown, std::string::npos) << flat;
  EXPECT_EQ(flat.substr(0, shutdown), expected);
  EXPECT_NE(flat.find("dimensions.runtime_ms=", shutdown), std::string::npos);

  // The raw bytes use the short and the lower-case u-escapes.
  std::string raw = read_file(file);
  EXPECT_NE(raw.find(R"("TELTEST_B":"x=y\t\u0001")"), std::string::npos) << raw;
  EXPECT_NE(raw.find(R"({"message":{"severity":"Warning","dimensions":{"sample_time":")"),
            std::string::npos);
}

TEST(Telemetry, EveryByteRoundTripsThroughARealParser) {
  TempDir dir;
  std::string all;
  for (int b = 1; b < 128; ++b)
    all += static_cast<char>(b);
  all += "caf\xc3\xa9 \xf0\x9f\x99\x82";
  long pid = RunWithTelemetry(dir.path(), [&] {
    StartTelemetrySession();
    TelemetryCrash(all.c_str());
  });
  TempDir scratch;
  write_file(scratch / "check.py",
             "import json, sys\n"
             "line = open(sys.argv[1], 'rb').read().decode('utf-8')\n"
             "text = json.loads(line)['dimensions']['message']\n"
             "expected = ''.join(map(chr, range(1, 128))) + 'caf\\u00e9 \\U0001f642'\n"
             "print('same' if text == expected else 'differs: ' + repr(text))\n");
  auto result = run({"python3", (scratch / "check.py").string(),
                     (dir / ("run42_" + std::to_string(pid) + ".tel")).string()},
                    scratch.path());
  EXPECT_EQ(result.out, "same\n") << result.err;
}

TEST(Telemetry, OneVariableOrNoDirectoryGivesNoFile) {
  struct Case {
    const char *id;
    const char *path; // "<dir>" for the test's directory
  };
  for (Case c : {Case{"run42", nullptr}, Case{nullptr, "<dir>"}, Case{"run42", "<dir>/missing"}}) {
    TempDir dir;
    auto result = run_in_child([&] {
      ::unsetenv("OBX_EXECUTION_ID");
      ::unsetenv("OBX_TELEMETRY_LOG_PATH");
      if (c.id)
        ::setenv("OBX_EXECUTION_ID", c.id, 1);
      if (c.path) {
        std::string path = c.path;
        path.replace(0, 5, dir.path().string());
        ::setenv("OBX_TELEMETRY_LOG_PATH", path.c_str(), 1);
      }
      int first = StartTelemetrySession();
      TelemetryCrash("x");
      int after = TelemetrySessionCount();
      int again = StartTelemetrySession();
      ReportMessage(2, "W", "m\n");
      TelemetryShutdown();
      std::fprintf(stderr, "%d %d %d %d", first, after, again, TelemetrySessionCount());
    });
    EXPECT_EQ(result.err, "1 -1 -1 -1") << (c.path ? c.path : "no path");
    EXPECT_TRUE(fs::is_empty(dir.path()));
  }
}

timeval After(timeval start, long us) {
  start.tv_usec += us;
  start.tv_sec += start.tv_usec / 1000000;
  start.tv_usec %= 1000000;
  return start;
}

TEST(Telemetry, ShutdownRoundsToMilliseconds) {
  TempDir dir;
  long pid = RunWithTelemetry(dir.path(), [] {
    for (long us : {1499L, 1500L, 499L, 500L, 2000000L}) {
      StartTelemetrySession();
      TelemetryShutdownAt(After(TelemetrySessionStart(), us));
    }
  });
  std::string flat = Flatten(dir / ("run42_" + std::to_string(pid) + ".tel"));
  EXPECT_EQ(Leaves(flat, "dimensions.runtime_ms"), "1 2 0 1 2000 ");
  EXPECT_EQ(Leaves(flat, "dimensions.runtime_us"), "1499 1500 499 500 2000000 ");
}

TEST(Telemetry, NestedSessionsCloseAfterTheLastShutdown) {
  TempDir dir;
  long pid = RunWithTelemetry(dir.path(), [] {
    StartTelemetrySession();
    StartTelemetrySession();
    TelemetryFileProcessing("one");
    TelemetryShutdown();
    TelemetryFileProcessing("two"); // one session is still open
    TelemetryShutdown();
    TelemetryFileProcessing("three"); // none is: not written
  });
  std::string flat = Flatten(dir / ("run42_" + std::to_string(pid) + ".tel"));
  EXPECT_EQ(Leaves(flat, "event_name"),
            R"("file_processing" "shutdown" "file_processing" "shutdown" )");
  EXPECT_EQ(Leaves(flat, "dimensions.filename"), R"("one" "two" )");
}

} // namespace
