#include "kit/common/module_registry.h"

namespace corvane_sc {

namespace {

// Registrations run from other objects' static initialisers, so the table
// must exist before its first use, whatever the initialisation order, and
// outlive every instance that SystemC tears down at exit.
std::vector<ExportedModule> &registry() {
  static std::vector<ExportedModule> &modules = *new std::vector<ExportedModule>;
  return modules;
}

} // namespace

bool register_module(const char *name, ModuleFactory factory, ExportSite site) {
  if (!find_exported_module(name))
    registry().push_back({name, factory, site.file, site.tag, site.size});
  return true;
}

const std::vector<ExportedModule> &exported_modules() { return registry(); }

const ExportedModule *find_exported_module(std::string_view name) {
  for (const ExportedModule &module : registry())
    if (module.name == name)
      return &module;
  return nullptr;
}

} // namespace corvane_sc
