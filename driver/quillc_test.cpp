// The quillc binary run for real in a scratch work directory, against a
// recording compiler that stands first on PATH: exact console bytes, log,
// files, the commands the shell really ran, and exit statuses.

#include "testsupport/testsupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testsupport::read_file;
using testsupport::RunResult;
using testsupport::TempDir;
using testsupport::write_file;

namespace {

// Records every call as "<cwd>|<args>", creates the -o output (a runnable
// wrapper generator that records its own run), and fails on request.
const char kRecordingGcc[] = R"(#!/bin/sh
printf '%s|%s\n' "${PWD##*/}" "$*" >> "$QUILLC_TEST_RECORD"
out=""; prev=""
for a in "$@"; do
  [ "$prev" = "-o" ] && out="$a"
  prev="$a"
done
if [ -n "$QUILLC_TEST_FAIL" ]; then
  case " $* " in *" $QUILLC_TEST_FAIL "*) echo "fake gcc: error in $QUILLC_TEST_FAIL" >&2; exit 1;; esac
fi
case "$out" in
  "") ;;
  *wrapper_generator) printf '#!/bin/sh\necho "wrapper_generator ran in ${PWD##*/}" >> "$QUILLC_TEST_RECORD"\n' > "$out"; chmod +x "$out";;
  *) : > "$out";;
esac
exit 0
)";

const std::string kPrefix = "gcc -std=c++2a -D NDEBUG -Wall -O2 -I${SYSTEMC_PATH}/include "
                            "-I${QUILLC_PATH}/include -I${TARN_HOME}/include -I. ";
const std::string kTail = "-lstdc++ -lm -pthread ${SYSTEMC_PATH}/lib64/libsystemc.a";

