# python
"""Makes a landscape with numpy: an array of heights becomes a mesh, its measures and a picture.

    kzhost --import-path build/numpy run examples/heights.py heights.png

It needs numpy for Python 2.7, which is not part of the host; version 1.16 is the last one.
"""
import sys

import kz

try:
    import numpy  # type: ignore
except ImportError:
    print "This example needs numpy 1.16 for Python 2.7 in an import path."
    sys.exit(77)

SIZE = 64


def landscape():
    x, z = numpy.meshgrid(numpy.linspace(-3, 3, SIZE), numpy.linspace(-3, 3, SIZE))
    return 3 * (1 - x) ** 2 * numpy.exp(-x ** 2 - (z + 1) ** 2) - numpy.exp(-(x + 1) ** 2 - z ** 2) \
        - 10 * (x / 5 - x ** 3 - z ** 5) * numpy.exp(-x ** 2 - z ** 2)


def storage_of(kind, array):
    """An array of the storage's memory takes the numbers at once."""
    storage = kz.Storage(kind, array.size)
    numpy.frombuffer(storage, array.dtype)[:] = array.ravel()
    return storage


def mesh_of(heights):
    """One point for each height and a quad between four of them: each go into the mesh in one call."""
    x, z = numpy.meshgrid(numpy.arange(SIZE), numpy.arange(SIZE))
    mesh = kz.service.Mesh().Create()
    mesh.AddPoints(heights.size, storage_of("double", numpy.stack([x, heights, z], axis=-1)))
    point = numpy.arange(heights.size, dtype="uint32").reshape(heights.shape)
    quads = numpy.stack([point[:-1, :-1], point[1:, :-1], point[1:, 1:], point[:-1, 1:]], axis=-1)
    sizes = numpy.full(quads.size // 4, 4, "uint32")
    mesh.AddPolygons(kz.symbol.i_POLYTYPE_FACE, sizes.size, storage_of("unsigned", sizes), quads.size,
                     storage_of("unsigned", quads))
    return mesh


def positions_of(mesh):
    storage = kz.Storage("double", 3 * mesh.PointCount())
    mesh.Positions(0, mesh.PointCount(), storage)
    return numpy.frombuffer(storage).reshape(-1, 3)


def paint(heights, path):
    """Low is blue, high is white; the steeper, the darker."""
    level = (heights - heights.min()) / heights.ptp()
    dz, dx = numpy.gradient(heights)
    light = 1 / (1 + dx ** 2 + dz ** 2)
    colors = numpy.stack([level * light, level * light, (0.4 + 0.6 * level) * light], axis=-1)
    images = kz.service.Image()
    image = images.Create(SIZE, SIZE, kz.symbol.iIMG_FORMAT_RGB24, 0)
    writer = kz.object.ImageWrite(image)
    for y, row in enumerate((colors * 255).astype("uint8")):
        line = storage_of("byte", row)
        writer.SetLine(y, kz.symbol.iIMG_FORMAT_RGB24, line.size(), line)
    images.Save(image, path, "PNG", None)


heights = landscape()
mesh = mesh_of(heights)
positions = positions_of(mesh)
print "points: %d, polygons: %d" % (mesh.PointCount(), mesh.PolygonCount())
print "from %.2f to %.2f, %.2f on average" % (positions[:, 1].min(), positions[:, 1].max(), positions[:, 1].mean())
highest = positions[:, 1].argmax()
print "the highest is point %d at %g, %g" % (highest, positions[highest, 0], positions[highest, 2])
paint(heights, sys.argv[1])
