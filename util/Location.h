#ifndef CORVANE_UTIL_LOCATION_H
#define CORVANE_UTIL_LOCATION_H

/// \file
/// Source positions.  A position is a counted reference to a locator plus an
/// unsigned 64-bit offset.  All locators share one global offset space owned
/// by the process-wide TopLocator, which maps ranges of it onto the locators
/// of single files; a locator turns an offset into a printable chain (a
/// trace): the position itself, then each site through which that text
/// arrived (include directive, macro use, protected block), outermost last.
///
/// Locators are immutable once built, except TopLocator, which grows.  They
/// are only ever held through counted references.  A graph read from a
/// locator stream can hold cycles, so every walk over the references stops
/// kMaxLocatorDepth references deep (util/LocStream.h).

#include "util/Counted.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class ErrorMsgClassBase;
class ErrorRoster;
class FileMapper;
class LocDeserializer;
class LocSerializer;

/// A counted reference: copying takes a use, destruction gives it back,
/// null is allowed.  T derives from Counted.
template <class T> class CountedRef {
public:
  CountedRef() = default;
  CountedRef(std::nullptr_t) {}
  /// Takes a use of \p object (a fresh object starts with none).
  CountedRef(T *object) : m_Object(object) { take(); }
  CountedRef(const CountedRef &other) : m_Object(other.m_Object) { take(); }
  CountedRef(CountedRef &&other) noexcept : m_Object(std::exchange(other.m_Object, nullptr)) {}
  template <class U> CountedRef(const CountedRef<U> &other) : m_Object(other.get()) { take(); }
  ~CountedRef() { drop(); }

  CountedRef &operator=(CountedRef other) noexcept {
    std::swap(m_Object, other.m_Object);
    return *this;
  }

  T *get() const { return m_Object; }
  T *operator->() const { return m_Object; }
  T &operator*() const { return *m_Object; }
  explicit operator bool() const { return m_Object != nullptr; }
  /// Gives the use back now.
  void reset() { CountedRef().swap(*this); }
  void swap(CountedRef &other) noexcept { std::swap(m_Object, other.m_Object); }

  friend bool operator==(const CountedRef &a, const CountedRef &b) { return a.m_Object == b.m_Object; }

private:
  void take() const {
    if (m_Object)
      m_Object->AddRef();
  }
  void drop() const {
    if (m_Object)
      m_Object->Release();
  }

  T *m_Object = nullptr;
};

class Locator;
using LocatorRef = CountedRef<Locator>;

/// What a printed line of a trace says about its position.
enum class LocKind : int32_t {
  Plain = 0,        ///< The position asked for: no prefix.
  IncludedFrom = 1, ///< "Included from "
  DefinedAt = 2,    ///< "Defined at "
  ExpandedFrom = 3, ///< "Expanded from "
  Encrypted = 4,    ///< Inside a protected block: its own format.
};

/// The prefix printed before the position of \p kind ("" for Plain and
/// Encrypted, else the words and one blank).
const char *locKindPrefix(LocKind kind);

/// One line of a trace.
struct LocEntry {
  LocKind kind = LocKind::Plain;
  std::string file; ///< File name, or the label of a constant locator.
  int32_t line = 0;   ///< 1-based; 0 when unknown.
  int32_t column = 0; ///< 1-based; 0 when unknown.  Encrypted: bytes into the block.
};

/// "(%d bytes into encrypted block)" for Encrypted, otherwise the prefix,
/// then "file:line:column".  No line feed.
std::string formatEntry(const LocEntry &entry);

/// The base of every locator.  Offsets passed in are in the locator's own
/// space.
class Locator : public Counted {
public:
  ~Locator() override;

  /// Appends the chain for \p offset: its own position first, then each
  /// step outward.
  virtual void trace(uint64_t offset, std::vector<LocEntry> &out) const = 0;
  /// Fills \p out with the position of \p offset alone, without the chain.
  virtual void location(uint64_t offset, LocEntry &out) const = 0;
  /// The locator one step outward, or null.
  virtual LocatorRef parent() const = 0;
  /// Where, in parent()'s space, this locator's text sits.
  virtual uint64_t parentOffset() const = 0;
  virtual std::string name() const = 0;
  /// Whether \p offset lies inside a protected (encrypted) block.
  virtual bool isProtected(uint64_t offset) const = 0;
  virtual bool sameRegion(const LocatorRef &other) const = 0;
  /// Writes the class tag and the body.  Every class that can be saved
  /// overrides it; this one stops the process.
  virtual void serialize(LocSerializer &ser);
  /// Reads the body that follows the tag.
  virtual void deserialize(LocDeserializer &des) = 0;
};

