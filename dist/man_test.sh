#!/usr/bin/env bash
# quillc(1) or quillc-sim(1) renders without a single warning and tells what
# every user needs: the options, the files a run writes, the environment and
# the exit statuses.
#
#   man_test.sh MAN_PAGE
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../testsupport/testsupport.sh"
page=$1 out=$scratch/out err=$scratch/err
LC_ALL=C.UTF-8 MANWIDTH=80 groff -ww -man -Tutf8 -P-cbou "$page" >"$out" 2>"$err" || echo "status $?" >>"$err"
[ -s "$err" ] && { echo "FAIL: groff said:" >&2; cat "$err" >&2; exit 1; }

case $page in
*quillc-sim.1)
  sections="NAME,SYNOPSIS,DESCRIPTION,OPTIONS,FILES,ENVIRONMENT,EXIT STATUS,EXAMPLES,SEE ALSO"
  texts=("quillc-sim - simulate" --simulator=name --top=name sc_module/quillc.run libcorvanesc.so
    'eval "$(quillc-env)"' "quillc-sim tb.sv")
  ;;
*)
  sections="NAME,SYNOPSIS,DESCRIPTION,OPTIONS,FILES,ENVIRONMENT,CACHES AND BUILD FARMS,EXIT STATUS,EXAMPLES,SEE ALSO"
  texts=("quillc - build SystemC modules" "-module module name" "-Wcxx,option[,option]..." \
    quillc.log sc_module/ libcorvanesc.so wrapper.sv QUILLC_JOBS QUILLC_STRICT SYSTEMC_PATH QUILLC_PATH TARN_HOME \
    'eval "$(quillc-env)"' "quillc-env --refresh" "quillc -module counter counter.cpp" \
    CCACHE_REMOTE_STORAGE DISTCC_HOSTS)
  ;;
esac
expect sections "$(grep -xE '[A-Z]+( [A-Z]+)*' "$out" | paste -sd ,)" "$sections"
for text in "${texts[@]}"; do
  grep -qF -- "$text" "$out" || fail "the page does not show '$text'"
done
pass "$(basename "$page"): renders cleanly, all sections present"
