#include "driver/args.h"

#include "testsupport/testsupport.h"

namespace {

struct Parsed {
  bool ok;
  std::string layout; // "source[m1,m2] source[] | extra items"
  std::string err;
};

/// Parses in a child, where the reports go to the session log as well.
Parsed parse(std::vector<std::string> args) {
  args.insert(args.begin(), "quillc");
  auto result = run_in_child([&] {
    std::vector<char *> argv;
    for (std::string &a : args)
      argv.push_back(a.data());
    argv.push_back(nullptr);
    DriverArguments out;
    std::string layout = parse_driver_arguments(static_cast<int>(args.size()), argv.data(), out) ? "" : "!";
    for (const SourceUnit &unit : out.units) {
      layout += std::string(unit.source) + "[";
      for (size_t i = 0; i < unit.modules.size(); ++i)
        layout += (i ? "," : "") + std::string(unit.modules[i]);
      layout += "] ";
    }
    std::fputs((layout + "|" + out.extraOptionsText()).c_str(), stdout);
  });
  EXPECT_EQ(result.status, 0);
  bool ok = !result.out.starts_with("!");
  return {ok, result.out.substr(ok ? 0 : 1), result.err};
}

TEST(DriverArguments, ModulesPairWithTheNextSourceAndErrorsAreReported) {
  const std::string huge(1 << 20, '\xe9');
  struct {
    std::vector<std::string> args;
    bool ok;
    std::string layout, err;
  } cases[] = {
      {{"-module", "top", "top.cpp"}, true, "top.cpp[top] |", ""},
      {{"-module", "a", "-module", "b", "x.cpp", "-module", "c", "y.cpp"}, true, "x.cpp[a,b] y.cpp[c] |", ""},
      {{"a.cpp", "-module", "m", "b.cpp", "c.cpp"}, true, "a.cpp[] b.cpp[m] c.cpp[] |", ""},
      {{"-module", "-Wcxx,-g", "x.cpp"}, true, "x.cpp[-Wcxx,-g] |", ""},
      {{"-module", "m", "", "x.cpp"}, true, "[m] x.cpp[] |", ""},
      {{"-Wcxx,-g,-DX=1", "x.cpp"}, true, "x.cpp[] | -g -DX=1", ""},
      {{"-Wcxx,-g,", "-Wcxx,,-O1"}, true, "| -g  -O1", ""},
      {{"-Wcxx,,,"}, true, "| ", ""},
      {{"-Wcxx,a b"}, true, "| a b", ""},
      {{}, false, "|", "Wrong arguments. Expected arguments:\n   -module <module name>\n   <systemC file>\n"},
      {{"top.cpp", "-module", "top"}, false, "top.cpp[] |",
       "Wrong arguments. Expected <systemC file> argument with module 'top'\n"},
      {{"-bad", "-module", "a", "-module", "b"}, false, "|",
       "Unkonwn option 'bad'\nWrong arguments. Expected <systemC file> argument with module 'b'\n"},
      {{"a.cpp", "-x", "-module"}, true, "a.cpp[] |",
       "Unkonwn option 'x'\nOption '-module' requires an argument\n"},
      {{"-", "-help", "-Wcxxfoo", "-Wcxx", "-module", "m", "a.cpp"}, true, "a.cpp[m] |",
       "Unkonwn option ''\nUnkonwn option 'help'\nUnkonwn option 'Wcxxfoo'\n"
       "Option '-Wcxx' requires an argument\n"},
      {{"-" + huge, "-module", huge, "x.cpp"}, true, "x.cpp[" + huge + "] |", "Unkonwn option '" + huge + "'\n"},
  };
  for (const auto &c : cases) {
    Parsed p = parse(c.args);
    EXPECT_EQ(p.ok, c.ok) << c.layout;
    EXPECT_EQ(p.layout, c.layout);
    EXPECT_EQ(p.err, c.err);
  }
}

} // namespace
