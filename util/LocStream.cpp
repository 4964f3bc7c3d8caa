#include "util/LocStream.h"

#include "driver/streams.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <sys/time.h>

namespace {

bool &excludeFlag() {
  static bool &exclude = *new bool(false);
  return exclude;
}

/// An empty locator of the tagged class, or null for an unknown tag.
LocatorRef makeLocator(uint64_t tag) {
  switch (static_cast<LocatorTag>(tag)) {
  case LocatorTag::ConstLocator:
    return new ConstLocator;
  case LocatorTag::FileLocator:
    return new FileLocator;
  case LocatorTag::RemapLocator:
    return new RemapLocator;
  case LocatorTag::MacroLocator:
    return new MacroLocator;
  case LocatorTag::ProtectedLocator:
    return new ProtectedLocator;
  }
  return nullptr;
}

/// Reads nothing: every value zero or empty, every reference null.  Reading
/// a body from it empties a locator.
class EmptyReader final : public LocDeserializer {
public:
  EmptyReader() { markFailed(); }
  std::string readString() override { return {}; }
  uint64_t readU64() override { return 0; }
  uint64_t readCount() override { return 0; }
  double readStamp() override { return 0; }
};

} // namespace

void setExcludeFileOffsets(bool exclude) { excludeFlag() = exclude; }

bool excludeFileOffsets() { return excludeFlag(); }

std::pair<uint64_t, uint64_t> uniqueStamp() {
  struct Clock {
    uint64_t seconds = 0;
    uint64_t counter = 0;
  };
  static Clock &clock = *[] {
    timeval now{};
    ::gettimeofday(&now, nullptr);
    return new Clock{static_cast<uint64_t>(now.tv_sec), static_cast<uint64_t>(now.tv_usec)};
  }();
  if (clock.counter >= 999999) {
    ++clock.seconds;
    clock.counter = 0;
  } else {
    ++clock.counter;
  }
  return {clock.seconds, clock.counter};
}

// ---------------------------------------------------------------------------
// Numbering

LocSerializer::~LocSerializer() = default;

size_t LocSerializer::slotOf(const Locator *locator) const {
  const size_t mask = m_Numbers.size() - 1;
  // Fibonacci hashing of the address: heap addresses are regular, and taken
  // as they are they fill runs of neighbouring slots, which linear probing
  // then walks further with every locator added.
  const unsigned bits = static_cast<unsigned>(std::countr_zero(m_Numbers.size()));
  size_t slot = size_t((uint64_t(reinterpret_cast<uintptr_t>(locator)) * 0x9E3779B97F4A7C15u) >> (64 - bits));
  while (m_Numbers[slot].first && m_Numbers[slot].first != locator)
    slot = (slot + 1) & mask;
  return slot;
}

uint32_t &LocSerializer::numberOf(const Locator *locator, uint32_t fresh, bool &inserted) {
  if (2 * (m_Numbered + 1) > m_Numbers.size()) {
    std::vector<std::pair<const Locator *, uint32_t>> old(std::max<size_t>(64, 2 * m_Numbers.size()));
    old.swap(m_Numbers);
    m_Numbered = 0;
    for (const auto &[key, number] : old) {
      if (key) {
        bool unused;
        numberOf(key, number, unused);
      }
    }
  }
  const size_t slot = slotOf(locator);
  inserted = !m_Numbers[slot].first;
  if (inserted) {
    m_Numbers[slot] = {locator, fresh};
    ++m_Numbered;
  }
  return m_Numbers[slot].second;
}

void LocSerializer::writeLocator(const LocatorRef &locator) {
  if (!locator) {
    writeU64(0);
    return;
  }
  if (m_Depth >= kMaxLocatorDepth) {
    // No room for another body: the number when the locator has one
    // (a free slot holds 0), else a null reference.
    writeU64(m_Numbers.empty() ? 0 : m_Numbers[slotOf(locator.get())].second);
    return;
  }
  bool fresh = false;
  const uint32_t number = numberOf(locator.get(), m_Next, fresh);
  writeU64(number);
  if (!fresh)
    return;
  ++m_Next;
  m_Written.push_back(locator);
  ++m_Depth;
  locator->serialize(*this);
  --m_Depth;
}

LocDeserializer::~LocDeserializer() = default;

