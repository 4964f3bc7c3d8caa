#include "util/cmdline.h"

#include "driver/log.h"
#include "util/AppInfo.h"
#include "util/env.h"
#include "util/fs.h"
#include "util/LocStream.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <unistd.h>

// ---------------------------------------------------------------------------
// State

namespace {

CmdLineState *g_Current = nullptr;

CmdLineState &ProcessCmdLine() {
  static CmdLineState &state = *new CmdLineState;
  return state;
}

const char *g_Version = nullptr;
const char *g_VerboseVersion = nullptr;

constexpr uint32_t kHiddenKinds = 0xF80000;
constexpr uint32_t kHiddenGroup = 0x100;
constexpr uint32_t kPassThroughKinds = 16 | 32 | 64 | 0x200000;

} // namespace

CmdLineState &CurrentCmdLine() { return g_Current ? *g_Current : ProcessCmdLine(); }

// The standard options live in every process that links the library, also
// when nothing refers to this file: the library's link interface asks the
// linker for this symbol ("-u"), which brings the file, and so these
// objects, into every program.  They are never destroyed.
extern "C" {
extern const int corvane_cmdline_anchor;
const int corvane_cmdline_anchor = 1;
}

namespace {
StandardCmdArgs *const g_ProcessStandard = [] {
  StandardCmdArgs *standard = new StandardCmdArgs;
  ProcessCmdLine().standard = standard;
  return standard;
}();
} // namespace

StandardCmdArgs &StandardOptions() {
  CmdLineState &state = CurrentCmdLine();
  return state.standard ? *state.standard : *g_ProcessStandard;
}

ScopedCmdLine::ScopedCmdLine(bool withStandardOptions) : m_Saved(g_Current) {
  g_Current = &m_State;
  if (withStandardOptions)
    m_State.standard = new StandardCmdArgs;
}

ScopedCmdLine::~ScopedCmdLine() {
  delete m_State.standard;
  g_Current = m_Saved;
}

const std::vector<CmdArg *> &RegisteredArgs() { return CurrentCmdLine().args; }

void RegisterArg(CmdArg *arg) { CurrentCmdLine().args.push_back(arg); }

void RegisterGeneralGroup() { CurrentCmdLine().groups.push_back({"General options", 0x80001}); }

bool AddOptionGroup(uint32_t mask, const char *title) {
  if (CurrentCmdLine().groups.empty())
    RegisterGeneralGroup();
  CurrentCmdLine().groups.push_back({title, mask});
  return true;
}

const std::vector<OptionGroup> &OptionGroups() { return CurrentCmdLine().groups; }

const std::string &ProgramName() { return CurrentCmdLine().programName; }
void SetProgramName(std::string name) { CurrentCmdLine().programName = std::move(name); }

void SetVersionStrings(const char *version, const char *verboseVersion) {
  g_Version = version;
  g_VerboseVersion = verboseVersion;
}

void ReportError(const char *format, ...) {
  log_eprintf("%s: error: ", ProgramName().c_str());
  va_list args;
  va_start(args, format);
  log_veprintf(format, args);
  va_end(args);
}

// ---------------------------------------------------------------------------
// Option objects

CmdArg::CmdArg(const char *name, uint32_t kind, uint32_t flags)
    : m_Name(name ? name : ""), m_Kind(kind), m_Flags(flags) {
  RegisterArg(this);
}

CmdArg::~CmdArg() = default;

void CmdArg::Deprecate(std::string replacement) {
  m_Flags |= Deprecated;
  m_Replacement = std::move(replacement);
}

SwitchArg::SwitchArg(const char *name, uint32_t kind, const char *description)
    : CmdArg(name, kind, 0), m_Description(description) {}

bool SwitchArg::Set(const char *) {
  m_Value = true;
  return true;
}

StringArg::StringArg(const char *name, uint32_t kind, const char *description)
    : CmdArg(name, kind, TakesValue), m_Description(description) {}

bool StringArg::Set(const char *value) {
  m_Value = value ? value : "";
  return true;
}

std::string StringArg::Usage() const { return std::string(m_Name) + "="; }

