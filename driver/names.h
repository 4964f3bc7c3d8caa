#ifndef QUILLC_DRIVER_NAMES_H
#define QUILLC_DRIVER_NAMES_H

/// \file
/// The fixed names of a quillc run: directories, files, libraries and the
/// pieces of the compiler command lines.  ${SYSTEMC_PATH}, ${QUILLC_PATH} and
/// ${TARN_HOME} are left for the shell to expand.

extern const char kBuildDirectory[];         // "sc_module"
extern const char kCosimLibrary[];           // "libcorvanesc.so"
extern const char kWrapperProgram[];         // "wrapper_generator"
extern const char kWrapperLibrary[];         // "libwrapper_generator.a"
extern const char kCosimSupportLibrary[];    // "libsccosim.a"
extern const char kStartupSource[];          // "startup.cpp"
extern const char kCompilerPrefix[];         // "gcc -std=c++2a ... -I. "
extern const char kWrapperDefine[];          // "-DSC_WRAPPER"
extern const char kLibraryFlags[];           // "-fPIC -shared -DSC_COSIM"
extern const char kCompileOnlyTail[];        // "-I.. -c "
extern const char kLinkTail[];               // "-lstdc++ -lm -pthread ..."
extern const char kQuillcLibDir[];           // "${QUILLC_PATH}/lib/"
extern const char kQuillcIncludeDir[];       // "${QUILLC_PATH}/include/"
extern const char kModuleOptionWord[];       // "module"
extern const char kWcxxOptionPrefix[];       // "Wcxx"
extern const char kExportSuffix[];           // "_create.cpp"

// Names of the wrapper generator's world; the driver itself never touches
// these files.
extern const char kWrapperOutput[];          // "wrapper.sv"
extern const char kPortTypeMappingHeader[];  // "port_type_mapping_funcs.hpp"
extern const char kModuleFactorySource[];    // "sc_module_factory.cpp"
extern const char kCallSystemcFunction[];    // "$call_systemc_function"
extern const char kScInfoFunction[];         // "$sc_info"

#endif
