#!/usr/bin/env bash
# Driver overhead: quillc on N sources (each with a module) against a
# compiler that does nothing, versus the very same shell commands run
# directly by a shell script.  Prints the median wall time of each and the
# ratio quillc / script, for two scripts:
#   system - writes the same export sources with shell built-ins, then runs
#            each command through its own `sh -c`, as system() runs it; the
#            difference is the driver's own work (target: ratio <= 1.10);
#   inline - only the commands, each inline in one shell (in a subshell
#            where it changes directory); this difference adds the shell
#            start per command that system() costs and the file creation of
#            the export sources.
#
#   bench/driver_overhead.sh [path/to/quillc] [sizes...]   (default: 1000 10000)
#   RUNS=5 to change the number of repetitions (default 3).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
quillc=$(realpath "${1:-$root/build/quillc}")
shift || true
sizes=("$@")
((${#sizes[@]})) || sizes=(1000 10000)
runs=${RUNS:-3}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/bin"
printf '#!/bin/sh\nexit 0\n' >"$scratch/bin/gcc"
chmod +x "$scratch/bin/gcc"
export PATH="$scratch/bin:$PATH"

median() { printf '%s\n' "$@" | sort -g | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }

# Seconds that "$@" takes in a fresh work directory whose wrapper generator
# already exists (the no-op compiler builds nothing).
timed_run() {
  rm -rf "$scratch/work"
  mkdir -p "$scratch/work/sc_module"
  printf '#!/bin/sh\nexit 0\n' >"$scratch/work/sc_module/wrapper_generator"
  chmod +x "$scratch/work/sc_module/wrapper_generator"
  local t0 t1
  t0=$(date +%s.%N)
  (cd "$scratch/work" && "$@" >/dev/null 2>&1)
  t1=$(date +%s.%N)
  awk "BEGIN {print $t1 - $t0}"
}

for n in "${sizes[@]}"; do
  args=()
  for ((i = 0; i < n; i++)); do args+=(-module "m$i" "s$i.cpp"); done

  # Both scripts run exactly what quillc echoes, in the same order.
  (cd "$scratch" && mkdir -p probe && cd probe && "$quillc" "${args[@]}" 2>/dev/null) >"$scratch/echoed"
  for ((i = 0; i < n; i++)); do
    printf "printf '#include \"systemc.h\"\\n#include \"s%d.cpp\"\\nNCSC_MODULE_EXPORT(m%d);\\n' >sc_module/s%d_create.cpp\n" \
      "$i" "$i" "$i"
  done >"$scratch/system.sh"
  awk -v q="'" '/^(cd sc_module;|gcc )/ { print "sh -c " q $0 q }
                /^gcc / && !linked++ { print "sh -c sc_module/wrapper_generator" }' \
    "$scratch/echoed" >>"$scratch/system.sh"
  awk '/^cd sc_module;/ { print "(" $0 ")"; next }
       /^gcc / { print; if (!linked++) print "sc_module/wrapper_generator" }' \
    "$scratch/echoed" >"$scratch/inline.sh"

  q=() s=() l=()
  for ((r = 0; r < runs; r++)); do
    q+=("$(timed_run "$quillc" "${args[@]}")")
    s+=("$(timed_run sh "$scratch/system.sh")")
    l+=("$(timed_run sh "$scratch/inline.sh")")
  done
  qm=$(median "${q[@]}") sm=$(median "${s[@]}") lm=$(median "${l[@]}")
  awk -v n="$n" -v q="$qm" -v s="$sm" -v l="$lm" 'BEGIN {
    printf "sources=%-6d quillc=%7.3fs  system-script=%7.3fs (ratio %.3f)  inline-script=%7.3fs (ratio %.3f)\n",
           n, q, s, q / s, l, q / l }'
done
