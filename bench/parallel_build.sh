#!/usr/bin/env bash
# Wall time of a whole quillc run over a generated design of N export
# sources (bench/make_design.sh), one compile at a time and with
# QUILLC_JOBS=J, in one invocation, each run from a fresh work directory.
# gcc is reached through a timing shim first on PATH (the same in both
# runs), so that the figures also give the compiles alone: the sum of the
# compile times and the wall time during which at least one compile ran.
# Both runs must build the library and log the same lines.  The load
# average before each run is printed too: on a machine that others keep
# busy, the speed-up says more about them than about quillc, and the mean
# number of compiles running shows whether quillc kept J of them going.
#
#   bench/parallel_build.sh [build-dir] [N] [J]      (defaults: build, 32, 2)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
count=${2:-32}
jobs=${3:-2}
eval "$("$build/quillc-env")"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
read -r -a args <<<"$("$root/bench/make_design.sh" "$count" "$scratch/design")"

real_gcc=$(command -v gcc)
mkdir "$scratch/bin"
cat >"$scratch/bin/gcc" <<SHIM
#!/usr/bin/env bash
case " \$* " in *" -c "*)
  start=\$EPOCHREALTIME
  "$real_gcc" "\$@"
  status=\$?
  echo "\$start \$EPOCHREALTIME" >>"\$BENCH_COMPILES"
  exit \$status;;
esac
exec "$real_gcc" "\$@"
SHIM
chmod +x "$scratch/bin/gcc"

# One run, with the environment changes "$@" for env: prints "<load>
# <wall> <compile-sum> <compile-wall>", times in seconds, and keeps the log
# without its banner in $scratch/<name>.log.
run() {
  local name=$1 work="$scratch/$1"
  shift
  rm -rf "$work" && cp -r "$scratch/design" "$work"
  : >"$scratch/$name.compiles"
  local load
  read -r load _ </proc/loadavg
  local start=$EPOCHREALTIME
  (cd "$work" && env "$@" PATH="$scratch/bin:$PATH" BENCH_COMPILES="$scratch/$name.compiles" \
    "$build/quillc" "${args[@]}" >/dev/null 2>&1)
  local end=$EPOCHREALTIME
  [ -f "$work/libcorvanesc.so" ] || { echo "bench: the $name run did not build libcorvanesc.so" >&2; exit 1; }
  sed '1,/^START TIME/d' "$work/quillc.log" >"$scratch/$name.log"
  sort -g "$scratch/$name.compiles" | awk -v load="$load" -v wall="$(awk -v a="$start" -v b="$end" 'BEGIN { print b - a }')" '
    { sum += $2 - $1
      if (NR == 1 || $1 > last) { busy += $2 - $1; last = $2 }
      else if ($2 > last) { busy += $2 - last; last = $2 } }
    END { printf "%s %.3f %.3f %.3f\n", load, wall, sum, busy }'
}

run sequential -u QUILLC_JOBS >"$scratch/sequential.figures"
run parallel "QUILLC_JOBS=$jobs" >"$scratch/parallel.figures"
read -r seq_load seq_wall seq_sum seq_busy <"$scratch/sequential.figures"
read -r par_load par_wall par_sum par_busy <"$scratch/parallel.figures"
cmp -s "$scratch/sequential.log" "$scratch/parallel.log" ||
  { echo "bench: the two runs logged different lines" >&2; exit 1; }

printf 'design: %d export sources, %d compiles, %d cores\n' "$count" $((2 * count)) "$(nproc)"
for line in "sequential $seq_load $seq_wall $seq_busy $seq_sum" \
  "QUILLC_JOBS=$jobs $par_load $par_wall $par_busy $par_sum"; do
  awk -v line="$line" 'BEGIN { split(line, f, " ")
    printf "%-14s load %5.2f  wall %7.2f s  compiles: %7.2f s of wall, sum %7.2f s, %.2f running on average\n",
      f[1], f[2], f[3], f[4], f[5], f[5] / f[4] }'
done
awk -v a="$seq_wall" -v b="$par_wall" -v c="$seq_busy" -v d="$par_busy" \
  'BEGIN { printf "speed-up: whole run %.2fx, compiles %.2fx\n", a / b, c / d }'
