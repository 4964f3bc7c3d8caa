#ifndef CORVANE_UTIL_ROSTER_H
#define CORVANE_UTIL_ROSTER_H

/// \file
/// The message roster: the one process-wide object through which every
/// diagnostic of the support library is issued.  A message has a severity
/// (0 to 8), an optional short id and a printf-style text.  The roster
/// decides the severity it is shown at, prints it as one line through the
/// session log, counts it, leaves a telemetry record of it, and keeps
/// message limits, multi-line message blocks and the per-class summaries
/// printed at the end or on a crash.
///
/// A message line is the leader "=", the severity letter, a colon, the id in
/// brackets, " <demotable>" for a soft error shown as an error, one space
/// and the text, e.g. "=E:[Crash] text" or "=W:text" (no id).  Continuation
/// lines (severity 0) are four blanks and the text.
///
/// Deciding the shown severity (EffectiveSeverity):
///  - in override mode 0, Error and above are final;
///  - otherwise an entry for the id in the id overrides wins over the
///    per-severity map; a result of 0 silences the message;
///  - a soft error is never shown as one: it shows as an error, or as a
///    warning in override mode 2 (whatever map and overrides say).

#include "util/Compiler.h"
#include "util/Columnizer.h"
#include "util/crash.h"

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class AnalyticErrorMessage;
class ErrorRoster;

// ---------------------------------------------------------------------------
// Severities

constexpr int kSeverityContinuation = 0; ///< Continuation line; as a result: silenced.
constexpr int kSeverityInfo = 1;
constexpr int kSeverityWarning = 2;
constexpr int kSeveritySoftError = 3; ///< An error the user may demote.
constexpr int kSeverityError = 4;
constexpr int kSeverityFatal = 5;
constexpr int kSeverityTerminate = 6;
constexpr int kSeverityStart = 7;
constexpr int kSeverityMemory = 8;
constexpr int kSeverityCount = 9;

/// The letter of each severity, indexed by code: "#NWEEFTSM".
extern const char kSeverityLetters[];
/// The long name of each severity, as written to telemetry records.
extern const char *const kSeverityNames[kSeverityCount];
/// The user-facing class words, indexed by code; empty entries (0 and 3)
/// cannot be named.  The table ends after "fatal" (code 5).
extern const char *const kSeverityClasses[6];
/// Put before every message line.
extern const char kMessageLeader[];

/// The letter of \p severity, 'U' outside 0..8.
char SeverityLetter(int severity);
/// The long name of \p severity, "U" outside 0..8.
const char *SeverityName(int severity);
/// The severity a class word names ("info" and "warn" included), or 0.
int SeverityClassOf(const char *name);

/// Builds a message line (without a line feed unless \p text ends in one).
/// A null or empty \p id drops the bracketed part; a null \p text is empty.
std::string FormatMessageLine(int severity, bool demotable, const char *id, const char *text);

// ---------------------------------------------------------------------------
// Messages and message classes

/// A message kept by a message class until its summary is printed.
class ErrorMessage {
public:
  virtual ~ErrorMessage();
};

/// Tells that a message limit was reached: the limit, what was counted
/// ("errors") and the ordinal of this report among the roster's limit
/// reports (1 for the first).
class LimitReachedMsg : public ErrorMessage {
public:
  LimitReachedMsg(int limit, const char *label, uint32_t sequence)
      : m_Limit(limit), m_Label(label), m_Sequence(sequence) {}
  int Limit() const { return m_Limit; }
  const char *Label() const { return m_Label; }
  uint32_t Sequence() const { return m_Sequence; }

private:
  int m_Limit;
  const char *m_Label;
  uint32_t m_Sequence;
};

/// A kept message that owns its text.
class PPErrorMessage : public ErrorMessage {
public:
  explicit PPErrorMessage(std::string text) : m_Text(std::move(text)) {}
  const std::string &Text() const { return m_Text; }

private:
  std::string m_Text;
};

/// Gathers messages of one kind for a summary block.
class ErrorMsgClassBase {
public:
  virtual ~ErrorMsgClassBase();

