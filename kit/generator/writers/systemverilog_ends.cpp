// The end of every SystemVerilog wrapper module: however the simulation
// ends (the testbench's $finish, the model's sc_stop()), the models'
// end_of_simulation callbacks run, once for all instances, from the final
// block of the instance that leads the keeper (corvane_sc_dpi_end() in
// corvane_sc_dpi.h).

#include "kit/generator/writers/systemverilog_parts.h"

namespace corvane_sc {

std::string render_module_end(const WrapperModule &) {
  return "\n"
         "  final\n"
         "    if (sc$leads)\n"
         "      corvane_sc_keeper::Keeper::finish();\n";
}

} // namespace corvane_sc
