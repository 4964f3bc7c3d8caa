// The Verilog writer: wrapper.v, for Icarus Verilog, a module per exported
// module with the names, directions and widths of wrapper.sv, whose body
// reaches the SystemC model through the library's VPI task
// (corvane_sc_vpi.h).  The task's arguments follow the per-module glue's
// order (vpi_glue.cpp), which comes from the same description.

#include "kit/generator/writers/crossing.h"

#include <string>

namespace corvane_sc {

namespace {

constexpr char kHeader[] =
    "// Verilog wrappers of the SystemC modules exported by this build, for\n"
    "// Icarus Verilog, written by the wrapper generator.  The body of each\n"
    "// module is its SystemC model in libcorvanesc.so, which vvp loads as a VPI\n"
    "// module (vvp -m ./libcorvanesc.so); how values, time, X and Z and errors\n"
    "// cross is told in corvane_sc_vpi.h.\n"
    "//\n"
    "// The model writes each output into sc$<port>[0], which reaches the port\n"
    "// through a nonblocking assignment, as from a register.  The evaluations\n"
    "// start after a zero delay at time 0, when every process has begun.\n"
    "`resetall\n"
    "`timescale 1ps/1ps\n";

/// The declaration of \p shape's port or register, after its keyword:
/// "wire signed [11:0]", "reg [7:0]", "real".
std::string declaration(const PortShape &shape, const char *kind) {
  if (shape.kind == ValueKind::Real)
    return "real";
  std::string text = kind;
  if (shape.isSigned)
    text += " signed";
  if (!shape.scalar)
    text += " [" + std::to_string(shape.width - 1) + ":0]";
  return text;
}

std::string port_declaration(const PortShape &shape) {
  const char *kind = shape.direction == PortDirection::Output ? "reg" : "wire";
  return std::string(direction_name(shape.direction)) + " " + declaration(shape, kind);
}

/// The mirrors of \p module's insides (hierarchy.h) for a simulation built
/// with CORVANE_SC_MIRRORS defined (quillc-sim --trace): the model's
/// sub-modules as named generate blocks, each object a register in its
/// block, which the library sets as the model changes it.  Only the
/// library's call of the VPI task reads them.
std::string verilog_mirrors(const WrapperModule &module) {
  const ModuleHierarchy &h = module.hierarchy;
  if (h.objects.empty())
    return "";
  std::string text = "`ifdef CORVANE_SC_MIRRORS\n  // The model's own objects, as it changes them, for the waveform.\n";
  std::vector<std::string> open;
  std::string arguments;
  for (const MirroredObject &object : h.objects) {
    size_t common = 0;
    while (common < open.size() && common < object.scope.size() && open[common] == object.scope[common])
      ++common;
    for (; open.size() > common; open.pop_back())
      text += std::string(2 * open.size(), ' ') + (open.size() == 1 ? "end endgenerate\n" : "end\n");
    for (; open.size() < object.scope.size(); open.push_back(object.scope[open.size()]))
      text += std::string(2 * open.size() + 2, ' ') + (open.empty() ? "generate if (1) begin : " : "if (1) begin : ") +
              object.scope[open.size()] + "\n";
    text += std::string(2 * open.size() + 2, ' ') + declaration(object.shape, "reg") + " " + object.name + ";\n";
    arguments += ",\n      ";
    for (const std::string &scope : object.scope)
      arguments += scope + ".";
    arguments += object.name;
  }
  for (; !open.empty(); open.pop_back())
    text += std::string(2 * open.size(), ' ') + (open.size() == 1 ? "end endgenerate\n" : "end\n");
  // The registers are the task's arguments, in the glue's order, so that
  // iverilog keeps them although nothing in the design reads them.
  return text + "  initial\n    $corvane_sc_mirror(\"" + module.name + "\"" + arguments + ");\n`endif\n\n";
}

std::string verilog_body(const WrapperModule &module) {
  // The task's arguments are the glue's: per port, its net when it is an
  // input, its register when it is an output.
  std::string registers, drives, inputs, arguments;
  for (const WrapperPort &port : module.ports) {
    if (!mapped(port))
      continue;
    const PortShape &shape = port.shape;
    if (is_input(shape)) {
      inputs += ", " + port.name;
      arguments += ", " + port.name;
    }
    if (!is_output(shape))
      continue;
    // The model's registers are one-word arrays, which the waveform leaves
    // out as it does every array: it shows the ports only.
    const std::string name = "sc$" + port.name, model = name + "[0]";
    arguments += ", " + model;
    if (shape.direction == PortDirection::InOut) {
      // The model drives its inout's net all the time (corvane_sc_dpi.h).
      registers += "  " + declaration(shape, "reg") + " " + name + " [0:0];\n";
      drives += "  assign " + port.name + " = " + model + ";\n";
    } else if (shape.kind == ValueKind::Real) {
      // A real output is a net: a register of its own drives it.
      registers += "  real " + name + " [0:0], " + name + "$q [0:0];\n";
      drives += "  assign " + port.name + " = " + name + "$q[0];\n  always @(" + model + ")\n    " + name +
                "$q[0] <= " + model + ";\n";
    } else {
      registers += "  " + declaration(shape, "reg") + " " + name + " [0:0];\n";
      drives += "  always @(" + model + ")\n    " + port.name + " <= " + model + ";\n";
    }
  }
  const std::string call = "$corvane_sc_eval(\"" + module.name + "\"" + arguments + ");\n";
  std::string text =
      registers + (registers.empty() ? "" : "\n") + drives + (drives.empty() ? "" : "\n") + verilog_mirrors(module);
  if (inputs.empty())
    return text + "  initial\n    #0 " + call;
  return text + "  initial begin\n    #0;\n    forever begin\n      " + call + "      @(" + inputs.substr(2) +
         ");\n    end\n  end\n";
}

} // namespace

std::string render_verilog_wrappers(const std::vector<WrapperModule> &modules) {
  std::string text = kHeader;
  for (const WrapperModule &module : modules) {
    text += "\nmodule " + module.name;
    std::string ports, unmapped;
    for (const WrapperPort &port : module.ports) {
      if (mapped(port))
        ports += std::string(ports.empty() ? "" : ",\n") + "  " + port_declaration(port.shape) + " " + port.name;
      else
        unmapped += "  // " + port.name + ": no Verilog type for " + port.cxxType + "\n";
    }
    if (!ports.empty() || !unmapped.empty())
      text += " (\n" + ports + (ports.empty() ? "" : "\n") + unmapped + ")";
    text += ";\n" + verilog_body(module) + "endmodule\n";
  }
  return text + "\n`resetall\n";
}

} // namespace corvane_sc
