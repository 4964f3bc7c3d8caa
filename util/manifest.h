#ifndef CORVANE_UTIL_MANIFEST_H
#define CORVANE_UTIL_MANIFEST_H

/// \file
/// Manifests: text files of command-line arguments.  Whitespace separates
/// tokens, double quotes protect whitespace (and stay in the token), and
/// "#", "//" and "/* */" comments are skipped.  A comment does not end a
/// token: "abc#note" followed by a line "def" is the one token "abcdef".

#include <string>
#include <vector>

/// Reads the manifest \p path (expanded and resolved against the search
/// directories), appends its tokens, each expanded, to \p tokens and, for a
/// \p directoryMode below 3, parses them with ParseArguments() in
/// \p parseMode under the manifest's name, with a directory on the search
/// stack for relative names:
///
///   mode 0: "."; 1: the manifest's directory; 2: "." and the note
///   "Reading manifest file ..."; 3: the note, "." pushed, no parse;
///   4: the manifest's directory pushed, no parse; 5 and above: "." pushed,
///   no parse; negative: parsed, bit 1 picks the directory, bit 2 the note.
///
/// The directory is popped after a successful parse only.  True when the
/// tokens were parsed and all accepted; an unreadable manifest is reported
/// through ReportError() and gives false.
bool ReadManifest(const std::string &path, int directoryMode, std::vector<std::string> &tokens,
                  int parseMode);

#endif
