# What the shell tests share; they source it first.  Strict mode, the C
# locale, a scratch directory removed at exit, and fail(), which reports a
# check that failed and lets the test go on to the next.
set -euo pipefail
export LC_ALL=C
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
# Ends the test: status 1 after any failed check, else the summary $1.
pass() { ((failures == 0)) || exit 1; echo "$1"; }
