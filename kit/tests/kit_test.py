#!/usr/bin/env python3
"""End-to-end tests of the runtime kit.

Each case runs the real quillc once on a real SystemC design, in a fresh
work directory with the environment that quillc-env gives, and checks the
result: the files each compile and link makes, the exact wrapper text, that
Verilator's lint accepts the wrappers, and a simulator host (the
kit_cosim_loader program) driving libcorvanesc.so.

    kit_test.py --quillc Q --env E --loader L --root R Case [Case.test_x ...]
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ARGS = None
HERE = os.path.dirname(os.path.abspath(__file__))


def kit_environment():
    """The process environment after eval "$(quillc-env)"."""
    script = 'eval "$("$0")" && printf "%s\\0%s\\0%s" "$SYSTEMC_PATH" "$QUILLC_PATH" "$TARN_HOME"'
    out = subprocess.run(["sh", "-c", script, ARGS.env], check=True, capture_output=True,
                         text=True).stdout
    systemc, quillc, tarn = out.split("\0")
    # Plain quotes in the compiler's messages, whatever the locale.
    return dict(os.environ, SYSTEMC_PATH=systemc, QUILLC_PATH=quillc, TARN_HOME=tarn, LC_ALL="C")


def expected(name):
    with open(os.path.join(HERE, "expected", name)) as f:
        return f.read()


class QuillcRun(unittest.TestCase):
    """quillc run once per class on `sources` (copied from the project root)
    with `arguments`."""

    sources = []
    arguments = []

    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory(prefix="quillc-kit-")
        cls.work = cls.tmp.name
        for source in cls.sources:
            shutil.copy(os.path.join(ARGS.root, source), cls.work)
        cls.result = subprocess.run([ARGS.quillc, *cls.arguments], cwd=cls.work,
                                    env=kit_environment(), capture_output=True, text=True,
                                    timeout=240)

    @classmethod
    def tearDownClass(cls):
        cls.tmp.cleanup()

    def path(self, name):
        return os.path.join(self.work, name)

    def read(self, name):
        with open(self.path(name)) as f:
            return f.read()

    def assert_built(self, files):
        self.assertEqual(self.result.returncode, 0, self.result.stderr)
        for name in files:
            self.assertTrue(os.path.isfile(self.path(name)), f"{name} missing\n{self.result.stderr}")

    def assert_lint_clean(self, modules):
        for module in modules:
            lint = subprocess.run(["verilator", "--lint-only", "-Wall", "--top-module", module,
                                   "wrapper.sv"], cwd=self.work, capture_output=True, text=True)
            self.assertEqual((lint.returncode, lint.stdout + lint.stderr), (0, ""), module)

    def assert_cosim(self, scenario):
        host = subprocess.run([ARGS.loader, self.path("libcorvanesc.so"), scenario],
                              cwd=self.work, capture_output=True, text=True, timeout=120)
        self.assertEqual(host.returncode, 0, host.stdout + host.stderr)
        self.assertIn(f"{scenario}: 0 failed checks", host.stdout)


class Counter(QuillcRun):
    sources = ["examples/counter/counter.cpp"]
    arguments = ["-module", "counter", "counter.cpp"]

    def test_every_step_builds(self):
        self.assert_built(["sc_module/counter_create.o", "sc_module/wrapper_generator",
                           "wrapper.sv", "libcorvanesc.so"])
        self.assertEqual(self.result.stderr, "")

    def test_generator_reports_module_and_ports(self):
        self.assertIn("Start wrapper generating...\n", self.result.stdout)
        self.assertIn("\nModule counter\n"
                      "  input clk: bool -> bit\n"
                      "  input reset: bool -> bit\n"
                      "  input enable: bool -> bit\n"
                      "  output count: sc_dt::sc_uint<8> -> bit [7:0]\n"
                      "Wrote wrapper.sv: 1 module\n"
                      "End wrapper generating.\n", self.result.stdout)

    def test_wrapper(self):
        self.assertEqual(self.read("wrapper.sv"), expected("counter.sv"))
        self.assert_lint_clean(["counter"])

    def test_simulator_drives_the_counter(self):
        self.assert_cosim("counter")

    def test_environment_points_at_the_kit(self):
        lines = subprocess.run([ARGS.env], check=True, capture_output=True,
                               text=True).stdout.splitlines()
        self.assertEqual([line.split("=")[0] for line in lines],
                         ["export SYSTEMC_PATH", "export QUILLC_PATH", "export TARN_HOME"])
        env = kit_environment()
        for name, inside in [("SYSTEMC_PATH", "include/systemc.h"),
                             ("SYSTEMC_PATH", "lib64/libsystemc.a"),
                             ("QUILLC_PATH", "include/startup.cpp"),
                             ("QUILLC_PATH", "lib/libwrapper_generator.a"),
                             ("QUILLC_PATH", "lib/libsccosim.a"),
                             ("TARN_HOME", "include")]:
            self.assertTrue(os.path.exists(os.path.join(env[name], inside)), f"{name}/{inside}")


class TwoModules(QuillcRun):
    sources = ["examples/two_modules/design.cpp", "examples/two_modules/checksum.cpp",
               "examples/two_modules/checksum.h"]
    arguments = ["-module", "adder", "-module", "shift_reg", "design.cpp", "checksum.cpp"]

    def test_every_step_builds(self):
        self.assert_built(["sc_module/design_create.o", "sc_module/wrapper_generator",
                           "wrapper.sv", "libcorvanesc.so"])
        self.assertEqual(self.result.stderr, "")
        # The source without modules is linked as it is, never exported.
        self.assertFalse(os.path.exists(self.path("sc_module/checksum_create.cpp")))

    def test_wrapper(self):
        self.assertEqual(self.read("wrapper.sv"), expected("two_modules.sv"))
        self.assert_lint_clean(["adder", "shift_reg"])

    def test_simulator_drives_both_modules(self):
        self.assert_cosim("two_modules")


class PortTypes(QuillcRun):
    sources = ["kit/tests/data/types.cpp"]
    arguments = ["-module", "all_types", "-module", "odd", "types.cpp"]

    def test_every_step_builds(self):
        self.assert_built(["sc_module/types_create.o", "sc_module/wrapper_generator",
                           "wrapper.sv", "libcorvanesc.so"])

    def test_unmapped_ports_are_named_and_the_rest_is_written(self):
        self.assertEqual(
            self.result.stderr,
            "wrapper_generator: error: module 'odd', port 'level': no SystemVerilog type for "
            "C++ type 'sc_core::sc_in<double>'; the port is left out of the wrapper\n"
            "wrapper_generator: error: module 'odd', port 'wide': no SystemVerilog type for "
            "C++ type 'sc_core::sc_out<sc_dt::sc_biguint<100> >'; the port is left out of the "
            "wrapper\n"
            "wrapper_generator: warning: module 'odd', port 'port_0': the port has no name of "
            "its own; name it in the module's constructor, as clk(\"clk\")\n")
        self.assertIn("Wrote wrapper.sv: 2 modules\n", self.result.stdout)

    def test_wrapper(self):
        self.assertEqual(self.read("wrapper.sv"), expected("port_types.sv"))
        self.assert_lint_clean(["all_types", "odd"])

    def test_simulator_values(self):
        self.assert_cosim("port_types")


class CompileError(QuillcRun):
    sources = ["kit/tests/data/broken.cpp"]
    arguments = ["-module", "broken", "broken.cpp"]

    def test_status_stays_zero(self):
        self.assertEqual(self.result.returncode, 0)

    def test_compiler_error_reaches_the_user_from_both_compiles(self):
        errors = re.findall(r"broken\.cpp:5:15: error: expected .;. at end of member declaration",
                            self.result.stderr)
        self.assertEqual(len(errors), 2, self.result.stderr)

    def test_later_commands_still_run(self):
        out, err = self.result.stdout, self.result.stderr
        self.assertRegex(out, r"\ngcc [^\n]* -o sc_module/wrapper_generator [^\n]*\n")
        self.assertRegex(out, r"\ngcc [^\n]* -o libcorvanesc\.so [^\n]*\n")
        self.assertIn("End wrapper generating.\n", out)
        self.assertTrue(out.endswith("End generating SC library libcorvanesc.so.\n"), out)
        # Both links ran and met the missing object; the shell tried the
        # generator that the first one could not make.
        self.assertEqual(err.count("cannot find sc_module/broken_create.o"), 2, err)
        self.assertRegex(err, r"sc_module/wrapper_generator: .*(not found|No such file)")
        self.assertFalse(os.path.exists(self.path("libcorvanesc.so")))
        self.assertFalse(os.path.exists(self.path("wrapper.sv")))


def main():
    global ARGS
    parser = argparse.ArgumentParser()
    for option in ("--quillc", "--env", "--loader", "--root"):
        parser.add_argument(option, required=True)
    ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], "-v", *rest])


if __name__ == "__main__":
    main()
