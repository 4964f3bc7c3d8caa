#ifndef CORVANE_UTIL_DIGEST_H
#define CORVANE_UTIL_DIGEST_H

/// \file
/// SHA-256 digests as lower-case hexadecimal text (64 characters).

#include <string>
#include <string_view>

/// The digest of \p text.
std::string sha256Hex(std::string_view text);

/// The digest of the contents of the file \p path, read in 4096-byte
/// chunks.  Returns false, leaving \p hex alone, when the file cannot be
/// opened or read.
bool sha256FileHex(const std::string &path, std::string &hex);

#endif
