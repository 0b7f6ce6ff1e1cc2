"""Images through their interfaces: pixels of every format, lines, and files."""
import json
import math
import os
import tempfile

import kz
import kzifc
from checks import code_of, equal, fails, near, reasons, result_of, storage
from kz.symbol import (iIMG_FLIP_HORIZONTAL, iIMG_FORMAT_BITMAP, iIMG_FORMAT_GREY, iIMG_FORMAT_GREY16,
                       iIMG_FORMAT_GREYFP, iIMG_FORMAT_INDEX, iIMG_FORMAT_NONE, iIMG_FORMAT_RGB24, iIMG_FORMAT_RGB48,
                       iIMG_FORMAT_RGBA32, iIMG_FORMAT_RGBA64, iIMG_FORMAT_RGBAFP, iIMG_FORMAT_RGBAHALF,
                       iIMG_FORMAT_RGBFP, iIMG_FORMAT_RGBHALF)

IMAGES = kz.service.Image()
KEPT = (iIMG_FORMAT_GREY, iIMG_FORMAT_GREY16, iIMG_FORMAT_GREYFP, iIMG_FORMAT_RGB24, iIMG_FORMAT_RGB48,
        iIMG_FORMAT_RGBFP, iIMG_FORMAT_RGBA32, iIMG_FORMAT_RGBA64, iIMG_FORMAT_RGBAFP, iIMG_FORMAT_RGBHALF,
        iIMG_FORMAT_RGBAHALF)
PICTURES = os.path.join(os.path.dirname(__file__), 'pictures')


def image_of(width, height, format):
    image = IMAGES.Create(width, height, format, 0)
    return image, kz.object.ImageWrite(image)


def check_every_format_keeps_what_it_can_hold():
    grey = 0.2126 + 0.7152 * 0.2
    for format in KEPT:
        image, write = image_of(3, 2, format)
        equal((image.Format(), IMAGES.PixelBytes(format)), (format, (format >> 8) * {3: 2}.get(format & 0xFF, format & 0xFF)))
        write.SetPixel(2, 1, iIMG_FORMAT_RGBAFP, storage('f', 1, 0.2, 0, 0.6))
        out = kz.Storage('f', 4)
        image.GetPixel(2, 1, iIMG_FORMAT_RGBAFP, out)
        expected = {1: (grey, grey, grey, 1), 3: (1, 0.2, 0, 1), 4: (1, 0.2, 0, 0.6)}[format >> 8]
        near(out.get(), expected, {1: 0.002, 3: 0.0003}.get(format & 0xFF, 1e-5))
        image.GetPixel(1, 1, iIMG_FORMAT_RGBFP, out)
        equal(out.get(3), (0, 0, 0))  # the pixel beside it is untouched


def check_bytes_survive_every_way_there():
    line = [255 if at % 4 == 3 else at / 4 for at in range(1024)]
    for format in KEPT:
        image, write = image_of(256, 1, format)
        write.SetLine(0, iIMG_FORMAT_RGBA32, len(line), storage('b', *line))
        out = kz.Storage('b', 1024)
        image.GetLine(0, iIMG_FORMAT_RGBA32, 1024, out)
        equal((format, list(out.get())), (format, line))


