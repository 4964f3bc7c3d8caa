#ifndef CORVANE_KIT_PORT_TYPES_H
#define CORVANE_KIT_PORT_TYPES_H

/// \file
/// The data types that ports of exported modules may carry, found through
/// SystemC's own port and interface types: an sc_in<T> is an
/// sc_port_b<sc_signal_in_if<T>>, an sc_out<T> or sc_inout<T> an
/// sc_port_b<sc_signal_inout_if<T>>, and every port names its interface
/// type.  For each data type the table knows its SystemVerilog shape and
/// how to make a signal of it that holds a 64-bit value, which bounds it to
/// bool, sc_logic, the C++ integer types, and sc_uint, sc_int, sc_bv and
/// sc_lv of 1 to 64 bits.

#include <cstdint>
#include <memory>
#include <string>

namespace sc_core {
class sc_object;
class sc_port_base;
} // namespace sc_core

namespace corvane_sc {

enum class PortDirection { Input, Output, InOut };

/// "input", "output" or "inout".
const char *direction_name(PortDirection direction);

/// A signal that the co-simulation owns and has bound to one port, seen
/// through 64-bit values (the rules are those of corvane_sc_cosim.h).
class PortSignal {
public:
  virtual ~PortSignal() = default;
  /// Writes \p value; false with \p error set when it does not fit.
  virtual bool write(uint64_t value, std::string &error) = 0;
  /// The signal's current value; false with \p error set when it holds X
  /// or Z bits.
  virtual bool read(uint64_t &value, std::string &error) const = 0;
};

/// One data type that ports can carry.
class PortType {
public:
  PortType(unsigned width, bool isSigned, bool fourState, bool scalar)
      : m_Width(width), m_Signed(isSigned), m_FourState(fourState), m_Scalar(scalar) {}
  virtual ~PortType() = default;

  unsigned width() const { return m_Width; }
  bool is_signed() const { return m_Signed; }

  /// The data type as C++ names it: "bool", "sc_dt::sc_uint<8>".
  virtual std::string cxx_name() const = 0;

  /// The type of a SystemVerilog port declaration in \p direction: "bit",
  /// "logic", "bit [7:0]", "bit signed [31:0]", "logic [3:0]"; inouts are
  /// nets: "wire", "wire signed [11:0]".
  std::string sv_type(PortDirection direction) const;

  /// Makes a signal of this type named \p name and binds \p port, which
  /// carries this type, to it.  Throws what SystemC throws.
  virtual std::unique_ptr<PortSignal> bind(sc_core::sc_port_base &port, const char *name) const = 0;

private:
  unsigned m_Width;
  bool m_Signed;
  bool m_FourState; ///< sc_logic, sc_lv: logic rather than bit.
  bool m_Scalar;    ///< bool, sc_logic: no range.
};

/// What a port carries and which way.
struct PortShape {
  const PortType *type = nullptr; ///< Null for a data type outside the table.
  PortDirection direction = PortDirection::Input;
  bool resolved = false; ///< sc_in_resolved, sc_inout_rv<N>, ...: wants a resolved signal.
};

/// Looks \p port up by its interface type; an sc_out-like port (kind
/// "sc_out...") of an inout interface is an output.
PortShape classify_port(const sc_core::sc_port_base &port);

/// The dynamic C++ type of \p object as the compiler names it, for
/// messages: "sc_core::sc_in<double>".
std::string cxx_type_name(const sc_core::sc_object &object);

} // namespace corvane_sc

#endif