MultiStringArg::MultiStringArg(const char *name, uint32_t kind, const char *description)
    : CmdArg(name, kind, TakesValue | Repeatable), m_Description(description) {}

bool MultiStringArg::Set(const char *value) {
  m_Values.emplace_back(value ? value : "");
  return true;
}

std::string MultiStringArg::Usage() const { return std::string(m_Name) + "="; }

IntegerArg::IntegerArg(const char *name, uint32_t kind, const char *description, uint32_t constraints)
    : CmdArg(name, kind, TakesValue), m_Description(description), m_Constraints(constraints) {}

bool IntegerArg::Set(const char *value) {
  m_Given = true;
  const char *text = value ? value : "";
  // Only a lower-case "0x" selects hexadecimal; "0X10" is refused as
  // decimal on purpose.
  const int base = std::strlen(text) > 2 && text[0] == '0' && text[1] == 'x' ? 16 : 10;
  char *end = nullptr;
  const long number = std::strtol(text, &end, base);
  m_Value = static_cast<int32_t>(number);
  if (*end != '\0') {
    ReportError("Invalid value '%s' for '%s' option, which expects an integer.\n", text, m_Name);
    return false;
  }
  if (number < 0 && (m_Constraints & NotNegative)) {
    ReportError("Invalid value '%s' for '%s' option, which expects a positive value.\n", text, m_Name);
    return false;
  }
  if (number == 0 && (m_Constraints & NotZero)) {
    ReportError("Invalid value '%s' for '%s' option, which expects a non-zero value.\n", text, m_Name);
    return false;
  }
  return true;
}

std::string IntegerArg::Usage() const { return std::string(m_Name) + "="; }

MutexArg::MutexArg(const char *name, uint32_t kind, const char *description, int32_t *selector,
                   int32_t choice)
    : CmdArg(name, kind, 0), m_Description(description), m_Selector(selector), m_Choice(choice) {}

bool MutexArg::Set(const char *) {
  if (*m_Selector > 0) {
    for (CmdArg *arg : RegisteredArgs()) {
      const auto *other = dynamic_cast<const MutexArg *>(arg);
      if (other && other->m_Selector == m_Selector && other->m_Choice == *m_Selector) {
        ReportError("Argument %s conflicts with previous-given argument %s\n", m_Name, other->m_Name);
        break;
      }
    }
    return false;
  }
  *m_Selector = m_Choice;
  return true;
}

OptionsArg::OptionsArg()
    : SwitchArg("-options", 0x80000, "Print all generally available command line options") {}
HelpArg::HelpArg() : SwitchArg("-help", 0x1, "Print summary of generally available command line options") {}
TarnVersionArg::TarnVersionArg() : SwitchArg("-version", 32, "Print version string") {}
VersionVerboseArg::VersionVerboseArg()
    : SwitchArg("-version-verbose", 32, "Print verbose version string") {}
ExcludeFileOffsets::ExcludeFileOffsets()
    : SwitchArg("-exclude-file-offsets", 0x1,
                "Excludes the file offsets from the components when saved to the library") {}

bool ExcludeFileOffsets::Set(const char *value) {
  SwitchArg::Set(value);
  setExcludeFileOffsets(true);
  return true;
}

namespace {

uint32_t AcceptedKinds() {
  uint32_t kinds = 0;
  for (const OptionGroup &group : OptionGroups())
    kinds |= group.mask;
  return kinds;
}

} // namespace

void PrintOptionList() {
  const uint32_t accepted = AcceptedKinds();
  bool first = true;
  for (const CmdArg *arg : RegisteredArgs()) {
    if ((arg->Kind() & kHiddenKinds) || !(arg->Kind() & accepted))
      continue;
    log_printf(first ? "%s" : " %s", arg->Usage().c_str());
    first = false;
  }
}

// ---------------------------------------------------------------------------
// Parser

