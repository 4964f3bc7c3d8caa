#!/usr/bin/env bash
# Wall time of building the counter example through quillc, against the
# same commands run directly: each through its own shell, one after the
# other, as quillc runs them.  The runs alternate and each starts from a
# fresh work directory; the figures are medians.  Fails when quillc's
# median exceeds 1.05 times the direct one.
#
#   bench/e2e_counter.sh [build-dir] [repetitions]      (defaults: build, 7)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
repetitions=${2:-7}
eval "$("$build/quillc-env")"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
work="$scratch/work"

fresh_work() {
  rm -rf "$work"
  mkdir -p "$work"
  cp "$root/examples/counter/counter.cpp" "$work/"
}

# The direct commands are the ones quillc echoes (the echo is the command
# it runs), plus the generator run, which it does not echo, and the export
# source, which it writes itself.
fresh_work
(cd "$work" && "$build/quillc" -module counter counter.cpp >"$scratch/quillc.out" 2>&1)
cp "$work/sc_module/counter_create.cpp" "$scratch/"
commands=()
while IFS= read -r line; do
  case "$line" in
  "cd sc_module;gcc "* | "gcc "*)
    commands+=("$line")
    [[ "$line" == *" -o sc_module/wrapper_generator "* ]] && commands+=("sc_module/wrapper_generator")
    ;;
  esac
done <"$scratch/quillc.out"
if ((${#commands[@]} != 5)) || [ ! -f "$work/libcorvanesc.so" ]; then
  echo "bench: quillc did not build the counter:" >&2
  cat "$scratch/quillc.out" >&2
  exit 1
fi

through_quillc() {
  (cd "$work" && "$build/quillc" -module counter counter.cpp >/dev/null 2>&1)
}

directly() {
  (
    cd "$work"
    mkdir -p sc_module
    cp "$scratch/counter_create.cpp" sc_module/
    for command in "${commands[@]}"; do
      sh -c "$command" >/dev/null 2>&1 || true
    done
  )
}

# Seconds taken by one build with the named function, from a fresh work
# directory; the build must have made the library.
timed() {
  fresh_work
  local start=$EPOCHREALTIME
  "$1"
  local end=$EPOCHREALTIME
  [ -f "$work/libcorvanesc.so" ] || { echo "bench: $1 did not build libcorvanesc.so" >&2; exit 1; }
  awk -v a="$start" -v b="$end" 'BEGIN { printf "%.6f\n", b - a }'
}

median() {
  printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

quillc_times=()
direct_times=()
for ((i = 0; i < repetitions; ++i)); do
  quillc_times+=("$(timed through_quillc)")
  direct_times+=("$(timed directly)")
done

quillc_median=$(median "${quillc_times[@]}")
direct_median=$(median "${direct_times[@]}")
ratio=$(awk -v q="$quillc_median" -v d="$direct_median" 'BEGIN { printf "%.4f\n", q / d }')
printf 'quillc  (s): %s\n' "$(printf '%.3f ' "${quillc_times[@]}")"
printf 'direct  (s): %s\n' "$(printf '%.3f ' "${direct_times[@]}")"
printf 'median: quillc %.3f s, direct %.3f s, ratio %.3f (limit 1.05)\n' \
  "$quillc_median" "$direct_median" "$ratio"
if awk -v r="$ratio" 'BEGIN { exit !(r > 1.05) }'; then
  echo "bench: quillc is more than 5% slower than the direct build" >&2
  exit 1
fi
