#include "util/FileMapper.h"

#include "driver/streams.h"
#include "util/LocStream.h"
#include "util/fs.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <filesystem>
#ifdef __x86_64__
#include <immintrin.h>
#endif
#include <map>
#include <memory>
#include <sys/mman.h>

namespace {

/// Tables shorter than this are searched directly; an index would not pay.
constexpr size_t kIndexedLines = 256;

/// Bytes read from the stream per call while loading: small enough that
/// the chunk is still in the cache when it is scanned.
constexpr size_t kReadChunk = size_t(1) << 16;

/// Writes, for each line feed in [\p data, \p data + \p size), \p base
/// plus the offset just behind it to \p out, which has room for \p size + 4
/// values; returns the end of what it wrote.
///
/// Lines of netlists are short, so the line feeds of 64 bytes at a time are
/// taken as a bit mask.  The first four of a mask are stored without asking
/// how many there are (a store past the last is overwritten later): a loop
/// that stops at the last bit would mispredict at nearly every line.
inline uint64_t *emitLineStarts(uint64_t *out, uint64_t mask, uint64_t at) {
  const int count = std::popcount(mask);
  uint64_t rest = mask;
  out[0] = at + unsigned(std::countr_zero(rest));
  rest &= rest - 1;
  out[1] = at + unsigned(std::countr_zero(rest));
  rest &= rest - 1;
  out[2] = at + unsigned(std::countr_zero(rest));
  rest &= rest - 1;
  out[3] = at + unsigned(std::countr_zero(rest));
  rest &= rest - 1;
  if (count > 4)
    for (uint64_t *more = out + 4; rest; rest &= rest - 1)
      *more++ = at + unsigned(std::countr_zero(rest));
  return out + count;
}

#ifdef __x86_64__
__attribute__((target("avx2,bmi,popcnt"))) uint64_t *
scanAvx2(const char *data, size_t &i, size_t size, uint64_t base, uint64_t *out) {
  const __m256i feed = _mm256_set1_epi8('\n');
  for (; i + 64 <= size; i += 64) {
    const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(data + i));
    const __m256i high = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(data + i + 32));
    const uint64_t mask =
        uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, feed))) |
        uint64_t(uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(high, feed)))) << 32;
    out = emitLineStarts(out, mask, base + i + 1);
  }
  return out;
}

uint64_t *scanSse2(const char *data, size_t &i, size_t size, uint64_t base, uint64_t *out) {
  const __m128i feed = _mm_set1_epi8('\n');
  for (; i + 64 <= size; i += 64) {
    uint64_t mask = 0;
    for (int part = 0; part < 4; ++part) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(data + i + 16 * part));
      mask |= uint64_t(uint32_t(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, feed)))) << (16 * part);
    }
    out = emitLineStarts(out, mask, base + i + 1);
  }
  return out;
}
#endif

uint64_t *scanLineStarts(const char *data, size_t size, uint64_t base, uint64_t *out) {
  size_t i = 0;
#ifdef __x86_64__
  static const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                           __builtin_cpu_supports("popcnt");
  out = avx2 ? scanAvx2(data, i, size, base, out) : scanSse2(data, i, size, base, out);
#endif
  for (; i < size; ++i)
    if (data[i] == '\n')
      *out++ = base + i + 1;
  return out;
}

/// Asks for huge pages under the unused capacity of \p table.  A line
/// table of tens of megabytes otherwise costs a page fault per 4 KB as it
/// fills, and a TLB miss at nearly every random look-up.
template <class T> void adviseHugePages(std::vector<T> &table) {
  constexpr uintptr_t kHuge = uintptr_t(2) << 20;
  const uintptr_t from =
      (reinterpret_cast<uintptr_t>(table.data() + table.size()) + kHuge - 1) & ~(kHuge - 1);
  const uintptr_t to = reinterpret_cast<uintptr_t>(table.data() + table.capacity()) & ~(kHuge - 1);
  if (from < to)
    ::madvise(reinterpret_cast<void *>(from), to - from, MADV_HUGEPAGE);
}

