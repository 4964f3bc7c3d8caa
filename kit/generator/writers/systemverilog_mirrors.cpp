// The mirrors in wrapper.sv: under each wrapper instance, the model's own
// hierarchy as scopes (named generate blocks) holding a variable for each
// object that hierarchy.h describes, set by the runtime through an
// exported function per object as the model changes it.  Only a
// simulation built with CORVANE_SC_MIRRORS defined (quillc-sim --trace)
// compiles any of it; the exported functions and the attaching call are
// kept out of the waveform.

#include "kit/generator/writers/crossing.h"
#include "kit/generator/writers/systemverilog_parts.h"

#include <string>

namespace corvane_sc {

std::string mirror_function(const WrapperModule &module, size_t index) {
  return "corvane_sc_mirror_" + module.name + "_" + std::to_string(index);
}

namespace {

/// The exported function's argument for \p shape: a word comes as a
/// 64-bit number, as the inputs of the evaluation do.
std::string export_argument(const PortShape &shape) {
  const Crossing c = crossing(shape);
  const std::string range = "[" + std::to_string(c.width - 1) + ":0]";
  switch (c.form) {
  case Crossing::Bit: return "bit";
  case Crossing::Logic: return "logic";
  case Crossing::Word: return "longint unsigned";
  case Crossing::Bits: return "bit " + range;
  case Crossing::LogicBits: return "logic " + range;
  case Crossing::Real: return "real";
  }
  return "";
}

} // namespace

std::string render_mirrors_preamble() {
  return "\n// Built with CORVANE_SC_MIRRORS defined, as quillc-sim --trace builds it,\n"
         "// each wrapper holds under it the model's own hierarchy for the\n"
         "// waveform: sub-modules as scopes, signals and the sub-modules' ports as\n"
         "// variables that the library sets when the model changes them, after\n"
         "// each kernel run; the wrapper's own workings are kept out of the\n"
         "// waveform.\n"
         "`ifdef CORVANE_SC_MIRRORS\n"
         "`define CORVANE_SC_CONTEXT context\n"
         "`else\n"
         "`define CORVANE_SC_CONTEXT\n"
         "`endif\n";
}

std::string render_mirrors(const WrapperModule &module) {
  const ModuleHierarchy &h = module.hierarchy;
  std::string text;
  if (!h.leftOut.empty()) {
    text += "\n  // Not in the waveform, of no HDL type:\n";
    for (const std::string &object : h.leftOut)
      text += "  //   " + object + "\n";
  }
  if (h.objects.empty())
    return text;
  text += "\n`ifdef CORVANE_SC_MIRRORS\n"
          "  // The model's own objects, as it changes them, for the waveform only\n"
          "  // (UNUSEDSIGNAL); a scope's names are the model's and may be those of\n"
          "  // the scope above (VARHIDDEN).\n"
          "  // verilator lint_off UNUSEDSIGNAL\n"
          "  // verilator lint_off VARHIDDEN\n";
  std::vector<std::string> open;
  std::string functions;
  for (size_t i = 0; i < h.objects.size(); ++i) {
    const MirroredObject &object = h.objects[i];
    size_t common = 0;
    while (common < open.size() && common < object.scope.size() && open[common] == object.scope[common])
      ++common;
    for (; open.size() > common; open.pop_back())
      text += std::string(2 * open.size(), ' ') + "end\n";
    for (; open.size() < object.scope.size(); open.push_back(object.scope[open.size()]))
      text += std::string(2 * open.size() + 2, ' ') + "if (1) begin : " + object.scope[open.size()] + "\n";
    text += std::string(2 * open.size() + 2, ' ') + object.shape.sv_type() + " " + object.name + ";\n";
    std::string target;
    for (const std::string &scope : object.scope)
      target += scope + ".";
    target += object.name;
    const Crossing c = crossing(object.shape);
    const std::string value = c.form == Crossing::Word ? std::to_string(c.width) + "'(v)" : "v";
    const std::string function = mirror_function(module, i);
    functions += "  export \"DPI-C\" function " + function + ";\n  function void " + function + "(input " +
                 export_argument(object.shape) + " v);\n    " + target + " = " + value + ";\n  endfunction\n";
  }
  for (; !open.empty(); open.pop_back())
    text += std::string(2 * open.size(), ' ') + "end\n";
  text += "  // verilator lint_on VARHIDDEN\n  // verilator lint_on UNUSEDSIGNAL\n";
  const std::string attach = dpi_function(module, "mirror");
  return text + "  /*verilator tracing_off*/\n  import \"DPI-C\" context function int " + attach +
         "(input string path);\n" + functions + "  initial\n    if (" + attach +
         "($sformatf(\"%m\")) < 0)\n      corvane_sc_keeper::Keeper::after(-1);\n"
         "  /*verilator tracing_on*/\n`endif\n";
}

} // namespace corvane_sc
