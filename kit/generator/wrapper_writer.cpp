#include "kit/generator/wrapper_writer.h"

#include "driver/names.h"
#include "kit/common/module_registry.h"
#include "kit/common/port_names.h"
#include "kit/generator/source_layout.h"
#include "kit/generator/writers/systemverilog_parts.h"
#include "util/Compiler.h"

#include <systemc>

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <thread>

namespace corvane_sc {

namespace {

/// The DPI glue that wrapper.sv calls, beside the other generated files.
constexpr char kDpiGlueSource[] = "dpi_glue.cpp";
/// The mirrors' side of it.
constexpr char kMirrorGlueSource[] = "mirror_glue.cpp";

/// The VHDL wrapper beside wrapper.sv, and the VHPIDIRECT glue it calls.
constexpr char kVhdlWrapperOutput[] = "wrapper.vhd";
constexpr char kVhpiGlueSource[] = "vhpi_glue.cpp";
/// The Verilog wrapper for Icarus Verilog, beside wrapper.sv, and its VPI
/// glue.
constexpr char kVerilogWrapper[] = "wrapper.v";
constexpr char kVpiGlueSource[] = "vpi_glue.cpp";

/// Writes "wrapper_generator: <severity>: <text>\n" to standard error,
/// after what standard output holds so far.
CORVANE_PRINTF(2, 3) void report(const char *severity, const char *format, ...) {
  std::fflush(stdout);
  std::fprintf(stderr, "wrapper_generator: %s: ", severity);
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
  std::fputc('\n', stderr);
}

/// SystemC names a port that its module left unnamed "port_<n>".
bool has_generated_name(const std::string &name) {
  if (name.rfind("port_", 0) != 0 || name.size() == 5)
    return false;
  return name.find_first_not_of("0123456789", 5) == std::string::npos;
}

/// \p text as a C++ string literal.
std::string literal(const std::string &text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\' || c == '?') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c >= 0x7f) {
      char octal[8];
      std::snprintf(octal, sizeof octal, "\\%03o", c);
      out += octal;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + '"';
}

bool write_file(const std::string &path, const std::string &text) {
  std::FILE *file = std::fopen(path.c_str(), "w");
  bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (file && std::fclose(file) != 0)
    written = false;
  if (!written)
    report("error", "cannot write %s", path.c_str());
  return written;
}

/// Parses at once at most: each holds SystemC's whole AST, over 100 MB.
constexpr unsigned kMaxParseJobs = 8;

/// How many export sources may be parsed at once: QUILLC_JOBS, which
/// quillc checks before it runs anything; 1 without it.  Run by hand with
/// a value that is not a positive whole number, the generator says so and
/// parses one at a time.
unsigned parse_jobs() {
  const char *value = std::getenv("QUILLC_JOBS");
  if (!value || !*value)
    return 1;
  // Saturating: any number of digits is still a number.
  unsigned jobs = 0;
  const char *c = value;
  for (; *c >= '0' && *c <= '9'; ++c)
    jobs = std::min(jobs * 10 + static_cast<unsigned>(*c - '0'), kMaxParseJobs);
  if (*c || jobs == 0) {
    report("warning", "QUILLC_JOBS='%s' is not a positive whole number; sources are parsed one at a time", value);
    return 1;
  }
  return jobs;
}

/// The member names that the front end read, by export source.  A source
/// is parsed once, and only when a port needs a name from it.  With more
/// than one job, the first such need starts helper threads that parse the
/// sources of the modules still to come, in their order, so that the run
/// loop mostly finds its parse done; a source that turns out not to be
/// needed was parsed for nothing.  Warnings come where the loop asks, so
/// the output does not depend on the jobs.
class SourceNames {
public:
  SourceNames(const std::vector<ExportedModule> &modules, unsigned jobs) : m_Jobs(jobs) {
    for (const ExportedModule &module : modules)
      if (m_Index.try_emplace(module.file, m_Sources.size()).second)
        m_Sources.emplace_back().file = module.file;
  }

  ~SourceNames() {
    {
      std::lock_guard<std::mutex> hold(m_Mutex);
      m_Stopping = true;
    }
    for (std::thread &helper : m_Helpers)
      helper.join();
  }

  /// The layout of \p module's class, or null (with a warning the first
  /// time for its source) when there is none to trust.
  const ClassLayout *layout(const ExportedModule &module) {
    Source &source = m_Sources[m_Index.at(module.file)];
    if (!source.asked) {
      source.asked = true;
      wait_for(source);
      if (!source.parsed)
        report("warning", "%s/%s: no port names from the source: %s", kBuildDirectory, module.file.c_str(),
               source.error.c_str());
    }
    if (!source.parsed)
      return nullptr;
    auto found = source.layouts.find(module.tag);
    if (found == source.layouts.end() || found->second.size != module.size) {
      report("warning", "module '%s': the class that the source declares is not the one compiled",
             module.name.c_str());
      return nullptr;
    }
    return &found->second;
  }

private:
  enum class State { Waiting, Parsing, Done };
  struct Source {
    std::string file;
    State state = State::Waiting;
    bool parsed = false;
    std::map<int, ClassLayout> layouts;
    std::string error;
    bool asked = false; ///< By the run loop, which alone reads the results.
  };

