#!/usr/bin/env python3
"""The SystemC models inside Icarus Verilog through quillc-sim: the real
quillc builds the counter, data/cosim.cpp and data/icarus.cpp once; then each
root of data/icarus_tb.v is a simulation of its own, and the counter's
SystemVerilog testbench runs as it does in Verilator.

    icarus_test.py --quillc Q --env E --root R [Icarus.test_x ...]
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import unittest

import kit_test

VALUES = """\
VCD info: dumpfile sim_build/icarus_tb/trace.vcd opened for output.
sum at 1 ns: 5
sum after x = 10: 15, in the same step
ticks at 1.499 ns: 0
ticks at 1.501 ns: 1
ticks at 2.999 ns: 1
ticks at 3.001 ns: 2
count after reset: 0
count, 100 clocks: 100; the other, 10 clocks: 10
count after reset: 0
count, 256 clocks: 0
count, enable set 1 ps before an edge: 1
count, enable set 1 ps after an edge: 1
count, the edge after: 2
s_neg 5 interrupt 1 u_inv fedcba9876543210 ll_half -5
w_inc 00000000000000010000000000000000 sw_neg 3 r_twice 2.5 f_half 1.5 hold 01xz
s_neg -5 interrupt 0 u_inv fffffffffffffff0 ll_half -4611686018427387904
w_inc 00000000000000000000000000000000 sw_neg -1
xs 00100001 zs 00010010 same 01xz10zx own 01xz10zx b_code 2 two_same 10001111
b_code 3
"""


class Icarus(kit_test.QuillcRun):
    sources = ["examples/counter/counter.cpp", "examples/counter/tb.sv"] + [
        "kit/tests/data/" + name for name in ("cosim.cpp", "icarus.cpp", "icarus_tb.v")]
    arguments = ["-module", "counter", "counter.cpp", "-module", "comb", "-module", "types", "-module", "guard",
                 "cosim.cpp", "-module", "xz", "-module", "pulse", "-module", "stopper", "icarus.cpp"]

    def simulate(self, *arguments):
        sim = os.path.join(kit_test.kit_environment()["QUILLC_PATH"], "bin", "quillc-sim")
        run = self.call(sim, "--simulator=icarus", *arguments, timeout=120)
        return run.returncode, run.stdout

    def test_values_and_timing_traced_and_not_rebuilt(self):
        self.assertEqual(self.simulate("--top=icarus_tb", "--trace=vcd", "icarus_tb.v"), (0, VALUES))
        log = pathlib.Path(self.work, "sim_build/icarus_tb/icarus.log")
        built = log.stat().st_mtime_ns
        self.assertEqual(self.simulate("--top=icarus_tb", "--trace=vcd", "icarus_tb.v"), (0, VALUES))
        self.assertEqual(log.stat().st_mtime_ns, built)
        # The pulse's output at each of its changes, as the waveform holds it.
        vcd = pathlib.Path(self.work, "sim_build/icarus_tb/trace.vcd").read_text()
        code = re.search(r"\$scope module p \$end\n(?:\$var .*\n)*?\$var reg 8 (\S+) ticks ", vcd).group(1)
        self.assertEqual(kit_test.vector_changes(vcd, code), [(0, 0), (1500, 1), (3000, 2), (4500, 3), (6000, 4)])

    def test_ends_and_the_systemverilog_testbench(self):
        status, out = self.simulate("--top=icarus_error", "icarus_tb.v")
        self.assertEqual((status, out.split("\n")[0]),
                         (1, "FATAL: icarus_error.g: Error: guard: 255 is not a value this model takes"))
        self.assertNotIn("FAILED", out)
        self.assertEqual(self.simulate("--top=icarus_stop", "icarus_tb.v"),
                         (0, "running at 1 ns\n\nInfo: /OSCI/SystemC: Simulation stopped by user.\n"))
        status, out = self.simulate("tb.sv")
        self.assertEqual((status, out.count("\nok: "), out.endswith("\ncounter: all checks passed\n")), (0, 5, True))

    def test_tops_as_icarus_elaborates_them(self):
        script = f'source {kit_test.ARGS.root}/kit/sim/icarus.sh; extra=(); sim_tops "$@"'
        tops = self.call("bash", "-c", script, "icarus.sh", "icarus_tb.v", "tb.sv", "wrapper.v")
        self.assertEqual((tops.returncode, tops.stdout), (0, "icarus_tb\nicarus_error\nicarus_stop\ntb\n"))
        broken = self.call("bash", "-c", script, "icarus.sh", "counter.cpp", "wrapper.v")
        self.assertEqual((broken.returncode, broken.stdout), (1, ""))
        self.assertTrue(broken.stderr.endswith("quillc-sim: iverilog cannot compile counter.cpp wrapper.v\n"),
                        broken.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--quillc", "--env", "--root"):
        parser.add_argument(option, required=True)
    parser.add_argument("--sanitize", action="store_true")
    kit_test.ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], "-v", *rest])
