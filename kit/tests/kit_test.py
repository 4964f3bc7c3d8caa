#!/usr/bin/env python3
"""End-to-end tests of the runtime kit: the real quillc builds a real SystemC
design once per case, with the environment quillc-env gives; then come the
files made, the exact wrapper and Verilator's lint of it, and a simulator
host (kit_cosim_loader) driving libcorvanesc.so under valgrind.

    kit_test.py --quillc Q --env E --loader L --root R Case [Case.test_x ...]
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ARGS = None


def kit_environment():
    """The process environment after eval "$(quillc-env)", with plain quotes in
    the compiler's messages whatever the locale."""
    out = subprocess.run(["sh", "-c", 'eval "$("$0")" && env -0', ARGS.env], check=True, capture_output=True,
                         text=True).stdout
    return dict(item.split("=", 1) for item in out.split("\0") if item) | {"LC_ALL": "C"}


class QuillcRun(unittest.TestCase):
    """quillc run once per class on `sources` (copied from the project root)
    with `arguments`."""

    sources, arguments = [], []
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.mkdtemp(prefix="quillc-kit-")
        cls.addClassCleanup(shutil.rmtree, cls.work)
        for source in cls.sources:
            shutil.copy(os.path.join(ARGS.root, source), cls.work)
        result = cls.call(ARGS.quillc, *cls.arguments, env=kit_environment(), timeout=240)
        cls.status, cls.out, cls.err = result.returncode, result.stdout, result.stderr

    @classmethod
    def call(cls, *command, **options):
        return subprocess.run(command, cwd=cls.work, capture_output=True, text=True, **options)

    def exists(self, name):
        return os.path.exists(os.path.join(self.work, name))


class Example(QuillcRun):
    """A design that builds: `stem`.cpp holds the exported `modules`, whose
    wrapper is expected/`scenario`.sv, driven by the loader's `scenario`
    and `more_scenarios`."""

    stem, modules, scenario, errors, more_scenarios = "", [], "", "", ()

    def test_every_step_builds(self):
        self.assertEqual((self.status, self.err), (0, self.errors))
        for name in [f"sc_module/{self.stem}_create.o", "sc_module/wrapper_generator"]:
            self.assertTrue(self.exists(name), name)
        self.assertIn(f"Wrote wrapper.sv: {len(self.modules)} module", self.out)

    def test_wrapper(self):
        # The bodies are the Cosim case's to check, by what they do, and the
        # header, the same for every design, the counter's.
        wrapper = re.sub(r"(?m)(^\);\n|;\n(?=  timeunit))(.*\n)*?endmodule", r"\1endmodule",
                         pathlib.Path(self.work, "wrapper.sv").read_text())
        if self.scenario != "counter":
            wrapper = wrapper[wrapper.index("\nmodule "):wrapper.rindex("endmodule\n") + 10]
        self.assertEqual(wrapper,
                         pathlib.Path(__file__).with_name("expected").joinpath(self.scenario + ".sv").read_text())
        for top in [[], ["--timing"]] + [["--top-module", module] for module in self.modules]:
            lint = self.call("verilator", "--lint-only", "-Wall", *top, "wrapper.sv")
            self.assertEqual((lint.returncode, lint.stdout + lint.stderr), (0, ""), top)

    def test_simulator(self):
        for scenario in self.scenario, *self.more_scenarios:
            host = self.call("valgrind", "-q", "--error-exitcode=9", ARGS.loader,
                             os.path.join(self.work, "libcorvanesc.so"), scenario, timeout=240)
            self.assertEqual(host.stdout + host.stderr, f"{scenario}: 0 failed checks\n")
            self.assertEqual(host.returncode, 0)


class Counter(Example):
    sources = ["examples/counter/counter.cpp"]
    arguments = ["-module", "counter", "counter.cpp"]
    stem, modules, scenario = "counter", ["counter"], "counter"

    def test_generator_reports_the_ports(self):
        self.assertIn("\nModule counter\n  input clk: bool -> bit\n  input reset: bool -> bit\n"
                      "  input enable: bool -> bit\n  output count: sc_dt::sc_uint<8> -> bit [7:0]\n"
                      "Wrote wrapper.sv: 1 module\nEnd wrapper generating.\n", self.out)

    def test_library_holds_signals_of_the_port_types_only(self):
        symbols = self.call("nm", "-DC", "libcorvanesc.so", check=True).stdout
        self.assertEqual(sorted(set(re.findall(r"sc_core::sc_signal<([^,]*),", symbols))),
                         ["bool", "sc_dt::sc_uint<8>"])


