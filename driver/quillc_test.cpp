// The quillc binary run for real in a scratch work directory, against a
// fake compiler that stands first on PATH: what belongs to the binary (exit
// statuses, the log mirroring the console, the commands the shell really
// ran, in order and with the variables expanded), and the binary under
// hostile conditions (signals in the middle of a compile, closed standard
// streams, a build directory that cannot be made, a log that meets a
// file-size limit, a full disk or a compressor that is gone).
// The exact command lines are the build plan's tests.

#include "driver/build.h"
#include "driver/log.h"
#include "testsupport/testsupport.h"
#include "util/crash.h"
#include "util/strings.h"

#include <algorithm>
#include <csignal>

namespace {

// Records every call as "<cwd>|<args>" in $CALLS and fails on
// request.  A compile also appends its process id to $TEST_DIR/pids and
// records its signal state in $TEST_DIR, and becomes a sleep of
// $FAKE_SLEEP seconds when asked.  With $FAKE_TALK it writes two lines to
// each stream, a while apart (longer, and with a line of 70,000 bytes
// between them, for the export sources that the pattern $FAKE_TALK
// matches), and marks in $TEST_DIR/load when a compile starts (+) and ends
// (-) and when anything else runs (=).  The wrapper generator it links records its own run.
const char kFakeGcc[] = R"(#!/bin/sh
printf '%s|%s\n' "${PWD##*/}" "$*" >> "$CALLS"
case " $* " in *" -c "*)
  grep -E '^Sig(Blk|Ign)' /proc/self/status > "$TEST_DIR/signals"
  echo $$ >> "$TEST_DIR/pids"
  [ -n "$FAKE_SLEEP" ] && exec sleep "$FAKE_SLEEP"
  if [ -n "$FAKE_TALK" ]; then
    echo + >> "$TEST_DIR/load"
    source=${*##* }
    echo "$source says"; echo "$source warns" >&2
    case $source in $FAKE_TALK) head -c 70000 /dev/zero | tr '\0' 0; echo; sleep 0.4;; *) sleep 0.05;; esac
    echo "$source ends"; echo "$source ended" >&2
    echo - >> "$TEST_DIR/load"
  fi;;
*) [ -n "$FAKE_TALK" ] && echo = >> "$TEST_DIR/load";;
esac
case "$FAKE_FAIL: $* " in ?*:*" $FAKE_FAIL "*) echo "fake gcc: error in $FAKE_FAIL" >&2; exit 1;; esac
case " $* " in *" -o sc_module/wrapper_generator "*)
  printf '#!/bin/sh\necho "wrapper_generator ran in ${PWD##*/}" >> "$CALLS"\n' > sc_module/wrapper_generator
  chmod +x sc_module/wrapper_generator;;
esac
exit 0
)";

const std::string kExport = "#include \"systemc.h\"\n#include \"a.cpp\"\nNCSC_MODULE_EXPORT(a);\n";
const std::string kLastLine = "End generating SC library libcorvanesc.so.\n";

/// Drops the host banner (everything through "START TIME ..." and the blank
/// line after it), which has tests of its own.
std::string after_banner(const std::string &text) {
  size_t start = text.find("START TIME       : ");
  return start == std::string::npos ? text : text.substr(text.find('\n', start) + 2);
}

/// Whether \p pid ends within two seconds: a process that a signal ends
/// may still be scheduled a little after its parent reaped its siblings.
bool ends(pid_t pid) {
  for (int tick = 0; tick < 200; ++tick, ::usleep(10000)) {
    const std::string stat = read_file("/proc/" + std::to_string(pid) + "/stat");
    if (stat.empty() || stat.substr(stat.rfind(')') + 2, 1) == "Z")
      return true;
  }
  return false;
}

class QuillcRun : public ::testing::Test {
protected:
  QuillcRun() {
    fs::create_directory(m_Dir / "bin");
    write_file(m_Dir / "bin/gcc", kFakeGcc, true);
    fs::create_directory(work());
  }

