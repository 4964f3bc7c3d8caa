#!/usr/bin/env bash
# Installs the support library from build tree $1 into a scratch prefix,
# builds cmake/consumer against it, once with find_package(CorvaneSupport)
# and once with pkg-config, and checks what the consumer prints.
set -euo pipefail
build=$1
source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" --component dev >/dev/null
# The consumer is built as its parent was: the same compiler and, for a
# sanitizer build, the sanitizers' run-time that the library calls into.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
compiler=$(cached CMAKE_CXX_COMPILER)
sanitize=""
if [[ $(cached QUILLC_SANITIZE) =~ ^(ON|1|TRUE|YES)$ ]]; then
  sanitize="-fsanitize=address,undefined -fno-sanitize-recover=all"
fi
cmake -S "$source" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$sanitize" >/dev/null
cmake --build "$scratch/build" >/dev/null
# The .pc file finds its prefix relative to itself: the prefix moves.
mv "$scratch/prefix" "$scratch/moved"
export PKG_CONFIG_PATH="$scratch/moved/lib/pkgconfig"
# shellcheck disable=SC2046
"$compiler" -std=c++20 $sanitize "$source/main.cpp" -o "$scratch/pc-consumer" $(pkg-config --cflags --libs corvane-support)
expected='=W:[Demo] "a\tb"'
for consumer in "$scratch/build/consumer" "$scratch/pc-consumer"; do
  out=$("$consumer")
  if [ "$out" != "$expected" ]; then
    echo "$consumer printed '$out', expected '$expected'" >&2
    exit 1
  fi
done
echo "installed support library: found, compiled against and linked (CMake package, pkg-config)"
