# python
"""Holds the files below a folder against rules: what check_pictures.py and check_models.py have in common."""
import json
import os

GOOD, FAULTS = 0, 10


def broken(rules):
    """The faults of the rules that are not kept; a rule is a pair of whether it is kept and the fault otherwise."""
    return [fault for is_kept, fault in rules if not is_kept]


def check(noun, endings, examine, folder, report=None):
    """Examines every file with one of these endings: `examine` takes a path and returns facts, a dictionary, and faults.
    Prints the faults, writes both to the report, and returns an exit status that a shell script or a farm can act on."""
    results = {}
    for place, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(place, name)
            if os.path.splitext(name)[1].lower() in endings:
                facts, faults = examine(path)
                results[path] = {"facts": facts, "faults": faults}
    for path in sorted(results):
        for fault in results[path]["faults"] or ["good"]:
            print path, fault
    bad = sum(1 for each in results.values() if each["faults"])
    print "%d %s, %d with faults" % (len(results), noun, bad)
    if report:
        with open(report, "w") as stream:
            json.dump(results, stream, indent=4, sort_keys=True)
    return FAULTS if bad else GOOD
