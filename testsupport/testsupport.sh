# shellcheck shell=bash
# What the shell tests share; they source it first.  Strict mode, the C
# locale, a scratch directory removed at exit (after the servers that the
# test started are stopped), and fail(), which reports a check that failed
# and lets the test go on to the next.
set -euo pipefail
export LC_ALL=C
scratch=$(mktemp -d)
servers=()
trap 'for pid in ${servers[@]+"${servers[@]}"}; do kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null || true; done; rm -rf "$scratch"' EXIT
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

# Prints a TCP port of 127.0.0.1 that is free now.
free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# Starts server $1 as "${@:3}" in the background, its output in
# $scratch/$1.log, to be stopped when the test ends, and waits up to 10 s
# for the shell command $2 to succeed; the test ends if it does not.
start_server() {
  "${@:3}" >"$scratch/$1.log" 2>&1 &
  servers+=($!)
  for _ in {1..100}; do
    eval "$2" >/dev/null 2>&1 && return
    sleep 0.1
  done
  echo "FAIL: $1 did not start:" >&2
  cat "$scratch/$1.log" >&2
  exit 1
}

# Starts distccd $1 on a free port of 127.0.0.1, taking compiles from there
# only, $2 at a time, and adds it to $distcc_hosts.  Run by root, distccd
# changes to an account of its own, which has to reach its folder for
# temporary files.
start_distccd() {
  local port
  port=$(free_port)
  chmod 711 "$scratch"
  mkdir -m 1777 "$scratch/$1.tmp"
  TMPDIR="$scratch/$1.tmp" start_server "$1" "grep -q 'daemon started' '$scratch/$1.log'" \
    distccd --daemon --no-detach --listen 127.0.0.1 --allow 127.0.0.1 --port "$port" \
    --jobs 2 --log-stderr --log-level info
  distcc_hosts+=" 127.0.0.1:$port/$2"
}
