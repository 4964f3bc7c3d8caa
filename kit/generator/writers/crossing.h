#ifndef CORVANE_KIT_WRITERS_CROSSING_H
#define CORVANE_KIT_WRITERS_CROSSING_H

/// \file
/// How a port's values cross between the HDL and the model, as the writers
/// of the wrappers and of the per-module glue see it: the argument form of
/// each port, from the description of the module alone.

#include "kit/generator/wrapper_writer.h"

#include <string>

namespace corvane_sc {

/// How one port crosses: its DPI argument types on both sides.
struct Crossing {
  enum Form { Bit, Logic, Word, Bits, LogicBits, Real } form;
  unsigned width;
  bool isSigned;
};

inline Crossing crossing(const PortShape &shape) {
  if (shape.kind == ValueKind::Real)
    return {Crossing::Real, shape.width, false};
  if (shape.kind == ValueKind::FourState)
    return {shape.scalar ? Crossing::Logic : Crossing::LogicBits, shape.width, false};
  if (shape.scalar)
    return {Crossing::Bit, 1, false};
  return {shape.width <= 64 ? Crossing::Word : Crossing::Bits, shape.width, shape.isSigned};
}

/// The enumerator's name, as the generated glue spells a form.
inline const char *form_name(Crossing::Form form) {
  switch (form) {
  case Crossing::Bit: return "Bit";
  case Crossing::Logic: return "Logic";
  case Crossing::Word: return "Word";
  case Crossing::Bits: return "Bits";
  case Crossing::LogicBits: return "LogicBits";
  case Crossing::Real: return "Real";
  }
  return "";
}

inline bool is_input(const PortShape &shape) { return shape.direction != PortDirection::Output; }
inline bool is_output(const PortShape &shape) { return shape.direction != PortDirection::Input; }

inline bool mapped(const WrapperPort &port) { return !port.shape.sv_type().empty(); }

inline bool is_bit_vector(const PortShape &shape) { return shape.cxxType.rfind("sc_dt::sc_bv<", 0) == 0; }

inline std::string dpi_function(const WrapperModule &module, const char *what) {
  return "corvane_sc_dpi_" + module.name + "_" + what;
}

inline std::string vhpi_function(const WrapperModule &module, const char *what) {
  return "corvane_sc_vhpi_" + module.name + "_" + what;
}

} // namespace corvane_sc

#endif
