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
    "// block, then crosses to it at every change of its inputs: the inputs go\n"
    "// in, the outputs come back, and the kernel is not entered.  One keeper,\n"
    "// the package below, stands for the one SystemC kernel: when a crossing\n"
    "// finds work for the kernel, the keeper runs it once for every instance\n"
    "// whose inputs changed in that time step, then has every instance read\n"
    "// its outputs; its wake-up brings the kernel to the models' own events.\n"
    "// A # delay may count in another module's unit, so the wake-up measures\n"
    "// the unit once (one precision step) before using it.  Without --timing,\n"
    "// as in a lint, the wrapper has no timed parts.\n"
    "`ifndef VERILATOR\n"
    "`define CORVANE_SC_TIMED\n"
    "`elsif VERILATOR_TIMING\n"
    "`define CORVANE_SC_TIMED\n"
    "`endif\n"
    "// Lint waivers: one file holds every module, each a top when linted\n"
    "// alone (DECLFILENAME, MULTITOP); shortreal is held as real (SHORTREAL);\n"
    "// port names are the model's and may be C++ words, which the simulator\n"
    "// renames in its own code (SYMRSVDWORD); outputs follow the model as a\n"
    "// register would (COMBDLY), from the crossing at an input change and from\n"
    "// the read after a kernel run (MULTIDRIVEN); a crossing reads every input\n"
    "// (SYNCASYNCNET), and the keeper keeps its own state with blocking writes\n"
    "// (BLKSEQ).\n"
    "// verilator lint_off DECLFILENAME\n"
    "// verilator lint_off MULTITOP\n"
    "// verilator lint_off SHORTREAL\n"
    "// verilator lint_off SYMRSVDWORD\n"
    "// verilator lint_off COMBDLY\n"
    "// verilator lint_off SYNCASYNCNET\n"
    "// verilator lint_off BLKSEQ\n"
    "// verilator lint_off MULTIDRIVEN\n";

constexpr char kKeeper[] =
    "\n"
    "package corvane_sc_keeper;\n"
    "  // What every instance shares: the one kernel, its next event and its\n"
    "  // wake-up.\n"
    "  timeunit 1ps;\n"
    "  timeprecision 1ps;\n"
    "  import \"DPI-C\" `CORVANE_SC_CONTEXT function int corvane_sc_dpi_run(input longint now, output longint next);\n"
    "  import \"DPI-C\" function longint corvane_sc_dpi_next();\n"
    "  import \"DPI-C\" function int corvane_sc_dpi_end();\n"
    "  import \"DPI-C\" function string corvane_sc_dpi_error();\n"
    "  // go: the kernel has work in this time step; tick: it ran, and every\n"
    "  // instance with outputs reads them (none may have any: UNUSEDSIGNAL).\n"
    "  // verilator lint_off UNUSEDSIGNAL\n"
    "  event go, tick;\n"
    "  // verilator lint_on UNUSEDSIGNAL\n"
    "  // Whether an instance leads: runs the kernel and the wake-up.\n"
    "  bit led;\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "  // The kernel's next event in ps that the wake-up waits for, -1 for none;\n"
    "  // picoseconds per unit of #; the longest wait that # counts right.\n"
    "  longint armed = -1;\n"
    "  real unit = 0, piece = 0;\n"
    "  event rearm;\n"
    "`endif\n"
    "\n"
    "  // The keeper's work, in static methods: a class's methods are compiled\n"
    "  // once, where a package's tasks would be copied into every instance.\n"
    "  class Keeper;\n"
    "    // What a crossing's or the kernel's status asks for: 3, a kernel run\n"
    "    // in this time step; 4, the wake-up armed anew; 1, the end (the model\n"
    "    // stopped); -1, an error.\n"
    "    static function void after(int status);\n"
    "      if (status < 0)\n"
    "        $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
    "      else if (status == 1)\n"
    "        $finish;\n"
    "      else if (status == 3)\n"
    "        -> go;\n"
    "      else if (status == 4)\n"
    "        arm(corvane_sc_dpi_next());\n"
    "    endfunction\n"
    "\n"
    "    // The kernel's entry for this time step, then every instance's read.\n"
    "    static function void run();\n"
    "      longint next;\n"
    "      int status = corvane_sc_dpi_run($time, next);\n"
    "      if (status == 1 || status < 0)\n"
    "        after(status);\n"
    "      -> tick;\n"
    "      arm(next);\n"
    "    endfunction\n"
    "\n"
    "    // Arms the wake-up for the kernel's next event, next (ps), when it\n"
    "    // lies before the one armed.\n"
    "    static function void arm(longint next);\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "      if (next >= 0 && (armed < 0 || next < armed)) begin\n"
    "        armed = next;\n"
    "        -> rearm;\n"
    "      end\n"
    "`else\n"
    "      // Without timing nothing waits.\n"
    "      if (next < 0) return;\n"
    "`endif\n"
    "    endfunction\n"
    "\n"
    "    // The testbench's end: the models' end_of_simulation, once.\n"
    "    static function void finish();\n"
    "      if (corvane_sc_dpi_end() < 0)\n"
    "        $fatal(1, \"%s\", corvane_sc_dpi_error());\n"
    "    endfunction\n"
    "`ifdef CORVANE_SC_TIMED\n"
    "\n"
    "    // Started by the leading instance at every arming: waits for the\n"
    "    // time armed, then has the kernel run, unless an earlier time\n"
    "    // replaced it.  The first wait measures the unit of # (one precision\n"
    "    // step).  A delay computed at run time counts modulo 2^32 precision\n"
    "    // units in some simulators: the wait goes in pieces shorter than that.\n"
    "    static task wait_armed();\n"
    "      longint at = armed;\n"
    "      real was, probe = 1e-15, left;\n"
    "      while (unit == 0) begin\n"
    "        was = $realtime;\n"
    "        #(probe);\n"
    "        if ($realtime > was) begin\n"
    "          unit = ($realtime - was) / probe;\n"
    "          // 2^31 precision units in ps.\n"
    "          piece = ($realtime - was) * 2147483648.0;\n"
    "        end\n"
    "        probe = probe * 10;\n"
    "      end\n"
    "      while (at >= 0 && at == armed && longint'($time) < at) begin\n"
    "        left = real'(at - longint'($time));\n"
    "        #((left < piece ? left : piece) / unit);\n"
    "      end\n"
    "      if (at >= 0 && at == armed) begin\n"
    "        armed = -1;\n"
    "        -> go;\n"
    "      end\n"
    "    endtask\n"
    "`endif\n"
    "  endclass\n"
    "endpackage\n";

