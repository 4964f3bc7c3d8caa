// The DPI-C entry points that every wrapper.sv imports beside the
// generated per-module functions (sc_module/dpi_glue.cpp).

#include "kit/include/corvane_sc_dpi.h"

extern "C" const char *corvane_sc_dpi_error(void) { return corvane_sc::runtime::error(); }

extern "C" int corvane_sc_dpi_end(void) { return corvane_sc::runtime::end_simulation(); }
extern "C" int64_t corvane_sc_dpi_next(void) { return corvane_sc::runtime::next_event_ps(); }
extern "C" int corvane_sc_dpi_run(int64_t now_ps, int64_t *next_ps) { return corvane_sc::runtime::run(now_ps, next_ps); }
