#include "kit/common/port_names.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <string_view>

namespace corvane_sc {

namespace {

// The reserved words of SystemVerilog, sorted for binary search.
constexpr std::string_view kKeywords[] = {
    "accept_on", "alias", "always", "always_comb", "always_ff", "always_latch", "and", "assert",
    "assign", "assume", "automatic", "before", "begin", "bind", "bins", "binsof", "bit", "break",
    "buf", "bufif0", "bufif1", "byte", "case", "casex", "casez", "cell", "chandle", "checker",
    "class", "clocking", "cmos", "config", "const", "constraint", "context", "continue", "cover",
    "covergroup", "coverpoint", "cross", "deassign", "default", "defparam", "design", "disable",
    "dist", "do", "edge", "else", "end", "endcase", "endchecker", "endclass", "endclocking",
    "endconfig", "endfunction", "endgenerate", "endgroup", "endinterface", "endmodule",
    "endpackage", "endprimitive", "endprogram", "endproperty", "endsequence", "endspecify",
    "endtable", "endtask", "enum", "event", "eventually", "expect", "export", "extends", "extern",
    "final", "first_match", "for", "force", "foreach", "forever", "fork", "forkjoin", "function",
    "generate", "genvar", "global", "highz0", "highz1", "if", "iff", "ifnone", "ignore_bins",
    "illegal_bins", "implements", "implies", "import", "incdir", "include", "initial", "inout",
    "input", "inside", "instance", "int", "integer", "interconnect", "interface", "intersect",
    "join", "join_any", "join_none", "large", "let", "liblist", "library", "local", "localparam",
    "logic", "longint", "macromodule", "matches", "medium", "modport", "module", "nand", "negedge",
    "nettype", "new", "nexttime", "nmos", "nor", "noshowcancelled", "not", "notif0", "notif1",
    "null", "or", "output", "package", "packed", "parameter", "pmos", "posedge", "primitive",
    "priority", "program", "property", "protected", "pull0", "pull1", "pulldown", "pullup",
    "pulsestyle_ondetect", "pulsestyle_onevent", "pure", "rand", "randc", "randcase",
    "randsequence", "rcmos", "real", "realtime", "ref", "reg", "reject_on", "release", "repeat",
    "restrict", "return", "rnmos", "rpmos", "rtran", "rtranif0", "rtranif1", "s_always",
    "s_eventually", "s_nexttime", "s_until", "s_until_with", "scalared", "sequence", "shortint",
    "shortreal", "showcancelled", "signed", "small", "soft", "solve", "specify", "specparam",
    "static", "string", "strong", "strong0", "strong1", "struct", "super", "supply0", "supply1",
    "sync_accept_on", "sync_reject_on", "table", "tagged", "task", "this", "throughout", "time",
    "timeprecision", "timeunit", "tran", "tranif0", "tranif1", "tri", "tri0", "tri1", "triand",
    "trior", "trireg", "type", "typedef", "union", "unique", "unique0", "unsigned", "until",
    "until_with", "untyped", "use", "uwire", "var", "vectored", "virtual", "void", "wait",
    "wait_order", "wand", "weak", "weak0", "weak1", "while", "wildcard", "wire", "with", "within",
    "wor", "xnor", "xor",
};

std::string legal_identifier(const std::string &wanted) {
  std::string name = wanted.empty() ? "port" : wanted;
  for (char &c : name)
    if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_'))
      c = '_';
  if (std::isdigit(static_cast<unsigned char>(name[0])))
    name.insert(0, "_");
  if (is_sv_keyword(name))
    name += '_';
  return name;
}

} // namespace

bool is_sv_keyword(const std::string &name) {
  return std::binary_search(std::begin(kKeywords), std::end(kKeywords), std::string_view(name));
}

std::vector<std::string> legal_port_names(const std::vector<std::string> &wanted) {
  std::vector<std::string> names;
  std::set<std::string> claimed;
  for (const std::string &w : wanted)
    claimed.insert(names.emplace_back(legal_identifier(w)));
  // A name first given keeps it; a repeat takes a suffix that no port wants.
  std::set<std::string> given;
  for (std::string &name : names) {
    if (given.insert(name).second)
      continue;
    for (unsigned n = 2;; ++n) {
      std::string candidate = name + "_" + std::to_string(n);
      if (!claimed.count(candidate)) {
        name = candidate;
        claimed.insert(name);
        given.insert(name);
        break;
      }
    }
  }
  return names;
}

} // namespace corvane_sc