  /// Returns once \p source is parsed, parsing it here when nobody has
  /// started it, or the next waiting source meanwhile.
  void wait_for(Source &source) {
    std::unique_lock<std::mutex> hold(m_Mutex);
    if (!m_Parse) {
      m_Parse = export_parse(m_Jobs > 1);
      for (unsigned i = 1; !m_Parse->directory.empty() && i < m_Jobs && i < m_Sources.size(); ++i)
        try {
          m_Helpers.emplace_back([this] { help(); });
        } catch (const std::system_error &) {
          break; // fewer helpers; the parses still happen
        }
    }
    while (source.state != State::Done) {
      Source *next = source.state == State::Waiting ? &source : next_waiting();
      if (next)
        parse(*next, hold);
      else
        m_Done.wait(hold);
    }
  }

  void help() {
    std::unique_lock<std::mutex> hold(m_Mutex);
    while (Source *next = m_Stopping ? nullptr : next_waiting())
      parse(*next, hold);
  }

  /// The first source that nobody has started, in the modules' order.
  Source *next_waiting() {
    for (; m_NextWaiting < m_Sources.size(); ++m_NextWaiting)
      if (m_Sources[m_NextWaiting].state == State::Waiting)
        return &m_Sources[m_NextWaiting];
    return nullptr;
  }

  /// Parses \p source with \p hold released meanwhile.
  void parse(Source &source, std::unique_lock<std::mutex> &hold) {
    source.state = State::Parsing;
    hold.unlock();
    std::map<int, ClassLayout> layouts;
    std::string error;
    const bool parsed = read_export_layouts(*m_Parse, source.file, layouts, error);
    hold.lock();
    source.parsed = parsed;
    source.layouts = std::move(layouts);
    source.error = std::move(error);
    source.state = State::Done;
    m_Done.notify_all();
  }

  const unsigned m_Jobs;
  std::vector<Source> m_Sources;
  std::map<std::string, size_t> m_Index;
  std::optional<ExportParse> m_Parse; ///< Made at the first need.
  std::mutex m_Mutex;
  std::condition_variable m_Done;
  std::vector<std::thread> m_Helpers;
  size_t m_NextWaiting = 0;
  bool m_Stopping = false;
};

/// The ports of \p instance, an instance of \p module, named.
WrapperModule describe_module(const ExportedModule &module, const sc_core::sc_module &instance,
                              SourceNames &sources) {
  WrapperModule described{module.name, {}, {}};
  std::vector<std::string> wanted;
  const auto *base = static_cast<const char *>(dynamic_cast<const void *>(&instance));
  const ClassLayout *layout = nullptr;
  bool layoutRead = false;
  for (const sc_core::sc_object *child : instance.get_child_objects()) {
    const auto *port = dynamic_cast<const sc_core::sc_port_base *>(child);
    if (!port)
      continue;
    WrapperPort &p = described.ports.emplace_back(
        WrapperPort{port->basename(), "", cxx_type_name(*port), classify_port(*port)});
    wanted.push_back(p.basename);
    if (!has_generated_name(p.basename))
      continue;
    if (!layoutRead) {
      layout = sources.layout(module);
      layoutRead = true;
    }
    // Members that start at the same place nest, and the walk lists an
    // outer one before the ones inside it: the last one there is the port
    // itself, whatever its class (sc_port<write_if> spells its policy
    // differently in the front end and in the compiler), unless the walk
    // stopped at a standard library class that holds the port.
    const auto offset =
        static_cast<uint64_t>(static_cast<const char *>(dynamic_cast<const void *>(port)) - base);
    const MemberPlace *innermost = nullptr;
    for (size_t i = 0; layout && i < layout->members.size(); ++i)
      if (layout->members[i].offset == offset)
        innermost = &layout->members[i];
    if (innermost && innermost->type.rfind("std::", 0) != 0 && innermost->type.rfind("__gnu_cxx::", 0) != 0)
      wanted.back() = innermost->name;
    if (wanted.back() == p.basename)
      report("warning",
             "module '%s', port '%s': the port has no name of its own; name it in the module's "
             "constructor, as clk(\"clk\")",
             module.name.c_str(), p.basename.c_str());
  }
  const std::vector<std::string> names = legal_port_names(wanted);
  for (size_t i = 0; i < names.size(); ++i)
    described.ports[i].name = names[i];
  return described;
}

} // namespace

std::string render_port_types(const std::vector<WrapperModule> &modules) {
  std::string text = "// The data types of this design's ports, written by the wrapper generator\n"
                     "// for the co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_glue.h\"\n\n"
                     "namespace corvane_sc_design {\n\n"
                     "inline void add_port_types([[maybe_unused]] corvane_sc::GlueTable &table) {\n";
  std::set<std::string> added;
  for (const WrapperModule &module : modules)
    for (const WrapperPort &port : module.ports)
      // The spelling comes from the type table, never from the design.
      if (!port.shape.sv_type().empty() && added.insert(port.shape.cxxType).second)
        text += "  table.add<" + port.shape.cxxType + ">();\n";
  return text + "}\n\n} // namespace corvane_sc_design\n";
}

std::string render_port_names(const std::vector<WrapperModule> &modules) {
  std::string text = std::string("// The ports of this design's modules by the names that wrapper.sv gives them,\n"
                                 "// written by the wrapper generator for the co-simulation library's\n"
                                 "// start-up source.\n"
                                 "#include \"") +
                     kPortTypeMappingHeader + "\"\n\nnamespace {\n\n";
  std::string table;
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    std::string ports = "nullptr", uncarried = "nullptr, nullptr";
    if (!module.ports.empty()) {
      ports = "kPorts" + std::to_string(m);
      text += "const corvane_sc::PortName " + ports + "[] = {\n";
      for (const WrapperPort &port : module.ports)
        text += "    {" + literal(port.basename) + ", " + literal(port.name) + "},\n";
      text += "};\n";
    }
    // The glue carries exactly the ports that have a SystemVerilog type.
    for (const WrapperPort &port : module.ports)
      if (port.shape.sv_type().empty()) {
        uncarried = literal(port.name) + ", " + literal(port.cxxType);
        break;
      }
    table += "    {" + literal(module.name) + ", " + ports + ", " + std::to_string(module.ports.size()) + ", " +
             uncarried + "},\n";
  }
  if (modules.empty())
    return text + "} // namespace\n\nconst corvane_sc::DesignGlue corvane_sc::kDesignGlue = {\n"
                  "    &corvane_sc_design::add_port_types, nullptr, 0};\n";
  return text + "const corvane_sc::ModulePortNames kModules[] = {\n" + table +
         "};\n\n} // namespace\n\nconst corvane_sc::DesignGlue corvane_sc::kDesignGlue = {\n"
         "    &corvane_sc_design::add_port_types, kModules, " +
         std::to_string(modules.size()) + "};\n";
}

