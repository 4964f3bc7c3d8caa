#!/usr/bin/env bash
# Bash completion of quillc, called as bash calls it, in a directory with a
# design, a header, a sub-directory and files that are not SystemC sources.
#
#   completion_test.sh COMPLETION_SCRIPT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../testsupport/testsupport.sh"
script=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
cd "$scratch"
mkdir cores
printf 'SC_MODULE(counter) {\n};\nstruct fifo : public sc_core::sc_module {\n};\n' >counter.cpp
printf 'class ctrl : sc_module {\n};\nclass plain {\n};\n' >ctrl.h
touch notes.txt count.o cores/alu.cpp

# shellcheck source=/dev/null
source "$script"
complete -p quillc | grep -q -- '-F _quillc quillc$'

# Command line before the cursor | expected candidates, sorted, one blank apart
while IFS='|' read -r line expected; do
  read -r -a COMP_WORDS <<<"$line"
  [[ "$line" == *" " ]] && COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMP_LINE=$line COMP_POINT=${#line}
  _quillc quillc "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  expect "'$line'" "$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd ' ')" "$expected"
done <<'CASES'
quillc -mo|-module
quillc -W|-Wcxx,
quillc -|-Wcxx, -module
quillc -module |counter ctrl fifo
quillc -module c|counter ctrl
quillc -module counter |cores/ counter.cpp
quillc -module counter co|cores/ counter.cpp
quillc counter.cpp cores/|cores/alu.cpp
quillc counter.cpp -Wcxx,-|
quillc -module counter counter.cpp -module f|fifo
CASES
pass "quillc completes options, module names and SystemC sources"
