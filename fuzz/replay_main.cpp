// Replays fuzz inputs without libFuzzer: every file named on the command
// line, or found directly in a directory named there, is fed once to the
// target's LLVMFuzzerTestOneInput.  The ordinary build links each harness
// with this file so that the test suite replays the seed and regression
// corpora; a crash or abort of the harness fails the test.  A path that
// does not exist is skipped (a target may have no regressions yet), but at
// least one input must be found, so a mistyped corpus cannot pass empty.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace fs = std::filesystem;

namespace {

bool replay(const fs::path &file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "replay: cannot read %s\n", file.c_str());
    return false;
  }
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // A copy of exactly the input's size, so that an overread shows under
  // the address sanitizer as it would under libFuzzer.
  std::vector<uint8_t> data(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(data.empty() ? nullptr : data.data(), data.size());
  return true;
}

} // namespace

int main(int argc, char **argv) {
  if (LLVMFuzzerInitialize)
    LLVMFuzzerInitialize(&argc, &argv);
  size_t count = 0;
  bool ok = true;
  for (int i = 1; i < argc; ++i) {
    std::error_code ec;
    fs::path path(argv[i]);
    if (fs::is_directory(path, ec)) {
      std::vector<fs::path> files;
      for (const fs::directory_entry &entry : fs::directory_iterator(path, ec))
        if (entry.is_regular_file(ec))
          files.push_back(entry.path());
      std::sort(files.begin(), files.end());
      for (const fs::path &file : files) {
        ok = replay(file) && ok;
        ++count;
      }
    } else if (fs::exists(path, ec)) {
      ok = replay(path) && ok;
      ++count;
    }
  }
  std::fprintf(stderr, "replay: %zu inputs\n", count);
  return ok && count > 0 ? 0 : 1;
}
