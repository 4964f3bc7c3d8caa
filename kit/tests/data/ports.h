#ifndef PORTS_H
#define PORTS_H

// Ports declared as most SystemC code declares them: members that no
// constructor names.
#include "systemc.h"

struct strobe_pair {
  sc_in<bool> rise, fall;
};

// Mixes real values; counts its enables.  A member named as a
// SystemVerilog keyword, a port array, a port named in the constructor
// with a name that the array's first port wants too, and ports in a
// member struct.
SC_MODULE(mixer) {
  sc_in_clk clk;
  sc_in<double> gain;
  sc_in<float> bias;
  sc_out<double> level;
  sc_in<bool> enable[3];
  sc_in<bool> tap;
  sc_in<bool> reg;
  strobe_pair strobe;
  sc_out<sc_uint<2>> count;

  void mix();

  SC_CTOR(mixer) : tap("enable_0") {
    SC_METHOD(mix);
    sensitive << gain << bias << enable[0] << enable[1] << enable[2];
  }
};

struct bus_base : sc_core::sc_module {
  sc_in<bool> valid;

  explicit bus_base(sc_module_name name) : sc_module(name) {}
};

// Wide data: sum is data plus offset, lanes_out follows lanes.
struct wide : bus_base {
  sc_in<sc_bv<128>> data;
  sc_in<sc_bigint<200>> offset;
  sc_out<sc_bigint<200>> sum;
  sc_in<sc_lv<128>> lanes;
  sc_out<sc_lv<128>> lanes_out;

  SC_HAS_PROCESS(wide);
  explicit wide(sc_module_name name) : bus_base(name) {
    SC_METHOD(update);
    sensitive << data << offset << lanes;
  }

  void update() {
    sc_biguint<128> value = data.read();
    sum.write(offset.read() + value);
    lanes_out.write(lanes.read());
  }
};

// Adds one, in W bits.
template <int W> SC_MODULE(inc) {
  sc_in<sc_uint<W>> in;
  sc_out<sc_uint<W>> out;

  void step() { out.write(in.read() + 1); }

  SC_CTOR(inc) {
    SC_METHOD(step);
    sensitive << in;
  }
};

typedef inc<12> inc12;


// As in SystemC's producer/consumer and packet switch examples: ports of an
// interface and of a struct of the design, which the library cannot carry.
struct write_if : virtual sc_interface { virtual void write(char c) = 0; };
struct pkt { int dest; };
inline void sc_trace(sc_trace_file *, const pkt &, const std::string &) {}

class producer : public sc_module {
public:
  sc_in<bool> clk;
  sc_port<write_if> out;
  sc_out<pkt> pkt_out;
  SC_CTOR(producer) { SC_THREAD(run); }
private:
  void run() { std::cout << name() << " runs" << std::endl, out->write('x'); }
};

// A port that only the library's build has, and a process when named busy.
SC_MODULE(grows) {
  sc_in<bool> a;
#ifdef SC_COSIM
  sc_port<write_if> late;
#endif
  void run() {}
  SC_CTOR(grows) { if (std::string(basename()) == "busy") SC_THREAD(run); }
};

// Throws in the wrapper generator, which names an instance after its module.
SC_MODULE(shy) { SC_CTOR(shy) { if (std::string(basename()) == "shy") throw std::runtime_error("not here"); } };

#endif
