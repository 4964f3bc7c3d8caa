#!/usr/bin/env bash
# Builds the sanitizer tree (-DQUILLC_SANITIZE=ON: address and
# undefined-behaviour sanitizers, stopping at the first fault) and runs the
# whole test suite in it.  The runtime kit's co-simulation side is
# instrumented too, and its tests here build designs and Verilator
# simulations with gcc's sanitizers (kit/CMakeLists.txt); the rest of its
# end-to-end tests run in the ordinary tree.
#
#   scripts/sanitize.sh [build-dir]      (default: build-sanitize)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build-sanitize}

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQUILLC_SANITIZE=ON -DQUILLC_BUILD_BENCH=OFF "${launcher[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)"

# Leaks are checked: process-wide objects stay reachable through their
# static pointers, so what the leak checker reports is a real loss.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600
