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

# --sanitize (the sanitizer tree): quillc builds the designs, and
# quillc-sim the simulations, with gcc's address and undefined-behaviour
# sanitizers, whose run-time the kit's instrumented runtime calls too.
# One check goes on after a report, so that the report can be suppressed:
# SystemC's own sc_lv_base::clean_tail() shifts a 32-bit word by 32 for a
# width that is a multiple of 32 (sc_lv_base.h), and then masks nothing,
# as it means to (UBSAN_SUPPRESSIONS).  Any other report still ends the
# run (halt_on_error).
SANITIZE = ["-fsanitize=address", "-fsanitize=undefined", "-fno-sanitize-recover=all",
            "-fsanitize-recover=shift-exponent", "-fno-omit-frame-pointer"]
UBSAN_SUPPRESSIONS = "shift-exponent:sc_dt::sc_lv_base::clean_tail\n"


def kit_environment():
    """The process environment after eval "$(quillc-env)", with plain quotes in
    the compiler's messages whatever the locale."""
    out = subprocess.run(["sh", "-c", 'eval "$("$0")" && env -0', ARGS.env], check=True, capture_output=True,
                         text=True).stdout
    return dict(item.split("=", 1) for item in out.split("\0") if item) | {"LC_ALL": "C"}


def sanitizer_options(work):
    """The sanitizers' options for a co-simulation in `work`: those of the
    sanitizer tree, leaks checked.  Nothing is suppressed for SystemC's
    thread stacks: they are blocks of the heap, which the address sanitizer
    checks as any, and what misleads it about stacks that are switched
    (an exception or a longjmp leaving one; its warning "ASan is ignoring
    requested __asan_handle_no_return" and the false reports after it)
    does not happen here, so a report of either kind fails the test."""
    path = os.path.join(work, "ubsan.supp")
    pathlib.Path(path).write_text(UBSAN_SUPPRESSIONS)
    return {"ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "detect_leaks=1"),
            "UBSAN_OPTIONS": f"print_stacktrace=1:halt_on_error=1:suppressions={path}"}


def vector_changes(vcd, code):
    """The (time, value) changes of the vector with identifier `code` in the
    text of a VCD file."""
    changes, now = [], 0
    for line in vcd.split("\n"):
        if line.startswith("#"):
            now = int(line[1:])
        elif line.endswith(" " + code) and line.startswith("b"):
            changes.append((now, int(line[1:].split()[0], 2)))
    return changes


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
        sanitize = ["-Wcxx," + ",".join(SANITIZE)] if ARGS.sanitize else []
        result = cls.call(ARGS.quillc, *sanitize, *cls.arguments, env=kit_environment(), timeout=240)
        cls.status, cls.out, cls.err = result.returncode, result.stdout, result.stderr

    @classmethod
    def call(cls, *command, **options):
        return subprocess.run(command, cwd=cls.work, capture_output=True, text=True, **options)

    @classmethod
    def sanitized(cls):
        """What an instrumented library needs beside it: gcc's sanitizer
        run-time loaded first, for a host that is not instrumented, and
        SystemC's thread stacks taken for what they are (sanitizer_options)."""
        library = subprocess.run(["gcc", "-print-file-name=libasan.so"], capture_output=True, text=True).stdout
        return {"LD_PRELOAD": library.strip()} | sanitizer_options(cls.work)

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
            host = ([ARGS.loader] if ARGS.sanitize else ["valgrind", "-q", "--error-exitcode=9", ARGS.loader])
            host = self.call(*host, os.path.join(self.work, "libcorvanesc.so"), scenario, timeout=240,
                             env=kit_environment() | (self.sanitized() if ARGS.sanitize else {}))
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
        self.assertChecks(run.stdout, 30)
        self.assertIn("Error: guard: 255 is not a value this model takes\nIn file: ../cosim.cpp:", run.stdout)
        # An ordinary failure, not an abort.
        self.assertEqual(run.returncode, 1)

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
        changes = vector_changes(vcd, code)
        self.assertEqual(changes, [(0, 0), (10000, 1), (20000, 2), (28002, 3), (38002, 4)])

    def test_keeper_testbench_to_10_seconds(self):
        run = self.simulate("cosim_tb_keeper.sv")
        self.assertChecks(run.stdout, 16)
        self.assertEqual(run.returncode, 0, run.stderr)

    def test_wrapper_lints_clean_as_a_whole(self):
        for timing in [], ["--timing"]:
            lint = self.call("verilator", "--lint-only", "-Wall", *timing, "wrapper.sv")
            self.assertEqual((lint.returncode, lint.stdout + lint.stderr), (0, ""), timing)


