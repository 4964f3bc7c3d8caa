#ifndef CORVANE_UTIL_CMDLINE_H
#define CORVANE_UTIL_CMDLINE_H

/// \file
/// The command-line option framework every tool of the suite parses its
/// arguments with.
///
/// An option is a global object of the CmdArg family; constructing it
/// registers it, in construction order, in the process-wide registry.  The
/// parser (ParseCommandLine, ParseArguments) looks options up by exact name
/// and hands values to their Set(); the tool reads the results back from the
/// objects and from the result lists (Files(), ExpandedFiles(), ...).
///
///     static StringArg g_Out("-out", 0x2, "file:where the result goes");
///     static IntegerArg g_Jobs("-jobs", 0x2, "n:parallel jobs", IntegerArg::NotNegative);
///     int main(int argc, char **argv) {
///       AddOptionGroup(0x2, "Tool options");
///       if (!ParseCommandLine(argc, argv)) return 1;
///       ... g_Out.Value(), g_Jobs.Value(), Files() ...
///     }
///
/// An option is accepted only when its kind shares a bit with some
/// registered group (AddOptionGroup); "+" options are exempt.  A
/// description of the form "placeholder:help text" shows the placeholder in
/// the -help listing.
///
/// The standard options "-help", "-options", "-version", "-version-verbose"
/// and "-exclude-file-offsets" exist in every process that links the
/// library; StandardOptions() reaches them.

#include "util/Compiler.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// ---------------------------------------------------------------------------
// Option objects

/// Base of every option.
class CmdArg {
public:
  /// Bits of Flags().
  enum : uint32_t {
    TakesValue = 1, ///< consumes a value ("-o=x" or "-o x")
    Repeatable = 2, ///< may be given more than once
    Deprecated = 4, ///< giving it prints a deprecation notice
  };

  /// Registers the option.  \p name is the option as typed, "-" or "+"
  /// included; it is not copied and must outlive the object.
  CmdArg(const char *name, uint32_t kind, uint32_t flags);
  virtual ~CmdArg();
  CmdArg(const CmdArg &) = delete;
  CmdArg &operator=(const CmdArg &) = delete;

  /// Takes a value (null for options without TakesValue); false, after a
  /// message through ReportError(), when the value is refused.
  virtual bool Set(const char *value) = 0;
  /// The one-line help text, or null.
  virtual const char *Description() const = 0;
  /// The option as shown in the -options list.
  virtual std::string Usage() const = 0;

  const char *Name() const { return m_Name; }
  uint32_t Kind() const { return m_Kind; }
  uint32_t Flags() const { return m_Flags; }
  const std::string &Replacement() const { return m_Replacement; }

  /// Marks the option deprecated, superseded by \p replacement when that is
  /// not empty.
  void Deprecate(std::string replacement = {});

protected:
  const char *m_Name;
  uint32_t m_Kind;
  uint32_t m_Flags;
  std::string m_Replacement;
};

/// A flag: false until given.
class SwitchArg : public CmdArg {
public:
  /// \p description is an addition for tools that want the switch in the
  /// -help listing; switches have none by default.
  SwitchArg(const char *name, uint32_t kind, const char *description = nullptr);
  bool Set(const char *value) override;
  const char *Description() const override { return m_Description; }
  std::string Usage() const override { return m_Name; }
  bool Value() const { return m_Value; }

protected:
  bool m_Value = false;
  const char *m_Description;
};

/// A text value; the last one given wins.
class StringArg : public CmdArg {
public:
  StringArg(const char *name, uint32_t kind, const char *description);
  bool Set(const char *value) override;
  const char *Description() const override { return m_Description; }
  std::string Usage() const override;
  const std::string &Value() const { return m_Value; }

private:
  std::string m_Value;
  const char *m_Description;
};

/// Text values collected in order; may be given any number of times.
class MultiStringArg : public CmdArg {
public:
  MultiStringArg(const char *name, uint32_t kind, const char *description);
  bool Set(const char *value) override;
  const char *Description() const override { return m_Description; }
  std::string Usage() const override;
  const std::vector<std::string> &Values() const { return m_Values; }

private:
  std::vector<std::string> m_Values;
  const char *m_Description;
};