namespace {

/// Brings the name index up to date with the registry.
void UpdateIndex(CmdLineState &state) {
  for (size_t i = state.indexedCount; i < state.args.size(); ++i) {
    const std::string_view name = state.args[i]->Name();
    state.index.emplace(name, i); // the first registration of a name wins
    state.longestName = std::max(state.longestName, name.size());
  }
  state.indexedCount = state.args.size();
}

/// The option a "+" argument names: the first registered whose name is the
/// whole argument or a prefix of it followed by "+".
CmdArg *FindPlusOption(CmdLineState &state, std::string_view arg) {
  size_t best = std::string::npos;
  auto consider = [&](std::string_view name) {
    auto found = state.index.find(name);
    if (found != state.index.end() && found->second < best)
      best = found->second;
  };
  consider(arg);
  // No name is longer than the longest registered one: stop there, so that
  // a long run of "+" costs no more than the registry is wide.
  const size_t limit = std::min(arg.size(), state.longestName + 1);
  for (size_t k = 1; k < limit; ++k)
    if (arg[k] == '+')
      consider(arg.substr(0, k));
  return best == std::string::npos ? nullptr : state.args[best];
}

/// Room for \p extra more entries, growing geometrically, so that many small
/// parses into the same lists stay linear.
template <class T> void ReserveMore(std::vector<T> &list, size_t extra) {
  if (list.size() + extra > list.capacity())
    list.reserve(std::max(list.size() + extra, 2 * list.capacity()));
}

void RebuildCleanArgv(CmdLineState &state) {
  state.cleanArgv.clear();
  state.cleanArgv.reserve(state.cleanArgs.size() + 1);
  for (std::string &arg : state.cleanArgs)
    state.cleanArgv.push_back(arg.data());
  state.cleanArgv.push_back(nullptr);
}

void UpdateCleanArgs(CmdLineState &state, const std::vector<std::string> &args, int mode) {
  size_t start = 0;
  if (mode == 1 && !state.cleanArgs.empty())
    start = 1;
  else
    state.cleanArgs.clear();
  if (args.size() > start)
    ReserveMore(state.cleanArgs, args.size() - start);
  for (size_t i = start; i < args.size(); ++i) {
    if (args[i] == "-repro" || args[i] == "-target") {
      ++i;
      continue;
    }
    state.cleanArgs.push_back(args[i]);
  }
  RebuildCleanArgv(state);
}

void RunStandardAction(const CmdLineState &state, const std::string &programName,
                       const std::vector<std::string> &args) {
  if (!state.standard)
    return;
  const StandardCmdArgs &standard = *state.standard;
  if (standard.help.Value()) {
    PrintUsage(args.empty() ? programName.c_str() : args[0].c_str());
  } else if (standard.options.Value()) {
    PrintOptionList();
  } else if (standard.version.Value()) {
    log_eprintf("%s\n", g_Version ? g_Version : kToolVersion);
  } else if (standard.versionVerbose.Value()) {
    log_eprintf("%s\n", g_VerboseVersion ? g_VerboseVersion : kToolVersionVerbose);
  }
}

} // namespace

