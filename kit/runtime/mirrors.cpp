// The runtime side of the mirrors (corvane_sc_mirrors.h): the attached
// instances, and after every evaluation the values that changed, sent to
// the variables of every instance, whichever instance's evaluation ran
// the kernel.

#include "kit/include/corvane_sc_mirrors.h"

#include <dlfcn.h>

namespace {

using GetScope = void *(*)();
using SetScope = void *(*)(void *);

struct Attached {
  std::string instance; ///< The SystemC name.
  void *scope;
  std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> mirrors;
  bool bound = false;
};

std::vector<Attached> &attached() {
  static auto &all = *new std::vector<Attached>;
  return all;
}

SetScope setScope = nullptr;

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
    void *previous = setScope(instance.scope);
    for (auto &mirror : instance.mirrors)
      mirror->show();
    setScope(previous);
  }
}

} // namespace corvane_sc::runtime

namespace corvane_sc::mirrors {

int attach(const char *path, std::vector<std::unique_ptr<Mirror>> mirrors) {
  const auto getScope = reinterpret_cast<GetScope>(::dlsym(RTLD_DEFAULT, "svGetScope"));
  setScope = reinterpret_cast<SetScope>(::dlsym(RTLD_DEFAULT, "svSetScope"));
  if (!getScope || !setScope)
    return runtime::fail("the simulator gives no DPI-C scopes (svGetScope), which the mirrors need");
  for (auto &mirror : mirrors) {
    mirror->function = ::dlsym(RTLD_DEFAULT, mirror->exported);
    if (!mirror->function)
      return runtime::fail((std::string("the simulation does not export ") + mirror->exported +
                            " to the library; link it with --export-dynamic")
                               .c_str());
  }
  attached().push_back({runtime::instance_name(path), getScope(), std::move(mirrors)});
  runtime::mirrorsAttached = true;
  return 0;
}

} // namespace corvane_sc::mirrors
