#include "driver/names.h"

const char kBuildDirectory[] = "sc_module";
const char kCosimLibrary[] = "libcorvanesc.so";
const char kWrapperProgram[] = "wrapper_generator";
const char kWrapperLibrary[] = "libwrapper_generator.a";
const char kCosimSupportLibrary[] = "libsccosim.a";
const char kStartupSource[] = "startup.cpp";
const char kCompilerPrefix[] = "gcc -std=c++2a -D NDEBUG -Wall -O2 -I${SYSTEMC_PATH}/include "
                               "-I${QUILLC_PATH}/include -I${TARN_HOME}/include -I. ";
const char kWrapperDefine[] = "-DSC_WRAPPER";
const char kLibraryFlags[] = "-fPIC -shared -DSC_COSIM";
const char kCompileOnlyTail[] = "-I.. -c ";
const char kLinkTail[] = "-lstdc++ -lm -pthread ${SYSTEMC_PATH}/lib64/libsystemc.a";
const char kQuillcLibDir[] = "${QUILLC_PATH}/lib/";
const char kQuillcIncludeDir[] = "${QUILLC_PATH}/include/";
const char kModuleOptionWord[] = "module";
const char kWcxxOptionPrefix[] = "Wcxx";
const char kExportSuffix[] = "_create.cpp";

const char kWrapperOutput[] = "wrapper.sv";
const char kPortTypeMappingHeader[] = "port_type_mapping_funcs.hpp";
const char kModuleFactorySource[] = "sc_module_factory.cpp";
const char kCallSystemcFunction[] = "$call_systemc_function";
const char kScInfoFunction[] = "$sc_info";