bool ParseArguments(const std::string &programName, const std::vector<std::string> &args, int mode) {
  CmdLineState &state = CurrentCmdLine();
  state.programName = programName;
  if (mode != 2)
    UpdateCleanArgs(state, args, mode);

  const uint32_t accepted = AcceptedKinds();
  UpdateIndex(state);
  // Size the result lists once for a long command line: every argument
  // that starts with neither "-" nor "+" may be a file, every "+" one may
  // be forwarded.
  size_t fileArgs = 0, plusArgs = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const char first = args[i].empty() ? '\0' : args[i][0];
    fileArgs += first != '-' && first != '+';
    plusArgs += first == '+';
  }
  ReserveMore(state.files, fileArgs);
  ReserveMore(state.expandedFiles, fileArgs);
  ReserveMore(state.forwardedArgs, plusArgs);
  bool result = true;

  for (size_t i = 1; i < args.size(); ++i) {
    const std::string &arg = args[i];

    if (!arg.empty() && arg[0] == '+') {
      CmdArg *option = FindPlusOption(state, arg);
      if (!option) {
        state.unknownPlusArgs.push_back(arg);
        state.forwardedArgs.push_back(arg);
        continue;
      }
      const bool given = state.givenArgs.count(option) != 0;
      if (given && mode == 2)
        continue;
      if (given && !(option->Flags() & CmdArg::Repeatable)) {
        ReportError("option '%s' given more than once.\n", option->Name());
        option->Set(arg.c_str());
        result = false;
        continue;
      }
      state.givenArgs.insert(option);
      const bool ok = option->Set(arg.c_str());
      result = result && ok;
      if (ok && (option->Kind() & kPassThroughKinds))
        state.forwardedArgs.push_back(arg);
      continue;
    }

    if (arg.empty() || arg[0] != '-') {
      state.files.push_back(arg);
      state.expandedFiles.push_back(ResolveFile(ExpandEnv(arg)));
      continue;
    }

    const size_t equals = arg.find('=');
    const std::string_view name = std::string_view(arg).substr(0, equals);
    const auto found = state.index.find(name);
    CmdArg *option = found == state.index.end() ? nullptr : state.args[found->second];
    if (!option || !(option->Kind() & accepted)) {
      const std::string shown(name);
      ReportError("invalid switch '%s'\n", shown.c_str());
      // Both are reported but let through on purpose.
      if (arg != "-" && arg != "--0fast")
        result = false;
      continue;
    }

    const bool takesValue = option->Flags() & CmdArg::TakesValue;
    const bool inlineValue = equals != std::string::npos;
    if (state.givenArgs.count(option)) {
      if (mode == 2) {
        if (takesValue && !inlineValue)
          ++i;
        continue;
      }
      if (!(option->Flags() & CmdArg::Repeatable)) {
        ReportError("option '%s' given more than once.\n", option->Name());
        result = false;
      }
    }
    if (option->Flags() & CmdArg::Deprecated) {
      const bool replaced = !option->Replacement().empty();
      ReportError("option '%s' is deprecated%s%s.\n", option->Name(), replaced ? " in favor of " : "",
                  replaced ? option->Replacement().c_str() : "");
    }
    state.givenArgs.insert(option);
    const bool passThrough = option->Kind() & kPassThroughKinds;

    if (!takesValue || inlineValue) {
      const bool ok = option->Set(takesValue ? arg.c_str() + equals + 1 : nullptr);
      result = result && ok;
      if (ok && passThrough)
        state.forwardedArgs.push_back(arg);
      continue;
    }
    if (i + 1 >= args.size()) {
      ReportError("option '%s' must be given a value.\n", option->Name());
      result = false;
      continue;
    }
    ++i;
    const bool ok = option->Set(args[i].c_str());
    result = result && ok;
    if (ok && passThrough) {
      state.forwardedArgs.push_back(arg);
      state.forwardedArgs.push_back(args[i]);
    }
  }

  RunStandardAction(state, programName, args);
  return result;
}

bool ParseCommandLine(int argc, char **argv) {
  std::vector<std::string> args;
  if (argc < 1 || !argv || !argv[0])
    return ParseArguments("", args, 1);
  if (CurrentCmdLine().cleanArgs.empty())
    args.emplace_back(argv[0]);
  for (int i = 1; i < argc; ++i)
    args.emplace_back(argv[i] ? argv[i] : "");
  const bool ok = ParseArguments(argv[0], args, 1);
  if (!ok)
    log_eprintf("Invoke '%s -help' for a list of valid options.\n", argv[0]);
  return ok;
}

bool ReparseArguments(const std::string &programName, const std::vector<std::string> &args) {
  CurrentCmdLine().givenArgs.clear();
  return ParseArguments(programName, args, 1);
}

const std::vector<std::string> &Files() { return CurrentCmdLine().files; }
const std::vector<std::string> &ExpandedFiles() { return CurrentCmdLine().expandedFiles; }
std::vector<std::string> &SearchDirectories() { return CurrentCmdLine().searchDirectories; }
void AddSearchDirectory(std::string dir) { CurrentCmdLine().searchDirectories.push_back(std::move(dir)); }
const std::vector<std::string> &UnknownPlusArgs() { return CurrentCmdLine().unknownPlusArgs; }
const std::vector<std::string> &ForwardedArgs() { return CurrentCmdLine().forwardedArgs; }
const std::unordered_set<const CmdArg *> &GivenArgs() { return CurrentCmdLine().givenArgs; }

