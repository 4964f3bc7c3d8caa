#ifndef CORVANE_KIT_HIERARCHY_H
#define CORVANE_KIT_HIERARCHY_H

/// \file
/// What the waveform shows inside an exported module: its sub-modules as
/// scopes, in each scope the model's signals and buffers and, below the
/// top, the sub-modules' ports, each of a type that the wrapper carries.
/// The wrapper declares a variable for each (its mirror), which the
/// runtime sets as the model changes the object.

#include "kit/common/port_types.h"

#include <string>
#include <vector>

namespace sc_core {
class sc_module;
} // namespace sc_core

namespace corvane_sc {

/// One object that the waveform mirrors.
struct MirroredObject {
  std::string path;               ///< SystemC's name below the instance: "c.state".
  std::vector<std::string> scope; ///< The wrapper's scopes on the way: {"c"}.
  std::string name;               ///< The wrapper's name for it in its scope.
  PortShape shape;                ///< What it carries.
};

/// The mirrors of one module, and what is left out.
struct ModuleHierarchy {
  std::vector<MirroredObject> objects; ///< A scope's objects before its sub-scopes'.
  std::vector<std::string> leftOut;    ///< "c.fifo: sc_core::sc_fifo<int>", for a comment.
};

/// Walks \p instance, whose own ports the wrapper names \p portNames.
/// Names are made legal and distinct within each scope as port names are,
/// the top's after its ports.
ModuleHierarchy describe_hierarchy(const sc_core::sc_module &instance, const std::vector<std::string> &portNames);

} // namespace corvane_sc

#endif
