#include "driver/args.h"

#include "driver/export.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Parsed {
  bool ok;
  std::string layout; // "source[m1,m2] source[]" and " | extra items"
  std::string err;
};

Parsed parse(std::vector<std::string> args) {
  args.insert(args.begin(), "quillc");
  std::vector<char *> argv;
  for (std::string &a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);

  DriverArguments out;
  ::testing::internal::CaptureStderr();
  bool ok = parse_driver_arguments(static_cast<int>(args.size()), argv.data(), out);
  Parsed parsed{ok, "", ::testing::internal::GetCapturedStderr()};
  for (const SourceUnit &unit : out.units) {
    parsed.layout += std::string(unit.source) + "[";
    for (size_t i = 0; i < unit.modules.size(); ++i)
      parsed.layout += (i ? "," : "") + std::string(unit.modules[i]);
    parsed.layout += "] ";
  }
  parsed.layout += "|" + out.extraOptionsText();
  return parsed;
}

TEST(DriverArguments, ModulesPairWithTheNextSource) {
  struct {
    std::vector<std::string> args;
    std::string layout;
  } cases[] = {
      {{"-module", "top", "top.cpp"}, "top.cpp[top] |"},
      {{"-module", "a", "-module", "b", "x.cpp", "-module", "c", "y.cpp"}, "x.cpp[a,b] y.cpp[c] |"},
      {{"glue.cpp"}, "glue.cpp[] |"},
      {{"a.cpp", "-module", "m", "b.cpp", "c.cpp"}, "a.cpp[] b.cpp[m] c.cpp[] |"},
      {{"-module", "-Wcxx,-g", "x.cpp"}, "x.cpp[-Wcxx,-g] |"},
      {{"-module", "m", "", "x.cpp"}, "[m] x.cpp[] |"},
      {{"x.cpp", "x.cpp", "-module", "m", "x.cpp"}, "x.cpp[] x.cpp[] x.cpp[m] |"},
      {{"-Wcxx,-g,-DX=1", "x.cpp"}, "x.cpp[] | -g -DX=1"},
      {{"-Wcxx,-g,", "-Wcxx,,-O1"}, "| -g  -O1"},
      {{"-Wcxx,"}, "| "},
      {{"-Wcxx,,,"}, "| "},
      {{"-Wcxx,a b"}, "| a b"},
  };
  for (const auto &c : cases) {
    Parsed p = parse(c.args);
    EXPECT_TRUE(p.ok);
    EXPECT_EQ(p.layout, c.layout);
    EXPECT_EQ(p.err, "");
  }
}

TEST(DriverArguments, ParsingStopsAtATrailingModule) {
  Parsed p = parse({"a.cpp", "-x", "-module"});
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.layout, "a.cpp[] |");
  EXPECT_EQ(p.err, "Unkonwn option 'x'\nOption '-module' requires an argument\n");
}

TEST(DriverArguments, HugeArgumentIsReportedWhole) {
  std::string huge(1 << 20, '\xe9');
  huge[0] = '-';
  Parsed p = parse({huge, "-module", huge.substr(1), "x.cpp"});
  EXPECT_TRUE(p.ok);
  EXPECT_EQ(p.err, "Unkonwn option '" + huge.substr(1) + "'\n");
  EXPECT_EQ(p.layout, "x.cpp[" + huge.substr(1) + "] |");
}

TEST(ExportName, FollowsPathSemantics) {
  struct {
    const char *source;
    const char *name;
  } cases[] = {
      {"top.cpp", "top_create.cpp"},
      {"rtl/top.cc", "rtl/top_create.cpp"},
      {"a.b.cpp", "a.b_create.cpp"},
      {"top", "top_create.cpp"},
      {"/w/top.cpp", "/w/top_create.cpp"},
      {"../up/x.h", "../up/x_create.cpp"},
      {"dir.v2/top", "dir.v2/top_create.cpp"},
      {".hidden", ".hidden_create.cpp"},
      {"a.", "a_create.cpp"},
      {"top.cpp.gz", "top.cpp_create.cpp"},
  };
  for (const auto &c : cases)
    EXPECT_EQ(make_export_name(c.source).native(), c.name) << c.source;
}

} // namespace
