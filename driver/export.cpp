#include "driver/export.h"

#include "driver/log.h"
#include "driver/names.h"

#include <csignal>
#include <cstdio>

namespace fs = std::filesystem;

fs::path make_export_name(std::string_view source) {
  fs::path name(source);
  name.replace_extension();
  name += kExportSuffix;
  return name;
}

namespace {

/// Writes \p text; an empty view may hold a null pointer, which fwrite must
/// not be given even for zero bytes.
void write_text(FILE *file, std::string_view text) {
  if (!text.empty())
    std::fwrite(text.data(), 1, text.size(), file);
}

void write_line(FILE *file, std::string_view a, std::string_view b = {}, std::string_view c = {}) {
  write_text(file, a);
  write_text(file, b);
  write_text(file, c);
  std::fputc('\n', file);
  std::fflush(file);
}

} // namespace

void generate_export_sources(std::span<const SourceUnit> units) {
  for (const SourceUnit &unit : units) {
    if (unit.modules.empty())
      continue;
    fs::path exportName = make_export_name(unit.source);
    log_printf("Generate file '%s'\n", exportName.c_str());

    fs::path buildDir = fs::current_path() / kBuildDirectory;
    fs::create_directories(buildDir);

    // Only the build directory itself is created: a source named with a
    // directory part lands in a matching subdirectory only if it exists.
    // A termination request waits until the file is whole: the next run
    // must not compile half a source.
    sigset_t requests, previous;
    sigemptyset(&requests);
    for (int s : {SIGTERM, SIGHUP, SIGINT, SIGQUIT})
      sigaddset(&requests, s);
    ::sigprocmask(SIG_BLOCK, &requests, &previous);
    if (FILE *file = std::fopen((buildDir / exportName).c_str(), "w")) {
      write_line(file, "#include \"systemc.h\"");
      write_line(file, "#include \"", unit.source, "\"");
      for (std::string_view module : unit.modules)
        write_line(file, "NCSC_MODULE_EXPORT(", module, ");");
      std::fclose(file);
    }
    ::sigprocmask(SIG_SETMASK, &previous, nullptr);
  }
}
