#!/usr/bin/env bash
# The wrapper generator's front end before and after: a generated design of
# N export sources whose ports are unnamed (bench/make_design.sh), built
# once with quillc, then sc_module/wrapper_generator alone, run
#
#   plain     without libclang's precompiled systemc.h, one source at a time
#   pch       with it
#   pch-jobs  with it and QUILLC_JOBS=J
#
# and the counter example's whole quillc run without and with it.  "Without"
# is a copy of the kit that lacks only systemc.h.pch.  The variants
# alternate, the figures are medians of wall seconds, processor seconds
# beside them; every variant must write the same wrapper.
#
#   bench/generator_speed.sh [build-dir] [repetitions] [N] [J]   (defaults: build, 3, 32, 2)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
repetitions=${2:-3}
sources=${3:-32}
jobs=${4:-2}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export LC_ALL=C
unset QUILLC_JOBS

"$build/quillc-env" --check || { echo "bench: run quillc-env --refresh first" >&2; exit 1; }
eval "$("$build/quillc-env")"
[ -f "$SYSTEMC_PATH/systemc.h.pch" ] || { echo "bench: the kit has no systemc.h.pch (no libclang?)" >&2; exit 1; }
mkdir -p "$scratch/plain/kit"
tar -C "$build/kit" --exclude=systemc.h.pch -cf - systemc quillc tarn | tar -C "$scratch/plain/kit" -xf -
declare -A systemc_of=([plain]="$scratch/plain/kit/systemc" [pch]="$SYSTEMC_PATH" [pch-jobs]="$SYSTEMC_PATH")
declare -A jobs_of=([plain]=1 [pch]=1 [pch-jobs]=$jobs)

design="$scratch/design"
read -ra arguments < <("$root/bench/make_design.sh" "$sources" "$design")
(cd "$design" && "$build/quillc" "${arguments[@]}" >"$scratch/build.out" 2>&1) ||
  { cat "$scratch/build.out" >&2; exit 1; }
[ -x "$design/sc_module/wrapper_generator" ] || { echo "bench: the design did not build" >&2; exit 1; }

# "wall,cpu" seconds of shell command $2 in directory $1; $3 is the
# variant, whose kit and jobs the command sees (no QUILLC_JOBS for one).
timed() {
  (
    cd "$1"
    export SYSTEMC_PATH=${systemc_of[$3]}
    [ "${jobs_of[$3]}" = 1 ] || export QUILLC_JOBS=${jobs_of[$3]}
    TIMEFORMAT='%R %U %S'
    { time sh -c "$2" >"$scratch/out.$3" 2>&1; } 2>"$scratch/time" || true
    awk '{ printf "%.3f,%.3f\n", $1, $2 + $3 }' "$scratch/time"
  )
}

median() {
  printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
field() {
  tr ' ' '\n' <<<"$1" | cut -d, -f"$2" | grep .
}

declare -A times
variants=(plain pch pch-jobs)
for ((i = 0; i < repetitions; ++i)); do
  for variant in "${variants[@]}"; do
    rm -f "$design/wrapper.sv"
    times[generator.$variant]+=" $(timed "$design" sc_module/wrapper_generator "$variant")"
    cp "$design/wrapper.sv" "$scratch/wrapper.$variant.sv"
    cmp -s "$scratch/wrapper.plain.sv" "$scratch/wrapper.$variant.sv" ||
      { echo "bench: $variant wrote another wrapper" >&2; exit 1; }
    grep -q port_ "$scratch/wrapper.$variant.sv" && { echo "bench: $variant left ports unnamed" >&2; exit 1; }
  done
  for variant in plain pch; do
    rm -rf "$scratch/counter" && mkdir "$scratch/counter"
    cp "$root/examples/counter/counter.cpp" "$scratch/counter/"
    times[counter.$variant]+=" $(timed "$scratch/counter" "\"$build/quillc\" -module counter counter.cpp" "$variant")"
    [ -f "$scratch/counter/libcorvanesc.so" ] || { echo "bench: the counter did not build" >&2; exit 1; }
  done
done

# shellcheck disable=SC2046
report() {
  local label=$1 measure=$2 variant=$3 base wall cpu
  base=$(median $(field "${times[$measure.plain]}" 1))
  wall=$(median $(field "${times[$measure.$variant]}" 1))
  cpu=$(median $(field "${times[$measure.$variant]}" 2))
  printf '%-44s %7.3f s (processor %7.3f s)  %5.2fx\n' "$label" "$wall" "$cpu" \
    "$(awk -v a="$base" -v b="$wall" 'BEGIN { printf "%.2f", a / b }')"
}
echo "wrapper generator alone, $sources export sources ($repetitions runs each):"
report "  without precompiled header, one at a time" generator plain
report "  with it" generator pch
report "  with it, QUILLC_JOBS=$jobs" generator pch-jobs
echo "counter example, whole quillc run:"
report "  without libclang's precompiled header" counter plain
report "  with it" counter pch
printf 'load average at the end: %s\n' "$(cut -d' ' -f1-3 /proc/loadavg)"
