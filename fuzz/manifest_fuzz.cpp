// libFuzzer target for the manifest tokenizer.  The input is a manifest;
// reading it must return, and no token may hold white space outside double
// quotes (a quote right after a "/" outside quotes is ordinary text).

#include "util/cmdline.h"
#include "util/manifest.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

bool UnquotedSpace(const std::string &token) {
  bool quoted = false;
  for (size_t i = 0; i < token.size(); ++i) {
    const char c = token[i];
    if (c == '"' && (quoted || i == 0 || token[i - 1] != '/'))
      quoted = !quoted;
    else if (!quoted && std::isspace(static_cast<unsigned char>(c)))
      return true;
  }
  return false;
}

} // namespace

/// Reads \p bytes as a manifest and returns its tokens.
std::vector<std::string> Tokens(const std::string &bytes) {
  // Memory-backed where there is one: the file is rewritten on every run.
  static const std::string path =
      std::string(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/manifest_fuzz_" + std::to_string(::getpid()) + ".f";
  std::vector<std::string> tokens;
  FILE *file = std::fopen(path.c_str(), "wb");
  if (!file)
    return tokens;
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  ScopedCmdLine scope(false);
  if (ReadManifest(path, 3, tokens, 0)) // mode 3 never parses
    __builtin_trap();
  ::unlink(path.c_str());
  return tokens;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string bytes(reinterpret_cast<const char *>(data), size);
  Tokens(bytes);
  // Expansion may drop the "/" before a quote or a quote itself: the
  // white-space property is checked on a copy with nothing to expand.
  for (char &c : bytes)
    if (c == '$' || c == '~')
      c = 'x';
  for (const std::string &token : Tokens(bytes))
    if (UnquotedSpace(token))
      __builtin_trap();
  return 0;
}
