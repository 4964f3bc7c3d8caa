#!/usr/bin/env bash
# Distributed compiles: quillc with distcc's gcc first on PATH, four
# compiles at a time, sends every export compile of a design of two export
# sources to two distccd daemons on 127.0.0.1 and never falls back to a
# local compile.  The compiles are preprocessed on this side, so they do
# without the kit's precompiled headers; the library behaves as it does
# built locally.
#
#   distcc_test.sh QUILLC QUILLC_ENV LOADER ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../testsupport/testsupport.sh"
quillc=$1 env_command=$2 loader=$3 root=$4
eval "$("$env_command")"

for daemon in first second; do
  start_distccd "$daemon" 1
done
mkdir "$scratch/client" "$scratch/work"
export PATH="/usr/lib/distcc:$PATH" DISTCC_HOSTS="$distcc_hosts" DISTCC_DIR="$scratch/client" DISTCC_FALLBACK=0 \
  QUILLC_JOBS=4
unset DISTCC_VERBOSE DISTCC_SKIP_LOCAL_RETRY
[ "$(command -v gcc)" = /usr/lib/distcc/gcc ] || { echo "FAIL: no masquerading gcc" >&2; exit 1; }

cp "$root"/kit/tests/data/ports.{h,cpp} "$root/kit/tests/data/types.cpp" "$scratch/work/"
(cd "$scratch/work" && "$quillc" -module mixer -module wide -module inc12 -module producer -module grows \
  -module shy ports.cpp -module all_types -module odd types.cpp -Wcxx,-H >out 2>err) || fail "quillc failed"
expect "distcc's complaints" "$(grep distcc "$scratch/work/err")" ""
expect "compiles on the daemons" "$(grep -c COMPILE_OK "$scratch"/{first,second}.log | paste -sd ' ')" \
  "$scratch/first.log:2 $scratch/second.log:2"
# The link's own compile of the start-up source is the only one that read one.
expect "precompiled headers used" \
  "$(grep -o "! $SYSTEMC_PATH/include/systemc\.h\.gch/[a-z]*" "$scratch/work/err" | sed 's|.*/||' | paste -sd ' ')" link
# The modules' ports, as the generator built from remote objects saw them.
ports() { sed -n '/^module /,/^);/p' "$1"; }
expect "the wrapper's ports" "$(ports "$scratch/work/wrapper.sv")" "$(ports "$root/kit/tests/expected/ports.sv")"
expect "the loader" "$("$loader" "$scratch/work/libcorvanesc.so" ports 2>&1)" "ports: 0 failed checks"
pass "distributed compiles: every export compile ran on a distccd daemon; the library works"
