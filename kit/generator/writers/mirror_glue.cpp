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

} // namespace

std::string render_mirror_glue(const std::vector<WrapperModule> &modules) {
  std::string text = "// The mirrors of wrapper.sv, written by the wrapper generator for the\n"
                     "// co-simulation library's start-up source.\n"
                     "#include \"corvane_sc_mirrors.h\"\n";
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
  return text;
}

} // namespace corvane_sc