/// Drops the host banner (everything through "START TIME ..." and the blank
/// line after it), which has tests of its own.
std::string after_banner(const std::string &text) {
  size_t start = text.find("START TIME       : ");
  if (start == std::string::npos)
    return text;
  size_t end = text.find('\n', start);
  return text.substr(end + 2);
}

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  size_t begin = 0;
  while (begin < text.size()) {
    size_t end = text.find('\n', begin);
    if (end == std::string::npos)
      end = text.size();
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

class QuillcRun : public ::testing::Test {
protected:
  QuillcRun() {
    fs::create_directory(m_Bin.path() / "fake");
    write_file(m_Bin / "fake/gcc", kRecordingGcc, true);
  }

  RunResult quillc(std::vector<std::string> args, std::vector<std::string> env = {}) {
    args.insert(args.begin(), QUILLC_BIN);
    env.push_back(testsupport::path_with(m_Bin / "fake"));
    env.push_back("QUILLC_TEST_RECORD=" + record().string());
    env.push_back("SYSTEMC_PATH=/opt/sc");
    env.push_back("QUILLC_PATH=/opt/quillc");
    env.push_back("TARN_HOME=/opt/tarn");
    return testsupport::run(args, m_Work.path(), env);
  }

  fs::path record() const { return m_Bin / "calls"; }
  std::vector<std::string> calls() const { return lines_of(read_file(record())); }
  std::string log() const { return read_file(m_Work / "quillc.log"); }

  TempDir m_Work, m_Bin;
};

TEST_F(QuillcRun, WorkedExampleWithAndWithoutExtraOptions) {
  struct {
    std::vector<std::string> extra;
    std::string extraText;
  } cases[] = {{{}, ""}, {{"-Wcxx,-g"}, " -g"}, {{"-Wcxx,-g,-DX=1"}, " -g -DX=1"}};

  for (const auto &c : cases) {
    std::vector<std::string> args = {"-module", "fifo", "design.cpp", "glue.cpp"};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    RunResult r = quillc(args);
    const std::string w = kPrefix + " -DSC_WRAPPER " + c.extraText + " ";
    const std::string l = kPrefix + " -fPIC -shared -DSC_COSIM " + c.extraText + " ";
    const std::string expected =
        "Generate file 'design_create.cpp'\n"
        "Start wrapper generating...\n"
        "cd sc_module;" + w + "-I.. -c  design_create.cpp\n" +
        w + "sc_module/design_create.o glue.cpp ${QUILLC_PATH}/lib/libwrapper_generator.a -o "
            "sc_module/wrapper_generator " + kTail + " ${QUILLC_PATH}/lib/libwrapper_generator.a\n"
        "End wrapper generating.\n"
        "Start generating SC library...\n"
        "cd sc_module;" + l + "-I.. -c  design_create.cpp\n" +
        l + "${QUILLC_PATH}/include/startup.cpp sc_module/design_create.o glue.cpp  -o "
            "libcorvanesc.so " + kTail + " ${QUILLC_PATH}/lib/libsccosim.a\n"
        "End generating SC library libcorvanesc.so.\n";
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(after_banner(r.out), expected) << c.extraText;
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(log(), r.out) << "the log mirrors the console";
    EXPECT_EQ(read_file(m_Work / "sc_module/design_create.cpp"),
              "#include \"systemc.h\"\n#include \"design.cpp\"\nNCSC_MODULE_EXPORT(fifo);\n");
  }
}

TEST_F(QuillcRun, TheShellRunsEveryCommandInOrderWithVariablesExpanded) {
  RunResult r = quillc({"-module", "a", "-module", "b", "x.cpp", "glue.cpp", "-module", "c", "y.cpp"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string cflags = "-std=c++2a -D NDEBUG -Wall -O2 -I/opt/sc/include "
                             "-I/opt/quillc/include -I/opt/tarn/include -I. ";
  const std::string tail = "-lstdc++ -lm -pthread /opt/sc/lib64/libsystemc.a ";
  const std::vector<std::string> expected = {
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-DSC_WRAPPER -I.. -c y_create.cpp",
      m_Work.path().filename().string() + "|" + cflags +
          "-DSC_WRAPPER sc_module/x_create.o glue.cpp sc_module/y_create.o "
          "/opt/quillc/lib/libwrapper_generator.a -o sc_module/wrapper_generator " + tail +
          "/opt/quillc/lib/libwrapper_generator.a",
      "wrapper_generator ran in " + m_Work.path().filename().string(),
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c x_create.cpp",
      "sc_module|" + cflags + "-fPIC -shared -DSC_COSIM -I.. -c y_create.cpp",
      m_Work.path().filename().string() + "|" + cflags +
          "-fPIC -shared -DSC_COSIM /opt/quillc/include/startup.cpp sc_module/x_create.o glue.cpp "
          "sc_module/y_create.o -o libcorvanesc.so " + tail + "/opt/quillc/lib/libsccosim.a",
  };
  EXPECT_EQ(calls(), expected);
  EXPECT_EQ(read_file(m_Work / "sc_module/x_create.cpp"),
            "#include \"systemc.h\"\n#include \"x.cpp\"\n"
            "NCSC_MODULE_EXPORT(a);\nNCSC_MODULE_EXPORT(b);\n");
  EXPECT_EQ(read_file(m_Work / "sc_module/y_create.cpp"),
            "#include \"systemc.h\"\n#include \"y.cpp\"\nNCSC_MODULE_EXPORT(c);\n");
  EXPECT_FALSE(fs::exists(m_Work / "sc_module/glue_create.cpp"));
}

TEST_F(QuillcRun, AFailedCompileStopsNothing) {
  RunResult r = quillc({"-module", "a", "x.cpp", "-module", "b", "y.cpp"},
                       {"QUILLC_TEST_FAIL=x_create.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "fake gcc: error in x_create.cpp\nfake gcc: error in x_create.cpp\n");
  EXPECT_EQ(calls().size(), 7u);
  std::string out = after_banner(r.out);
  EXPECT_NE(out.find("End wrapper generating.\n"), std::string::npos);
  EXPECT_TRUE(out.ends_with("End generating SC library libcorvanesc.so.\n"));
}

TEST_F(QuillcRun, ArgumentErrorsAreReportedAndTheRunGoesOn) {
  struct Case {
    std::vector<std::string> args;
    std::string err;
    std::vector<std::string> generated; // export sources written
  } cases[] = {
      {{"-help"}, "Unkonwn option 'help'\n", {}},
      {{"-version"}, "Unkonwn option 'version'\n", {}},
      {{"-"}, "Unkonwn option ''\n", {}},
      {{"-module"}, "Option '-module' requires an argument\n", {}},
      {{"-Wcxx", "-module", "m", "a.cpp"}, "Option '-Wcxx' requires an argument\n", {"a_create.cpp"}},
      {{"-Wcxxfoo", "-x", "a.cpp"}, "Unkonwn option 'Wcxxfoo'\nUnkonwn option 'x'\n", {}},
      {{"-module", "-odd", "a.cpp", "-module"},
       "Option '-module' requires an argument\n", {"a_create.cpp"}},
      {{"-module", "\x80\xff", "\xc3\xa9.cpp", "-\xfe"}, "Unkonwn option '\xfe'\n", {"\xc3\xa9_create.cpp"}},
  };
  for (const Case &c : cases) {
    TempDir work;
    std::vector<std::string> args = c.args;
    args.insert(args.begin(), QUILLC_BIN);
    RunResult r = testsupport::run(args, work.path(), {testsupport::path_with(m_Bin / "fake"),
                                                        "QUILLC_TEST_RECORD=/dev/null"});
    std::string what = c.args[0];
    EXPECT_EQ(r.status, 0) << what;
    EXPECT_EQ(r.err, c.err) << what;
    // Both link commands and the closing lines still come.
    std::string out = after_banner(r.out);
    EXPECT_NE(out.find("-o sc_module/wrapper_generator "), std::string::npos) << what;
    EXPECT_TRUE(out.ends_with("End generating SC library libcorvanesc.so.\n")) << what;
    // The log holds the error lines where they were issued: before any
    // step's output.
    EXPECT_EQ(read_file(work / "quillc.log"),
              r.out.substr(0, r.out.size() - out.size()) + c.err + out) << what;
    std::vector<std::string> generated;
    if (fs::exists(work / "sc_module"))
      for (auto &entry : fs::directory_iterator(work / "sc_module"))
        if (entry.path().string().ends_with("_create.cpp"))
          generated.push_back(entry.path().filename().string());
    EXPECT_EQ(generated, c.generated) << what;
  }
}

TEST_F(QuillcRun, WrongArgumentsEndTheRunWithStatusOne) {
  struct {
    std::vector<std::string> args;
    std::string err;
  } cases[] = {
      {{}, "Wrong arguments. Expected arguments:\n   -module <module name>\n   <systemC file>\n"},
      {{"top.cpp", "-module", "top"},
       "Wrong arguments. Expected <systemC file> argument with module 'top'\n"},
      {{"-module", "a", "-module", "b"},
       "Wrong arguments. Expected <systemC file> argument with module 'b'\n"},
      {{"-bad", "-module", "a"},
       "Unkonwn option 'bad'\nWrong arguments. Expected <systemC file> argument with module 'a'\n"},
  };
  for (const auto &c : cases) {
    RunResult r = quillc(c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(after_banner(r.out), "") << "no step runs";
    EXPECT_FALSE(fs::exists(m_Work / "sc_module"));
    EXPECT_FALSE(fs::exists(record()));
    EXPECT_TRUE(log().ends_with(c.err));
  }
}

TEST_F(QuillcRun, WithNoSourcesBothLinksAndTheWrapperGeneratorStillRun) {
  RunResult r = quillc({"-help"});
  EXPECT_EQ(r.status, 0);
  std::vector<std::string> seen = calls();
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_TRUE(seen[0].ends_with("-DSC_WRAPPER /opt/quillc/lib/libwrapper_generator.a -o sc_module/wrapper_generator "
                                "-lstdc++ -lm -pthread /opt/sc/lib64/libsystemc.a /opt/quillc/lib/libwrapper_generator.a"))
      << seen[0];
  EXPECT_TRUE(seen[1].starts_with("wrapper_generator ran")) << seen[1];
  EXPECT_TRUE(seen[2].ends_with("-DSC_COSIM /opt/quillc/include/startup.cpp -o libcorvanesc.so "
                                "-lstdc++ -lm -pthread /opt/sc/lib64/libsystemc.a /opt/quillc/lib/libsccosim.a"))
      << seen[2];
  EXPECT_TRUE(fs::is_directory(m_Work / "sc_module"));
}

TEST_F(QuillcRun, ExportSourcesLandBesideTheirPath) {
  fs::create_directories(m_Work / "sc_module/rtl");
  TempDir elsewhere;
  const fs::path absolute = elsewhere / "top.cpp";
  RunResult r = quillc({"-module", "m1", "rtl/top.cc", "-module", "m2", absolute.string(), "-module",
                        "m3", "sub/missing.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(fs::exists(m_Work / "sc_module/rtl/top_create.cpp"));
  EXPECT_EQ(read_file(elsewhere / "top_create.cpp"),
            "#include \"systemc.h\"\n#include \"" + absolute.string() + "\"\nNCSC_MODULE_EXPORT(m2);\n");
  // sc_module/sub does not exist: that export source is silently skipped,
  // and its object is still named, by plain concatenation.
  EXPECT_FALSE(fs::exists(m_Work / "sc_module/sub"));
  EXPECT_NE(after_banner(r.out).find(" sc_module/rtl/top_create.o sc_module/" +
                                     (elsewhere / "top_create.o").string() +
                                     " sc_module/sub/missing_create.o "),
            std::string::npos);
}

TEST_F(QuillcRun, ALinkLongerThanTheKernelPassesStillRuns) {
  // Sources without modules go straight onto the link: 5,000 names of 40
  // bytes make a command of about 200 KiB.
  std::vector<std::string> sources;
  for (int i = 0; i < 5000; ++i)
    sources.push_back(fs::path("lib") / (std::string(30, 'x') + std::to_string(10000 + i) + ".cpp"));
  RunResult r = quillc(sources);
  EXPECT_EQ(r.status, 0);
  std::vector<std::string> seen = calls();
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_GT(seen[2].size(), 200000u);
  EXPECT_NE(seen[2].find(" /opt/quillc/include/startup.cpp lib/" + std::string(30, 'x') + "10000.cpp "),
            std::string::npos);
  EXPECT_TRUE(seen[2].ends_with("/opt/quillc/lib/libsccosim.a"));
}

TEST_F(QuillcRun, UnopenableLogIsReportedOnceAndTheRunGoesOn) {
  fs::create_directory(m_Work / "quillc.log");
  RunResult r = quillc({"-module", "top", "top.cpp"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Can't open log file 'quillc.log': Is a directory\n");
  EXPECT_TRUE(after_banner(r.out).starts_with("Generate file 'top_create.cpp'\n"));
  EXPECT_TRUE(fs::exists(m_Work / "sc_module/top_create.cpp"));
}

TEST_F(QuillcRun, ManyArgumentsLoseNothing) {
  std::vector<std::string> args;
  std::string expectedErr;
  for (int i = 0; i < 10000; ++i) {
    args.push_back("-opt" + std::to_string(i));
    expectedErr += "Unkonwn option 'opt" + std::to_string(i) + "'\n";
  }
  // The longest single argument the kernel passes on is 128 KiB.
  std::string huge(128 * 1024 - 1, 'x');
  huge[0] = '-';
  args.push_back(huge);
  expectedErr += "Unkonwn option '" + huge.substr(1) + "'\n";

  RunResult r = quillc(args);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, expectedErr);
  std::string out = after_banner(r.out);
  EXPECT_EQ(log(), r.out.substr(0, r.out.size() - out.size()) + expectedErr + out);
}

} // namespace
