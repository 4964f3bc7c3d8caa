#!/usr/bin/env bash
# A team's compile cache: two users with local caches of their own share
# ccache's remote storage on a Redis server.  The first user's build of the
# counter fills it; the second user's build of the same design, in another
# directory, takes both export compiles from it, and the library works.
#
#   remote_cache_test.sh QUILLC QUILLC_ENV LOADER ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../testsupport/testsupport.sh"
quillc=$1 env_command=$2 loader=$3 root=$4
eval "$("$env_command")"

port=$(free_port)
mkdir "$scratch/redis"
start_server redis "[ \"\$(redis-cli -p $port ping)\" = PONG ]" \
  redis-server --bind 127.0.0.1 --port "$port" --dir "$scratch/redis" --save '' --appendonly no
export PATH="/usr/lib/ccache:$PATH" CCACHE_SLOPPINESS=pch_defines,time_macros \
  CCACHE_REMOTE_STORAGE="redis://127.0.0.1:$port" CCACHE_CONFIGPATH="$scratch/ccache.conf"
unset CCACHE_DISABLE CCACHE_RECACHE CCACHE_READONLY CCACHE_PREFIX CCACHE_BASEDIR CCACHE_NOHASHDIR
[ "$(command -v gcc)" = /usr/lib/ccache/gcc ] || { echo "FAIL: no masquerading gcc" >&2; exit 1; }

# A build in $scratch/$1 with the local cache $scratch/$1.cache; $stats
# gets its misses, remote hits and local hits.
build() {
  export CCACHE_DIR="$scratch/$1.cache"
  build_counter "$quillc" "$1" "wrapper cosim link"
  stats=$(ccache --print-stats | awk '{ n[$1] = $2 }
    END { print n["cache_miss"] + 0, n["remote_storage_hit"] + 0, n["local_storage_hit"] + 0 }')
}
build alice
expect "first user: misses, remote hits, local hits" "$stats" "2 0 0"
build bob
expect "second user: misses, remote hits, local hits" "$stats" "0 2 0"
pass "shared compile cache: the second user's export compiles all came from Redis"
