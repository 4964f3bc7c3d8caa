#ifndef QUILLC_DRIVER_ARGS_H
#define QUILLC_DRIVER_ARGS_H

/// \file
/// quillc's own command line:
///   quillc [-module <name>]... <SystemC file> ... [-Wcxx,<opt>[,<opt>...]]
/// A -module belongs to the next source file.  All text is viewed in place
/// in argv; nothing is copied.

#include <string>
#include <string_view>
#include <vector>

/// One source file and the modules that the command line gave it.
struct SourceUnit {
  std::string_view source;
  std::vector<std::string_view> modules;
};

struct DriverArguments {
  std::vector<SourceUnit> units;             ///< In command-line order.
  std::vector<std::string_view> extraOptions; ///< The -Wcxx items.

  /// Every -Wcxx item preceded by one blank (" a b"; empty without items).
  std::string extraOptionsText() const;
};

/// Parses argv, reporting argument errors to standard error and the log.
/// Returns false for the two errors that end the run (no arguments at all,
/// and -module with no source after it).
bool parse_driver_arguments(int argc, char **argv, DriverArguments &out);

#endif
