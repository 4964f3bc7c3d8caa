#include "util/telemetry.h"

#include "testsupport/testsupport.h"
#include "util/AppInfo.h"
#include "util/roster.h"

#include <csignal>
#include <regex>
#include <sys/wait.h>

namespace {

/// Runs \p body in a child with the two variables set (execution id "run42"
/// and a fresh directory) and returns the records of its file, with each
/// well-formed sample time as "<T>" and the child's process id as "<PID>".
std::string RunWithTelemetry(const std::function<void()> &body) {
  TempDir dir;
  auto child = run_in_child([&] {
    ::setenv("OBX_EXECUTION_ID", "run42", 1);
    ::setenv("OBX_TELEMETRY_LOG_PATH", dir.path().c_str(), 1);
    SetTelemetryToolName("quillc");
    std::fprintf(stderr, "%ld\n", static_cast<long>(::getpid()));
    body();
  });
  EXPECT_EQ(child.status, 0);
  const std::string pid = child.err.substr(0, child.err.find('\n'));
  const std::string records = read_file(dir / ("run42_" + pid + ".tel"));
  return std::regex_replace(
      std::regex_replace(records, std::regex(R"("sample_time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")"),
                         R"("sample_time":"<T>")"),
      std::regex("\"process_id\":" + pid + ","), R"("process_id":"<PID>",)");
}

std::string Dimensions(const std::string &keys) {
  return R"("dimensions":{"sample_time":"<T>",)" + keys + R"(,"tool":"quillc","version":")" +
         kToolVersion + R"(","version_verbose":")" + kToolVersionVerbose + "\"}";
}

std::string Event(const std::string &name, const std::string &keys) {
  return R"({"event_name":")" + name + "\"," + Dimensions(keys) + "}\n";
}

std::string Message(const std::string &severity, const std::string &keys) {
  return R"({"message":{"severity":")" + severity + "\"," + Dimensions(keys) + "}}\n";
}

// Every record is in the file when its object is gone: a child that leaves
// through exit() writes none of them again, and _exit, which drops what a
// stream still holds, loses none.
TEST(Telemetry, EveryEventAndMessageRecord) {
  std::string records = RunWithTelemetry([&] {
    ::setenv("TELTEST_A", "1", 1);
    ::setenv("TELTEST_B", "x=y\t\x01", 1);
    const char *argv[] = {"quillc", "-module", "a b", "tab\there", nullptr};
    StartTelemetrySession();
    StartTelemetrySession();
    TelemetryStartup(4, argv, "TELTEST_");
    TelemetryFileProcessing("a.cpp");
    TelemetryFileProcessing("b.vhd", "VHDL");
    TelemetrySimulationStatistics(10, 2.5, 3, 4);
    TelemetryTermination("done", 0);
    TelemetryTermination("why");
    TelemetryCrash("caf\xc3\xa9\n");
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
    if (::fork() == 0)
      std::exit(0);
    ::wait(nullptr);
    TelemetryShutdownAt(TelemetrySessionStart());
    ::_exit(0);
  });
  EXPECT_EQ(records,
            Event("startup", R"("hostname":")" + get_host_name() +
                                 R"(","process_id":"<PID>","arguments":["quillc","-module","a b",)"
                                 R"("tab\there"],"environment":{"TELTEST_A":"1",)"
                                 R"("TELTEST_B":"x=y\t\u0001"})") +
                Event("file_processing", R"("filename":"a.cpp","language":"Unknown")") +
                Event("file_processing", R"("filename":"b.vhd","language":"VHDL")") +
                Event("simulation_statistics",
                      R"("ticks":10,"seconds":2.5,"basic_events":3,"fast_events":4)") +
                Event("termination", R"("reason":"done","code":0)") +
                Event("termination", R"("reason":"why","code":-1)") +
                Event("crash", "\"message\":\"caf\xc3\xa9\\n\"") +
                Event("signal", R"("signal":")" + std::string(::strsignal(SIGTERM)) + "\"") +
                Message("Warning", R"("type":"W1","io":"stdout")") +
                Message("Error", R"("type":"S","original_severity":"SoftError","io":"stdout")") +
                Message("Fatal", R"("io":"stderr")") +
                Message("Error", R"("type":"Up","original_severity":"Warning","io":"stdout")") +
                Message("Info", R"("type":"Blk","io":"stderr")") +
                Event("shutdown", R"("runtime_ms":0,"runtime_us":0)"));
}

TEST(Telemetry, OneVariableOrNoDirectoryGivesNoFile) {
  // The execution id, and the log path under the test's directory; null
  // leaves a variable unset.
  for (auto [id, path] : {std::pair<const char *, const char *>{"run42", nullptr}, {nullptr, ""}, {"run42", "/missing"}}) {
    TempDir dir;
    auto result = run_in_child([&, id = id, path = path] {
      ::unsetenv("OBX_EXECUTION_ID");
      ::unsetenv("OBX_TELEMETRY_LOG_PATH");
      if (id)
        ::setenv("OBX_EXECUTION_ID", id, 1);
      if (path)
        ::setenv("OBX_TELEMETRY_LOG_PATH", (dir.path().string() + path).c_str(), 1);
      int first = StartTelemetrySession();
      TelemetryCrash("x");
      int after = TelemetrySessionCount();
      int again = StartTelemetrySession();
      ReportMessage(2, "W", "m\n");
      TelemetryShutdown();
      std::fprintf(stderr, "%d %d %d %d", first, after, again, TelemetrySessionCount());
    });
    EXPECT_EQ(result.err, "1 -1 -1 -1") << (path ? path : "no path");
    EXPECT_TRUE(fs::is_empty(dir.path()));
  }
}

// The file closes after the last nested shutdown; runtime_ms is rounded.
TEST(Telemetry, NestedSessionsAndRoundedRuntime) {
  std::string records = RunWithTelemetry([] {
    auto After = [](long us) {
      timeval t = TelemetrySessionStart();
      us += t.tv_usec;
      return timeval{t.tv_sec + us / 1000000, us % 1000000};
    };
    StartTelemetrySession();
    StartTelemetrySession();
    TelemetryFileProcessing("one");
    TelemetryShutdownAt(After(1499));
    TelemetryFileProcessing("two"); // one session is still open
    TelemetryShutdownAt(After(1500));
    TelemetryFileProcessing("three"); // none is: not written
    StartTelemetrySession();
    TelemetryShutdownAt(After(2000000));
  });
  EXPECT_EQ(records, Event("file_processing", R"("filename":"one","language":"Unknown")") +
                         Event("shutdown", R"("runtime_ms":1,"runtime_us":1499)") +
                         Event("file_processing", R"("filename":"two","language":"Unknown")") +
                         Event("shutdown", R"("runtime_ms":2,"runtime_us":1500)") +
                         Event("shutdown", R"("runtime_ms":2000,"runtime_us":2000000)"));
}

} // namespace