def check_what_is_outside_or_not_kept_is_refused():
    image, write = image_of(3, 2, iIMG_FORMAT_RGB24)
    pixel = kz.Storage('b', 16)
    for x, y in ((-1, 0), (0, -1), (3, 0), (0, 2), (2 ** 31 - 1, 0), (0, -2 ** 31)):
        fails('OUTOFBOUNDS', (image.GetPixel, x, y, iIMG_FORMAT_RGB24, pixel),
              (write.SetPixel, x, y, iIMG_FORMAT_RGB24, pixel))
    fails('OUTOFBOUNDS', (image.GetLine, 2, iIMG_FORMAT_RGB24, 16, pixel))
    fails('INVALIDARG', (image.GetPixel, 0, 0, iIMG_FORMAT_RGB24, None), (write.SetAspect, 0),
          (write.SetLine, 0, iIMG_FORMAT_RGB24, 9, None), (write.SetLine, 0, iIMG_FORMAT_RGB24, 8, pixel),
          (image.GetLine, 0, iIMG_FORMAT_RGB24, 8, pixel))
    for format in (iIMG_FORMAT_BITMAP, iIMG_FORMAT_INDEX):
        fails('NOTSUPPORTED', (image.GetPixel, 0, 0, format, pixel))
    for format, room in ((iIMG_FORMAT_NONE, pixel), (-1, pixel), (iIMG_FORMAT_RGBAFP, kz.Storage('b', 15))):
        equal(code_of(image.GetPixel, 0, 0, format, room)[:16], 'invalid argument')  # the host is not asked
    for code, width, height, format in (
            ('INVALIDARG', 0, 1, iIMG_FORMAT_GREY), ('INVALIDARG', 1, -1, iIMG_FORMAT_GREY),
            ('INVALIDARG', 1 << 20, 1, iIMG_FORMAT_GREY), ('OUTOFMEMORY', 65536, 65536, iIMG_FORMAT_RGBAFP),
            ('NOTSUPPORTED', 1, 1, iIMG_FORMAT_BITMAP)):
        fails(code, (IMAGES.Create, width, height, format, 0), (write.SetSize, width, height, format))
    equal(image.Size(), (3, 2))  # a refused size changes nothing
    fails('INVALIDARG', (IMAGES.Save, None, 'none.png', None, None), (IMAGES.Scale, image, 1, 0, 0),
          (IMAGES.Scale, image, 1, 1, 5), (IMAGES.Flip, image, -1), (IMAGES.Crop, image, 0, 0, 0, 1),
          (IMAGES.Compose, kz.service.Scene().Create('none'), image, 0, 0, 0, 1),
          (IMAGES.Compose, image, image, 0, 0, 14, 1), (IMAGES.Compose, image, image, 0, 0, 0, 1.5),
          (IMAGES.Compare, image, IMAGES.Create(1, 2, iIMG_FORMAT_GREY, 0), 0))
    fails('OUTOFBOUNDS', (IMAGES.Crop, image, 2, 0, 2, 2), (IMAGES.LoadFrame, 'one.png', 2, None),
          (IMAGES.LoadFrame, 'one7.png', -1, None))
    equal(set([
        'Image.GetPixel: the pixel is null', 'ImageWrite.SetAspect: the width of a pixel over its height is above 0, not 0',
        'ImageWrite.SetLine: the line is null', 'ImageWrite.SetLine: a line takes 9 bytes, not 8',
        'Image.GetLine: a line takes 9 bytes, not 8', 'Image: the sides are 1 to 65536 pixels long, not 0 x 1',
        'Image: the sides are 1 to 65536 pixels long, not 1 x -1',
        'Image: the sides are 1 to 65536 pixels long, not 1048576 x 1',
        'Image.Save: the image is null', 'Image.Compose: the target cannot be written',
        'Image.Scale: the sides are at least 1 pixel long, not 1 x 0',
        'Image.Scale: the filter is one of iIMG_FILTER_..., 0 to 4, not 5',
        'Image.Flip: the axis is one of iIMG_FLIP_..., 0 to 2, not -1',
        'Image.Crop: the sides are at least 1 pixel long, not 0 x 1',
        'Image.Crop: 2 x 2 pixels at (2, 0) are not all inside an image of 3 x 2',
        'Image.Compose: the blend is one of iIMG_BLEND_..., 0 to 13, not 14',
        'Image.Compose: the opacity is from 0 to 1, not 1.5',
        'Image.Compare: the images have the same size, not 3 x 2 and 1 x 2',
        'Image.LoadFrame: frames are counted from 0, not -1']) - set(reasons()), set())


def pixels_of(image):
    width, height = image.Size()
    line = kz.Storage('b', int(width * IMAGES.PixelBytes(image.Format())))
    lines = [image.GetLine(y, image.Format(), line.size(), line) or bytearray(line.get()) for y in range(height)]
    return ''.join(map(str, lines)).encode('hex')


def described(path):
    image, space = IMAGES.Load(path, None), result_of(IMAGES.Metadata, path, 'colorspace')
    return [image.Format(), None if space == 'NOTFOUND' else space, pixels_of(image)]