class SimChecks(QuillcRun):
    """What quillc-sim checks around a Verilator build of the counter: a model
    that the last quillc run did not build is refused, the top is the root
    that Verilator elaborates (the wrapper's unused modules aside), and its
    warnings are shown once."""
    sources = ["examples/counter/counter.cpp", "examples/counter/tb.sv"]
    arguments = ["-module", "counter", "counter.cpp"]
    # A parameterised helper declared first, instantiated over three lines
    # and fed 8 bits on its 16-bit input.
    par_tb = """module par_checker #(parameter int W = 8) (input logic [W-1:0] data, output logic odd);
  assign odd = ^data;
endmodule
module par_tb;
  logic [7:0] narrow = 8'h07;
  logic odd;
  par_checker #(
    .W(16)
  ) chk (.data(narrow), .odd(odd));
  initial #1 $display("odd %0d", odd);
endmodule
"""

    def execute(self, *command, **env):
        # A wrong top may never end.
        result = self.call(*command, env=kit_environment() | env, timeout=120)
        return result.returncode, result.stdout, result.stderr

    def simulate(self, *files):
        return self.execute(os.path.join(kit_environment()["QUILLC_PATH"], "bin", "quillc-sim"), *files)

    def test_broken_source_is_refused_until_rebuilt(self):
        source = pathlib.Path(self.work, "counter.cpp")
        good = source.read_text()
        source.write_text(good.replace("sc_in<bool> reset;", "sc_in<bool> reset"))
        # Both links succeed, from the objects of the run before.
        status, _, err = self.execute(ARGS.quillc, *self.arguments, QUILLC_STRICT="1")
        failed = re.findall(r"(?m)^Failed \(status 1\): cd sc_module;gcc .* -c  counter_create\.cpp\n", err)
        self.assertEqual((status, len(failed), err.endswith(failed[-1])), (1, 2, True), err)
        self.assertEqual(self.simulate("tb.sv"), (
            2, "", "quillc-sim: counter.cpp did not compile in the last quillc run (status 1): "
                   "libcorvanesc.so holds an older model; fix it and run quillc again\n"))
        source.write_text(good)
        self.assertEqual(self.execute(ARGS.quillc, *self.arguments, QUILLC_STRICT="1")[::2], (0, ""))
        status, out, err = self.simulate("tb.sv")
        self.assertEqual((status, out.endswith("counter: all checks passed\n- tb.sv:43: Verilog $finish\n"), err),
                         (0, True, "quillc-sim: top tb\n"))

    def test_bad_options_and_missing_simulators_are_refused(self):
        for environment, arguments, message in [
                ({}, ["--simulator=xyz"], "unknown simulator 'xyz' (verilator, icarus or ghdl)"),
                ({"GHDL": "/nonexistent"}, ["--simulator=ghdl"], "cannot run ghdl (Debian: apt-get install ghdl)"),
                ({"IVERILOG": "/nonexistent"}, ["--simulator=icarus"],
                 "cannot run icarus (Debian: apt-get install iverilog)")]:
            self.assertEqual(self.execute(os.path.join(kit_environment()["QUILLC_PATH"], "bin", "quillc-sim"),
                                          *arguments, "tb.sv", **environment), (2, "", f"quillc-sim: {message}\n"))

    def test_top_is_the_root_that_verilator_elaborates(self):
        pathlib.Path(self.work, "par_tb.sv").write_text(self.par_tb)
        pathlib.Path(self.work, "spare.sv").write_text("module spare;\nendmodule\n")
        self.assertEqual(self.simulate("par_tb.sv", "spare.sv"), (2, "", (
            "quillc-sim: 2 tops in par_tb.sv spare.sv: par_tb spare; name the one to simulate with --top=NAME\n")))
        self.assertEqual(self.simulate("par_tb.sv"), (0, "odd 1\n", (
            "quillc-sim: top par_tb\n%Warning-WIDTH: par_tb.sv:9:11: Input port connection 'data' expects 16 bits "
            "on the pin connection, but pin connection's VARREF 'narrow' generates 8 bits.\n"
            "                              : ... In instance par_tb\n"
            "    9 |   ) chk (.data(narrow), .odd(odd));\n      |           ^~~~\n"
            "                ... For warning description see https://verilator.org/warn/WIDTH?v=5.006\n"
            "                ... Use \"/* verilator lint_off WIDTH */\" and lint_on around source to disable "
            "this message.\n")))
        # Not rebuilt: no warning.
        self.assertEqual(self.simulate("par_tb.sv"), (0, "odd 1\n", "quillc-sim: top par_tb\n"))


