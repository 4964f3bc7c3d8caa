// Parser throughput: ParseArguments over 1,000,000 and 2,000,000 arguments
// (file names, value options with inline and separate values, known and
// unknown plus-arguments) with 1,000 registered options.  Each run parses
// into a registry of its own.  The "args/s" counter is the figure; the two
// sizes show whether the cost grows linearly.

#include "util/cmdline.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kOptions = 1000;

struct Registry {
  ScopedCmdLine scope;
  std::vector<std::string> names;
  std::vector<std::unique_ptr<CmdArg>> options;
  Registry() {
    names.reserve(kOptions);
    for (int i = 0; i < kOptions; ++i)
      names.push_back((i % 4 == 0 ? "+def" : "-opt") + std::to_string(i));
    // Repeatable options, so that giving them again is no error.
    for (const std::string &name : names)
      options.push_back(std::make_unique<MultiStringArg>(name.c_str(), 2, "value"));
    AddOptionGroup(2, "Bench");
  }
};

std::vector<std::string> MakeArguments(size_t count) {
  std::vector<std::string> args = {"bench"};
  args.reserve(count + 1);
  for (size_t i = 0; args.size() <= count; ++i) {
    const int option = static_cast<int>((i * 7) % kOptions);
    switch (i % 5) {
    case 0:
      args.push_back("src/f" + std::to_string(i % 100000) + ".v");
      break;
    case 1:
      args.push_back("-opt" + std::to_string(option | 1) + "=v");
      break;
    case 2:
      args.push_back("-opt" + std::to_string(option | 1));
      args.push_back("val");
      break;
    case 3:
      args.push_back("+def" + std::to_string(option & ~3) + "+X");
      break;
    case 4:
      args.push_back("+plus" + std::to_string(i % 1000));
      break;
    }
  }
  args.resize(count + 1);
  return args;
}

void BM_ParseArguments(benchmark::State &state) {
  const size_t count = static_cast<size_t>(state.range(0));
  const std::vector<std::string> args = MakeArguments(count);
  for (auto _ : state) {
    state.PauseTiming();
    auto registry = std::make_unique<Registry>();
    state.ResumeTiming();
    benchmark::DoNotOptimize(ParseArguments("bench", args, 0));
    state.PauseTiming();
    registry.reset();
    state.ResumeTiming();
  }
  state.counters["args/s"] = benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_ParseArguments)->Arg(1000000)->Arg(2000000)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