def check_files_of_other_programs_keep_every_bit():
    folder = tempfile.mkdtemp()
    for name, expected in sorted(json.load(open(os.path.join(PICTURES, 'expected.json'))).items()):
        path, saved = os.path.join(PICTURES, name), os.path.join(folder, name)
        equal((name, described(path)), (name, expected))
        image = IMAGES.Load(path, None)
        IMAGES.Save(image, saved, None, None)
        if not name.endswith('.jpg'):
            equal((name, described(saved)), (name, expected))
        if expected[0] & 0xFF == 2:  # single floats hold 16 bits, and the colour space is said in every format
            for way in ('.tif', '.exr', '.png'):
                IMAGES.Save(image, saved + way, None, None)
                image = IMAGES.Load(saved + way, None)
            equal((name, described(saved + way)), (name, expected[:1] + [expected[1] or 'linear'] + expected[2:]))
    equal(IMAGES.Metadata(os.path.join(PICTURES, 'rgbfp.tif'), 'comment'), 'made elsewhere')


def check_colours_are_converted_when_that_is_asked():
    mapping, saved = kz.service.ColorMapping(), os.path.join(tempfile.mkdtemp(), 'a.tif')
    names = [mapping.SpaceByIndex(None, at) for at in range(mapping.SpaceCount(None))]
    equal(([mapping.IsSpace(name) for name in ('linear', 'sRGB', 'nonsense')], 'sRGB' in names), ([1, 1, 0], True))
    for name, first in (('rgba16.png', 10005 / 65535.0), ('linear16.png', None)):
        image = IMAGES.Load(os.path.join(PICTURES, name), None)
        IMAGES.Save(mapping.MapImage(image, None, 'linear'), saved, None, None)
        equal(IMAGES.Metadata(saved, 'colorspace'), 'linear')
        out, mapped = kz.Storage('f', 4), IMAGES.Load(saved, None)
        mapped.GetPixel(0, 0, iIMG_FORMAT_RGBAFP, out)
        if first:
            near(out.get(), (0, 1 / 65535.0 / 12.92, ((first + 0.055) / 1.055) ** 2.4, 0), 1e-7)
        else:
            equal(pixels_of(mapped), pixels_of(image))
    for part in IMAGES.Crop(image, 1, 0, 1, 2), IMAGES.Flip(image, iIMG_FLIP_HORIZONTAL):
        IMAGES.Save(part, saved, None, None)
        equal(IMAGES.Metadata(saved, 'colorspace'), 'linear')
    plain = image_of(1, 1, iIMG_FORMAT_RGB24)[0]
    IMAGES.Save(mapping.MapImage(plain, 'sRGB', 'sRGB'), saved, None, None)  # says it, and changes nothing
    equal(described(saved), [iIMG_FORMAT_RGB24, 'sRGB', '000000'])
    fails('INVALIDARG', (mapping.MapImage, plain, None, 'linear'), (mapping.MapImage, None, 'sRGB', 'linear'))
    fails('NOTFOUND', (mapping.MapImage, plain, 'sRGB', 'nonsense'), (mapping.SpaceCount, 'a module'))


def check_files_hold_the_image():
    folder = tempfile.mkdtemp()
    path = os.path.join(folder, 'a.png')
    for format in (iIMG_FORMAT_GREY, iIMG_FORMAT_RGB24, iIMG_FORMAT_RGBA32):
        image, write = image_of(5, 4, format)
        for y in range(4):
            write.SetLine(y, format, 20, storage('b', *[at * 12 + y for at in range(20)]))
        IMAGES.Save(image, path, None, None)
        loaded = IMAGES.Load(path, None)
        equal((IMAGES.Compare(image, loaded, 0), loaded.Format()), ((0, 0), format))
    open(path, 'w').write('no image')
    open(folder + '/cut.png', 'wb').write(open(os.path.join(PICTURES, 'rgb16.png'), 'rb').read()[:30])
    for code, call in (
            ('NOTFOUND', (IMAGES.Load, path + 'missing.png', None)), ('NOTSUPPORTED', (IMAGES.Load, path, None)),
            ('FAILED', (IMAGES.Load, folder + '/cut.png', None)), ('NOTFOUND', (IMAGES.Metadata, folder, 'artist')),
            ('NOACCESS', (IMAGES.Save, image, folder + '/no/such/folder.png', None, None)),
            ('NOTSUPPORTED', (IMAGES.Save, image, folder + '/a.tga', None, None)),
            ('INVALIDARG', (IMAGES.Save, None, path, 'PNG', None)),
            ('INVALIDARG', (IMAGES.Save, image, None, 'PNG', None))):
        equal(code_of(*call), code)


