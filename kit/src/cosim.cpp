// The co-simulation interface of corvane_sc_cosim.h.  Its functions end up
// in every libcorvanesc.so because startup.cpp, which the link compiles
// into the library, refers to each of them.

#include "kit/include/corvane_sc_cosim.h"

#include "kit/src/module_registry.h"
#include "kit/src/port_types.h"

#include <systemc>

#include <algorithm>
#include <exception>
#include <memory>
#include <string>
#include <vector>

struct corvane_sc_instance {
  struct Port {
    std::string name;
    corvane_sc::PortDirection direction;
    std::unique_ptr<corvane_sc::PortSignal> signal;
  };

  std::string name;
  std::vector<Port> ports;
};

namespace {

using corvane_sc::PortDirection;

constexpr char kUnknownException[] = "the model threw something that is not a std::exception";

std::string g_lastError;
std::vector<std::unique_ptr<corvane_sc_instance>> g_instances;

int fail(int code, std::string message) {
  g_lastError = std::move(message);
  return code;
}

/// Runs \p body and turns whatever the model or SystemC throws into an
/// error code: no exception may cross the C interface into the simulator.
template <class Body> int guarded(Body body) {
  try {
    return body();
  } catch (const std::exception &e) {
    return fail(CORVANE_SC_ERR_SYSTEMC, e.what());
  } catch (...) {
    return fail(CORVANE_SC_ERR_SYSTEMC, kUnknownException);
  }
}

/// Called before the library first touches SystemC.
void prepare_kernel() {
  static bool prepared = false;
  if (prepared)
    return;
  prepared = true;
  // A fatal SystemC report aborts the process by default; here it is one
  // more error to hand back to the simulator.
  sc_core::sc_report_handler::set_actions(sc_core::SC_FATAL, sc_core::SC_DISPLAY |
                                                                  sc_core::SC_CACHE_REPORT |
                                                                  sc_core::SC_THROW);
}

bool elaborated() { return sc_core::sc_get_status() != sc_core::SC_ELABORATION; }

/// Checks that \p instance is a handle that this library gave out.
bool known(const corvane_sc_instance *instance) {
  return std::any_of(g_instances.begin(), g_instances.end(),
                     [instance](const auto &owned) { return owned.get() == instance; });
}

std::string module_list() {
  std::string list;
  for (const corvane_sc::ExportedModule &module : corvane_sc::exported_modules())
    list += (list.empty() ? "" : ", ") + module.name;
  return list.empty() ? "none" : list;
}

/// Finds \p name on \p instance, or fails with a message into \p code.
corvane_sc_instance::Port *find_port(corvane_sc_instance *instance, const char *name, int &code) {
  if (!instance || !known(instance)) {
    code = fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library");
    return nullptr;
  }
  if (!name) {
    code = fail(CORVANE_SC_ERR_ARGUMENT, "no port name");
    return nullptr;
  }
  for (corvane_sc_instance::Port &port : instance->ports)
    if (port.name == name)
      return &port;
  code = fail(CORVANE_SC_ERR_UNKNOWN_PORT,
              "instance '" + instance->name + "' has no port '" + name + "'");
  return nullptr;
}

/// Builds the instance and binds its ports; on failure returns null with
/// the error recorded.
corvane_sc_instance *build_instance(const corvane_sc::ExportedModule &module,
                                    const std::string &name) {
  sc_core::sc_module *model = module.factory(name.c_str());

  // Check every port before binding any, so that a module that cannot be
  // driven is dropped before it has signals.
  std::vector<std::pair<sc_core::sc_port_base *, corvane_sc::PortShape>> ports;
  for (sc_core::sc_object *child : model->get_child_objects()) {
    auto *port = dynamic_cast<sc_core::sc_port_base *>(child);
    if (!port)
      continue;
    corvane_sc::PortShape shape = corvane_sc::classify_port(*port);
    if (!shape.type || shape.resolved) {
      std::string type = corvane_sc::cxx_type_name(*port);
      delete model;
      fail(CORVANE_SC_ERR_UNSUPPORTED_PORT, "module '" + module.name + "', port '" +
                                                port->basename() + "': " + type +
                                                " has no 64-bit value");
      return nullptr;
    }
    ports.emplace_back(port, shape);
  }

  auto instance = std::make_unique<corvane_sc_instance>();
  instance->name = name;
  for (auto &[port, shape] : ports) {
    std::string signalName = name + "_" + port->basename();
    instance->ports.push_back({port->basename(), shape.direction,
                               shape.type->bind(*port, sc_core::sc_gen_unique_name(signalName.c_str(), true))});
  }
  g_instances.push_back(std::move(instance));
  return g_instances.back().get();
}

} // namespace

