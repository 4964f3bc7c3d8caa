#ifndef CORVANE_KIT_WRAPPER_WRITER_H
#define CORVANE_KIT_WRAPPER_WRITER_H

/// \file
/// The wrapper generator: instantiates every exported module, walks its
/// ports and writes, for each module, a SystemVerilog module of the same
/// name with the same ports, for HDL to instantiate.  The SystemC model in
/// the co-simulation library is its body.

#include "kit/src/port_types.h"

#include <string>
#include <vector>

namespace sc_core {
class sc_module;
}

namespace corvane_sc {

struct WrapperPort {
  std::string name;
  std::string cxxType; ///< The port's own C++ type: "sc_core::sc_in<bool>".
  const PortType *type = nullptr; ///< Null when the data type has no SystemVerilog form.
  PortDirection direction = PortDirection::Input;
};

struct WrapperModule {
  std::string name;
  std::vector<WrapperPort> ports; ///< In declaration order.
};

/// The ports of \p instance, a module named \p name.
WrapperModule describe_module(const std::string &name, const sc_core::sc_module &instance);

/// The text of the wrapper file for \p modules.
std::string render_wrappers(const std::vector<WrapperModule> &modules);

/// One run of the generator: every exported module, one console line per
/// module and port, \p outputPath written.  Returns the exit status: 1 when
/// a module could not be built, a port could not be mapped or the file
/// could not be written (the rest is still written), else 0.
int run_wrapper_generator(const char *outputPath);

} // namespace corvane_sc

#endif
