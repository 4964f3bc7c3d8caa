entity types is
  port (
    s : in signed(11 downto 0);
    s_neg : out signed(11 downto 0);
    u : in unsigned(63 downto 0);
    u_inv : out unsigned(63 downto 0);
    ll : in signed(63 downto 0);
    ll_half : out signed(63 downto 0);
    w : in unsigned(127 downto 0);
    w_inc : out unsigned(127 downto 0);
    sw : in signed(99 downto 0);
    sw_neg : out signed(99 downto 0);
    bv : in std_logic_vector(69 downto 0);
    bv_inv : out std_logic_vector(69 downto 0);
    l : in std_logic_vector(7 downto 0);
    l_same : out std_logic_vector(7 downto 0);
    hold : out std_logic_vector(3 downto 0);
    bit_in : in std_logic;
    bit_out : out std_logic;
    r : in real;
    r_twice : out real;
    f : in real;
    f_half : out real;
    interrupt : out std_logic
  );
end entity types;
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
