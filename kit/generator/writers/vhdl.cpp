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
    units += "\nlibrary ieee;\nuse ieee.std_logic_1164.all;\nuse ieee.numeric_std.all;\n"
             "use work.corvane_sc_vhpidirect.all;\n\nentity " + entity + " is\n";
    if (!ports.empty())
      units += "  port (\n" + ports + "\n  );\n";
    units += unmapped;
    const std::string waitOn = sensitivity.empty() ? "" : " on " + sensitivity;
    units += "end entity " + entity + ";\n\narchitecture corvane_sc of " + entity + " is\nbegin\n  " + own("model") +
             " : process\n    variable \\sc$handle\\, \\sc$status\\ : \\sc$integer\\;\n"
             "    variable \\sc$run\\, \\sc$wake\\ : \\sc$boolean\\ := false;\n"
             "    variable \\sc$after\\ : \\sc$time\\;\n" + variables +
             "  begin\n    " + make + "(" + entity + "'path_name, \\sc$ps\\, \\sc$handle\\);\n"
             "    if \\sc$handle\\ < 0 then\n      \\sc$check\\(-1);\n    end if;\n"
             "    loop\n      " + eval + "(\\sc$handle\\, now, \\sc$run\\" + arguments +
             ", \\sc$wake\\, \\sc$after\\, \\sc$status\\);\n"
             "      \\sc$check\\(\\sc$status\\);\n      \\sc$run\\ := true;\n" + drives +
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
