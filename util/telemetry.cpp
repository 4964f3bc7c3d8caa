#include "util/telemetry.h"

#include "util/AppInfo.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fmt/format.h>
#include <string>
#include <unistd.h>

extern char **environ;

namespace {

int sessionCount = 0;
FILE *telemetryFile = nullptr;
struct timeval sessionStart = {};

/// Records are written during exit too (shutdown, crash): never destroyed.
std::string &toolName() {
  static std::string &name = *new std::string;
  return name;
}

/// Opens the file on the first record of a session, or switches telemetry
/// off when it cannot be had.
void OpenTelemetryFile() {
  if (sessionCount < 1 || telemetryFile)
    return;
  const char *executionId = std::getenv("OBX_EXECUTION_ID");
  const char *logPath = std::getenv("OBX_TELEMETRY_LOG_PATH");
  if (!executionId || !logPath) {
    sessionCount = -1;
    return;
  }
  const std::string path = fmt::format("{}/{}_{}.tel", logPath, executionId, ::getpid());
  telemetryFile = std::fopen(path.c_str(), "a");
  if (!telemetryFile)
    sessionCount = -1;
}

void EndTelemetrySession() {
  if (sessionCount > 0 && --sessionCount == 0 && telemetryFile) {
    std::fclose(telemetryFile);
    telemetryFile = nullptr;
  }
}

/// "2024-11-06T15:16:00.042Z".  Consecutive records mostly fall into the
/// same second, so the calendar part is kept from the last call.
void AppendSampleTime(std::string &out, const struct timeval &tv) {
  static time_t cachedSecond = -1;
  static char cachedText[64];
  static size_t cachedLength = 0;
  if (tv.tv_sec != cachedSecond) {
    struct tm utc;
    time_t seconds = tv.tv_sec;
    ::gmtime_r(&seconds, &utc);
    cachedLength = std::strftime(cachedText, sizeof cachedText, "%Y-%m-%dT%T", &utc);
    cachedSecond = tv.tv_sec;
  }
  const std::string text =
      fmt::format("{}.{:03}Z", std::string_view(cachedText, cachedLength), tv.tv_usec / 1000);
  JsonWriter::WriteQuoted(out, text.c_str());
}

} // namespace

int StartTelemetrySession() {
  ::gettimeofday(&sessionStart, nullptr);
  if (sessionCount >= 0)
    ++sessionCount;
  return sessionCount;
}

int TelemetrySessionCount() { return sessionCount; }

struct timeval TelemetrySessionStart() { return sessionStart; }

void SetTelemetryToolName(const char *name) { toolName() = name ? name : ""; }

const char *TelemetryToolName() { return toolName().c_str(); }

// ---------------------------------------------------------------------------
// Records

AnalyticBase::AnalyticBase() : m_Top(m_Text) {
  // Room for a typical record, so that building it allocates once.
  m_Text.reserve(512);
  ::gettimeofday(&m_Begun, nullptr);
  OpenTelemetryFile();
}

AnalyticBase::~AnalyticBase() {
  m_Top.Close();
  if (!telemetryFile)
    return;
  // A record is on disk when its object is gone, so that a reader of the
  // file (or a crash that follows) sees every record made so far.  One
  // write of the whole line: the text and its line feed go out together.
  m_Text.push_back('\n');
  std::fwrite(m_Text.data(), 1, m_Text.size(), telemetryFile);
  std::fflush(telemetryFile);
}

JsonWriter &AnalyticBase::Dimensions() { return m_Top; }

void AnalyticBase::BeginDimensions(JsonWriter &dimensions) {
  if (dimensions.AddKey("sample_time"))
    AppendSampleTime(m_Text, m_Begun);
}

void AnalyticBase::Finish(JsonWriter &dimensions) {
  if (m_Finished)
    return;
  m_Finished = true;
  dimensions.AddString("tool", toolName().c_str());
  dimensions.AddString("version", kToolVersion);
  dimensions.AddString("version_verbose", kToolVersionVerbose);
  dimensions.Close();
}

AnalyticEvent::AnalyticEvent(const char *eventName) : m_Dimensions(m_Text) {
  m_Top.AddString("event_name", eventName);
  m_Dimensions = m_Top.AddObject("dimensions");
  BeginDimensions(m_Dimensions);
}

