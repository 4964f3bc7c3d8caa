#include "util/env.h"

#include "testsupport/testsupport.h"
#include "util/roster.h"

namespace {

/// A known environment, in a child.
void SetUpEnvironment() {
  ::clearenv();
  ::setenv("HOME", "/home/tester", 1);
  ::setenv("A", "alpha", 1);
  ::setenv("A-b", "dashed", 1);
  ::setenv("EMPTY", "", 1);
  ClearEnvironmentCache();
}

TEST(ExpandEnv, Expansions) {
  const std::pair<const char *, const char *> cases[] = {
      {"${HOME}/x", "/home/tester/x"},
      {"$(HOME)/x", "/home/tester/x"},
      {"$HOME/x", "/home/tester/x"},
      {"$A-b.c", "dashed.c"},
      {"$A_x/$A.$A", "/alpha.alpha"},
      {"~/src", "/home/tester/src"},
      {"~root/y", "/root/y"},
      {"~nosuchuser/a", "/a"},
      {"~abc", "abc"},
      {"a/~/b$", "a/~/b"},
      {"$(ab", "$(b"},
      {"x${", "x${"},
      {"${A}${UNSET}$(EMPTY)$", "alpha"},
      {"plain name", "plain name"},
  };
  const auto result = run_in_child([&] {
    SetUpEnvironment();
    SetSeverity("ExpandEnv", 0);
    for (const auto &[text, expected] : cases)
      if (ExpandEnv(text) != expected)
        std::printf("%s gave %s\n", text, ExpandEnv(text).c_str());
  });
  EXPECT_EQ(result.out, "");
}

TEST(ExpandEnv, NoteListsEachVariableOnce) {
  const auto result = run_in_child([] {
    SetUpEnvironment();
    ::setenv("A_NAME_OF_THIRTY_FOUR_CHARACTERS__", "long", 1);
    ExpandEnv("$(A)/$A/${NOPE}/$A_NAME_OF_THIRTY_FOUR_CHARACTERS__");
    ExpandEnv("no variables");
    ExpandEnv("$A"); // short names: the column keeps its minimum width
    SetSeverity("ExpandEnv", 0);
    ExpandEnv("$A silenced");
  });
  EXPECT_EQ(result.out, "=N:[ExpandEnv] used in expansion of $(A)/$A/${NOPE}/$A_NAME_OF_THIRTY_FOUR_CHARACTERS__:\n\n"
                        "     A                                     alpha\n"
                        "     A_NAME_OF_THIRTY_FOUR_CHARACTERS__    long\n"
                        "     NOPE                                  (undefined)\n\n"
                        "=N:[ExpandEnv] used in expansion of $A:\n\n"
                        "     A                                 alpha\n\n");
}

TEST(WriteEnvironment, QuotedValuesInNameOrder) {
  const auto result = run_in_child([] {
    ::clearenv();
    ::setenv("b", "tab\there", 1);
    ::setenv("A", "say \"hi\"", 1);
    ClearEnvironmentCache();
    WriteEnvironment(stdout);
  });
  EXPECT_EQ(result.out, "env A \"say \\\"hi\\\"\"\nenv b \"tab\\there\"\n");
}

} // namespace
