// Look-ups in a large line table, and the locator stream written and read
// back at two sizes (the second twice the first: its time should be at
// most 2.2 times the first's).

#include "util/FileMapper.h"
#include "util/LocStream.h"
#include "util/Location.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>

namespace {

/// A mapper whose line table comes from a file record: \p lines lines of
/// 20 to 99 bytes, with no file on disk behind it.
CountedRef<FileMapper> syntheticMapper(const std::string &path, uint64_t lines, uint64_t seed) {
  BinaryLocSerializer ser;
  ser.writeString(path);
  ser.writeStamp(1.0);
  ser.writeCount(lines);
  std::mt19937_64 random(seed);
  for (uint64_t i = 1; i < lines; ++i)
    ser.writeCount(20 + random() % 80);
  BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
  return FileMapper::readRecord(des);
}

void BM_ToPosition(benchmark::State &state) {
  CountedRef<FileMapper> mapper = syntheticMapper("bench_lines.v", 10000000, 1);
  const uint64_t size = mapper->lineStarts().back();
  std::mt19937_64 random(2);
  std::vector<uint64_t> offsets(1 << 20);
  for (uint64_t &offset : offsets)
    offset = random() % size;
  mapper->toPosition(0); // builds the index outside the timing
  size_t i = 0;
  int64_t sum = 0;
  for (auto _ : state) {
    sum += mapper->toPosition(offsets[i]).line;
    i = (i + 1) & (offsets.size() - 1);
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ToPosition);

// The floor under any look-up in a table of this size: one random read of
// a table of 10 million offsets, the same size as the line table.
void BM_RandomReadBaseline(benchmark::State &state) {
  std::vector<uint64_t> table(10000000);
  for (size_t i = 0; i < table.size(); ++i)
    table[i] = i * 60;
  std::mt19937_64 random(2);
  std::vector<uint64_t> indexes(1 << 20);
  for (uint64_t &index : indexes)
    index = random() % table.size();
  size_t i = 0;
  uint64_t sum = 0;
  for (auto _ : state) {
    sum += table[indexes[i]];
    i = (i + 1) & (indexes.size() - 1);
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RandomReadBaseline);

/// \p locators locators over \p files files of 1000 lines: one FileLocator
/// per file (every tenth included from the one before), the rest macro
/// expansions, remaps and protected blocks in those files, each with its
/// own table entry.
void BM_LocatorStream(benchmark::State &state) {
  const uint64_t files = static_cast<uint64_t>(state.range(0));
  const uint64_t locators = files * 100;
  TopLocator top;
  std::vector<LocatorRef> fileLocators;
  for (uint64_t f = 0; f < files; ++f) {
    LocatorRef includer = f % 10 ? fileLocators.back() : nullptr;
    fileLocators.push_back(new FileLocator(
        syntheticMapper("bench_file_" + std::to_string(f) + ".v", 1000, f), includer, 40 * f % 997));
    top.addRange(fileLocators.back(), 60000);
  }
  std::mt19937_64 random(3);
  for (uint64_t i = files; i < locators; ++i) {
    const LocatorRef &file = fileLocators[random() % files];
    LocatorRef locator;
    switch (i % 3) {
    case 0:
      locator = new MacroLocator("M" + std::to_string(i % 50), fileLocators[random() % files],
                                 random() % 50000, file, random() % 50000);
      break;
    case 1:
      locator = new RemapLocator(file, file, 100, "orig.v", random() % 50000);
      break;
    default:
      locator = new ProtectedLocator(file, random() % 50000);
      break;
    }
    top.addRange(locator, 100);
  }
  size_t bytes = 0;
  for (auto _ : state) {
    BinaryLocSerializer ser;
    top.serialize(ser);
    bytes = ser.bytes().size();
    FileMapper::clearTable(); // as in a reading process
    TopLocator back;
    BinaryLocDeserializer des(ser.bytes().data(), ser.bytes().size());
    back.deserialize(des);
    if (des.failed() || back.entries().size() != locators)
      state.SkipWithError("stream did not read back");
  }
  state.counters["locators"] = static_cast<double>(locators);
  state.counters["MB"] = static_cast<double>(bytes) / 1e6;
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(locators));
}
// The machine may be shared: the least of a few runs is the figure.
BENCHMARK(BM_LocatorStream)
    ->Arg(10000)
    ->Arg(20000)
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ComputeStatistics("min",
                        [](const std::vector<double> &v) { return *std::min_element(v.begin(), v.end()); })
    ->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
