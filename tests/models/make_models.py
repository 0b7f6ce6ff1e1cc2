# Writes models.json: what Assimp's own tool counts in each of Debian's test models (assimp-utils, assimp-testmodels).
#
#     python3 make_models.py /usr/share/assimp/models >models.json
#
# The tool reads them as they are (-r), so faces are not triangulated, vertices not joined and meshes not split. What
# it reads with its usual steps is a part of that. Null stands for a file that it does not read within 4 GiB, or
# crashes on. The box that it prints is wrong where nodes with a place stand below others: it applies them in the wrong
# order. So the box is computed here, from the vertices and places that the tool writes as JSON, and the wrong one is
# only held against the print.
import json
import math
import os
import re
import resource
import subprocess
import sys
import tempfile

COUNTS = ("Meshes", "Materials", "Cameras", "Lights", "Vertices", "Faces")
MEMORY = 4 << 30


def tool(*words):
    limit = lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    run = subprocess.run(["assimp", *words], capture_output=True, preexec_fn=limit)
    return run.stdout.decode("utf-8", "replace") if run.returncode == 0 else None


def product(a, b):
    return [sum(a[4 * row + k] * b[4 * k + column] for k in range(4)) for row in range(4) for column in range(4)]


def extend(box, node, meshes, outer, in_order):
    own = node["transformation"]
    place = product(outer, own) if in_order else product(own, outer)
    for mesh in node.get("meshes", ()):
        flat = meshes[mesh].get("vertices", ())
        for point in zip(flat[0::3], flat[1::3], flat[2::3]):
            for axis in range(3):
                number = sum(place[4 * axis + k] * point[k] for k in range(3)) + place[4 * axis + 3]
                box[0][axis], box[1][axis] = min(box[0][axis], number), max(box[1][axis], number)
    for child in node.get("children", ()):
        extend(box, child, meshes, place, in_order)


def box_of(scene, in_order):
    box = [[1e10] * 3, [-1e10] * 3]
    extend(box, scene["rootnode"], scene.get("meshes", ()), [float(i % 5 == 0) for i in range(16)], in_order)
    return box


def facts_of(path):
    text = tool("info", path, "-r")
    if text is None:
        return None
    row = [int(re.search(r"^%s: +(\d+)" % name, text, re.MULTILINE).group(1)) for name in COUNTS]
    ends = [re.search(r"^%s point +\((.*)\)" % end, text, re.MULTILINE).group(1) for end in ("Minimum", "Maximum")]
    printed = [[float(number) for number in end.split()] for end in ends]
    with tempfile.TemporaryDirectory() as folder:
        if not math.isfinite(sum(printed[0] + printed[1])) or tool("export", path, folder + "/a", "-fassjson") is None:
            return row + [None]
        with open(folder + "/a", encoding="utf-8", errors="replace") as file:
            scene = json.load(file, strict=False)
    size = max(map(abs, printed[0] + printed[1]))
    for end, expected in zip(box_of(scene, False), printed):
        if any(abs(a - b) > 1e-4 * size + 1e-6 for a, b in zip(end, expected)):
            print("%s: the tool says %s and not %s" % (path, expected, end), file=sys.stderr)
    return row + [[[float("%.6g" % number) for number in end] for end in box_of(scene, True)]]


def main(folder):
    folders = {}
    for place, _, names in sorted(os.walk(folder)):
        for name in sorted(names):
            path = os.path.relpath(os.path.join(place, name), folder)
            folders.setdefault(path.split("/")[0], {})[path] = facts_of(os.path.join(folder, path))
    print("{\n%s\n}" % ",\n".join(json.dumps(rows)[1:-1] for rows in folders.values()))


main(*sys.argv[1:])
