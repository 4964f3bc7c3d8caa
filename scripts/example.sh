#!/usr/bin/env bash
# Sets the machine up, builds quillc and runs it on the bundled example in a
# fresh work directory.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/setup.sh" "$build"

work="$root/work/counter"
rm -rf "$work"
mkdir -p "$work"
cp "$root"/examples/counter/*.cpp "$work"/
cd "$work"
"$build/quillc" -module counter counter.cpp
echo
echo "work directory: $work"
ls -l "$work"
