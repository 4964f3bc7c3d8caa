#include "systemc.h"

#include <cstdlib>

// Models for the ends of a run and for the waveform's view inside a model.
// The environment picks the end: QUILLC_TEST_STOP makes the stopper call
// sc_stop() at its third clock edge, QUILLC_TEST_CRASH makes the crasher
// write through a null pointer at its second.

// A hierarchical model: ctrl counts the clock edges into the internal
// signal state, path adds it to the input; blink is the model's own,
// toggled every 7 ns.
SC_MODULE(ctrl) {
  sc_in<bool> clk;
  sc_out<sc_uint<4>> state;
  void step() { state.write(state.read() + 1); }
  SC_CTOR(ctrl) : clk("clk"), state("state") {
    SC_METHOD(step);
    sensitive << clk.pos();
    dont_initialize();
  }
};

SC_MODULE(path) {
  sc_in<sc_uint<4>> state;
  sc_in<sc_uint<8>> in;
  sc_out<sc_uint<8>> out;
  void eval() { out.write(in.read() + state.read()); }
  SC_CTOR(path) : state("state"), in("in"), out("out") {
    SC_METHOD(eval);
    sensitive << state << in;
  }
};

SC_MODULE(pair) {
  sc_in<bool> clk;
  sc_in<sc_uint<8>> in;
  sc_out<sc_uint<8>> out;
  sc_signal<sc_uint<4>> state;
  sc_buffer<bool> blink;
  sc_signal<std::string> note; // no HDL type: left out of the waveform
  ctrl c;
  path p;
  void run() {
    for (;;) {
      wait(7, SC_NS);
      blink.write(!blink.read());
    }
  }
  SC_CTOR(pair) : clk("clk"), in("in"), out("out"), state("state"), blink("blink"), note("note"), c("c"), p("p") {
    c.clk(clk);
    c.state(state);
    p.state(state);
    p.in(in);
    p.out(out);
    SC_THREAD(run);
  }
};

// Prints its clock edges when the simulation ends, however it ends.
SC_MODULE(stopper) {
  sc_in<bool> clk;
  int edges = 0;
  void step() {
    if (++edges == 3 && std::getenv("QUILLC_TEST_STOP"))
      sc_stop();
  }
  void end_of_simulation() override { std::printf("stopper: %d edges at %s\n", edges, sc_time_stamp().to_string().c_str()); }
  SC_CTOR(stopper) : clk("clk") {
    SC_METHOD(step);
    sensitive << clk.pos();
    dont_initialize();
  }
};

SC_MODULE(crasher) {
  sc_in<bool> clk;
  int edges = 0;
  int *cell = nullptr;
  void tick() {
    if (++edges == 2 && std::getenv("QUILLC_TEST_CRASH"))
      *cell = edges;
  }
  SC_CTOR(crasher) : clk("clk") {
    SC_METHOD(tick);
    sensitive << clk.pos();
    dont_initialize();
  }
};
