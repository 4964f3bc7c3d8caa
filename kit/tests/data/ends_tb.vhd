-- ends_tb.sv for GHDL.
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;
entity ends_tb is
end entity;
architecture tb of ends_tb is
  signal clk : std_logic := '0';
  signal a : unsigned(7 downto 0) := to_unsigned(3, 8);
  signal b, c : unsigned(7 downto 0);
begin
  clk <= not clk after 5 ns;
  s : entity work.stopper port map (clk => clk);
  p1 : entity work.pair port map (clk => clk, \in\ => a, \out\ => b);
  p2 : entity work.pair port map (clk => clk, \in\ => b, \out\ => c);
  x : entity work.crasher port map (clk => clk);
  process begin
    wait for 100 ns;
    report "testbench ends: c = " & integer'image(to_integer(c));
    std.env.finish;
  end process;
end architecture;
