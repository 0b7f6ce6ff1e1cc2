# python
"""Keeps the settings of a tool in user values: typed, listed, saved to a file and restored from it.

    kzhost run examples/settings.py settings.json
"""
import json
import sys

import kz

PREFIX = "exporter."


def define(name, value, kind, **more):
    kz.command("user.value", name=PREFIX + name, value=value, type=kind, **more)


def settings():
    """Every value of the tool, by its name without the prefix."""
    names = [name for name in kz.evalN("user.value name:?") if name.startswith(PREFIX)]
    return dict((name[len(PREFIX):], kz.eval("user.value {%s} value:?" % name)) for name in names)


def main(path="settings.json"):
    define("scale", "0.01", "float")
    define("copies", "3", "integer")
    define("target", "review", "choice", choices="draft;review;final")
    define("note", "two words", "string")
    saved = settings()
    with open(path, "w") as stream:
        json.dump(saved, stream, indent=4, sort_keys=True, separators=(",", ": "))
    print "saved:", ", ".join(sorted(saved))

    # Values that exist keep their types, so that a wrong one is refused and the old one stays.
    kz.eval("user.value exporter.copies 12")
    for name, value in (("copies", "many"), ("target", "finnal")):
        try:
            kz.command("user.value", name=PREFIX + name, value=value)
        except RuntimeError:  # the log says what was expected
            print "refused: %s as %s" % (value, name)
    print "copies:", settings()["copies"]

    with open(path) as stream:
        for name, value in sorted(json.load(stream).items()):
            kz.command("user.value", name=PREFIX + str(name), value=str(value))
    print "restored:", settings() == saved
    kz.eval("user.value exporter.note delete:true")
    print "left:", ", ".join(sorted(settings()))


main(*sys.argv[1:])
