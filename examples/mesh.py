# python
# Builds a mesh from a buffer of positions, reads it back element by element and measures it.
import kz

# A storage buffer is plain memory: the mesh reads all eight positions from it in one call.
corners = kz.Storage("double", 24)
corners.set([value for z in (0, 1) for x, y in ((0, 0), (2, 0), (2, 1), (0, 1)) for value in (x, y, z)])

mesh = kz.service.Mesh().Create()
first = mesh.AddPoints(8, corners)

# Elements are known by ids. A cursor steps from point to point; polygons take their corners as a buffer of ids.
point = mesh.Points()
ids = []
for index in range(first, first + 8):
    point.MoveToIndex(index)
    ids.append(point.Id())

face = kz.symbol.i_POLYTYPE_FACE
buffer = kz.Storage("pointer", 4)
for quad in ((3, 2, 1, 0), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)):
    buffer.set([ids[corner] for corner in quad])
    mesh.AddPolygon(face, 4, buffer)

print "points %d, edges %d, polygons %d" % (mesh.PointCount(), mesh.EdgeCount(), mesh.PolygonCount())
print "area %g, volume %g" % (mesh.Area(), mesh.Volume())

# One more box beside it: a matrix has its axes in the rows and the position in the last one.
beside = ((1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0), (5, 0, 0, 1))
mesh.MergeWithTransform(mesh, beside, 0)
print "after the merge: points %d, polygons %d" % (mesh.PointCount(), mesh.PolygonCount())
print "bounds %s to %s" % mesh.BoundingBox(0)

# A weight map: one value for each point that gets one.
weights = mesh.Maps()
weights.Add(kz.symbol.i_MAPTYPE_WEIGHT, "Pull")
value = kz.Storage("float", 1)
for index in range(4):
    point.MoveToIndex(index)
    value.set([index / 4.0])
    weights.SetValue(point.Id(), 0, value)
print "weights %d, from %g to %g" % ((weights.ValueCount(),) + weights.Range(0))

# What the mesh did not give out is refused, not followed.
try:
    point.MoveTo(12345)
except LookupError as error:
    print "refused:", error
print "normal of the last polygon:", mesh.PolygonByIndex(mesh.PolygonCount() - 1).Normal()
