#ifndef CORVANE_UTIL_TELEMETRY_H
#define CORVANE_UTIL_TELEMETRY_H

/// \file
/// Telemetry records: one file per process, one compact JSON object per
/// line, telling the process's start-up, the messages it showed, the files
/// it processed, its statistics, its termination and its shutdown.
///
/// Telemetry is off unless a session was started (StartTelemetrySession)
/// and both OBX_EXECUTION_ID and OBX_TELEMETRY_LOG_PATH are set; the file is
/// then "<log path>/<execution id>_<pid>.tel", opened for appending by the
/// first record.  Missing variables or an unopenable file switch telemetry
/// off for the rest of the process, silently.
///
/// A record is built in memory while its object lives and appended to the
/// file, with a line feed and a flush, when the object is destroyed.  A
/// record made while telemetry is off is built and dropped.

#include "util/JsonWriter.h"

#include <cstdint>
#include <string>
#include <sys/time.h>

// ---------------------------------------------------------------------------
// Sessions

/// Remembers now as the session start (for the shutdown event) and, unless
/// telemetry was switched off, counts one more nested session.  Returns the
/// new count, or the negative value that means "off for good".
int StartTelemetrySession();

/// Positive: open sessions; 0: none; -1: off for the rest of the process.
int TelemetrySessionCount();

/// The time recorded by the latest StartTelemetrySession().
struct timeval TelemetrySessionStart();

/// The tool name written as "tool" into every record (read each time).
void SetTelemetryToolName(const char *name);
const char *TelemetryToolName();

// ---------------------------------------------------------------------------
// Records

/// A record: its text and top-level object.  Destroying it closes what is
/// still open and appends the text to the telemetry file, if one is open.
class AnalyticBase {
public:
  AnalyticBase(const AnalyticBase &) = delete;
  AnalyticBase &operator=(const AnalyticBase &) = delete;
  virtual ~AnalyticBase();

  /// The object that takes the record's own keys and the common ones
  /// ("sample_time", "tool", "version", "version_verbose").
  virtual JsonWriter &Dimensions();

protected:
  /// Records are events or messages; they make the base.
  AnalyticBase();

  /// Writes "sample_time" (the time the record was begun); the first key of
  /// the dimensions.
  void BeginDimensions(JsonWriter &dimensions);
  /// Writes the closing common keys into \p dimensions and closes
  /// everything.  Runs once; the destructor of the class that owns
  /// \p dimensions calls it.
  void Finish(JsonWriter &dimensions);

  std::string m_Text;
  JsonWriter m_Top;

private:
  struct timeval m_Begun;
  bool m_Finished = false;
};

/// An event: {"event_name": ..., "dimensions": {...}}.
class AnalyticEvent : public AnalyticBase {
public:
  explicit AnalyticEvent(const char *eventName);
  ~AnalyticEvent() override;
  JsonWriter &Dimensions() override { return m_Dimensions; }

private:
  JsonWriter m_Dimensions;
};

/// A shown message: {"message": {"severity": ..., "message": ...,
/// "dimensions": {...}}}; a null severity or text leaves its key out.
class AnalyticMessage : public AnalyticBase {
public:
  AnalyticMessage(const char *severity, const char *text);
  ~AnalyticMessage() override;
  JsonWriter &Dimensions() override { return m_Dimensions; }

private:
  JsonWriter m_Message;
  JsonWriter m_Dimensions;
};

/// The side record of a message shown by the roster: the long name of the
/// shown severity, and as its own keys "type" (the message id, when there is
/// one), "original_severity" (when given) and "io".
class AnalyticErrorMessage : public AnalyticMessage {
public:
  AnalyticErrorMessage(const char *id, const char *severity, const char *originalSeverity,
                       const char *io);
};

// ---------------------------------------------------------------------------
// Events

/// "startup": host name, process id, every argument, and the environment
/// (only the entries that begin with \p envPrefix, when given).
void TelemetryStartup(int argc, const char *const *argv, const char *envPrefix = nullptr);
/// "file_processing": the file and its language ("Unknown" when null).
void TelemetryFileProcessing(const char *filename, const char *language = nullptr);
/// "simulation_statistics".
void TelemetrySimulationStatistics(uint64_t ticks, double seconds, uint64_t basicEvents,
                                   uint64_t fastEvents);
/// "termination": the reason and the exit code (-1 when there is none).
void TelemetryTermination(const char *reason, int code = -1);
/// "crash": the crash text.
void TelemetryCrash(const char *message);
/// "signal": the signal's description from strsignal().
void TelemetrySignal(int signal);
/// "shutdown": the time since the session start, then ends the session;
/// the file is closed when the last nested session ends.
void TelemetryShutdown();
/// As TelemetryShutdown(), with \p now as the current time.
void TelemetryShutdownAt(const struct timeval &now);

#endif
