#ifndef CORVANE_UTIL_FILEMAPPER_H
#define CORVANE_UTIL_FILEMAPPER_H

/// \file
/// The line table of one source file: the offset at which each line
/// begins, read on first need, and the conversion of a byte offset into a
/// 1-based line and column.  Mappers are shared through one process-wide
/// table keyed by (path, time stamp), so every locator of a file (a file
/// included several times, a file named again by a stream) asks the same
/// mapper, and a file that changed between two compilations has two.

#include "util/Location.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class LocDeserializer;
class LocSerializer;

class FileMapper : public Counted {
public:
  /// loadState values.
  static constexpr uint8_t kNotLoaded = 0xFF;
  static constexpr uint8_t kNotRegularFile = 0;
  static constexpr uint8_t kRegularFile = 1;

  /// An unloaded mapper with an empty path and stamp 0.
  FileMapper();
  FileMapper(std::string path, double stamp);
  ~FileMapper() override;

  /// Reads the line table from the file, through the stream layer so that
  /// compressed sources work.  A path that is not a regular file leaves
  /// loadState 0; a file that cannot be opened leaves the table empty.
  virtual void load();

  /// Line and column of \p offset, with the mapper's path; line 0 and
  /// column 0 when there is no table.  Loads on the first call only.  An
  /// offset beyond the last line start counts in the last line.
  LocEntry toPosition(uint64_t offset);

  const std::string &path() const { return m_Path; }
  uint8_t loadState() const { return m_LoadState; }
  double stamp() const { return m_Stamp; }
  /// Ascending; entry i is the offset of the first byte of line i + 1.
  const std::vector<uint64_t> &lineStarts() const { return m_LineStarts; }

  /// Writes the file record: path, stamp, the number of line starts and
  /// their differences (none at all while file offsets are excluded).
  /// Loads the table first when it was never asked for.
  void writeRecord(LocSerializer &ser);
  /// Reads a file record and gives the mapper of the table for it: a
  /// mapper already registered under the same path and stamp wins over
  /// the one read.  A broken record (des.failed() afterwards) gives an
  /// unregistered mapper with what could be read.
  static CountedRef<FileMapper> readRecord(LocDeserializer &des);

  /// The registered mapper of \p path at its current modification time,
  /// made and registered when new.
  static CountedRef<FileMapper> forPath(const std::string &path);
  /// Registers \p mapper under its path and stamp unless that key is
  /// taken; returns whether it did.
  static bool registerMapper(const CountedRef<FileMapper> &mapper);
  /// The mapper registered under (\p path, \p stamp), or null.
  static CountedRef<FileMapper> find(const std::string &path, double stamp);
  /// Forgets every registered mapper (those still referenced live on).
  static void clearTable();

private:
  /// A coarse index over the line table: bucket b describes the line that
  /// holds offset b << m_BucketShift, by its index and by how far before
  /// that offset it starts.  There are two to four buckets per line, so
  /// a look-up mostly reads two neighbouring buckets and nothing else,
  /// instead of a binary search through a table larger than the caches.
  struct Bucket {
    uint32_t line;
    uint32_t back;
  };

  void buildIndex();
  /// The index and start of the line that holds \p offset.
  std::pair<size_t, uint64_t> lineOf(uint64_t offset) const;

  std::string m_Path;
  uint8_t m_LoadState = kNotLoaded;
  double m_Stamp = 0;
  std::vector<uint64_t> m_LineStarts;

  std::vector<Bucket> m_Buckets;
  unsigned m_BucketShift = 0;
  bool m_IndexTried = false;
};

#endif
