#!/usr/bin/env bash
# The kit's precompiled systemc.h: quillc's own compile commands use them;
# other options fall back to the plain header with the same result; and
# quillc-env tells when they cannot be trusted.
#
#   pch_test.sh QUILLC QUILLC_ENV LOADER ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../testsupport/testsupport.sh"
quillc=$1 env_command=$2 loader=$3 root=$4

eval "$("$env_command")"
gch="$SYSTEMC_PATH/include/systemc.h.gch"

# Builds the counter in work directory $1 with the extra -Wcxx items $2 and
# checks that the library it made runs the loader's counter scenario.
build_counter() {
  mkdir -p "$scratch/$1"
  cp "$root/examples/counter/counter.cpp" "$scratch/$1/"
  (cd "$scratch/$1" && "$quillc" -module counter counter.cpp "-Wcxx,-H,-Winvalid-pch$2" \
    >out 2>err) || fail "$1: quillc failed"
  local host
  host=$("$loader" "$scratch/$1/libcorvanesc.so" counter 2>&1) || true
  [ "$host" = "counter: 0 failed checks" ] || fail "$1: the loader said: $host"
}

# gcc -H marks a precompiled header it used with "!" and one it tried and
# rejected with "x".
build_counter matching ""
used=$(grep '^! ' "$scratch/matching/err" || true)
expected="! $gch/wrapper
! $gch/cosim
! $gch/link"
[ "$used" = "$expected" ] || fail "matching options: precompiled headers [$used], expected [$expected]"

build_counter optimised_off ",-O0"
rejected=$(grep -c '^x ' "$scratch/optimised_off/err" || true)
[ "$rejected" = 9 ] || fail "-O0: $rejected rejections of a precompiled header, expected 9 (3 files, 3 compiles)"
grep -q "not used because \`__OPTIMIZE__' not defined \[-Winvalid-pch\]" "$scratch/optimised_off/err" ||
  fail "-O0: gcc did not say why it rejected the precompiled headers"
grep -q '^! ' "$scratch/optimised_off/err" && fail "-O0 used a precompiled header"
cmp -s "$scratch/matching/wrapper.sv" "$scratch/optimised_off/wrapper.sv" ||
  fail "the wrappers differ with and without precompiled headers"

# quillc-env's verdict on a copy of the kit whose record names the copy.
cp -a "$(dirname "$env_command")/quillc-env" "$scratch/"
mkdir "$scratch/kit"
tar -C "$SYSTEMC_PATH/.." --exclude='systemc.h.gch/*' -cf - systemc quillc tarn | tar -C "$scratch/kit" -xf -
sed -i "s|$(cd "$SYSTEMC_PATH/.." && pwd -P)/|$scratch/kit/|g" "$scratch"/kit/systemc/pch.[di]*
mkdir "$scratch/other-gcc"
printf '#!/bin/sh\ncase "$1" in --version) echo "gcc (Other) 99.1";; *) exec %s "$@";; esac\n' "$(command -v gcc)" \
  >"$scratch/other-gcc/gcc"
chmod +x "$scratch/other-gcc/gcc"
sleep 1
while IFS='|' read -r case setup status message; do
  out=$(cd "$scratch" && eval "$setup" && ./quillc-env --check 2>&1) && got=0 || got=$?
  [ "$got:$out" = "$status:$message" ] || fail "$case: --check gave $got [$out], expected $status [$message]"
done <<CASES
up to date|true|0|
header changed|touch kit/systemc/include/systemc.h|1|quillc-env: precompiled SystemC headers: $scratch/kit/systemc/include/systemc.h changed since they were built
other compiler|PATH=\$PWD/other-gcc:\$PATH|1|quillc-env: precompiled SystemC headers: they were built by another gcc ($(gcc --version | head -1))
not built|rm -r kit/systemc/include/systemc.h.gch|1|quillc-env: precompiled SystemC headers: they are not built
CASES

pass "precompiled headers: used when the options match, not otherwise; checked by quillc-env"
