// FileMapper::load against `wc -l` on the same file in the page cache,
// side by side: a generated netlist-like source of about 500 MB (or the
// size in MB given as the first argument) in the temporary directory,
// read once to warm the cache, then both timed in alternating rounds.
// The file is deleted at the end.

#include "util/FileMapper.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

double seconds(const std::chrono::steady_clock::time_point &start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

int main(int argc, char **argv) {
  const uint64_t megabytes = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 500;
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("filemapper_load_" + std::to_string(::getpid()) + ".v");

  std::FILE *out = std::fopen(path.c_str(), "w");
  if (!out)
    return 1;
  uint64_t bytes = 0, lines = 0;
  char line[160];
  for (uint64_t i = 0; bytes < megabytes << 20; ++i, ++lines) {
    // Instance lines of a flat netlist, 30 to 90 bytes long.
    const int n = std::snprintf(line, sizeof line, "  INV_X%lu u%lu (.A(n%lu), .ZN(n%lu));%.*s\n",
                                i % 4 + 1, i, i * 7 % 1000003, i + 1, static_cast<int>(i % 29),
                                "                             ");
    std::fwrite(line, 1, n, out);
    bytes += n;
  }
  std::fclose(out);
  std::printf("file: %.1f MB, %lu lines\n", bytes / 1048576.0, lines);

  const std::string wc = "wc -l < '" + path.string() + "' > /dev/null";
  if (std::system(wc.c_str()) != 0) // warms the page cache
    return 1;
  double bestWc = 1e9, bestLoad = 1e9;
  for (int round = 0; round < 5; ++round) {
    auto start = std::chrono::steady_clock::now();
    if (std::system(wc.c_str()) != 0)
      return 1;
    const double wcTime = seconds(start);

    start = std::chrono::steady_clock::now();
    FileMapper mapper(path.string(), 0);
    mapper.load();
    const double loadTime = seconds(start);
    if (mapper.lineStarts().size() != lines + 1)
      return 1;
    std::printf("round %d: wc -l %.3f s, FileMapper::load %.3f s, ratio %.2f\n", round, wcTime,
                loadTime, loadTime / wcTime);
    bestWc = std::min(bestWc, wcTime);
    bestLoad = std::min(bestLoad, loadTime);
  }
  std::printf("best: wc -l %.3f s, FileMapper::load %.3f s, ratio %.2f\n", bestWc, bestLoad,
              bestLoad / bestWc);
  std::filesystem::remove(path);
  return 0;
}
