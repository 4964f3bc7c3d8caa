#ifndef CORVANE_SC_GLUE_H
#define CORVANE_SC_GLUE_H

/// \file
/// The signal glue of a co-simulation library, compiled for the exact port
/// data types of one design.  The wrapper generator writes
/// sc_module/port_type_mapping_funcs.hpp, which adds every data type that
/// the design's ports carry to a GlueTable, and sc_module/sc_module_factory.cpp,
/// which names the ports; startup.cpp includes them, so libcorvanesc.so
/// holds a SystemC signal type for each data type in use and no other.
///
/// Values cross as words: arrays of 64-bit words, least significant first,
/// ceil(width / 64) of them, with an a/b pair per bit for four-valued
/// types (0: a0 b0, 1: a1 b0, Z: a0 b1, X: a1 b1).  Bits above the width
/// are unspecified in what a signal reads and must be 0 in what it is
/// given to write; corvane_sc_cosim.h gives the rules that the library
/// applies around them.

#include <systemc>

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <typeindex>
#include <unordered_map>
#include <vector>

namespace corvane_sc {

/// A value on its way to or from a port: the words, or a real.
struct PortWords {
  std::vector<uint64_t> a, b;
  double real = 0;
};

/// A signal that the co-simulation owns and has bound to one port.
class PortSignal {
public:
  virtual ~PortSignal() = default;
  /// Writes \p value, sized for the port.
  virtual void write(const PortWords &value) = 0;
  /// Reads the signal into \p value, sized for the port.
  virtual void read(PortWords &value) const = 0;
};

/// How data type T turns into words and back.
template <class T, class = void> struct PortValue;

template <> struct PortValue<bool> {
  static bool from(const PortWords &v) { return v.a[0] & 1; }
  static void to(bool value, PortWords &v) { v.a[0] = value; }
};

template <> struct PortValue<sc_dt::sc_logic> {
  // sc_logic_value_t counts 0, 1, Z, X: the a bit plus twice the b bit.
  static sc_dt::sc_logic from(const PortWords &v) {
    return sc_dt::sc_logic(static_cast<sc_dt::sc_logic_value_t>((v.a[0] & 1) | (v.b[0] & 1) << 1));
  }
  static void to(const sc_dt::sc_logic &value, PortWords &v) {
    v.a[0] = value.value() & 1;
    v.b[0] = value.value() >> 1;
  }
};

template <class T> struct PortValue<T, std::enable_if_t<std::is_integral_v<T>>> {
  static T from(const PortWords &v) { return static_cast<T>(v.a[0]); }
  static void to(T value, PortWords &v) { v.a[0] = static_cast<uint64_t>(value); }
};

template <class T> struct PortValue<T, std::enable_if_t<std::is_floating_point_v<T>>> {
  static T from(const PortWords &v) { return static_cast<T>(v.real); }
  static void to(T value, PortWords &v) { v.real = value; }
};

template <int N> struct PortValue<sc_dt::sc_uint<N>> {
  static sc_dt::sc_uint<N> from(const PortWords &v) { return sc_dt::sc_uint<N>(v.a[0]); }
  static void to(const sc_dt::sc_uint<N> &value, PortWords &v) { v.a[0] = value.to_uint64(); }
};

template <int N> struct PortValue<sc_dt::sc_int<N>> {
  static sc_dt::sc_int<N> from(const PortWords &v) {
    return sc_dt::sc_int<N>(static_cast<int64_t>(v.a[0]));
  }
  static void to(const sc_dt::sc_int<N> &value, PortWords &v) {
    v.a[0] = static_cast<uint64_t>(value.to_int64());
  }
};

/// sc_bv and sc_lv: SystemC keeps them as 32-bit words, with a control word
/// beside each for sc_lv, in the same a/b encoding.
template <class V, bool FourState> struct VectorValue {
  static V from(const PortWords &v) {
    V value;
    for (int i = 0; i < value.size(); ++i) {
      const int shift = (i & 1) * 32;
      value.set_word(i, static_cast<sc_dt::sc_digit>(v.a[i / 2] >> shift));
      if constexpr (FourState)
        value.set_cword(i, static_cast<sc_dt::sc_digit>(v.b[i / 2] >> shift));
    }
    return value;
  }
  static void to(const V &value, PortWords &v) {
    for (int i = 0; i < value.size(); ++i) {
      const int shift = (i & 1) * 32;
      v.a[i / 2] |= uint64_t(value.get_word(i)) << shift;
      if constexpr (FourState)
        v.b[i / 2] |= uint64_t(value.get_cword(i)) << shift;
    }
  }
};

template <int N> struct PortValue<sc_dt::sc_bv<N>> : VectorValue<sc_dt::sc_bv<N>, false> {};
template <int N> struct PortValue<sc_dt::sc_lv<N>> : VectorValue<sc_dt::sc_lv<N>, true> {};

/// sc_biguint and sc_bigint travel through an sc_bv of their width.
template <class Big, int N> struct BigValue {
  static Big from(const PortWords &v) { return Big(PortValue<sc_dt::sc_bv<N>>::from(v)); }
  static void to(const Big &value, PortWords &v) {
    sc_dt::sc_bv<N> bits;
    bits = value;
    PortValue<sc_dt::sc_bv<N>>::to(bits, v);
  }
};

template <int N> struct PortValue<sc_dt::sc_biguint<N>> : BigValue<sc_dt::sc_biguint<N>, N> {};
template <int N> struct PortValue<sc_dt::sc_bigint<N>> : BigValue<sc_dt::sc_bigint<N>, N> {};

/// The signal behind an input or inout port.  SystemC makes a signal's
/// value-changed, posedge and negedge events only when some process asks
/// for them, so a change that finds none of them (and no reset) can wake
/// nothing: the co-simulation then gives the signal its value without a
/// delta cycle.  A change that can wake something is made seen the way the
/// kernel's update makes it, once the kernel stands at the time of the
/// change.
class DeferredInput {
public:
  /// Makes the value held back by hold() seen at the kernel's current time.
  virtual void announce() = 0;

protected:
  ~DeferredInput() = default;
};

template <class T> class PortChannel final : public sc_core::sc_signal<T>, public DeferredInput {
public:
  explicit PortChannel(const char *name) : sc_core::sc_signal<T>(name) {}

  /// Whether a change from the value held to \p value can wake a process,
  /// as the model stands now (it may ask for events later).
  bool waited(const T &value) const {
    if (this->m_change_event_p)
      return true;
    if constexpr (std::is_same_v<T, bool>)
      return this->m_reset_p || (value ? this->m_posedge_event_p : this->m_negedge_event_p);
    else if constexpr (std::is_same_v<T, sc_dt::sc_logic>)
      return value == sc_dt::SC_LOGIC_1 ? this->m_posedge_event_p != nullptr
             : value == sc_dt::SC_LOGIC_0 ? this->m_negedge_event_p != nullptr
                                          : false;
    else
      return false;
  }

  /// The value that processes read, without the virtual call of read().
  const T &current() const { return this->m_cur_val; }

  /// Takes \p value at once, without a delta cycle: nothing waits on it.
  void take(const T &value) {
    this->m_cur_val = value;
    this->m_new_val = value;
  }

  /// Holds \p value back for announce(); a later value held before then
  /// replaces it, as a later write in one delta does.
  void hold(const T &value) {
    this->m_new_val = value;
    m_Held = true;
  }

  /// Whether a value waits for announce().
  bool held() const { return m_Held; }

  void announce() override {
    m_Held = false;
    if constexpr (std::is_same_v<T, bool>) {
      if (this->m_reset_p) {
        // A reset acts through the kernel's own update.
        this->request_update();
        return;
      }
    }
    // Held back and set back again before the kernel saw it: no change.
    if (this->m_new_val == this->m_cur_val)
      return;
    this->m_cur_val = this->m_new_val;
    // event(), posedge() and negedge() read true in the delta that follows.
    this->m_change_stamp = this->simcontext()->change_stamp();
    wake(this->m_change_event_p);
    if constexpr (std::is_same_v<T, bool>)
      wake(this->m_cur_val ? this->m_posedge_event_p : this->m_negedge_event_p);
    else if constexpr (std::is_same_v<T, sc_dt::sc_logic>)
      wake(this->m_cur_val == sc_dt::SC_LOGIC_1   ? this->m_posedge_event_p
           : this->m_cur_val == sc_dt::SC_LOGIC_0 ? this->m_negedge_event_p
                                                  : nullptr);
  }

private:
  bool m_Held = false;

  // Between kernel entries the kernel is in its evaluation phase, where
  // an immediate notification makes the waiting processes runnable.
  static void wake(sc_core::sc_event *event) {
    if (event)
      event->notify();
  }
};

template <class T> class SignalOf final : public PortSignal {
public:
  explicit SignalOf(const char *name) : m_Signal(name) {}

  PortChannel<T> &signal() { return m_Signal; }
  void write(const PortWords &value) override { m_Signal.write(PortValue<T>::from(value)); }
  void read(PortWords &value) const override { PortValue<T>::to(m_Signal.read(), value); }

private:
  PortChannel<T> m_Signal;
};

/// Makes a signal of T named \p name and binds \p port to it; null when
/// the port is neither an input nor an inout of T.  Throws what SystemC
/// throws.
template <class T> std::unique_ptr<PortSignal> bind_port(sc_core::sc_port_base &port, const char *name) {
  auto signal = std::make_unique<SignalOf<T>>(name);
  if (auto *in = dynamic_cast<sc_core::sc_port_b<sc_core::sc_signal_in_if<T>> *>(&port))
    in->bind(signal->signal());
  else if (auto *inout = dynamic_cast<sc_core::sc_port_b<sc_core::sc_signal_inout_if<T>> *>(&port))
    inout->bind(signal->signal());
  else
    return nullptr;
  return signal;
}

/// The data types that the design's ports carry, found by a port's
/// interface type.
class GlueTable {
public:
  using Binder = std::unique_ptr<PortSignal> (*)(sc_core::sc_port_base &, const char *);