  RunResult quillc(std::vector<std::string> args, std::vector<std::string> env = {}) {
    args.insert(args.begin(), QUILLC_BIN);
    return launch(args, env);
  }

  /// quillc through `sh -c <script>`, where "$@" is quillc -module a a.cpp.
  RunResult viaShell(const std::string &script, std::vector<std::string> env = {}) {
    return launch({"/bin/sh", "-c", script, "sh", QUILLC_BIN, "-module", "a", "a.cpp"}, env);
  }

  RunResult launch(const std::vector<std::string> &argv, std::vector<std::string> env) {
    env.insert(env.begin(), {path_with(m_Dir / "bin"), "TEST_DIR=" + m_Dir.path().string(),
                             "CALLS=" + (m_Dir / "calls").string(), "SYSTEMC_PATH=/opt/sc",
                             "QUILLC_PATH=/opt/quillc", "TARN_HOME=/opt/tarn"});
    return run(argv, work(), env);
  }

  fs::path work() const { return m_Dir / "work"; }
  std::vector<std::string> calls() const {
    std::vector<std::string> lines = splitString(read_file(m_Dir / "calls"), '\n');
    lines.pop_back(); // after the last line feed
    return lines;
  }
  std::string log() const { return read_file(work() / "quillc.log"); }

  TempDir m_Dir;
};

// A failing compile stops nothing: every later command still runs.
TEST_F(QuillcRun, TheShellRunsEveryCommandInOrderWithVariablesExpanded) {
  RunResult r = quillc({"-module", "a", "-module", "b", "x.cpp", "glue.cpp", "-module", "c", "y.cpp", "-bad"},
                       {"FAKE_FAIL=x_create.cpp"});
  EXPECT_EQ(r.status, 0);
  const std::string failed = "fake gcc: error in x_create.cpp\n";
  EXPECT_EQ(r.err, "Unkonwn option 'bad'\n" + failed + failed);
  const std::string out = after_banner(r.out);
  EXPECT_TRUE(out.starts_with("Generate file 'x_create.cpp'\nGenerate file 'y_create.cpp'\n"
                              "Start wrapper generating...\n")) << out;
  EXPECT_TRUE(out.ends_with(kLastLine)) << out;
  // The log holds the error line where it was issued, before any step.
  EXPECT_EQ(log(), r.out.substr(0, r.out.size() - out.size()) + "Unkonwn option 'bad'\n" + out);

  const std::string cflags = "-std=c++2a -D NDEBUG -Wall -O2 -I/opt/sc/include "
                             "-I/opt/quillc/include -I/opt/tarn/include -I. ";
  const std::string tail = "-lstdc++ -lm -pthread /opt/sc/lib64/libsystemc.a ";
  const std::vector<std::string> expected = {
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c y_create.cpp",
      "work|" + cflags +
          "-DSC_WRAPPER sc_module/x_create.o glue.cpp sc_module/y_create.o "
          "/opt/quillc/lib/libwrapper_generator.a -o sc_module/wrapper_generator " + tail +
          "/opt/quillc/lib/libwrapper_generator.a",
      "wrapper_generator ran in work",
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c y_create.cpp",
      "work|" + cflags +
          "-fPIC -shared -DSC_COSIM /opt/quillc/include/startup.cpp sc_module/x_create.o glue.cpp "
          "sc_module/y_create.o -o libcorvanesc.so " + tail + "/opt/quillc/lib/libsccosim.a",
  };
  EXPECT_EQ(calls(), expected);
  EXPECT_EQ(read_file(work() / "sc_module/x_create.cpp"),
            "#include \"systemc.h\"\n#include \"x.cpp\"\n"
            "NCSC_MODULE_EXPORT(a);\nNCSC_MODULE_EXPORT(b);\n");
}

