// The VHDL writer: wrapper.vhd, an entity per exported module with the
// ports of wrapper.sv and an architecture whose body reaches the SystemC
// model through VHPIDIRECT (corvane_sc_vhpidirect.h).  The foreign
// procedures and the C functions of the glue (vhpi_glue.cpp) come from the
// same description, so their argument lists match by construction.

#include "kit/generator/writers/crossing.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

namespace corvane_sc {

namespace {

// VHDL-2008's reserved words and the names that the wrapper refers to
// where the ports are visible, sorted for binary search.  A port of one of
// these names would hide the type or function.
constexpr std::string_view kTaken[] = {
    "abs", "access", "after", "alias", "all", "and", "architecture", "array", "assert", "assume",
    "assume_guarantee", "attribute", "begin", "block", "body", "buffer", "bus", "case", "component",
    "configuration", "constant", "context", "corvane_sc_vhpidirect", "cover", "default", "disconnect", "downto",
    "else", "elsif", "end", "entity", "exit", "fairness", "file", "for", "force", "function", "generate",
    "generic", "group", "guarded", "if", "impure", "in", "inertial", "inout", "is", "label", "library",
    "linkage", "literal", "loop", "map", "mod", "nand", "new", "next", "nor", "not", "now", "null", "of",
    "on", "open", "or", "others", "out", "package", "parameter", "port", "postponed", "procedure",
    "process", "property", "protected", "pure", "range", "real", "record", "register", "reject",
    "release", "rem", "report", "restrict", "restrict_guarantee", "return", "rol", "ror", "select",
    "sequence", "severity", "shared", "signal", "sla", "sll", "sra", "srl", "std_logic",
    "std_logic_vector", "strong", "subtype", "then", "to", "transport", "type", "unaffected", "units",
    "until", "use", "variable", "vmode", "vprop", "vunit", "wait", "when", "while", "with", "xnor", "xor",
};

std::string lower(std::string text) {
  for (char &c : text)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// The VHDL spellings of \p names (legal SystemVerilog identifiers,
/// distinct): as they are where VHDL takes them, else extended identifiers.
std::vector<std::string> vhdl_names(const std::vector<std::string> &names) {
  std::map<std::string, int> folded;
  for (const std::string &name : names)
    ++folded[lower(name)];
  std::vector<std::string> spelled;
  for (const std::string &name : names) {
    const std::string key = lower(name);
    const bool basic = !name.empty() && name.front() != '_' && name.back() != '_' &&
                       name.find("__") == std::string::npos && folded[key] == 1 &&
                       !std::binary_search(std::begin(kTaken), std::end(kTaken), std::string_view(key));
    spelled.push_back(basic ? name : "\\" + name + "\\");
  }
  return spelled;
}

/// An identifier of the wrapper's own: "$" keeps it apart from every port.
std::string own(const std::string &name) { return "\\sc$" + name + "\\"; }

std::string vhdl_type(const PortShape &shape) {
  const std::string range = "(" + std::to_string(shape.width - 1) + " downto 0)";
  if (shape.kind == ValueKind::Real)
    return "real";
  if (shape.scalar)
    return "std_logic";
  if (shape.kind == ValueKind::FourState || is_bit_vector(shape))
    return "std_logic_vector" + range;
  return (shape.isSigned ? "signed" : "unsigned") + range;
}

const char *vhdl_mode(PortDirection direction) {
  switch (direction) {
  case PortDirection::Input: return "in";
  case PortDirection::Output: return "out";
  case PortDirection::InOut: return "inout";
  }
  return "";
}

constexpr char kHeader[] =
    "-- VHDL-2008 wrappers of the SystemC modules exported by this build, written\n"
    "-- by the wrapper generator: an entity per module with the ports of wrapper.sv,\n"
    "-- whose architecture is the SystemC model in libcorvanesc.so, reached through\n"
    "-- VHPIDIRECT; how values, time, X and Z and errors cross is told in\n"
    "-- corvane_sc_vhpidirect.h.\n"
    "--\n"
    "-- Port types: bool and sc_logic are std_logic; sc_lv<N> and sc_bv<N>\n"
    "-- std_logic_vector(N-1 downto 0); unsigned integers, sc_uint<N> and\n"
    "-- sc_biguint<N> unsigned(N-1 downto 0), signed ones signed(N-1 downto 0)\n"
    "-- (numeric_std); double and float real.\n"
    "--\n"
    "-- Names are wrapper.sv's.  One that VHDL cannot take as it is is written as\n"
    "-- an extended identifier (\\in\\, \\CLK\\): a reserved word, a name that\n"
    "-- differs from another only in case, a leading, trailing or double\n"
    "-- underscore, or a name that the wrapper uses itself (std_logic,\n"
    "-- std_logic_vector, real, now).  The wrapper's own names hold a \"$\".\n"
    "--\n"
    "-- The models load from ./libcorvanesc.so: run the simulation in this\n"
    "-- directory, as quillc-sim does.  Each instance builds its model when the\n"
    "-- simulation starts and first runs the kernel one delta cycle later, when\n"
    "-- every instance exists.\n"
    "\n"
    "library ieee;\n"
    "use ieee.std_logic_1164.all;\n"
    "use ieee.numeric_std.all;\n";

constexpr char kLibrary[] = "\"VHPIDIRECT ./libcorvanesc.so ";

/// A foreign procedure: its declaration, and the empty body that VHDL
/// wants for it.
void foreign(std::string &declarations, std::string &bodies, const std::string &name, const std::string &profile,
             const std::string &symbol) {
  const std::string head = "  procedure " + name + "(" + profile + ")";
  declarations += head + ";\n  attribute foreign of " + name + " : procedure is " + kLibrary + symbol + "\";\n";
  bodies += head + " is\n  begin\n  end procedure;\n";
}

/// The field of mirror \p index in the record of a module's mirrors.
std::string field(size_t index) { return "\\sc$" + std::to_string(index) + "\\"; }

/// The mirrors of \p module's insides (hierarchy.h), set only while the
/// library says that a waveform is written (quillc-sim --trace): the
/// model's process hands their values, as the model changed them, to a
/// signal of a record type, which the waveform leaves out; below it every
/// sub-module is an instance of an entity of its own whose signals follow
/// the record's fields, and the top's objects are signals of the wrapper.
struct VhdlMirrors {
  std::string package, bodies; ///< The record, the foreign procedure.
  std::string entities;        ///< The scopes' entities, innermost first.
  std::string signals, statements, variables, calls;
};

std::string scope_entity(const WrapperModule &module, const std::vector<std::string> &scope) {
  std::string name = "\\sc$" + module.name;
  for (const std::string &label : scope)
    name += "$" + label;
  return name + "\\";
}

/// The declarations and statements of \p scope's region: its objects as
/// signals and its sub-scopes as instances; \p taken are the names that
/// the region holds already (the wrapper's ports).
void mirror_region(const WrapperModule &module, const std::vector<std::string> &scope,
                   const std::vector<std::string> &taken, std::string &signals, std::string &statements,
                   std::string &entities) {
  const std::string record = "\\sc$mirrors$" + module.name + "\\";
  std::vector<size_t> objects;
  std::vector<std::string> labels, names = taken;
  for (size_t i = 0; i < module.hierarchy.objects.size(); ++i) {
    const MirroredObject &object = module.hierarchy.objects[i];
    if (object.scope == scope) {
      objects.push_back(i);
      names.push_back(object.name);
    } else if (object.scope.size() > scope.size() && std::equal(scope.begin(), scope.end(), object.scope.begin()) &&
               std::find(labels.begin(), labels.end(), object.scope[scope.size()]) == labels.end()) {
      labels.push_back(object.scope[scope.size()]);
      names.push_back(labels.back());
    }
  }
  const std::vector<std::string> spelled = vhdl_names(names);
  for (size_t k = 0; k < objects.size(); ++k) {
    const MirroredObject &object = module.hierarchy.objects[objects[k]];
    const std::string &name = spelled[taken.size() + k];
    signals += "  signal " + name + " : " + vhdl_type(object.shape) + ";\n";
    statements += "  " + name + " <= \\sc$mirrors\\." + field(objects[k]) + ";\n";
  }
  for (size_t k = 0; k < labels.size(); ++k) {
    std::vector<std::string> inner = scope;
    inner.push_back(labels[k]);
    std::string innerSignals, innerStatements;
    mirror_region(module, inner, {}, innerSignals, innerStatements, entities);
    const std::string entity = scope_entity(module, inner);
    entities += "\nlibrary ieee;\nuse ieee.std_logic_1164.all;\nuse ieee.numeric_std.all;\n"
                "use work.corvane_sc_vhpidirect.all;\n\nentity " + entity + " is\n  port (\\sc$mirrors\\ : in " +
                record + ");\nend entity " + entity + ";\n\narchitecture corvane_sc of " + entity + " is\n" +
                innerSignals + "begin\n" + innerStatements + "end architecture corvane_sc;\n";
    statements += "  " + spelled[taken.size() + objects.size() + k] + " : entity work." + entity +
                  " port map (\\sc$mirrors\\ => \\sc$mirrors\\);\n";
  }
}

VhdlMirrors vhdl_mirrors(const WrapperModule &module, const std::vector<std::string> &portNames,
                         const std::string &entity) {
  VhdlMirrors out;
  const ModuleHierarchy &h = module.hierarchy;
  if (h.objects.empty())
    return out;
  const std::string record = "\\sc$mirrors$" + module.name + "\\", procedure = own("mirror$" + module.name);
  std::string fields, profile, arguments;
  for (size_t i = 0; i < h.objects.size(); ++i) {
    fields += "    " + field(i) + " : " + vhdl_type(h.objects[i].shape) + ";\n";
    profile += ";\n    " + field(i) + " : out " + vhdl_type(h.objects[i].shape);
    arguments += ", \\sc$mirror\\." + field(i);
  }
  out.package = "  type " + record + " is record\n" + fields + "  end record;\n";
  foreign(out.package, out.bodies, procedure, "path : string; \\sc$handle\\ : integer" + profile,
          vhpi_function(module, "mirror"));
  mirror_region(module, {}, portNames, out.signals, out.statements, out.entities);
  out.signals = "  signal \\sc$mirrors\\ : " + record + ";\n" + out.signals;
  out.variables = "    variable \\sc$mirrored\\ : \\sc$boolean\\ := false;\n    variable \\sc$mirror\\ : " + record +
                  ";\n";
  out.calls = "      if \\sc$mirrored\\ then\n        " + procedure + "(" + entity + "'path_name, \\sc$handle\\" +
              arguments + ");\n        \\sc$mirrors\\ <= \\sc$mirror\\;\n      end if;\n";
  return out;
}

} // namespace

std::string render_vhdl_wrappers(const std::vector<WrapperModule> &modules) {
  std::vector<std::string> moduleNames;
  for (const WrapperModule &module : modules)
    moduleNames.push_back(module.name);
  const std::vector<std::string> entities = vhdl_names(moduleNames);

  std::string declarations, bodies, units;
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    std::vector<std::string> portNames;
    for (const WrapperPort &port : module.ports)
      portNames.push_back(port.name);
    const std::vector<std::string> names = vhdl_names(portNames);

    std::string ports, unmapped, parameters, arguments, variables, drives, sensitivity;
    for (size_t i = 0; i < module.ports.size(); ++i) {
      const WrapperPort &port = module.ports[i];
      if (!mapped(port)) {
        unmapped += "  -- " + port.name + ": no VHDL type for " + port.cxxType + "\n";
        continue;
      }
      const std::string type = vhdl_type(port.shape), &name = names[i];
      ports += std::string(ports.empty() ? "" : ";\n") + "    " + name + " : " + vhdl_mode(port.shape.direction) +
               " " + type;
      if (is_input(port.shape)) {
        parameters += ";\n    " + name + " : " + type;
        arguments += ", " + name;
        sensitivity += (sensitivity.empty() ? "" : ", ") + name;
      }
      if (is_output(port.shape)) {
        const std::string parameter = is_input(port.shape) ? "\\" + port.name + "$out\\" : name;
        parameters += ";\n    " + parameter + " : out " + type;
        arguments += ", " + own(port.name);
        variables += "    variable " + own(port.name) + " : " + type + ";\n";
        drives += "      " + name + " <= " + own(port.name) + ";\n";
      }
    }
    const std::string make = own("new$" + module.name), eval = own("eval$" + module.name);
    foreign(declarations, bodies, make, "path : string; ps : time; handle : out integer",
            vhpi_function(module, "new"));
    foreign(declarations, bodies, eval,
            "\\sc$handle\\ : integer; \\sc$now\\ : time; \\sc$run\\ : boolean" + parameters +
                ";\n    \\sc$wake\\ : out boolean; \\sc$after\\ : out time; \\sc$status\\ : out integer",
            vhpi_function(module, "eval"));

    const std::string &entity = entities[m];
    const VhdlMirrors mirrors = vhdl_mirrors(module, portNames, entity);
    if (!mirrors.calls.empty() && declarations.find("sc$mirroring") == std::string::npos)
      foreign(declarations, bodies, own("mirroring"), "enabled : out boolean", "corvane_sc_vhpi_mirroring");
    declarations += mirrors.package;
    bodies += mirrors.bodies;
    units += mirrors.entities;
    units += "\nlibrary ieee;\nuse ieee.std_logic_1164.all;\nuse ieee.numeric_std.all;\n"
             "use work.corvane_sc_vhpidirect.all;\n\nentity " + entity + " is\n";
    if (!ports.empty())
      units += "  port (\n" + ports + "\n  );\n";
    units += unmapped;
    const std::string waitOn = sensitivity.empty() ? "" : " on " + sensitivity;
    units += "end entity " + entity + ";\n\narchitecture corvane_sc of " + entity + " is\n" + mirrors.signals +
             "begin\n" + mirrors.statements + "  " + own("model") +
             " : process\n    variable \\sc$handle\\, \\sc$status\\ : \\sc$integer\\;\n"
             "    variable \\sc$run\\, \\sc$wake\\ : \\sc$boolean\\ := false;\n"
             "    variable \\sc$after\\ : \\sc$time\\;\n" + variables + mirrors.variables +
             "  begin\n" + (mirrors.calls.empty() ? "" : "    \\sc$mirroring\\(\\sc$mirrored\\);\n") + "    " + make + "(" + entity + "'path_name, \\sc$ps\\, \\sc$handle\\);\n"
             "    if \\sc$handle\\ < 0 then\n      \\sc$check\\(-1);\n    end if;\n"
             "    loop\n      " + eval + "(\\sc$handle\\, now, \\sc$run\\" + arguments +
             ", \\sc$wake\\, \\sc$after\\, \\sc$status\\);\n"
             "      \\sc$check\\(\\sc$status\\);\n      \\sc$run\\ := true;\n" + drives + mirrors.calls +
             "      if \\sc$wake\\ then\n        wait" + waitOn + " for \\sc$after\\;\n      else\n        wait" +
             waitOn + ";\n      end if;\n    end loop;\n  end process;\nend architecture corvane_sc;\n";
  }

