# quillc-sim's steps for GHDL 2 (VHDL-2008): wrapper.vhd, whose
# architectures call libcorvanesc.so through VHPIDIRECT.  Sourced by
# quillc-sim, which sets top, build, work, trace, files and extra.
#
# The work library is $build itself.  The wrapper loads the models from
# ./libcorvanesc.so, so the simulation runs in the work directory (as
# quillc-sim runs it); the wrapper stays the same wherever that directory
# is.  The options after -- go to GHDL's analysis and elaboration, except
# --time-resolution=, which goes to the elaboration only, and its run
# options (-gNAME=VALUE, --stop-time=, --assert-level= ...), which go to
# the run.

sim_wrapper() { echo wrapper.vhd; }
sim_traces() { echo vcd fst; }
sim_package() { echo ghdl; }
sim_version() {
  local version
  version=$("${GHDL:-ghdl}" --version 2>/dev/null) || return 1
  echo "${version%%$'\n'*}"
}

# Splits the options after -- into ghdl_analysis, ghdl_elaboration
# (which holds ghdl_analysis) and ghdl_run.
ghdl_options() {
  ghdl_analysis=(--std=08)
  ghdl_run=()
  local option resolution=()
  for option in "${extra[@]}"; do
    case $option in
      --time-resolution=*) resolution+=("$option") ;;
      -g* | --stop-time=* | --stop-delta=* | --assert-level=* | --ieee-asserts=* | --backtrace-severity=* | \
        --max-stack-alloc=* | --disp-time | --disp-tree* | --unbuffered | --wave=* | --read-wave-opt=* | \
        --write-wave-opt=* | --vpi=* | --sdf*) ghdl_run+=("$option") ;;
      *) ghdl_analysis+=("$option") ;;
    esac
  done
  ghdl_elaboration=("${ghdl_analysis[@]}" "${resolution[@]}")
}

# The entities of the files that none of them instantiates ("ghdl -f"
# marks them "**"), the wrapper's left out, one a line, once the files
# (the wrapper among them) analyse.
sim_tops() {
  local scratch entities entity status=0
  ghdl_options
  scratch=$(mktemp -d) || return 1
  entities=$("${GHDL:-ghdl}" -f "$@" 2>&1 | sed -n -E 's/^entity (.*) \*\*$/\1/p' |
    grep -v -x -F -f <("${GHDL:-ghdl}" -f "$(sim_wrapper)" 2>&1 | sed -n -E 's/^entity ([^ ]*).*/\1/p'))
  if ! "${GHDL:-ghdl}" -i "${ghdl_analysis[@]}" --workdir="$scratch" "$@" >"$scratch/log" 2>&1; then
    status=1
  else
    for entity in $entities; do
      "${GHDL:-ghdl}" -m "${ghdl_elaboration[@]}" --workdir="$scratch" "$entity" >>"$scratch/log" 2>&1 || status=1
    done
  fi
  if ((status)); then
    cat "$scratch/log" >&2
    echo "quillc-sim: $* do not analyse (GHDL's messages are above)" >&2
  else
    [[ -z $entities ]] || printf '%s\n' $entities
  fi
  rm -rf "$scratch"
  return $status
}


sim_built() { [[ -f $build/work-obj08.cf ]]; }

# Imports the files and lets GHDL analyse them in their order of use, then
# elaborates the top.
sim_build() {
  ghdl_options
  rm -f "$build"/*.cf
  "${GHDL:-ghdl}" -i "${ghdl_analysis[@]}" --workdir="$build" "${files[@]}" &&
    "${GHDL:-ghdl}" -m "${ghdl_elaboration[@]}" --workdir="$build" "$top"
}

# GHDL's warnings in a build log.
sim_warnings() { grep -E ':warning:' "$1"; }

sim_run() {
  ghdl_options
  # With a waveform, the wrapper's mirrors of the models' insides are set.
  [[ -n $trace ]] && ghdl_run+=("--$trace=$build/trace.$trace") && export CORVANE_SC_MIRRORS=1
  exec "${GHDL:-ghdl}" -r "${ghdl_elaboration[@]}" --workdir="$build" "$top" "${ghdl_run[@]}"
}
