#!/usr/bin/env bash
# Sets the machine up (scripts/setup.sh), builds everything with g++ and runs
# every test; then builds the project with clang++ and the address and
# undefined-behaviour sanitizers (scripts/sanitize.sh, with the kit's
# co-simulation side, in build-clang) and runs the whole suite there; then
# runs every fuzz target for 30 seconds (fuzz/run.sh, in build-fuzz).  This
# is what CI runs.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/setup.sh" "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600

CXX=clang++ "$root/scripts/sanitize.sh" "${CLANG_BUILD_DIR:-$root/build-clang}"
"$root/fuzz/run.sh" 30