// With QUILLC_JOBS=2 the compiles overlap, the slow first one ending after
// the next two, and the slow last one still running when the first ends;
// and yet console and log are the sequential run's, byte for byte: each
// compile's output whole after its echo line.  Nothing else runs beside a
// compile, and a failing compile stops nothing.
TEST_F(QuillcRun, ParallelCompilesPrintWhatTheSequentialRunPrints) {
  std::vector<std::string> args;
  for (const char *name : {"a", "b", "c", "d"})
    args.insert(args.end(), {"-module", name, std::string(name) + ".cpp"});
  // Without a temporary directory the output cannot be held: each compile
  // waits for its turn and runs on the console, one at a time.
  const struct {
    const char *jobs, *tmpdir;
    int most;
  } configurations[] = {{"1", "/tmp", 1}, {"2", "/tmp", 2}, {"2", "/nonexistent", 1}};
  RunResult runs[3];
  std::string logs[3];
  for (int i = 0; i < 3; ++i) {
    const auto &c = configurations[i];
    fs::remove(m_Dir / "load");
    runs[i] = quillc(args, {"FAKE_TALK=[ad]_create.cpp", "FAKE_FAIL=c_create.cpp", "CALLS=/dev/null",
                            std::string("QUILLC_JOBS=") + c.jobs, std::string("TMPDIR=") + c.tmpdir});
    logs[i] = after_banner(log());
    int running = 0, most = 0;
    for (char mark : read_file(m_Dir / "load")) {
      running += mark == '+' ? 1 : mark == '-' ? -1 : 0;
      most = std::max(most, running);
      EXPECT_TRUE(mark != '=' || running == 0) << "a link ran beside a compile";
    }
    EXPECT_EQ(most, c.most) << c.tmpdir;
    EXPECT_EQ(after_banner(runs[i].out), after_banner(runs[0].out)) << c.tmpdir;
    EXPECT_EQ(runs[i].err, runs[0].err) << c.tmpdir;
    EXPECT_EQ(logs[i], logs[0]) << c.tmpdir;
  }
  EXPECT_EQ(runs[1].status, 0);
  EXPECT_NE(runs[1].out.find("-c  b_create.cpp\nb_create.cpp says\nb_create.cpp ends\ncd sc_module;gcc "),
            std::string::npos);
  EXPECT_NE(runs[1].out.find("-c  a_create.cpp\na_create.cpp says\n" + std::string(70000, '0') + "\na_create.cpp ends\n"),
            std::string::npos);
  EXPECT_TRUE(runs[1].err.starts_with("a_create.cpp warns\na_create.cpp ended\nb_create.cpp warns\n")) << runs[1].err;
}

// A bad QUILLC_JOBS or QUILLC_STRICT refuses the run before anything, the
// banner included.
TEST_F(QuillcRun, JobCountsAndStrictValuesOutOfRangeAreRefused) {
  const struct {
    const char *variable, *expected;
    std::vector<const char *> values; // the good ones last
    size_t good;
  } cases[] = {{"QUILLC_JOBS", "a whole number from 1 to 128",
                {"0", "-2", "two", "", " 3", "3 ", "+3", "129", "99999999999999999999", "1", "128"}, 2},
               {"QUILLC_STRICT", "0 or 1", {"2", "yes", "", " 1", "+1", "-0", "10"}, 0}};
  for (const auto &c : cases)
    for (size_t i = 0; i < c.values.size(); ++i) {
      const std::string value = c.values[i], variable = c.variable;
      RunResult r = quillc({"-module", "a", "a.cpp"}, {variable + "=" + value, "CALLS=/dev/null"});
      const bool good = i + c.good >= c.values.size();
      EXPECT_EQ(r.status, good ? 0 : 1) << value;
      if (good && fs::remove_all(work() / "sc_module"))
        continue;
      EXPECT_EQ(r.err, "Wrong value of " + variable + ": '" + value + "'. Expected " + c.expected + "\n");
      EXPECT_EQ(r.out, "");
      EXPECT_EQ(log(), r.err);
      EXPECT_FALSE(fs::exists(work() / "sc_module"));
    }
}

