# python
# Runs a mesh operation that is served in Python on a mesh of a scene: the host does it, as for one of its own.
import kz

scenes = kz.service.Scene()
scene = scenes.Create("Workshop")
item = scene.ItemAdd(scenes.ItemTypeLookup(kz.symbol.sITYPE_MESH))
item.SetName("Slab")
mesh = kz.service.Mesh().FromItem(item, 0.0, 0)
for corner in ((0, 0, 0), (1, 0, 0), (1, 0, 1), (0, 0, 1)):
    mesh.AddPoint(corner)

print "operations:", kz.evalN("mesh.operate operation:?")
print "before:", mesh.BoundingBox(0)
kz.eval("mesh.operate lift item:Slab")
print "after:", mesh.BoundingBox(0)
