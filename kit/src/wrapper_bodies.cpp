// The bodies of the wrapper modules and the DPI-C glue that they call
// (corvane_sc_dpi.h): both come from the same port list, so the argument
// lists of the SystemVerilog imports and of the C functions match by
// construction.

#include "kit/src/wrapper_writer.h"

#include <string>

namespace corvane_sc {

namespace {

/// How one port crosses: its DPI argument types on both sides.
struct Crossing {
  enum Form { Bit, Logic, Word, Bits, LogicBits, Real } form;
  unsigned width;
  bool isSigned;
};

Crossing crossing(const PortShape &shape) {
  if (shape.kind == ValueKind::Real)
    return {Crossing::Real, shape.width, false};
  if (shape.kind == ValueKind::FourState)
    return {shape.scalar ? Crossing::Logic : Crossing::LogicBits, shape.width, false};
  if (shape.scalar)
    return {Crossing::Bit, 1, false};
  return {shape.width <= 64 ? Crossing::Word : Crossing::Bits, shape.width, shape.isSigned};
}

bool is_input(const PortShape &shape) { return shape.direction != PortDirection::Output; }
bool is_output(const PortShape &shape) { return shape.direction != PortDirection::Input; }

/// The SystemVerilog type of the DPI argument for \p c.  A word goes in
/// as a 64-bit number and comes back at its own width, so that the output
/// holds nothing that the port does not.
std::string sv_argument(const Crossing &c, bool output) {
  const std::string range = "[" + std::to_string(c.width - 1) + ":0]";
  switch (c.form) {
  case Crossing::Bit: return "bit";
  case Crossing::Logic: return "logic";
  case Crossing::Word:
    if (output)
      return c.isSigned ? "bit signed " + range : "bit " + range;
    return c.isSigned ? "longint" : "longint unsigned";
  case Crossing::Bits: return "bit " + range;
  case Crossing::LogicBits: return "logic " + range;
  case Crossing::Real: return "real";
  }
  return "";
}

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

bool mapped(const WrapperPort &port) { return !port.shape.sv_type().empty(); }

bool is_bit_vector(const PortShape &shape) { return shape.cxxType.rfind("sc_dt::sc_bv<", 0) == 0; }

std::string dpi_function(const WrapperModule &module, const char *what) {
  return "corvane_sc_dpi_" + module.name + "_" + what;
}

} // namespace

std::string render_module_body(const WrapperModule &module) {
  std::string imports, arguments, scratch, drives, sensitivity;
  for (const WrapperPort &port : module.ports) {
    if (!mapped(port))
      continue;
    const Crossing c = crossing(port.shape);
    if (is_input(port.shape)) {
      imports += ",\n    input " + sv_argument(c, false) + " " + port.name;
      arguments += ", " + (c.form == Crossing::Word ? "64'(" + port.name + ")" : port.name);
      sensitivity += (sensitivity.empty() ? "" : ", ") + port.name;
    }
    if (is_output(port.shape)) {
      const std::string model = "sc$" + port.name;
      imports += ",\n    output " + sv_argument(c, true) + " " + model;
      arguments += ", " + model;
      scratch += "  " + sv_argument(c, true) + " " + model + ";\n";
      const std::string &value = model;
      if (port.shape.direction == PortDirection::InOut)
        scratch += "  assign " + port.name + " = " + value + ";\n";
      else
        drives += "  always @(" + model + ")\n    " + port.name + " <= " + value + ";\n";
    }
  }
  const std::string eval = dpi_function(module, "eval");
  std::string text =
      "  timeunit 1ps;\n"
      "  timeprecision 1ps;\n"
      "  import \"DPI-C\" function int " + dpi_function(module, "new") + "(input string path);\n"
      "  import \"DPI-C\" function int " + eval + "(input int sc$handle, input longint sc$now, input bit sc$run" +
      imports + ",\n    output longint sc$next);\n"
      "  import \"DPI-C\" function string corvane_sc_dpi_error();\n\n"
      "  int sc$handle = -1;\n"
      "`ifdef CORVANE_SC_TIMED\n"
      "  longint sc$armed = -1;\n"
      "  real sc$unit = 0;\n"
      "  event sc$rearm;\n"
      "`endif\n" +
      scratch +
      "\n"
      "  function automatic void sc$eval(bit sc$run);\n"
      "`ifndef CORVANE_SC_TIMED\n"
      "    // verilator lint_off UNUSEDSIGNAL\n"
      "`endif\n"
      "    longint sc$next;\n"
      "    // verilator lint_on UNUSEDSIGNAL\n"
      "    int sc$status = " + eval + "(sc$handle, $time, sc$run" + arguments + ", sc$next);\n"
      "    if (sc$status < 0)\n"
      "      $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
      "    if (sc$status > 0)\n"
      "      $finish;\n"
      "`ifdef CORVANE_SC_TIMED\n"
      "    if (sc$unit > 0 && sc$next >= 0 && (sc$armed < 0 || sc$next < sc$armed)) begin\n"
      "      sc$armed = sc$next;\n"
      "      -> sc$rearm;\n"
      "    end\n"
      "`endif\n"
      "  endfunction\n\n"
      "`ifdef CORVANE_SC_TIMED\n"
      "  // A wake-up for the time armed last; one that an earlier one replaced\n"
      "  // finds another time armed when it wakes, and ends.\n"
      "  always @(sc$rearm)\n"
      "    fork\n"
      "      begin\n"
      "        automatic longint sc$at = sc$armed;\n"
      "        #(real'(sc$at - longint'($time)) / sc$unit);\n"
      "        if (sc$at == sc$armed) begin\n"
      "          sc$armed = -1;\n"
      "          sc$eval(1);\n"
      "        end\n"
      "      end\n"
      "    join_none\n"
      "`endif\n\n"
      "  initial begin\n"
      "    sc$handle = " + dpi_function(module, "new") + "($sformatf(\"%m\"));\n"
      "    if (sc$handle < 0)\n"
      "      $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
      "    sc$eval(0);\n"
      "`ifdef CORVANE_SC_TIMED\n"
      "    begin\n"
      "      real sc$before, sc$probe = 1e-15;\n"
      "      forever begin\n"
      "        sc$before = $realtime;\n"
      "        #(sc$probe);\n"
      "        sc$eval(1);\n"
      "        if ($realtime > sc$before)\n"
      "          break;\n"
      "        sc$probe = sc$probe * 10;\n"
      "      end\n"
      "      sc$unit = ($realtime - sc$before) / sc$probe;\n"
      "    end\n"
      "    sc$eval(1);\n"
      "`endif\n"
      "  end\n";
  text += drives;
  if (!sensitivity.empty())
    text += "\n  always @(" + sensitivity + ")\n    if (sc$handle >= 0)\n      sc$eval(1);\n";
  return text;
}

std::string render_dpi_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The DPI-C functions of wrapper.sv, written by the wrapper generator for\n"
                     "// the co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_dpi.h\"\n\n"
                     "#include <vector>\n";
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    const std::string ports = "Ports" + std::to_string(m);
    std::string members, binds, parameters, writes, reads;
    for (size_t i = 0; i < module.ports.size(); ++i) {
      const WrapperPort &port = module.ports[i];
      if (!mapped(port))
        continue;
      const std::string n = std::to_string(i), type = port.shape.cxxType;
      const Crossing c = crossing(port.shape);
      const bool viaBits = c.form == Crossing::Bits && !is_bit_vector(port.shape);
      members += "  sc_core::sc_signal<" + type + "> *p" + n + ";\n  " + type + " v" + n + ";\n";
      if (viaBits)
        members += "  sc_dt::sc_bv<" + std::to_string(c.width) + "> b" + n + ";\n";
      binds += " &&\n      corvane_sc::dpi::bind(instance, " + n + ", ports.p" + n + ")";
      const std::string in = "in" + n, out = "out" + n, p = "ports->p" + n, v = "ports->v" + n;
      if (is_input(port.shape)) {
        parameters += ", " + c_argument(c, false) + in;
        switch (c.form) {
        case Crossing::Bit: writes += "        written |= corvane_sc::dpi::put(*" + p + ", " + in + " & 1);\n"; break;
        case Crossing::Logic:
          writes += "        written |= corvane_sc::dpi::put(*" + p +
                    ", sc_dt::sc_logic(static_cast<sc_dt::sc_logic_value_t>(" + in + " & 3)));\n";
          break;
        case Crossing::Word:
          writes += "        corvane_sc::dpi::from_u64(" + v + ", " + in + ");\n        written |= corvane_sc::dpi::put(*" +
                    p + ", " + v + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            writes += "        corvane_sc::dpi::from_words(ports->b" + n + ", " + in + ");\n        " + v +
                      " = ports->b" + n + ";\n";
          else
            writes += "        corvane_sc::dpi::from_words(" + v + ", " + in + ");\n";
          writes += "        written |= corvane_sc::dpi::put(*" + p + ", " + v + ");\n";
          break;
        case Crossing::LogicBits:
          writes += "        corvane_sc::dpi::from_logic(" + v + ", " + in +
                    ");\n        written |= corvane_sc::dpi::put(*" + p + ", " + v + ");\n";
          break;
        case Crossing::Real:
          writes += "        written |= corvane_sc::dpi::put(*" + p + ", static_cast<" + type + ">(" + in + "));\n";
          break;
        }
      }
      if (is_output(port.shape)) {
        parameters += ", " + c_argument(c, true) + out;
        switch (c.form) {
        case Crossing::Bit: reads += "        *" + out + " = " + p + "->read();\n"; break;
        case Crossing::Logic: reads += "        *" + out + " = " + p + "->read().value();\n"; break;
        case Crossing::Word:
          reads += "        corvane_sc::dpi::put_word(corvane_sc::dpi::to_u64(" + p + "->read()), " +
                   std::to_string(c.width) + ", " + out + ");\n";
          break;
        case Crossing::Bits:
          if (viaBits)
            reads += "        ports->b" + n + " = " + p + "->read();\n        corvane_sc::dpi::to_words(ports->b" +
                     n + ", " + out + ");\n";
          else
            reads += "        corvane_sc::dpi::to_words(" + p + "->read(), " + out + ");\n";
          break;
        case Crossing::LogicBits: reads += "        corvane_sc::dpi::to_logic(" + p + "->read(), " + out + ");\n"; break;
        case Crossing::Real: reads += "        *" + out + " = " + p + "->read();\n"; break;
        }
      }
    }
    const std::string table = "table" + std::to_string(m), name = "\"" + module.name + "\"";
    text += "\nnamespace {\n\nstruct " + ports + " {\n" + members + "};\n\nstd::vector<" + ports + "> &" + table +
            "() {\n  static auto &all = *new std::vector<" + ports + ">;\n  return all;\n}\n\n} // namespace\n\n" +
            "extern \"C\" int " + dpi_function(module, "new") + "(const char *path) {\n" +
            "  corvane_sc_instance *instance = corvane_sc::dpi::instantiate(" + name + ", path);\n" +
            "  " + ports + " ports{};\n" +
            "  if (!instance" + (binds.empty() ? "" : " ||\n      !(true" + binds + ")") + ")\n    return -1;\n" +
            "  " + table + "().push_back(ports);\n" +
            "  return static_cast<int>(" + table + "().size() - 1);\n}\n\n" +
            "extern \"C\" int " + dpi_function(module, "eval") + "(int handle, int64_t now_ps, svBit run" +
            parameters + ", int64_t *next_ps) {\n" +
            "  " + ports + " *ports = corvane_sc::dpi::find(" + table + "(), handle, " + name + ");\n" +
            "  if (!ports)\n    return -1;\n" +
            "  return corvane_sc::dpi::evaluate(\n      now_ps, run, next_ps,\n      [&] {\n        bool written = false;\n" + writes +
            "        return written;\n      },\n      [&] {\n" + reads + "      });\n}\n";
  }
  return text;
}

} // namespace corvane_sc
