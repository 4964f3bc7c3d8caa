#!/usr/bin/env bash
# Sets the machine up (scripts/setup.sh), builds everything and runs every
# test.  This is what CI runs.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/setup.sh" "$build"
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600
"$root/scripts/sanitize.sh" && "$root/fuzz/run.sh" 30
