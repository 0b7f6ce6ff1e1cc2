# python
"""A report with an exit status: holds the pictures below a folder against a studio's rules.

    kzhost run examples/check_pictures.py examples/pictures report.json

The exit status is 0 if all is well and 10 if a picture breaks a rule, so that a shell script or a farm can act on it.
"""
import fnmatch
import json
import os
import sys

import kz

LARGEST = 128
images = kz.service.Image()


def faults_of(path):
    try:
        width, height = images.Load(path, None).Size()
        space = images.Metadata(path, "colorspace")
    except Exception as error:
        return ["cannot be read: %s" % error]
    rules = [(max(width, height) <= LARGEST, "is %d x %d, and %d is the limit" % (width, height, LARGEST)),
             (width % 8 == height % 8 == 0, "is %d x %d, not in steps of 8" % (width, height)),
             (space == "sRGB", "has the colours of %s" % space),
             (os.path.basename(path).islower(), "has capitals in its name")]
    return [fault for is_kept, fault in rules if not is_kept]


def main(folder, report=None):
    faults = {}
    for place, _, names in os.walk(folder):
        for name in fnmatch.filter(names, "*.png"):
            path = os.path.join(place, name)
            faults[path] = faults_of(path)
    for path in sorted(faults):
        for fault in faults[path]:
            print "%s %s" % (path, fault)
    bad = sum(1 for each in faults.values() if each)
    print "%d pictures, %d with faults" % (len(faults), bad)
    if report:
        with open(report, "w") as stream:
            json.dump(faults, stream, indent=4, sort_keys=True)
    return 10 if bad else 0


sys.exit(main(*sys.argv[1:]))