class Diagonal(kzifc.Image):
    """Somebody else's image, which knows single pixels only and lies about its size when asked to."""

    def __init__(self, side):
        self.side = side

    def img_Size(self):
        return self.side, self.side

    def img_GetPixel(self, x, y, format, pixel):
        if format != iIMG_FORMAT_RGBA32:
            kz.throw(kz.result.NOTSUPPORTED)
        pixel.setType('b')
        pixel.setSize(4)
        pixel.set((255 * (x == y), 0, 0, 255))


class Overrunning(Diagonal):
    """Writes its whole image where one pixel is wanted, and counts how much of it there was room for."""

    def img_GetPixel(self, x, y, format, pixel):
        pixel.setType('b')
        try:
            pixel.set([1] * 4 * self.side ** 2)
        finally:
            self.room = len([place for place in range(pixel.setSize(1000) or 1000) if self.fits(pixel, place)])

    @staticmethod
    def fits(pixel, place):
        try:
            pixel[place]
            return True
        except IndexError:
            return False


def check_a_pixel_has_the_room_of_its_format():
    for format in KEPT:
        image = Overrunning(16)
        image.img_Format = lambda: format
        equal((code_of(IMAGES.Duplicate, image, 0), image.room), ('OUTOFBOUNDS', IMAGES.PixelBytes(format)))


def check_anybodys_image_can_be_saved_flipped_and_cropped():
    path = os.path.join(tempfile.mkdtemp(), 'd.png')
    fails('INVALIDARG', (IMAGES.Save, Diagonal(2 ** 31 - 1), path, 'PNG', None))
    IMAGES.Save(Diagonal(4), path, 'PNG', None)
    flipped = IMAGES.Flip(IMAGES.Load(path, None), iIMG_FLIP_HORIZONTAL)
    line = kz.Storage('b', 8)
    IMAGES.Crop(flipped, 2, 1, 2, 1).GetLine(0, iIMG_FORMAT_RGBA32, 8, line)
    equal((line[0], line[4]), (255, 0))  # the diagonal runs the other way now
    fails('OUTOFBOUNDS', (IMAGES.Crop, flipped, 3, 1, 2, 1), (IMAGES.Crop, flipped, -1, 0, 2 ** 31 - 1, 1))


def row(*values):
    image = IMAGES.Create(len(values), 1, kz.symbol.iIMG_FORMAT_GREYFP, 0)
    kz.object.ImageWrite(image).SetLine(0, kz.symbol.iIMG_FORMAT_GREYFP, 4 * len(values), storage('f', *values))
    return image


def line(image):
    read, (width, _) = storage('f', *(image.Size()[0] * (0.0,))), image.Size()
    image.GetLine(0, kz.symbol.iIMG_FORMAT_GREYFP, 4 * width, read)
    return read.get()


