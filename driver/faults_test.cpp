// quillc and its log under hostile conditions: signals in the middle of a
// compile, closed standard streams, a build directory that cannot be made,
// a log that meets a file-size limit or a compressor that is missing.

#include "driver/log.h"
#include "testsupport/testsupport.h"
#include "util/crash.h"

#include <algorithm>

namespace {

// A compile records its process id and its signal state, then becomes a
// sleep of $FAULT_SLEEP seconds or fails on request; the wrapper generator
// it links does nothing, and every other command succeeds at once.
const char kSleepingGcc[] = R"(#!/bin/sh
case " $* " in *" -c "*)
  grep -E '^Sig(Blk|Ign)' /proc/self/status > "$FAULT_DIR/signals"
  echo $$ > "$FAULT_DIR/pid.tmp" && mv "$FAULT_DIR/pid.tmp" "$FAULT_DIR/pid"
  [ -n "$FAULT_SLEEP" ] && exec sleep "$FAULT_SLEEP"
  [ -n "$FAULT_FAIL" ] && echo "gcc failed" >&2 && exit 1;;
*" -o sc_module/wrapper_generator "*) printf '#!/bin/sh\n' > sc_module/wrapper_generator
  chmod +x sc_module/wrapper_generator;;
esac
exit 0
)";

const std::string kExport = "#include \"systemc.h\"\n#include \"a.cpp\"\nNCSC_MODULE_EXPORT(a);\n";
const std::string kLastLine = "End generating SC library libcorvanesc.so.\n";

std::string after_banner(const std::string &text) {
  size_t start = text.find("START TIME       : ");
  return start == std::string::npos ? text : text.substr(text.find('\n', start) + 2);
}

bool running(pid_t pid) {
  std::string stat = read_file("/proc/" + std::to_string(pid) + "/stat");
  return !stat.empty() && stat.substr(stat.rfind(')') + 2, 1) != "Z";
}

class Faults : public ::testing::Test {
protected:
  Faults() {
    fs::create_directory(m_Dir / "bin");
    write_file(m_Dir / "bin/gcc", kSleepingGcc, true);
    fs::create_directory(m_Dir / "work");
  }

  /// quillc through `sh -c <script>`, where "$@" is quillc and its arguments.
  RunResult viaShell(const std::string &script, std::vector<std::string> env = {}) {
    env.push_back(path_with(m_Dir / "bin"));
    env.push_back("FAULT_DIR=" + m_Dir.path().string());
    return run({"/bin/sh", "-c", script, "sh", QUILLC_BIN, "-module", "a", "a.cpp"}, work(), env);
  }

  fs::path work() const { return m_Dir / "work"; }
  std::string log() const { return read_file(work() / "quillc.log"); }

  TempDir m_Dir;
};

// quillc in a session of its own; once its compile runs, $FAULT_SIGNAL goes
// to quillc ($FAULT_TARGET empty) or its group ("-", as Ctrl-C does).
const char kSignalDuringCompile[] = R"(setsid "$@" >../out 2>../err & q=$!
until [ -s "$FAULT_DIR/pid" ]; do sleep 0.01; done
kill -s $FAULT_SIGNAL -- $FAULT_TARGET$q; wait $q; echo $?)";

TEST_F(Faults, TerminationRequestsEndTheRunAndTheRunningCompile) {
  const struct {
    const char *signal, *target, *number;
  } cases[] = {{"TERM", "", "15"}, {"TERM", "-", "15"}, {"INT", "-", "2"}, {"QUIT", "-", "3"}, {"HUP", "", "1"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.target) + c.signal);
    fs::remove(m_Dir / "pid");
    RunResult r = viaShell(kSignalDuringCompile, {"FAULT_SLEEP=20", std::string("FAULT_SIGNAL=") + c.signal,
                                                  std::string("FAULT_TARGET=") + c.target});
    EXPECT_EQ(r.out, "1\n");
    const std::string err = read_file(m_Dir / "err");
    EXPECT_EQ(err, std::string("=F:[Term] \nCorvane has termed due to receive a signal ") + c.number + ".\n");
    const std::string out = after_banner(read_file(m_Dir / "out"));
    EXPECT_TRUE(out.starts_with("Generate file 'a_create.cpp'\nStart wrapper generating...\ncd sc_module;gcc "));
    EXPECT_TRUE(out.ends_with(" -c  a_create.cpp\n") && std::count(out.begin(), out.end(), '\n') == 3) << out;
    EXPECT_EQ(after_banner(log()), out + err);
    EXPECT_FALSE(running(std::stoi(read_file(m_Dir / "pid")))) << "the compile was left running";
    EXPECT_EQ(read_file(work() / "sc_module/a_create.cpp"), kExport);
  }
}

