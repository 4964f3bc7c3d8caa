#ifndef CORVANE_SC_EXPORT_H
#define CORVANE_SC_EXPORT_H

/// \file
/// NCSC_MODULE_EXPORT(<module>): makes a SystemC module known to the
/// wrapper generator and to the co-simulation library.  quillc writes one
/// such line per module at namespace scope of an export source, after the
/// design itself, so the module's class is complete there.  The line
/// registers the module under its own name with a factory that builds an
/// instance from an instance name; the registration runs during static
/// initialisation of the program or shared library that holds the export
/// object.  The same expansion serves the -DSC_WRAPPER and -DSC_COSIM
/// builds.
///
/// The module must be constructible from an sc_module_name alone, as
/// SC_CTOR gives it.  Its ports need no names in the constructor: the
/// wrapper generator reads each port's member name from the source (see
/// corvane_sc_cosim.h, rule 3).  For that it finds the module's class
/// through the alias corvane_sc_exported_type_<n> that the line declares,
/// and checks that the class it parsed has the size that the compiler gave
/// it.

#include <cstddef>

namespace sc_core {
class sc_module;
}

namespace corvane_sc {

/// Builds a new instance of an exported module, named \p instanceName.
using ModuleFactory = sc_core::sc_module *(*)(const char *instanceName);

/// Where an export line stands and what it declared: the export source as
/// its compile named it (relative to the build directory), the number n of
/// its corvane_sc_exported_type_<n> alias, and sizeof the module's class.
struct ExportSite {
  const char *file;
  int tag;
  std::size_t size;
};

/// Registers the module \p name with \p factory.  The first registration of
/// a name holds; a repeated one (a module exported twice) is ignored.
/// Returns true, so that the result can initialise a namespace-scope
/// constant.
bool register_module(const char *name, ModuleFactory factory, ExportSite site);

} // namespace corvane_sc

#define CORVANE_SC_EXPORT2_(module, n)                                                          \
  using corvane_sc_exported_type_##n = module;                                                 \
  [[maybe_unused]] static const bool corvane_sc_exported_##n = ::corvane_sc::register_module( \
      #module,                                                                                 \
      [](const char *instanceName) -> ::sc_core::sc_module * {                                 \
        return new module(::sc_core::sc_module_name(instanceName));                            \
      },                                                                                       \
      ::corvane_sc::ExportSite{__FILE__, n, sizeof(module)})
#define CORVANE_SC_EXPORT_(module, n) CORVANE_SC_EXPORT2_(module, n)

#define NCSC_MODULE_EXPORT(module) CORVANE_SC_EXPORT_(module, __COUNTER__)

#endif
