#include "util/roster.h"

#include "driver/log.h"
#include "util/strings.h"
#include "util/telemetry.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

const char kSeverityLetters[] = "#NWEEFTSM";

const char *const kSeverityNames[kSeverityCount] = {
    "#", "Info", "Warning", "SoftError", "Error", "Fatal", "Terminate", "Start", "Memory"};

const char *const kSeverityClasses[6] = {"", "note", "warning", "", "error", "fatal"};

const char kMessageLeader[] = "=";

namespace {

bool InRange(int severity) { return severity >= 0 && severity < kSeverityCount; }

bool HasText(const char *text) { return text && *text; }

/// Appends the line up to where the text goes: "=E:[id] <demotable>".
/// Returns whether a separating blank is owed before a non-empty text.
bool AppendLinePrefix(std::string &out, int severity, bool demotable, const char *id) {
  out.append(kMessageLeader);
  out.push_back(SeverityLetter(severity));
  out.push_back(':');
  bool hasId = HasText(id);
  if (hasId) {
    out.push_back('[');
    out.append(id);
    out.push_back(']');
  }
  if (demotable)
    out.append(" <demotable>");
  return hasId;
}

/// Turns every "%%" of the composed line into one "%", as printing the line
/// as a format without arguments would, and leaves every other "%" as it
/// is.  The line is then printed through "%s", so no text that ends up in
/// it (a file name such as "a%s%n.cpp") can make the printer read an
/// argument or store through "%n".
void CollapsePercents(std::string &line) {
  size_t from = line.find('%');
  if (from == std::string::npos)
    return;
  size_t to = from;
  while (from < line.size()) {
    char c = line[from++];
    line[to++] = c;
    if (c == '%' && from < line.size() && line[from] == '%')
      ++from;
  }
  line.resize(to);
}

/// The address InternalAssertFailed stores to; a variable so that the
/// compiler cannot see the fault and replace it with a trap instruction.
volatile std::uintptr_t faultAddress = 0;

} // namespace

char SeverityLetter(int severity) { return InRange(severity) ? kSeverityLetters[severity] : 'U'; }

const char *SeverityName(int severity) { return InRange(severity) ? kSeverityNames[severity] : "U"; }

int SeverityClassOf(const char *name) {
  if (!HasText(name))
    return 0;
  if (!std::strcmp(name, "info"))
    return kSeverityInfo;
  if (!std::strcmp(name, "warn"))
    return kSeverityWarning;
  for (int code = 0; code < 6; ++code)
    if (*kSeverityClasses[code] && !std::strcmp(name, kSeverityClasses[code]))
      return code;
  return 0;
}

std::string FormatMessageLine(int severity, bool demotable, const char *id, const char *text) {
  std::string line;
  if (severity == 0) {
    line.assign("    ");
    if (text)
      line.append(text);
    return line;
  }
  bool blankOwed = AppendLinePrefix(line, severity, demotable, id);
  if (HasText(text)) {
    if (blankOwed)
      line.push_back(' ');
    line.append(text);
  }
  return line;
}

// ---------------------------------------------------------------------------
// Message classes

ErrorMessage::~ErrorMessage() = default;

ErrorMsgClassBase::~ErrorMsgClassBase() = default;

void ErrorMsgClassBase::PrintSummary(ErrorRoster &roster) { roster.PrintLimitSummary(*this); }

void ErrorMsgClassBase::Clear() {
  m_Entries.clear();
  m_InProtectedCode = false;
}

// ---------------------------------------------------------------------------
// ErrorRoster

RosterCrashHandler::RosterCrashHandler(ErrorRoster *roster) : m_Roster(roster) {
  RegisterHandler();
}

void RosterCrashHandler::OnCrash(int) {
  if (m_Roster)
    m_Roster->PrintClassSummaries();
}

ErrorRoster::ErrorRoster() : m_CrashHandler(this) {
  for (int code = 0; code < kSeverityCount; ++code)
    m_SeverityMap[code] = code;
  m_SeverityMap[kSeveritySoftError] = kSeverityError;
  m_Classes.push_back(&m_LimitClass);
}

ErrorRoster::~ErrorRoster() = default;

