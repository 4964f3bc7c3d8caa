#include "util/fs.h"

#include <sys/stat.h>

bool isRegularFile(const std::string &path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isDirectory(const std::string &path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

double modificationTime(const std::string &path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0)
    return 0.0;
  return static_cast<double>(info.st_mtime);
}
