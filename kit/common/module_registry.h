#ifndef CORVANE_KIT_MODULE_REGISTRY_H
#define CORVANE_KIT_MODULE_REGISTRY_H

/// \file
/// The modules that NCSC_MODULE_EXPORT lines registered in this process, in
/// registration order (the order of the export objects and of the lines in
/// them).

#include "kit/include/corvane_sc_export.h"

#include <string>
#include <string_view>
#include <vector>

namespace corvane_sc {

struct ExportedModule {
  std::string name;
  ModuleFactory factory;
  std::string file; ///< The export source, relative to the build directory.
  int tag;          ///< n of its corvane_sc_exported_type_<n>.
  std::size_t size; ///< sizeof the module's class.
};

/// Every registered module.
const std::vector<ExportedModule> &exported_modules();

/// The module registered as \p name, or null.
const ExportedModule *find_exported_module(std::string_view name);

} // namespace corvane_sc

#endif