/// A fixed label with no file behind it.  Prints as "Defined at <text>:0:0".
class ConstLocator : public Locator {
public:
  ConstLocator() = default;
  explicit ConstLocator(std::string text) : m_Text(std::move(text)) {}

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  LocatorRef parent() const override;
  uint64_t parentOffset() const override { return 0; }
  std::string name() const override { return m_Text; }
  bool isProtected(uint64_t) const override { return false; }
  bool sameRegion(const LocatorRef &) const override { return false; }
  void serialize(LocSerializer &ser) override;
  void deserialize(LocDeserializer &des) override;

  const std::string &text() const { return m_Text; }

private:
  std::string m_Text;
};

/// The text of one opened file; \p includer is null for a top-level file.
class FileLocator : public Locator {
public:
  FileLocator();
  FileLocator(CountedRef<FileMapper> file, LocatorRef includer = nullptr, uint64_t includeOffset = 0);
  ~FileLocator() override;

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  LocatorRef parent() const override { return m_Includer; }
  uint64_t parentOffset() const override { return m_IncludeOffset; }
  std::string name() const override;
  bool isProtected(uint64_t) const override { return false; }
  bool sameRegion(const LocatorRef &) const override { return false; }
  void serialize(LocSerializer &ser) override;
  void deserialize(LocDeserializer &des) override;

  const CountedRef<FileMapper> &file() const { return m_File; }

private:
  CountedRef<FileMapper> m_File;
  LocatorRef m_Includer;
  uint64_t m_IncludeOffset = 0;
};

/// A line-control directive: positions come from \p target, shown under
/// \p fileName with \p lineDelta added to the line; the column stays.
class RemapLocator : public Locator {
public:
  RemapLocator() = default;
  RemapLocator(LocatorRef parent, LocatorRef target, uint32_t lineDelta, std::string fileName,
               uint64_t offset)
      : m_Parent(std::move(parent)), m_Target(std::move(target)), m_LineDelta(lineDelta),
        m_FileName(std::move(fileName)), m_Offset(offset) {}

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  LocatorRef parent() const override { return m_Parent; }
  uint64_t parentOffset() const override { return m_Offset; }
  std::string name() const override { return m_FileName; }
  bool isProtected(uint64_t offset) const override;
  bool sameRegion(const LocatorRef &) const override { return false; }
  void serialize(LocSerializer &ser) override;
  void deserialize(LocDeserializer &des) override;

private:
  void remap(LocEntry &entry) const;

  LocatorRef m_Parent;
  LocatorRef m_Target;
  uint32_t m_LineDelta = 0;
  std::string m_FileName;
  uint64_t m_Offset = 0;
};

/// One macro expansion.  Every offset in it prints the start of the
/// definition ("Defined at "), then the use site ("Expanded from ") and the
/// use site's own chain.
class MacroLocator : public Locator {
public:
  MacroLocator() = default;
  MacroLocator(std::string macroName, LocatorRef definition, uint64_t definitionOffset,
               LocatorRef expansion, uint64_t expansionOffset)
      : m_MacroName(std::move(macroName)), m_Definition(std::move(definition)),
        m_DefinitionOffset(definitionOffset), m_Expansion(std::move(expansion)),
        m_ExpansionOffset(expansionOffset) {}

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  LocatorRef parent() const override { return m_Expansion; }
  uint64_t parentOffset() const override { return m_ExpansionOffset; }
  std::string name() const override { return m_MacroName; }
  bool isProtected(uint64_t offset) const override;
  bool sameRegion(const LocatorRef &) const override { return false; }
  void serialize(LocSerializer &ser) override;
  void deserialize(LocDeserializer &des) override;

private:
  std::string m_MacroName;
  LocatorRef m_Definition;
  uint64_t m_DefinitionOffset = 0;
  LocatorRef m_Expansion;
  uint64_t m_ExpansionOffset = 0;
};

/// A protected block of \p parent starting at \p blockOffset.  Its text is
/// never shown: a position in it is told as a byte count into the block.
class ProtectedLocator : public Locator {
public:
  ProtectedLocator() = default;
  ProtectedLocator(LocatorRef parent, uint64_t blockOffset)
      : m_Parent(std::move(parent)), m_BlockOffset(blockOffset) {}

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  LocatorRef parent() const override { return m_Parent; }
  uint64_t parentOffset() const override { return m_BlockOffset; }
  std::string name() const override { return "(protected)"; }
  bool isProtected(uint64_t) const override { return true; }
  /// True when \p other's parent is the same object as this one's.
  bool sameRegion(const LocatorRef &other) const override;
  void serialize(LocSerializer &ser) override;
  void deserialize(LocDeserializer &des) override;

private:
  LocatorRef m_Parent;
  uint64_t m_BlockOffset = 0;
};

