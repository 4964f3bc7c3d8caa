#ifndef CORVANE_KIT_PORT_NAMES_H
#define CORVANE_KIT_PORT_NAMES_H

/// \file
/// The names under which a module's ports appear in wrapper.sv and in the
/// co-simulation interface: legal SystemVerilog identifiers, distinct within
/// the module (the rules are written in corvane_sc_cosim.h, rule 3).

#include <string>
#include <vector>

namespace corvane_sc {

/// Whether \p name is a SystemVerilog keyword.
bool is_sv_keyword(const std::string &name);

/// Turns the wanted names of one module's ports, in port order, into legal
/// and distinct ones: characters other than letters, digits and "_"
/// become "_", a leading digit gets a "_" before it, a keyword gets one
/// after it; then every later port that wants a name already given gets
/// the first free "<name>_2", "<name>_3", ...
std::vector<std::string> legal_port_names(const std::vector<std::string> &wanted);

} // namespace corvane_sc

#endif
