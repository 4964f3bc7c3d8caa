// The library's side of the mirrors (corvane_sc_mirrors.h): for each
// module, the function that wrapper.sv's mirrors call to attach an
// instance, listing the objects with their exact types and how each value
// goes to the exported function of its variable.

#include "kit/generator/writers/crossing.h"
#include "kit/generator/writers/systemverilog_parts.h"

#include <string>

namespace corvane_sc {

namespace {

/// The body of the lambda that hands a value v of \p shape to the
/// exported function f.
std::string show_call(const PortShape &shape) {
  const Crossing c = crossing(shape);
  const std::string words = std::to_string((c.width + 31) / 32);
  switch (c.form) {
  case Crossing::Bit: return "reinterpret_cast<void (*)(svBit)>(f)(v);";
  case Crossing::Logic: return "reinterpret_cast<void (*)(svLogic)>(f)(static_cast<svLogic>(v.value()));";
  case Crossing::Word:
    return "reinterpret_cast<void (*)(uint64_t)>(f)(corvane_sc::runtime::to_u64(v));";
  case Crossing::Bits:
    return "static svBitVecVal words[" + words + "]; " +
           (is_bit_vector(shape) ? std::string("corvane_sc::dpi::to_words(v, words); ")
                                 : "sc_dt::sc_bv<" + std::to_string(c.width) +
                                       "> bits; bits = v; corvane_sc::dpi::to_words(bits, words); ") +
           "reinterpret_cast<void (*)(const svBitVecVal *)>(f)(words);";
  case Crossing::LogicBits:
    return "static svLogicVecVal words[" + words +
           "]; corvane_sc::dpi::to_logic(v, words); reinterpret_cast<void (*)(const svLogicVecVal *)>(f)(words);";
  case Crossing::Real: return "reinterpret_cast<void (*)(double)>(f)(v);";
  }
  return "";
}

/// The body of the lambda that hands a value v of \p shape to the VPI
/// side's record f of its variable (corvane_sc::vpi::show_mirror), in the
/// form of the evaluation's outputs.
std::string vpi_show_call(const PortShape &shape) {
  const Crossing c = crossing(shape);
  const std::string words = std::to_string((c.width + 31) / 32);
  std::string fill;
  switch (c.form) {
  case Crossing::Bit: fill = "a.bit = v;"; break;
  case Crossing::Logic: fill = "a.logic = static_cast<svLogic>(v.value());"; break;
  case Crossing::Word: fill = "a.word = corvane_sc::runtime::to_u64(v);"; break;
  case Crossing::Bits:
    fill = "static svBitVecVal words[" + words + "]; " +
           (is_bit_vector(shape) ? std::string("corvane_sc::dpi::to_words(v, words); ")
                                 : "sc_dt::sc_bv<" + std::to_string(c.width) +
                                       "> bits; bits = v; corvane_sc::dpi::to_words(bits, words); ") +
           "a.bits = words;";
    break;
  case Crossing::LogicBits:
    fill = "static svLogicVecVal words[" + words + "]; corvane_sc::dpi::to_logic(v, words); a.logic_bits = words;";
    break;
  case Crossing::Real: fill = "a.real = v;"; break;
  }
  return "corvane_sc::vpi::Argument a; " + fill + " corvane_sc::vpi::show_mirror(f, a);";
}

/// The body of the lambda that puts a value v of \p shape into o, the
/// VHPIDIRECT form of its out-parameter (corvane_sc_vhpidirect.h).
std::string vhpi_show_call(const PortShape &shape) {
  const Crossing c = crossing(shape);
  const std::string vhpi = "corvane_sc::vhpidirect::", width = std::to_string(c.width);
  switch (c.form) {
  case Crossing::Bit: return "*o = " + vhpi + "to_bit(v);";
  case Crossing::Logic: return "*o = " + vhpi + "to_logic(v.value());";
  case Crossing::Word: return vhpi + "to_word(corvane_sc::runtime::to_u64(v), " + width + ", o);";
  case Crossing::Bits:
    if (is_bit_vector(shape))
      return vhpi + "to_bits(v, o);";
    return "sc_dt::sc_bv<" + width + "> bits; bits = v; " + vhpi + "to_bits(bits, o);";
  case Crossing::LogicBits: return vhpi + "to_logic_bits(v, o);";
  case Crossing::Real: return "*reinterpret_cast<double *>(o) = v;";
  }
  return "";
}

} // namespace

std::string render_mirror_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The mirrors of wrapper.sv, written by the wrapper generator for the\n"
                     "// co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_mirrors.h\"\n\n#include <cstring>\n";
  for (const WrapperModule &module : modules) {
    if (module.hierarchy.objects.empty())
      continue;
    text += "\nextern \"C\" int " + dpi_function(module, "mirror") +
            "(const char *path) {\n  std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> all;\n";
    for (size_t i = 0; i < module.hierarchy.objects.size(); ++i) {
      const MirroredObject &object = module.hierarchy.objects[i];
      const std::string &type = object.shape.cxxType;
      text += "  all.push_back(corvane_sc::mirrors::mirror<" + type + ">(\"" + object.path + "\", \"" +
              mirror_function(module, i) + "\", [](void *f, const " + type + " &v) { " + show_call(object.shape) +
              " }));\n";
    }
    text += "  return corvane_sc::mirrors::attach(path, std::move(all));\n}\n";
  }
  // The VHPIDIRECT side (wrapper.vhd): per instance a buffer that the
  // mirrors fill as the model changes them, handed to the wrapper's
  // process after each of its evaluations.
  for (const WrapperModule &module : modules) {
    if (module.hierarchy.objects.empty())
      continue;
    std::string parameters, mirrors, copies;
    size_t words = 0;
    for (size_t i = 0; i < module.hierarchy.objects.size(); ++i) {
      const MirroredObject &object = module.hierarchy.objects[i];
      const Crossing c = crossing(object.shape);
      const std::string n = std::to_string(i), type = object.shape.cxxType, offset = std::to_string(words);
      const size_t bytes = c.form == Crossing::Real ? 8 : c.form == Crossing::Bit || c.form == Crossing::Logic ? 1 : c.width;
      parameters += c.form == Crossing::Real ? ", double *o" + n : ", uint8_t *o" + n;
      mirrors += "    all.push_back(corvane_sc::mirrors::mirror<" + type + ">(\"" + object.path +
                 "\", \"\", [](void *f, const " + type + " &v) { auto *o = static_cast<uint8_t *>(f); " +
                 vhpi_show_call(object.shape) + " }));\n    all.back()->function = b.data() + " + offset + ";\n";
      copies += "  std::memcpy(o" + n + ", b.data() + " + offset + ", " + std::to_string(bytes) + ");\n";
      words += (bytes + 7) / 8;
    }
    text += "\nextern \"C\" void " + vhpi_function(module, "mirror") +
            "(const corvane_sc_vhpi_string *path, int32_t handle" + parameters + ") {\n" +
            "  static auto &buffers = *new std::vector<std::vector<uint64_t>>;\n"
            "  if (handle < 0)\n    return;\n"
            "  if (buffers.size() <= static_cast<size_t>(handle))\n    buffers.resize(static_cast<size_t>(handle) + 1);\n"
            "  std::vector<uint64_t> &b = buffers[static_cast<size_t>(handle)];\n"
            "  if (b.empty()) {\n    b.resize(" + std::to_string(words) + ");\n" +
            "    std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> all;\n" + mirrors +
            "    corvane_sc::vhpidirect::attach_mirrors(path, std::move(all));\n  }\n" + copies + "}\n";
  }
  // The VPI side (wrapper.v): the same objects, each set through the
  // record of its variable, which the library finds by its name.
  std::string table;
  for (size_t m = 0; m < modules.size(); ++m) {
    const WrapperModule &module = modules[m];
    if (module.hierarchy.objects.empty())
      continue;
    const std::string n = std::to_string(m);
    std::string ports;
    text += "\nstatic std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> vpi_mirrors" + n +
            "() {\n  std::vector<std::unique_ptr<corvane_sc::mirrors::Mirror>> all;\n";
    for (const MirroredObject &object : module.hierarchy.objects) {
      const std::string &type = object.shape.cxxType;
      std::string name;
      for (const std::string &scope : object.scope)
        name += scope + ".";
      name += object.name;
      text += "  all.push_back(corvane_sc::mirrors::mirror<" + type + ">(\"" + object.path + "\", \"" + name +
              "\", [](void *f, const " + type + " &v) { " + vpi_show_call(object.shape) + " }));\n";
      const Crossing c = crossing(object.shape);
      ports += std::string("    {corvane_sc::vpi::Form::") + form_name(c.form) + ", true, " +
               std::to_string(c.width) + "},\n";
    }
    text += "  return all;\n}\n\nstatic const corvane_sc::vpi::Port kVpiMirrorPorts" + n + "[] = {\n" + ports +
            "};\n";
    table += "    {\"" + module.name + "\", &vpi_mirrors" + n + ", kVpiMirrorPorts" + n + "},\n";
  }
  if (table.empty())
    return text + "\nconst corvane_sc::mirrors::VpiModules corvane_sc::mirrors::kVpiModules = {nullptr, 0};\n";
  size_t count = 0;
  for (const char ch : table)
    count += ch == '\n';
  return text + "\nstatic const corvane_sc::mirrors::VpiModule kVpiMirrorModules[] = {\n" + table +
         "};\n\nconst corvane_sc::mirrors::VpiModules corvane_sc::mirrors::kVpiModules = {kVpiMirrorModules, " +
         std::to_string(count) + "};\n";
}

} // namespace corvane_sc