def check_images_are_scaled():
    """Against each filter's definition, by other means: integrals, interpolation, cubics by their slopes, sums of sincs."""
    values = [0.1, 0.9, 0.3, 0.6, 0.2]
    at = lambda i: values[max(0, min(len(values) - 1, i))]
    integral = lambda x: sum(values[:int(x)]) + (x - int(x)) * at(int(x))

    def cubic(x):
        i, t = int(math.floor(x)), x - math.floor(x)
        low, high = (at(i + 1) - at(i - 1)) / 2, (at(i + 2) - at(i)) / 2
        return ((2 * t ** 3 - 3 * t * t + 1) * at(i) + (t ** 3 - 2 * t * t + t) * low
                + (3 * t * t - 2 * t ** 3) * at(i + 1) + (t ** 3 - t * t) * high)

    def sinc(x, width):
        weights = [(i, (math.sin(math.pi * d) / (math.pi * d) * math.sin(math.pi * d / 3) / (math.pi * d / 3) if d else 1))
                   for i in range(-20, 25) for d in [(i - x) / width] if abs(d) < 3]
        return sum(at(i) * weight for i, weight in weights) / sum(weight for _, weight in weights)

    for size in (1, 3, 5, 8):
        step = 5.0 / size
        centers = [(i + 0.5) * step - 0.5 for i in range(size)]
        for number, expected in enumerate((
                [at(int(math.floor(x + 0.5))) for x in centers],
                [at(int(math.floor(x))) * (1 - x + math.floor(x)) + at(int(math.floor(x)) + 1) * (x - math.floor(x)) for x in centers],
                [cubic(x) for x in centers], [(integral((i + 1) * step) - integral(i * step)) / step for i in range(size)],
                [sinc(x, max(1.0, step)) for x in centers])):
            near(line(IMAGES.Scale(row(*values), size, 1, number)), expected, 1e-6)
    square = IMAGES.Create(2, 2, kz.symbol.iIMG_FORMAT_RGBA32, 0)
    kz.object.ImageWrite(square).SetPixel(0, 0, kz.symbol.iIMG_FORMAT_RGBA32, storage('b', 200, 100, 50, 255))
    pixel = storage('b', 0, 0, 0, 0)
    IMAGES.Scale(square, 1, 1, kz.symbol.iIMG_FILTER_AREA).GetPixel(0, 0, kz.symbol.iIMG_FORMAT_RGBA32, pixel)
    equal(tuple(pixel.get()), (200, 100, 50, 64))  # what is not there has no colour
    fails('INVALIDARG', (IMAGES.Scale, None, 1, 1, 0))


def check_images_are_laid_over_each_other():
    t, s = 0.75, 0.25
    for blend, expected in enumerate((s, t + s, t - s, t - s, t * s, t / s, 1 - (1 - t) * (1 - s), 1 - 2 * (1 - t) * (1 - s),
                                      (1 - 2 * s) * t * t + 2 * s * t, 2 * t * s, s, t, t / (1 - s), 1 - (1 - t) / s)):
        target = row(t, t, t)
        IMAGES.Compose(target, row(s, s), 1, 0, blend, 0.5)
        near(line(target), [t] + 2 * [t + (expected - t) / 2], 1e-6)
    target = row(t, t)
    IMAGES.Compose(target, row(s, s, s), -2, 0, 0, 1.0)
    near(line(target), [s, t], 1e-6)
    IMAGES.Compose(target, row(1.0), 2 ** 31 - 1, -2 ** 31, 0, 1.0)
    near(line(target), [s, t], 1e-6)


def check_colours_are_mapped():
    colors = kz.service.ColorMapping()
    srgb = lambda x: 12.92 * x if x <= 0.0031308 else 1.055 * x ** (1 / 2.4) - 0.055
    values = (0.002, 0.25, 0.8)
    mapping = colors.Mapping('LINEAR', 'srgb', 0)
    near(colors.MapColor('linear', 'sRGB', values), map(srgb, values), 1e-5)
    near(mapping.MapInverse(mapping.MapColor(values)), values, 1e-5)
    equal((mapping.Source(), mapping.Target(), mapping.Flags(),
           mapping.__peekobj__() == colors.Mapping('linear', 'sRGB', 0).__peekobj__()), ('linear', 'sRGB', 2 | 8, True))
    pixels = storage('f', *(values + (0.5, 9.0) + values + (1.0, 9.0)))
    mapping.MapFloats(2, 4, 5, pixels)
    near(pixels.get(), map(srgb, values) + [0.5, 9.0] + map(srgb, values) + [1.0, 9.0], 1e-5)
    pixels = storage('b', 0, 64, 255)
    mapping.MapBytes(1, 3, 3, pixels)
    equal(tuple(pixels.get()), (0, int(round(255 * srgb(64 / 255.0))), 255))
    equal(mapping.LinearPart(), ((1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0)))
    equal(colors.Mapping('sRGB', 'sRGB', 0).Flags() & 1, 1)
    floats = storage('f', 1.0, 2.0, 3.0)
    fails('NOTFOUND', (colors.Mapping, 'linear', 'nothing', 0), (colors.MapColor, 'nothing', 'linear', values))
    fails('NOTSUPPORTED', (colors.Mapping, 'linear', 'sRGB', 8))
    fails('INVALIDARG', (mapping.MapFloats, 1, 2, 3, floats), (mapping.MapFloats, 1, 3, 2, floats))
