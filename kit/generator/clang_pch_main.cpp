// The kit's precompiled systemc.h for the wrapper generator's front end,
// made and identified with the libclang that the front end loads; run by
// quillc-env, whose environment names the kit.
//
//   clang_pch --identity        one line: the libclang file, its size and
//                               time, its version; "no libclang" without one
//   clang_pch HEADER OUTPUT     precompiles HEADER into OUTPUT and lists
//                               every file read, one a line

#include "kit/generator/source_layout.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

int main(int argc, char *argv[]) {
  std::string text, error;
  if (argc == 2 && std::strcmp(argv[1], "--identity") == 0) {
    std::printf("%s\n", corvane_sc::libclang_identity(text, error) ? ("libclang " + text).c_str() : "no libclang");
    return 0;
  }
  if (argc != 3) {
    std::fprintf(stderr, "usage: clang_pch --identity | clang_pch HEADER OUTPUT\n");
    return 2;
  }
  std::vector<std::string> inputs;
  if (!corvane_sc::precompile_systemc_header(argv[1], argv[2], inputs, error)) {
    std::fprintf(stderr, "clang_pch: %s: %s\n", argv[1], error.c_str());
    return 1;
  }
  for (const std::string &input : inputs)
    std::printf("%s\n", input.c_str());
  return std::fflush(stdout) == 0 ? 0 : 1;
}