extern "C" {

int corvane_sc_module_count(void) { return static_cast<int>(corvane_sc::exported_modules().size()); }

const char *corvane_sc_module_name(int index) {
  const auto &modules = corvane_sc::exported_modules();
  if (index < 0 || static_cast<size_t>(index) >= modules.size()) {
    fail(CORVANE_SC_ERR_ARGUMENT, "no module number " + std::to_string(index) + " (the library exports " +
                                      std::to_string(modules.size()) + ")");
    return nullptr;
  }
  return modules[index].name.c_str();
}

corvane_sc_instance *corvane_sc_instantiate(const char *module, const char *instance_name) {
  if (!module || !instance_name || !*instance_name) {
    fail(CORVANE_SC_ERR_ARGUMENT, "instantiate needs a module name and an instance name");
    return nullptr;
  }
  const corvane_sc::ExportedModule *exported = corvane_sc::find_exported_module(module);
  if (!exported) {
    fail(CORVANE_SC_ERR_UNKNOWN_MODULE, std::string("unknown module '") + module +
                                            "' (exported: " + module_list() + ")");
    return nullptr;
  }
  try {
    prepare_kernel();
    if (elaborated()) {
      fail(CORVANE_SC_ERR_ELABORATED, std::string("cannot instantiate '") + instance_name +
                                          "': the simulation has started");
      return nullptr;
    }
    if (std::string(instance_name).find_first_of(". \t\n") != std::string::npos) {
      fail(CORVANE_SC_ERR_ARGUMENT,
           std::string("instance name '") + instance_name + "' is not a SystemC base name");
      return nullptr;
    }
    if (sc_core::sc_find_object(instance_name)) {
      fail(CORVANE_SC_ERR_NAME_TAKEN,
           std::string("an object named '") + instance_name + "' exists already");
      return nullptr;
    }
    return build_instance(*exported, instance_name);
  } catch (const std::exception &e) {
    fail(CORVANE_SC_ERR_SYSTEMC, e.what());
  } catch (...) {
    fail(CORVANE_SC_ERR_SYSTEMC, kUnknownException);
  }
  return nullptr;
}

int corvane_sc_write_u64(corvane_sc_instance *instance, const char *port, uint64_t value) {
  int code = CORVANE_SC_OK;
  corvane_sc_instance::Port *found = find_port(instance, port, code);
  if (!found)
    return code;
  if (found->direction == PortDirection::Output)
    return fail(CORVANE_SC_ERR_DIRECTION, "port '" + found->name + "' of instance '" +
                                              instance->name + "' is an output");
  return guarded([&]() -> int {
    std::string error;
    if (!found->signal->write(value, error))
      return fail(CORVANE_SC_ERR_BAD_VALUE,
                  "port '" + found->name + "' of instance '" + instance->name + "': " + error);
    return CORVANE_SC_OK;
  });
}

int corvane_sc_read_u64(corvane_sc_instance *instance, const char *port, uint64_t *value) {
  int code = CORVANE_SC_OK;
  corvane_sc_instance::Port *found = find_port(instance, port, code);
  if (!found)
    return code;
  if (!value)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no place for the value");
  return guarded([&]() -> int {
    std::string error;
    if (!found->signal->read(*value, error))
      return fail(CORVANE_SC_ERR_BAD_VALUE,
                  "port '" + found->name + "' of instance '" + instance->name + "' " + error);
    return CORVANE_SC_OK;
  });
}

int corvane_sc_advance(corvane_sc_instance *instance, uint64_t nanoseconds) {
  if (instance && !known(instance))
    return fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library");
  return guarded([&]() -> int {
    prepare_kernel();
    sc_core::sc_start(sc_core::sc_time(static_cast<double>(nanoseconds), sc_core::SC_NS));
    return CORVANE_SC_OK;
  });
}

const char *corvane_sc_last_error(void) { return g_lastError.c_str(); }

} // extern "C"
