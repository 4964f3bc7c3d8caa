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
/// SC_CTOR gives it.  Ports should be named in that constructor
/// (clk("clk")): SystemC cannot see member names, and an unnamed port
/// appears as port_0, port_1, ... in the wrapper and the co-simulation.

namespace sc_core {
class sc_module;
}

namespace corvane_sc {

/// Builds a new instance of an exported module, named \p instanceName.
using ModuleFactory = sc_core::sc_module *(*)(const char *instanceName);

/// Registers the module \p name with \p factory.  The first registration of
/// a name holds; a repeated one (a module exported twice) is ignored.
/// Returns true, so that the result can initialise a namespace-scope
/// constant.
bool register_module(const char *name, ModuleFactory factory);

} // namespace corvane_sc

#define CORVANE_SC_EXPORT_CAT2_(a, b) a##b
#define CORVANE_SC_EXPORT_CAT_(a, b) CORVANE_SC_EXPORT_CAT2_(a, b)

#define NCSC_MODULE_EXPORT(module)                                                        \
  [[maybe_unused]] static const bool CORVANE_SC_EXPORT_CAT_(corvane_sc_exported_,       \
                                                            __COUNTER__) =              \
      ::corvane_sc::register_module(#module, [](const char *instanceName)               \
                                                 -> ::sc_core::sc_module * {            \
        return new module(::sc_core::sc_module_name(instanceName));                     \
      })

#endif
