// The SystemVerilog writer: wrapper.sv, a module per exported module whose
// body reaches the SystemC model through DPI-C (corvane_sc_dpi.h).  The
// imports and the C functions of the glue (dpi_glue.cpp) come from the
// same description, so their argument lists match by construction.

#include "kit/generator/writers/crossing.h"
#include "kit/generator/writers/systemverilog_parts.h"

#include <string>

namespace corvane_sc {

namespace {

constexpr char kHeader[] =
    "// SystemVerilog wrappers of the SystemC modules exported by this build,\n"
    "// written by the wrapper generator.  The body of each module is its\n"
    "// SystemC model in libcorvanesc.so, reached through DPI-C; how values,\n"
    "// time, X and Z, names and errors cross is told in corvane_sc_dpi.h.\n"
    "//\n"
    "// Each instance builds its model in the first statement of an initial\n"
    "// block and first runs the kernel after a zero delay, when every initial\n"
    "// block has begun.  A # delay may count in another module's unit, so the\n"
    "// wake-ups measure the unit once (one precision step) before using it.\n"
    "// Without --timing, as in a lint, Verilator sees no timed parts.\n"
    "`ifndef VERILATOR\n"
    "`define CORVANE_SC_TIMED\n"
    "`elsif VERILATOR_TIMING\n"
    "`define CORVANE_SC_TIMED\n"
    "`endif\n"
    "// Lint waivers: one file holds every module, each a top when linted\n"
    "// alone (DECLFILENAME, MULTITOP); shortreal is held as real (SHORTREAL);\n"
    "// port names are the model's and may be C++ words, which the simulator\n"
    "// renames in its own code (SYMRSVDWORD); outputs follow the model as a\n"
    "// register would (COMBDLY); the evaluation reads every input, also on the\n"
    "// model's own events (SYNCASYNCNET), and keeps the wake-up's time, read\n"
    "// only by itself, with blocking writes (BLKSEQ).\n"
    "// verilator lint_off DECLFILENAME\n"
    "// verilator lint_off MULTITOP\n"
    "// verilator lint_off SHORTREAL\n"
    "// verilator lint_off SYMRSVDWORD\n"
    "// verilator lint_off COMBDLY\n"
    "// verilator lint_off SYNCASYNCNET\n"
    "// verilator lint_off BLKSEQ\n";

constexpr char kFooter[] =
    "// verilator lint_on BLKSEQ\n"
    "// verilator lint_on SYNCASYNCNET\n"
    "// verilator lint_on COMBDLY\n"
    "// verilator lint_on SYMRSVDWORD\n"
    "// verilator lint_on SHORTREAL\n"
    "// verilator lint_on MULTITOP\n"
    "// verilator lint_on DECLFILENAME\n"
    "`undef CORVANE_SC_TIMED\n";

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

/// \p body kept out of every waveform: the wrapper's bookkeeping is not
/// the user's design.
std::string hidden(const std::string &body) {
  return "  /*verilator tracing_off*/\n" + body + "  /*verilator tracing_on*/\n";
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
      "  import \"DPI-C\" `CORVANE_SC_CONTEXT function int " + eval +
      "(input int sc$handle, input longint sc$now, input bit sc$run" + imports + ",\n    output longint sc$next);\n"
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
      "    if (sc$status == 1)\n"
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

std::string render_wrappers(const std::vector<WrapperModule> &modules) {
  std::string text = kHeader + render_mirrors_preamble();
  for (const WrapperModule &module : modules) {
    text += "\nmodule " + module.name;
    if (module.ports.empty()) {
      text += ";\n" + hidden(render_module_body(module) + render_module_end(module)) + render_mirrors(module) +
              "endmodule\n";
      continue;
    }
    text += " (";
    const char *separator = "\n";
    std::string unmapped;
    for (const WrapperPort &port : module.ports) {
      const std::string type = port.shape.sv_type();
      if (type.empty()) {
        unmapped += "  // " + port.name + ": no SystemVerilog type for " + port.cxxType + "\n";
        continue;
      }
      text += separator;
      text += "  " + std::string(direction_name(port.shape.direction)) + " " + type + " " + port.name;
      separator = ",\n";
    }
    text += "\n" + unmapped + ");\n" + hidden(render_module_body(module) + render_module_end(module)) +
            render_mirrors(module) + "endmodule\n";
  }
  return text + "\n" + kFooter + "`undef CORVANE_SC_CONTEXT\n";
}

} // namespace corvane_sc
