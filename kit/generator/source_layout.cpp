#include "kit/generator/source_layout.h"

#include "driver/names.h"

#include <clang-c/Index.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>

namespace corvane_sc {

namespace {

// Bounds on what a hostile or merely huge class can make the walk produce.
constexpr size_t kMaxMembers = 100000;
constexpr int kMaxDepth = 6;

/// The part of libclang that the walk uses, found with dlsym().
struct LibClang {
#define CORVANE_CLANG_FUNCTIONS(X)                                                                 \
  X(clang_createIndex)                                                                             \
  X(clang_disposeIndex)                                                                            \
  X(clang_parseTranslationUnit2)                                                                   \
  X(clang_disposeTranslationUnit)                                                                  \
  X(clang_getNumDiagnostics)                                                                       \
  X(clang_getDiagnostic)                                                                           \
  X(clang_getDiagnosticSeverity)                                                                   \
  X(clang_formatDiagnostic)                                                                        \
  X(clang_disposeDiagnostic)                                                                       \
  X(clang_getTranslationUnitCursor)                                                                \
  X(clang_visitChildren)                                                                           \
  X(clang_getCursorKind)                                                                           \
  X(clang_getCursorSpelling)                                                                       \
  X(clang_getCursorType)                                                                           \
  X(clang_getCString)                                                                              \
  X(clang_disposeString)                                                                           \
  X(clang_getTypedefDeclUnderlyingType)                                                            \
  X(clang_getCanonicalType)                                                                        \
  X(clang_getTypeSpelling)                                                                         \
  X(clang_getTypeDeclaration)                                                                      \
  X(clang_Type_getSizeOf)                                                                          \
  X(clang_Type_visitFields)                                                                        \
  X(clang_Cursor_getOffsetOfField)                                                                 \
  X(clang_getArraySize)                                                                            \
  X(clang_getArrayElementType)                                                                     \
  X(clang_saveTranslationUnit)                                                                     \
  X(clang_getInclusions)                                                                           \
  X(clang_getFileName)                                                                             \
  X(clang_getClangVersion)
#define CORVANE_CLANG_MEMBER(name) decltype(&::name) name = nullptr;
  CORVANE_CLANG_FUNCTIONS(CORVANE_CLANG_MEMBER)
  std::string file; ///< The file loaded, without symbolic links.
};

/// libclang, loaded on first use; null with \p error when it is not there.
const LibClang *libclang(std::string &error) {
  static std::string &failure = *new std::string;
  static const LibClang *loaded = [] () -> const LibClang * {
    // The versioned file under llvm-14 first: libclang finds its own
    // headers (stddef.h and the like) relative to where it was loaded from.
    std::vector<const char *> candidates = {"/usr/lib/llvm-14/lib/libclang.so.1", "libclang-14.so.1",
                                            "libclang.so.1", "libclang.so"};
    if (const char *chosen = std::getenv("CORVANE_LIBCLANG"))
      candidates = {chosen};
    void *handle = nullptr;
    for (const char *candidate : candidates)
      if ((handle = dlopen(candidate, RTLD_NOW | RTLD_LOCAL)))
        break;
    if (!handle) {
      failure = std::string("no libclang (") + dlerror() + ")";
      return nullptr;
    }
    auto *lib = new LibClang;
#define CORVANE_CLANG_FIND(name)                                                                   \
  if (!(lib->name = reinterpret_cast<decltype(&::name)>(dlsym(handle, #name)))) {                  \
    failure = "libclang lacks " #name;                                                             \
    return nullptr;                                                                                \
  }
    CORVANE_CLANG_FUNCTIONS(CORVANE_CLANG_FIND)
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(lib->clang_createIndex), &info) && info.dli_fname) {
      char *resolved = realpath(info.dli_fname, nullptr);
      lib->file = resolved ? resolved : info.dli_fname;
      std::free(resolved);
    }
    return lib;
  }();
  error = failure;
  return loaded;
}

std::string text_of(const LibClang &clang, CXString string) {
  const char *chars = clang.clang_getCString(string);
  std::string text = chars ? chars : "";
  clang.clang_disposeString(string);
  return text;
}

/// The arguments of quillc's wrapper compile, after the shell's expansion
/// of ${NAME}: its compiler command prefix, the wrapper define, the -Wcxx
/// options, the compile-only tail; without the compiler's name and -c.
std::vector<std::string> compile_arguments(const std::vector<std::string> &extras) {
  std::string line = std::string(kCompilerPrefix) + " " + kWrapperDefine + " " + kCompileOnlyTail;
  std::vector<std::string> words;
  std::istringstream in(line);
  for (std::string word; in >> word;) {
    for (size_t open; (open = word.find("${")) != std::string::npos;) {
      const size_t close = word.find('}', open);
      if (close == std::string::npos)
        break;
      const char *value = std::getenv(word.substr(open + 2, close - open - 2).c_str());
      word.replace(open, close - open + 1, value ? value : "");
    }
    words.push_back(word);
  }
  words.erase(words.begin()); // the compiler
  words.pop_back();           // -c
  words.insert(words.end() - 1, extras.begin(), extras.end());
  return words;
}

/// The -Wcxx options of the quillc run that started this generator, found
/// among its first ancestors (the generator runs under the shell that
/// quillc starts), split as quillc splits them.  Empty when there is none.
std::vector<std::string> quillc_extra_options() {
  std::vector<std::string> extras;
  pid_t pid = getppid();
  for (int level = 0; level < 4 && pid > 1; ++level) {
    const std::string proc = "/proc/" + std::to_string(pid);
    std::ifstream cmdline(proc + "/cmdline", std::ios::binary);
    std::string all((std::istreambuf_iterator<char>(cmdline)), {});
    std::vector<std::string> args;
    for (size_t start = 0, end; start < all.size() && args.size() < 100000; start = end + 1)
      args.push_back(all.substr(start, (end = all.find('\0', start)) - start));
    char exe[4096];
    const ssize_t length = readlink((proc + "/exe").c_str(), exe, sizeof exe - 1);
    std::string program = length > 0 ? std::string(exe, length) : "";
    if (program.substr(program.find_last_of('/') + 1) == "quillc") {
      const std::string prefix = std::string("-") + kWcxxOptionPrefix + ",";
      for (const std::string &arg : args) {
        if (arg.compare(0, prefix.size(), prefix) != 0)
          continue;
        // Pieces between commas count when not empty; the last one always.
        for (size_t start = prefix.size(), comma;; start = comma + 1) {
          comma = arg.find(',', start);
          std::string piece = arg.substr(start, comma - start);
          if (comma == std::string::npos) {
            extras.push_back(piece);
            break;
          }
          if (!piece.empty())
            extras.push_back(piece);
        }
      }
      return extras;
    }
    std::ifstream stat(proc + "/stat");
    std::string line((std::istreambuf_iterator<char>(stat)), {});
    // The parent's id follows the state, after the command in parentheses.
    const size_t close = line.rfind(')');
    if (close == std::string::npos || std::sscanf(line.c_str() + close + 1, " %*c %d", &pid) != 1)
      break;
  }
  return extras;
}

class LayoutWalk {
public:
  explicit LayoutWalk(const LibClang &clang) : m_Clang(clang) {}

  ClassLayout layout_of(CXType record) {
    ClassLayout layout;
    m_Layout = &layout;
    const long long size = m_Clang.clang_Type_getSizeOf(record);
    layout.size = size > 0 ? static_cast<uint64_t>(size) : 0;
    add_record(record, 0, "", 0);
    return layout;
  }

private:
  std::string spelling(CXType type) { return text_of(m_Clang, m_Clang.clang_getTypeSpelling(type)); }

  /// SystemC's and the standard library's own classes hold no ports of the
  /// design.
  bool foreign(const std::string &type) {
    for (const char *space : {"sc_core::", "sc_dt::", "std::", "__gnu_cxx::"})
      if (type.rfind(space, 0) == 0)
        return true;
    return false;
  }

  void add_record(CXType record, uint64_t offset, const std::string &prefix, int depth) {
    if (depth > kMaxDepth)
      return;
    // The first base class starts the object: it is the primary base of
    // any module, whose classes are polymorphic.
    struct Base {
      LayoutWalk *walk;
      CXType type;
      bool found;
    } base{this, {}, false};
    m_Clang.clang_visitChildren(
        m_Clang.clang_getTypeDeclaration(record),
        [](CXCursor cursor, CXCursor, CXClientData data) {
          auto *b = static_cast<Base *>(data);
          if (b->walk->m_Clang.clang_getCursorKind(cursor) != CXCursor_CXXBaseSpecifier)
            return CXChildVisit_Continue;
          b->type = b->walk->m_Clang.clang_getCanonicalType(b->walk->m_Clang.clang_getCursorType(cursor));
          b->found = true;
          return CXChildVisit_Break;
        },
        &base);
    if (base.found && !foreign(spelling(base.type)))
      add_record(base.type, offset, prefix, depth + 1);

    struct Fields {
      LayoutWalk *walk;
      uint64_t offset;
      const std::string *prefix;
      int depth;
    } fields{this, offset, &prefix, depth};
    m_Clang.clang_Type_visitFields(
        record,
        [](CXCursor field, CXClientData data) {
          auto *f = static_cast<Fields *>(data);
          const LibClang &clang = f->walk->m_Clang;
          const long long bits = clang.clang_Cursor_getOffsetOfField(field);
          if (bits >= 0 && bits % 8 == 0)
            f->walk->add_member(clang.clang_getCanonicalType(clang.clang_getCursorType(field)),
                                f->offset + static_cast<uint64_t>(bits) / 8,
                                *f->prefix + text_of(clang, clang.clang_getCursorSpelling(field)),
                                f->depth);
          return f->walk->m_Layout->members.size() < kMaxMembers ? CXVisit_Continue : CXVisit_Break;
        },
        &fields);
  }

  void add_member(CXType type, uint64_t offset, const std::string &name, int depth) {
    if (m_Layout->members.size() >= kMaxMembers || depth > kMaxDepth)
      return;
    if (type.kind == CXType_ConstantArray) {
      const CXType element = m_Clang.clang_getCanonicalType(m_Clang.clang_getArrayElementType(type));
      const long long count = m_Clang.clang_getArraySize(type);
      const long long size = m_Clang.clang_Type_getSizeOf(element);
      for (long long i = 0; size > 0 && i < count && m_Layout->members.size() < kMaxMembers; ++i)
        add_member(element, offset + static_cast<uint64_t>(i * size), name + "_" + std::to_string(i),
                   depth + 1);
      return;
    }
    const std::string typeName = spelling(type);
    m_Layout->members.push_back({offset, name, without_blanks(typeName)});
    if (type.kind == CXType_Record && !foreign(typeName))
      add_record(type, offset, name + "_", depth + 1);
  }

  const LibClang &m_Clang;
  ClassLayout *m_Layout = nullptr;
};

/// Making a CXIndex sets up LLVM's process-wide target registry, which two
/// threads must not do at once; parses on indexes of their own may.
CXIndex new_index(const LibClang &clang) {
  static std::mutex creating;
  std::lock_guard<std::mutex> hold(creating);
  return clang.clang_createIndex(0, 0);
}

/// Parses \p file with \p args; the unit, or null with \p error when
/// libclang fails or reports an error.
CXTranslationUnit parse_unit(const LibClang &clang, CXIndex index, const std::string &file,
                             const std::vector<const char *> &args, unsigned options, std::string &error) {
  CXTranslationUnit unit = nullptr;
  const CXErrorCode code = clang.clang_parseTranslationUnit2(
      index, file.c_str(), args.data(), static_cast<int>(args.size()), nullptr, 0, options, &unit);
  bool parsed = code == CXError_Success && unit;
  if (!parsed)
    error = "libclang could not parse it (error " + std::to_string(code) + ")";
  for (unsigned i = 0; parsed && i < clang.clang_getNumDiagnostics(unit); ++i) {
    CXDiagnostic diagnostic = clang.clang_getDiagnostic(unit, i);
    if (clang.clang_getDiagnosticSeverity(diagnostic) >= CXDiagnostic_Error) {
      error = text_of(clang, clang.clang_formatDiagnostic(
                                 diagnostic, CXDiagnostic_DisplaySourceLocation | CXDiagnostic_DisplayColumn));
      parsed = false;
    }
    clang.clang_disposeDiagnostic(diagnostic);
  }
  if (!parsed && unit) {
    clang.clang_disposeTranslationUnit(unit);
    unit = nullptr;
  }
  return unit;
}

/// Where the kit keeps systemc.h precompiled for libclang, beside the
/// record of gcc's precompiled headers and out of every include path.
std::string precompiled_header_path() {
  const char *systemc = std::getenv("SYSTEMC_PATH");
  return systemc && *systemc ? std::string(systemc) + "/systemc.h.pch" : "";
}

/// Whether the -Wcxx option \p option changes which file an #include
/// reads, or makes the front end list them.  libclang checks a precompiled
/// header against the defines, the language and the target of the parse,
/// and its headers' times and sizes, but not against the include paths it
/// would have searched.
bool changes_header_lookup(const std::string &option) {
  for (const char *prefix : {"-I", "-i", "--include", "--sysroot", "-nostdinc", "-B", "--gcc-toolchain",
                             "-stdlib", "--stdlib", "-H", "-M"})
    if (option.rfind(prefix, 0) == 0)
      return true;
  return false;
}

/// Whether the -Wcxx option \p option makes the front end print as it
/// parses, in the order of the parses and with file names as they were
/// reached.
bool prints_while_parsing(const std::string &option) {
  for (const char *exact : {"-H", "-v", "--verbose", "-###"})
    if (option == exact)
      return true;
  return option.rfind("-M", 0) == 0 || option.rfind("-ftime-report", 0) == 0;
}

/// Restores the working directory when the parse is over.
class WorkingDirectory {
public:
  WorkingDirectory() : m_Fd(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
  ~WorkingDirectory() {
    if (m_Fd >= 0) {
      [[maybe_unused]] int ignored = fchdir(m_Fd);
      close(m_Fd);
    }
  }
  bool enter(const char *directory) { return m_Fd >= 0 && chdir(directory) == 0; }

private:
  int m_Fd;
};

} // namespace

std::string without_blanks(const std::string &text) {
  std::string out;
  for (char c : text)
    if (c != ' ')
      out += c;
  return out;
}

ExportParse export_parse(bool concurrent) {
  ExportParse parse;
  const std::vector<std::string> extras = quillc_extra_options();
  parse.arguments = {"-x", "c++"};
  for (const std::string &word : compile_arguments(extras))
    parse.arguments.push_back(word);
  parse.arguments.push_back("-w");

  bool fits = true;
  for (const std::string &extra : extras) {
    fits = fits && !changes_header_lookup(extra);
    concurrent = concurrent && !prints_while_parsing(extra);
  }
  if (concurrent) {
    // Told to the front end proper rather than entered (nor given to
    // libclang's driver, which would enter it): the process keeps its work
    // directory, whatever thread parses.
    char *cwd = getcwd(nullptr, 0);
    parse.directory = (cwd ? std::string(cwd) + "/" : std::string()) + kBuildDirectory;
    std::free(cwd);
    for (const std::string &word : {std::string("-working-directory"), parse.directory}) {
      parse.arguments.push_back("-Xclang");
      parse.arguments.push_back(word);
    }
  }
  struct stat status;
  if (const std::string pch = precompiled_header_path(); fits && !pch.empty() && stat(pch.c_str(), &status) == 0)
    parse.precompiled = pch;
  return parse;
}

bool read_export_layouts(const ExportParse &parse, const std::string &file, std::map<int, ClassLayout> &layouts,
                         std::string &error) {
  const LibClang *clang = libclang(error);
  if (!clang)
    return false;
  // The compile ran in the build directory; relative paths mean the same
  // here only from there.
  WorkingDirectory cwd;
  struct stat status;
  if (parse.directory.empty() ? !cwd.enter(kBuildDirectory)
                              : stat(parse.directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    error = std::string("cannot enter ") + kBuildDirectory;
    return false;
  }
  std::vector<const char *> args;
  for (const std::string &word : parse.arguments)
    args.push_back(word.c_str());
  constexpr unsigned kOptions = CXTranslationUnit_SkipFunctionBodies;
  CXIndex index = new_index(*clang);
  CXTranslationUnit unit = nullptr;
  if (!parse.precompiled.empty()) {
    // The source's first line includes systemc.h, which the precompiled
    // header stands for.  libclang refuses one that does not fit the parse
    // or whose headers changed, system headers too; the plain parse then
    // decides alone.
    std::vector<const char *> withHeader = args;
    for (const char *word : {"-include-pch", parse.precompiled.c_str(), "-Xclang", "-fmodules-validate-system-headers"})
      withHeader.push_back(word);
    std::string ignored;
    unit = parse_unit(*clang, index, file, withHeader, kOptions, ignored);
  }
  if (!unit)
    unit = parse_unit(*clang, index, file, args, kOptions, error);
  const bool parsed = unit != nullptr;
  // Told the build directory, the front end names a file by it and the
  // name it was reached by; the name alone is what the compile there says.
  if (const std::string prefix = parse.directory + "/"; !parsed && !parse.directory.empty() &&
                                                        error.rfind(prefix, 0) == 0)
    error.erase(0, prefix.size());

  if (parsed) {
    struct Aliases {
      const LibClang *clang;
      std::map<int, ClassLayout> *layouts;
    } aliases{clang, &layouts};
    clang->clang_visitChildren(
        clang->clang_getTranslationUnitCursor(unit),
        [](CXCursor cursor, CXCursor, CXClientData data) {
          auto *a = static_cast<Aliases *>(data);
          const LibClang &c = *a->clang;
          const CXCursorKind kind = c.clang_getCursorKind(cursor);
          if (kind != CXCursor_TypeAliasDecl)
            return CXChildVisit_Continue;
          const std::string name = text_of(c, c.clang_getCursorSpelling(cursor));
          constexpr char kPrefix[] = "corvane_sc_exported_type_";
          if (name.rfind(kPrefix, 0) != 0)
            return CXChildVisit_Continue;
          const int tag = std::atoi(name.c_str() + sizeof kPrefix - 1);
          CXType type = c.clang_getCanonicalType(c.clang_getTypedefDeclUnderlyingType(cursor));
          if (type.kind == CXType_Record)
            (*a->layouts)[tag] = LayoutWalk(c).layout_of(type);
          return CXChildVisit_Continue;
        },
        &aliases);
  }
  if (unit)
    clang->clang_disposeTranslationUnit(unit);
  clang->clang_disposeIndex(index);
  return parsed;
}

bool precompile_systemc_header(const std::string &header, const std::string &output,
                               std::vector<std::string> &inputs, std::string &error) {
  const LibClang *clang = libclang(error);
  if (!clang)
    return false;
  // Exactly the parse of an export source, but of the header alone, kept
  // for saving as libclang precompiles a header, from where it is run.
  const ExportParse parse = export_parse(false);
  std::vector<const char *> args;
  for (const std::string &word : parse.arguments)
    args.push_back(word == "c++" ? "c++-header" : word.c_str());
  CXIndex index = new_index(*clang);
  CXTranslationUnit unit =
      parse_unit(*clang, index, header, args,
                 CXTranslationUnit_SkipFunctionBodies | CXTranslationUnit_Incomplete |
                     CXTranslationUnit_ForSerialization,
                 error);
  bool saved = unit != nullptr;
  if (unit) {
    if (const int code = clang->clang_saveTranslationUnit(unit, output.c_str(), 0); code != CXSaveError_None) {
      error = "libclang could not save it (error " + std::to_string(code) + ")";
      saved = false;
    }
    struct Inputs {
      const LibClang *clang;
      std::vector<std::string> *files;
    } read{clang, &inputs};
    clang->clang_getInclusions(
        unit,
        [](CXFile file, CXSourceLocation *, unsigned, CXClientData data) {
          auto *r = static_cast<Inputs *>(data);
          // libclang reaches gcc's headers through /../lib/gcc/...: the
          // files' own names make the list comparable with gcc's.
          std::string name = text_of(*r->clang, r->clang->clang_getFileName(file));
          if (char *resolved = realpath(name.c_str(), nullptr)) {
            name = resolved;
            std::free(resolved);
          }
          if (std::find(r->files->begin(), r->files->end(), name) == r->files->end())
            r->files->push_back(name);
        },
        &read);
    clang->clang_disposeTranslationUnit(unit);
  }
  clang->clang_disposeIndex(index);
  return saved;
}

bool libclang_identity(std::string &identity, std::string &error) {
  const LibClang *clang = libclang(error);
  if (!clang)
    return false;
  struct stat status;
  if (stat(clang->file.c_str(), &status) != 0) {
    error = "cannot find the file of libclang";
    return false;
  }
  identity = clang->file + " " + std::to_string(status.st_size) + " " + std::to_string(status.st_mtime) + " " +
             text_of(*clang, clang->clang_getClangVersion());
  return true;
}

} // namespace corvane_sc
