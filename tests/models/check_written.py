# Reads a scene that the host has written in five formats, by trimesh and pygltflib, and compares it with what the host
# says:
#
#     python3 check_written.py FOLDER
#
# FOLDER has scene.json, scene.gltf, scene.glb, scene.obj, scene.ply and scene.stl.
import json
import sys

import numpy
import pygltflib
import trimesh

problems = []


def expect(what, found, expected, within=0.0):
    found, expected = numpy.asarray(found), numpy.asarray(expected)
    if found.shape != expected.shape or not numpy.allclose(found, expected, rtol=within, atol=within):
        problems.append("%s: %s instead of %s" % (what, found, expected))


def check_geometry(path, scene):
    mesh = trimesh.load(path, process=False, force="mesh")
    size = numpy.abs(scene["box"]).max()
    expect(path + " box", mesh.bounds, scene["box"], 1e-5 * size)
    expect(path + " triangles", len(mesh.faces), scene["triangles"])
    expect(path + " area", mesh.area, scene["area"], 2e-3 * scene["area"])  # of faces that are not flat


# Names, hierarchy and places. glTF has matrices by columns and positions, rotations and factors apart.
def check_nodes(path, scene):
    file = pygltflib.GLTF2().load(path)
    parents = {child: node for node in file.nodes for child in node.children or ()}
    found = {}
    for index, node in enumerate(file.nodes):
        matrix = numpy.array(node.matrix).reshape(4, 4).T if node.matrix else trimesh.transformations.compose_matrix()
        if node.translation or node.rotation or node.scale:
            x, y, z, w = node.rotation or (0, 0, 0, 1)
            turn = trimesh.transformations.quaternion_matrix((w, x, y, z))
            matrix = (trimesh.transformations.translation_matrix(node.translation or (0, 0, 0)) @ turn
                      @ numpy.diag(list(node.scale or (1, 1, 1)) + [1]))
        parent = parents[index].name if index in parents else ""
        shown = 0 if node.mesh is None else len(file.meshes[node.mesh].primitives)
        found[node.name] = (parent, matrix.T, shown)
    if sorted(found) != sorted(scene["nodes"]):
        problems.append("%s: the nodes %s instead of %s" % (path, sorted(found), sorted(scene["nodes"])))
    size = max(1, numpy.abs(scene["box"]).max())
    for name, (parent, matrix, shown) in scene["nodes"].items():
        if name in found:
            if found[name][0] != parent:
                problems.append("%s: %s is below %r instead of %r" % (path, name, found[name][0], parent))
            expect(path + " place of " + name, found[name][1], numpy.array(matrix).reshape(4, 4), 1e-5 * size)
            expect(path + " meshes of " + name, found[name][2], shown)


folder = sys.argv[1]
with open(folder + "/scene.json") as file:
    scene = json.load(file)
for kind in ("gltf", "glb", "obj", "ply", "stl"):
    check_geometry(folder + "/scene." + kind, scene)
for kind in ("gltf", "glb"):
    check_nodes(folder + "/scene." + kind, scene)
print("\n".join(problems[:20]) or "the same")
