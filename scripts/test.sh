#!/usr/bin/env bash
# Sets the machine up (scripts/setup.sh), builds everything and runs every
# test; then builds the project again with clang++ (without the kit and the
# benchmarks) in build-clang and runs its unit tests.  This is what CI runs.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/setup.sh" "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600

clang_build=${CLANG_BUILD_DIR:-$root/build-clang}
CXX=clang++ cmake -S "$root" -B "$clang_build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQUILLC_BUILD_KIT=OFF -DQUILLC_BUILD_BENCH=OFF >/dev/null
cmake --build "$clang_build" -j "$(nproc)"
ctest --test-dir "$clang_build" --output-on-failure -j "$(nproc)" --timeout 600 -E '^install\.'

"$root/scripts/sanitize.sh"
"$root/fuzz/run.sh" 30