/// A 32-bit integer, decimal or "0x" hexadecimal (lower-case x only).
class IntegerArg : public CmdArg {
public:
  /// Bits of the constraints.
  enum : uint32_t { NotNegative = 1, NotZero = 2 };
  IntegerArg(const char *name, uint32_t kind, const char *description, uint32_t constraints = 0);
  /// Stores the converted number before checking it, so a refused value
  /// still shows in Value().
  bool Set(const char *value) override;
  const char *Description() const override { return m_Description; }
  std::string Usage() const override;
  int32_t Value() const { return m_Value; }
  /// Whether the option was given, accepted or not.
  bool Given() const { return m_Given; }

private:
  int32_t m_Value = 0;
  bool m_Given = false;
  const char *m_Description;
  uint32_t m_Constraints;
};

/// One member of a set of mutually exclusive options.  All members share a
/// selector (0 until one is chosen); each stores its own positive choice.
class MutexArg : public CmdArg {
public:
  MutexArg(const char *name, uint32_t kind, const char *description, int32_t *selector,
           int32_t choice);
  bool Set(const char *value) override;
  const char *Description() const override { return m_Description; }
  std::string Usage() const override { return m_Name; }
  const int32_t *Selector() const { return m_Selector; }
  int32_t Choice() const { return m_Choice; }

private:
  const char *m_Description;
  int32_t *m_Selector;
  int32_t m_Choice;
};

/// "-options": prints the one-line list of options.
class OptionsArg : public SwitchArg {
public:
  OptionsArg();
};

/// "-help": prints the usage and the grouped help listing.
class HelpArg : public SwitchArg {
public:
  HelpArg();
};

/// "-version": prints the version string.
class TarnVersionArg : public SwitchArg {
public:
  TarnVersionArg();
};

/// "-version-verbose": prints the verbose version string.
class VersionVerboseArg : public SwitchArg {
public:
  VersionVerboseArg();
};

/// "-exclude-file-offsets": saved source locations leave out file offsets.
/// Given, it turns on the locator stream's process-wide flag
/// (setExcludeFileOffsets()).
class ExcludeFileOffsets : public SwitchArg {
public:
  ExcludeFileOffsets();
  bool Set(const char *value) override;
};

/// The standard options of the current registry.
struct StandardCmdArgs {
  HelpArg help;
  OptionsArg options;
  TarnVersionArg version;
  VersionVerboseArg versionVerbose;
  ExcludeFileOffsets excludeFileOffsets;
};

/// The standard options: the process-wide objects, or those of the
/// innermost ScopedCmdLine.
StandardCmdArgs &StandardOptions();

// ---------------------------------------------------------------------------
// Registry, groups, results

/// One entry of the group table.
struct OptionGroup {
  const char *title;
  uint32_t mask;
};

/// Everything the framework keeps per process: the registry, the groups and
/// the results of the parses.  CurrentCmdLine() is the one in use.
struct CmdLineState {
  std::vector<CmdArg *> args;
  std::vector<OptionGroup> groups;

  std::vector<std::string> files;
  std::vector<std::string> expandedFiles;
  std::vector<std::string> searchDirectories;
  std::vector<std::string> unknownPlusArgs;
  std::vector<std::string> forwardedArgs;
  std::unordered_set<const CmdArg *> givenArgs;
  std::vector<std::string> cleanArgs;
  std::vector<char *> cleanArgv; ///< Null-terminated, pointing into cleanArgs.
  std::string programName;

  StandardCmdArgs *standard = nullptr;

  /// Name lookup: name to the position of its first registration; rebuilt
  /// when the registry has grown.
  std::unordered_map<std::string_view, size_t> index;
  size_t indexedCount = 0;
  size_t longestName = 0;
};

/// The state in use: the process-wide one (made on first use, never
/// destroyed) unless a ScopedCmdLine is active.
CmdLineState &CurrentCmdLine();

