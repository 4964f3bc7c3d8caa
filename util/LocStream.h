#ifndef CORVANE_UTIL_LOCSTREAM_H
#define CORVANE_UTIL_LOCSTREAM_H

/// \file
/// The locator stream: locators saved with compiled components and read
/// back by later tools.  LocSerializer and LocDeserializer fix the record
/// order and the numbering of shared locators; concrete subclasses choose
/// the bytes of the primitive values.
///
/// Locators are numbered per stream from 1 (0 is a null reference).  A
/// locator is written at its first use: its number, its tag, then its body,
/// in which the locators it refers to are written the same way; every later
/// use is the bare number.
///
/// Readers never trust the stream.  Unknown numbers, numbers out of
/// sequence and unknown tags give null references.  A locator is numbered
/// before its body is read, so a reference to one whose body is still
/// being read (itself or one it is nested in) gives that same object: a
/// graph read back can have cycles.  Every walk over locators therefore
/// stops kMaxLocatorDepth references deep.  A graph deeper than
/// kMaxLocatorDepth without a cycle, or nested deeper than that in the
/// stream, is refused.  A truncated or malformed stream sets failed() and
/// gives null from then on; counts in the stream are never used to size an
/// allocation.
///
/// A cycle of counted references keeps its locators alive after the last
/// outside reference is gone: a hostile stream can leak memory, at most in
/// proportion to its size.  LocDeserializer::unlinkAll() frees such cycles
/// when everything read is done with.
///
/// The binary encoding (BinaryLocSerializer / BinaryLocDeserializer):
///  - writeU64 and writeCount: unsigned LEB128, 7 bits per byte, least
///    significant group first, high bit set on every byte but the last;
///    at most 10 bytes.
///  - writeString: the byte length as above, then the bytes.
///  - writeStamp: the 8 bytes of the IEEE-754 double, least significant
///    byte first (exact, NaN payloads included).
///  - writePair: low, then high, each as writeU64.
/// There is no header: the stream is the sequence of records.

#include "util/Location.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The class tag written in front of each locator body.
enum class LocatorTag : uint64_t {
  ConstLocator = 1,
  FileLocator = 2,
  RemapLocator = 3,
  MacroLocator = 4,
  ProtectedLocator = 5,
};

/// The deepest locator graph a reader accepts (the longest chain of
/// references from one locator outward), and the deepest a writer writes.
/// Far beyond any include or macro nesting.  It bounds the stack of
/// reading, writing and printing: every walk over locators (trace,
/// location, isProtected, a table's name) follows at most this many
/// references one inside the other and treats the next one as null (a
/// position in a cycle prints as this many lines).  It also bounds the
/// time of a trace, which grows with the square of the depth.
constexpr uint32_t kMaxLocatorDepth = 1024;

/// While set, file records carry no line starts (option
/// -exclude-file-offsets): positions read back are line 1, column offset+1.
void setExcludeFileOffsets(bool exclude);
bool excludeFileOffsets();

/// A process-wide stamp, strictly increasing within the process even when
/// asked faster than the clock: (seconds, sub-second counter) as
/// (low, high).  The first call starts from the wall clock.
std::pair<uint64_t, uint64_t> uniqueStamp();

class LocSerializer {
public:
  virtual void writeString(const std::string &text) = 0;
  virtual void writeU64(uint64_t value) = 0;
  /// The line-table length and its differences.
  virtual void writeCount(uint64_t value) = 0;
  virtual void writeStamp(double stamp) = 0;
  virtual void writePair(uint64_t low, uint64_t high) {
    writeU64(low);
    writeU64(high);
  }
  virtual ~LocSerializer();

  /// Writes \p locator: 0 for null, its number when already written by
  /// this serializer, else a fresh number followed by the locator itself.
  /// Nested kMaxLocatorDepth bodies deep, a locator not yet written is
  /// written as null.
  void writeLocator(const LocatorRef &locator);

private:
  /// The slot of \p locator in m_Numbers, or the free slot where it goes.
  size_t slotOf(const Locator *locator) const;
  /// The number of \p locator, inserting \p fresh when it has none yet.
  uint32_t &numberOf(const Locator *locator, uint32_t fresh, bool &inserted);

  /// The numbers by locator address: an open-addressing table (linear
  /// probing, at most half full), one memory access per locator where a
  /// node-based map would allocate and chase pointers.
  std::vector<std::pair<const Locator *, uint32_t>> m_Numbers;
  size_t m_Numbered = 0;
  uint32_t m_Next = 1;
  uint32_t m_Depth = 0; ///< Bodies being written, one inside the other.
  /// The numbered locators, kept alive so that no address is reused
  /// while this serializer numbers by address.
  std::vector<LocatorRef> m_Written;
};

class LocDeserializer {
public:
  virtual std::string readString() = 0;
  virtual uint64_t readU64() = 0;
  virtual uint64_t readCount() = 0;
  virtual double readStamp() = 0;
  /// Low half first.
  virtual std::pair<uint64_t, uint64_t> readPair() {
    const uint64_t low = readU64();
    const uint64_t high = readU64();
    return {low, high};
  }
  virtual ~LocDeserializer();

  /// Reads a locator reference written by writeLocator(); null for 0 and
  /// for anything the stream does not justify.
  LocatorRef readLocator();

  /// Whether the stream ended early or held a malformed value; once set,
  /// every further read gives zero or empty values.
  bool failed() const { return m_Failed; }
  void markFailed() { m_Failed = true; }

  /// Empties every locator this reader made, also those of a broken
  /// stream (every reference null, every value zero), so that the cycles
  /// among them can be freed.  Only for when nothing read is used any more.
  void unlinkAll();

private:
  struct Slot {
    LocatorRef locator;
    uint32_t depth = 0;
    bool open = true; ///< Its body is still being read.
  };
  std::vector<Slot> m_Slots; ///< Locator number n is m_Slots[n - 1].
  uint32_t m_Next = 1;
  /// For each body being read, innermost last: the greatest depth among
  /// the locators it referred to so far.
  std::vector<uint32_t> m_Open;
  bool m_Failed = false;
};

/// Writes the binary encoding into memory.
class BinaryLocSerializer : public LocSerializer {
public:
  void writeString(const std::string &text) override;
  void writeU64(uint64_t value) override;
  void writeCount(uint64_t value) override;
  void writeStamp(double stamp) override;

  const std::string &bytes() const { return m_Bytes; }
  /// Writes the bytes to \p path through the stream layer (a compressed
  /// name is compressed).  Returns false when it cannot.
  bool writeFile(const std::string &path) const;

private:
  std::string m_Bytes;
};

/// Reads the binary encoding from memory that the caller keeps alive.
class BinaryLocDeserializer : public LocDeserializer {
public:
  BinaryLocDeserializer(const void *data, size_t size)
      : m_Data(static_cast<const unsigned char *>(data)), m_Size(size) {}

  std::string readString() override;
  uint64_t readU64() override;
  uint64_t readCount() override;
  double readStamp() override;

  /// Bytes consumed so far.
  size_t position() const { return m_Position; }
  bool atEnd() const { return m_Position == m_Size; }

  /// Reads the whole of \p path through the stream layer into \p bytes.
  static bool readFile(const std::string &path, std::string &bytes);

private:
  const unsigned char *m_Data;
  size_t m_Size;
  size_t m_Position = 0;
};

#endif
