// Manifest tokenizing speed: ReadManifest (tokens only, no parse) over a
// 100 MB manifest without variables, against LLVM's GNU-style command-line
// tokenizer on the same bytes (read from the same file).  LLVM serves this
// comparison only; without it the benchmark says so and measures ours alone.

#include "util/cmdline.h"
#include "util/manifest.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#ifdef CORVANE_BENCH_WITH_LLVM
#include <llvm/ADT/SmallVector.h>
#include <llvm/Support/Allocator.h>
#include <llvm/Support/CommandLine.h>
#include <llvm/Support/StringSaver.h>
#endif

namespace {

constexpr size_t kManifestBytes = 100u << 20;

const std::string &ManifestPath() {
  static const std::string path = [] {
    const std::string name =
        (std::filesystem::temp_directory_path() / ("manifest_bench_" + std::to_string(::getpid()) + ".f")).string();
    const char *pieces[] = {"-incdir", "src/rtl/core", "-define", "WIDTH=32", "top_level_module.sv",
                            "\"a quoted name\"", "-timescale=1ns/1ps", "lib/cells/and2.v", "+libext+.v"};
    std::string text;
    text.reserve(kManifestBytes + 64);
    for (size_t i = 0; text.size() < kManifestBytes; ++i) {
      text += pieces[i % 9];
      text += i % 6 == 5 ? '\n' : ' ';
    }
    std::ofstream(name, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
    return name;
  }();
  return path;
}

void BM_ReadManifest(benchmark::State &state) {
  const std::string &path = ManifestPath();
  size_t tokenCount = 0;
  for (auto _ : state) {
    ScopedCmdLine scope(false);
    std::vector<std::string> tokens;
    ReadManifest(path, 3, tokens, 0);
    tokenCount = tokens.size();
  }
  state.counters["tokens"] = static_cast<double>(tokenCount);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kManifestBytes));
}
BENCHMARK(BM_ReadManifest)->Unit(benchmark::kMillisecond)->Iterations(3);

#ifdef CORVANE_BENCH_WITH_LLVM
void BM_LlvmTokenizeGNUCommandLine(benchmark::State &state) {
  const std::string &path = ManifestPath();
  size_t tokenCount = 0;
  for (auto _ : state) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    const std::string bytes = text.str();
    llvm::BumpPtrAllocator allocator;
    llvm::StringSaver saver(allocator);
    llvm::SmallVector<const char *, 0> tokens;
    llvm::cl::TokenizeGNUCommandLine(bytes, saver, tokens);
    tokenCount = tokens.size();
  }
  state.counters["tokens"] = static_cast<double>(tokenCount);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kManifestBytes));
}
BENCHMARK(BM_LlvmTokenizeGNUCommandLine)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif

} // namespace

int main(int argc, char **argv) {
#ifndef CORVANE_BENCH_WITH_LLVM
  std::printf("LLVM was not found at configure time: measuring ReadManifest alone, without the comparison.\n");
#endif
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::remove(ManifestPath().c_str());
  return 0;
}