class Ends(QuillcRun):
    """The models of data/ends.cpp inside Verilator through quillc-sim, built
    once for every end of the run, which the environment picks, and once
    traced."""
    sources = ["kit/tests/data/" + name for name in ("ends.cpp", "ends_tb.sv", "ends_tb.v", "ends_tb.vhd")]
    arguments = ["-module", "pair", "-module", "stopper", "-module", "crasher", "-Wcxx,-g", "ends.cpp"]

    def simulate(self, *arguments, **environment):
        sim = os.path.join(kit_environment()["QUILLC_PATH"], "bin", "quillc-sim")
        if ARGS.sanitize:
            flags = " ".join(SANITIZE)
            arguments += ("--", "-CFLAGS", flags, "-LDFLAGS", flags)
            environment |= sanitizer_options(self.work)
        run = self.call(sim, *arguments, env=kit_environment() | environment, timeout=400)
        return run.returncode, re.sub(r"wrapper\.sv:\d+", "wrapper.sv:N", run.stdout), run.stderr

    def test_ends_of_the_run(self):
        for environment, expected in [
            # The testbench's $finish runs the models' end_of_simulation once.
            ({}, "testbench ends at 100000: c = 23\n- ends_tb.sv:14: Verilog $finish\nstopper: 10 edges at 100 ns\n"),
            # One model's sc_stop() ends the run once, whatever the others do.
            ({"QUILLC_TEST_STOP": "1"},
             "\nInfo: /OSCI/SystemC: Simulation stopped by user.\nstopper: 3 edges at 25 ns\n"
             "- wrapper.sv:N: Verilog $finish\n")]:
            self.assertEqual(self.simulate("ends_tb.sv", **environment), (0, expected, "quillc-sim: top ends_tb\n"),
                             environment)

    def test_ends_in_icarus_and_ghdl(self):
        crash = (r"\Aquillc-sim: top ends_tb\n=F:\[Crash\] \nThe simulation has crashed: SIGSEGV \(segmentation "
                 r"fault\)\nin SystemC process ends_tb:x\.tick\nat simulation time 15 ns\nstack:\n"
                 r"  #0 crasher::tick\(\) at \S*/ends\.cpp:82\n")
        stopped = "\nInfo: /OSCI/SystemC: Simulation stopped by user.\nstopper: 3 edges at 25 ns\n"
        for simulator, testbench, end, stop in [
                ("icarus", "ends_tb.v", "testbench ends at 100000: c = 23\n", ""),
                ("ghdl", "ends_tb.vhd", "ends_tb.vhd:19:5:@100ns:(report note): testbench ends: c = 23\n"
                                        "simulation finished @100ns\n", "simulation finished @25ns\n")]:
            run = lambda **environment: self.simulate(f"--simulator={simulator}", testbench, **environment)
            self.assertEqual(run(), (0, end + "stopper: 10 edges at 100 ns\n", "quillc-sim: top ends_tb\n"))
            self.assertEqual(run(QUILLC_TEST_STOP="1")[:2], (0, stopped + stop))
            status, out, err = run(QUILLC_TEST_CRASH="1")
            self.assertNotEqual(status, 0)
            self.assertRegex(err, crash)
            self.assertNotIn("stopper:", out + err)

    def test_crash_is_reported(self):
        status, out, err = self.simulate("ends_tb.sv", QUILLC_TEST_CRASH="1")
        self.assertEqual((status, out), (139, ""))
        self.assertRegex(err, r"\Aquillc-sim: top ends_tb\n=F:\[Crash\] \nThe simulation has crashed: SIGSEGV \(segmentation fault\)\n"
                              r"in SystemC process TOP:ends_tb:x\.tick\nat simulation time 15 ns\nstack:\n"
                              r"  #0 crasher::tick\(\) at \S*/ends\.cpp:82\n(  #\d+ \S.*\n)+"
                              r"quillc-sim: the simulation died of SIGSEGV\n\Z")

    def test_wrapper_with_mirrors_lints_clean(self):
        for timing in [], ["--timing"]:
            lint = self.call("verilator", "--lint-only", "-Wall", "+define+CORVANE_SC_MIRRORS", *timing, "wrapper.sv")
            self.assertEqual((lint.returncode, lint.stdout + lint.stderr), (0, ""), timing)

    def test_waveform_shows_the_models_insides(self):
        edges = [(0, 0), (5000, 1), (15000, 2), (25000, 3)]
        blinks = [(0, 0), (7000, 1), (14000, 0), (21000, 1), (28000, 0)]
        for simulator, testbench in ("icarus", "ends_tb.v"), ("ghdl", "ends_tb.vhd"), ("verilator", "ends_tb.sv"):
            status, out, err = self.simulate(f"--simulator={simulator}", "--trace=vcd", testbench)
            self.assertEqual(status, 0, err)
            vcd = pathlib.Path(self.work, "sim_build/ends_tb/trace.vcd").read_text()
            # GHDL notes in a comment the one signal that it leaves out.
            self.assertNotIn("sc$", re.sub(r"\$comment \\sc\$mirrors\\ is not handled \$end", "", vcd), simulator)
            per_ps = {"ps": 1, "fs": 1000}[re.search(r"\$timescale\s+1 ?(\w+)", vcd)[1]]
            scope, names, changes, now = [], {}, {}, 0
            for line in vcd.split("\n"):
                if match := re.match(r"\s*\$scope \S+ (\S+)", line):
                    scope.append(match[1])
                elif "$upscope" in line:
                    scope.pop()
                elif match := re.match(r"\s*\$var \S+\s+\d+ (\S+) (\S+)", line):
                    name = re.sub(r"\\|\[.*", "", match[2])  # GHDL writes \\in\\[7:0]
                    names.setdefault(match[1], []).append(".".join(scope + [name]).partition("ends_tb.")[2])
                elif line.startswith("#"):
                    now = int(line[1:]) // per_ps
                elif (match := re.match(r"b?([01]+) ?(\S+)$", line)) and now <= 30000:
                    for name in names[match[2]]:
                        changes.setdefault(name, []).append((now, int(match[1], 2)))
            self.assertEqual(sorted(name for name in changes if name.startswith("p1.")),
                             ["p1.blink", "p1.c.clk", "p1.c.state", "p1.clk", "p1.in", "p1.out", "p1.p.in", "p1.p.out",
                              "p1.p.state", "p1.state"], simulator)
            self.assertEqual({name: changes[name] for name in ("p1.state", "p1.c.state", "p2.p.state", "p1.blink",
                                                               "p2.blink", "p2.p.in", "p2.p.out")},
                             {"p1.state": edges, "p1.c.state": edges, "p2.p.state": edges,
                              "p1.blink": blinks, "p2.blink": blinks,
                              "p2.p.in": [(0, 3), (5000, 4), (15000, 5), (25000, 6)],
                              "p2.p.out": [(0, 3), (5000, 5), (15000, 7), (25000, 9)]}, simulator)


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