// QUILLC_STRICT=1 leaves the run as it is, then names each failed command
// with its status, last, on standard error and in the log, and ends with
// status 1; one at a time or two at a time alike.  A kit variable that is
// unset or does not hold the kit is said before anything runs and fails
// the run as well.  0 is no variable at all.
TEST_F(QuillcRun, StrictStatusNamesFailedCommandsAndKitVariablesLast) {
  // A kit of the shape that the check looks for, named relative to the
  // work directory.
  for (const char *dir : {"sc/include", "q/include", "tarn"})
    fs::create_directories(work() / dir);
  write_file(work() / "sc/include/systemc.h", "");
  write_file(work() / "q/include/startup.cpp", "");
  const std::vector<std::string> args = {"-module", "a", "a.cpp", "-module", "b", "b.cpp"};
  const std::vector<std::string> goodKit = {"SYSTEMC_PATH=sc", "QUILLC_PATH=q", "TARN_HOME=tarn",
                                            "FAKE_FAIL=b_create.cpp"};
  const RunResult plain = quillc(args, goodKit);
  const std::string plainLog = after_banner(log());
  ASSERT_EQ(plain.err, "fake gcc: error in b_create.cpp\nfake gcc: error in b_create.cpp\n");

  const std::vector<std::string_view> ab[] = {{"a"}, {"b"}};
  const SourceUnit units[] = {{"a.cpp", ab[0]}, {"b.cpp", ab[1]}};
  std::string failed;
  for (const BuildPlan &step : {plan_wrapper_generator(units, ""), plan_systemc_library(units, "")})
    for (const BuildAction &action : step)
      if (action.text.ends_with(" b_create.cpp"))
        failed += "Failed (status 1): " + action.text + "\n";
  const std::string kitSaid = "Kit variable SYSTEMC_PATH is not set; eval \"$(quillc-env)\" sets the kit's variables\n"
                              "Kit variable QUILLC_PATH='sc' does not hold the kit: no file sc/include/startup.cpp\n"
                              "Kit variable TARN_HOME='q/include/startup.cpp' does not hold the kit: "
                              "no directory q/include/startup.cpp\n";
  const struct {
    std::vector<std::string> env;
    int status;
    std::string before, after;
  } cases[] = {
      {{"QUILLC_STRICT=0"}, 0, "", ""},
      {{"QUILLC_STRICT=1"}, 1, "", failed},
      {{"QUILLC_STRICT=1", "QUILLC_JOBS=2"}, 1, "", failed},
      {{"QUILLC_STRICT=1", "FAKE_FAIL=nothing"}, 0, "", ""},
      {{"QUILLC_STRICT=1", "SYSTEMC_PATH", "QUILLC_PATH=sc", "TARN_HOME=q/include/startup.cpp",
        "FAKE_FAIL=nothing"}, 1, kitSaid, ""},
  };
  for (const auto &c : cases) {
    std::vector<std::string> env = goodKit;
    env.insert(env.end(), c.env.begin(), c.env.end());
    const RunResult r = quillc(args, env);
    SCOPED_TRACE(joinStrings(c.env, " "));
    EXPECT_EQ(r.status, c.status);
    const bool fails = c.env.back() != "FAKE_FAIL=nothing";
    EXPECT_EQ(after_banner(r.out), after_banner(plain.out));
    EXPECT_EQ(r.err, c.before + (fails ? plain.err : "") + c.after);
    EXPECT_TRUE(log().starts_with(c.before)) << log();
    EXPECT_EQ(after_banner(log()), plainLog + c.after);
  }
}