ErrorRoster &ErrorRoster::Get() {
  // Never destroyed: messages and crashes may come during exit.
  static ErrorRoster &roster = *new ErrorRoster;
  return roster;
}

int ErrorRoster::EffectiveSeverity(const char *id, int severity) const {
  if (m_OverrideMode == 0 && severity >= kSeverityError && severity <= kSeverityMemory)
    return severity;
  auto found = m_IdOverrides.end();
  if (id && !m_IdOverrides.empty())
    found = m_IdOverrides.find(std::string_view(id));
  if (m_OverrideMode == 2 && severity == kSeveritySoftError)
    return kSeverityWarning;
  int shown;
  if (found != m_IdOverrides.end())
    shown = found->second;
  else if (InRange(severity))
    shown = static_cast<int>(m_SeverityMap[severity]);
  else
    shown = severity;
  return shown == kSeveritySoftError ? kSeverityError : shown;
}

bool ErrorRoster::SetSeverity(const char *name, int severity) {
  if (!HasText(name) || !InRange(severity))
    return false;
  auto found = m_IdOverrides.find(std::string_view(name));
  if (found != m_IdOverrides.end()) {
    found->second = severity;
    return true;
  }
  switch (SeverityClassOf(name)) {
  case kSeverityError:
    // Only soft errors can be demoted; errors proper can be made fatal.
    m_SeverityMap[kSeveritySoftError] = severity;
    if (severity >= kSeverityError)
      m_SeverityMap[kSeverityError] = severity;
    break;
  case kSeverityInfo:
    m_SeverityMap[kSeverityInfo] = severity;
    break;
  case kSeverityWarning:
    m_SeverityMap[kSeverityWarning] = severity;
    break;
  case kSeverityFatal:
    // Fatal stays fatal, by design.
    break;
  default:
    m_IdOverrides.emplace(name, severity);
    break;
  }
  return true;
}

void ErrorRoster::Count(int shown) {
  switch (shown) {
  case kSeverityError:
    ++m_ErrorCount;
    ++m_ResettableErrorCount;
    break;
  case kSeverityWarning:
    ++m_WarningCount;
    break;
  case kSeverityInfo:
    ++m_NoteCount;
    break;
  case kSeverityFatal:
    ++m_FatalCount;
    break;
  default:
    break;
  }
}

int ErrorRoster::VReportMessage(int severity, const char *id, bool toStderr, const char *format,
                                va_list args) {
  int shown = EffectiveSeverity(id, severity);
  if (shown == 0)
    return 0;

  // Standard-error messages come from the signal routine too, which may
  // have interrupted a message being composed in m_Line: they use a line of
  // their own.
  std::string stderrLine;
  std::string &line = toStderr ? stderrLine : m_Line;
  line.clear();
  bool demotable = shown == kSeverityError && severity == kSeveritySoftError;
  bool blankOwed = AppendLinePrefix(line, shown, demotable, id);
  size_t textStart = line.size();
  if (blankOwed)
    line.push_back(' ');
  if (format)
    appendFormattedV(line, format, args);
  if (blankOwed && line.size() == textStart + 1)
    line.pop_back(); // empty text: no blank after the id
  CollapsePercents(line);
  if (toStderr)
    log_eprintf("%s", line.c_str());
  else
    log_printf("%s", line.c_str());

  if (TelemetrySessionCount() >= 1) {
    const char *original = severity != 0 && severity != shown ? SeverityName(severity) : nullptr;
    AnalyticErrorMessage record(id, SeverityName(shown), original, toStderr ? "stderr" : "stdout");
    Count(shown);
  } else {
    Count(shown);
  }
  return 1;
}

int ErrorRoster::ReportMessage(int severity, const char *id, const char *format, ...) {
  va_list args;
  va_start(args, format);
  int shown = VReportMessage(severity, id, false, format, args);
  va_end(args);
  return shown;
}

int ErrorRoster::ReportMessageToStderr(int severity, const char *id, const char *format, ...) {
  va_list args;
  va_start(args, format);
  int shown = VReportMessage(severity, id, true, format, args);
  va_end(args);
  return shown;
}