class Ghdl(QuillcRun):
    """The counter and the models of data/cosim.cpp and data/vhdl_models.cpp
    inside GHDL through quillc-sim --simulator=ghdl: the counter's example
    testbench and the three tops of data/cosim_tb.vhd, one traced."""
    sources = ["examples/counter/counter.cpp", "examples/counter/tb.vhd"] + [
        "kit/tests/data/" + name for name in ("cosim.cpp", "vhdl_models.cpp", "cosim_tb.vhd")]
    arguments = ["-module", "counter", "counter.cpp", "-module", "comb", "-module", "types", "-module", "guard",
                 "cosim.cpp", "-module", "pulse", "-module", "words", "-module", "stopper", "vhdl_models.cpp"]

    def simulate(self, *arguments):
        sim = os.path.join(kit_environment()["QUILLC_PATH"], "bin", "quillc-sim")
        return self.call(sim, "--simulator=ghdl", *arguments, timeout=300)

    def test_entities_and_candidate_tops(self):
        # The names that VHDL cannot take as they are; the testbenches'
        # port maps check the types.
        wrapper = pathlib.Path(self.work, "wrapper.vhd").read_text()
        self.assertEqual("".join(re.findall(r"(?ms)^entity words is\n.*?^end entity \w+;\n", wrapper)),
                         pathlib.Path(__file__).with_name("expected").joinpath("vhdl_entities.vhd").read_text())
        steps = os.path.join(kit_environment()["QUILLC_PATH"], "libexec", "sim", "ghdl.sh")
        pathlib.Path(self.work, "broken.vhd").write_text("entity broken is end entity;\nuse work.none.all;\n")
        for files, expected in [("cosim_tb.vhd tb.vhd wrapper.vhd", (0, "cosim_tb\nstop_tb\nerror_tb\ntb\n")),
                                ("broken.vhd wrapper.vhd", (1, ""))]:
            tops = self.call("bash", "-c", f"source {steps}; extra=(); sim_tops {files}")
            self.assertEqual((tops.returncode, tops.stdout), expected, tops.stderr)
        self.assertTrue(tops.stderr.endswith("quillc-sim: broken.vhd wrapper.vhd do not analyse "
                                             "(GHDL's messages are above)\n"), tops.stderr)

    def test_counter_testbench(self):
        run = self.simulate("tb.vhd")
        self.assertEqual((run.returncode, run.stderr), (0, "quillc-sim: top tb\n"))
        self.assertEqual(re.findall(r"\(report note\): (.*)", run.stdout),
                         ["ok: after reset: count = 0", "ok: 100 clocks with enable high: count = 100",
                          "ok: 10 clocks with enable low: count = 100", "ok: reset: count = 0",
                          "ok: 256 clocks wrap to: count = 0", "ok: 3 clocks more: count = 3",
                          "counter: all checks passed"])

    def test_models_traced(self):
        run = self.simulate("--top=cosim_tb", "--trace=vcd", "cosim_tb.vhd")
        self.assertEqual((run.returncode, run.stdout.count("(assertion note): ok: "), "FAILED" in run.stdout),
                         (0, 20, False), run.stdout + run.stderr)
        # The pulse's output at its first changes, as the waveform holds it.
        vcd = pathlib.Path(self.work, "sim_build/cosim_tb/trace.vcd").read_text()
        code = re.search(r"\$scope module ticks \$end\s+\$var reg 8 (\S+) count", vcd).group(1)
        changes = vector_changes(vcd, code)
        self.assertEqual(changes[:4], [(0, 0), (1500000, 1), (3000000, 2), (4500000, 3)])

    def test_stop_and_error_end_the_run(self):
        stop = self.simulate("--top=stop_tb", "cosim_tb.vhd")
        self.assertEqual((stop.returncode, stop.stdout, stop.stderr),
                         (0, "\nInfo: /OSCI/SystemC: Simulation stopped by user.\nsimulation finished @5ns\n",
                          "quillc-sim: top stop_tb\n"))
        error = self.simulate("--top=error_tb", "cosim_tb.vhd")
        self.assertEqual(error.returncode, 1)
        self.assertRegex(error.stdout, r"^wrapper\.vhd:\d+:\d+:@2ns:\(report failure\): Error: guard: 255 is not a "
                                       r"value this model takes\nIn file: \.\./cosim\.cpp:\d+\n")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("--quillc", "--env", "--loader", "--root"):
        parser.add_argument(option, required=True)
    parser.add_argument("--sanitize", action="store_true")
    ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], "-v", *rest])
