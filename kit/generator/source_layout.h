#ifndef CORVANE_KIT_SOURCE_LAYOUT_H
#define CORVANE_KIT_SOURCE_LAYOUT_H

/// \file
/// The C++ front end of the wrapper generator: reads the member names of
/// exported modules from the export sources with libclang, which it loads
/// at run time, so that a machine without it still builds designs (the
/// ports then keep SystemC's names).

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace corvane_sc {

/// A data member as it lies in an object of the module's class.
struct MemberPlace {
  uint64_t offset;  ///< Bytes from the start of the object.
  std::string name; ///< "clk"; array elements "d_0", "m_1_2"; members of a member "bus_valid".
  std::string type; ///< Canonical C++ type without blanks: "sc_core::sc_in<bool>".
};

/// What the front end saw of one module's class: its size, and its data
/// members and theirs, also those of its first base class.
struct ClassLayout {
  uint64_t size = 0;
  std::vector<MemberPlace> members;
};

/// How the export sources of a run are parsed: the include paths and
/// defines of quillc's wrapper compile, plus the -Wcxx options of the
/// quillc run that started this process, and the kit's systemc.h
/// precompiled for libclang when it may stand for the plain header.
struct ExportParse {
  std::vector<std::string> arguments;
  std::string directory;   ///< Empty unless sources may be parsed at once.
  std::string precompiled; ///< Empty when every parse reads the plain header.
};

/// The parse of this run's export sources, made once before any parse;
/// \p concurrent asks for parses that may run at once, which the -Wcxx
/// options may refuse (those that make the front end print as it parses).
ExportParse export_parse(bool concurrent);

/// Parses the export source \p file (named relative to the build directory,
/// as its compile names it) as \p parse says, and gives the layout of each
/// corvane_sc_exported_type_<n> by n.  False with \p error when libclang
/// cannot be loaded or the source does not parse.  A precompiled header
/// that does not fit (stale, or other options) only costs a plain parse.
/// Several threads may parse at once, each its own source, when \p parse
/// has a directory.
bool read_export_layouts(const ExportParse &parse, const std::string &file,
                         std::map<int, ClassLayout> &layouts, std::string &error);

/// Precompiles the kit's systemc.h \p header for export_parse() into
/// \p output, and gives every file that it read.  False with \p error when
/// libclang cannot be loaded or the header does not parse.
bool precompile_systemc_header(const std::string &header, const std::string &output,
                               std::vector<std::string> &inputs, std::string &error);

/// Which libclang the front end loads: its file, the file's size and
/// modification time, and its version; or why there is none.
bool libclang_identity(std::string &identity, std::string &error);

/// \p text without blanks, for comparing a canonical type with a demangled
/// one: "sc_core::sc_in<sc_dt::sc_uint<8> >" and "...<8>>" are the same.
std::string without_blanks(const std::string &text);

} // namespace corvane_sc

#endif