class TwoModules(Example):
    sources = ["examples/two_modules/" + name for name in ("design.cpp", "checksum.cpp", "checksum.h")]
    arguments = ["-module", "adder", "-module", "shift_reg", "design.cpp", "checksum.cpp"]
    stem, modules, scenario = "design", ["adder", "shift_reg"], "two_modules"

    def test_source_without_modules_is_only_linked(self):
        self.assertFalse(self.exists("sc_module/checksum_create.cpp"))


class Ports(Example):
    """ports.cpp names no port; the front end cannot parse types.cpp, so
    its unnamed port keeps SystemC's name.  The unmapped ports are named and
    the rest of the wrapper is written."""
    sources = ["kit/tests/data/" + name for name in ("ports.h", "ports.cpp", "types.cpp")]
    arguments = ["-module", "mixer", "-module", "wide", "-module", "inc12", "-module", "producer", "-module", "grows",
                 "-module", "shy", "ports.cpp", "-module", "all_types", "-module", "odd", "types.cpp"]
    stem, modules, scenario = "ports", ["mixer", "wide", "inc12", "producer", "grows", "all_types", "odd"], "ports"
    more_scenarios = ("stranded",)
    errors = ("wrapper_generator: error: module 'producer', port 'out': no SystemVerilog type for C++ type "
              "'sc_core::sc_port<write_if, 1, (sc_core::sc_port_policy)0>'; the port is left out of the wrapper\n"
              "wrapper_generator: error: module 'producer', port 'pkt_out': no SystemVerilog type for C++ type "
              "'sc_core::sc_out<pkt>'; the port is left out of the wrapper\n"
              "wrapper_generator: error: module 'shy': cannot build an instance: not here\n"
              "wrapper_generator: warning: sc_module/types_create.cpp: no port names from the source: "
              "../types.cpp:5:1: error: static_assert failed due to requirement '4 >= 10' "
              "\"needs GCC 10 or later\"\n"
              "wrapper_generator: warning: module 'odd', port 'port_0': the port has no name of its own; "
              "name it in the module's constructor, as clk(\"clk\")\n"
              "wrapper_generator: error: module 'odd', port 'level': no SystemVerilog type for C++ type "
              "'sc_core::sc_inout<double>'; the port is left out of the wrapper\n"
              "wrapper_generator: error: module 'odd', port 'line': no SystemVerilog type for C++ type "
              "'sc_core::sc_in_resolved'; the port is left out of the wrapper\n")

    def test_parses_at_once_change_nothing_but_time(self):
        def run(**jobs):
            result = subprocess.run("sc_module/wrapper_generator", cwd=self.work, env=kit_environment() | jobs,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=240)
            files = [pathlib.Path(self.work, name).read_text() for name in
                     ("wrapper.sv", "sc_module/sc_module_factory.cpp", "sc_module/port_type_mapping_funcs.hpp")]
            return result.returncode, result.stdout, files
        alone = run()
        for jobs, warning in [("1", ""), ("2", ""), ("100000", ""), ("0", "0"), ("2x", "2x")]:
            if warning:
                warning = (f"wrapper_generator: warning: QUILLC_JOBS='{warning}' is not a positive whole number; "
                           "sources are parsed one at a time\n")
            self.assertEqual(run(QUILLC_JOBS=jobs), (alone[0], warning + alone[1], alone[2]), jobs)