int run_wrapper_generator() {
  // Glue of an earlier run must not outlive a run that stops short of
  // writing its own: the library is then built with none.
  const std::string directory = std::string(kBuildDirectory) + "/";
  std::remove((directory + kPortTypeMappingHeader).c_str());
  std::remove((directory + kModuleFactorySource).c_str());
  std::remove((directory + kDpiGlueSource).c_str());
  std::remove((directory + kVhpiGlueSource).c_str());
  std::remove((directory + kVpiGlueSource).c_str());
  std::remove((directory + kMirrorGlueSource).c_str());

  int status = 0;
  std::vector<WrapperModule> modules;
  SourceNames sources(exported_modules(), parse_jobs());
  for (const ExportedModule &exported : exported_modules()) {
    std::printf("Module %s\n", exported.name.c_str());
    sc_core::sc_module *instance = nullptr;
    try {
      instance = exported.factory(exported.name.c_str());
    } catch (const std::exception &e) {
      report("error", "module '%s': cannot build an instance: %s", exported.name.c_str(), e.what());
      status = 1;
      continue;
    }
    modules.push_back(describe_module(exported, *instance, sources));
    std::vector<std::string> portNames;
    for (const WrapperPort &port : modules.back().ports)
      portNames.push_back(port.name);
    modules.back().hierarchy = describe_hierarchy(*instance, portNames);
    for (const WrapperPort &port : modules.back().ports) {
      const std::string type = port.shape.sv_type();
      if (type.empty()) {
        report("error",
               "module '%s', port '%s': no SystemVerilog type for C++ type '%s'; the port is left out "
               "of the wrapper",
               exported.name.c_str(), port.name.c_str(), port.cxxType.c_str());
        status = 1;
        continue;
      }
      std::printf("  %s %s: %s -> %s\n", direction_name(port.shape.direction), port.name.c_str(),
                  port.shape.cxxType.c_str(), type.c_str());
    }
  }

  const bool written = write_file(kWrapperOutput, render_wrappers(modules)) &&
                       write_file(directory + kPortTypeMappingHeader, render_port_types(modules)) &&
                       write_file(directory + kModuleFactorySource, render_port_names(modules)) &&
                       write_file(directory + kDpiGlueSource, render_dpi_glue(modules)) &&
                       write_file(kVhdlWrapperOutput, render_vhdl_wrappers(modules)) &&
                       write_file(directory + kVhpiGlueSource, render_vhpi_glue(modules)) &&
                       write_file(kVerilogWrapper, render_verilog_wrappers(modules)) &&
                       write_file(directory + kVpiGlueSource, render_vpi_glue(modules)) &&

                       write_file(directory + kMirrorGlueSource, render_mirror_glue(modules));
  if (!written)
    return 1;
  std::printf("Wrote %s: %zu module%s\n", kWrapperOutput, modules.size(), modules.size() == 1 ? "" : "s");
  return status;
}

} // namespace corvane_sc