/// Replaces the state in use by a fresh one, with fresh standard options
/// unless \p withStandardOptions is false, until it goes away.  Options
/// constructed meanwhile register in the fresh registry, so tests and
/// tools can build registries that do not leak into each other.  Options
/// made inside the scope must die before it.
class ScopedCmdLine {
public:
  explicit ScopedCmdLine(bool withStandardOptions = true);
  ~ScopedCmdLine();
  ScopedCmdLine(const ScopedCmdLine &) = delete;
  ScopedCmdLine &operator=(const ScopedCmdLine &) = delete;

private:
  CmdLineState *m_Saved;
  CmdLineState m_State;
};

/// The registry, in construction order.
const std::vector<CmdArg *> &RegisteredArgs();
/// Appends \p arg to the registry; CmdArg's constructor does it.
void RegisterArg(CmdArg *arg);

/// Appends {"General options", 0x80001}.
void RegisterGeneralGroup();
/// Appends a group, after the general group when the table is empty.
bool AddOptionGroup(uint32_t mask, const char *title);
const std::vector<OptionGroup> &OptionGroups();

/// The -options action: every listed option's Usage(), blank-separated, on
/// one line without a line feed.
void PrintOptionList();

/// Prints "<program>: error: " and the message on standard error and the
/// session log.
void ReportError(const char *format, ...) CORVANE_PRINTF(1, 2);

/// The program name of the last parse (the manifest path inside one).
const std::string &ProgramName();
void SetProgramName(std::string name);

/// The version strings printed by -version and -version-verbose; the
/// tool's build information by default.
void SetVersionStrings(const char *version, const char *verboseVersion);

// ---------------------------------------------------------------------------
// Parser

/// Parses argv (argv[0] included only while CleanArgv() is empty) in append
/// mode; on failure also prints how to get the option list.  Never exits.
bool ParseCommandLine(int argc, char **argv);

/// Parses \p args from the second entry on; the first stands for the
/// program.  \p mode: 0 rebuilds CleanArgv() from \p args, 1 appends to
/// it (all but the first entry), 2 leaves it alone and silently skips
/// options already given.  Every argument is examined and every error
/// reported; true when all were accepted.  Runs the action of -help,
/// -options, -version or -version-verbose, the first of them that is set.
bool ParseArguments(const std::string &programName, const std::vector<std::string> &args, int mode);

/// Forgets which options were given, then parses in append mode.
bool ReparseArguments(const std::string &programName, const std::vector<std::string> &args);

/// Arguments that are neither options nor plus-arguments, as given.
const std::vector<std::string> &Files();
/// The same, expanded (ExpandEnv) and resolved (ResolveFile).
const std::vector<std::string> &ExpandedFiles();
/// The directory stack file arguments are resolved against.
std::vector<std::string> &SearchDirectories();
void AddSearchDirectory(std::string dir);
/// "+" arguments that no option took.
const std::vector<std::string> &UnknownPlusArgs();
/// Arguments for a later tool: unknown plus-arguments, and accepted options
/// of the pass-through kinds (16, 32, 64, 0x200000) with their values.
const std::vector<std::string> &ForwardedArgs();
/// The options given so far.
const std::unordered_set<const CmdArg *> &GivenArgs();
/// The parsed arguments without "-repro" and "-target" and the argument
/// after each; null-terminated.
char *const *CleanArgv();
int CleanArgc();

/// Resolves a relative \p path through the search directories, innermost
/// first, until it is absolute; "./path" when there are none.
std::string ResolveFile(const std::string &path);

// ---------------------------------------------------------------------------
// Help printer

/// Red bold \p text when standard output is a terminal, else \p text.
std::string Emphasize(std::string_view text);
/// \p text with "{" as red bold, "<" as blue bold, "}" and ">" as reset on
/// a terminal; elsewhere those four characters are dropped.
std::string ColorizeMarkup(std::string_view text);
/// The -help action: usage line, then each visible group's options sorted
/// by name, with their placeholders and help texts.
void PrintUsage(const char *programName);

#endif