AnalyticEvent::~AnalyticEvent() {
  Finish(m_Dimensions);
  m_Top.Close();
}

AnalyticMessage::AnalyticMessage(const char *severity, const char *text)
    : m_Message(m_Text), m_Dimensions(m_Text) {
  m_Message = m_Top.AddObject("message");
  if (severity)
    m_Message.AddString("severity", severity);
  if (text)
    m_Message.AddString("message", text);
  m_Dimensions = m_Message.AddObject("dimensions");
  BeginDimensions(m_Dimensions);
}

AnalyticMessage::~AnalyticMessage() {
  Finish(m_Dimensions);
  m_Message.Close();
  m_Top.Close();
}

AnalyticErrorMessage::AnalyticErrorMessage(const char *id, const char *severity,
                                           const char *originalSeverity, const char *io)
    : AnalyticMessage(severity, nullptr) {
  JsonWriter &dimensions = Dimensions();
  if (id && *id)
    dimensions.AddString("type", id);
  if (originalSeverity)
    dimensions.AddString("original_severity", originalSeverity);
  dimensions.AddString("io", io);
}

// ---------------------------------------------------------------------------
// Events

void TelemetryStartup(int argc, const char *const *argv, const char *envPrefix) {
  AnalyticEvent event("startup");
  JsonWriter &dimensions = event.Dimensions();
  dimensions.AddString("hostname", get_host_name().c_str());
  dimensions.AddInt("process_id", ::getpid());
  JsonWriter arguments = dimensions.AddArray("arguments");
  for (int i = 0; i < argc && argv[i]; ++i)
    arguments.AddString(nullptr, argv[i]);
  arguments.Close();
  JsonWriter environment = dimensions.AddObject("environment");
  size_t prefixLength = envPrefix ? std::strlen(envPrefix) : 0;
  std::string name;
  for (char **entry = environ; entry && *entry; ++entry) {
    if (prefixLength && std::strncmp(*entry, envPrefix, prefixLength) != 0)
      continue;
    const char *eq = std::strchr(*entry, '=');
    if (!eq)
      continue;
    name.assign(*entry, static_cast<size_t>(eq - *entry));
    environment.AddString(name.c_str(), eq + 1);
  }
  environment.Close();
}

void TelemetryFileProcessing(const char *filename, const char *language) {
  AnalyticEvent event("file_processing");
  event.Dimensions().AddString("filename", filename);
  event.Dimensions().AddString("language", language ? language : "Unknown");
}

void TelemetrySimulationStatistics(uint64_t ticks, double seconds, uint64_t basicEvents,
                                   uint64_t fastEvents) {
  AnalyticEvent event("simulation_statistics");
  JsonWriter &dimensions = event.Dimensions();
  dimensions.AddUnsigned("ticks", ticks);
  dimensions.AddDouble("seconds", seconds);
  dimensions.AddUnsigned("basic_events", basicEvents);
  dimensions.AddUnsigned("fast_events", fastEvents);
}

void TelemetryTermination(const char *reason, int code) {
  AnalyticEvent event("termination");
  event.Dimensions().AddString("reason", reason);
  event.Dimensions().AddInt("code", code);
}

void TelemetryCrash(const char *message) {
  AnalyticEvent event("crash");
  event.Dimensions().AddString("message", message);
}

void TelemetrySignal(int signal) {
  AnalyticEvent event("signal");
  event.Dimensions().AddString("signal", ::strsignal(signal));
}

void TelemetryShutdownAt(const struct timeval &now) {
  {
    int64_t us = (static_cast<int64_t>(now.tv_sec) - sessionStart.tv_sec) * 1000000 +
                 (now.tv_usec - sessionStart.tv_usec);
    AnalyticEvent event("shutdown");
    event.Dimensions().AddInt("runtime_ms", (us + 500) / 1000);
    event.Dimensions().AddInt("runtime_us", us);
  }
  EndTelemetrySession();
}

void TelemetryShutdown() {
  struct timeval now;
  ::gettimeofday(&now, nullptr);
  TelemetryShutdownAt(now);
}
