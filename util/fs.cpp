#include "util/fs.h"

#include "driver/log.h"
#include "util/env.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool isRegularFile(const std::string &path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isDirectory(const std::string &path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isReadOnly(const std::string &path) {
  if (::access(path.c_str(), W_OK) == 0)
    return false;
  return ::access(path.c_str(), R_OK) == 0;
}

double modificationTime(const std::string &path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0)
    return 0.0;
  return static_cast<double>(info.st_mtime);
}

bool makeDirectory(const std::string &path) { return ::mkdir(path.c_str(), 0777) == 0; }

bool isEmptyDirectory(const std::string &path) {
  DIR *dir = ::opendir(path.c_str());
  if (!dir)
    return false;
  bool empty = true;
  while (const struct dirent *entry = ::readdir(dir)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
      empty = false;
      break;
    }
  }
  ::closedir(dir);
  return empty;
}

bool randomBytes(void *buffer, long length) {
  if (length > 0)
    std::memset(buffer, 0, static_cast<size_t>(length));
  const int fd = ::open("/dev/urandom", O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return length == -1;
  // A negative length never reaches read(); read() would refuse it with -1,
  // which only -1 equals.
  const long got = length > 0 ? static_cast<long>(::read(fd, buffer, static_cast<size_t>(length)))
                   : length == 0 ? 0
                                 : -1;
  ::close(fd);
  return got == length;
}

namespace {

bool SameContent(const std::string &a, const std::string &b) {
  FILE *first = std::fopen(a.c_str(), "rb");
  FILE *second = std::fopen(b.c_str(), "rb");
  bool same = first && second;
  char left[8192], right[8192];
  while (same) {
    const size_t n = std::fread(left, 1, sizeof left, first);
    const size_t m = std::fread(right, 1, sizeof right, second);
    if (n != m || std::memcmp(left, right, n) != 0)
      same = false;
    else if (n == 0)
      break;
  }
  if (first)
    std::fclose(first);
  if (second)
    std::fclose(second);
  return same;
}

enum class EntryKind { File, Directory };

std::vector<std::string> ListEntries(const std::string &dir, EntryKind kind) {
  std::vector<std::string> names;
  DIR *handle = ::opendir(dir.c_str());
  if (!handle)
    return names;
  while (const struct dirent *entry = ::readdir(handle)) {
    const char *name = entry->d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
      continue;
    struct stat info;
    if (::lstat(joinPath(dir, name).c_str(), &info) != 0)
      continue;
    if (S_ISDIR(info.st_mode) == (kind == EntryKind::Directory))
      names.emplace_back(name);
  }
  ::closedir(handle);
  std::sort(names.begin(), names.end());
  return names;
}

} // namespace

bool commitIfChanged(const std::string &path) {
  const std::string fresh = path + ".new";
  struct stat info;
  if (::stat(path.c_str(), &info) != 0)
    return ::rename(fresh.c_str(), path.c_str()) == 0;
  if (SameContent(path, fresh)) {
    ::unlink(fresh.c_str());
    return false;
  }
  return ::rename(fresh.c_str(), path.c_str()) == 0;
}

bool removeDirectory(const std::string &path, bool onlyIfEmpty) {
  if (!isEmptyDirectory(path)) {
    if (onlyIfEmpty)
      return false;
    for (const std::string &name : listFiles(path)) {
      const std::string full = joinPath(path, name);
      if (::unlink(full.c_str()) != 0)
        log_eprintf("The file '%s' could not be removed [%s]\n", full.c_str(), std::strerror(errno));
    }
    for (const std::string &name : listSubdirectories(path)) {
      const std::string full = joinPath(path, name);
      if (!removeDirectory(full, false))
        log_eprintf("The directory '%s' could not be removed [%s]\n", full.c_str(),
                    std::strerror(errno));
    }
  }
  return ::rmdir(path.c_str()) == 0;
}

std::string findSharedLibrary(const std::string &name) {
  std::vector<std::string> candidates = {name};
  if (name.size() < 3 || name.compare(name.size() - 3, 3, ".so") != 0)
    candidates.push_back(name + ".so");

  if (!name.empty() && (name[0] == '/' || name[0] == '~'))
    for (const std::string &candidate : candidates)
      if (isRegularFile(candidate))
        return candidate;
  for (const std::string &candidate : candidates) {
    std::string inCurrent = joinPath(".", candidate);
    if (isRegularFile(inCurrent))
      return inCurrent;
  }
  if (name.find('/') == std::string::npos) {
    for (const std::string &dir : splitString(GetEnv("LD_LIBRARY_PATH"), ':')) {
      if (dir.empty())
        continue;
      for (const std::string &candidate : candidates) {
        std::string inDir = dir + "/" + candidate;
        if (isRegularFile(inDir))
          return inDir;
      }
    }
  }
  return std::string();
}

std::vector<std::string> listFiles(const std::string &dir) { return ListEntries(dir, EntryKind::File); }

std::vector<std::string> listSubdirectories(const std::string &dir) {
  return ListEntries(dir, EntryKind::Directory);
}

bool isAbsolutePath(std::string_view path) { return !path.empty() && path[0] == '/'; }

std::string joinPath(std::string_view dir, std::string_view name) {
  if (dir.empty() || isAbsolutePath(name))
    return std::string(name);
  while (name.size() >= 2 && name[0] == '.' && name[1] == '/') {
    name.remove_prefix(2);
    while (!name.empty() && name[0] == '/')
      name.remove_prefix(1);
  }
  if (name.empty())
    return std::string(dir);
  while (dir.size() > 1 && dir.back() == '/')
    dir.remove_suffix(1);
  std::string joined(dir);
  if (joined.back() != '/')
    joined += '/';
  joined += name;
  return joined;
}
