#include "util/Location.h"

#include "util/FileMapper.h"
#include "util/LocStream.h"
#include "util/digest.h"
#include "util/roster.h"

// The checks of this file stop the process in every build, also release
// builds that define NDEBUG: a locator stream written from a wrong slice
// of the table would carry positions that no tool can place.  The C
// library declares its assertion routine only without NDEBUG.
#undef NDEBUG
#include <cassert>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string_view>
#include <unistd.h>

// A failed check is reported as a failed C library assertion ("<program>:
// util/Location.cpp:920: <function>: Assertion `<expr>' failed."), under a
// fixed line and the function as gcc spells it, whichever compiler built
// the library: people who read such reports know a check by those, so they
// must not move when this file is edited.
#define LOCATION_CHECK(expr, line, function)                                                       \
  (static_cast<bool>(expr) ? void(0) : __assert_fail(#expr, __FILE__, line, function))

namespace {

constexpr char kSerializeFunction[] = "virtual void Locator::serialize(LocSerializer&)";
constexpr char kRangeSerializeFunction[] =
    "virtual void TopLocator::serialize(LocSerializer&, uint64_t, uint64_t)";

/// Whether \p signature is that of a function named \p name.
constexpr bool signs_function(std::string_view signature, std::string_view name) {
  const std::size_t at = signature.find(name);
  return at != std::string_view::npos && at > 0 && signature[at - 1] == ':' &&
         signature.substr(at + name.size()).starts_with("(");
}

/// After a call that appended the chain of an outer locator from index
/// \p before on, makes its first entry tell the step outward as \p kind.
void markOutward(std::vector<LocEntry> &out, size_t before, LocKind kind) {
  if (out.size() > before)
    out[before].kind = kind;
}

uint64_t saturatingAdd(uint64_t a, uint64_t b) { return a + b < a ? UINT64_MAX : a + b; }

void writeTag(LocSerializer &ser, LocatorTag tag) { ser.writeU64(static_cast<uint64_t>(tag)); }

bool startsBefore(const TopLocator::Entry &entry, uint64_t offset) { return entry.start < offset; }
bool startsAfter(uint64_t offset, const TopLocator::Entry &entry) { return offset < entry.start; }

/// How many references the walks over locators in progress have followed,
/// one inside the other.  The library is single-threaded, so one counter
/// serves every walk, in place of a depth argument that the virtual
/// operations do not have.
uint32_t &walkDepth() {
  static uint32_t &depth = *new uint32_t(0);
  return depth;
}

/// One reference followed by a walk, for as long as it is followed.  A walk
/// kMaxLocatorDepth references deep goes no further and treats the
/// reference as null: no acyclic graph that a reader accepts is that deep,
/// and a cycle, which a hostile stream can build, would recurse without end.
class Step {
public:
  Step() : m_Taken(walkDepth() < kMaxLocatorDepth) {
    if (m_Taken)
      ++walkDepth();
  }
  ~Step() {
    if (m_Taken)
      --walkDepth();
  }
  Step(const Step &) = delete;
  Step &operator=(const Step &) = delete;

  explicit operator bool() const { return m_Taken; }

private:
  const bool m_Taken;
};

CountedRef<TopLocator> &globalHolder() {
  static CountedRef<TopLocator> &holder = *new CountedRef<TopLocator>;
  return holder;
}

} // namespace

const char *locKindPrefix(LocKind kind) {
  switch (kind) {
  case LocKind::IncludedFrom:
    return "Included from ";
  case LocKind::DefinedAt:
    return "Defined at ";
  case LocKind::ExpandedFrom:
    return "Expanded from ";
  case LocKind::Plain:
  case LocKind::Encrypted:
    break;
  }
  return "";
}

std::string formatEntry(const LocEntry &entry) {
  char text[64];
  if (entry.kind == LocKind::Encrypted) {
    std::snprintf(text, sizeof text, "(%d bytes into encrypted block)", entry.column);
    return text;
  }
  std::snprintf(text, sizeof text, ":%d:%d", entry.line, entry.column);
  return locKindPrefix(entry.kind) + entry.file + text;
}

// ---------------------------------------------------------------------------
// Locator

Locator::~Locator() = default;

void Locator::serialize(LocSerializer &) {
  LOCATION_CHECK(0 && "No locator serializer implementation.", __LINE__, kSerializeFunction);
  static_assert(signs_function(kSerializeFunction, __func__));
}

// ---------------------------------------------------------------------------
// ConstLocator

void ConstLocator::trace(uint64_t offset, std::vector<LocEntry> &out) const {
  out.emplace_back();
  location(offset, out.back());
}

void ConstLocator::location(uint64_t, LocEntry &out) const {
  out = LocEntry{LocKind::DefinedAt, m_Text, 0, 0};
}

LocatorRef ConstLocator::parent() const { return nullptr; }

void ConstLocator::serialize(LocSerializer &ser) {
  writeTag(ser, LocatorTag::ConstLocator);
  ser.writeString(m_Text);
}

void ConstLocator::deserialize(LocDeserializer &des) { m_Text = des.readString(); }

// ---------------------------------------------------------------------------
// FileLocator

FileLocator::FileLocator() = default;

FileLocator::FileLocator(CountedRef<FileMapper> file, LocatorRef includer, uint64_t includeOffset)
    : m_File(std::move(file)), m_Includer(std::move(includer)), m_IncludeOffset(includeOffset) {}

FileLocator::~FileLocator() = default;

void FileLocator::trace(uint64_t offset, std::vector<LocEntry> &out) const {
  out.emplace_back();
  location(offset, out.back());
  if (const Step step; m_Includer && step) {
    const size_t before = out.size();
    m_Includer->trace(m_IncludeOffset, out);
    markOutward(out, before, LocKind::IncludedFrom);
  }
}

void FileLocator::location(uint64_t offset, LocEntry &out) const {
  out = m_File ? m_File->toPosition(offset) : LocEntry{};
}

std::string FileLocator::name() const { return m_File ? m_File->path() : std::string(); }

void FileLocator::serialize(LocSerializer &ser) {
  writeTag(ser, LocatorTag::FileLocator);
  if (m_File) {
    m_File->writeRecord(ser);
  } else {
    FileMapper none;
    none.writeRecord(ser);
  }
  ser.writeLocator(m_Includer);
  ser.writeU64(m_IncludeOffset);
}

void FileLocator::deserialize(LocDeserializer &des) {
  m_File = FileMapper::readRecord(des);
  m_Includer = des.readLocator();
  m_IncludeOffset = des.readU64();
}

// ---------------------------------------------------------------------------
// RemapLocator

void RemapLocator::remap(LocEntry &entry) const {
  entry.file = m_FileName;
  entry.line = static_cast<int32_t>(static_cast<uint32_t>(entry.line) + m_LineDelta);
}

void RemapLocator::trace(uint64_t offset, std::vector<LocEntry> &out) const {
  const Step step;
  if (!m_Target || !step)
    return;
  const size_t before = out.size();
  m_Target->trace(offset, out);
  if (out.size() > before)
    remap(out[before]);
}

void RemapLocator::location(uint64_t offset, LocEntry &out) const {
  const Step step;
  if (!m_Target || !step) {
    out = LocEntry{};
    return;
  }
  m_Target->location(offset, out);
  remap(out);
}

bool RemapLocator::isProtected(uint64_t) const {
  const Step step;
  return m_Parent && step && m_Parent->isProtected(m_Offset);
}

void RemapLocator::serialize(LocSerializer &ser) {
  writeTag(ser, LocatorTag::RemapLocator);
  ser.writeLocator(m_Parent);
  ser.writeLocator(m_Target);
  ser.writeU64(m_LineDelta);
  ser.writeString(m_FileName);
  ser.writeU64(m_Offset);
}

void RemapLocator::deserialize(LocDeserializer &des) {
  m_Parent = des.readLocator();
  m_Target = des.readLocator();
  m_LineDelta = static_cast<uint32_t>(des.readU64());
  m_FileName = des.readString();
  m_Offset = des.readU64();
}

// ---------------------------------------------------------------------------
// MacroLocator

void MacroLocator::trace(uint64_t, std::vector<LocEntry> &out) const {
  // Only the first line of the definition's chain is shown, and location()
  // is that line.  Taking it from a whole trace of the definition would
  // cost twice per level in a chain of macros whose definitions and uses
  // share locators, which a hostile stream can make 2^depth.
  if (m_Definition) {
    out.emplace_back();
    location(0, out.back());
  }
  if (const Step step; m_Expansion && step) {
    const size_t before = out.size();
    m_Expansion->trace(m_ExpansionOffset, out);
    markOutward(out, before, LocKind::ExpandedFrom);
  }
}

void MacroLocator::location(uint64_t, LocEntry &out) const {
  if (const Step step; m_Definition && step)
    m_Definition->location(m_DefinitionOffset, out);
  else
    out = LocEntry{};
  out.kind = LocKind::DefinedAt;
}

bool MacroLocator::isProtected(uint64_t) const {
  const Step step;
  return m_Expansion && step && m_Expansion->isProtected(m_ExpansionOffset);
}

void MacroLocator::serialize(LocSerializer &ser) {
  writeTag(ser, LocatorTag::MacroLocator);
  ser.writeString(m_MacroName);
  ser.writeLocator(m_Definition);
  ser.writeU64(m_DefinitionOffset);
  ser.writeLocator(m_Expansion);
  ser.writeU64(m_ExpansionOffset);
}

void MacroLocator::deserialize(LocDeserializer &des) {
  m_MacroName = des.readString();
  m_Definition = des.readLocator();
  m_DefinitionOffset = des.readU64();
  m_Expansion = des.readLocator();
  m_ExpansionOffset = des.readU64();
}

// ---------------------------------------------------------------------------
// ProtectedLocator

void ProtectedLocator::trace(uint64_t offset, std::vector<LocEntry> &out) const {
  out.emplace_back();
  location(offset, out.back());
  if (const Step step; m_Parent && step) {
    const size_t before = out.size();
    m_Parent->trace(m_BlockOffset, out);
    markOutward(out, before, LocKind::IncludedFrom);
  }
}

void ProtectedLocator::location(uint64_t offset, LocEntry &out) const {
  out = LocEntry{LocKind::Encrypted, "", 0, static_cast<int32_t>(static_cast<uint32_t>(offset))};
}

bool ProtectedLocator::sameRegion(const LocatorRef &other) const {
  return other && other->parent().get() == m_Parent.get();
}

void ProtectedLocator::serialize(LocSerializer &ser) {
  writeTag(ser, LocatorTag::ProtectedLocator);
  ser.writeLocator(m_Parent);
  ser.writeU64(m_BlockOffset);
}

void ProtectedLocator::deserialize(LocDeserializer &des) {
  m_Parent = des.readLocator();
  m_BlockOffset = des.readU64();
}

// ---------------------------------------------------------------------------
// TopLocator

TopLocator::TopLocator() = default;

TopLocator::~TopLocator() = default;

TopLocator &TopLocator::global() {
  CountedRef<TopLocator> &holder = globalHolder();
  if (!holder)
    holder = new TopLocator;
  return *holder;
}

void TopLocator::releaseGlobal() { globalHolder().reset(); }

const TopLocator::Entry *TopLocator::lookup(uint64_t offset, uint64_t &translated) const {
  auto it = std::lower_bound(m_Entries.begin(), m_Entries.end(), offset, startsBefore);
  if (it == m_Entries.end() || it->start != offset) {
    // The last entry starting below the offset; there is none below the
    // first start.
    if (it == m_Entries.begin())
      return nullptr;
    --it;
  }
  if (!it->locator)
    return nullptr;
  translated = offset - it->start + it->base;
  return &*it;
}

void TopLocator::trace(uint64_t offset, std::vector<LocEntry> &out) const {
  uint64_t translated = 0;
  const Step step;
  if (const Entry *entry = step ? lookup(offset, translated) : nullptr)
    entry->locator->trace(translated, out);
}

void TopLocator::location(uint64_t offset, LocEntry &out) const {
  uint64_t translated = 0;
  const Step step;
  if (const Entry *entry = step ? lookup(offset, translated) : nullptr)
    entry->locator->location(translated, out);
  else
    out = LocEntry{};
}

LocatorRef TopLocator::parent() const {
  return m_Entries.empty() ? nullptr : m_Entries.back().locator;
}

uint64_t TopLocator::parentOffset() const {
  return m_Entries.empty() ? 0 : m_Entries.back().base;
}

std::string TopLocator::name() const {
  // Only a table that holds a table, itself maybe, names further tables.
  const Step step;
  std::string text;
  for (const Entry &entry : m_Entries) {
    char line[64];
    std::snprintf(line, sizeof line, "%ld => ", static_cast<long>(entry.start));
    text += line;
    if (entry.locator && step)
      text += entry.locator->name();
    std::snprintf(line, sizeof line, ":%ld\n", static_cast<long>(entry.base));
    text += line;
  }
  return text;
}

bool TopLocator::isProtected(uint64_t offset) const {
  uint64_t translated = 0;
  const Step step;
  const Entry *entry = step ? lookup(offset, translated) : nullptr;
  return entry && entry->locator->isProtected(translated);
}

void TopLocator::outerLocation(uint64_t offset, LocEntry &out) const {
  std::vector<LocEntry> chain;
  trace(offset, chain);
  if (chain.empty()) {
    out = LocEntry{};
    return;
  }
  auto outer = std::find_if(chain.begin(), chain.end(), [](const LocEntry &entry) {
    return entry.kind == LocKind::Plain || entry.kind == LocKind::IncludedFrom;
  });
  out = outer == chain.end() ? chain.back() : *outer;
}

uint64_t TopLocator::lineInSegment(uint64_t offset) const {
  uint64_t segment = 0;
  for (size_t i = 0; i + 1 < m_SegmentStarts.size(); ++i) {
    if (m_SegmentStarts[i] <= offset && offset < m_SegmentStarts[i + 1]) {
      segment = m_SegmentStarts[i];
      break;
    }
  }
  std::vector<LocEntry> chain;
  trace(offset, chain);
  const int32_t line = chain.empty() ? 0 : chain.back().line;
  return static_cast<uint64_t>(static_cast<int64_t>(line)) + segment;
}

void TopLocator::addEntry(uint64_t start, LocatorRef locator, uint64_t base) {
  auto at = m_Entries.end();
  if (!m_Entries.empty() && start < m_Entries.back().start)
    at = std::upper_bound(m_Entries.begin(), m_Entries.end(), start, startsAfter);
  m_Entries.insert(at, Entry{start, std::move(locator), base});
}

uint64_t TopLocator::addRange(LocatorRef locator, uint64_t size) {
  const uint64_t start = m_End;
  addEntry(start, std::move(locator), 0);
  m_End = saturatingAdd(m_End, size);
  return start;
}

void TopLocator::addSegment(uint64_t offset) {
  m_End = offset;
  m_SegmentStarts.push_back(offset);
}

const std::string &TopLocator::identity() {
  if (m_Identity.empty()) {
    const auto [low, high] = uniqueStamp();
    char text[96];
    std::snprintf(text, sizeof text, "%ld:%" PRIu64 ":%" PRIu64, static_cast<long>(::getpid()),
                  low, high);
    m_Identity = sha256Hex(text);
  }
  return m_Identity;
}

void TopLocator::writeUnit(LocSerializer &ser, std::vector<Entry>::const_iterator first,
                           std::vector<Entry>::const_iterator last) {
  ser.writeU64(static_cast<uint64_t>(last - first));
  ser.writeString(identity());
  const auto [low, high] = uniqueStamp();
  ser.writePair(low, high);
  ser.writeU64(m_End);
  for (; first != last; ++first) {
    ser.writeU64(first->start);
    ser.writeLocator(first->locator);
    ser.writeU64(first->base);
  }
}

void TopLocator::serialize(LocSerializer &ser) { writeUnit(ser, m_Entries.begin(), m_Entries.end()); }

void TopLocator::serialize(LocSerializer &ser, uint64_t lo, uint64_t hi) {
  auto l_it = std::lower_bound(m_Entries.cbegin(), m_Entries.cend(), lo, startsBefore);
  if ((l_it == m_Entries.cend() || l_it->start != lo) && l_it != m_Entries.cbegin())
    --l_it;
  auto u_it = std::upper_bound(m_Entries.cbegin(), m_Entries.cend(), hi, startsAfter);
  // A reversed range covers nothing either.
  if (u_it < l_it)
    u_it = l_it;
  LOCATION_CHECK(l_it != u_it || m_Entries.empty(), 920, kRangeSerializeFunction);
  static_assert(signs_function(kRangeSerializeFunction, __func__));
  writeUnit(ser, l_it, u_it);
}

void TopLocator::deserialize(LocDeserializer &des) {
  const uint32_t count = static_cast<uint32_t>(des.readU64());
  std::string identity = des.readString();
  const std::pair<uint64_t, uint64_t> stamp = des.readPair();
  const uint64_t size = des.readU64();
  if (des.failed())
    return;

  auto known = std::find_if(m_Units.begin(), m_Units.end(),
                            [&](const Unit &unit) { return unit.identity == identity; });
  const uint64_t base = known != m_Units.end() ? known->base : m_End;

  // The entries are merged only once the whole unit has been read, so
  // that a broken stream leaves the table as it was.  Each entry costs at
  // least three bytes, so the claimed count never sizes anything.
  std::vector<Entry> incoming;
  bool holdsEntries = !m_Entries.empty();
  for (uint32_t i = 0; i < count && !des.failed(); ++i) {
    const uint64_t start = des.readU64();
    LocatorRef locator = des.readLocator();
    const uint64_t entryBase = des.readU64();
    if (des.failed())
      break;
    if (start == 0 && holdsEntries)
      continue;
    holdsEntries = true;
    incoming.push_back(Entry{saturatingAdd(start, base), std::move(locator), entryBase});
  }
  if (des.failed())
    return;

  if (known == m_Units.end()) {
    m_Units.push_back(Unit{base, std::move(identity), stamp});
    m_End = std::max(m_End, saturatingAdd(base, size));
  }
  m_DesOffset = base;
  // Merged as if inserted one by one, each after the entries that start
  // where it does.
  const auto byStart = [](const Entry &a, const Entry &b) { return a.start < b.start; };
  if (!std::is_sorted(incoming.begin(), incoming.end(), byStart))
    std::stable_sort(incoming.begin(), incoming.end(), byStart);
  const size_t old = m_Entries.size();
  m_Entries.insert(m_Entries.end(), std::make_move_iterator(incoming.begin()),
                   std::make_move_iterator(incoming.end()));
  if (old > 0 && old < m_Entries.size() && m_Entries[old].start < m_Entries[old - 1].start)
    std::inplace_merge(m_Entries.begin(), m_Entries.begin() + static_cast<ptrdiff_t>(old),
                       m_Entries.end(), byStart);
}

void TopLocator::dumpTable() const {
  std::printf("des offset = %ld\n", static_cast<long>(m_DesOffset));
  for (const Entry &entry : m_Entries)
    std::printf("%12ld => %s:%ld\n", static_cast<long>(entry.start),
                entry.locator ? entry.locator->name().c_str() : "", static_cast<long>(entry.base));
}

void TopLocator::dumpUnits() const {
  for (const Unit &unit : m_Units)
    std::printf("%16lld %s %d.%d\n", static_cast<long long>(unit.base), unit.identity.c_str(),
                static_cast<int>(unit.stamp.first), static_cast<int>(unit.stamp.second));
}

// ---------------------------------------------------------------------------
// Printing

void printTrace(uint64_t offset) {
  std::vector<LocEntry> chain;
  TopLocator::global().trace(offset, chain);
  for (const LocEntry &entry : chain)
    std::puts(formatEntry(entry).c_str());
}

size_t addLocationRows(ErrorRoster &roster, const Locator &locator, uint64_t offset,
                       ErrorMsgClassBase *messageClass) {
  std::vector<LocEntry> chain;
  locator.trace(offset, chain);
  std::vector<std::string> rows;
  for (const LocEntry &entry : chain) {
    std::string text = formatEntry(entry);
    if (std::find(rows.begin(), rows.end(), text) == rows.end())
      rows.push_back(std::move(text));
  }
  for (const std::string &row : rows)
    roster.AddFormattedLine(static_cast<unsigned>(roster.RowCount()), 0, "%s\n", row.c_str());
  if (messageClass && locator.isProtected(offset))
    messageClass->SetInProtectedCode();
  return rows.size();
}
