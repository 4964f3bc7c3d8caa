# Bash completion of quillc: its two options, the modules that the SystemC
# files of the current directory define (after -module), and SystemC
# sources and directories.

_quillc_modules() {
  # SC_MODULE(name), and classes derived from sc_module directly.
  local sources=(./*.cpp ./*.cc ./*.cxx ./*.h ./*.hpp)
  local existing=()
  local f
  for f in "${sources[@]}"; do
    [ -f "$f" ] && existing+=("$f")
  done
  ((${#existing[@]})) || return 0
  sed -n -E \
    -e 's/.*SC_MODULE[[:space:]]*\([[:space:]]*([A-Za-z_][A-Za-z0-9_]*).*/\1/p' \
    -e 's/.*(struct|class)[[:space:]]+([A-Za-z_][A-Za-z0-9_]*)[[:space:]]*:[^{]*\<(sc_core::)?sc_module\>.*/\2/p' \
    "${existing[@]}" 2>/dev/null | sort -u
}

_quillc() {
  local cur=${COMP_WORDS[COMP_CWORD]}
  local prev=
  ((COMP_CWORD > 0)) && prev=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()

  if [ "$prev" = "-module" ]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_quillc_modules)" -- "$cur")
    return 0
  fi
  case "$cur" in
  -Wcxx,*)
    # Compiler options: whatever gcc takes.
    return 0
    ;;
  -*)
    mapfile -t COMPREPLY < <(compgen -W "-module -Wcxx," -- "$cur")
    # "-Wcxx," wants its options right after the comma.
    if [ "${#COMPREPLY[@]}" = 1 ] && [ "${COMPREPLY[0]}" = "-Wcxx," ]; then
      compopt -o nospace 2>/dev/null || true
    fi
    return 0
    ;;
  esac

  local f
  while IFS= read -r f; do
    if [ -d "$f" ]; then
      COMPREPLY+=("$f/")
    else
      case "$f" in
      *.cpp | *.cc | *.cxx | *.c++ | *.C) COMPREPLY+=("$f") ;;
      esac
    fi
  done < <(compgen -f -- "$cur")
  # A directory is only a step on the way: no blank after it.
  if [ "${#COMPREPLY[@]}" = 1 ] && [ "${COMPREPLY[0]%/}" != "${COMPREPLY[0]}" ]; then
    compopt -o nospace 2>/dev/null || true
  fi
  return 0
}

complete -F _quillc quillc
