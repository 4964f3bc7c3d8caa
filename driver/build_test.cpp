#include "driver/build.h"

#include "driver/log.h"
#include "testsupport/testsupport.h"

namespace {

const std::string kPrefix = "gcc -std=c++2a -D NDEBUG -Wall -O2 -I${SYSTEMC_PATH}/include "
                            "-I${QUILLC_PATH}/include -I${TARN_HOME}/include -I. ";
const std::string kTail = "-lstdc++ -lm -pthread ${SYSTEMC_PATH}/lib64/libsystemc.a";
const std::string kWrapperLib = "${QUILLC_PATH}/lib/libwrapper_generator.a";

/// One line per action: "echo <text>", "mkdir <dir>", "run <command>",
/// "silent <command>", "compile <command>".
std::string render(const BuildPlan &plan) {
  static const char *const kKinds[] = {"echo ", "mkdir ", "run ", "silent ", "compile "};
  std::string text;
  for (const BuildAction &action : plan)
    text += kKinds[action.kind] + action.text + (action.kind == BuildAction::kEcho ? "" : "\n");
  return text;
}

TEST(BuildPlan, BothStepsCommandByCommand) {
  const std::vector<std::string_view> fifo = {"fifo"}, ab = {"a", "b"}, none;
  const SourceUnit design[] = {{"design.cpp", fifo}, {"glue.cpp", none}};
  const SourceUnit several[] = {{"x.cpp", ab}, {"glue.cpp", none}, {"rtl/top.cc", fifo}, {"/w/y.cpp", fifo}};
  const struct {
    std::span<const SourceUnit> units;
    std::string extra;
    std::vector<std::string> compiled; // export sources, in order
    std::string linked;                // objects and sources on the link
  } cases[] = {
      {design, "", {"design_create.cpp"}, "sc_module/design_create.o glue.cpp "},
      {design, " -g -DX=1", {"design_create.cpp"}, "sc_module/design_create.o glue.cpp "},
      {{}, "", {}, ""},
      {several, "", {"x_create.cpp", "rtl/top_create.cpp", "/w/y_create.cpp"},
       "sc_module/x_create.o glue.cpp sc_module/rtl/top_create.o sc_module//w/y_create.o "},
  };
  for (const auto &c : cases) {
    const std::string w = kPrefix + " -DSC_WRAPPER " + c.extra + " ";
    const std::string l = kPrefix + " -fPIC -shared -DSC_COSIM " + c.extra + " ";
    std::string wrapperCompiles, libraryCompiles;
    for (const std::string &name : c.compiled) {
      wrapperCompiles += "compile cd sc_module;" + w + "-I.. -c  " + name + "\n";
      libraryCompiles += "compile cd sc_module;" + l + "-I.. -c  " + name + "\n";
    }
    EXPECT_EQ(render(plan_wrapper_generator(c.units, c.extra)),
              "echo Start wrapper generating...\nmkdir sc_module\n" + wrapperCompiles + "run " + w +
                  c.linked + kWrapperLib + " -o sc_module/wrapper_generator " + kTail + " " + kWrapperLib +
                  "\nsilent sc_module/wrapper_generator\necho End wrapper generating.\n")
        << c.linked;
    EXPECT_EQ(render(plan_systemc_library(c.units, c.extra)),
              "echo Start generating SC library...\nmkdir sc_module\n" + libraryCompiles + "run " + l +
                  "${QUILLC_PATH}/include/startup.cpp " + c.linked + " -o libcorvanesc.so " + kTail +
                  " ${QUILLC_PATH}/lib/libsccosim.a\necho End generating SC library libcorvanesc.so.\n")
        << c.linked;
  }
}

TEST(BuildPlan, TheRunnerEchoesFlushesAndRunsInOrder) {
  TempDir dir;
  // Longer than the kernel passes as one argument: the shell reads it from
  // a pipe instead.
  const std::string longCommand = ": " + std::string(200000, 'x') + "; echo long";
  auto result = run_in_child(
      [&] {
        open_log_file("run.log");
        run_build_plan({{BuildAction::kEcho, "begin %d\n"},
                        {BuildAction::kMakeDirectory, "a/b"},
                        {BuildAction::kRunEchoed, "cd a/b; echo \"$PWD\" | sed 's,.*/,in ,'; echo oops >&2"},
                        {BuildAction::kRunSilent, "echo silent; exit 3"},
                        {BuildAction::kRunSilent, longCommand},
                        {BuildAction::kEcho, "end\n"}});
      },
      dir.path());
  const std::string echoed = "begin %d\ncd a/b; echo \"$PWD\" | sed 's,.*/,in ,'; echo oops >&2\n";
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, echoed + "in b\nsilent\nlong\nend\n");
  EXPECT_EQ(result.err, "oops\n");
  EXPECT_EQ(read_file(dir / "run.log"), echoed + "end\n");
}

} // namespace
