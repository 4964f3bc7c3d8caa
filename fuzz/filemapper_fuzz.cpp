// libFuzzer target for FileMapper on arbitrary file contents.  The input is
// written to a scratch file and loaded; the line table must start at 0,
// increase strictly, hold exactly one start behind each line feed, and
// every offset of the file must come back from its line and column.

#include "util/FileMapper.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

const std::string &scratchPath() {
  static const std::string &path =
      *new std::string("/tmp/filemapper_fuzz_" + std::to_string(::getpid()) + ".v");
  return path;
}

void check(bool condition) {
  if (!condition)
    __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::FILE *file = std::fopen(scratchPath().c_str(), "wb");
  if (!file)
    return 0;
  std::fwrite(data, 1, size, file);
  std::fclose(file);

  FileMapper mapper(scratchPath(), 0);
  mapper.load();
  const std::vector<uint64_t> &starts = mapper.lineStarts();
  check(mapper.loadState() == FileMapper::kRegularFile);
  check(!starts.empty() && starts[0] == 0);
  size_t feeds = 0;
  for (size_t i = 0; i < size; ++i)
    feeds += data[i] == '\n';
  check(starts.size() == feeds + 1);
  for (size_t i = 1; i < starts.size(); ++i) {
    check(starts[i] > starts[i - 1]);
    check(starts[i] <= size && data[starts[i] - 1] == '\n');
  }
  for (uint64_t offset = 0; offset <= size + 2; ++offset) {
    const LocEntry entry = mapper.toPosition(offset);
    check(entry.line >= 1 && size_t(entry.line) <= starts.size() && entry.column >= 1);
    check(starts[entry.line - 1] + uint64_t(entry.column) - 1 == offset);
    // No line feed lies between the line start and the offset.
    for (uint64_t at = starts[entry.line - 1]; at < offset && at < size; ++at)
      check(data[at] != '\n');
  }
  return 0;
}
