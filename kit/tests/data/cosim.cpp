#include "systemc.h"

// Models for the co-simulation tests, beside examples/counter.

// Combinational: its outputs follow its inputs in the same time step.
SC_MODULE(comb) {
  sc_in<sc_uint<8>> a, b;
  sc_out<sc_uint<9>> sum;
  sc_out<sc_uint<8>> diff;
  void eval() {
    sum.write(a.read() + b.read());
    diff.write(a.read() - b.read());
  }
  SC_CTOR(comb) {
    SC_METHOD(eval);
    sensitive << a << b;
  }
};

// Timed on its own: count goes up every 10 ns from 10 ns on; start moves
// the next step to 3 ns after it rises.
SC_MODULE(ticker) {
  sc_in<bool> start;
  sc_out<sc_uint<8>> count;
  sc_event restart;
  void run() {
    for (;;) {
      wait(sc_time(10, SC_NS), restart);
      if (restart.triggered())
        wait(3, SC_NS);
      count.write(count.read() + 1);
    }
  }
  void kick() {
    if (start.read())
      restart.notify();
  }
  SC_CTOR(ticker) {
    SC_THREAD(run);
    SC_METHOD(kick);
    sensitive << start;
    dont_initialize();
  }
};

// Every value family across the boundary, each output a known function of
// its input; hold drives X and Z of its own.  interrupt is a C++ word.
SC_MODULE(types) {
  sc_in<sc_int<12>> s; sc_out<sc_int<12>> s_neg;
  sc_in<sc_uint<64>> u; sc_out<sc_uint<64>> u_inv;
  sc_in<long long> ll; sc_out<long long> ll_half;
  sc_in<sc_biguint<128>> w; sc_out<sc_biguint<128>> w_inc;
  sc_in<sc_bigint<100>> sw; sc_out<sc_bigint<100>> sw_neg;
  sc_in<sc_bv<70>> bv; sc_out<sc_bv<70>> bv_inv;
  sc_in<sc_lv<8>> l; sc_out<sc_lv<8>> l_same;
  sc_out<sc_lv<4>> hold;
  sc_in<sc_logic> bit_in; sc_out<sc_logic> bit_out;
  sc_in<double> r; sc_out<double> r_twice;
  sc_in<float> f; sc_out<float> f_half;
  sc_out<bool> interrupt;
  void eval() {
    s_neg.write(-s.read());
    u_inv.write(~u.read());
    ll_half.write(ll.read() / 2);
    w_inc.write(w.read() + 1);
    sw_neg.write(-sw.read());
    bv_inv.write(~bv.read());
    l_same.write(l.read());
    hold.write(sc_lv<4>("01XZ"));
    bit_out.write(bit_in.read());
    r_twice.write(r.read() * 2);
    f_half.write(f.read() / 2);
    interrupt.write(s.read() < 0);
  }
  SC_CTOR(types) {
    SC_METHOD(eval);
    sensitive << s << u << ll << w << sw << bv << l << bit_in << r << f;
  }
};

// Refuses 255 with a SystemC error.
SC_MODULE(guard) {
  sc_in<sc_uint<8>> value;
  void check() {
    if (value.read() == 255)
      SC_REPORT_ERROR("guard", "255 is not a value this model takes");
  }
  SC_CTOR(guard) {
    SC_METHOD(check);
    sensitive << value;
  }
};

// Counts the falling edges of clk, both its edges and the changes of v.
SC_MODULE(edges) {
  sc_in<bool> clk;
  sc_in<sc_uint<8>> v;
  sc_out<sc_uint<8>> falls, both, changes;
  sc_uint<8> fell = 0, edged = 0, changed = 0;
  void on_fall() { falls.write(++fell); }
  void on_edge() { both.write(++edged); }
  void on_change() { changes.write(++changed); }
  SC_CTOR(edges) {
    SC_METHOD(on_fall);
    sensitive << clk.neg();
    dont_initialize();
    SC_METHOD(on_edge);
    sensitive << clk.pos() << clk.neg();
    dont_initialize();
    SC_METHOD(on_change);
    sensitive << v;
    dont_initialize();
  }
};

// Nothing waits on a: a thread reads it at 200 ns.  b wakes a method only
// through its dynamic next_trigger; c's rising edges are asked for from
// 50 ns on.
SC_MODULE(late) {
  sc_in<sc_uint<8>> a;
  sc_in<bool> b, c;
  sc_out<sc_uint<8>> seen, follows, rises;
  sc_uint<8> followed = 0, rose = 0;
  void sample() {
    wait(200, SC_NS);
    seen.write(a.read());
  }
  void follow() {
    follows.write(++followed);
    next_trigger(b.value_changed_event());
  }
  void count_rises() {
    wait(50, SC_NS);
    for (;;) {
      wait(c.posedge_event());
      rises.write(++rose);
    }
  }
  SC_CTOR(late) {
    SC_THREAD(sample);
    SC_METHOD(follow);
    SC_THREAD(count_rises);
  }
};

// Combinational, for chains: out is in + 1.
SC_MODULE(inc) {
  sc_in<sc_uint<8>> in;
  sc_out<sc_uint<8>> out;
  void eval() { out.write(in.read() + 1); }
  SC_CTOR(inc) {
    SC_METHOD(eval);
    sensitive << in;
  }
};

// Timed far ahead: level rises at 5 ms and falls at 10 s.
SC_MODULE(slow) {
  sc_out<bool> level;
  void run() {
    wait(5, SC_MS);
    level.write(true);
    wait(sc_time(10, SC_SEC) - sc_time(5, SC_MS));
    level.write(false);
  }
  SC_CTOR(slow) { SC_THREAD(run); }
};
