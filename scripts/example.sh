#!/usr/bin/env bash
# Sets the machine up and builds quillc with its runtime kit
# (scripts/setup.sh), then runs quillc on the counter example in a fresh
# work directory, with the environment that quillc-env gives, shows what it
# made, and co-simulates the counter with quillc-sim: from the
# SystemVerilog testbench examples/counter/tb.sv in Verilator and in Icarus
# Verilog, and from the VHDL testbench examples/counter/tb.vhd in GHDL.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/scripts/setup.sh" "$build"

work="$root/work/counter"
rm -rf "$work"
mkdir -p "$work"
cp "$root"/examples/counter/*.cpp "$root"/examples/counter/tb.sv "$root"/examples/counter/tb.vhd "$work"/
cd "$work"
eval "$("$build/quillc-env")"
"$build/quillc" -module counter counter.cpp

echo
missing=0
for file in sc_module/wrapper_generator wrapper.sv libcorvanesc.so; do
  if [ ! -f "$file" ]; then
    echo "example: $file was not made" >&2
    missing=1
  fi
done
((missing == 0)) || exit 1

echo "== sc_module/wrapper_generator ran and wrote wrapper.sv:"
cat wrapper.sv
echo
echo "== libcorvanesc.so, with its co-simulation interface:"
nm -D --defined-only libcorvanesc.so | awk '$3 ~ /^corvane_sc_/ { print $3 }'
echo
echo "== work directory $work:"
ls -l . sc_module
echo
echo "== \$QUILLC_PATH/bin/quillc-sim tb.sv: the counter in a SystemVerilog simulation"
"$QUILLC_PATH/bin/quillc-sim" tb.sv
echo
echo "== \$QUILLC_PATH/bin/quillc-sim --simulator=icarus tb.sv: the same in Icarus Verilog"
"$QUILLC_PATH/bin/quillc-sim" --simulator=icarus tb.sv
echo
echo "== \$QUILLC_PATH/bin/quillc-sim --simulator=ghdl tb.vhd: the counter in a VHDL simulation"
"$QUILLC_PATH/bin/quillc-sim" --simulator=ghdl tb.vhd