TEST_F(QuillcRun, WrongArgumentsEndTheRunWithStatusOne) {
  const std::vector<std::string> cases[] = {{}, {"-bad", "top.cpp", "-module", "top"}};
  for (const auto &args : cases) {
    RunResult r = quillc(args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(after_banner(r.out), "") << "no step runs";
    EXPECT_FALSE(fs::exists(work() / "sc_module"));
    EXPECT_FALSE(fs::exists(m_Dir / "calls"));
    EXPECT_TRUE(r.err.ends_with("\n") && log().ends_with(r.err)) << r.err;
  }
}

TEST_F(QuillcRun, UnopenableLogIsReportedOnceAndTheRunGoesOn) {
  fs::create_directory(work() / "quillc.log");
  RunResult r = quillc({"-module", "top", "top.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Can't open log file 'quillc.log': Is a directory\n");
  EXPECT_TRUE(after_banner(r.out).starts_with("Generate file 'top_create.cpp'\n"));
  EXPECT_EQ(calls().size(), 5u);
}

// quillc in a session of its own; once $RUNNING compiles run (one when
// unset), $SIGNAL goes to quillc ($TARGET empty) or its group ("-", as
// Ctrl-C does).
const char kSignalDuringCompile[] = R"sh(setsid "$@" >../out 2>../err & q=$!
until [ "$(cat "$TEST_DIR/pids" 2>/dev/null | wc -l)" -ge "${RUNNING:-1}" ]; do sleep 0.01; done
kill -s $SIGNAL -- $TARGET$q; wait $q; echo $?)sh";

const char kDefaultSignalState[] = "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n";

// With QUILLC_JOBS=2 two compiles run when the signal comes; both end.
TEST_F(QuillcRun, TerminationRequestsEndTheRunAndEveryRunningCompile) {
  const struct {
    const char *signal, *target, *number, *jobs;
  } cases[] = {{"TERM", "", "15", "1"}, {"TERM", "-", "15", "1"}, {"INT", "-", "2", "1"}, {"QUIT", "-", "3", "1"},
               {"HUP", "", "1", "1"},   {"TERM", "", "15", "2"},  {"INT", "-", "2", "2"},  {"HUP", "", "1", "2"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.target) + c.signal + " with QUILLC_JOBS=" + c.jobs);
    fs::remove(m_Dir / "pids");
    RunResult r = launch({"/bin/sh", "-c", kSignalDuringCompile, "sh", QUILLC_BIN, "-module", "a", "a.cpp", "-module",
                          "b", "b.cpp"},
                         {"FAKE_SLEEP=20", std::string("SIGNAL=") + c.signal, std::string("TARGET=") + c.target,
                          std::string("QUILLC_JOBS=") + c.jobs, std::string("RUNNING=") + c.jobs});
    EXPECT_EQ(r.out, "1\n");
    const std::string err = read_file(m_Dir / "err");
    EXPECT_EQ(err, std::string("=F:[Term] \nCorvane has termed due to receive a signal ") + c.number + ".\n");
    const std::string out = after_banner(read_file(m_Dir / "out"));
    EXPECT_EQ(out, "Generate file 'a_create.cpp'\nGenerate file 'b_create.cpp'\nStart wrapper generating...\n"
                   "cd sc_module;gcc -std=c++2a -D NDEBUG -Wall -O2 -I${SYSTEMC_PATH}/include "
                   "-I${QUILLC_PATH}/include -I${TARN_HOME}/include -I.  -DSC_WRAPPER  -I.. -c  a_create.cpp\n");
    EXPECT_EQ(after_banner(log()), out + err);
    const std::vector<std::string> pids = splitString(read_file(m_Dir / "pids"), '\n');
    EXPECT_EQ(pids.size(), std::stoul(c.jobs) + 1) << "compiles started";
    for (size_t i = 0; i + 1 < pids.size(); ++i)
      EXPECT_TRUE(ends(std::stoi(pids[i]))) << "a compile was left running";
    EXPECT_EQ(read_file(work() / "sc_module/a_create.cpp"), kExport);
    // Unfinished, to whoever reads the run's record.
    EXPECT_EQ(read_file(work() / "sc_module/quillc.run"), "quillc run record 1\nstep wrapper\n");
    // The compiles ran with the default actions and nothing blocked.
    EXPECT_EQ(read_file(m_Dir / "signals"), kDefaultSignalState);
  }
}