char *const *CleanArgv() {
  CmdLineState &state = CurrentCmdLine();
  if (state.cleanArgv.empty())
    RebuildCleanArgv(state);
  return state.cleanArgv.data();
}

int CleanArgc() { return static_cast<int>(CurrentCmdLine().cleanArgs.size()); }

std::string ResolveFile(const std::string &path) {
  const std::vector<std::string> &dirs = SearchDirectories();
  if (dirs.empty())
    return joinPath(".", path);
  std::string resolved = path;
  for (auto dir = dirs.rbegin(); dir != dirs.rend() && !isAbsolutePath(resolved); ++dir)
    resolved = joinPath(*dir, resolved);
  return resolved;
}

// ---------------------------------------------------------------------------
// Help printer

namespace {

constexpr const char kRedBold[] = "\033[31;1m";
constexpr const char kBlueBold[] = "\033[34;1m";
constexpr const char kReset[] = "\033[0m";

bool OnTerminal() { return ::isatty(1) == 1; }

/// The length of \p text without its escape sequences (ESC up to "m").
size_t VisibleLength(std::string_view text) {
  size_t length = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033') {
      const size_t end = text.find('m', i);
      if (end == std::string_view::npos)
        break;
      i = end;
      continue;
    }
    ++length;
  }
  return length;
}

bool ByNameAfterFirst(const CmdArg *a, const CmdArg *b) {
  const char *left = a->Name()[0] ? a->Name() + 1 : a->Name();
  const char *right = b->Name()[0] ? b->Name() + 1 : b->Name();
  return ::strcasecmp(left, right) < 0;
}

void PrintGroup(const OptionGroup &group) {
  const int titleLength = static_cast<int>(std::strlen(group.title ? group.title : ""));
  const int left = (77 - titleLength) / 2;
  const int right = 77 - titleLength - left;
  log_printf("%s %s %s\n\n", std::string(std::max(left, 0), '=').c_str(), group.title ? group.title : "",
             std::string(std::max(right, 0), '=').c_str());

  std::vector<const CmdArg *> members;
  for (const CmdArg *arg : RegisteredArgs())
    if (arg->Kind() & group.mask)
      members.push_back(arg);
  std::stable_sort(members.begin(), members.end(), ByNameAfterFirst);

  for (const CmdArg *arg : members) {
    if ((arg->Kind() & kHiddenKinds) || (arg->Flags() & CmdArg::Deprecated) || !arg->Description())
      continue;
    const std::string_view description = arg->Description();
    const size_t colon = description.find(':');
    std::string head = arg->Name();
    std::string_view help = description;
    if (colon != std::string_view::npos) {
      head.append(" <").append(description.substr(0, colon)).append(">");
      help = description.substr(colon + 1);
    } else if (arg->Flags() & CmdArg::TakesValue) {
      head += " <...>";
    }
    head = Emphasize(ColorizeMarkup(head));
    const size_t visible = VisibleLength(head);
    if (visible < 30)
      head.append(30 - visible, ' ');
    log_printf("  %s %s\n", head.c_str(), ColorizeMarkup(help).c_str());
  }
  log_printf("\n");
}

} // namespace

std::string Emphasize(std::string_view text) {
  if (!OnTerminal())
    return std::string(text);
  std::string out = kRedBold;
  out.append(text).append(kReset);
  return out;
}

std::string ColorizeMarkup(std::string_view text) {
  const bool terminal = OnTerminal();
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
    case '{':
      out += terminal ? kRedBold : "";
      break;
    case '<':
      out += terminal ? kBlueBold : "";
      break;
    case '}':
    case '>':
      out += terminal ? kReset : "";
      break;
    default:
      out += c;
    }
  }
  return out;
}

void PrintUsage(const char *programName) {
  const std::string line = ColorizeMarkup("Corvane tool usage: " + Emphasize(programName ? programName : "") +
                                          " [<option(s)>] [<file(s)>]");
  log_printf("\n%s\n\n", line.c_str());
  log_printf("valid options:\n\n");
  for (const OptionGroup &group : OptionGroups()) {
    if ((group.mask & kHiddenGroup) || !(group.mask & ~kHiddenKinds))
      continue;
    PrintGroup(group);
  }
}
