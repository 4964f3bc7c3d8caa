#ifndef CORVANE_KIT_PORT_TYPES_H
#define CORVANE_KIT_PORT_TYPES_H

/// \file
/// The data types that ports of exported modules may carry, told from
/// SystemC's own port and interface types: an sc_in<T> is an
/// sc_port_b<sc_signal_in_if<T>>, an sc_out<T> or sc_inout<T> an
/// sc_port_b<sc_signal_inout_if<T>>, and every port names its interface
/// type.  The data type is read from that interface type's name as the
/// compiler's demangler spells it, so that any width of any family is
/// known without a table of instantiations; the signals themselves come
/// from the glue generated for the design (corvane_sc_glue.h).

#include <cstdint>
#include <string>

namespace sc_core {
class sc_object;
class sc_port_base;
} // namespace sc_core

namespace corvane_sc {

enum class PortDirection { Input, Output, InOut };

/// "input", "output" or "inout".
const char *direction_name(PortDirection direction);

/// How a data type's values look from outside.
enum class ValueKind {
  TwoState,  ///< bool, C++ integers, sc_uint, sc_int, sc_bv, sc_biguint, sc_bigint.
  FourState, ///< sc_logic, sc_lv.
  Real,      ///< double, float.
};

/// What a port carries and which way.
struct PortShape {
  bool known = false;    ///< The data type is one of the mapped ones.
  bool resolved = false; ///< sc_in_resolved, sc_inout_rv<N>, ...: wants a resolved signal.
  PortDirection direction = PortDirection::Input;
  ValueKind kind = ValueKind::TwoState;
  unsigned width = 0;
  bool isSigned = false;
  bool scalar = false;   ///< bool, sc_logic: no range.
  std::string cxxType;   ///< The data type as C++ code names it: "sc_dt::sc_uint<8>".

  /// 64-bit words that a value takes (0 for a real).
  unsigned words() const { return kind == ValueKind::Real ? 0 : (width + 63) / 64; }

  /// The type of the SystemVerilog port declaration: "bit", "logic [3:0]",
  /// "bit signed [199:0]", "real", "shortreal"; inouts are nets ("wire
  /// [3:0]").  Empty when SystemVerilog has none (a data type outside the
  /// table, a resolved port, a real inout).
  std::string sv_type() const;
};

/// Tells what \p port carries.
PortShape classify_port(const sc_core::sc_port_base &port);

/// Tells what \p channel carries when it is an sc_signal<T> or an
/// sc_buffer<T> (any writer policy) or an sc_clock; not known for any
/// other channel, another class derived from one included.  The direction
/// is Input.
PortShape classify_signal(const sc_core::sc_object &channel);

/// The dynamic C++ type of \p object as the compiler names it, for
/// messages: "sc_core::sc_in<std::string>".
std::string cxx_type_name(const sc_core::sc_object &object);

} // namespace corvane_sc

#endif