TEST_F(QuillcRun, InterruptToQuillcAloneWaitsForTheCommandAsSystemDoes) {
  RunResult r = viaShell(kSignalDuringCompile, {"FAKE_SLEEP=1", "SIGNAL=INT", "TARGET="});
  EXPECT_EQ(r.out, "0\n");
  EXPECT_TRUE(read_file(m_Dir / "out").ends_with(kLastLine));
  // The compile ran with the default actions and nothing blocked.
  EXPECT_EQ(read_file(m_Dir / "signals"), kDefaultSignalState);
}

TEST_F(QuillcRun, ClosedStandardStreamsNeverReceiveTheLog) {
  const RunResult plain = viaShell("exec \"$@\"", {"FAKE_FAIL=a_create.cpp"});
  ASSERT_EQ(plain.err, "fake gcc: error in a_create.cpp\nfake gcc: error in a_create.cpp\n");
  const std::string reference = after_banner(log());
  ASSERT_TRUE(reference.ends_with(kLastLine));
  for (const char *closing : {"<&-", ">&-", "2>&-"}) {
    RunResult r = viaShell(std::string("exec \"$@\" ") + closing, {"FAKE_FAIL=a_create.cpp"});
    EXPECT_EQ(r.status, 0) << closing;
    EXPECT_EQ(after_banner(log()), reference) << closing;
  }
}

TEST_F(QuillcRun, UncaughtDirectoryErrorsEndInTheCrashReportWithAllOutputFlushed) {
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

TEST_F(QuillcRun, ALogAtItsFileSizeLimitEndsShortAndTheRunGoesOn) {
  // Standard output goes through a pipe to a shell without the limit.
  RunResult r = viaShell("(ulimit -f 1; \"$@\"; echo \"status $?\" >&2) | cat", {"CALLS=/dev/null"});
  EXPECT_EQ(r.err, "status 0\n");
  EXPECT_TRUE(r.out.ends_with(kLastLine));
  EXPECT_EQ(log(), r.out.substr(0, 512)) << "the shell counts the limit in 512-byte blocks";
}

TEST_F(QuillcRun, ALogThatCannotBeWrittenCostsOnlyTheLog) {
  // A compressor that records the signals it ignores and leaves unread.
  write_file(m_Dir / "bin/gzip", "#!/bin/sh\n/bin/grep ^SigIgn /proc/self/status >" + (m_Dir / "ignored").string(),
             true);
  for (const char *name : {"x.log.gz", "/dev/full"}) {
    RunResult r = run_in_child(
        [&] {
          ::setenv("PATH", (m_Dir / "bin").c_str(), 1);
          // More than a pipe holds, so that writing must meet the closed end.
          bool opened = open_log_file(name);
          for (int i = 0; i < 20000; ++i)
            log_printf("line %d\n", i);
          flush_all_output();
          close_log_file();
          std::printf("opened %d, survived\n", opened);
        },
        work());
    EXPECT_EQ(r.status, 0) << name;
    EXPECT_TRUE(r.out.ends_with("line 19999\nopened 1, survived\n")) << name;
  }
  EXPECT_EQ(read_file(work() / "x.log.gz"), "");
  const unsigned long long ignored = std::stoull(read_file(m_Dir / "ignored").substr(7), nullptr, 16);
  EXPECT_EQ(ignored & (1ull << (SIGPIPE - 1) | 1ull << (SIGXFSZ - 1)), 0u) << "in the compressor";
}

} // namespace
