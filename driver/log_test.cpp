// The session log is process-wide, so every case runs in a forked child and
// inspects the console and the files afterwards.

#include "driver/log.h"

#include "testsupport/testsupport.h"

namespace {

TEST(SessionLog, TextBeforeTheOpenStandsFirstInTheFile) {
  TempDir dir;
  const std::string path = (dir / "run.log").string();
  const std::string big(100000, 'b');
  std::string growing;
  for (int i = 0; i < 300; ++i)
    growing += std::string(i, 'a' + i % 26) + "|\n";
  RunResult r = run_in_child([&] {
    log_printf("one %d\n", 1);
    log_eprintf("two %s\n", "err");
    for (int i = 0; i < 300; ++i) // grows the scratch buffer step by step
      log_printf("%s|\n", std::string(i, 'a' + i % 26).c_str());
    log_printf("%s\n", big.c_str());
    log_write("raw", 3);
    log_printf_level(1, "hidden\n");
    log_printf_level(0, "level %d\n", 0);
    log_printf_level(-1, "level %d\n", -1);
    open_log_file(path.c_str());
    const char *volatile none = nullptr;
    log_printf("%s", none);
    log_printf("after\n");
    log_write("\x00\xff", 2);
    flush_all_output();
    // _exit skips every stdio flush: only what was flushed is there.
    ::_exit(read_file(path).ends_with("after\n" + std::string("\0\xff", 2)) ? 0 : 5);
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "one 1\n" + growing + big + "\nlevel 0\nlevel -1\n(null)after\n");
  EXPECT_EQ(r.err, "two err\n");
  EXPECT_EQ(read_file(path),
            "one 1\ntwo err\n" + growing + big + "\nraw" + "level 0\nlevel -1\n(null)after\n" + std::string("\0\xff", 2));
}

TEST(SessionLog, ReopeningClosesTheFirstAndAFailedOpenKeepsTheText) {
  TempDir dir;
  const std::string first = (dir / "first.log").string(), second = (dir / "second.log").string(),
                    bad = (dir / "no/such/x.log").string();
  RunResult r = run_in_child([&] {
    log_printf("early\n");
    open_log_file(first.c_str());
    log_printf("in first\n");
    open_log_file(second.c_str());
    log_printf("in second\n");
    close_log_file();
    log_printf("pending again\n");
    if (open_log_file(bad.c_str()))
      std::exit(3);
    log_eprintf("also kept\n");
    open_log_file(first.c_str());
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Can't open log file '" + bad + "': No such file or directory\nalso kept\n");
  EXPECT_EQ(read_file(second), "in second\n");
  EXPECT_EQ(read_file(first), "pending again\nalso kept\n");
}

std::string gzipPath; // for the exit handler of the next test

TEST(SessionLog, ACompressedLogIsClosedAtExit) {
  TempDir dir;
  gzipPath = (dir / "x.log.gz").string();
  std::string expected;
  for (int i = 0; i < 5000; ++i)
    expected += "line " + std::to_string(i) + "\n";
  RunResult r = run_in_child([&] {
    // Registered before the log's own exit hook, so it runs after it: the
    // compressor must be done by then.
    std::atexit([] { std::system(("gzip -dc " + gzipPath + " >" + gzipPath + ".out").c_str()); });
    log_printf("line 0\n");
    open_log_file(gzipPath.c_str());
    for (int i = 1; i < 5000; ++i)
      log_printf("line %d\n", i);
    std::exit(0);
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(read_file(gzipPath + ".out"), expected);
}

} // namespace
