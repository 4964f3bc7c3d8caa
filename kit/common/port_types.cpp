#include "kit/common/port_types.h"

#include <systemc>

#include <cxxabi.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace corvane_sc {

namespace {

struct Scalar {
  const char *name;
  unsigned width;
  bool isSigned;
  ValueKind kind;
  bool scalar;
};

// The C++ types by the demangler's spelling; char is signed on this
// platform.
constexpr Scalar kScalars[] = {
    {"bool", 1, false, ValueKind::TwoState, true},
    {"sc_dt::sc_logic", 1, false, ValueKind::FourState, true},
    {"char", 8, true, ValueKind::TwoState, false},
    {"signed char", 8, true, ValueKind::TwoState, false},
    {"unsigned char", 8, false, ValueKind::TwoState, false},
    {"short", 16, true, ValueKind::TwoState, false},
    {"unsigned short", 16, false, ValueKind::TwoState, false},
    {"int", 32, true, ValueKind::TwoState, false},
    {"unsigned int", 32, false, ValueKind::TwoState, false},
    {"long", 64, true, ValueKind::TwoState, false},
    {"unsigned long", 64, false, ValueKind::TwoState, false},
    {"long long", 64, true, ValueKind::TwoState, false},
    {"unsigned long long", 64, false, ValueKind::TwoState, false},
    {"double", 64, false, ValueKind::Real, false},
    {"float", 32, false, ValueKind::Real, false},
};

struct Family {
  const char *name;
  unsigned maxWidth;
  bool isSigned;
  ValueKind kind;
};

// Far beyond any bus, and small enough that a signal of it is no burden.
constexpr unsigned kWidestVector = 1u << 20;

constexpr Family kFamilies[] = {
    {"sc_dt::sc_uint", 64, false, ValueKind::TwoState},
    {"sc_dt::sc_int", 64, true, ValueKind::TwoState},
    {"sc_dt::sc_bv", kWidestVector, false, ValueKind::TwoState},
    {"sc_dt::sc_lv", kWidestVector, false, ValueKind::FourState},
    {"sc_dt::sc_biguint", kWidestVector, false, ValueKind::TwoState},
    {"sc_dt::sc_bigint", kWidestVector, true, ValueKind::TwoState},
};

bool strip(std::string_view &text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) != prefix)
    return false;
  text.remove_prefix(prefix.size());
  return true;
}

/// Fills the data type part of \p shape from \p type, the demangled data
/// type; the spelling kept is rebuilt from the table, never copied.
void classify_data_type(std::string_view type, PortShape &shape) {
  for (const Scalar &s : kScalars)
    if (type == s.name) {
      shape = {true, shape.resolved, shape.direction, s.kind, s.width, s.isSigned, s.scalar, s.name};
      return;
    }
  for (const Family &f : kFamilies) {
    std::string_view rest = type;
    if (!strip(rest, f.name) || !strip(rest, "<") || rest.empty() || rest.back() != '>')
      continue;
    rest.remove_suffix(1);
    unsigned width = 0;
    auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), width);
    if (error != std::errc() || end != rest.data() + rest.size() || width < 1 || width > f.maxWidth)
      return;
    shape = {true, shape.resolved, shape.direction, f.kind, width, f.isSigned, false,
             std::string(f.name) + "<" + std::to_string(width) + ">"};
    return;
  }
}

std::string demangled_name(const char *mangled) {
  int status = 0;
  char *name = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
  if (status != 0 || !name)
    return mangled;
  std::string text = name;
  std::free(name);
  return text;
}

} // namespace

const char *direction_name(PortDirection direction) {
  switch (direction) {
  case PortDirection::Input:
    return "input";
  case PortDirection::Output:
    return "output";
  case PortDirection::InOut:
    return "inout";
  }
  return "?";
}

std::string PortShape::sv_type() const {
  if (!known || resolved)
    return "";
  if (kind == ValueKind::Real)
    // An inout is a net, and a net cannot be real.
    return direction == PortDirection::InOut ? "" : width == 64 ? "real" : "shortreal";
  // SystemVerilog wants nets on inout ports, and a net's data type is
  // 4-state by nature.
  std::string text = direction == PortDirection::InOut      ? "wire"
                     : kind == ValueKind::FourState ? "logic"
                                                    : "bit";
  if (isSigned)
    text += " signed";
  if (!scalar)
    text += " [" + std::to_string(width - 1) + ":0]";
  return text;
}

PortShape classify_port(const sc_core::sc_port_base &port) {
  PortShape shape;
  const char *kind = port.kind();
  shape.resolved = std::strstr(kind, "_resolved") || std::strstr(kind, "_rv");
  const std::string interface = demangled_name(port.get_interface_type().name());
  std::string_view type = interface;
  if (strip(type, "sc_core::sc_signal_in_if<"))
    shape.direction = PortDirection::Input;
  else if (strip(type, "sc_core::sc_signal_inout_if<"))
    shape.direction = std::strncmp(kind, "sc_out", 6) == 0 ? PortDirection::Output : PortDirection::InOut;
  else
    return shape;
  // The demangler closes a template that ends in a template with "> >".
  if (type.size() < 2 || type.back() != '>')
    return shape;
  type.remove_suffix(type.size() > 2 && type[type.size() - 2] == ' ' ? 2 : 1);
  classify_data_type(type, shape);
  return shape;
}

std::string cxx_type_name(const sc_core::sc_object &object) { return demangled_name(typeid(object).name()); }

} // namespace corvane_sc

namespace corvane_sc {

PortShape classify_signal(const sc_core::sc_object &channel) {
  PortShape shape;
  // A clock is a signal of bool that drives itself.
  if (dynamic_cast<const sc_core::sc_clock *>(&channel)) {
    classify_data_type("bool", shape);
    return shape;
  }
  const std::string name = cxx_type_name(channel);
  std::string_view type = name;
  if (!strip(type, "sc_core::sc_signal<") && !strip(type, "sc_core::sc_buffer<"))
    return shape;
  // The data type, then the writer policy: "T, (sc_core::sc_writer_policy)0>".
  const size_t policy = type.rfind(", (sc_core::sc_writer_policy)");
  if (policy == std::string_view::npos)
    return shape;
  type = type.substr(0, policy);
  if (type.size() > 1 && type.back() == ' ')
    type.remove_suffix(1);
  classify_data_type(type, shape);
  return shape;
}

} // namespace corvane_sc
