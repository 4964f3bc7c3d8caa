// The walk of an exported module's SystemC hierarchy for its mirrors in
// the waveform (hierarchy.h).

#include "kit/generator/hierarchy.h"

#include "kit/common/port_names.h"

#include <systemc>

namespace corvane_sc {

namespace {

void walk(const sc_core::sc_object &parent, const std::string &prefix, const std::vector<std::string> &scope,
          std::vector<std::string> taken, bool top, ModuleHierarchy &out) {
  // The objects of this scope first, then the scopes below, named together
  // since they share the scope.
  std::vector<std::pair<const sc_core::sc_object *, PortShape>> objects;
  std::vector<const sc_core::sc_object *> modules;
  for (const sc_core::sc_object *child : parent.get_child_objects()) {
    const std::string path = prefix + child->basename();
    if (dynamic_cast<const sc_core::sc_module *>(child)) {
      modules.push_back(child);
      continue;
    }
    PortShape shape;
    if (const auto *port = dynamic_cast<const sc_core::sc_port_base *>(child)) {
      if (top)
        continue; // the wrapper's own ports
      shape = classify_port(*port);
    } else if (dynamic_cast<const sc_core::sc_prim_channel *>(child) ||
               dynamic_cast<const sc_core::sc_export_base *>(child)) {
      shape = classify_signal(*child);
      if (!shape.known && dynamic_cast<const sc_core::sc_export_base *>(child))
        continue; // an export shows what its channel holds, mirrored where it is
    } else {
      continue; // processes and other objects hold no value
    }
    shape.direction = PortDirection::Input;
    shape.resolved = false;
    if (shape.sv_type().empty()) {
      out.leftOut.push_back(path + ": " + cxx_type_name(*child));
      continue;
    }
    objects.emplace_back(child, shape);
  }
  const size_t ports = taken.size();
  for (const auto &[object, shape] : objects)
    taken.push_back(object->basename());
  for (const sc_core::sc_object *module : modules)
    taken.push_back(module->basename());
  const std::vector<std::string> names = legal_port_names(taken);
  size_t n = ports;
  for (const auto &[object, shape] : objects)
    out.objects.push_back({prefix + object->basename(), scope, names[n++], shape});
  for (const sc_core::sc_object *module : modules) {
    std::vector<std::string> below = scope;
    below.push_back(names[n++]);
    walk(*module, prefix + module->basename() + ".", below, {}, false, out);
  }
}

} // namespace

ModuleHierarchy describe_hierarchy(const sc_core::sc_module &instance, const std::vector<std::string> &portNames) {
  ModuleHierarchy hierarchy;
  walk(instance, "", {}, portNames, true, hierarchy);
  return hierarchy;
}

} // namespace corvane_sc
