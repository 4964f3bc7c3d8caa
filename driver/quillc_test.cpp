// The quillc binary run for real in a scratch work directory, against a
// recording compiler that stands first on PATH: what belongs to the binary
// (exit statuses, the log mirroring the console, the commands the shell
// really ran, in order and with the variables expanded).  The exact command
// lines are the build plan's tests.

#include "testsupport/testsupport.h"
#include "util/strings.h"

namespace {

// Records every call as "<cwd>|<args>", makes the wrapper generator a
// program that records its own run, and fails on request.
const char kRecordingGcc[] = R"(#!/bin/sh
printf '%s|%s\n' "${PWD##*/}" "$*" >> "$QUILLC_TEST_RECORD"
case "$QUILLC_TEST_FAIL: $* " in ?*:*" $QUILLC_TEST_FAIL "*) echo "fake gcc: error in $QUILLC_TEST_FAIL" >&2; exit 1;; esac
case " $* " in *" -o sc_module/wrapper_generator "*)
  printf '#!/bin/sh\necho "wrapper_generator ran in ${PWD##*/}" >> "$QUILLC_TEST_RECORD"\n' > sc_module/wrapper_generator
  chmod +x sc_module/wrapper_generator;;
esac
)";

/// Drops the host banner (everything through "START TIME ..." and the blank
/// line after it), which has tests of its own.
std::string after_banner(const std::string &text) {
  size_t start = text.find("START TIME       : ");
  if (start == std::string::npos)
    return text;
  size_t end = text.find('\n', start);
  return text.substr(end + 2);
}

class QuillcRun : public ::testing::Test {
protected:
  QuillcRun() {
    fs::create_directory(m_Bin.path() / "fake");
    write_file(m_Bin / "fake/gcc", kRecordingGcc, true);
  }

  RunResult quillc(std::vector<std::string> args, std::vector<std::string> env = {}) {
    args.insert(args.begin(), QUILLC_BIN);
    env.push_back(path_with(m_Bin / "fake"));
    env.push_back("QUILLC_TEST_RECORD=" + record().string());
    env.push_back("SYSTEMC_PATH=/opt/sc");
    env.push_back("QUILLC_PATH=/opt/quillc");
    env.push_back("TARN_HOME=/opt/tarn");
    return run(args, m_Work.path(), env);
  }

  fs::path record() const { return m_Bin / "calls"; }
  std::vector<std::string> calls() const {
    std::vector<std::string> lines = splitString(read_file(record()), '\n');
    lines.pop_back(); // after the last line feed
    return lines;
  }
  std::string log() const { return read_file(m_Work / "quillc.log"); }

  TempDir m_Work, m_Bin;
};

TEST_F(QuillcRun, TheShellRunsEveryCommandInOrderWithVariablesExpanded) {
  RunResult r = quillc({"-module", "a", "-module", "b", "x.cpp", "glue.cpp", "-module", "c", "y.cpp", "-bad"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Unkonwn option 'bad'\n");
  const std::string out = after_banner(r.out);
  EXPECT_TRUE(out.starts_with("Generate file 'x_create.cpp'\nGenerate file 'y_create.cpp'\n"
                              "Start wrapper generating...\n")) << out;
  EXPECT_TRUE(out.ends_with("End generating SC library libcorvanesc.so.\n")) << out;
  // The log holds the error line where it was issued, before any step.
  EXPECT_EQ(log(), r.out.substr(0, r.out.size() - out.size()) + r.err + out);

  const std::string cflags = "-std=c++2a -D NDEBUG -Wall -O2 -I/opt/sc/include "
                             "-I/opt/quillc/include -I/opt/tarn/include -I. ";
  const std::string tail = "-lstdc++ -lm -pthread /opt/sc/lib64/libsystemc.a ";
  const std::string work = m_Work.path().filename().string();
  const std::vector<std::string> expected = {
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c y_create.cpp",
      work + "|" + cflags +
          "-DSC_WRAPPER sc_module/x_create.o glue.cpp sc_module/y_create.o "
          "/opt/quillc/lib/libwrapper_generator.a -o sc_module/wrapper_generator " + tail +
          "/opt/quillc/lib/libwrapper_generator.a",
      "wrapper_generator ran in " + work,
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c y_create.cpp",
      work + "|" + cflags +
          "-fPIC -shared -DSC_COSIM /opt/quillc/include/startup.cpp sc_module/x_create.o glue.cpp "
          "sc_module/y_create.o -o libcorvanesc.so " + tail + "/opt/quillc/lib/libsccosim.a",
  };
  EXPECT_EQ(calls(), expected);
  EXPECT_EQ(read_file(m_Work / "sc_module/x_create.cpp"),
            "#include \"systemc.h\"\n#include \"x.cpp\"\n"
            "NCSC_MODULE_EXPORT(a);\nNCSC_MODULE_EXPORT(b);\n");
}

TEST_F(QuillcRun, AFailedCompileStopsNothing) {
  RunResult r = quillc({"-module", "a", "x.cpp", "-module", "b", "y.cpp"},
                       {"QUILLC_TEST_FAIL=x_create.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "fake gcc: error in x_create.cpp\nfake gcc: error in x_create.cpp\n");
  EXPECT_EQ(calls().size(), 7u);
  EXPECT_TRUE(r.out.ends_with("End generating SC library libcorvanesc.so.\n"));
}

TEST_F(QuillcRun, WrongArgumentsEndTheRunWithStatusOne) {
  const std::vector<std::string> cases[] = {{}, {"-bad", "top.cpp", "-module", "top"}};
  for (const auto &args : cases) {
    RunResult r = quillc(args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(after_banner(r.out), "") << "no step runs";
    EXPECT_FALSE(fs::exists(m_Work / "sc_module"));
    EXPECT_FALSE(fs::exists(record()));
    EXPECT_TRUE(r.err.ends_with("\n") && log().ends_with(r.err)) << r.err;
  }
}

TEST_F(QuillcRun, UnopenableLogIsReportedOnceAndTheRunGoesOn) {
  fs::create_directory(m_Work / "quillc.log");
  RunResult r = quillc({"-module", "top", "top.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Can't open log file 'quillc.log': Is a directory\n");
  EXPECT_TRUE(after_banner(r.out).starts_with("Generate file 'top_create.cpp'\n"));
  EXPECT_EQ(calls().size(), 5u);
}

} // namespace
