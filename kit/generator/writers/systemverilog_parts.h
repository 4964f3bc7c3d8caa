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

} // namespace corvane_sc

#endif
