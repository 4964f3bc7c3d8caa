#!/usr/bin/env bash
# Runs the example tool on a command line and a manifest and compares what
# it prints with what it should print.
set -euo pipefail
tool=$1
expected=$(cat <<'OUT'
verbose: yes
out: report.txt
defines: [A=1, "GREETING=hello world"]
jobs: 16
goal: speed
manifest tokens: [optiontool, -out=report.txt, -D, "GREETING=hello world", -jobs, 0x10, top.v, lib/cells.v, +trace+clk, +plusarg]
files: [top.v, lib/cells.v]
resolved: [./project/top.v, ./project/lib/cells.v]
plus-arguments: [+plusarg]
trace: on
OUT
)
actual=$("$tool" -verbose -D A=1 -fast -f project/args.f)
diff <(echo "$expected") <(echo "$actual")

# A refused value: the message, the hint, status 1.
set +e
err=$("$tool" -jobs 0 -fast -small 2>&1 >/dev/null)
status=$?
set -e
[ "$status" -eq 1 ]
diff <(printf '%s\n' "$tool: error: Invalid value '0' for '-jobs' option, which expects a non-zero value." \
  "$tool: error: Argument -small conflicts with previous-given argument -fast" \
  "Invoke '$tool -help' for a list of valid options.") <(echo "$err")
echo "optiontool: ok"
