#include "systemc.h"

// In the style of SystemC's producer/consumer and packet switch examples:
// no port is named in a constructor, and some ports are of an interface or
// a struct of the design, for which the library carries no signal.
struct write_if : virtual sc_interface {
  virtual void write(char c) = 0;
};

struct printer : sc_module, write_if {
  SC_CTOR(printer) {}
  void write(char c) override { std::cout << name() << " got " << c << " at " << sc_time_stamp() << std::endl; }
};

class producer : public sc_module {
public:
  sc_port<write_if> out;
  sc_out<int> sent;

  SC_CTOR(producer) { SC_THREAD(run); }

private:
  void run() {
    std::cout << name() << " starts" << std::endl;
    for (const char *c = "hi"; *c; ++c, wait(1, SC_NS))
      out->write(*c), sent.write(c[1] ? 1 : 2);
  }
};

// A producer that writes into a printer.
SC_MODULE(top) {
  sc_out<int> sent;
  producer p;
  printer q;

  SC_CTOR(top) : p("p"), q("q") { p.out(q), p.sent(sent); }
};

struct pkt {
  int dest = 0;
  bool operator==(const pkt &other) const { return dest == other.dest; }
};
std::ostream &operator<<(std::ostream &out, const pkt &p) { return out << p.dest; }
void sc_trace(sc_trace_file *, const pkt &, const std::string &) {}

SC_MODULE(router) {
  sc_in<bool> clk;
  sc_out<pkt> pkt_out;

  SC_CTOR(router) {
    SC_METHOD(route);
    sensitive << clk;
  }
  void route() { std::cout << name() << " routes" << std::endl; }
};

// The library's build has a port that the wrapper generator's has not.
SC_MODULE(grows) {
  sc_in<bool> a;
#ifdef SC_COSIM
  sc_port<write_if> late;
#endif
  SC_CTOR(grows) {}
};

// The wrapper generator cannot build it.
SC_MODULE(shy) {
  SC_CTOR(shy) {
#ifdef SC_WRAPPER
    throw std::runtime_error("not here");
#endif
  }
};
