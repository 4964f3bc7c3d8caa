#!/usr/bin/env bash
# The kit's precompiled systemc.h against the same kit without them, side
# by side on the counter example: each of quillc's two export compiles
# (wrapper step and library step) run as quillc runs it, and the whole
# `quillc -module counter counter.cpp` run.  The kits alternate, every
# measure starts from a fresh work directory, and the figures are medians.
# Fails when a compile is less than 3 times faster with them, or the whole
# run less than 1.7 times.
#
#   bench/pch_speed.sh [build-dir] [repetitions]      (defaults: build, 5)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
repetitions=${2:-5}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export LC_ALL=C

"$build/quillc-env" --check || { echo "bench: run quillc-env --refresh first" >&2; exit 1; }
# The kit without them: the same files, the precompiled directory left out.
mkdir -p "$scratch/plain/kit"
tar -C "$build/kit" --exclude=systemc.h.gch -cf - systemc quillc tarn | tar -C "$scratch/plain/kit" -xf -
cp "$build/quillc-env" "$scratch/plain/"
declare -A env_of=([pch]="$build/quillc-env" [plain]="$scratch/plain/quillc-env")

work="$scratch/work"
fresh_work() {
  rm -rf "$work"
  mkdir -p "$work"
  cp "$root/examples/counter/counter.cpp" "$work/"
}

# The two compile commands, as quillc echoes them.
fresh_work
(cd "$work" && eval "$("$build/quillc-env")" && "$build/quillc" -module counter counter.cpp >"$scratch/out" 2>&1)
wrapper_compile=$(grep '^cd sc_module;gcc .* -DSC_WRAPPER .* -c ' "$scratch/out")
library_compile=$(grep '^cd sc_module;gcc .* -DSC_COSIM .* -c ' "$scratch/out")
cp "$work/sc_module/counter_create.cpp" "$scratch/"

# Wall and processor seconds ("wall,cpu") taken by "$2" (a shell command)
# in a fresh work directory with kit $1; the command must make file $3.
# The processor time tells what the machine's other load did to the wall
# time.
timed() {
  fresh_work
  mkdir -p "$work/sc_module"
  cp "$scratch/counter_create.cpp" "$work/sc_module/"
  (
    cd "$work"
    eval "$("${env_of[$1]}" 2>/dev/null)"
    TIMEFORMAT='%R %U %S'
    { time sh -c "$2" >/dev/null 2>&1; } 2>"$scratch/time" || true
    [ -f "$3" ] || { echo "bench: '$2' did not make $3" >&2; exit 1; }
    awk '{ printf "%.3f,%.3f\n", $1, $2 + $3 }' "$scratch/time"
  )
}

median() {
  printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

declare -A times
measures=(wrapper library run)
declare -A command_of=([wrapper]="$wrapper_compile" [library]="$library_compile"
  [run]="\"$build/quillc\" -module counter counter.cpp")
declare -A product_of=([wrapper]=sc_module/counter_create.o [library]=sc_module/counter_create.o
  [run]=libcorvanesc.so)
for ((i = 0; i < repetitions; ++i)); do
  for measure in "${measures[@]}"; do
    for kit in plain pch; do
      times[$measure.$kit]+=" $(timed $kit "${command_of[$measure]}" "${product_of[$measure]}")"
    done
  done
done

status=0
declare -A target=([wrapper]=3 [library]=3 [run]=1.7)
declare -A label=([wrapper]="wrapper-step compile" [library]="library-step compile"
  [run]="whole quillc run")
# Field $2 (1 wall, 2 processor) of the repetitions of measure $1.
field() {
  tr ' ' '\n' <<<"$1" | cut -d, -f"$2" | grep .
}
# shellcheck disable=SC2046
for measure in "${measures[@]}"; do
  plain=$(median $(field "${times[$measure.plain]}" 1))
  pch=$(median $(field "${times[$measure.pch]}" 1))
  plain_cpu=$(median $(field "${times[$measure.plain]}" 2))
  pch_cpu=$(median $(field "${times[$measure.pch]}" 2))
  speedup=$(awk -v a="$plain" -v b="$pch" 'BEGIN { printf "%.2f", a / b }')
  printf '%-21s without %6.3f s, with %6.3f s: %5.2fx (target %sx); processor %.3f s and %.3f s\n' \
    "${label[$measure]}" "$plain" "$pch" "$speedup" "${target[$measure]}" "$plain_cpu" "$pch_cpu"
  awk -v s="$speedup" -v t="${target[$measure]}" 'BEGIN { exit !(s < t) }' && status=1
done
printf 'load average at the end: %s\n' "$(cut -d' ' -f1-3 /proc/loadavg)"
exit $status
