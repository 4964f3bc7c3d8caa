#include "driver/export.h"

#include "testsupport/testsupport.h"

namespace {

TEST(ExportName, FollowsPathSemantics) {
  struct {
    const char *source;
    const char *name;
  } cases[] = {
      {"top.cpp", "top_create.cpp"},   {"rtl/top.cc", "rtl/top_create.cpp"},
      {"a.b.cpp", "a.b_create.cpp"},   {"top", "top_create.cpp"},
      {"/w/top.cpp", "/w/top_create.cpp"}, {"dir.v2/top", "dir.v2/top_create.cpp"},
      {".hidden", ".hidden_create.cpp"}, {"a.", "a_create.cpp"},
  };
  for (const auto &c : cases)
    EXPECT_EQ(make_export_name(c.source).native(), c.name) << c.source;
}

TEST(ExportSources, WrittenBesideTheirPathOnlyWithModules) {
  TempDir work, elsewhere;
  fs::create_directories(work / "sc_module/rtl");
  const std::string absolute = (elsewhere / "top.cpp").string();
  const std::vector<std::string_view> ab = {"a", "b"}, m = {"m"}, none;
  const SourceUnit units[] = {{"x.cpp", ab}, {"glue.cpp", none}, {"rtl/top.cc", m},
                              {absolute, m}, {"sub/missing.cpp", m}};
  auto result = run_in_child([&] { generate_export_sources(units); }, work.path());
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Generate file 'x_create.cpp'\nGenerate file 'rtl/top_create.cpp'\n"
                        "Generate file '" + (elsewhere / "top_create.cpp").string() +
                            "'\nGenerate file 'sub/missing_create.cpp'\n");
  EXPECT_EQ(read_file(work / "sc_module/x_create.cpp"),
            "#include \"systemc.h\"\n#include \"x.cpp\"\nNCSC_MODULE_EXPORT(a);\nNCSC_MODULE_EXPORT(b);\n");
  EXPECT_EQ(read_file(work / "sc_module/rtl/top_create.cpp"),
            "#include \"systemc.h\"\n#include \"rtl/top.cc\"\nNCSC_MODULE_EXPORT(m);\n");
  EXPECT_EQ(read_file(elsewhere / "top_create.cpp"),
            "#include \"systemc.h\"\n#include \"" + absolute + "\"\nNCSC_MODULE_EXPORT(m);\n");
  // Only sc_module itself is created; a missing subdirectory skips the file.
  EXPECT_FALSE(fs::exists(work / "sc_module/sub"));
  EXPECT_FALSE(fs::exists(work / "sc_module/glue_create.cpp"));
}

} // namespace
