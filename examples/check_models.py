# python
"""An asset check: holds the models of other programs below a folder against a studio's rules.

    kzhost run examples/check_models.py examples/models report.json

The report lists what was measured and what is wrong with each model. The exit status is 0 if all is well and 10 if a
model breaks a rule or cannot be read.
"""
import itertools
import os
import sys

import kz
import rules

KINDS = (".dae", ".fbx", ".glb", ".gltf", ".obj", ".ply", ".stl")
LARGEST = 20.0  # metres
scenes = kz.service.Scene()
MESH = scenes.ItemTypeLookup(kz.symbol.sITYPE_MESH)


def corners_of(item, mesh, read):
    """The corners of the mesh's box, in the world."""
    if not mesh.PointCount():
        return []
    place = read.Matrix(item, item.ChannelLookup("worldMatrix"))
    return [[sum(part * row[axis] for part, row in zip(corner + (1,), place)) for axis in range(3)]
            for corner in itertools.product(*zip(*mesh.BoundingBox(0)))]


def flat_polygons(mesh):
    """How many polygons have no area: something is wrong with them in every renderer."""
    polygon = mesh.Polygons()
    count = 0
    for index in range(mesh.PolygonCount()):
        polygon.MoveToIndex(index)
        count += polygon.Area() < 1e-12
    return count


def measure(scene):
    read = scene.Channels(None, 0.0)
    polygons, flat, unmapped, corners = 0, 0, [], []
    for index in range(scene.ItemCount(MESH)):
        item = scene.ItemByIndex(MESH, index)
        mesh = kz.service.Mesh().FromItem(item, 0.0, 0)
        polygons += mesh.PolygonCount()
        flat += flat_polygons(mesh)
        maps = [mesh.MapByIndex(number).Type() for number in range(mesh.MapCount())]
        if kz.symbol.i_MAPTYPE_TEXTURE not in maps:
            unmapped.append(item.UniqueName())
        corners += corners_of(item, mesh, read)
    size = [round(max(axis) - min(axis), 6) for axis in zip(*corners)]
    files = [scene.Assets().Reference(index) for index in range(scene.Assets().Count())]
    missing = [os.path.basename(file.Path()) for file in files if not file.IsFound()]
    return {"meshes": scene.ItemCount(MESH), "polygons": polygons, "without area": flat, "without UVs": unmapped,
            "size": size or [0, 0, 0], "missing files": missing, "textures": len(files)}


def examine(path):
    """What was measured, and what is wrong."""
    try:
        scene = scenes.Load(path, None)
    except Exception:
        return {}, ["cannot be read"]  # the log has the reason
    facts = measure(scene)
    scenes.Close(scene)
    unmapped = ", ".join(facts["without UVs"])
    return facts, rules.broken([
        (facts["polygons"], "has no polygons"),
        (max(facts["size"]) <= LARGEST, "is %g m large; is it in metres?" % max(facts["size"])),
        (not facts["without area"], "has %d polygons without area" % facts["without area"]),
        (not facts["missing files"], "misses " + ", ".join(facts["missing files"])),
        (not (facts["textures"] and unmapped), "has textures but no UVs on " + unmapped)])


sys.exit(rules.check("models", KINDS, examine, *sys.argv[1:]))