TEST_F(Faults, InterruptToQuillcAloneWaitsForTheCommandAsSystemDoes) {
  RunResult r = viaShell(kSignalDuringCompile, {"FAULT_SLEEP=1", "FAULT_SIGNAL=INT", "FAULT_TARGET="});
  EXPECT_EQ(r.out, "0\n");
  EXPECT_TRUE(read_file(m_Dir / "out").ends_with(kLastLine));
  // The compile ran with the default actions and nothing blocked.
  EXPECT_EQ(read_file(m_Dir / "signals"), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(Faults, ClosedStandardStreamsNeverReceiveTheLog) {
  const RunResult plain = viaShell("exec \"$@\"", {"FAULT_FAIL=1"});
  ASSERT_EQ(plain.err, "gcc failed\ngcc failed\n");
  const std::string reference = after_banner(log());
  ASSERT_TRUE(reference.ends_with(kLastLine));
  for (const char *closing : {"<&-", ">&-", "2>&-"}) {
    RunResult r = viaShell(std::string("exec \"$@\" ") + closing, {"FAULT_FAIL=1"});
    EXPECT_EQ(r.status, 0) << closing;
    EXPECT_EQ(after_banner(log()), reference) << closing;
  }
}

TEST_F(Faults, UncaughtDirectoryErrorsEndInTheCrashReportWithAllOutputFlushed) {
  const std::string crash = std::string("=F:[Crash] ") + kCrashText;
  const std::string generated = "Generate file 'a_create.cpp'\n";
  const struct {
    const char *script;
    bool logged;
  } cases[] = {{": > sc_module; exec \"$@\"", true},
               {"ln -s gone sc_module; exec \"$@\"", true},
               {"mkdir d; cd d; rmdir ../d; exec \"$@\"", false}};
  for (const auto &c : cases) {
    fs::remove_all(work() / "sc_module");
    fs::remove(work() / "quillc.log");
    RunResult r = viaShell(c.script);
    EXPECT_EQ(r.status, 1) << c.script;
    EXPECT_TRUE(r.out.ends_with(generated)) << c.script;
    EXPECT_TRUE(r.err.ends_with(crash)) << r.err;
    EXPECT_EQ(log().ends_with(generated + crash), c.logged) << c.script;
  }
}

TEST_F(Faults, ALogAtItsFileSizeLimitEndsShortAndTheRunGoesOn) {
  // Standard output goes through a pipe to a shell without the limit.
  RunResult r = viaShell("(ulimit -f 1; \"$@\"; echo \"status $?\" >&2) | cat");
  EXPECT_EQ(r.err, "status 0\n");
  EXPECT_TRUE(r.out.ends_with(kLastLine));
  EXPECT_EQ(log(), r.out.substr(0, 512)) << "the shell counts the limit in 512-byte blocks";
}

TEST_F(Faults, ACompressedLogWhoseCompressorIsMissingCostsOnlyTheLog) {
  RunResult r = run_in_child(
      [&] {
        ::setenv("PATH", (m_Dir / "work").c_str(), 1);
        // More than a pipe holds, so that writing must meet the closed end.
        bool opened = open_log_file("x.log.gz");
        for (int i = 0; i < 20000; ++i)
          log_printf("line %d\n", i);
        flush_all_output();
        close_log_file();
        std::printf("opened %d, survived\n", opened);
      },
      work());
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(r.out.ends_with("line 19999\nopened 1, survived\n"));
  EXPECT_EQ(read_file(work() / "x.log.gz"), "");
}

} // namespace
