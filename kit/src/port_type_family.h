#ifndef CORVANE_KIT_PORT_TYPE_FAMILY_H
#define CORVANE_KIT_PORT_TYPE_FAMILY_H

/// \file
/// The templates behind the port type table.  Every data type in the table
/// instantiates a SystemC signal, which is heavy to compile, so the width
/// families live in sources of their own (port_types_<family>.cpp) that
/// the build can compile side by side.

#include "kit/src/port_types.h"

#include <systemc>

#include <concepts>
#include <typeindex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corvane_sc {

/// How a data type turns into a 64-bit value and back.  from_bits() gets
/// a value that fits (fits_port()) and keeps the low bits; to_bits() gives
/// the value sign-extended for a signed type.
template <class T> struct PortValue;

template <> struct PortValue<bool> {
  static constexpr unsigned kWidth = 1;
  static constexpr bool kSigned = false, kFourState = false, kScalar = true;
  static bool from_bits(uint64_t bits) { return bits != 0; }
  static bool to_bits(bool value, uint64_t &bits, std::string &) {
    bits = value;
    return true;
  }
};

template <> struct PortValue<sc_dt::sc_logic> {
  static constexpr unsigned kWidth = 1;
  static constexpr bool kSigned = false, kFourState = true, kScalar = true;
  static sc_dt::sc_logic from_bits(uint64_t bits) { return sc_dt::sc_logic(bits != 0); }
  static bool to_bits(const sc_dt::sc_logic &value, uint64_t &bits, std::string &error) {
    if (!value.is_01()) {
      error = std::string("holds ") + value.to_char();
      return false;
    }
    bits = value.to_bool();
    return true;
  }
};

template <std::integral T> struct PortValue<T> {
  static constexpr unsigned kWidth = sizeof(T) * 8;
  static constexpr bool kSigned = std::is_signed_v<T>, kFourState = false, kScalar = false;
  static T from_bits(uint64_t bits) { return static_cast<T>(bits); }
  static bool to_bits(T value, uint64_t &bits, std::string &) {
    bits = kSigned ? static_cast<uint64_t>(static_cast<int64_t>(value)) : static_cast<uint64_t>(value);
    return true;
  }
};

template <int N> struct PortValue<sc_dt::sc_uint<N>> {
  static constexpr unsigned kWidth = N;
  static constexpr bool kSigned = false, kFourState = false, kScalar = false;
  static sc_dt::sc_uint<N> from_bits(uint64_t bits) { return sc_dt::sc_uint<N>(bits); }
  static bool to_bits(const sc_dt::sc_uint<N> &value, uint64_t &bits, std::string &) {
    bits = value.to_uint64();
    return true;
  }
};

template <int N> struct PortValue<sc_dt::sc_int<N>> {
  static constexpr unsigned kWidth = N;
  static constexpr bool kSigned = true, kFourState = false, kScalar = false;
  static sc_dt::sc_int<N> from_bits(uint64_t bits) {
    return sc_dt::sc_int<N>(static_cast<int64_t>(bits));
  }
  static bool to_bits(const sc_dt::sc_int<N> &value, uint64_t &bits, std::string &) {
    bits = static_cast<uint64_t>(value.to_int64());
    return true;
  }
};

template <int N> struct PortValue<sc_dt::sc_bv<N>> {
  static constexpr unsigned kWidth = N;
  static constexpr bool kSigned = false, kFourState = false, kScalar = false;
  static sc_dt::sc_bv<N> from_bits(uint64_t bits) {
    sc_dt::sc_bv<N> value;
    value = static_cast<sc_dt::uint64>(bits);
    return value;
  }
  static bool to_bits(const sc_dt::sc_bv<N> &value, uint64_t &bits, std::string &) {
    bits = value.to_uint64();
    return true;
  }
};