  template <class T> void add() {
    m_Binders.emplace(typeid(sc_core::sc_signal_in_if<T>), &bind_port<T>);
    m_Binders.emplace(typeid(sc_core::sc_signal_inout_if<T>), &bind_port<T>);
  }

  /// The binder for ports of \p interfaceType, or null.
  Binder find(const std::type_index &interfaceType) const {
    auto it = m_Binders.find(interfaceType);
    return it == m_Binders.end() ? nullptr : it->second;
  }

private:
  std::unordered_map<std::type_index, Binder> m_Binders;
};

/// One port's name in the co-simulation: the SystemC base name that the
/// port had in the wrapper generator's instance, and the name that the
/// wrapper gave it.
struct PortName {
  const char *basename, *name;
};

/// The port names of one exported module, and the first of its ports, if
/// any, that the library cannot carry: the wrapper's name for it and its
/// C++ type.  The library refuses such a module before it builds anything
/// of it, since SystemC cannot take back what a constructor started.
struct ModulePortNames {
  const char *module;
  const PortName *ports;
  std::size_t count;
  const char *uncarriedPort, *uncarriedType;
};

/// What the generated files give the co-simulation library.
struct DesignGlue {
  void (*addTypes)(GlueTable &table);
  const ModulePortNames *modules;
  std::size_t moduleCount;
};

/// Defined by startup.cpp from the generated files.
extern const DesignGlue kDesignGlue;

} // namespace corvane_sc

#endif