/// push_back for tables of unknown final size: doubles the capacity
/// itself so that each new block gets huge pages.
void appendGrowing(std::vector<uint64_t> &table, uint64_t value) {
  if (table.size() == table.capacity()) {
    table.reserve(std::max<size_t>(64, table.capacity() * 2));
    adviseHugePages(table);
  }
  table.push_back(value);
}

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
  m_IndexTried = false;
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
  std::unique_ptr<uint64_t[]> found(new uint64_t[kReadChunk + 4]);
  // Growing the table by doubling would copy it and touch twice its pages,
  // which costs as much as the scan itself on a large file.  A plain file's
  // size is known: after the first chunk the table is sized for the line
  // length seen so far, with a margin.
  std::error_code error;
  const uint64_t size =
      is_compressed_name(m_Path.c_str()) ? 0 : std::filesystem::file_size(m_Path, error);
  uint64_t consumed = 0;
  for (;;) {
    const size_t got = std::fread(chunk.get(), 1, kReadChunk, stream);
    m_LineStarts.insert(m_LineStarts.end(), found.get(),
                        scanLineStarts(chunk.get(), got, consumed, found.get()));
    if (consumed == 0 && got == kReadChunk && !error && size > 4 * kReadChunk) {
      const double perByte = double(m_LineStarts.size()) / double(got);
      m_LineStarts.reserve(size_t(std::min(double(size), perByte * double(size) * 1.05)) + 1024);
      adviseHugePages(m_LineStarts);
    }
    consumed += got;
    if (got < kReadChunk)
      break;
  }
  close_stream(stream);
}

void FileMapper::buildIndex() {
  const size_t lines = m_LineStarts.size();
  if (lines < kIndexedLines || lines > UINT32_MAX || m_LineStarts.back() >= uint64_t(1) << 62)
    return;
  const uint64_t last = m_LineStarts.back();
  // Buckets of half a line or less on average, so that few of them hold
  // two line starts or more.
  unsigned shift = 0;
  while ((last >> shift) >= 2 * lines)
    ++shift;
  // One bucket per 2^shift bytes up to the last line start, and one more
  // that closes the last bucket's range.
  const uint64_t buckets = (last >> shift) + 2;
  std::vector<Bucket> index;
  index.reserve(buckets);
  adviseHugePages(index);
  uint32_t line = 0;
  for (uint64_t b = 0; b < buckets; ++b) {
    const uint64_t first = b << shift;
    while (line + 1 < lines && m_LineStarts[line + 1] <= first)
      ++line;
    const uint64_t back = first - m_LineStarts[line];
    if (back > UINT32_MAX)
      return; // a line of 4 GB: the plain search will do
    index.push_back(Bucket{line, static_cast<uint32_t>(back)});
  }
  m_Buckets = std::move(index);
  m_BucketShift = shift;
}

inline std::pair<size_t, uint64_t> FileMapper::lineOf(uint64_t offset) const {
  // The line that holds an offset is the last one starting at or before it.
  const uint64_t *const starts = m_LineStarts.data();
  const size_t lines = m_LineStarts.size();
  size_t low = 0;
  size_t high = lines - 1;
  if (!m_Buckets.empty()) {
    if (offset >= starts[lines - 1])
      return {lines - 1, starts[lines - 1]};
    // The answer lies between the lines that hold the first bytes of this
    // bucket and of the next one.  A bucket is at most half a line long on
    // average, so that is mostly one of those two, whose starts the
    // buckets carry: one
    // memory read and no jump to mispredict, so that random look-ups
    // overlap in the processor instead of each waiting for its own reads.
    const uint64_t bucket = offset >> m_BucketShift;
    const Bucket here = m_Buckets[bucket];
    const Bucket next = m_Buckets[bucket + 1];
    if (next.line - here.line <= 1) {
      const uint64_t nextStart = ((bucket + 1) << m_BucketShift) - next.back;
      const uint64_t hereStart = (bucket << m_BucketShift) - here.back;
      // Selected by mask rather than by a jump that would mispredict.
      const uint64_t inNext = uint64_t(0) - uint64_t(nextStart <= offset);
      return {here.line ^ ((here.line ^ next.line) & inNext),
              hereStart ^ ((hereStart ^ nextStart) & inNext)};
    }
    low = here.line;
    high = next.line;
  }
  const size_t line = size_t(std::upper_bound(starts + low, starts + high + 1, offset) - starts) - 1;
  return {line, starts[line]};
}

LocEntry FileMapper::toPosition(uint64_t offset) {
  if (m_LineStarts.empty() && m_LoadState == kNotLoaded)
    load();
  if (m_LineStarts.empty())
    return LocEntry{LocKind::Plain, m_Path, 0, 0};
  if (m_Buckets.empty() && !m_IndexTried && m_LineStarts.size() >= kIndexedLines) {
    m_IndexTried = true;
    buildIndex();
  }
  const auto [line, start] = lineOf(offset);
  return LocEntry{LocKind::Plain, m_Path, static_cast<int32_t>(static_cast<uint32_t>(line + 1)),
                  static_cast<int32_t>(static_cast<uint32_t>(offset + 1 - start))};
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
    appendGrowing(starts, sum);
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