  /// A short name of the kind, for diagnostics.
  virtual const char *Name() const = 0;

  /// Prints the summary of the collected messages through \p roster.  The
  /// default is the message-limit summary: a Fatal "LimitReached" block
  /// with one "%d %s have been found" row per limit report.
  virtual void PrintSummary(ErrorRoster &roster);

  void Add(std::unique_ptr<ErrorMessage> message) { m_Entries.push_back(std::move(message)); }
  const std::vector<std::unique_ptr<ErrorMessage>> &Entries() const { return m_Entries; }

  /// Set when a message of the class lies in protected (encrypted) code;
  /// the summary then says so.
  void SetInProtectedCode(bool value = true) { m_InProtectedCode = value; }
  bool InProtectedCode() const { return m_InProtectedCode; }

  /// Drops the entries and the protected-code flag.
  void Clear();

protected:
  std::vector<std::unique_ptr<ErrorMessage>> m_Entries;
  bool m_InProtectedCode = false;
};

/// Collects the LimitReachedMsg reports; prints the limit summary.
class LimitReachedClass : public ErrorMsgClassBase {
public:
  const char *Name() const override { return "LimitReached"; }
};

// ---------------------------------------------------------------------------
// The roster

/// The roster's crash handler: on a crash it prints the summaries of all
/// the roster's message classes.
class RosterCrashHandler : public CrashHandler {
public:
  /// Registers at once.
  explicit RosterCrashHandler(ErrorRoster *roster);
  void OnCrash(int signal) override;

private:
  ErrorRoster *m_Roster;
};

/// The roster.  ErrorRoster::Get() is the process-wide one, made on first
/// use and never destroyed; the free functions below use it.  Other
/// instances (tests) are independent, except that each registers its own
/// crash handler while it lives.
///
/// Multi-line blocks: BeginBlock() prints the header line through
/// WriteText(), AddLine()/AddFormattedLine() collect the body in columns
/// (see Columnizer for the layout), Flush() prints it, closes the block
/// with "=]" when bracketBlocks is on, and writes the block's telemetry
/// record.
class ErrorRoster : public Columnizer {
public:
  ErrorRoster();
  ~ErrorRoster() override;

  /// The process-wide roster.
  static ErrorRoster &Get();

  /// Issues a message to standard output and the session log.  Returns 1
  /// when it was shown and counted, 0 when silenced.  The composed line is
  /// printed the way a printf format without arguments prints: "%%" comes
  /// out as one "%"; any other "%" is printed as it is.
  int ReportMessage(int severity, const char *id, const char *format, ...)
      CORVANE_PRINTF(4, 5);
  /// As ReportMessage(), to standard error and the session log.
  int ReportMessageToStderr(int severity, const char *id, const char *format, ...)
      CORVANE_PRINTF(4, 5);
  int VReportMessage(int severity, const char *id, bool toStderr, const char *format,
                     va_list args) CORVANE_VPRINTF(5);

  /// The severity a message of \p severity with \p id is shown at.  Codes
  /// outside 0..8 pass through unless the id has an override.
  int EffectiveSeverity(const char *id, int severity) const;

  /// Remaps a severity class ("note"/"info", "warning"/"warn", "error",
  /// "fatal") or, for any other name, the message id \p name.  "error"
  /// moves soft errors to \p severity and errors only to Error or above;
  /// "fatal" cannot be remapped (no effect).  Returns false, changing
  /// nothing, for a null or empty name or a severity outside 0..8.
  bool SetSeverity(const char *name, int severity);

  /// 0: Error and above are final.  1: map and overrides apply to every
  /// severity.  2: as 1, and soft errors show as warnings.
  void SetOverrideMode(uint32_t mode) { m_OverrideMode = mode; }
  uint32_t OverrideMode() const { return m_OverrideMode; }

  /// When on, raw text (blocks) goes through the session log's standard
  /// error printer instead of straight to standard error.
  void SetLogThroughSession(bool on) { m_LogThroughSession = on; }
  /// When on, every block ends with the line "=]".
  void SetBracketBlocks(bool on) { m_BracketBlocks = on; }

