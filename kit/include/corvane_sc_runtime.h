#ifndef CORVANE_SC_RUNTIME_H
#define CORVANE_SC_RUNTIME_H

/// \file
/// The core of the co-simulation runtime in libcorvanesc.so: instances by
/// their HDL path, the one SystemC kernel and its stepping, the error
/// record.  Every simulator interface (DPI-C, VPI, VHPIDIRECT) and the glue
/// that the wrapper generator writes for a design call it; none of it is
/// specific to a simulator or a wrapper language.  The rules of
/// corvane_sc_cosim.h hold (one kernel, one thread, elaboration before
/// simulation).

#include "corvane_sc_cosim.h"

#include <systemc>

#include <cstdint>
#include <exception>
#include <string>
#include <type_traits>
#include <vector>

namespace corvane_sc {
class PortSignal;
class DeferredInput;
template <class T> class PortChannel;
} // namespace corvane_sc

namespace corvane_sc::runtime {

/// Builds an instance of \p module for the HDL instance whose hierarchical
/// name is \p path ("tb.pair.a"); null with the error recorded on failure.
/// The SystemC name is the path with every "." made ":", and ":", "%",
/// white space and other bytes outside printable ASCII written as %3A,
/// %25, %20 ...: distinct paths give distinct names.
corvane_sc_instance *instantiate(const char *module, const char *path);

/// The SystemC name of the instance for HDL path \p path, as
/// instantiate() gives it.
std::string instance_name(const char *path);

/// Port \p index of \p instance (wrapper order); null when out of range.
PortSignal *port_signal(corvane_sc_instance *instance, int index);

/// Records \p message as the latest failure and returns -1.
int fail(const char *message);

/// The latest failure that fail() recorded.
const char *error();

/// Records that \p module has no instance \p handle; returns -1.
int bad_handle(const char *module, int handle);

/// Turns what is being thrown into the latest failure; returns -1.
int fail_current_exception();

/// The kernel's stepping.  There is one SystemC kernel, whatever the
/// number of instances, and one record of where it stands: the time it
/// has reached, its next pending event, and the input changes that wait
/// for it.  An evaluation enters the kernel only when the model has
/// something to do: its own events are due, or an input changed that some
/// process waits on.

/// Where the one kernel stands, as of its last entry; every evaluation
/// reads it, so the calls below that find nothing to do stay inline.
struct KernelState {
  /// Whether the kernel has begun to run.
  bool started = false;
  /// Whether some input change waits for deliver().
  bool deferred = false;
  /// The time of its next pending event in picoseconds, -1 for none.
  int64_t next_ps = -1;
  /// The latest simulation time that an evaluation reported.
  int64_t latest_ps = 0;
  /// How many instances exist: with one, a crossing enters the kernel
  /// itself, as nothing else can change in the same time step.
  int instances = 0;
  /// How often the library has entered the kernel; what the model did
  /// (sc_stop() among it) can change only when this count moves.
  uint64_t entries = 0;
};
extern KernelState kernel;

/// catch_up() when an event is due or the kernel has not started.
bool catch_up_due(int64_t now_ps);

/// Notes \p now_ps, a time that an evaluation reported: the latest is the
/// time that end_simulation() brings the kernel to.
inline void note_time(int64_t now_ps) {
  if (now_ps > kernel.latest_ps)
    kernel.latest_ps = now_ps;
}

/// Runs the kernel's own events up to and including \p now_ps (starting
/// the kernel the first time), so that the inputs written next are seen
/// after them; enters the kernel only when an event is due.  False (with
/// the error recorded) when the model does not settle.
inline bool catch_up(int64_t now_ps) {
  note_time(now_ps);
  if (kernel.started && (kernel.next_ps < 0 || kernel.next_ps > now_ps))
    return true;
  return catch_up_due(now_ps);
}

/// Keeps \p input's change, which hold() kept back, for the next deliver().
void defer(DeferredInput &input);

/// deliver() when some change was deferred.
bool deliver_deferred(int64_t now_ps);

/// Brings the kernel to \p now_ps, makes the deferred input changes seen
/// there and runs the delta cycles until none is pending; nothing when no
/// change was deferred.  False (with the error recorded) when the model
/// does not settle (a million delta cycles at one time).
inline bool deliver(int64_t now_ps) { return !kernel.deferred || deliver_deferred(now_ps); }

/// Whether the kernel has begun to run.
inline bool running() { return kernel.started; }

/// The time of the kernel's next pending event in picoseconds, or -1, as
/// of its last entry.
inline int64_t next_event_ps() { return kernel.next_ps; }

/// Whether the model has stopped the simulation.
bool stopped();

/// Where the run stands, for an adapter having left the kernel: 0 while
/// the kernel runs; 1 the first time that anyone asks after the model
/// stopped the simulation (the adapter ends its simulator, status 0); 2
/// for every later ask and after end_simulation(), when the adapter does
/// nothing more.
int end_state();

/// Whether end_state() has turned non-zero: nothing enters the kernel
/// again.  A flag, since every evaluation asks.
extern bool ended;

/// Brings the kernel to the latest time that an evaluation reported (it
/// may stand behind when nothing was due), running what is due by then.
bool catch_up_to_latest();

/// The testbench's end: runs the model's end_of_simulation callbacks
/// unless the kernel never started, the run has ended already (the
/// model's sc_stop(), a crash) or they ran; once however often it is
/// called.  0, or -1 with the error recorded.
int end_simulation();

/// Arms the crash report (kit/runtime/crash.cpp): from then on SIGSEGV,
/// SIGBUS, SIGFPE, SIGILL and SIGABRT are reported on standard error with
/// the SystemC process that was running, the simulation time and the
/// stack, then handled as before.  Every library's start-up source calls
/// it when the library loads; a later call puts the report back in front
/// of handlers that a simulator installed since.
void report_crashes();

/// Whether any instance has mirrors in the waveform (corvane_sc_mirrors.h).
extern bool mirrorsAttached;

/// Shows in the waveform what the model changed since the last call.
void show_mirrors();

/// Typed access to a port's signal, checked once at instantiation.
template <class T> bool bind(corvane_sc_instance *instance, int index, PortChannel<T> *&signal);

/// One evaluation of an instance at simulation time \p now_ps: with \p run
/// it runs the kernel's events due by now_ps, writes the inputs (\p write,
/// through put()), brings the changes that something waits on to the
/// kernel and runs its delta cycles at now_ps, and reads the outputs
/// (\p read); without it it only writes (holding back for the next run()
/// what something waits on) and reads.  *next_ps is the kernel's next
/// event, -1 when there is none.
/// Returns 0, 1 when the model has stopped the simulation, -1 on an error,
/// which error() describes; 2 once the simulation has ended (end_state()),
/// without touching the model.
template <class Write, class Read>
int evaluate(int64_t now_ps, bool run, int64_t *next_ps, Write write, Read read) {
  if (ended)
    return *next_ps = -1, 2;
  try {
    const uint64_t entries = kernel.entries;
    if (run && !catch_up(now_ps))
      return -1;
    write();
    if (run && !deliver(now_ps))
      return -1;
    read();
    if (mirrorsAttached && run)
      show_mirrors();
    *next_ps = next_event_ps();
    // Without a kernel entry the model cannot have stopped since the last
    // evaluation, which found it running (else the run has ended).
    return (!run || kernel.entries != entries) && stopped() ? end_state() : 0;
  } catch (...) {
    return fail_current_exception();
  }
}

/// One crossing of an instance at simulation time \p now_ps for the keeper
/// (corvane_sc_dpi.h): writes the inputs (\p write, through put()) and
/// reads the outputs (\p read), without entering the kernel.  Returns 0; 3
/// when the kernel has work in this time step (it has not started yet, or
/// this crossing held back the first change that something waits on), for
/// run(); -1 on an error, which error() describes.  Once the simulation has
/// ended it only reads.  The one instance of a simulation is evaluate()d
/// at once instead, as nothing else can cross in its time step: then 1
/// when the model has stopped, and 4 when the kernel's next event moved.
template <class Write, class Read> int cross(int64_t now_ps, Write write, Read read) {
  note_time(now_ps);
  if (kernel.instances == 1 && kernel.started && !ended) {
    const int64_t armed = kernel.next_ps;
    int64_t next_ps = -1;
    const int status = evaluate(now_ps, true, &next_ps, write, read);
    return status == 0 && next_ps >= 0 && next_ps != armed ? 4 : status == 2 ? 0 : status;
  }
  try {
    if (ended) {
      read();
      return 0;
    }
    const bool deferred = kernel.deferred;
    write();
    read();
    return !kernel.started || (kernel.deferred && !deferred) ? 3 : 0;
  } catch (...) {
    return fail_current_exception();
  }
}

/// The keeper's kernel entry at simulation time \p now_ps: starts the
/// kernel the first time, runs its events due by now_ps, brings every input
/// change held back by cross() to it and runs the delta cycles at now_ps.
/// *next_ps is the kernel's next event, -1 when there is none.  Returns
/// as evaluate() does.
int run(int64_t now_ps, int64_t *next_ps);

template <class T> struct same_type {
  using type = T;
};

/// Writes \p value to an input's signal: at once when nothing in the model
/// waits on the change (no delta cycle, no kernel entry), else held back
/// for deliver(); before the kernel runs, as SystemC's own write, whose
/// update at the start takes the latest value written.  Once it runs, no
/// update is pending on an input between evaluations, so an equal value
/// changes nothing.  Whether the value changed.
template <class T> inline bool put(PortChannel<T> &signal, const typename same_type<T>::type &value) {
  if (signal.held()) {
    // Waits for deliver() already; the latest value is the one seen.
    signal.hold(value);
    return true;
  }
  if (!running()) {
    // A value set and set back before the start must undo the pending
    // update, which comparing with the current value would miss.
    signal.write(value);
    return true;
  }
  if (signal.current() == value)
    return false;
  if (!signal.waited(value))
    signal.take(value);
  else {
    signal.hold(value);
    defer(signal);
  }
  return true;
}

/// A handle's entry of \p table, or null (with the error recorded).
template <class Ports> Ports *find(std::vector<Ports> &table, int handle, const char *module) {
  if (handle >= 0 && static_cast<std::size_t>(handle) < table.size())
    return &table[handle];
  bad_handle(module, handle);
  return nullptr;
}

/// Bits of a two-valued value of up to 64 bits.
template <class T> inline void from_u64(T &value, uint64_t bits) {
  if constexpr (std::is_integral_v<T>)
    value = static_cast<T>(bits);
  else
    value = bits;
}

template <class T> inline uint64_t to_u64(const T &value) {
  if constexpr (std::is_integral_v<T>)
    return static_cast<uint64_t>(value);
  else if constexpr (std::is_base_of_v<sc_dt::sc_signed, T> || std::is_base_of_v<sc_dt::sc_int_base, T>)
    return static_cast<uint64_t>(value.to_int64());
  else
    return value.to_uint64();
}

} // namespace corvane_sc::runtime

#include "corvane_sc_glue.h"

template <class T>
bool corvane_sc::runtime::bind(corvane_sc_instance *instance, int index, PortChannel<T> *&signal) {
  auto *typed = dynamic_cast<SignalOf<T> *>(port_signal(instance, index));
  if (!typed)
    return fail("the generated glue does not match the library's port signals"), false;
  signal = &typed->signal();
  return true;
}

#endif
