#ifndef CORVANE_KIT_WRITERS_SYSTEMVERILOG_PARTS_H
#define CORVANE_KIT_WRITERS_SYSTEMVERILOG_PARTS_H

/// \file
/// The parts of a SystemVerilog wrapper module beside its body
/// (render_module_body()), each written by a file of its own.

#include "kit/generator/wrapper_writer.h"

#include <string>

namespace corvane_sc {

/// The end of \p module's wrapper: the final block that runs the models'
/// end-of-simulation callbacks.
std::string render_module_end(const WrapperModule &module);

/// What the file's header says and defines for the mirrors: the kernel's
/// run and the crossing (which runs the kernel for the one instance of a
/// simulation) are context imports when they are compiled, since they set
/// them in any instance.
std::string render_mirrors_preamble();

/// The mirrors of \p module's insides in the waveform (hierarchy.h), for
/// a simulation built with CORVANE_SC_MIRRORS defined, and a comment on
/// what they leave out.
std::string render_mirrors(const WrapperModule &module);

/// The text of mirror_glue.cpp: for each module with mirrors, the
/// function that attaches an instance's mirrors (corvane_sc_mirrors.h).
std::string render_mirror_glue(const std::vector<WrapperModule> &modules);

/// The name of the function that \p module's wrapper exports for its
/// mirror \p index.
std::string mirror_function(const WrapperModule &module, size_t index);

} // namespace corvane_sc

#endif
