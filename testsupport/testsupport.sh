# shellcheck shell=bash
# What the shell tests share; they source it first.  Strict mode, the C
# locale, a scratch directory removed at exit, and fail(), which reports a
# check that failed and lets the test go on to the next.
set -euo pipefail
export LC_ALL=C
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
# A check that $2 is $3, where $1 says what was checked.
expect() { [ "$2" = "$3" ] || fail "$1: got [$2], expected [$3]"; }
# Ends the test: status 1 after any failed check, else the summary $1.
pass() { ((failures == 0)) || exit 1; echo "$1"; }

# Builds the counter example ($root) with quillc $1 in $scratch/$2, with
# gcc -H, -Winvalid-pch and the further -Wcxx items $4, and checks that it
# used the kit's precompiled headers $3 (as "wrapper cosim link"; gcc -H
# marks one it used with "!") and that the library runs $loader's counter.
build_counter() {
  mkdir -p "$scratch/$2" && cp "${root:?}/examples/counter/counter.cpp" "$scratch/$2/"
  (cd "$scratch/$2" && "$1" -module counter counter.cpp "-Wcxx,-H,-Winvalid-pch${4:-}" >out 2>err) ||
    fail "$2: quillc failed"
  expect "$2: precompiled headers used" \
    "$(grep '^! ' "$scratch/$2/err" | sed "s|^! $SYSTEMC_PATH/include/systemc\.h\.gch/||" | paste -sd ' ')" "$3"
  expect "$2: the loader" "$("${loader:?}" "$scratch/$2/libcorvanesc.so" counter 2>&1)" "counter: 0 failed checks"
}
