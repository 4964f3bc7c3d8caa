#ifndef CORVANE_SC_MIRRORS_H
#define CORVANE_SC_MIRRORS_H

/// \file
/// The mirrors of a model's insides in the waveform: for every signal and
/// buffer of the model and every port of its sub-modules that the wrapper
/// can carry, a variable of the wrapper that the runtime sets at the
/// simulation time at which the model changed the object.  One core knows
/// what changed (after every entry into the kernel, whoever made it);
/// each simulator interface has its own way to the variable:
///   - DPI-C (wrapper.sv, built with CORVANE_SC_MIRRORS defined): a
///     function per variable that the wrapper exports, attached once per
///     instance with the generated corvane_sc_dpi_<module>_mirror(path).
///     The simulation program must export its symbols to the library
///     (--export-dynamic) and the simulator give DPI-C scopes; both are
///     looked up when the first instance attaches, so a library whose
///     host has neither loads all the same.
///   - VPI (wrapper.v, built with CORVANE_SC_MIRRORS defined): registers
///     that the wrapper hands to $corvane_sc_mirror, set with
///     vpi_put_value.
///   - VHPIDIRECT (wrapper.vhd): a buffer per instance that the wrapper's
///     process copies after each of its evaluations, only while
///     CORVANE_SC_MIRRORS is in the environment.
/// Without any of it nothing is attached, and an evaluation pays one test
/// of a flag.

#include "corvane_sc_dpi.h"
#include "corvane_sc_vhpidirect.h"
#include "corvane_sc_vpi.h"

#include <systemc>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane_sc::mirrors {

/// One object of the model and its variable in the wrapper.
class Mirror {
public:
  virtual ~Mirror() = default;
  /// Finds the object below the instance named \p instance; false when
  /// it is not there or is not of the mirror's type.
  virtual bool bind(const std::string &instance) = 0;
  /// Sets the variable when the object holds another value than shown.
  virtual void show() = 0;
  /// The name of the function that sets the variable, and the function
  /// (under VPI: the variable's name below the instance, and its record).
  const char *exported = nullptr;
  void *function = nullptr;
};

template <class T> class MirrorOf final : public Mirror {
public:
  using Show = void (*)(void *function, const T &value);
  MirrorOf(const char *path, const char *exportedName, Show show) : m_Path(path), m_Show(show) {
    exported = exportedName;
  }

  bool bind(const std::string &instance) override {
    sc_core::sc_object *object = sc_core::sc_find_object((instance + "." + m_Path).c_str());
    if (auto *port = dynamic_cast<sc_core::sc_port_base *>(object))
      m_Source = dynamic_cast<const sc_core::sc_signal_in_if<T> *>(port->get_interface());
    else
      m_Source = dynamic_cast<const sc_core::sc_signal_in_if<T> *>(object);
    return m_Source != nullptr;
  }

  void show() override {
    const T &value = m_Source->read();
    if (m_Shown && *m_Shown == value)
      return;
    m_Shown = value;
    m_Show(function, value);
  }

private:
  const char *m_Path;
  Show m_Show;
  const sc_core::sc_signal_in_if<T> *m_Source = nullptr;
  std::optional<T> m_Shown;
};

template <class T>
std::unique_ptr<Mirror> mirror(const char *path, const char *exported, typename MirrorOf<T>::Show show) {
  return std::make_unique<MirrorOf<T>>(path, exported, show);
}

/// Attaches the mirrors of the instance at HDL path \p path, in the
/// DPI-C scope of the caller.  0, or -1 with the error recorded.
int attach(const char *path, std::vector<std::unique_ptr<Mirror>> mirrors);

/// Attaches mirrors whose targets the simulator's interface has found
/// already (each one's function): the core that every interface shares,
/// which shows what changed after every entry into the kernel.  \p setScope, when
/// not null, is called with \p scope around the instance's mirrors and
/// with what it returned after them.
void attach_resolved(const char *path, void *scope, void *(*setScope)(void *),
                     std::vector<std::unique_ptr<Mirror>> mirrors);

/// The mirrors of one module under VPI: made afresh for each instance, in
/// the order of \p ports, which say how each variable takes its value.
struct VpiModule {
  const char *name;
  std::vector<std::unique_ptr<Mirror>> (*make)();
  const vpi::Port *ports;
};

struct VpiModules {
  const VpiModule *modules;
  size_t count;
};

/// Defined by startup.cpp from the generated sc_module/mirror_glue.cpp.
extern const VpiModules kVpiModules;

/// Attaches the mirrors of the instance of \p module at the VPI scope
/// named \p path to its \p count variables (vpiHandle), in the glue's
/// order (wrapper.v).  0, or -1 with the error recorded.
int attach_vpi(const char *module, const char *path, void *const *variables, size_t count);

} // namespace corvane_sc::mirrors

namespace corvane_sc::vhpidirect {

/// Attaches the mirrors of the VHDL instance at \p path (":tb:dut:"),
/// whose functions are the places their values go to.
void attach_mirrors(const corvane_sc_vhpi_string *path, std::vector<std::unique_ptr<mirrors::Mirror>> mirrors);

} // namespace corvane_sc::vhpidirect

namespace corvane_sc::vpi {

/// Puts \p value, in the form of the record \p mirror's variable, into
/// the variable (kit/runtime/interfaces/vpi.cpp).
void show_mirror(void *mirror, const Argument &value);

} // namespace corvane_sc::vpi

#endif
