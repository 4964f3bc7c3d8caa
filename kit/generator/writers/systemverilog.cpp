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
    "// block.  One keeper, the package below, stands for the one SystemC\n"
    "// kernel: the first instance runs its wake-up, which first runs the\n"
    "// kernel after a zero delay, when every initial block has begun, and\n"
    "// then wakes every instance at the kernel's next event.  A # delay may\n"
    "// count in another module's unit, so the wake-up measures the unit once\n"
    "// (one precision step) before using it.  Without --timing, as in a lint,\n"
    "// the wrapper has no timed parts.\n"
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
    "// verilator lint_off BLKSEQ\n"
    "\n"
    "package corvane_sc_keeper;\n"
    "  // What every instance shares: the one kernel's next event and its wake-up.\n"
    "  timeunit 1ps;\n"
    "  timeprecision 1ps;\n"
    "  import \"DPI-C\" function longint corvane_sc_dpi_next();\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "  // Every instance reads its outputs on it: the kernel has run events of\n"
    "  // its own.\n"
    "  event tick;\n"
    "  bit started;\n"
    "  // The kernel's next event in ps that a wake-up waits for, -1 for none;\n"
    "  // picoseconds per unit of #; the longest wait that # counts right.\n"
    "  longint armed = -1;\n"
    "  real unit = 0, piece = 0;\n"
    "  event rearm;\n"
    "`endif\n"
    "\n"
    "  // Arms a wake-up for the kernel's next event, next (ps), when it lies\n"
    "  // before the one armed.\n"
    "  function automatic void arm(longint next);\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "    if (unit > 0 && next >= 0 && (armed < 0 || next < armed)) begin\n"
    "      armed = next;\n"
    "      -> rearm;\n"
    "    end\n"
    "`else\n"
    "    // Without timing nothing waits.\n"
    "    if (next < 0) return;\n"
    "`endif\n"
    "  endfunction\n"
    "\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "  // Run by the first instance: measures the unit of #, then keeps a\n"
    "  // wake-up for the time armed last.\n"
    "  task automatic keep();\n"
    "    real was, probe = 1e-15;\n"
    "    started = 1;\n"
    "    forever begin\n"
    "      was = $realtime;\n"
    "      #(probe);\n"
    "      -> tick;\n"
    "      if ($realtime > was)\n"
    "        break;\n"
    "      probe = probe * 10;\n"
    "    end\n"
    "    unit = ($realtime - was) / probe;\n"
    "    // 2^31 precision units in ps.\n"
    "    piece = ($realtime - was) * 2147483648.0;\n"
    "    arm(corvane_sc_dpi_next());\n"
    "    // A wake-up for the time armed last; one that an earlier time replaced\n"
    "    // finds another time armed, and ends.  A delay computed at run time\n"
    "    // counts modulo 2^32 precision units in some simulators: the wait\n"
    "    // goes in pieces shorter than that.\n"
    "    forever begin\n"
    "      if (armed >= 0)\n"
    "        fork\n"
    "          begin\n"
    "            automatic longint at = armed;\n"
    "            while (at == armed && longint'($time) < at) begin\n"
    "              automatic real left = real'(at - longint'($time));\n"
    "              #((left < piece ? left : piece) / unit);\n"
    "            end\n"
    "            if (at == armed) begin\n"
    "              armed = -1;\n"
    "              -> tick;\n"
    "            end\n"
    "          end\n"
    "        join_none\n"
    "      @(rearm);\n"
    "    end\n"
    "  endtask\n"
    "`endif\n"
    "endpackage\n";

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
  std::string imports, arguments, scratch, drives, seens, seenDecls, follows, sensitivity;
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
      if (port.shape.direction == PortDirection::InOut) {
        scratch += "  assign " + port.name + " = " + value + ";\n";
      } else {
        // The output follows the model's value when it moved from the one
        // seen last (the value after the instance was built, at first):
        // in the evaluating process where inputs make one, else by itself.
        follows += "  always @(" + model + ")\n    " + port.name + " <= " + value + ";\n";
        const std::string seen = model + "$seen";
        seenDecls += "  " + sv_argument(c, true) + " " + seen + ";\n";
        seens += "    " + seen + " = " + model + ";\n";
        drives += "      if (" + model + (c.form == Crossing::Real ? " != " : " !== ") + seen + ") begin\n        " +
                  seen + " = " + model + ";\n        " + port.name + " <= " + model + ";\n      end\n";
      }
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
      "  int sc$handle = -1;\n" +
      scratch + (sensitivity.empty() ? "" : seenDecls) +
      "\n"
      "  function automatic void sc$eval(bit sc$run);\n"
      "    longint sc$next;\n"
      "    int sc$status = " + eval + "(sc$handle, $time, sc$run" + arguments + ", sc$next);\n"
      "    if (sc$status < 0)\n"
      "      $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
      "    if (sc$status == 1)\n"
      "      $finish;\n"
      "    corvane_sc_keeper::arm(sc$next);\n"
      "  endfunction\n\n"
      "  initial begin\n"
      "    sc$handle = " + dpi_function(module, "new") + "($sformatf(\"%m\"));\n"
      "    if (sc$handle < 0)\n"
      "      $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
      "    sc$eval(0);\n" +
      (sensitivity.empty() ? "" : seens) +
      "`ifdef CORVANE_SC_TIMED\n"
      "    if (!corvane_sc_keeper::started)\n"
      "      corvane_sc_keeper::keep();\n"
      "`endif\n"
      "  end\n";
  // One process evaluates the model on the kernel's own events and on
  // every input change, and drives the outputs it moved.
  const std::string body = "    if (sc$handle >= 0) begin\n      sc$eval(1);\n" + drives + "    end\n";
  if (sensitivity.empty())
    text += "`ifdef CORVANE_SC_TIMED\n\n  always @(corvane_sc_keeper::tick)\n    if (sc$handle >= 0)\n      sc$eval(1);\n`endif\n" +
            follows;
  else
    text += "\n  always @(\n`ifdef CORVANE_SC_TIMED\n      corvane_sc_keeper::tick or\n`endif\n      " + sensitivity +
            ")\n" + body;
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
