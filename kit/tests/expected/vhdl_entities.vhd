entity words is
  port (
    \in\ : in std_logic;
    \out\ : out std_logic;
    \signal\ : in unsigned(3 downto 0);
    \range\ : out unsigned(3 downto 0);
    \clk\ : in std_logic;
    \CLK\ : in std_logic;
    \_both_\ : out unsigned(1 downto 0)
  );
end entity words;
