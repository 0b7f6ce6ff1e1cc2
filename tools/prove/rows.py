"""The rows of the table: what each shows, the figure to reach, and how it is found."""

import dataclasses
import json
import os
import pathlib
import re
import shutil
import tempfile
import typing

import mutants
from bench import ROOT, NotRun, sanitizer_options, told

ROWS = []


@dataclasses.dataclass(frozen=True)
class Row:
    """A row; `minutes` is about how long it takes, to begin with the longest."""

    number: int
    name: str
    minutes: int
    what: str
    wanted: str
    function: typing.Callable
    control: typing.Optional[typing.Callable] = None
    plant: typing.Optional[tuple] = None  # a file, a text in it, and the faulty text in its place


def row(number, name, minutes, what, wanted, plant=None):
    """Makes a row of a function that returns whether the figure is reached, and the figure. With a planted fault the
    same function must not reach it."""
    def planted(function):
        def control(work):
            reached, figure = function(work.planted(plant))
            return not reached, f"a planted fault gives {figure}" if not reached else "a planted fault was not found"
        return control

    def keep(function):
        ROWS.append(Row(number, name, minutes, what, wanted, function, plant and planted(function), plant))
        return function
    return keep


GROWTH = ("wrap/wrap_test", "AllMethodsTest.LeaveNoReferences"), ("serve/loopback_test", "GrowthTest.*")


@row(1, "references", 12, "references that 1000 calls of every wrapper and adapter leave behind, succeeding and failing",
     "0 in 7 of 7 rounds, beyond what adapters keep on purpose",
     plant=("wrap/marshal_core.cpp", "        const CPyRefNull item(itemOf(sequence, index));\n",
            "        const CPyRefNull item(itemOf(sequence, index));\n        Py_XINCREF(item.get());\n"))
def references(work):
    results = [work.test("pydebug", program, tests) for program, tests in GROWTH]
    return all(passed for passed, _ in results), "; ".join(told(figures) for _, figures in results)


@row(2, "survivors", 1, "interfaces, adapters and host objects alive at unload, also after failures of the host",
     "0, survivors named")
def survivors(work):
    passed = [work.test("release", program, tests)[0] for program, tests in (
        ("prove/proof_test", "RefusalTest.*"), ("module/module_test", "Unload*"), ("serve/serve_test", "*"))]
    return all(passed), f"{passed.count(False)} of {len(passed)} programs name survivors"


@row(3, "memory", 8, "each allocation fails in turn, once and from then on, whatever is being done",
     "no crash in our code, a code or MemoryError, the interpreter works afterwards",
     plant=("wrap/storage_buffer.cpp", "        if (!memory) return false;\n", ""))
def memory(work):
    if work.isControl:  # the allocation in question is one of the last of its work
        work.scale = 1
        passed, figures = work.test("release", "prove/proof_test", "MemoryTest.*", KZ_PROVE_WORK="storage")
        return passed, told(figures)
    try:
        library = {"LD_LIBRARY_PATH": work.interpreter("nopool")}
        pool = "the interpreter has no pool, so each object counts"
    except NotRun as reason:
        library, pool = {}, f"small objects are not counted: {reason}"
    results = [work.test("release", program, tests, **library) for program, tests in (
        ("prove/proof_test", "MemoryTest.*"), ("serve/loopback_test", "ScarceTest.*"),
        ("wrap/wrap_test", "AllMethodsTest.MayRunOutOfMemory"))]
    return all(passed for passed, _ in results), "; ".join([*(told(figures) for _, figures in results), pool])


@row(4, "refusals", 2, "every operation of the host that the plug-in uses fails in turn, in each way",
     "the texts and codes that are documented, no success from a failure, nothing held")
def refusals(work):
    passed, figures = work.test("release", "prove/proof_test", "RefusalTest.*")
    more, _ = work.test("release", "bare_host/bare_host_test", "FailureTest.*")
    return passed and more, told(figures)


@row(5, "exceptions", 1, "every adapter method raises each kind of exception and returns each wrong shape",
     "no success code, no exit, one log line that names the method")
def exceptions(work):
    passed, figures = work.test("release", "serve/loopback_test", "LoopbackTest.*")
    return passed, told(figures)


REPORT = re.compile(r"(?:ERROR|WARNING): [A-Za-z]*Sanitizer|runtime error: ")