template <int N> struct PortValue<sc_dt::sc_lv<N>> {
  static constexpr unsigned kWidth = N;
  static constexpr bool kSigned = false, kFourState = true, kScalar = false;
  static sc_dt::sc_lv<N> from_bits(uint64_t bits) {
    sc_dt::sc_lv<N> value;
    value = static_cast<sc_dt::uint64>(bits);
    return value;
  }
  static bool to_bits(const sc_dt::sc_lv<N> &value, uint64_t &bits, std::string &error) {
    if (!value.is_01()) {
      error = "holds " + value.to_string();
      return false;
    }
    bits = value.to_uint64();
    return true;
  }
};

/// Whether \p value fits a port of \p width bits (see corvane_sc_cosim.h).
bool fits_port(uint64_t value, unsigned width, bool isSigned);

template <class T> class SignalOf final : public PortSignal {
public:
  explicit SignalOf(const char *name) : m_Signal(name) {}

  sc_core::sc_signal<T> &signal() { return m_Signal; }

  bool write(uint64_t value, std::string &error) override {
    using V = PortValue<T>;
    if (!fits_port(value, V::kWidth, V::kSigned)) {
      error = "value " + std::to_string(value) + " does not fit " + std::to_string(V::kWidth) +
              (V::kWidth == 1 ? " bit" : " bits");
      return false;
    }
    m_Signal.write(V::from_bits(value));
    return true;
  }

  bool read(uint64_t &value, std::string &error) const override {
    return PortValue<T>::to_bits(m_Signal.read(), value, error);
  }

private:
  sc_core::sc_signal<T> m_Signal;
};

template <class T> class PortTypeOf final : public PortType {
  using V = PortValue<T>;

public:
  PortTypeOf() : PortType(V::kWidth, V::kSigned, V::kFourState, V::kScalar) {}

  std::string cxx_name() const override;

  std::unique_ptr<PortSignal> bind(sc_core::sc_port_base &port, const char *name) const override {
    auto signal = std::make_unique<SignalOf<T>>(name);
    if (auto *in = dynamic_cast<sc_core::sc_port_b<sc_core::sc_signal_in_if<T>> *>(&port))
      in->bind(signal->signal());
    else if (auto *inout = dynamic_cast<sc_core::sc_port_b<sc_core::sc_signal_inout_if<T>> *>(&port))
      inout->bind(signal->signal());
    else
      return nullptr;
    return signal;
  }
};

/// The demangled name of \p type.
std::string demangled_name(const std::type_info &type);

template <class T> std::string PortTypeOf<T>::cxx_name() const { return demangled_name(typeid(T)); }

/// Every known data type, found by the interface type of a port.
class PortTypeTable {
public:
  struct Entry {
    const PortType *type;
    bool inout; ///< Found through sc_signal_inout_if rather than sc_signal_in_if.
  };

  template <class T> void add() {
    m_Types.push_back(std::make_unique<PortTypeOf<T>>());
    m_ByInterface.emplace(typeid(sc_core::sc_signal_in_if<T>), Entry{m_Types.back().get(), false});
    m_ByInterface.emplace(typeid(sc_core::sc_signal_inout_if<T>), Entry{m_Types.back().get(), true});
  }

  /// Adds F<1> to F<64>.
  template <template <int> class F> void add_widths() {
    [this]<int... N>(std::integer_sequence<int, N...>) {
      (add<F<N + 1>>(), ...);
    }(std::make_integer_sequence<int, 64>());
  }

  const Entry *find(const std::type_index &interfaceType) const {
    auto it = m_ByInterface.find(interfaceType);
    return it == m_ByInterface.end() ? nullptr : &it->second;
  }

private:
  std::vector<std::unique_ptr<PortType>> m_Types;
  std::unordered_map<std::type_index, Entry> m_ByInterface;
};

void add_uint_port_types(PortTypeTable &table);
void add_int_port_types(PortTypeTable &table);
void add_bv_port_types(PortTypeTable &table);
void add_lv_port_types(PortTypeTable &table);

} // namespace corvane_sc

#endif
