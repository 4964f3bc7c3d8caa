#include "util/Location.h"

#include "util/FileMapper.h"
#include "util/LocStream.h"
#include "util/roster.h"
#include "testsupport/testsupport.h"

#include <csignal>

namespace {

using Trace = std::vector<std::string>;

// a.v includes b.v (line 2), which includes c.v (line 2); c.v uses the
// macro M defined on line 3 of a.v; a.v holds a protected block at line 4.
struct Sources {
  TempDir dir;
  LocatorRef a, b, c;
  Sources() {
    write_file(dir / "a.v", "module a;\n`include \"b.v\"\n`define M 1\nPROT\nendmodule\n");
    write_file(dir / "b.v", "wire x;\n`include \"c.v\"\n");
    write_file(dir / "c.v", "assign y = `M;\n");
    a = new FileLocator(FileMapper::forPath(path("a.v")));
    b = new FileLocator(FileMapper::forPath(path("b.v")), a, 10);
    c = new FileLocator(FileMapper::forPath(path("c.v")), b, 8);
  }
  std::string path(const char *name) const { return (dir / name).string(); }

  /// Registers every kind of locator in \p top, 1000 offsets apart.
  void fill(TopLocator &top) const {
    top.addEntry(0, a);
    top.addEntry(1000, c);
    top.addEntry(2000, new MacroLocator("M", a, 33, c, 11));
    top.addEntry(3000, new ProtectedLocator(a, 37));
    top.addEntry(4000, new RemapLocator(a, c, 100, "orig.v", 0));
    top.addEntry(5000, new ConstLocator("x"));
    top.addSegment(3000);
    top.addSegment(6000);
  }

