// The end of every SystemVerilog wrapper module: however the simulation
// ends (the testbench's $finish, the model's sc_stop()), the models'
// end_of_simulation callbacks run, once for all instances
// (corvane_sc_dpi_end() in corvane_sc_dpi.h).

#include "kit/generator/writers/systemverilog_parts.h"

namespace corvane_sc {

std::string render_module_end(const WrapperModule &) {
  return "\n"
         "  import \"DPI-C\" function int corvane_sc_dpi_end();\n"
         "  final\n"
         "    if (corvane_sc_dpi_end() < 0)\n"
         "      $fatal(1, \"%s\", corvane_sc_dpi_error());\n";
}

} // namespace corvane_sc
