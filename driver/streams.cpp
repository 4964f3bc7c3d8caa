#include "driver/streams.h"

#include <cstring>
#include <map>
#include <string>
#include <sys/stat.h>

namespace {

struct Compressor {
  const char *extension;
  const char *command;
};

// Searched in this order, also when probing for a compressed twin of a
// missing file.
constexpr Compressor kCompressors[] = {
    {".gz", "gzip"},
    {".bz2", "bzip2"},
    {".xz", "xz"},
    {".Z", "compress"},
};

const Compressor *find_compressor(const char *name) {
  const char *dot = std::strrchr(name, '.');
  if (!dot)
    return nullptr;
  for (const Compressor &c : kCompressors)
    if (std::strcmp(dot, c.extension) == 0)
      return &c;
  return nullptr;
}

/// Which open streams are pipes.  Never destroyed: streams are closed from
/// exit hooks too, whose order against static destructors nobody controls.
std::map<FILE *, bool> &registry() {
  static auto &streams = *new std::map<FILE *, bool>;
  return streams;
}

FILE *remember(FILE *stream, bool isPipe) {
  if (stream)
    registry()[stream] = isPipe;
  return stream;
}

bool exists(const char *name) {
  struct stat st;
  return ::stat(name, &st) == 0;
}

FILE *open_decompressor(const Compressor &c, const std::string &name, const char *mode) {
  std::string command = std::string(c.command) + " -d <" + name;
  return ::popen(command.c_str(), mode);
}

} // namespace

bool is_compressed_name(const char *name) { return find_compressor(name) != nullptr; }

FILE *open_stream(const char *name, const char *mode) {
  const Compressor *compressor = find_compressor(name);

  if (!std::strchr(mode, 'r')) {
    // Only a fresh write goes through a compressor: appending to a
    // compressed file would need to rewrite it, so it stays plain.
    if (!std::strchr(mode, 'w') || !compressor)
      return remember(std::fopen(name, mode), false);
    std::string command = std::string(compressor->command) + " >" + name;
    if (FILE *pipe = ::popen(command.c_str(), mode))
      return remember(pipe, true);
    return remember(std::fopen(name, mode), false);
  }

  if (!exists(name)) {
    for (const Compressor &c : kCompressors) {
      std::string twin = std::string(name) + c.extension;
      if (exists(twin.c_str()))
        return remember(open_decompressor(c, twin, mode), true);
    }
    return nullptr;
  }

  if (!compressor)
    return remember(std::fopen(name, mode), false);
  if (FILE *pipe = open_decompressor(*compressor, name, mode))
    return remember(pipe, true);
  return remember(std::fopen(name, mode), false);
}

int close_stream(FILE *stream) {
  auto &streams = registry();
  auto it = streams.find(stream);
  bool isPipe = it != streams.end() && it->second;
  if (it != streams.end())
    streams.erase(it);
  return isPipe ? ::pclose(stream) : std::fclose(stream);
}
