// Start-up source of every co-simulation library.  quillc compiles it in
// the link command of libcorvanesc.so, from the work directory, so it is
// part of each library and sees what the wrapper generator wrote there.

// First, so that the kit's precompiled systemc.h for the link command
// serves it.
#include "systemc.h"

#include "corvane_sc_cosim.h"
#include "corvane_sc_dpi.h"
#include "corvane_sc_vhpidirect.h"
#include "corvane_sc_vpi.h"

// The glue for the design's own port types and the names of its ports,
// generated for this design by the wrapper generator.
#if __has_include("sc_module/sc_module_factory.cpp")
#include "sc_module/sc_module_factory.cpp"
#else
#include "corvane_sc_glue.h"
// No generator ran: the library carries no port types and knows no
// module's ports, and refuses every module when instantiated.
const corvane_sc::DesignGlue corvane_sc::kDesignGlue = {[](corvane_sc::GlueTable &) {}, nullptr, 0};
#endif
#if __has_include("sc_module/dpi_glue.cpp")
#include "sc_module/dpi_glue.cpp"
#endif
#if __has_include("sc_module/vhpi_glue.cpp")
#include "sc_module/vhpi_glue.cpp"
#endif
// The VPI side's glue calls the DPI-C glue above.
#if __has_include("sc_module/vpi_glue.cpp")
#include "sc_module/vpi_glue.cpp"
#else
const corvane_sc::vpi::DesignModules corvane_sc::vpi::kDesignModules = {nullptr, 0};
#endif
#if __has_include("sc_module/mirror_glue.cpp")
#include "sc_module/mirror_glue.cpp"
#else
#include "corvane_sc_mirrors.h"
const corvane_sc::mirrors::VpiModules corvane_sc::mirrors::kVpiModules = {nullptr, 0};
#endif

// SystemC's library refers to sc_main; a co-simulation library never calls
// it, but the dynamic loader must find it when it binds every symbol at
// load time.  Weak, so that a design that brings its own sc_main still
// links.
extern "C" [[gnu::weak]] int sc_main(int, char *[]) { return 1; }

namespace {

// A model that crashes says where, whichever simulator loaded the library.
[[gnu::used]] const bool kCrashReports = (corvane_sc::runtime::report_crashes(), true);

// The entry points live in libsccosim.a, which the link names after every
// object.  An archive member is only linked when something refers to it,
// and nothing else in a design does: these references put the whole
// interface into the library, where the simulator finds it with dlsym().
using EntryPoint = void (*)();
[[gnu::used]] const EntryPoint kEntryPoints[] = {
    reinterpret_cast<EntryPoint>(&corvane_sc_module_count),
    reinterpret_cast<EntryPoint>(&corvane_sc_module_name),
    reinterpret_cast<EntryPoint>(&corvane_sc_instantiate),
    reinterpret_cast<EntryPoint>(&corvane_sc_port_count),
    reinterpret_cast<EntryPoint>(&corvane_sc_port_info),
    reinterpret_cast<EntryPoint>(&corvane_sc_write_u64),
    reinterpret_cast<EntryPoint>(&corvane_sc_read_u64),
    reinterpret_cast<EntryPoint>(&corvane_sc_write_words),
    reinterpret_cast<EntryPoint>(&corvane_sc_read_words),
    reinterpret_cast<EntryPoint>(&corvane_sc_write_logic),
    reinterpret_cast<EntryPoint>(&corvane_sc_read_logic),
    reinterpret_cast<EntryPoint>(&corvane_sc_write_f64),
    reinterpret_cast<EntryPoint>(&corvane_sc_read_f64),
    reinterpret_cast<EntryPoint>(&corvane_sc_advance),
    reinterpret_cast<EntryPoint>(&corvane_sc_last_error),
    reinterpret_cast<EntryPoint>(&corvane_sc_dpi_error),
    reinterpret_cast<EntryPoint>(&corvane_sc_vhpi_error_length),
    reinterpret_cast<EntryPoint>(&corvane_sc_vhpi_error_text),
    reinterpret_cast<EntryPoint>(&corvane_sc_vhpi_mirroring),
    // With it, vlog_startup_routines, which vvp looks up.
    reinterpret_cast<EntryPoint>(&corvane_sc_vpi_register),
    reinterpret_cast<EntryPoint>(&corvane_sc_dpi_end),
    reinterpret_cast<EntryPoint>(&corvane_sc_dpi_run),
};

} // namespace
