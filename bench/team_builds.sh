#!/usr/bin/env bash
# quillc on a generated design of N export sources (bench/make_design.sh),
# the kit's precompiled headers in use, built five ways, one run each:
#
#   sequential   one compile at a time
#   jobs 2       QUILLC_JOBS=2
#   distcc       QUILLC_JOBS=4 through two distccd daemons on 127.0.0.1,
#                two slots each (they share this machine's cores)
#   first user   one compile at a time through ccache, whose remote storage
#                is a Redis server on 127.0.0.1, with an empty local cache
#   second user  the same in another directory with another empty local
#                cache: every export compile should come from Redis
#
# For each: the whole run's wall time; its compiles' wall time (in each
# step, from the first compile's start to the last one's end, taken by a
# gcc on PATH that notes the times and runs the next one); the rest (links
# and the wrapper generator); how many compiles ran at a time on average
# (their summed wall times over the compiles' wall time), which the other
# load of a shared machine disturbs less than the times; the processor time
# of this side (not of the daemons); and the ratios to the sequential run.
#
#   bench/team_builds.sh [build-dir] [N]      (defaults: build, 32)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=testsupport/testsupport.sh
source "$root/testsupport/testsupport.sh"
build=$(cd "${1:-$root/build}" && pwd)
count=${2:-32}
eval "$("$build/quillc-env")"
"$build/quillc-env" --check || { echo "bench: run quillc-env --refresh first" >&2; exit 1; }
args=$("$root/bench/make_design.sh" "$count" "$scratch/design")
load_at_start=$(cut -d' ' -f1-3 /proc/loadavg)

# PATH without any masquerading compiler; each way puts its own first.
base_path=$(tr : '\n' <<<"$PATH" | grep -vx '/usr/lib/ccache\|/usr/lib/distcc' | paste -sd :)
mkdir "$scratch/timer"
cat >"$scratch/timer/gcc" <<'SH'
#!/usr/bin/env bash
start=$EPOCHREALTIME
PATH=${PATH#*:} gcc "$@" && status=0 || status=$?
case " $* " in *" -DSC_WRAPPER "*" -c "*) step=wrapper ;; *" -DSC_COSIM "*" -c "*) step=cosim ;; *) exit $status ;; esac
echo "$step $start $EPOCHREALTIME" >>"$TIMER_LOG"
exit $status
SH
chmod +x "$scratch/timer/gcc"

# Builds the design in $scratch/$1 with the environment "${@:3}" and the
# compiler directory $2 (or none) before gcc; sets times[$1] to
# "whole compiles processor".
declare -A times
build_as() {
  local dir="$scratch/$1"
  rm -rf "$dir" && cp -r "$scratch/design" "$dir"
  local path="$scratch/timer:${2:+$2:}$base_path"
  TIMEFORMAT='%R %U %S'
  # shellcheck disable=SC2086
  { time (cd "$dir" && env "${@:3}" PATH="$path" TIMER_LOG="$dir/times" "$build/quillc" $args >out 2>&1); } \
    2>"$dir/time"
  if [ ! -f "$dir/libcorvanesc.so" ] || [ "$(grep -c '^module ' "$dir/wrapper.sv")" != "$count" ]; then
    echo "bench: the $1 build failed:" >&2
    tail "$dir/out" >&2
    exit 1
  fi
  local compiles
  compiles=$(awk '{ if (!($1 in a) || $2 < a[$1]) a[$1] = $2; if ($3 > b[$1]) b[$1] = $3; d += $3 - $2 }
    END { for (s in a) t += b[s] - a[s]; printf "%.2f %.2f", t, d / t }' "$dir/times")
  times[$1]=$(awk -v c="$compiles" '{ printf "%.2f %s %.2f", $1, c, $2 + $3 }' "$dir/time")
}

build_as sequential ""
build_as jobs2 "" QUILLC_JOBS=2

for daemon in daemon1 daemon2; do
  start_distccd "$daemon" 2
done
mkdir "$scratch/distcc.state"
build_as distcc /usr/lib/distcc QUILLC_JOBS=4 DISTCC_HOSTS="$distcc_hosts" DISTCC_DIR="$scratch/distcc.state" \
  DISTCC_FALLBACK=0
remote_compiles=$(cat "$scratch"/daemon{1,2}.log | grep -c COMPILE_OK || true)

port=$(free_port)
mkdir "$scratch/redis"
start_server redis "[ \"\$(redis-cli -p $port ping)\" = PONG ]" \
  redis-server --bind 127.0.0.1 --port "$port" --dir "$scratch/redis" --save '' --appendonly no
# shellcheck disable=SC2054
cache=(-u CCACHE_BASEDIR -u CCACHE_DISABLE -u CCACHE_PREFIX CCACHE_SLOPPINESS=pch_defines,time_macros
  CCACHE_REMOTE_STORAGE="redis://127.0.0.1:$port" CCACHE_CONFIGPATH="$scratch/ccache.conf")
build_as first_user /usr/lib/ccache "${cache[@]}" CCACHE_DIR="$scratch/first.cache"
build_as second_user /usr/lib/ccache "${cache[@]}" CCACHE_DIR="$scratch/second.cache"
remote_hits=$(CCACHE_DIR="$scratch/second.cache" ccache --print-stats | awk '$1 == "remote_storage_hit" { print $2 }')

read -r seq_whole seq_compiles _ _ <<<"${times[sequential]}"
printf '%s export sources, %s compiles; seconds and speed-up over the sequential run\n' "$count" $((2 * count))
printf '%-42s %7s %9s %8s %6s %9s %7s %9s\n' "" whole compiles "at once" rest processor "x whole" "x compiles"
for way in sequential jobs2 distcc first_user second_user; do
  read -r whole compiles overlap cpu <<<"${times[$way]}"
  awk -v w="$way" -v a="$whole" -v c="$compiles" -v o="$overlap" -v p="$cpu" -v sa="$seq_whole" -v sc="$seq_compiles" 'BEGIN {
    split("sequential:one compile at a time|jobs2:QUILLC_JOBS=2|distcc:QUILLC_JOBS=4, two distccd (2 slots each)|first_user:first user, ccache + Redis (fills it)|second_user:second user, ccache + Redis", l, "|")
    for (i in l) { split(l[i], kv, ":"); name[kv[1]] = kv[2] }
    printf "%-42s %7.2f %9.2f %8.2f %6.2f %9.2f %6.2fx %8.2fx\n", name[w], a, c, o, a - c, p, sa / a, sc / c }'
done
printf 'compiles run by the daemons: %s of %s; second user'\''s remote hits: %s of %s\n' \
  "$remote_compiles" $((2 * count)) "${remote_hits:-0}" $((2 * count))
printf 'load average at the start: %s, at the end: %s (%s cores)\n' "$load_at_start" \
  "$(cut -d' ' -f1-3 /proc/loadavg)" "$(nproc)"
