// Message throughput of the roster: a short warning with an id, standard
// output sent to /dev/null and the session log to a file, without and with
// a telemetry session (one JSON record per message, flushed each time).

#include "driver/log.h"
#include "util/roster.h"
#include "util/telemetry.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

std::string scratchDir;

/// Points standard output at /dev/null while it lives; the benchmark's own
/// report, printed between runs, still reaches the console.
class QuietStdout {
public:
  QuietStdout() {
    std::fflush(stdout);
    m_Saved = ::dup(1);
    int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, 1);
    ::close(null);
  }
  ~QuietStdout() {
    std::fflush(stdout);
    ::dup2(m_Saved, 1);
    ::close(m_Saved);
  }

private:
  int m_Saved;
};

void ReportWarning(benchmark::State &state) {
  QuietStdout quiet;
  int value = 0;
  for (auto _ : state)
    ReportMessage(2, "RangeCheck", "value %d is out of range\n", ++value);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ReportWarning);

void ReportWarningWithTelemetry(benchmark::State &state) {
  if (TelemetrySessionCount() == 0) {
    ::setenv("OBX_EXECUTION_ID", "bench", 1);
    ::setenv("OBX_TELEMETRY_LOG_PATH", scratchDir.c_str(), 1);
    SetTelemetryToolName("roster_bench");
    StartTelemetrySession();
  }
  QuietStdout quiet;
  int value = 0;
  for (auto _ : state)
    ReportMessage(2, "RangeCheck", "value %d is out of range\n", ++value);
  state.SetItemsProcessed(state.iterations());
  if (TelemetrySessionCount() < 1)
    state.SkipWithError("telemetry could not be opened");
}
BENCHMARK(ReportWarningWithTelemetry);

} // namespace

int main(int argc, char **argv) {
  char pattern[] = "/tmp/roster-bench-XXXXXX";
  if (!::mkdtemp(pattern))
    return 1;
  scratchDir = pattern;
  open_log_file((scratchDir + "/bench.log").c_str());

  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  close_log_file();
  std::error_code ignored;
  std::filesystem::remove_all(scratchDir, ignored);
  return 0;
}
