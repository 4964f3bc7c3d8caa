#!/usr/bin/env bash
# quillc under a compiler cache in masquerade form (its gcc first on PATH),
# with the settings that the kit's precompiled headers need: rebuilding the
# counter takes every compile from the cache, and takes less time.
#
#   ccache_test.sh QUILLC QUILLC_ENV ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../testsupport/testsupport.sh"
quillc=$1 env_command=$2 root=$3
eval "$("$env_command")"
export PATH="/usr/lib/ccache:$PATH" CCACHE_DIR="$scratch/cache" CCACHE_SLOPPINESS=pch_defines,time_macros
unset CCACHE_DISABLE CCACHE_RECACHE CCACHE_READONLY CCACHE_PREFIX
[ "$(command -v gcc)" = /usr/lib/ccache/gcc ] || { echo "FAIL: no masquerading gcc" >&2; exit 1; }
mkdir "$scratch/work"
cp "$root/examples/counter/counter.cpp" "$scratch/work/"

# Prints the seconds that one clean build took, after checking that it made the library.
build() {
  (cd "$scratch/work" && rm -rf sc_module wrapper.sv libcorvanesc.so quillc.log)
  ccache --zero-stats >/dev/null
  local start=$EPOCHREALTIME
  (cd "$scratch/work" && "$quillc" -module counter counter.cpp >out 2>&1)
  local end=$EPOCHREALTIME
  [ -f "$scratch/work/libcorvanesc.so" ] || { cat "$scratch/work/out" >&2; exit 1; }
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.2f\n", b - a }'
}

# hits, misses: the two export compiles; the links are not cacheable.
stats() {
  ccache --print-stats | awk '$1 ~ /^(direct|preprocessed)_cache_hit$/ { hit += $2 } $1 == "cache_miss" { miss += $2 }
    END { print hit + 0, miss + 0 }'
}

first=$(build)
first_stats=$(stats)
second=$(build)
second_stats=$(stats)
expect "first run: hits, misses" "$first_stats" "0 2"
expect "second run: hits, misses" "$second_stats" "2 0"
awk -v a="$first" -v b="$second" 'BEGIN { exit !(b < a) }' || fail "the second run ($second s) was not faster ($first s)"
pass "compiler cache: first run ${first} s, second run ${second} s"
