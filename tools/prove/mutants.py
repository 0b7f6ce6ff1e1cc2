"""Mutants of hand-written plug-in code: each changes one place at random, is built in a copy of the tree, and has to be caught
by a test. What became of each is kept, by the text around it, so that a run goes on where the one before has ended."""

import hashlib
import json
import random
import re
import time

from bench import ROOT, copy_of_tree, write_if_changed

FOLDERS = ("module", "wrap", "kzmod", "serve", "script", "observe", "plugin")
# The tests that know a folder best come first, then all others of the plug-in.
LABELS = {"module": ("module", "bare_host"), "wrap": ("wrap",), "kzmod": ("kzmod",), "serve": ("serve",),
          "script": ("script",), "observe": ("observe",), "plugin": ("bare_host",)}
OTHERS = ("module", "bare_host", "kzmod", "script", "serve", "wrap", "observe", "prove", "host", "pyserv", "tables", "recording",
          "objects", "document", "widgets")
BUDGET = 45 * 60  # seconds for one run

# What is changed, and into what.
CHANGES = [
    (r" == ", (" != ",)), (r" != ", (" == ",)), (r" < ", (" <= ", " >= ")), (r" > ", (" >= ", " <= ")),
    (r" <= ", (" < ",)), (r" >= ", (" > ",)), (r" && ", (" || ",)), (r" \|\| ", (" && ",)),
    (r"\bif \((?=\w+\()", ("if (!",)), (r"\bif \(!(?=\w)", ("if (",)), (r"\btrue\b", ("false",)), (r"\bfalse\b", ("true",)),
    (r"\bKZe_(?!OK\b)\w+", ("KZe_OK", "KZe_ABORT")), (r"\b(?:kzOk|KZe_OK)\b", ("KZe_FAILED",)),
    (r" \+ 1\b", ("", " + 2")), (r" - 1\b", ("",)), (r"\+\+", ("--",)), (r"\bPy_X?INCREF\(", ("(void)(",)),
    (r"\bPy_X?DECREF\(", ("(void)(",)), (r"\bCPyRef::owned\b", ("CPyRef::borrowed",)),
]
STATEMENT = re.compile(r"^\s+[\w:>.*-]+(?:\.|->|::)?\w*\(.*\);\s*(?://.*)?$|^\s+[\w.>-]+ = [^=].*;\s*(?://.*)?$")


def places():
    """Every change that could be made: the file, the number of its line, the line and the changed line."""
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).glob("*.[ch]*")):
            if path.suffix not in (".cpp", ".h"):
                continue
            lines = path.read_text(encoding="utf-8").split("\n")
            for number, line in enumerate(lines):
                code = line.split("//")[0]
                if not code.strip() or code.lstrip().startswith(("#", "*", "template", "using", "static_assert")):
                    continue
                for pattern, replacements in CHANGES:
                    for match in re.finditer(pattern, code):
                        for to in replacements:
                            yield path, number, line, code[:match.start()] + to + code[match.end():]
                if STATEMENT.match(line) and line.count("(") == line.count(")"):
                    yield path, number, line, ""
                    following = lines[number + 1] if number + 1 < len(lines) else ""
                    if STATEMENT.match(following) and " = " not in following:  # an assignment done twice is as good as once
                        yield path, number, line, following + "\n" + line  # the order of steps, with one done twice


def key_of(path, number, line, changed):
    around = path.read_text(encoding="utf-8").split("\n")[max(0, number - 3):number + 4]
    return hashlib.sha256(repr((path.name, around, line, changed)).encode()).hexdigest()[:16]


def passes(work, copy, label):
    return work.run(["ctest", "--test-dir", copy / "build/release", "-L", f"^{label}", "-j2", "--timeout", "120",
                     "--stop-on-failure", "-Q"], timeout=1800)[0] == 0


def check_unchanged(work, copy):
    """Without a change all tests have to pass in the copy, or each mutant would count as caught."""
    for label in OTHERS:
        if work.run([copy / "tools/build.sh", "release", f"kz_tests_{label}"], timeout=7200)[0] != 0:
            raise RuntimeError(f"the tests of {label} cannot be built without a change")
        if not passes(work, copy, label):
            raise RuntimeError(f"the tests of {label} fail without a change")


def verdict_of(work, copy, path, number, changed):
    """Which tests have caught the mutant; "survived" or "not built" if none."""
    relative = path.relative_to(ROOT)
    lines = path.read_text(encoding="utf-8").split("\n")
    lines[number] = changed
    write_if_changed(copy / relative, "\n".join(lines).encode())
    try:
        folder = relative.parts[0]
        labels = LABELS[folder] + tuple(each for each in OTHERS if each not in LABELS[folder])
        for label in labels:
            if work.run([copy / "tools/build.sh", "release", f"kz_tests_{label}"], timeout=1800)[0] != 0:
                return "not built"
            if not passes(work, copy, label):
                return label
        return "survived"
    finally:
        write_if_changed(copy / relative, path.read_bytes())


def run(work, count, seed=1):
    """Mutants caught, tried, and left for the next run because the time was over."""
    state_file = ROOT / "build/prove/mutants.json"
    state = json.loads(state_file.read_text(encoding="utf-8")) if state_file.exists() else {}
    copy = copy_of_tree(ROOT / "build/prove/tree")
    check_unchanged(work, copy)
    drawn = list(places())
    random.Random(seed).shuffle(drawn)
    begin, chosen = time.monotonic(), []
    for path, number, line, changed in drawn:
        if len(chosen) == count:
            break
        key = key_of(path, number, line, changed)
        if key not in state:
            if time.monotonic() - begin > BUDGET:
                break
            state[key] = {"file": str(path.relative_to(ROOT)), "line": number + 1, "was": line.strip(),
                          "became": changed.strip(), "verdict": verdict_of(work, copy, path, number, changed)}
            state_file.write_text(json.dumps(state, indent=1) + "\n", encoding="utf-8")
        if state[key]["verdict"] != "not built":
            chosen.append(state[key])
    for each in chosen:
        if each["verdict"] == "survived":
            work.note(f"survived: {each['file']}:{each['line']}: {each['was']}\n    became {each['became'] or 'nothing'}\n")
    caught = sum(each["verdict"] != "survived" for each in chosen)
    return caught, len(chosen), count - len(chosen)
