#include "driver/record.h"

#include "driver/names.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The run's record.  Lines wait in memory until the build directory
/// exists (the first step makes it), then go to the file one write each, so
/// that a run that dies leaves whatever it recorded up to then.  A record
/// that cannot be written is given up on quietly: it must never disturb the
/// run.
class RunRecord {
public:
  void begin() {
    m_Path = std::string(kBuildDirectory) + "/" + kRunRecordName;
    ::unlink(m_Path.c_str());
    m_Active = true;
    add("quillc run record 1\n");
  }

  void add(std::string_view line) {
    if (!m_Active || m_GivenUp)
      return;
    m_Pending += line;
    if (m_Fd < 0 && !m_GivenUp) {
      m_Fd = ::open(m_Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
      // Only a missing directory is worth another try.
      m_GivenUp = m_Fd < 0 && errno != ENOENT;
    }
    if (m_Fd < 0)
      return;
    // A file-size limit or a full disk costs the record, never the run.
    struct sigaction ignore = {}, previous;
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignore, &previous);
    for (size_t done = 0; done < m_Pending.size();) {
      const ssize_t n = ::write(m_Fd, m_Pending.data() + done, m_Pending.size() - done);
      if (n < 0 && errno == EINTR)
        continue;
      if (n <= 0) {
        // What is written stays, without its end: unfinished to a reader.
        ::close(m_Fd);
        m_Fd = -1;
        m_GivenUp = true;
        break;
      }
      done += n;
    }
    ::sigaction(SIGXFSZ, &previous, nullptr);
    m_Pending.clear();
  }

  void end() {
    add("end\n");
    if (m_Fd >= 0)
      ::close(m_Fd);
    m_Fd = -1;
    m_Active = false;
  }

  std::vector<FailedCommand> failed;

private:
  std::string m_Path, m_Pending;
  int m_Fd = -1;
  bool m_Active = false, m_GivenUp = false;
};

RunRecord &theRecord() {
  static RunRecord &record = *new RunRecord;
  return record;
}

} // namespace

std::string describe_status(int waitStatus) {
  if (waitStatus == -1)
    return "not started";
  if (WIFSIGNALED(waitStatus))
    return "signal " + std::to_string(WTERMSIG(waitStatus));
  return "status " + std::to_string(WEXITSTATUS(waitStatus));
}

void begin_run_record() { theRecord().begin(); }

void record_step(std::string_view name) {
  std::string line = "step ";
  line += name;
  line += '\n';
  theRecord().add(line);
}

void record_command(std::string_view subject, std::string_view command, int waitStatus) {
  const std::string status = describe_status(waitStatus);
  if (waitStatus != 0)
    theRecord().failed.push_back({status, std::string(command)});
  std::string line = status;
  line += '\t';
  line += subject;
  line += '\t';
  line += command;
  line += '\n';
  theRecord().add(line);
}

void end_run_record() { theRecord().end(); }

const std::vector<FailedCommand> &failed_commands() { return theRecord().failed; }
