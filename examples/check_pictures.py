# python
"""A report with an exit status: holds the pictures below a folder against a studio's rules.

    kzhost run examples/check_pictures.py examples/pictures report.json

The exit status is 0 if all is well and 10 if a picture breaks a rule.
"""
import os
import sys

import kz
import rules

LARGEST = 128
images = kz.service.Image()


def examine(path):
    try:
        width, height = images.Load(path, None).Size()
        space = images.Metadata(path, "colorspace")
    except Exception as error:
        return {}, ["cannot be read: %s" % error]
    return {"width": width, "height": height, "colorspace": space}, rules.broken([
        (max(width, height) <= LARGEST, "is %d x %d, and %d is the limit" % (width, height, LARGEST)),
        (width % 8 == height % 8 == 0, "is %d x %d, not in steps of 8" % (width, height)),
        (space == "sRGB", "has the colours of %s" % space),
        (os.path.basename(path).islower(), "has capitals in its name")])


sys.exit(rules.check("pictures", (".png",), examine, *sys.argv[1:]))
