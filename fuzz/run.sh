#!/usr/bin/env bash
# Builds the fuzz tree with clang and runs every fuzz target listed in
# fuzz/CMakeLists.txt for a set time, two at a time.
#
#   fuzz/run.sh [seconds per target]          (default 30)
#
#   FUZZ_BUILD_DIR  the fuzz build tree        (default <root>/build-fuzz)
#   FUZZ_JOBS       targets run at once        (default 2)
#   FUZZ_WORK       where the grown corpora, logs and crash inputs go
#                   (default: a scratch directory, removed at the end)
#   FUZZ_TARGETS    run only these targets (blank-separated)
#
# Each target starts from its seed corpus fuzz/corpus/<target>/ (and its
# dictionary fuzz/<target>.dict when there is one).  A crash, leak, timeout
# or out-of-memory input is copied to fuzz/regressions/<target>/, which the
# ordinary test suite replays, and the script fails.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
seconds=${1:-30}
build=${FUZZ_BUILD_DIR:-$root/build-fuzz}
jobs=${FUZZ_JOBS:-2}

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQUILLC_BUILD_FUZZ=ON -DQUILLC_BUILD_KIT=OFF -DQUILLC_BUILD_TESTS=OFF \
  -DQUILLC_BUILD_BENCH=OFF "${launcher[@]}" >/dev/null
targets=${FUZZ_TARGETS:-$(cat "$build/fuzz/targets.txt")}
# shellcheck disable=SC2086
cmake --build "$build" -j "$(nproc)" --target $targets >/dev/null

if [ -n "${FUZZ_WORK:-}" ]; then
  work=$FUZZ_WORK
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi

run_one() {
  local target=$1 root=$2 build=$3 work=$4 seconds=$5
  local corpus=$work/$target artifacts=$work/$target.artifacts/ log=$work/$target.log
  mkdir -p "$corpus" "$artifacts"
  local options=(-max_total_time="$seconds" -close_fd_mask=1 -print_final_stats=1
                 -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$artifacts")
  [ -f "$root/fuzz/$target.dict" ] && options+=(-dict="$root/fuzz/$target.dict")
  local status=0
  "$build/fuzz/$target" "${options[@]}" "$corpus" "$root/fuzz/corpus/$target" >"$log" 2>&1 ||
    status=$?
  local execs
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  if [ "$status" -eq 0 ]; then
    echo "fuzz: $target: ${execs:-?} executions in ${seconds}s, no crash"
    return 0
  fi
  echo "fuzz: $target FAILED (status $status) after ${execs:-?} executions" >&2
  grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error)' "$log" | head -n 5 >&2 || true
  mkdir -p "$root/fuzz/regressions/$target"
  local input
  for input in "$artifacts"*; do
    [ -f "$input" ] || continue
    cp "$input" "$root/fuzz/regressions/$target/"
    echo "fuzz: $target: input saved as fuzz/regressions/$target/$(basename "$input")" >&2
  done
  return 1
}
export -f run_one

# shellcheck disable=SC2086
printf '%s\n' $targets |
  xargs -P "$jobs" -I{} bash -c 'run_one "$@"' _ {} "$root" "$build" "$work" "$seconds"
