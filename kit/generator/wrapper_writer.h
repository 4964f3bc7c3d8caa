#ifndef CORVANE_KIT_WRAPPER_WRITER_H
#define CORVANE_KIT_WRAPPER_WRITER_H

/// \file
/// The wrapper generator: instantiates every exported module, walks its
/// ports, names them (corvane_sc_cosim.h, rule 3) and writes, for each
/// module, a SystemVerilog module and a VHDL entity of the same name with
/// the same ports, for HDL to instantiate; the SystemC model in the
/// co-simulation library is their body.  Beside it, for that library, the glue for the design's
/// port types and the names of its ports (corvane_sc_glue.h).

#include "kit/common/port_types.h"
#include "kit/generator/hierarchy.h"

#include <string>
#include <vector>

namespace corvane_sc {

struct WrapperPort {
  std::string basename; ///< SystemC's name: "clk", "port_3".
  std::string name;     ///< The wrapper's name.
  std::string cxxType;  ///< The port's own C++ type: "sc_core::sc_in<bool>".
  PortShape shape;
};

struct WrapperModule {
  std::string name;
  std::vector<WrapperPort> ports; ///< In declaration order.
  ModuleHierarchy hierarchy;      ///< What the waveform mirrors inside it.
};

/// The text of the wrapper file for \p modules.
std::string render_wrappers(const std::vector<WrapperModule> &modules);

/// The text of port_type_mapping_funcs.hpp: the glue for every data type
/// that a mapped port of \p modules carries, once each.
std::string render_port_types(const std::vector<WrapperModule> &modules);

/// The text of sc_module_factory.cpp: the port names of \p modules.
std::string render_port_names(const std::vector<WrapperModule> &modules);

/// The body of \p module's wrapper: its DPI-C imports and the processes
/// that carry its ports to and from the model (corvane_sc_dpi.h).
std::string render_module_body(const WrapperModule &module);

/// The text of dpi_glue.cpp: the DPI-C functions that the bodies import,
/// with each port's exact type.
std::string render_dpi_glue(const std::vector<WrapperModule> &modules);

/// The text of wrapper.vhd: a VHDL-2008 entity and architecture per
/// module, reaching the model through VHPIDIRECT (corvane_sc_vhpidirect.h).
std::string render_vhdl_wrappers(const std::vector<WrapperModule> &modules);

/// The text of vhpi_glue.cpp: the VHPIDIRECT procedures that wrapper.vhd
/// declares, with each port's exact type.
std::string render_vhpi_glue(const std::vector<WrapperModule> &modules);

/// The text of wrapper.v: the same modules in Verilog for Icarus Verilog,
/// whose bodies call the library's VPI task (corvane_sc_vpi.h).
std::string render_verilog_wrappers(const std::vector<WrapperModule> &modules);

/// The text of vpi_glue.cpp: for each module, its DPI-C glue behind a
/// function of one signature, and the forms of its arguments.
std::string render_vpi_glue(const std::vector<WrapperModule> &modules);

/// One run of the generator in the work directory: every exported module,
/// one console line per module and port, wrapper.sv, wrapper.v, wrapper.vhd
/// and the glue files in sc_module/ written.  Returns the exit status: 1
/// when a module could not be built, a port could not be mapped or a file
/// could not be written (the rest is still written), else 0.
int run_wrapper_generator();

} // namespace corvane_sc

#endif
