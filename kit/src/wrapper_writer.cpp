#include "kit/src/wrapper_writer.h"

#include "kit/src/module_registry.h"

#include <systemc>

#include <cstdio>
#include <exception>

namespace corvane_sc {

namespace {

constexpr char kHeader[] =
    "// SystemVerilog wrappers of the SystemC modules exported by this build,\n"
    "// written by the wrapper generator.\n"
    "//\n"
    "// The body of each module is its SystemC model in libcorvanesc.so, which\n"
    "// the simulator connects to these ports; seen from HDL alone the inputs\n"
    "// are unused and the outputs undriven, and one file holds every module.\n"
    "// verilator lint_off UNUSEDSIGNAL\n"
    "// verilator lint_off UNDRIVEN\n"
    "// verilator lint_off DECLFILENAME\n";

constexpr char kFooter[] =
    "// verilator lint_on DECLFILENAME\n"
    "// verilator lint_on UNDRIVEN\n"
    "// verilator lint_on UNUSEDSIGNAL\n";

/// SystemC names a port that its module left unnamed "port_<n>".
bool has_generated_name(const std::string &name) {
  if (name.rfind("port_", 0) != 0 || name.size() == 5)
    return false;
  return name.find_first_not_of("0123456789", 5) == std::string::npos;
}

} // namespace

WrapperModule describe_module(const std::string &name, const sc_core::sc_module &instance) {
  WrapperModule module{name, {}};
  for (const sc_core::sc_object *child : instance.get_child_objects()) {
    const auto *port = dynamic_cast<const sc_core::sc_port_base *>(child);
    if (!port)
      continue;
    PortShape shape = classify_port(*port);
    module.ports.push_back({port->basename(), cxx_type_name(*port), shape.type, shape.direction});
  }
  return module;
}

std::string render_wrappers(const std::vector<WrapperModule> &modules) {
  std::string text = kHeader;
  for (const WrapperModule &module : modules) {
    text += "\nmodule " + module.name;
    if (module.ports.empty()) {
      text += ";\nendmodule\n";
      continue;
    }
    text += " (";
    const char *separator = "\n";
    for (const WrapperPort &port : module.ports) {
      if (!port.type)
        continue;
      text += separator;
      text += "  ";
      text += direction_name(port.direction);
      text += ' ';
      text += port.type->sv_type(port.direction);
      text += ' ';
      text += port.name;
      separator = ",\n";
    }
    text += '\n';
    for (const WrapperPort &port : module.ports)
      if (!port.type)
        text += "  // " + port.name + ": no SystemVerilog type for " + port.cxxType + "\n";
    text += ");\nendmodule\n";
  }
  text += '\n';
  text += kFooter;
  return text;
}

int run_wrapper_generator(const char *outputPath) {
  int status = 0;
  std::vector<WrapperModule> modules;
  for (const ExportedModule &exported : exported_modules()) {
    std::printf("Module %s\n", exported.name.c_str());
    sc_core::sc_module *instance = nullptr;
    try {
      instance = exported.factory(exported.name.c_str());
    } catch (const std::exception &e) {
      std::fflush(stdout);
      std::fprintf(stderr, "wrapper_generator: error: module '%s': cannot build an instance: %s\n",
                   exported.name.c_str(), e.what());
      status = 1;
      continue;
    }
    modules.push_back(describe_module(exported.name, *instance));
    for (const WrapperPort &port : modules.back().ports) {
      std::fflush(stdout);
      if (!port.type) {
        std::fprintf(stderr,
                     "wrapper_generator: error: module '%s', port '%s': no SystemVerilog type for "
                     "C++ type '%s'; the port is left out of the wrapper\n",
                     exported.name.c_str(), port.name.c_str(), port.cxxType.c_str());
        status = 1;
        continue;
      }
      std::printf("  %s %s: %s -> %s\n", direction_name(port.direction), port.name.c_str(),
                  port.type->cxx_name().c_str(), port.type->sv_type(port.direction).c_str());
      if (has_generated_name(port.name)) {
        std::fflush(stdout);
        std::fprintf(stderr,
                     "wrapper_generator: warning: module '%s', port '%s': the port has no name of "
                     "its own; name it in the module's constructor, as clk(\"clk\")\n",
                     exported.name.c_str(), port.name.c_str());
      }
    }
  }

  const std::string text = render_wrappers(modules);
  std::FILE *file = std::fopen(outputPath, "w");
  bool written = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (file && std::fclose(file) != 0)
    written = false;
  if (!written) {
    std::fflush(stdout);
    std::fprintf(stderr, "wrapper_generator: error: cannot write %s\n", outputPath);
    return 1;
  }
  std::printf("Wrote %s: %zu module%s\n", outputPath, modules.size(), modules.size() == 1 ? "" : "s");
  return status;
}

} // namespace corvane_sc
