#include "kit/src/port_types.h"

#include "kit/src/port_type_family.h"

#include <cxxabi.h>

#include <cstdlib>
#include <cstring>

namespace corvane_sc {

namespace {

const PortTypeTable &table() {
  static const PortTypeTable types = [] {
    PortTypeTable t;
    t.add<bool>();
    t.add<sc_dt::sc_logic>();
    t.add<char>();
    t.add<signed char>();
    t.add<unsigned char>();
    t.add<short>();
    t.add<unsigned short>();
    t.add<int>();
    t.add<unsigned int>();
    t.add<long>();
    t.add<unsigned long>();
    t.add<long long>();
    t.add<unsigned long long>();
    add_uint_port_types(t);
    add_int_port_types(t);
    add_bv_port_types(t);
    add_lv_port_types(t);
    return t;
  }();
  return types;
}

bool starts_with(const char *text, const char *prefix) {
  return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
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

std::string PortType::sv_type(PortDirection direction) const {
  // SystemVerilog wants nets on inout ports, and a net's data type is
  // 4-state by nature.
  std::string text = direction == PortDirection::InOut ? "wire" : m_FourState ? "logic" : "bit";
  if (m_Signed)
    text += " signed";
  if (!m_Scalar)
    text += " [" + std::to_string(m_Width - 1) + ":0]";
  return text;
}

bool fits_port(uint64_t value, unsigned width, bool isSigned) {
  if (width >= 64)
    return true;
  const uint64_t mask = (uint64_t(1) << width) - 1;
  if (value <= mask)
    return true;
  // Only a signed port takes a number above its range: the sign extension
  // of a negative one, all ones from the sign bit up.
  const uint64_t high = ~(mask >> 1);
  return isSigned && (value & high) == high;
}

PortShape classify_port(const sc_core::sc_port_base &port) {
  PortShape shape;
  const char *kind = port.kind();
  shape.resolved = std::strstr(kind, "_resolved") || std::strstr(kind, "_rv");
  const PortTypeTable::Entry *entry = table().find(port.get_interface_type());
  if (!entry)
    return shape;
  shape.type = entry->type;
  if (!entry->inout)
    shape.direction = PortDirection::Input;
  else
    shape.direction = starts_with(kind, "sc_out") ? PortDirection::Output : PortDirection::InOut;
  return shape;
}

std::string demangled_name(const std::type_info &type) {
  int status = 0;
  char *name = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
  if (status != 0 || !name)
    return type.name();
  std::string text = name;
  std::free(name);
  return text;
}

std::string cxx_type_name(const sc_core::sc_object &object) { return demangled_name(typeid(object)); }

} // namespace corvane_sc
