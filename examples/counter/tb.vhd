-- Drives the SystemC counter from VHDL: 100 clocks with enable high, a
-- synchronous reset, and the wrap from 255 to 0.
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;

entity tb is
end entity tb;

architecture test of tb is
  signal clk, reset, enable : std_logic := '0';
  signal count : unsigned(7 downto 0);
  signal done : boolean := false;
begin
  dut : entity work.counter port map (clk => clk, reset => reset, enable => enable, count => count);

  clk <= not clk after 5 ns when not done;

  process
    variable failures : natural := 0;

    procedure check(what : string; expected : natural) is
    begin
      if count = expected then
        report "ok: " & what & ": count = " & to_string(to_integer(count));
      else
        report "FAILED: " & what & ": count = " & to_hstring(count) & ", expected " & to_string(expected);
        failures := failures + 1;
      end if;
    end procedure;

    procedure clocks(n : positive) is
    begin
      for i in 1 to n loop
        wait until falling_edge(clk);
      end loop;
    end procedure;
  begin
    reset <= '1';
    clocks(1);
    reset <= '0';
    check("after reset", 0);
    enable <= '1';
    clocks(100);
    check("100 clocks with enable high", 100);
    enable <= '0';
    clocks(10);
    check("10 clocks with enable low", 100);
    reset <= '1';
    clocks(1);
    reset <= '0';
    check("reset", 0);
    enable <= '1';
    clocks(256);
    check("256 clocks wrap to", 0);
    clocks(3);
    check("3 clocks more", 3);
    assert failures = 0 report to_string(failures) & " checks failed" severity failure;
    report "counter: all checks passed";
    done <= true;
    wait;
  end process;
end architecture test;
