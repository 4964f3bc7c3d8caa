#!/usr/bin/env bash
# Installs the support library from build tree $1 into a scratch prefix,
# builds cmake/consumer against it with find_package(CorvaneSupport) and
# checks what the consumer prints.
set -euo pipefail
build=$1
source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
# The consumer is built as its parent was: the same compiler and, for a
# sanitizer build, the sanitizers' run-time that the library calls into.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
flags=()
if [[ $(cached QUILLC_SANITIZE) =~ ^(ON|1|TRUE|YES)$ ]]; then
  flags=(-DCMAKE_CXX_FLAGS="-fsanitize=address,undefined -fno-sanitize-recover=all")
fi
cmake -S "$source" -B "$scratch/build" -G Ninja -DCMAKE_PREFIX_PATH="$scratch/prefix" \
  -DCMAKE_CXX_COMPILER="$(cached CMAKE_CXX_COMPILER)" "${flags[@]}" >/dev/null
cmake --build "$scratch/build" >/dev/null
out=$("$scratch/build/consumer")
expected='=W:[Demo] "a\tb"'
if [ "$out" != "$expected" ]; then
  echo "consumer printed '$out', expected '$expected'" >&2
  exit 1
fi
echo "installed support library: found, compiled against and linked"