  /// Starts a block with a header line for (\p id, \p severity).  Returns
  /// the shown severity, or 0 (nothing printed) when silenced.
  int BeginBlock(const char *id, int severity);
  void Flush() override;
  /// The raw text sink: standard error, or the session log's standard
  /// error printer when logThroughSession is on.
  void WriteText(const char *text) override;

  uint32_t FatalCount() const { return m_FatalCount; }
  uint32_t TotalErrorCount() const { return m_ErrorCount; }
  uint32_t WarningCount() const { return m_WarningCount; }
  uint32_t NoteCount() const { return m_NoteCount; }
  /// The errors since the last ResetErrorCount().
  uint32_t ErrorCount() const { return m_ResettableErrorCount; }
  void ResetErrorCount() { m_ResettableErrorCount = 0; }

  /// Sets the limit of \p severity (0: none) and switches its check on.
  void SetMessageLimit(int severity, int32_t limit);
  /// When the limit of \p severity is on and fatal plus error messages
  /// reached it, a report for the caller to queue with LimitClass();
  /// otherwise null.
  std::unique_ptr<LimitReachedMsg> CheckLimit(int severity);

  /// The roster's own class for limit reports (the first class).
  LimitReachedClass &LimitClass() { return m_LimitClass; }
  /// Adds a class to the summaries; the caller keeps it alive.
  void AddClass(ErrorMsgClassBase *messageClass) { m_Classes.push_back(messageClass); }
  /// Prints, in order, the summary of every class that holds entries or the
  /// protected-code flag, and clears each printed class.
  void PrintClassSummaries();
  /// The message-limit summary of \p messageClass; nothing at all when the
  /// "LimitReached" block is silenced.
  void PrintLimitSummary(const ErrorMsgClassBase &messageClass);

  /// Reports "<condition> failed @<file>:<line>" as a Fatal
  /// "InternalAssert" message on standard error, then faults on purpose so
  /// that the crash handler reports, prints the summaries and exits 1.
  [[noreturn]] void InternalAssertFailed(const char *condition, const char *file, int line);

private:
  void Count(int shown);

  uint32_t m_SeverityMap[kSeverityCount];
  std::map<std::string, int, std::less<>> m_IdOverrides;
  uint32_t m_OverrideMode = 0;
  bool m_LogThroughSession = false;
  bool m_BracketBlocks = false;

  uint32_t m_FatalCount = 0;
  uint32_t m_ErrorCount = 0;
  uint32_t m_WarningCount = 0;
  uint32_t m_NoteCount = 0;
  uint32_t m_ResettableErrorCount = 0;
  int32_t m_Limits[kSeverityCount] = {};
  bool m_LimitEnabled[kSeverityCount] = {};
  uint32_t m_LimitReports = 0;

  LimitReachedClass m_LimitClass;
  std::vector<ErrorMsgClassBase *> m_Classes;
  std::unique_ptr<AnalyticErrorMessage> m_PendingRecord;

  /// Where standard-output messages are composed; kept to spare an
  /// allocation per message.
  std::string m_Line;

  /// Last, so that a signal never reaches a half-built roster.
  RosterCrashHandler m_CrashHandler;
};

// ---------------------------------------------------------------------------
// The process-wide roster

int ReportMessage(int severity, const char *id, const char *format, ...) CORVANE_PRINTF(3, 4);
int ReportMessageToStderr(int severity, const char *id, const char *format, ...)
    CORVANE_PRINTF(3, 4);
int EffectiveSeverity(const char *id, int severity);
bool SetSeverity(const char *name, int severity);
[[noreturn]] void InternalAssertFailed(const char *condition, const char *file, int line);

/// Checks an internal invariant; a failure ends in the crash handler.
#define CORVANE_ASSERT(condition)                                                              \
  ((condition) ? static_cast<void>(0) : InternalAssertFailed(#condition, __FILE__, __LINE__))

#endif