  return kHeader + std::string(
             "\n-- The models' foreign procedures, and what the architectures share.\n"
             "package corvane_sc_vhpidirect is\n"
             "  subtype \\sc$integer\\ is integer;\n"
             "  subtype \\sc$boolean\\ is boolean;\n"
             "  subtype \\sc$time\\ is time;\n"
             "  constant \\sc$ps\\ : time := 1 ps;\n\n"
             "  -- Ends the simulation after an evaluation's status: -1, the model's\n"
             "  -- error; 1, the model's sc_stop().\n"
             "  procedure \\sc$check\\(status : integer);\n\n"
             "  function \\sc$error_length\\ return natural;\n"
             "  attribute foreign of \\sc$error_length\\ : function is ") +
         kLibrary + "corvane_sc_vhpi_error_length\";\n" +
         "  procedure \\sc$error_text\\(text : out string);\n"
         "  attribute foreign of \\sc$error_text\\ : procedure is " +
         kLibrary + "corvane_sc_vhpi_error_text\";\n\n" + declarations +
         "end package corvane_sc_vhpidirect;\n\n"
         "package body corvane_sc_vhpidirect is\n"
         "  procedure \\sc$check\\(status : integer) is\n"
         "    procedure fail is\n"
         "      variable text : string(1 to \\sc$error_length\\);\n"
         "    begin\n"
         "      \\sc$error_text\\(text);\n"
         "      report text severity failure;\n"
         "    end procedure;\n"
         "  begin\n"
         "    if status < 0 then\n"
         "      fail;\n"
         "    elsif status > 0 then\n"
         "      std.env.finish;\n"
         "    end if;\n"
         "  end procedure;\n\n"
         "  function \\sc$error_length\\ return natural is\n"
         "  begin\n"
         "    return 0;\n"
         "  end function;\n"
         "  procedure \\sc$error_text\\(text : out string) is\n"
         "  begin\n"
         "  end procedure;\n\n" +
         bodies + "end package body corvane_sc_vhpidirect;\n" + units;
}

} // namespace corvane_sc