  /// The trace printed, with "@" standing for the sources' directory.
  Trace traced(const Locator &top, uint64_t offset) const {
    std::vector<LocEntry> chain;
    top.trace(offset, chain);
    Trace lines;
    const std::string prefix = dir.path().string() + "/";
    for (const LocEntry &entry : chain) {
      std::string line = formatEntry(entry);
      for (size_t at; (at = line.find(prefix)) != std::string::npos;)
        line.replace(at, prefix.size(), "@");
      lines.push_back(line);
    }
    return lines;
  }
};

const uint64_t kProbes[] = {0, 7, 1000, 1007, 2005, 3017, 4007, 5003};

TEST(Location, TracesThroughEveryKindOfLocator) {
  Sources sources;
  TopLocator top;
  sources.fill(top);
  const struct {
    uint64_t offset;
    Trace expected;
  } cases[] = {
      {7, {"@a.v:1:8"}},
      {1000, {"@c.v:1:1", "Included from @b.v:2:1", "Included from @a.v:2:1"}},
      {1007, {"@c.v:1:8", "Included from @b.v:2:1", "Included from @a.v:2:1"}},
      {2005,
       {"Defined at @a.v:3:9", "Expanded from @c.v:1:12", "Included from @b.v:2:1",
        "Included from @a.v:2:1"}},
      {3017, {"(17 bytes into encrypted block)", "Included from @a.v:4:1"}},
      {4007, {"orig.v:101:8", "Included from @b.v:2:1", "Included from @a.v:2:1"}},
      {5003, {"Defined at x:0:0"}},
  };
  for (const auto &c : cases)
    EXPECT_EQ(sources.traced(top, c.offset), c.expected) << c.offset;

  EXPECT_TRUE(top.isProtected(3017));
  EXPECT_FALSE(top.isProtected(2005));
  LocEntry outer;
  top.outerLocation(2005, outer);
  EXPECT_EQ(outer.kind, LocKind::IncludedFrom);
  EXPECT_EQ(outer.line, 2);
  EXPECT_EQ(outer.file, sources.path("b.v"));
  top.outerLocation(5003, outer);
  EXPECT_EQ(formatEntry(outer), "Defined at x:0:0");
  EXPECT_EQ(top.lineInSegment(1007), 2u);    // segment 0, a.v line 2
  EXPECT_EQ(top.lineInSegment(3017), 3004u); // segment 3000, a.v line 4
  EXPECT_EQ(top.lineInSegment(7000), 0u);    // the last start is never a segment
}

TEST(Location, TableNameAndDumps) {
  TopLocator top;
  top.addEntry(1234567, new ConstLocator("y"), 5);
  top.addEntry(0, new ConstLocator("x"));
  EXPECT_EQ(top.name(), "0 => x:0\n1234567 => y:5\n");
  EXPECT_EQ(top.parent()->name(), "y");
  EXPECT_EQ(top.parentOffset(), 5u);
  auto printed = run_in_child([] {
    TopLocator::global().addEntry(0, new ProtectedLocator(new ConstLocator("k"), 3));
    TopLocator::global().dumpTable();
    printTrace(9);
  });
  EXPECT_EQ(printed.out, "des offset = 0\n           0 => (protected):0\n"
                         "(9 bytes into encrypted block)\nIncluded from k:0:0\n");
}

TEST(Location, RowsOfRosterMessages) {
  Sources sources;
  TopLocator top;
  sources.fill(top);
  ErrorRoster roster;
  LimitReachedClass messages;
  EXPECT_EQ(addLocationRows(roster, top, 1007, &messages), 3u);
  EXPECT_FALSE(messages.InProtectedCode());
  EXPECT_EQ(addLocationRows(roster, top, 3017, &messages), 2u);
  EXPECT_TRUE(messages.InProtectedCode());
  const std::string d = sources.dir.path().string() + "/";
  EXPECT_EQ(roster.Layout(), "    " + d + "c.v:1:8\n    Included from " + d +
                                 "b.v:2:1\n    Included from " + d +
                                 "a.v:2:1\n    (17 bytes into encrypted block)\n"
                                 "    Included from " +
                                 d + "a.v:4:1\n");
  roster.Clear();
}

std::string written(TopLocator &top) {
  BinaryLocSerializer ser;
  top.serialize(ser);
  return ser.bytes();
}

bool readInto(TopLocator &top, const std::string &bytes) {
  BinaryLocDeserializer des(bytes.data(), bytes.size());
  top.deserialize(des);
  return !des.failed() && des.atEnd();
}

TEST(Location, RoundTripThroughTheGlobalTable) {
  Sources sources;
  sources.fill(TopLocator::global());
  std::vector<Trace> before;
  for (uint64_t offset : kProbes)
    before.push_back(sources.traced(TopLocator::global(), offset));
  const std::string unit = written(TopLocator::global());

  // The line tables must now come from the stream alone.
  TopLocator::releaseGlobal();
  FileMapper::clearTable();
  std::filesystem::remove_all(sources.dir.path());
  TopLocator &top = TopLocator::global();
  ASSERT_TRUE(readInto(top, unit));
  ASSERT_TRUE(readInto(top, unit)); // the same unit again: the same place
  EXPECT_EQ(top.units().size(), 1u);
  EXPECT_EQ(top.desOffset(), 0u);
  EXPECT_EQ(top.end(), 6000u);
  for (size_t i = 0; i < std::size(kProbes); ++i)
    EXPECT_EQ(sources.traced(top, kProbes[i]), before[i]) << kProbes[i];

  // A unit of another set goes behind it; its entry at 0 is not added.
  TopLocator other;
  sources.fill(other);
  ASSERT_TRUE(readInto(top, written(other)));
  EXPECT_EQ(top.units().size(), 2u);
  EXPECT_EQ(top.desOffset(), 6000u);
  EXPECT_EQ(top.end(), 12000u);
  for (size_t i = 2; i < std::size(kProbes); ++i)
    EXPECT_EQ(sources.traced(top, 6000 + kProbes[i]), before[i]) << kProbes[i];
  EXPECT_EQ(sources.traced(top, 6007), sources.traced(top, 5003));
  TopLocator::releaseGlobal();
}

TEST(Location, StreamWithoutFileOffsetsAndRangeForm) {
  Sources sources;
  TopLocator top;
  sources.fill(top);
  // The range form keeps the entries that reach into the range.
  const struct {
    uint64_t lo, hi;
    std::vector<uint64_t> starts;
  } cases[] = {
      {1000, 1000, {1000}},
      {1500, 2000, {1000, 2000}},
      {1000, 1999, {1000}},
      {0, 5000, {0, 1000, 2000, 3000, 4000, 5000}},
      {5500, 9000, {5000}},
  };
  for (const auto &c : cases) {
    BinaryLocSerializer ser;
    top.serialize(ser, c.lo, c.hi);
    TopLocator back;
    ASSERT_TRUE(readInto(back, ser.bytes()));
    std::vector<uint64_t> starts;
    for (const TopLocator::Entry &entry : back.entries())
      starts.push_back(entry.start);
    EXPECT_EQ(starts, c.starts) << c.lo << ".." << c.hi;
    EXPECT_EQ(sources.traced(back, c.starts[0] + 3), sources.traced(top, c.starts[0] + 3));
  }
  BinaryLocSerializer empty;
  TopLocator().serialize(empty, 10, 20);
  TopLocator none;
  ASSERT_TRUE(readInto(none, empty.bytes()));
  EXPECT_TRUE(none.entries().empty());

  // Without file offsets: line 1, column offset + 1.
  setExcludeFileOffsets(true);
  const std::string unit = written(top);
  setExcludeFileOffsets(false);
  FileMapper::clearTable();
  TopLocator back;
  ASSERT_TRUE(readInto(back, unit));
  EXPECT_EQ(sources.traced(back, 33), Trace{"@a.v:1:34"});
  EXPECT_EQ(sources.traced(back, 1007),
            (Trace{"@c.v:1:8", "Included from @b.v:1:9", "Included from @a.v:1:11"}));
  EXPECT_LT(unit.size(), written(top).size());
}

TEST(Location, FailedChecksNameFileLineAndFunction) {
  // A locator class that never learnt to save itself: it saves as the base does.
  struct Unsaved : ConstLocator {
    Unsaved() : ConstLocator("u") {}
    void serialize(LocSerializer &ser) override { Locator::serialize(ser); }
  };
  const struct {
    void (*body)();
    const char *expected;
  } cases[] = {
      {[] {
         TopLocator top;
         top.addEntry(100, new ConstLocator("x"));
         BinaryLocSerializer ser;
         top.serialize(ser, 50, 60);
       },
       "util/Location.cpp:920: virtual void TopLocator::serialize(LocSerializer&, uint64_t, "
       "uint64_t): Assertion `l_it != u_it || m_Entries.empty()' failed.\n"},
      {[] {
         BinaryLocSerializer ser;
         ser.writeLocator(new Unsaved);
       },
       "virtual void Locator::serialize(LocSerializer&): Assertion `0 && \"No locator "
       "serializer implementation.\"' failed.\n"},
  };
  for (const auto &c : cases) {
    RunResult result = run_in_child(c.body);
    EXPECT_EQ(result.status, 128 + SIGABRT);
    EXPECT_NE(result.err.find(c.expected), std::string::npos) << result.err;
  }
}

} // namespace