class Cosim(QuillcRun):
    """The models of data/cosim.cpp and the counter inside Verilator through
    quillc-sim: three testbenches (a 1ns/1ps and two 1ps/1ps tops), each
    printing a line per check, the second traced."""
    sources = ["examples/counter/counter.cpp"] + ["kit/tests/data/" + name for name in
                                                  ("cosim.cpp", "cosim_tb.sv", "cosim_tb_ps.sv", "cosim_tb_keeper.sv")]
    arguments = ["-module", "counter", "counter.cpp", "-module", "comb", "-module", "ticker", "-module", "types",
                 "-module", "guard", "-module", "edges", "-module", "late", "-module", "inc", "-module", "slow",
                 "cosim.cpp"]

    def simulate(self, *arguments):
        sim = os.path.join(kit_environment()["QUILLC_PATH"], "bin", "quillc-sim")
        return self.call(sim, *arguments, timeout=400)

    def assertChecks(self, out, count):
        """The testbench printed `count` passed checks and no failed one."""
        self.assertEqual((out.count("\nok: ") + out.startswith("ok: "), "FAILED" in out), (count, False), out)

    def test_ns_testbench_then_the_models_error_ends_it(self):
        run = self.simulate("cosim_tb.sv")
        self.assertChecks(run.stdout, 29)
        self.assertIn("Error: guard: 255 is not a value this model takes\nIn file: ../cosim.cpp:", run.stdout)
        self.assertNotEqual(run.returncode, 0)

    def test_ps_testbench_traced_and_not_rebuilt(self):
        run = self.simulate("--trace=vcd", "cosim_tb_ps.sv")
        self.assertChecks(run.stdout, 6)
        self.assertEqual(run.returncode, 0, run.stderr)
        log = pathlib.Path(self.work, "sim_build/cosim_tb_ps/verilator.log")
        built = log.stat().st_mtime_ns
        self.assertEqual(self.simulate("--trace=vcd", "cosim_tb_ps.sv").stdout, run.stdout)
        self.assertEqual(log.stat().st_mtime_ns, built)
        # The ticker's output at each of its changes, as the waveform holds it.
        vcd = pathlib.Path(self.work, "sim_build/cosim_tb_ps/trace.vcd").read_text()
        code = re.search(r"\$scope module tk \$end\s+(?:\$var [^$]*\$end\s+)*?\$var wire\s+8 (\S+) count ",
                         vcd).group(1)
        changes, now = [], 0
        for line in vcd.split("\n"):
            if line.startswith("#"):
                now = int(line[1:])
            elif line.endswith(" " + code) and line.startswith("b"):
                changes.append((now, int(line[1:].split()[0], 2)))
        self.assertEqual(changes, [(0, 0), (10000, 1), (20000, 2), (28002, 3), (38002, 4)])

    def test_keeper_testbench_to_10_seconds(self):
        run = self.simulate("cosim_tb_keeper.sv")
        self.assertChecks(run.stdout, 16)
        self.assertEqual(run.returncode, 0, run.stderr)

    def test_wrapper_lints_clean_as_a_whole(self):
        for timing in [], ["--timing"]:
            lint = self.call("verilator", "--lint-only", "-Wall", *timing, "wrapper.sv")
            self.assertEqual((lint.returncode, lint.stdout + lint.stderr), (0, ""), timing)


class CompileError(QuillcRun):
    sources = ["kit/tests/data/broken.cpp"]
    arguments = ["-module", "broken", "broken.cpp"]

    def test_error_reaches_the_user_and_later_commands_still_run(self):
        self.assertEqual(self.status, 0)
        # Both compiles report it; both links meet the missing object; the
        # shell tries the generator that the first link could not make.
        self.assertEqual(len(re.findall(r"broken\.cpp:5:15: error: expected .;. at end of member "
                                        r"declaration", self.err)), 2, self.err)
        self.assertEqual(self.err.count("cannot find sc_module/broken_create.o"), 2, self.err)
        self.assertRegex(self.err, r"sc_module/wrapper_generator: .*(not found|No such file)")
        self.assertRegex(self.out, r"(?s)\ngcc [^\n]* -o sc_module/wrapper_generator .*"
                                   r"\nEnd wrapper generating\.\n.*\ngcc [^\n]* -o libcorvanesc\.so .*"
                                   r"\nEnd generating SC library libcorvanesc\.so\.\n\Z")
        self.assertFalse(self.exists("libcorvanesc.so") or self.exists("wrapper.sv"))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--quillc", "--env", "--loader", "--root"):
        parser.add_argument(option, required=True)
    ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], "-v", *rest])
