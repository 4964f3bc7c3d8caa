#!/usr/bin/env bash
# The kit's precompiled systemc.h: quillc's own compile commands and the
# wrapper generator's front end use them; other options or changed headers
# fall back to the plain header with the same result; and quillc-env tells
# when they cannot be trusted.
#
#   pch_test.sh QUILLC QUILLC_ENV LOADER ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../testsupport/testsupport.sh"
quillc=$1 env_command=$2 loader=$3 root=$4

eval "$("$env_command")"

# gcc -H marks a precompiled header it tried and rejected with "x".
build_counter "$quillc" matching "wrapper cosim link"
build_counter "$quillc" optimised_off "" ,-O0
expect "-O0: rejections of a precompiled header (3 files, 3 compiles)" \
  "$(grep -c '^x ' "$scratch/optimised_off/err")" 9
grep -q "not used because \`__OPTIMIZE__' not defined \[-Winvalid-pch\]" "$scratch/optimised_off/err" ||
  fail "-O0: gcc did not say why it rejected the precompiled headers"
cmp -s "$scratch/matching/wrapper.sv" "$scratch/optimised_off/wrapper.sv" ||
  fail "the wrappers differ with and without precompiled headers"

# quillc-env's verdict on a copy of the kit whose record names the copy.
cp -a "$(dirname "$env_command")/quillc-env" "$scratch/"
mkdir "$scratch/kit" "$scratch/other-gcc"
tar -C "$SYSTEMC_PATH/.." --exclude='systemc.h.gch/*' -cf - systemc quillc tarn | tar -C "$scratch/kit" -xf -
sed -i "s|$(cd "$SYSTEMC_PATH/.." && pwd -P)/|$scratch/kit/|g" "$scratch"/kit/systemc/pch.[di]*
printf '#!/bin/sh\ncase "$1" in --version) echo "gcc (Other) 99.1";; *) exec %s "$@";; esac\n' "$(command -v gcc)" \
  >"$scratch/other-gcc/gcc"
chmod +x "$scratch/other-gcc/gcc"
sleep 1
while IFS='|' read -r case setup status message; do
  out=$(cd "$scratch" && eval "$setup" && ./quillc-env --check 2>&1) && got=0 || got=$?
  expect "$case: quillc-env --check" "$got:$out" "$status:$message"
done <<CASES
up to date|true|0|
header changed|touch kit/systemc/include/systemc.h|1|quillc-env: precompiled SystemC headers: $scratch/kit/systemc/include/systemc.h changed since they were built
other compiler|PATH=\$PWD/other-gcc:\$PATH|1|quillc-env: precompiled SystemC headers: they were built by another gcc ($(gcc --version | head -1))
other libclang|export CORVANE_LIBCLANG=/none|1|quillc-env: precompiled SystemC headers: they were built for another libclang ($(sed -n 4p "$scratch/kit/systemc/pch.id"))
libclang's not built|rm kit/systemc/systemc.h.pch|1|quillc-env: precompiled SystemC headers: they are not built
not built|rm -r kit/systemc/include/systemc.h.gch|1|quillc-env: precompiled SystemC headers: they are not built
CASES

# The wrapper generator's front end reads libclang's precompiled header
# when it fits, else the plain header: one that renames the counter's
# count port tells which.
kit_env=(SYSTEMC_PATH="$scratch/kit/systemc" QUILLC_PATH="$scratch/kit/quillc" TARN_HOME="$scratch/kit/tarn")
printf '#include "systemc.h"\n#define count tally\n' >"$scratch/renaming.h"
env "${kit_env[@]}" "$scratch/kit/quillc/libexec/clang_pch" "$scratch/renaming.h" "$scratch/kit/systemc/systemc.h.pch" >/dev/null
while IFS='|' read -r case setup port; do
  eval "$setup"
  expect "libclang's precompiled header $case" "$(cd "$scratch/matching" &&
    env "${kit_env[@]}" sc_module/wrapper_generator 2>&1 | grep output)" "  output $port: sc_dt::sc_uint<8> -> bit [7:0]"
done <<CASES
fitting|true|tally
stale|touch -d @1000000000 "$scratch/kit/systemc/include/systemc.h"|count
missing|rm "$scratch/kit/systemc/systemc.h.pch"|count
CASES

pass "precompiled headers: used when the options match, not otherwise; checked by quillc-env"