int ErrorRoster::BeginBlock(const char *id, int severity) {
  int shown = EffectiveSeverity(id, severity);
  if (shown == 0)
    return 0;
  m_PendingRecord.reset();
  if (TelemetrySessionCount() >= 1) {
    const char *original = severity != 0 && severity != shown ? SeverityName(severity) : nullptr;
    m_PendingRecord =
        std::make_unique<AnalyticErrorMessage>(id, SeverityName(shown), original, "stderr");
  }
  bool demotable = shown == kSeverityError && severity == kSeveritySoftError;
  std::string header = FormatMessageLine(shown, demotable, id, nullptr);
  header.push_back('\n');
  WriteText(header.c_str());
  return shown;
}

void ErrorRoster::Flush() {
  Columnizer::Flush();
  if (m_BracketBlocks)
    WriteText("=]\n");
  m_PendingRecord.reset();
}

void ErrorRoster::WriteText(const char *text) {
  if (m_LogThroughSession)
    log_eprintf("%s", text);
  else
    std::fputs(text, stderr);
}

void ErrorRoster::SetMessageLimit(int severity, int32_t limit) {
  if (!InRange(severity))
    return;
  m_Limits[severity] = limit;
  m_LimitEnabled[severity] = true;
}

std::unique_ptr<LimitReachedMsg> ErrorRoster::CheckLimit(int severity) {
  if (!InRange(severity))
    return nullptr;
  int32_t limit = m_Limits[severity];
  if (limit <= 0 || !m_LimitEnabled[severity])
    return nullptr;
  if (static_cast<uint64_t>(limit) > static_cast<uint64_t>(m_FatalCount) + m_ErrorCount)
    return nullptr;
  return std::make_unique<LimitReachedMsg>(limit, "errors", ++m_LimitReports);
}

void ErrorRoster::PrintLimitSummary(const ErrorMsgClassBase &messageClass) {
  if (!BeginBlock("LimitReached", kSeverityFatal))
    return;
  unsigned first = static_cast<unsigned>(RowCount());
  AddLine(0, "The message limit has been reached\n");
  unsigned number = 0;
  for (const auto &entry : messageClass.Entries()) {
    ++number;
    if (auto *report = dynamic_cast<const LimitReachedMsg *>(entry.get()))
      AddFormattedLine(first + number, 0, "%d %s have been found", report->Limit(),
                       report->Label());
  }
  if (messageClass.InProtectedCode())
    AddLine(0, "(occurs in encrypted code)\n");
  Flush();
}

void ErrorRoster::PrintClassSummaries() {
  for (ErrorMsgClassBase *messageClass : m_Classes) {
    if (messageClass->Entries().empty() && !messageClass->InProtectedCode())
      continue;
    messageClass->PrintSummary(*this);
    messageClass->Clear();
  }
}

namespace {

// Fault on purpose: the crash handler reports, prints the summaries and
// exits with status 1.
[[noreturn]] CORVANE_NO_SANITIZE void FaultOnPurpose() {
  *reinterpret_cast<volatile int *>(faultAddress) = 0;
  std::abort(); // only reached if the store did not fault
}

} // namespace

void ErrorRoster::InternalAssertFailed(const char *condition, const char *file, int line) {
  ReportMessageToStderr(kSeverityFatal, "InternalAssert", "%s failed @%s:%d\n", condition, file,
                        line);
  FaultOnPurpose();
}

// ---------------------------------------------------------------------------
// The process-wide roster

int ReportMessage(int severity, const char *id, const char *format, ...) {
  va_list args;
  va_start(args, format);
  int shown = ErrorRoster::Get().VReportMessage(severity, id, false, format, args);
  va_end(args);
  return shown;
}

int ReportMessageToStderr(int severity, const char *id, const char *format, ...) {
  va_list args;
  va_start(args, format);
  int shown = ErrorRoster::Get().VReportMessage(severity, id, true, format, args);
  va_end(args);
  return shown;
}

int EffectiveSeverity(const char *id, int severity) {
  return ErrorRoster::Get().EffectiveSeverity(id, severity);
}

bool SetSeverity(const char *name, int severity) {
  return ErrorRoster::Get().SetSeverity(name, severity);
}

void InternalAssertFailed(const char *condition, const char *file, int line) {
  ErrorRoster::Get().InternalAssertFailed(condition, file, line);
}
