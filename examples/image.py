# python
# Paints an image line by line and writes it to a PNG file: the one named as the argument, or a temporary one.
import os
import tempfile

import kz

width, height = 64, 48
images = kz.service.Image()
image = images.Create(width, height, kz.symbol.iIMG_FORMAT_RGB24, 0)

# The same object has a second interface, for writing.
writer = kz.object.ImageWrite(image)
writer.Fill((0.1, 0.1, 0.4), 1.0)

# A line is a buffer of the components of its pixels, from the left.
line = kz.Storage("byte", width * 3)
for y in range(height // 2):
    line.set([value for x in range(width) for value in (x * 4, y * 8, 255 - x * 4)])
    writer.SetLine(y, kz.symbol.iIMG_FORMAT_RGB24, line.size(), line)

# Pixels can be given in any format; the image converts them to its own.
white = kz.Storage("float", 4)
white.set((1.0, 1.0, 1.0, 1.0))
for i in range(16):
    writer.SetPixel(24 + i, 28 + i, kz.symbol.iIMG_FORMAT_RGBAFP, white)

path = kz.args()[0] if kz.args() else os.path.join(tempfile.mkdtemp(), "image.png")
images.Save(image, path, "PNG", None)

# Read it back, to see that nothing was lost on the way.
greatest, fraction = images.Compare(image, images.Load(path, None), 0.0)
print "size %d x %d" % image.Size()
print "difference after reading the file again: %g" % greatest
if not kz.args():
    os.remove(path)
    os.rmdir(os.path.dirname(path))
