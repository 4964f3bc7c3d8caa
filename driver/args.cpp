#include "driver/args.h"

#include "driver/log.h"
#include "driver/names.h"

#include <cstring>

namespace {

/// Splits what follows "-Wcxx," at commas.  Empty pieces between commas are
/// dropped, but the piece after the last comma is always kept, so that
/// "-Wcxx,-g," still passes an (empty) item on.
void split_wcxx_items(std::string_view list, std::vector<std::string_view> &items) {
  for (;;) {
    size_t comma = list.find(',');
    if (comma == std::string_view::npos) {
      items.push_back(list);
      return;
    }
    if (comma > 0)
      items.push_back(list.substr(0, comma));
    list.remove_prefix(comma + 1);
  }
}

} // namespace

std::string DriverArguments::extraOptionsText() const {
  std::string text;
  for (std::string_view item : extraOptions) {
    text += ' ';
    text += item;
  }
  return text;
}

bool parse_driver_arguments(int argc, char **argv, DriverArguments &out) {
  if (argc - 1 < 1) {
    log_eprintf("Wrong arguments. Expected arguments:\n   -module <module name>\n   <systemC file>\n");
    return false;
  }

  // Modules collect in a group until a source claims it; the group after
  // the last source must end up empty.
  std::vector<std::string_view> pendingModules;
  const std::string moduleOption = std::string("-") + kModuleOptionWord;
  const std::string wcxxOption = std::string("-") + kWcxxOptionPrefix;

  for (int i = 1; i < argc; ++i) {
    std::string_view arg = argv[i];
    if (arg.empty() || arg[0] != '-') {
      out.units.push_back({arg, std::move(pendingModules)});
      pendingModules.clear();
    } else if (arg == moduleOption) {
      if (i + 1 >= argc) {
        log_eprintf("Option '-%s' requires an argument\n", kModuleOptionWord);
        break;
      }
      pendingModules.push_back(argv[++i]);
    } else if (arg.starts_with(wcxxOption) && arg.size() > wcxxOption.size() &&
               arg[wcxxOption.size()] == ',') {
      split_wcxx_items(arg.substr(wcxxOption.size() + 1), out.extraOptions);
    } else if (arg == wcxxOption) {
      log_eprintf("Option '-%s' requires an argument\n", kWcxxOptionPrefix);
    } else {
      log_eprintf("Unkonwn option '%s'\n", argv[i] + 1);
    }
  }

  if (!pendingModules.empty()) {
    log_eprintf("Wrong arguments. Expected <systemC file> argument with module '%.*s'\n",
                static_cast<int>(pendingModules.back().size()), pendingModules.back().data());
    return false;
  }
  return true;
}
