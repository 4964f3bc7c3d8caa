// The per-module DPI-C glue that wrapper.sv's bodies import
// (corvane_sc_dpi.h): typed, allocation-free functions over the runtime's
// core, compiled into the library by its start-up source.

#include "kit/generator/writers/crossing.h"

#include <string>

namespace corvane_sc {

namespace {

/// The C type of the DPI argument for \p c, an input or an output.
std::string c_argument(const Crossing &c, bool output) {
  const char *pointer = output ? " *" : " ";
  switch (c.form) {
  case Crossing::Bit: return std::string("svBit") + pointer;
  case Crossing::Logic: return std::string("svLogic") + pointer;
  case Crossing::Word: return output ? "svBitVecVal *" : c.isSigned ? "int64_t " : "uint64_t ";
  case Crossing::Bits: return output ? "svBitVecVal *" : "const svBitVecVal *";
  case Crossing::LogicBits: return output ? "svLogicVecVal *" : "const svLogicVecVal *";
  case Crossing::Real: return std::string("double") + pointer;
  }
  return "";
}

} // namespace

std::string render_dpi_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The DPI-C functions of wrapper.sv, written by the wrapper generator for\n"
                     "// the co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_dpi.h\"\n\n"
                     "#include <vector>\n";
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    const std::string ports = "Ports" + std::to_string(m);
    std::string members, binds, parameters, outputs, writes, reads;
    for (size_t i = 0; i < module.ports.size(); ++i) {
      const WrapperPort &port = module.ports[i];
      if (!mapped(port))
        continue;
      const std::string n = std::to_string(i), type = port.shape.cxxType;
      const Crossing c = crossing(port.shape);
      const bool viaBits = c.form == Crossing::Bits && !is_bit_vector(port.shape);
      members += "  corvane_sc::PortChannel<" + type + "> *p" + n + ";\n  " + type + " v" + n + ";\n";
      if (viaBits)
        members += "  sc_dt::sc_bv<" + std::to_string(c.width) + "> b" + n + ";\n";
      binds += " &&\n      corvane_sc::runtime::bind(instance, " + n + ", ports.p" + n + ")";
      const std::string in = "in" + n, out = "out" + n, p = "ports->p" + n, v = "ports->v" + n;
      if (is_input(port.shape)) {
        parameters += ", " + c_argument(c, false) + in;
        switch (c.form) {
        case Crossing::Bit:
        case Crossing::Logic: {
          const std::string raw = in + (c.form == Crossing::Bit ? " & 1" : " & 3");
          const std::string put = "written |= corvane_sc::runtime::put(*" + p + ", " +
                                  (c.form == Crossing::Bit
                                       ? raw
                                       : "sc_dt::sc_logic(static_cast<sc_dt::sc_logic_value_t>(" + raw + "))") +
                                  ");\n";
          // A one-bit input that a crossing finds as the last crossing left
          // it does not touch its signal, which costs a cache miss per
          // instance and input (an enable, a reset) in a design of many
          // instances.  An inout is left out: the model writes it too.
          if (is_output(port.shape)) {
            writes += "        " + put;
          } else {
            const std::string last = "ports->l" + n;
            members += "  uint8_t l" + n + " = 0xff;\n";
            writes += "        if ((" + raw + ") != " + last + ") {\n          " + last + " = " + raw + ";\n          " +
                      put + "        }\n";
          }
          break;
        }
        case Crossing::Word:
          writes += "        corvane_sc::runtime::from_u64(" + v + ", " + in + ");\n        written |= corvane_sc::runtime::put(*" +
                    p + ", " + v + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            writes += "        corvane_sc::dpi::from_words(ports->b" + n + ", " + in + ");\n        " + v +
                      " = ports->b" + n + ";\n";
          else
            writes += "        corvane_sc::dpi::from_words(" + v + ", " + in + ");\n";
          writes += "        written |= corvane_sc::runtime::put(*" + p + ", " + v + ");\n";
          break;
        case Crossing::LogicBits:
          writes += "        corvane_sc::dpi::from_logic(" + v + ", " + in +
                    ");\n        written |= corvane_sc::runtime::put(*" + p + ", " + v + ");\n";
          break;
        case Crossing::Real:
          writes += "        written |= corvane_sc::runtime::put(*" + p + ", static_cast<" + type + ">(" + in + "));\n";
          break;
        }
      }
      if (is_output(port.shape)) {
        parameters += ", " + c_argument(c, true) + out;
        outputs += ", " + c_argument(c, true) + out;
        switch (c.form) {
        case Crossing::Bit: reads += "        *" + out + " = " + p + "->current();\n"; break;
        case Crossing::Logic: reads += "        *" + out + " = " + p + "->current().value();\n"; break;
        case Crossing::Word:
          reads += "        corvane_sc::dpi::put_word(corvane_sc::runtime::to_u64(" + p + "->current()), " +
                   std::to_string(c.width) + ", " + out + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            reads += "        ports->b" + n + " = " + p + "->current();\n        corvane_sc::dpi::to_words(ports->b" +
                     n + ", " + out + ");\n";
          else
            reads += "        corvane_sc::dpi::to_words(" + p + "->current(), " + out + ");\n";
          break;
        case Crossing::LogicBits: reads += "        corvane_sc::dpi::to_logic(" + p + "->current(), " + out + ");\n"; break;
        case Crossing::Real: reads += "        *" + out + " = " + p + "->current();\n"; break;
        }
      }
    }
    const std::string table = "table" + std::to_string(m), name = "\"" + module.name + "\"";
    text += "\nnamespace {\n\nstruct " + ports + " {\n" + members + "};\n\nstd::vector<" + ports + "> &" + table +
            " = *new std::vector<" + ports + ">;\n\n} // namespace\n\n" +
            "extern \"C\" int " + dpi_function(module, "new") + "(const char *path) {\n" +
            "  corvane_sc_instance *instance = corvane_sc::runtime::instantiate(" + name + ", path);\n" +
            "  " + ports + " ports{};\n" +
            "  if (!instance" + (binds.empty() ? "" : " ||\n      !(true" + binds + ")") + ")\n    return -1;\n" +
            "  " + table + ".push_back(ports);\n" +
            "  return static_cast<int>(" + table + ".size() - 1);\n}\n\n" +
            "extern \"C\" int " + dpi_function(module, "eval") + "(int handle, int64_t now_ps, svBit run" +
            parameters + ", int64_t *next_ps) {\n" +
            "  " + ports + " *ports = corvane_sc::runtime::find(" + table + ", handle, " + name + ");\n" +
            "  if (!ports)\n    return -1;\n" +
            "  return corvane_sc::runtime::evaluate(\n      now_ps, run, next_ps,\n      [&] {\n        bool written = false;\n" + writes +
            "        return written;\n      },\n      [&] {\n" + reads + "      });\n}\n\n" +
            "extern \"C\" int " + dpi_function(module, "cross") + "(int handle, int64_t now_ps" + parameters + ") {\n" +
            "  " + ports + " *ports = corvane_sc::runtime::find(" + table + ", handle, " + name + ");\n" +
            "  if (!ports)\n    return -1;\n" +
            "  return corvane_sc::runtime::cross(\n      now_ps,\n      [&] {\n        bool written = false;\n" + writes +
            "        return written;\n      },\n      [&] {\n" + reads + "      });\n}\n";
    if (!outputs.empty())
      text += "\nextern \"C\" void " + dpi_function(module, "read") + "(int handle" + outputs + ") {\n" +
              "  " + ports + " *ports = corvane_sc::runtime::find(" + table + ", handle, " + name + ");\n" +
              "  if (ports) {\n" + reads + "  }\n}\n";
  }
  return text;
}

} // namespace corvane_sc
