// The runtime side of the mirrors (corvane_sc_mirrors.h): the attached
// instances, and after every entry into the kernel the values that
// changed, sent to the variables of every instance.

#include "kit/include/corvane_sc_mirrors.h"

#include <dlfcn.h>

namespace {

using GetScope = void *(*)();
using SetScope = void *(*)(void *);

struct Attached {
  std::string instance; ///< The SystemC name.
  void *scope;       ///< The DPI-C scope, set around the instance's mirrors.
  SetScope setScope; ///< Null where no scope is needed (VPI).
  std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> mirrors;
  bool bound = false;
};

std::vector<Attached> &attached() {
  static auto &all = *new std::vector<Attached>;
  return all;
}

} // namespace

namespace corvane_sc::runtime {

bool mirrorsAttached = false;

void show_mirrors() {
  // Ports reach their signals when elaboration ends.
  if (!sc_core::sc_start_of_simulation_invoked())
    return;
  for (Attached &instance : attached()) {
    if (!instance.bound) {
      instance.bound = true;
      // An object that is not where the generator saw it (a model that
      // builds itself differently in the library) is shown no more.
      std::vector<std::unique_ptr<mirrors::Mirror>> found;
      for (auto &mirror : instance.mirrors)
        if (mirror->bind(instance.instance))
          found.push_back(std::move(mirror));
      instance.mirrors = std::move(found);
    }
    void *previous = instance.setScope ? instance.setScope(instance.scope) : nullptr;
    for (auto &mirror : instance.mirrors)
      mirror->show();
    if (instance.setScope)
      instance.setScope(previous);
  }
}

} // namespace corvane_sc::runtime

namespace corvane_sc::mirrors {

int attach(const char *path, std::vector<std::unique_ptr<Mirror>> mirrors) {
  const auto getScope = reinterpret_cast<GetScope>(::dlsym(RTLD_DEFAULT, "svGetScope"));
  const auto setScope = reinterpret_cast<SetScope>(::dlsym(RTLD_DEFAULT, "svSetScope"));
  if (!getScope || !setScope)
    return runtime::fail("the simulator gives no DPI-C scopes (svGetScope), which the mirrors need");
  for (auto &mirror : mirrors) {
    mirror->function = ::dlsym(RTLD_DEFAULT, mirror->exported);
    if (!mirror->function)
      return runtime::fail((std::string("the simulation does not export ") + mirror->exported +
                            " to the library; link it with --export-dynamic")
                               .c_str());
  }
  attach_resolved(path, getScope(), setScope, std::move(mirrors));
  return 0;
}

void attach_resolved(const char *path, void *scope, void *(*setScope)(void *),
                     std::vector<std::unique_ptr<Mirror>> mirrors) {
  attached().push_back({runtime::instance_name(path), scope, setScope, std::move(mirrors)});
  runtime::mirrorsAttached = true;
}

} // namespace corvane_sc::mirrors