def sanitized(work, preset, variant, tests, target="all"):
    """Tests under a sanitizer, with the interpreter's library that is built for it, and no suppression of our code."""
    library = work.interpreter(variant)
    built = work.build(preset, target)
    suppressions = built / "lsan_served.supp"
    usual = suppressions.read_bytes()
    try:
        shutil.copy(work.tree / "tools/sanitizers/lsan.supp", suppressions)
        status, said = work.run(["ctest", "--test-dir", built, "-j2", "--output-on-failure", "--timeout", "1500", *tests],
                                **dict(sanitizer_options(work.tree, preset), LD_LIBRARY_PATH=library))
    finally:
        suppressions.write_bytes(usual)
    reports = len(REPORT.findall(said))
    passed = re.search(r"(\d+)% tests passed, (\d+) tests failed out of (\d+)", said)
    summary = f"{passed[3]} tests, {passed[2]} failed" if passed else "ctest gave no summary"
    return status == 0 and reports == 0, f"{reports} reports, {summary}"


@row(6, "addresses", 25, "the whole suite under the address, leak and undefined behaviour checks, every object on its own",
     "0 reports, 0 suppressions of ours",
     plant=("wrap/storage_buffer.cpp", "        if (m_memory && m_pins != 0) m_formerMemory.push_back(m_memory);\n", ""))
def addresses(work):
    if work.isControl:
        return sanitized(work, "asan", "nopool", ("-R", "HarmfulArguments"), "wrap_test")
    return sanitized(work, "asan", "nopool", ())


@row(7, "races", 20, "the tests of threads under the race check, with an instrumented interpreter",
     "0 reports, 0 suppressions",
     plant=("module/gate.cpp", "std::atomic<std::uint32_t> theInside{0};", "std::uint32_t theInside{0};"))
def races(work):
    if work.isControl:
        return sanitized(work, "tsan", "tsan", ("-R", "EightDeepAndOnEightThreads"), "serve_test")
    return sanitized(work, "tsan", "tsan", ("-L", "threads"))


@row(8, "cycles", 1, "load, use and unload in one process, with RTLD_LOCAL, start and stop on different threads",
     "300 cycles, growth no more than a bare interpreter's")
def cycles(work):
    passed, figures = work.test("release", "prove/proof_test", "LifetimeTest.CostsNoMoreThanABareInterpreters")
    return passed, told(figures)


@row(9, "unload", 4, "unload while 32 threads call, add and drop references, with daemon and other Python threads",
     "1000 rounds, no crash, no wait over 10 s, late calls get a code",
     plant=("module/gate.cpp", "    if (theGateClosed) {", "    if (theGateClosed && what == nullptr) {"))
def unload(work):
    passed, figures = work.test("release", "prove/proof_test", "LifetimeTest.EndsUnderTheHandsOfManyThreads")
    return passed, told(figures)


def suite(work, name, words, modules):
    """The modules of the interpreter's own tests that pass, without what the environment asks of interpreters."""
    results = {}
    words = ["env", *(f"-u{variable}" for variable in os.environ if variable.startswith("PYTHON")), *words]
    for start in range(0, len(modules), 40):
        _, said = work.run([*words, "-m", "test.regrtest", *modules[start:start + 40]], timeout=3600)
        results.update(re.findall(r"^\S*.*\[ *\d+/[\d/]+\] (test_\w+)()", said, re.M))
        for verdict, listed in re.findall(r"^\d+ tests? (failed|skipped|OK)[^\n]*:\n((?:    .*\n)+)", said, re.M):
            results.update((module, verdict) for module in listed.split())
    work.note(f"{name}: {results}\n")
    return {module for module in modules if results.get(module) not in ("failed", "skipped") and module in results}


# What passes only where the interpreter is a program of the system, with the reason.
EXCLUDED = {}


@row(10, "suite", 25, "the interpreter's own tests inside kzhost", "every module that passes in a bare interpreter passes")
def own_tests(work):
    found = sorted(path.stem for path in pathlib.Path("/usr/lib/python2.7/test").glob("test_*.py"))
    if not found:
        raise NotRun("libpython2.7-testsuite is not installed")
    modules = found[::max(1, round(1 / work.scale))]
    built = work.build("release", "kzhost", "kzPython2")
    bare = suite(work, "bare", ["python2.7"], modules)
    ours = suite(work, "kzhost", [built / "bin/kzhost"], modules)
    failed = sorted(bare - ours - set(EXCLUDED))
    # Some of these tests race with their own threads when the machine is busy: what fails has to fail twice.
    again = suite(work, "kzhost, a second time", [built / "bin/kzhost"], failed)
    lost = sorted(set(failed) - again)
    return not lost, (f"{len(modules)} modules, {len(bare)} pass in a bare interpreter, of which not here: {lost or 'none'}, "
                      f"and only at the second attempt: {sorted(again) or 'none'}")


