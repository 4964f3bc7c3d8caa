#include "util/FileMapper.h"

#include "driver/streams.h"
#include "util/LocStream.h"
#include "util/fs.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

namespace {

/// Tables shorter than this are searched directly; an index would not pay.
constexpr size_t kIndexedLines = 256;

/// Bytes read from the stream per call while loading.
constexpr size_t kReadChunk = size_t(1) << 20;

/// Stamps are keyed by their bit pattern: any double a stream carries (NaN
/// included) then orders strictly, and equal keys are exactly equal stamps.
using TableKey = std::pair<std::string, uint64_t>;
using Table = std::map<TableKey, CountedRef<FileMapper>>;

Table &table() {
  static Table &mappers = *new Table;
  return mappers;
}

TableKey keyOf(const std::string &path, double stamp) {
  return {path, std::bit_cast<uint64_t>(stamp)};
}

} // namespace

FileMapper::FileMapper() = default;

FileMapper::FileMapper(std::string path, double stamp) : m_Path(std::move(path)), m_Stamp(stamp) {}

FileMapper::~FileMapper() = default;

void FileMapper::load() {
  m_LineStarts.clear();
  m_Buckets.clear();
  if (!isRegularFile(m_Path)) {
    m_LoadState = kNotRegularFile;
    return;
  }
  m_LoadState = kRegularFile;
  std::FILE *stream = open_stream(m_Path.c_str(), "r");
  if (!stream)
    return;
  m_LineStarts.push_back(0);
  std::unique_ptr<char[]> chunk(new char[kReadChunk]);
  uint64_t consumed = 0;
  for (;;) {
    const size_t got = std::fread(chunk.get(), 1, kReadChunk, stream);
    const char *at = chunk.get();
    const char *const stop = at + got;
    while (const char *newline = static_cast<const char *>(std::memchr(at, '\n', stop - at))) {
      m_LineStarts.push_back(consumed + static_cast<uint64_t>(newline + 1 - chunk.get()));
      at = newline + 1;
    }
    consumed += got;
    if (got < kReadChunk)
      break;
  }
  close_stream(stream);
}

void FileMapper::buildIndex() {
  const size_t lines = m_LineStarts.size();
  if (lines < kIndexedLines || lines > UINT32_MAX)
    return;
  const uint64_t last = m_LineStarts.back();
  unsigned shift = 0;
  while ((last >> shift) >= lines)
    ++shift;
  const uint64_t buckets = (last >> shift) + 1;
  m_Buckets.resize(buckets);
  uint32_t line = 0;
  for (uint64_t b = 0; b < buckets; ++b) {
    const uint64_t first = b << shift;
    while (line + 1 < lines && m_LineStarts[line + 1] <= first)
      ++line;
    m_Buckets[b] = line;
  }
  m_BucketShift = shift;
}

size_t FileMapper::lineIndexOf(uint64_t offset) const {
  // The line that holds an offset is the last one starting at or before it.
  const uint64_t *const starts = m_LineStarts.data();
  const size_t lines = m_LineStarts.size();
  size_t low = 0;
  size_t high = lines; // one past the last candidate
  if (!m_Buckets.empty()) {
    if (offset >= starts[lines - 1])
      return lines - 1;
    const uint64_t bucket = offset >> m_BucketShift;
    low = m_Buckets[bucket];
    high = bucket + 1 < m_Buckets.size() ? size_t(m_Buckets[bucket + 1]) + 1 : lines;
  }
  return size_t(std::upper_bound(starts + low, starts + high, offset) - starts) - 1;
}

LocEntry FileMapper::toPosition(uint64_t offset) {
  LocEntry entry;
  entry.file = m_Path;
  if (m_LineStarts.empty()) {
    if (m_LoadState != kNotLoaded)
      return entry;
    load();
    if (m_LineStarts.empty())
      return entry;
  }
  if (m_Buckets.empty() && m_LineStarts.size() >= kIndexedLines)
    buildIndex();
  const size_t line = lineIndexOf(offset);
  entry.line = static_cast<int32_t>(static_cast<uint32_t>(line + 1));
  entry.column = static_cast<int32_t>(static_cast<uint32_t>(offset + 1 - m_LineStarts[line]));
  return entry;
}

void FileMapper::writeRecord(LocSerializer &ser) {
  ser.writeString(m_Path);
  ser.writeStamp(m_Stamp);
  if (excludeFileOffsets()) {
    ser.writeCount(0);
    return;
  }
  if (m_LineStarts.empty() && m_LoadState == kNotLoaded)
    load();
  ser.writeCount(m_LineStarts.size());
  for (size_t i = 1; i < m_LineStarts.size(); ++i)
    ser.writeCount(m_LineStarts[i] - m_LineStarts[i - 1]);
}

CountedRef<FileMapper> FileMapper::readRecord(LocDeserializer &des) {
  CountedRef<FileMapper> mapper = new FileMapper;
  mapper->m_Path = des.readString();
  mapper->m_LoadState = isRegularFile(mapper->m_Path) ? kRegularFile : kNotRegularFile;
  mapper->m_Stamp = des.readStamp();
  const uint64_t count = des.readCount();
  std::vector<uint64_t> &starts = mapper->m_LineStarts;
  starts.push_back(0);
  // The claimed count is never trusted for an allocation: each difference
  // costs at least one byte of input, so a short stream ends the loop.  A
  // table that does not strictly increase cannot come from a file.
  uint64_t sum = 0;
  for (uint64_t i = 1; i < count && !des.failed(); ++i) {
    const uint64_t difference = des.readCount();
    if (des.failed())
      break;
    if (difference == 0 || sum + difference < sum) {
      des.markFailed();
      break;
    }
    sum += difference;
    starts.push_back(sum);
  }
  if (des.failed())
    return mapper;
  if (CountedRef<FileMapper> known = find(mapper->m_Path, mapper->m_Stamp))
    return known;
  registerMapper(mapper);
  return mapper;
}

CountedRef<FileMapper> FileMapper::forPath(const std::string &path) {
  const double stamp = modificationTime(path);
  if (CountedRef<FileMapper> known = find(path, stamp))
    return known;
  CountedRef<FileMapper> mapper = new FileMapper(path, stamp);
  registerMapper(mapper);
  return mapper;
}

bool FileMapper::registerMapper(const CountedRef<FileMapper> &mapper) {
  if (!mapper)
    return false;
  return table().try_emplace(keyOf(mapper->m_Path, mapper->m_Stamp), mapper).second;
}

CountedRef<FileMapper> FileMapper::find(const std::string &path, double stamp) {
  auto it = table().find(keyOf(path, stamp));
  return it == table().end() ? nullptr : it->second;
}

void FileMapper::clearTable() { table().clear(); }
