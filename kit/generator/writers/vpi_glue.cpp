// The per-module glue of the VPI side (corvane_sc_vpi.h): for each module,
// a function of one signature over its typed DPI-C glue (dpi_glue.cpp),
// which does the conversions, and the form of each argument, which the
// library's VPI task reads the simulator's values into.

#include "kit/generator/writers/crossing.h"

#include <string>

namespace corvane_sc {

namespace {

/// The DPI argument for argument \p a, \p c, from the union.
std::string dpi_argument(const Crossing &c, bool output, const std::string &a) {
  switch (c.form) {
  case Crossing::Bit: return (output ? "&" : "") + a + ".bit";
  case Crossing::Logic: return (output ? "&" : "") + a + ".logic";
  case Crossing::Word:
    if (output)
      return a + ".small";
    return c.isSigned ? "static_cast<int64_t>(" + a + ".word)" : a + ".word";
  case Crossing::Bits: return a + ".bits";
  case Crossing::LogicBits: return a + ".logic_bits";
  case Crossing::Real: return (output ? "&" : "") + a + ".real";
  }
  return "";
}

} // namespace

std::string render_vpi_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The VPI side's glue of wrapper.v, written by the wrapper generator for\n"
                     "// the co-simulation library's start-up source, after dpi_glue.cpp.\n"
                     "#include \"corvane_sc_vpi.h\"\n\nnamespace {\n";
  std::string table;
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    const std::string n = std::to_string(m);
    std::string arguments, forms;
    unsigned count = 0;
    for (const WrapperPort &port : module.ports) {
      if (!mapped(port))
        continue;
      const Crossing c = crossing(port.shape);
      for (const bool output : {false, true}) {
        if (output ? !is_output(port.shape) : !is_input(port.shape))
          continue;
        arguments += ", " + dpi_argument(c, output, "a[" + std::to_string(count++) + "]");
        forms += std::string("    {corvane_sc::vpi::Form::") + form_name(c.form) + ", " +
                 (output ? "true" : "false") + ", " + std::to_string(c.width) + "},\n";
      }
    }
    text += "\nint vpi_eval" + n + "(int handle, int64_t now_ps, bool run, [[maybe_unused]] corvane_sc::vpi::Argument *a,\n" +
            "              int64_t *next_ps) {\n  return " + dpi_function(module, "eval") +
            "(handle, now_ps, run" + arguments + ", next_ps);\n}\n";
    if (count)
      text += "\nconst corvane_sc::vpi::Port kVpiPorts" + n + "[] = {\n" + forms + "};\n";
    table += "    {\"" + module.name + "\", &" + dpi_function(module, "new") + ", &vpi_eval" + n + ", " +
             (count ? "kVpiPorts" + n : std::string("nullptr")) + ", " + std::to_string(count) + "},\n";
  }
  if (modules.empty())
    return text + "\n} // namespace\n\nconst corvane_sc::vpi::DesignModules corvane_sc::vpi::kDesignModules = {nullptr, 0};\n";
  return text + "\nconst corvane_sc::vpi::Module kVpiModules[] = {\n" + table +
         "};\n\n} // namespace\n\nconst corvane_sc::vpi::DesignModules corvane_sc::vpi::kDesignModules = {kVpiModules, " +
         std::to_string(modules.size()) + "};\n";
}

} // namespace corvane_sc