@row(11, "fuzz", 35, "fuzzing of the parsers and converters, guided by coverage", "an hour in all without a finding",
     plant=("script/interpreter_script.cpp", "        text.resize(at);\n", "        text.resize(at - 1);\n"))
def fuzz(work):
    targets = ["arguments"] if work.isControl else ["arguments", "console", "idl", "scene", "calls"]
    seconds = max(1, round(3600 * work.scale / len(targets)))
    failed = [target for target in targets
              if work.run([work.tree / "tools/fuzz.sh", target, seconds], timeout=2 * seconds + 3600)[0] != 0]
    return not failed, f"{seconds} s for each of {len(targets)} targets, findings: {', '.join(failed) or 'none'}"


# Each of these compares the methods that it has called with the tables from which the plug-in is made.
CALLED = {"wrappers that succeed": ("wrap/wrap_test", "AllMethodsTest.CarryEveryKindBothWays"),
          "wrappers that fail": ("wrap/wrap_test", "AllMethodsTest.FailAsTheyShould"),
          "adapters both ways": ("serve/loopback_test", "LoopbackTest.EveryOperation")}


@row(12, "coverage", 15, "lines and branches of hand-written code that the tests execute, and calls of wrappers and adapters",
     "95 % / 90 %, every one")
def coverage(work):
    called = {what: work.test("release", *each) for what, each in CALLED.items()}
    every = all(passed for passed, _ in called.values())
    counts = ", ".join(f"{figures.get('methods', 0):g} {what}" for what, (_, figures) in called.items())
    status, _ = work.run([ROOT / "tools/coverage.sh"])
    with open(ROOT / "build/coverage/summary.json", encoding="utf-8") as file:
        files = json.load(file)["files"]
    shares = [sum(each[f"{what}_covered"] for each in files) / max(1, sum(each[f"{what}_total"] for each in files))
              for what in ("line", "branch")]
    return every and status == 0 and shares[0] >= .95 and shares[1] >= .9, \
        f"lines {shares[0]:.1%}, branches {shares[1]:.1%}, {counts}"


@row(13, "mutants", 30, "random mutants of hand-written plug-in code that the tests catch", "at least 92 % of 200")
def mutation(work):
    caught, tried, left = mutants.run(work, max(1, round(200 * work.scale)))
    return caught >= .92 * tried and left == 0, \
        f"{caught} of {tried} caught ({caught / max(tried, 1):.0%}), {left} not tried; build/prove/mutants.json has them all"


@row(14, "soak", 60, "an hour of scripts, commands, servers, reloads and scene edits with four threads of the host",
     "memory flat within 1 % after ten minutes, no handle or thread left, latency flat",
     plant=("wrap/storage_buffer.cpp", "memory(theAllocate(bytes, 1), std::free)",
            "memory(theAllocate(bytes, 1), [](void*) {})"))
def soak(work):
    built = work.build("release", "kzhost", "kzPython2")
    seconds = max(10, round(3600 * work.scale)) if not work.isControl else 60
    with tempfile.TemporaryDirectory() as folder:
        report = pathlib.Path(folder) / "report.json"
        status, said = work.run([built / "bin/kzhost", "--quiet", "--import-path", folder, "run",
                                 work.tree / "tools/prove/soak.py", seconds, 1, report], timeout=seconds * 2 + 300)
        if status != 0 or not report.exists():
            return False, f"status {status}: {said[-200:]}"
        samples = json.loads(report.read_text(encoding="utf-8"))
        shutil.copy(report, work.folder / "soak.json")
    early, last = samples[len(samples) // 6], samples[-1]
    growth = last["memory"] / early["memory"] - 1
    late = [sorted(each["late"] for each in part)[len(part) // 2]
            for part in (samples[len(samples) // 6:len(samples) // 2], samples[len(samples) // 2:])]
    flat = growth <= .01 and last["threads"] <= early["threads"] and last["files"] <= early["files"] and \
        late[1] <= late[0] * 1.5
    return flat, (f"{last['turns']} turns in {seconds} s, memory {growth:+.2%}, threads {early['threads']} to {last['threads']}, "
                  f"files {early['files']} to {last['files']}, 99.9th percentile {late[0]:.1f} ms, then {late[1]:.1f} ms")
