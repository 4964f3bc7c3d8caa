-- The SystemC models of cosim.cpp, vhdl_models.cpp and the counter in
-- GHDL: cosim_tb prints a line per check and finishes; stop_tb ends by the
-- model's sc_stop(), error_tb by the guard's error.
library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;

entity cosim_tb is
end entity cosim_tb;

architecture test of cosim_tb is
  signal clk, enable, en2 : std_logic := '0';
  signal c1, c2, tick, x : unsigned(7 downto 0) := x"00";
  signal sum : unsigned(8 downto 0);
  signal s, s_neg : signed(11 downto 0) := (others => 'U');
  signal u, u_inv : unsigned(63 downto 0);
  signal ll, ll_half : signed(63 downto 0);
  signal w, w_inc : unsigned(127 downto 0);
  signal sw, sw_neg : signed(99 downto 0);
  signal bv, bv_inv : std_logic_vector(69 downto 0);
  signal l, l_same : std_logic_vector(7 downto 0);
  signal hold : std_logic_vector(3 downto 0);
  signal bit_in, bit_out, interrupt, w_out : std_logic;
  signal w_range : unsigned(3 downto 0);
  signal w_both : unsigned(1 downto 0);
  signal r, r_twice, f, f_half : real := 0.0;

  procedure check(what : string; ok : boolean) is
  begin
    assert ok report "FAILED: " & what severity note;
    assert not ok report "ok: " & what severity note;
  end procedure;
begin
  c_one : entity work.counter port map (clk => clk, reset => '0', enable => enable, count => c1);
  c_two : entity work.counter port map (clk => clk, reset => '0', enable => en2, count => c2);
  adder : entity work.comb port map (a => x + 1, b => x"05", sum => sum, diff => open);
  ticks : entity work.pulse port map (count => tick);
  t : entity work.types port map (s, s_neg, u, u_inv, ll, ll_half, w, w_inc, sw, sw_neg, bv, bv_inv, l, l_same,
                                  hold, bit_in, bit_out, r, r_twice, f, f_half, interrupt);
  names : entity work.words port map (\in\ => '1', \out\ => w_out, \signal\ => x"9", \range\ => w_range,
                                      \clk\ => '1', \CLK\ => '0', \_both_\ => w_both);

  clk <= not clk after 5 ns;

  process
    variable at : time;
  begin
    wait for 1 ns;
    check("U reads 0 in a two-valued input", s_neg = 0 and interrupt = '0');
    check("sum of x + 1 and 5", sum = 6);
    at := now;
    x <= x"0a";
    wait on sum;
    check("same time step: sum 16", now = at and sum = 16);

    enable <= 'H';
    en2 <= '1';
    for i in 1 to 100 loop
      wait until falling_edge(clk);
      en2 <= '0' when i >= 10;
    end loop;
    check("c_one, 100 clocks with enable 'H'", c1 = 100);
    check("c_two, 10 clocks", c2 = 10);

    s <= to_signed(-5, 12);
    u <= x"0123456789abcdef";
    ll <= to_signed(-10, 64);
    w <= x"0000000000000000ffffffffffffffff";
    sw <= to_signed(-3, 100);
    bv <= "10" & x"a5555_0000_ffff_1234";
    l <= "UX01ZWLH";
    bit_in <= '-';
    r <= 1.25;
    f <= 3.0;
    wait for 1 ns;
    check("s_neg 5, interrupt", s_neg = 5 and interrupt = '1');
    check("u_inv", u_inv = x"fedcba9876543210");
    check("ll_half -5", ll_half = -5);
    check("w_inc 2**64", w_inc = x"00000000000000010000000000000000");
    check("sw_neg 3", sw_neg = 3);
    check("bv_inv", bv_inv = "01" & x"5aaaa_ffff_0000_edcb");
    check("UX01ZWLH comes back XX01ZX01", l_same = "XX01ZX01");
    check("- comes back X", bit_out = 'X');
    check("the model's own 01XZ", hold = "01XZ");
    check("r_twice 2.5, f_half 1.5", r_twice = 2.5 and f_half = 1.5);
    check("words: out, range, both", w_out = '0' and w_range = 10 and w_both = "10");
    std.env.finish;
  end process;

  process
  begin
    for i in 1 to 2 loop
      wait for 1499 ps - (i - 1) * 1 ps;
      check("pulse 1 ps before its step " & to_string(i), tick = i - 1);
      wait for 2 ps;
      check("pulse 1 ps after its step " & to_string(i), tick = i);
    end loop;
    wait;
  end process;
end architecture test;

library ieee;
use ieee.std_logic_1164.all, ieee.numeric_std.all;
entity stop_tb is
end entity stop_tb;
architecture test of stop_tb is
  signal stop : std_logic := '0';
  signal late : boolean := false;
begin
  model : entity work.stopper port map (stop => stop);
  stop <= '1' after 5 ns;
  late <= true after 10 ns;
  assert not late report "FAILED: the model's sc_stop() did not end the run" severity failure;
end architecture test;

library ieee;
use ieee.std_logic_1164.all, ieee.numeric_std.all;
entity error_tb is
end entity error_tb;
architecture test of error_tb is
  signal value : unsigned(7 downto 0) := x"fe";
  signal late : boolean := false;
begin
  model : entity work.guard port map (value => value);
  value <= x"ff" after 2 ns;
  late <= true after 3 ns;
  assert not late report "FAILED: the guard let 255 through" severity note;
end architecture test;
