#!/usr/bin/env bash
# The counter example over 1,000,000 clock cycles in GHDL, three ways under
# the same VHDL testbench:
#   (a) the SystemC counter through wrapper.vhd and quillc-sim --simulator=ghdl;
#   (b) a counter entity that does nothing: the testbench's own cost;
#   (c) the same counter written in VHDL.
# Prints each simulation's processor time (builds excluded; least of the
# runs) and the cost of one crossing into the model: (a - b) over the
# number of evaluations (two per cycle, one per clock edge).  GHDL's
# numeric_std arithmetic is slow enough that (c) may cost more than (a),
# so a - c says nothing about the crossing.
#
#   bench/cosim_ghdl.sh [build-dir] [cycles] [runs]   (defaults: build, 1000000, 3)
set -euo pipefail
# shellcheck source=bench/cosim_lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/cosim_lib.sh"
cosim_bench cosim_ghdl 1000000 "$@"
cycles=$count
mkdir -p "$scratch/a" "$scratch/b" "$scratch/c"
cp "$root/examples/counter/counter.cpp" "$scratch/a/"

# One testbench for (a) and (c): the clock, enable high, the count at the end.
testbench() {
  cat <<EOF_BENCH
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;
entity bench is
end entity bench;
architecture test of bench is
  signal clk : std_logic := '0';
  signal count : unsigned(7 downto 0);
begin
  dut : entity work.counter port map (clk => clk, reset => '0', enable => '1', count => count);
  process
  begin
    for i in 1 to $cycles loop
      clk <= '1';
      wait for 5 ns;
      clk <= '0';
      wait for 5 ns;
    end loop;
    report "count " & to_string(to_integer(count));
    wait;
  end process;
end architecture test;
EOF_BENCH
}
testbench >"$scratch/a/bench.vhd"
testbench >"$scratch/b/bench.vhd"
testbench >"$scratch/c/bench.vhd"
cat >"$scratch/b/counter.vhd" <<'EOF_NOTHING'
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;
entity counter is
  port (clk, reset, enable : in std_logic; count : out unsigned(7 downto 0));
end entity counter;
architecture nothing of counter is
begin
  count <= x"00";
end architecture nothing;
EOF_NOTHING
cat >"$scratch/c/counter.vhd" <<'EOF_COUNTER'
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;
entity counter is
  port (clk, reset, enable : in std_logic; count : out unsigned(7 downto 0));
end entity counter;
architecture rtl of counter is
  signal value : unsigned(7 downto 0) := x"00";
begin
  count <= value;
  process (clk)
  begin
    if rising_edge(clk) then
      if reset = '1' then
        value <= x"00";
      elsif enable = '1' then
        value <= value + 1;
      end if;
    end if;
  end process;
end architecture rtl;
EOF_COUNTER

echo "== building (not timed)"
(cd "$scratch/a" && "$build/quillc" -module counter counter.cpp >quillc.out 2>&1 &&
  "$QUILLC_PATH/bin/quillc-sim" --simulator=ghdl bench.vhd >/dev/null)
for dir in b c; do
  (cd "$scratch/$dir" && ghdl -a --std=08 counter.vhd bench.vhd && ghdl -e --std=08 bench)
done


# (a) is the run that quillc-sim makes, without the script's own check
# that nothing changed.
count="count $((cycles % 256))"
a=$(best "$scratch/a" "$count" ghdl -r --std=08 --workdir=sim_build/bench bench)
b=$(best "$scratch/b" "count 0" ghdl -r --std=08 bench)
c=$(best "$scratch/c" "$count" ghdl -r --std=08 bench)
awk -v a="$a" -v b="$b" -v c="$c" -v n="$cycles" 'BEGIN {
  printf "counter in GHDL, %d clock cycles (processor time, least of the runs):\n", n
  printf "  (a) SystemC model through quillc-sim --simulator=ghdl  %7.3f s\n", a
  printf "  (b) the testbench alone (a counter that does nothing)   %7.3f s\n", b
  printf "  (c) VHDL counter                                       %7.3f s\n", c
  printf "  a/c = %.2f\n", a / c
  printf "  one crossing (a - b over %d evaluations): %.0f ns\n", 2 * n, (a - b) / (2 * n) * 1e9
}'