constexpr char kFooter[] =
    "// verilator lint_on MULTIDRIVEN\n"
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
  std::string imports, arguments, outputImports, outputArguments, scratch, drives, sensitivity;
  for (const WrapperPort &port : module.ports) {
    if (!mapped(port))
      continue;
    const Crossing c = crossing(port.shape);
    if (is_input(port.shape)) {
      imports += ",\n    input " + sv_argument(c, false) + " " + port.name;
      arguments += ", " + (c.form == Crossing::Word ? "64'(" + port.name + ")" : port.name);
      sensitivity += ", " + port.name;
    }
    if (is_output(port.shape)) {
      const std::string model = "sc$" + port.name;
      imports += ",\n    output " + sv_argument(c, true) + " " + model;
      arguments += ", " + model;
      outputImports += ",\n    output " + sv_argument(c, true) + " " + model;
      outputArguments += ", " + model;
      scratch += "  " + sv_argument(c, true) + " " + model + ";\n";
      // An inout's net is driven all the time; an output follows the model
      // as a register would, so that a chain of instances through the HDL
      // answers one step per region.
      if (port.shape.direction == PortDirection::InOut)
        scratch += "  assign " + port.name + " = " + model + ";\n";
      else
        drives += "      " + port.name + " <= " + model + ";\n";
    }
  }
  const std::string cross = dpi_function(module, "cross"), read = dpi_function(module, "read");
  const std::string call = "    sc$status = " + cross + "(sc$handle, $time" + arguments + ");\n";
  std::string text =
      "  timeunit 1ps;\n"
      "  timeprecision 1ps;\n"
      "  import \"DPI-C\" function int " + dpi_function(module, "new") + "(input string path);\n"
      "  import \"DPI-C\" `CORVANE_SC_CONTEXT function int " + cross + "(input int sc$handle, input longint sc$now" +
      imports + ");\n" +
      (outputImports.empty() ? "" : "  import \"DPI-C\" function void " + read + "(input int sc$handle" + outputImports + ");\n") +
      "\n"
      "  int sc$handle = -1, sc$status;\n"
      "  bit sc$leads;\n" +
      scratch +
      "\n"
      "  initial begin\n"
      "    sc$handle = " + dpi_function(module, "new") + "($sformatf(\"%m\"));\n"
      "    if (sc$handle < 0)\n"
      "      corvane_sc_keeper::Keeper::after(-1);\n" +
      call +
      "    corvane_sc_keeper::Keeper::after(sc$status);\n"
      "    if (!corvane_sc_keeper::led) begin\n"
      "      corvane_sc_keeper::led = 1;\n"
      "      sc$leads = 1;\n"
      "    end\n"
      "  end\n"
      "`ifdef CORVANE_SC_TIMED\n"
      "  // The wake-up: apart from the setup, which holds no wait and so stays\n"
      "  // plain code in a simulator's C++ rather than a coroutine.\n"
      "  always @(corvane_sc_keeper::rearm)\n"
      "    if (sc$leads)\n"
      "      fork\n"
      "        corvane_sc_keeper::Keeper::wait_armed();\n"
      "      join_none\n"
      "`endif\n";
  if (!sensitivity.empty())
    text += "\n  // Every change of an input crosses.\n"
            "  always @(" + sensitivity.substr(2) + ")\n"
            "    if (sc$handle >= 0) begin\n"
            "  " + call +
            "      if (sc$status != 0)\n"
            "        corvane_sc_keeper::Keeper::after(sc$status);\n" +
            drives +
            "    end\n";
  // After each kernel run the outputs are read, and only they: what a read
  // does not touch of the model costs nothing.
  if (!outputImports.empty())
    text += "\n  always @(corvane_sc_keeper::tick)\n"
            "    if (sc$handle >= 0) begin\n"
            "      " + read + "(sc$handle" + outputArguments + ");\n" +
            drives +
            "    end\n";
  return text +
         "\n  always @(corvane_sc_keeper::go)\n"
         "    if (sc$leads)\n"
         "      corvane_sc_keeper::Keeper::run();\n";
}

std::string render_wrappers(const std::vector<WrapperModule> &modules) {
  std::string text = kHeader + render_mirrors_preamble() + kKeeper;
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
