#include "util/JsonWriter.h"

#include "testsupport/testsupport.h"

#include <cmath>

namespace {

TEST(JsonWriter, EscapeTable) {
  const std::pair<std::string, std::string> cases[] = {
      {"", R"("")"},
      {"a\tb\nc\rd / \"hi\" \\", R"("a\tb\nc\rd / \"hi\" \\")"},
      {"\x01\b\f\x1b\x1f \x7f", R"("\u0001\u0008\u000c\u001b\u001f \u007f")"},
      {"caf\xc3\xa9 \x80\xff ~", "\"caf\xc3\xa9 \x80\xff ~\""},
      // A long run of plain bytes, then escapes one after another.
      {std::string(120, 'x') + "\x02\x02\\\\", "\"" + std::string(120, 'x') + R"(\u0002\u0002\\\\")"},
  };
  for (const auto &[text, json] : cases) {
    std::string out;
    JsonWriter::WriteQuoted(out, text.c_str());
    EXPECT_EQ(out, json);
  }
}

TEST(JsonWriter, CompactAndPrettyScopes) {
  std::string out;
  JsonWriter top(out);
  top.AddString("s", "x");
  top.AddInt("i", -5);
  top.AddUnsigned("u", UINT64_MAX);
  top.AddDouble("d", 2.5);
  top.AddDouble("big", 1e20);
  top.AddDouble("third", 1.0 / 3);
  top.AddDouble("nan", std::nan(""));
  top.AddString("null", nullptr);
  JsonWriter array = top.AddArray("a");
  array.AddString(nullptr, "p");
  array.AddArray(nullptr).Close();
  array.AddInt(nullptr, 7);
  array.Close();
  top.AddObject("o").Close();
  top.Close();
  top.AddString("late", "ignored");
  top.AddObject("late").AddInt("n", 1); // nested in a closed scope
  JsonWriter(out, true).Close();
  EXPECT_EQ(out, R"({"s":"x","i":-5,"u":18446744073709551615,"d":2.5,"big":1e+20,)"
                 R"("third":0.333333,"nan":null,"null":"","a":["p",[],7],"o":{}}[])");

  for (bool tabs : {false, true}) {
    std::string pretty;
    JsonWriter p(pretty, false, 0, true, 2, tabs);
    p.AddInt("a", 1);
    JsonWriter b = p.AddArray("b");
    b.AddString(nullptr, "x");
    b.AddObject(nullptr).Close();
    b.Close();
    p.Close();
    EXPECT_EQ(pretty, tabs ? "{\n\t\"a\": 1,\n\t\"b\": [\n\t\t\"x\",\n\t\t{}\n\t]\n}"
                           : "{\n  \"a\": 1,\n  \"b\": [\n    \"x\",\n    {}\n  ]\n}");
  }
}

} // namespace
