// The per-module VHPIDIRECT glue that wrapper.vhd's architectures call
// (corvane_sc_vhpidirect.h): typed, allocation-free procedures over the
// runtime's core, compiled into the library by its start-up source.

#include "kit/generator/writers/crossing.h"

#include <string>

namespace corvane_sc {

namespace {

/// The C type of the VHPIDIRECT argument for \p c, an input or an output.
std::string c_argument(const Crossing &c, bool output) {
  switch (c.form) {
  case Crossing::Bit:
  case Crossing::Logic: return output ? "uint8_t *" : "uint8_t ";
  case Crossing::Word:
  case Crossing::Bits:
  case Crossing::LogicBits: return output ? "uint8_t *" : "const uint8_t *";
  case Crossing::Real: return output ? "double *" : "double ";
  }
  return "";
}

} // namespace

std::string render_vhpi_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The VHPIDIRECT procedures of wrapper.vhd, written by the wrapper generator\n"
                     "// for the co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_vhpidirect.h\"\n\n"
                     "#include <vector>\n";
  const std::string vhpi = "corvane_sc::vhpidirect::", core = "corvane_sc::runtime::";
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    const std::string ports = "VhpiPorts" + std::to_string(m);
    std::string members, binds, parameters, writes, reads;
    for (size_t i = 0; i < module.ports.size(); ++i) {
      const WrapperPort &port = module.ports[i];
      if (!mapped(port))
        continue;
      const std::string n = std::to_string(i), type = port.shape.cxxType, width = std::to_string(port.shape.width);
      const Crossing c = crossing(port.shape);
      // Wide two-valued numbers go through an sc_bv of their width.
      const bool viaBits = c.form == Crossing::Bits && !is_bit_vector(port.shape);
      members += "  corvane_sc::PortChannel<" + type + "> *p" + n + ";\n  " + type + " v" + n + ";\n";
      if (viaBits)
        members += "  sc_dt::sc_bv<" + width + "> b" + n + ";\n";
      binds += " &&\n      " + core + "bind(instance, " + n + ", ports.p" + n + ")";
      const std::string in = "in" + n, out = "out" + n, p = "ports->p" + n, v = "ports->v" + n;
      const std::string put = "        written |= " + core + "put(*" + p + ", ";
      if (is_input(port.shape)) {
        parameters += ", " + c_argument(c, false) + in;
        switch (c.form) {
        case Crossing::Bit: writes += put + vhpi + "from_bit(" + in + "));\n"; break;
        case Crossing::Logic: writes += put + "sc_dt::sc_logic(" + vhpi + "from_logic(" + in + ")));\n"; break;
        case Crossing::Word:
          writes += "        " + core + "from_u64(" + v + ", " + vhpi + "from_word(" + in + ", " + width + "));\n" +
                    put + v + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            writes += "        " + vhpi + "from_bits(ports->b" + n + ", " + in + ");\n        " + v + " = ports->b" +
                      n + ";\n";
          else
            writes += "        " + vhpi + "from_bits(" + v + ", " + in + ");\n";
          writes += put + v + ");\n";
          break;
        case Crossing::LogicBits:
          writes += "        " + vhpi + "from_logic_bits(" + v + ", " + in + ");\n" + put + v + ");\n";
          break;
        case Crossing::Real: writes += put + "static_cast<" + type + ">(" + in + "));\n"; break;
        }
      }
      if (is_output(port.shape)) {
        parameters += ", " + c_argument(c, true) + out;
        switch (c.form) {
        case Crossing::Bit: reads += "        *" + out + " = " + vhpi + "to_bit(" + p + "->current());\n"; break;
        case Crossing::Logic: reads += "        *" + out + " = " + vhpi + "to_logic(" + p + "->current().value());\n"; break;
        case Crossing::Word:
          reads += "        " + vhpi + "to_word(" + core + "to_u64(" + p + "->current()), " + width + ", " + out + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            reads += "        ports->b" + n + " = " + p + "->current();\n        " + vhpi + "to_bits(ports->b" + n + ", " +
                     out + ");\n";
          else
            reads += "        " + vhpi + "to_bits(" + p + "->current(), " + out + ");\n";
          break;
        case Crossing::LogicBits: reads += "        " + vhpi + "to_logic_bits(" + p + "->current(), " + out + ");\n"; break;
        case Crossing::Real: reads += "        *" + out + " = " + p + "->current();\n"; break;
        }
      }
    }
    const std::string table = "vhpi_table" + std::to_string(m), name = "\"" + module.name + "\"";
    text += "\nnamespace {\n\nstruct " + ports + " {\n" + members + "};\n\nstd::vector<" + ports + "> &" + table +
            " = *new std::vector<" + ports + ">;\n\n} // namespace\n\n" +
            "extern \"C\" void " + vhpi_function(module, "new") +
            "(const corvane_sc_vhpi_string *path, int64_t ps, int32_t *handle) {\n" +
            "  corvane_sc_instance *instance = " + vhpi + "instantiate(" + name + ", path, ps);\n" +
            "  " + ports + " ports{};\n" + "  *handle = -1;\n" +
            "  if (!instance" + (binds.empty() ? "" : " ||\n      !(true" + binds + ")") + ")\n    return;\n" +
            "  " + table + ".push_back(ports);\n" +
            "  *handle = static_cast<int32_t>(" + table + ".size() - 1);\n}\n\n" +
            "extern \"C\" void " + vhpi_function(module, "eval") + "(int32_t handle, int64_t now, uint8_t run" +
            parameters + ", uint8_t *wake, int64_t *after, int32_t *status) {\n" +
            "  " + ports + " *ports = " + core + "find(" + table + ", handle, " + name + ");\n" +
            "  if (!ports) {\n    *status = -1;\n    return;\n  }\n" +
            "  *status = " + vhpi + "evaluate(\n      now, run, wake, after,\n      [&] {\n        bool written = false;\n" +
            writes + "        return written;\n      },\n      [&] {\n" + reads + "      });\n}\n";
  }
  return text;
}

} // namespace corvane_sc