/// The global offset space: a table of entries sorted by start, each
/// mapping [start, next start) onto a locator, offset start being the
/// locator's own offset base.  It also holds the units read from locator
/// streams, each placed in a range of its own.
class TopLocator : public Locator {
public:
  struct Entry {
    uint64_t start = 0;
    LocatorRef locator;
    uint64_t base = 0;
  };
  /// A unit read from a stream: where it was placed, and what identifies it.
  struct Unit {
    uint64_t base = 0;
    std::string identity;
    std::pair<uint64_t, uint64_t> stamp; ///< (low, high) halves.
  };

  TopLocator();
  ~TopLocator() override;

  /// The process-wide instance, made on first request.
  static TopLocator &global();
  /// Destroys the process-wide instance (once its last other user lets go);
  /// the next global() makes a fresh one.
  static void releaseGlobal();

  void trace(uint64_t offset, std::vector<LocEntry> &out) const override;
  void location(uint64_t offset, LocEntry &out) const override;
  /// The locator of the last entry, or null.
  LocatorRef parent() const override;
  /// The base of the last entry, or 0.
  uint64_t parentOffset() const override;
  /// One "start => name:base" line per entry.
  std::string name() const override;
  bool isProtected(uint64_t offset) const override;
  bool sameRegion(const LocatorRef &) const override { return false; }
  /// Writes the whole table as one unit.
  void serialize(LocSerializer &ser) override;
  /// Reads one unit and merges it into the table.  On a broken stream
  /// (des.failed() afterwards) nothing is merged.
  void deserialize(LocDeserializer &des) override;
  /// The first Plain or IncludedFrom entry of the trace, else its last.
  virtual void outerLocation(uint64_t offset, LocEntry &out) const;
  /// Writes the entries that cover [\p lo, \p hi] as one unit: from the
  /// entry that covers \p lo to the last entry starting at or below \p hi.
  /// A range that covers no entry of a non-empty table stops the process.
  virtual void serialize(LocSerializer &ser, uint64_t lo, uint64_t hi);

  /// Inserts an entry at its sorted place (after entries with the same
  /// start).  Does not move end().
  void addEntry(uint64_t start, LocatorRef locator, uint64_t base = 0);
  /// Registers \p locator for the next \p size offsets of the space, from
  /// its own offset 0; returns the first of them.
  uint64_t addRange(LocatorRef locator, uint64_t size);
  /// Starts a segment at \p offset: end() moves there and the start is
  /// recorded for lineInSegment().
  void addSegment(uint64_t offset);
  /// Keeps \p locator alive as long as this table.
  void keep(LocatorRef locator) { m_Kept.push_back(std::move(locator)); }

  /// The outermost line of the trace of \p offset plus the start of the
  /// segment that holds it (0 outside every segment but the last).
  uint64_t lineInSegment(uint64_t offset) const;

  /// The identity text of this locator set, made on first need: a SHA-256
  /// digest over the process id and a unique stamp.
  const std::string &identity();

  const std::vector<Entry> &entries() const { return m_Entries; }
  const std::vector<Unit> &units() const { return m_Units; }
  uint64_t end() const { return m_End; }
  uint64_t desOffset() const { return m_DesOffset; }
  const std::vector<uint64_t> &segmentStarts() const { return m_SegmentStarts; }

  /// Prints "des offset = ..." and one "%12ld => name:base" line per entry
  /// to standard output.
  void dumpTable() const;
  /// Prints each loaded unit as "base identity low.high" to standard output.
  void dumpUnits() const;

private:
  /// The entry that covers \p offset and the offset translated into its
  /// locator's space; null when none does.
  const Entry *lookup(uint64_t offset, uint64_t &translated) const;
  void writeUnit(LocSerializer &ser, std::vector<Entry>::const_iterator first,
                 std::vector<Entry>::const_iterator last);

  std::vector<Entry> m_Entries;
  std::vector<Unit> m_Units;
  std::string m_Identity;
  uint64_t m_End = 0;
  uint64_t m_DesOffset = 0;
  std::vector<LocatorRef> m_Kept;
  std::vector<uint64_t> m_SegmentStarts;
};

/// Prints the trace of \p offset in the global TopLocator to standard
/// output, one formatEntry() line each.
void printTrace(uint64_t offset);

/// Adds the trace of \p offset in \p locator to the current block of
/// \p roster, one row per distinct line ("%s\n"), and, when the position is
/// in protected code, flags \p messageClass (if any) so that its summary
/// says "(occurs in encrypted code)".  Returns the number of rows added.
size_t addLocationRows(ErrorRoster &roster, const Locator &locator, uint64_t offset,
                       ErrorMsgClassBase *messageClass = nullptr);

#endif
