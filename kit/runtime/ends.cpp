// The ends of a run, in one place for every simulator interface: the
// model's sc_stop(), the testbench's own end and what the adapters are
// told to do about each (corvane_sc_runtime.h).

#include "kit/include/corvane_sc_runtime.h"

#include <systemc>

namespace corvane_sc::runtime {

bool ended = false;

int end_state() {
  if (ended)
    return 2;
  if (!stopped())
    return 0;
  ended = true;
  return 1;
}

int end_simulation() {
  // Stopped by the model, crashed, or ended already.
  if (ended)
    return 0;
  ended = true;
  // A kernel that never started has nothing to end; one that stopped by
  // itself has run the callbacks already.
  if (!sc_core::sc_start_of_simulation_invoked() || sc_core::sc_end_of_simulation_invoked())
    return 0;
  try {
    // The callbacks see the time at which the testbench ended.
    if (!catch_up_to_latest())
      return -1;
    sc_core::sc_get_curr_simcontext()->end();
    return 0;
  } catch (...) {
    return fail_current_exception();
  }
}

} // namespace corvane_sc::runtime
