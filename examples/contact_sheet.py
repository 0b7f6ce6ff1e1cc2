# python
"""A batch over files: puts a small copy of every picture of a folder on one sheet.

    kzhost run examples/contact_sheet.py examples/pictures contact_sheet.png

A file that cannot be read does not stop the others; it is named, and the exit status is 10.
"""
import glob
import os
import sys

import kz

CELL, GAP, COLUMNS = 48, 4, 4
images = kz.service.Image()


def paste(sheet, image, left, top):
    """Every pixel of the cell is the one that is nearest to its place in the image."""
    width, height = image.Size()
    scale = float(max(width, height)) / CELL
    pixel = kz.Storage("byte", 3)
    for y in range(int(height / scale)):
        for x in range(int(width / scale)):
            image.GetPixel(int(x * scale), int(y * scale), kz.symbol.iIMG_FORMAT_RGB24, pixel)
            sheet.SetPixel(left + x, top + y, kz.symbol.iIMG_FORMAT_RGB24, pixel)


def main(folder, target):
    files = [path for path in sorted(glob.glob(os.path.join(folder, "*.png")))
             if os.path.basename(path) != os.path.basename(target)]
    pictures, broken = [], []
    monitor = kz.Monitor(max(len(files), 1))
    for path in files:
        try:
            pictures.append((path, images.Load(path, None)))
        except Exception as error:
            broken.append(path)
            sys.stderr.write("%s: %s\n" % (path, error))
        monitor.step()

    rows = (len(pictures) + COLUMNS - 1) // COLUMNS
    sheet = images.Create(GAP + COLUMNS * (CELL + GAP), GAP + rows * (CELL + GAP), kz.symbol.iIMG_FORMAT_RGB24, 0)
    writer = kz.object.ImageWrite(sheet)
    writer.Fill((0.15, 0.15, 0.15), 1.0)
    for index, (path, image) in enumerate(pictures):
        row, column = divmod(index, COLUMNS)
        paste(writer, image, GAP + column * (CELL + GAP), GAP + row * (CELL + GAP))
        print "%s: %d x %d" % ((os.path.basename(path),) + image.Size())
    images.Save(sheet, target, "PNG", None)
    return 10 if broken else 0


sys.exit(main(*sys.argv[1:]))
