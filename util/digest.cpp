#include "util/digest.h"

#include <openssl/evp.h>

#include <cstdio>
#include <memory>

namespace {

struct ContextFree {
  void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_MD_CTX, ContextFree>;

Context startDigest() {
  Context context(EVP_MD_CTX_new());
  if (context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
    context.reset();
  return context;
}

bool finishDigest(EVP_MD_CTX *context, std::string &hex) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  if (EVP_DigestFinal_ex(context, digest, &size) != 1)
    return false;
  hex.clear();
  for (unsigned int i = 0; i < size; ++i) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02x", digest[i]);
    hex += pair;
  }
  return true;
}

} // namespace

std::string sha256Hex(std::string_view text) {
  std::string hex;
  Context context = startDigest();
  if (context && EVP_DigestUpdate(context.get(), text.data(), text.size()) == 1)
    finishDigest(context.get(), hex);
  return hex;
}

bool sha256FileHex(const std::string &path, std::string &hex) {
  Context context = startDigest();
  if (!context)
    return false;
  std::FILE *file = std::fopen(path.c_str(), "rb");
  if (!file)
    return false;
  unsigned char chunk[4096];
  bool ok = true;
  while (ok) {
    size_t got = std::fread(chunk, 1, sizeof chunk, file);
    if (got > 0)
      ok = EVP_DigestUpdate(context.get(), chunk, got) == 1;
    if (got < sizeof chunk) {
      ok = ok && !std::ferror(file);
      break;
    }
  }
  std::fclose(file);
  return ok && finishDigest(context.get(), hex);
}
