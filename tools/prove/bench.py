"""What rows work with: builds, programs with a log, figures, and copies of the tree in which a fault is planted."""

import os
import pathlib
import re
import shutil
import subprocess
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
# What set-up puts under build/, which copies of the tree share.
SET_UP = ("setup", "checkers", "dask", "data", "models", "numpy", "pyflakes", "pyside2", "site", "site-check", "trace-processor")
BUILDING = threading.Lock()  # one build at a time uses all cores


class NotRun(Exception):
    """The row cannot be run here, for this reason."""


class Work:
    """One run of a row."""

    def __init__(self, row, scale, tree=ROOT):
        self.row, self.scale, self.tree, self.isControl = row, scale, tree, tree is not ROOT
        self.folder = ROOT / "build/prove"
        self.folder.mkdir(parents=True, exist_ok=True)
        self.log = self.folder / f"{row.number}-{row.name}{'-control' if self.isControl else ''}.log"
        self.log.write_bytes(b"")

    def note(self, text):
        with open(self.log, "a", encoding="utf-8", errors="replace") as file:
            file.write(text)

    def run(self, words, timeout=7200, **environment):
        """Runs a program; its status and all that it printed, which goes to the log, too."""
        given = dict(os.environ, **{name: str(value) for name, value in environment.items()})
        self.note(f"$ {' '.join(map(str, words))}\n")
        try:
            done = subprocess.run(list(map(str, words)), cwd=self.tree, env=given, timeout=timeout, check=False,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            status, said = done.returncode, done.stdout.decode("utf-8", "replace")
        except subprocess.TimeoutExpired as error:
            status, said = -1, (error.stdout or b"").decode("utf-8", "replace") + "\nstopped: it took too long\n"
        self.note(said)
        return status, said

    def build(self, preset, *targets):
        with BUILDING:
            status, _ = self.run([self.tree / "tools/build.sh", preset, *targets])
        if status != 0:
            raise RuntimeError(f"the build failed; see {self.log.relative_to(ROOT)}")
        return self.tree / "build" / preset

    def test(self, preset, program, tests, **environment):
        """Runs tests of a program at the row's length: whether they passed, and their figures by name."""
        folder, name = program.rsplit("/", 1)
        built = self.build(preset, name)
        settings = dict(sanitizer_options(self.tree, preset), KZ_PROVE=self.scale, **environment)
        program = built / "tests" / folder / name
        # Each in a process of its own, because a process can start Python once.
        _, listed = self.run([program, "--gtest_list_tests", f"--gtest_filter={tests}"])
        suite, passed, figures = "", [], {}
        for line in listed.splitlines():
            if line.endswith("."):
                suite = line
            elif line.startswith("  "):
                status, said = self.run([program, f"--gtest_filter={suite}{line.split()[0]}"], **settings)
                passed.append(status == 0 and "[  PASSED  ] 1 test" in said)
                figures.update((name, float(value)) for name, value in re.findall(r"^figure: (.*) = (\S+)$", said, re.M))
        return bool(passed) and all(passed), figures

    def planted(self, plant):
        """A run in a copy of the tree that has the fault."""
        copy = copy_of_tree(ROOT / "build/prove/tree")
        write_if_changed(copy / plant[0], with_fault(plant).encode())
        return Work(self.row, self.scale, copy)

    def interpreter(self, variant):
        """The folder of a library of the interpreter that is built for this."""
        with BUILDING:
            status, said = self.run([ROOT / "tools/prove/interpreter.sh", variant])
        if status != 0:
            raise NotRun(said.strip().splitlines()[-1])
        return said.strip().splitlines()[-1]


def with_fault(plant):
    """The text of the file with the planted fault."""
    file, before, after = plant
    text = (ROOT / file).read_text(encoding="utf-8")
    if text.count(before) != 1:
        raise RuntimeError(f"the planted fault does not fit {file} any more: {before!r}")
    return text.replace(before, after)


def sanitizer_options(tree, preset):
    """The environment in which ctest runs the tests of the preset."""
    import json  # pylint: disable=import-outside-toplevel
    presets = json.loads((tree / "CMakePresets.json").read_text(encoding="utf-8"))["testPresets"]
    found = next((each.get("environment", {}) for each in presets if each["name"] == preset), {})
    return {name: value.replace("${sourceDir}", str(tree)) for name, value in found.items()}


def write_if_changed(path, content):
    """Leaves alone what is as it should be, so that it need not be built again."""
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def copy_of_tree(to):
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                            stdout=subprocess.PIPE).stdout.decode().split("\0")
    names = [name for name in listed if name and (ROOT / name).is_file()]
    for name in names:
        write_if_changed(to / name, (ROOT / name).read_bytes())
        shutil.copymode(ROOT / name, to / name)
    (to / "build").mkdir(exist_ok=True)
    for each in map((ROOT / "build").joinpath, SET_UP):
        link = to / "build" / each.name
        if each.exists() and not os.path.lexists(link):
            link.symlink_to(each.resolve())
    return to


def told(figures):
    return ", ".join(f"{name} {value:g}" for name, value in figures.items())
