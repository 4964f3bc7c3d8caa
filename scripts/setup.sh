#!/usr/bin/env bash
# Brings a fresh Debian machine to the point where the project builds,
# then configures and builds it.  Safe to run again: packages that are
# already present are not reinstalled and the build is incremental.
#
#   scripts/setup.sh [build-dir]      (default: build)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build}

packages=(
  g++ cmake ninja-build make python3
  clang libclang-rt-14-dev
  libfmt-dev libssl-dev libgtest-dev libgmock-dev libbenchmark-dev
  libsystemc-dev libclang-14-dev verilator iverilog ghdl valgrind
  gzip bzip2 xz-utils ncompress
  lsb-release procps hostname file
  ccache redis-server distcc groff-base man-db bash-completion dpkg-dev pkgconf
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "$(nproc)"