LocatorRef LocDeserializer::readLocator() {
  const uint32_t number = static_cast<uint32_t>(readU64());
  if (number == 0 || m_Failed)
    return nullptr;
  if (number < m_Next) {
    // A slot still open is the locator itself or one it is nested in: the
    // reference closes a cycle.  Its depth is not known yet and counts as
    // none; reading stays bounded by the nesting of the bodies.
    const Slot &slot = m_Slots[number - 1];
    if (!slot.open && !m_Open.empty())
      m_Open.back() = std::max(m_Open.back(), slot.depth);
    return slot.locator;
  }
  if (number != m_Next)
    return nullptr;
  LocatorRef locator = makeLocator(readU64());
  if (!locator)
    return nullptr;
  // Nesting is bounded before the body is read, so that a stream of
  // ever-deeper bodies cannot exhaust the stack.
  if (m_Open.size() >= kMaxLocatorDepth) {
    m_Failed = true;
    return nullptr;
  }
  m_Slots.push_back({locator, 0, true});
  ++m_Next;
  m_Open.push_back(0);
  locator->deserialize(*this);
  const uint32_t depth = m_Open.back() + 1;
  m_Open.pop_back();
  Slot &slot = m_Slots[number - 1];
  slot.open = false;
  slot.depth = depth;
  if (depth > kMaxLocatorDepth)
    m_Failed = true;
  // A locator of a broken stream stays in its slot, unused, so that
  // unlinkAll() still reaches the cycles it may be part of.
  if (m_Failed)
    return nullptr;
  if (!m_Open.empty())
    m_Open.back() = std::max(m_Open.back(), depth);
  return locator;
}

void LocDeserializer::unlinkAll() {
  EmptyReader empty;
  for (const Slot &slot : m_Slots)
    slot.locator->deserialize(empty);
}

// ---------------------------------------------------------------------------
// Binary encoding

void BinaryLocSerializer::writeU64(uint64_t value) {
  while (value >= 0x80) {
    m_Bytes.push_back(static_cast<char>((value & 0x7F) | 0x80));
    value >>= 7;
  }
  m_Bytes.push_back(static_cast<char>(value));
}

void BinaryLocSerializer::writeCount(uint64_t value) { writeU64(value); }

void BinaryLocSerializer::writeString(const std::string &text) {
  writeU64(text.size());
  m_Bytes += text;
}

void BinaryLocSerializer::writeStamp(double stamp) {
  uint64_t bits = std::bit_cast<uint64_t>(stamp);
  for (int i = 0; i < 8; ++i, bits >>= 8)
    m_Bytes.push_back(static_cast<char>(bits & 0xFF));
}

bool BinaryLocSerializer::writeFile(const std::string &path) const {
  std::FILE *stream = open_stream(path.c_str(), "w");
  if (!stream)
    return false;
  bool ok = std::fwrite(m_Bytes.data(), 1, m_Bytes.size(), stream) == m_Bytes.size();
  ok = std::fflush(stream) == 0 && ok;
  return close_stream(stream) == 0 && ok;
}

uint64_t BinaryLocDeserializer::readU64() {
  if (failed())
    return 0;
  uint64_t value = 0;
  for (unsigned shift = 0; shift < 64; shift += 7) {
    if (m_Position == m_Size)
      break;
    const uint64_t byte = m_Data[m_Position++];
    // The tenth byte holds the single top bit; anything more overflows.
    if (shift == 63 && byte > 1)
      break;
    value |= (byte & 0x7F) << shift;
    if (!(byte & 0x80))
      return value;
  }
  markFailed();
  return 0;
}

uint64_t BinaryLocDeserializer::readCount() { return readU64(); }

std::string BinaryLocDeserializer::readString() {
  const uint64_t size = readU64();
  if (failed() || size > m_Size - m_Position) {
    markFailed();
    return {};
  }
  std::string text(reinterpret_cast<const char *>(m_Data + m_Position), size);
  m_Position += size;
  return text;
}

double BinaryLocDeserializer::readStamp() {
  if (failed() || m_Size - m_Position < 8) {
    markFailed();
    return 0;
  }
  uint64_t bits = 0;
  for (int i = 7; i >= 0; --i)
    bits = (bits << 8) | m_Data[m_Position + i];
  m_Position += 8;
  return std::bit_cast<double>(bits);
}

bool BinaryLocDeserializer::readFile(const std::string &path, std::string &bytes) {
  std::FILE *stream = open_stream(path.c_str(), "r");
  if (!stream)
    return false;
  bytes.clear();
  char chunk[65536];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, stream)) > 0)
    bytes.append(chunk, got);
  const bool ok = !std::ferror(stream);
  return close_stream(stream) == 0 && ok;
}
