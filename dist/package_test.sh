#!/usr/bin/env bash
# The Debian package of build tree $1: made with cpack, unpacked with
# dpkg -x into a scratch root and used from there only: the kit's
# precompiled headers made as the package's installation makes them, the
# counter example built with them and loaded, and the support library
# linked through its pkg-config file.
#
#   package_test.sh BUILD LOADER ROOT
# shellcheck source=testsupport/testsupport.sh
source "$(dirname "${BASH_SOURCE[0]}")/../testsupport/testsupport.sh"
build=$(cd "$1" && pwd) loader=$2 root=$3

(cd "$scratch" && cpack --config "$build/CPackConfig.cmake" -B "$scratch/package" >cpack.log 2>&1) ||
  { cat "$scratch/cpack.log" >&2; exit 1; }
deb=$(echo "$scratch"/package/quillc_*.deb)

depends=$(dpkg-deb -f "$deb" Depends)
for needed in g++ libsystemc-dev libc6 libstdc++6; do
  [[ ", $depends," == *", $needed"[\ ,]* ]] || fail "Depends [$depends] lacks $needed"
done
[[ $(dpkg-deb -f "$deb" Recommends) == "verilator, iverilog, ghdl, "* ]] || fail "Recommends lacks the simulators"

# The maintainer scripts, and what the run below does not use; the rest is
# used from the unpacked root.
files=$(dpkg-deb -c "$deb" | awk '{ print $6 }'; dpkg-deb --ctrl-tarfile "$deb" | tar -t)
for file in ./postinst ./prerm ./triggers ./usr/share/man/man1/quillc.1 ./usr/share/man/man1/quillc-sim.1 \
  ./usr/share/bash-completion/completions/quillc ./usr/lib/cmake/CorvaneSupport/CorvaneSupportConfig.cmake; do
  grep -qxF "$file" <<<"$files" || fail "the package lacks $file"
done
# Made on the machine, never shipped.
grep -q 'gch\|pch\.' <<<"$files" && fail "the package holds precompiled headers"

dpkg -x "$deb" "$scratch/root"
usr="$scratch/root/usr"
"$usr/bin/quillc-env" --refresh
"$usr/bin/quillc-env" --check || fail "quillc-env --check after --refresh"
# Also through a link from elsewhere, as from a directory on PATH.
ln -s "$usr/bin/quillc-env" "$scratch/linked-env"
eval "$("$scratch/linked-env")"
expect SYSTEMC_PATH "$SYSTEMC_PATH" "$usr/lib/quillc/kit/systemc"
build_counter "$usr/bin/quillc" work "wrapper cosim link"
# quillc-sim from bin/, beside quillc, needs none of the kit's variables.
cp "$root/examples/counter/tb.sv" "$scratch/work/"
expect "quillc-sim from bin/" "$(cd "$scratch/work" && env -u SYSTEMC_PATH -u QUILLC_PATH -u TARN_HOME \
  "$usr/bin/quillc-sim" tb.sv 2>&1 | grep -x 'counter: all checks passed')" "counter: all checks passed"

# shellcheck disable=SC2046
g++ -std=c++20 "$root/cmake/consumer/main.cpp" -o "$scratch/consumer" \
  $(PKG_CONFIG_PATH="$usr/lib/pkgconfig" pkg-config --cflags --libs corvane-support) ||
  fail "no consumer linked through pkg-config"
expect "the consumer" "$("$scratch/consumer" 2>&1)" '=W:[Demo] "a\tb"'

pass "package: $(basename "$deb") installs a working quillc, kit and support library"
