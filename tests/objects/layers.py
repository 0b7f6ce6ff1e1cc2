"""Images of several layers and images with a palette: what they keep and refuse, and how layers look together."""
import json
import os
import struct
import tempfile

import kz
import kzifc
from checks import equal, fails, near, reasons, result_of, storage
from kz.symbol import (fIMGLAYER_CLIPPED, fIMGLAYER_GROUP, fIMGLAYER_HIDDEN, fIMGLAYER_PASSTHROUGH,
                       fIMGLAYER_PREMULTIPLIED, iIMG_BLEND_MULTIPLY, iIMG_FORMAT_GREY, iIMG_FORMAT_INDEX,
                       iIMG_FORMAT_RGB24, iIMG_FORMAT_RGBA32, iIMG_FORMAT_RGBAFP)

IMAGES = kz.service.Image()
# The head of an ICC profile for monitors, whose white is D50, and no tags.
PROFILE = struct.unpack('132B', struct.pack('>i4xi4s4s4s12x4s28x3i52x', 132, 0x02100000, 'mntr', 'RGB ', 'XYZ ', 'acsp',
                                            0xF6D6, 0x10000, 0xD32D))
TABLE = json.load(open(os.path.join(os.path.dirname(__file__), 'pictures', 'layers.json')))


def image_of(width, height, values, format=iIMG_FORMAT_RGBA32, letter='b', step=4):
    image = IMAGES.Create(width, height, format, 0)
    for y in range(height):
        line = values[y * width * step:(y + 1) * width * step]
        kz.object.ImageWrite(image).SetLine(y, format, width * step * {'b': 1, 'f': 4}[letter], storage(letter, *line))
    return image


def values_of(image, format=iIMG_FORMAT_RGBA32, letter='b', step=4):
    image = kz.object.Image(image)
    (width, height), values = image.Size(), []
    for y in range(height):
        line = kz.Storage(letter, width * step)
        image.GetLine(y, format, width * step * {'b': 1, 'f': 4}[letter], line)
        values += line.get()
    return values


def table_image(name):
    return image_of(TABLE['size'][0], TABLE['size'][1], TABLE[name])


def layered(*layers):
    """Each an image, and what else is said of it: parent, offset, blend, flags, mask."""
    image = IMAGES.CreateLayered(TABLE['size'][0], TABLE['size'][1], iIMG_FORMAT_RGBAFP)
    write = kz.object.LayeredImageWrite(image)
    for index, (pixels, said) in enumerate(layers):
        equal(write.AddLayer(pixels, 'layer %d' % index, said.get('parent', -1)), index)
        write.SetLayerOffset(index, *said.get('offset', (0, 0)))
        write.SetLayerBlend(index, said.get('blend', 0), said.get('opacity', 1))
        write.SetLayerFlags(index, said.get('flags', 0 if pixels else fIMGLAYER_GROUP))
        if 'mask' in said:
            write.SetLayerMask(index, said['mask'])
    return image


def seen(*layers):
    """One opaque pixel of one float for each layer, as the layers look together."""
    return [value for value in values_of(layered(*layers).Composite(), iIMG_FORMAT_RGBAFP, 'f')[:4]]


def bytes_near(found, expected):
    """Colours below no alpha do not count."""
    for at in range(0, len(expected), 4):
        near(found[at:at + 4] if expected[at + 3] else found[at + 3:at + 4],
             expected[at:at + 4] if expected[at + 3] else expected[at + 3:at + 4], 2)


def check_layers_look_as_in_another_program():
    below, above = table_image('below'), table_image('above')
    both = layered((below, {}), (above, {}))
    bytes_near(values_of(both.Composite()), TABLE['over'])
    bytes_near(values_of(both), TABLE['over'])  # read line by line
    bytes_near(values_of(layered((below, {}), (above, {'offset': (-1, 2)}))), TABLE['moved'])
    opaque = [IMAGES.Duplicate(image, iIMG_FORMAT_RGB24) for image in (below, above)]
    for name, expected in sorted(TABLE['mixed'].items()):
        mixed = layered((opaque[0], {}), (opaque[1], {'blend': getattr(kz.symbol, 'iIMG_BLEND_' + name)}))
        bytes_near([min(max(value, 0), 255) for value in values_of(mixed)], expected)


def flat(*rgba):
    return image_of(4, 3, rgba * 12, iIMG_FORMAT_RGBAFP, 'f')


def check_groups_masks_and_clips():
    dark, grey, half = flat(0.5, 0.5, 0.5, 1), flat(0.5, 0.25, 1, 1), flat(1, 1, 1, 0.5)
    multiply = {'parent': 1, 'blend': iIMG_BLEND_MULTIPLY}
    product = (0.25, 0.125, 0.5, 1)
    near(seen((dark, {}), (None, {}), (grey, multiply)), (0.5, 0.25, 1, 1), 1e-6)  # it has nothing to blend with
    through = fIMGLAYER_GROUP | fIMGLAYER_PASSTHROUGH
    near(seen((dark, {}), (None, {'flags': through}), (grey, multiply)), product, 1e-6)
    near(seen((dark, {}), (None, {'flags': through, 'opacity': 0.5}), (grey, multiply)), (0.375, 0.3125, 0.5, 1), 1e-6)
    near(seen((dark, {}), (None, {'flags': through | fIMGLAYER_HIDDEN}), (grey, multiply)), (0.5, 0.5, 0.5, 1), 1e-6)
    near(seen((half, {}), (dark, {'flags': fIMGLAYER_CLIPPED})), (2 / 3.0, 2 / 3.0, 2 / 3.0, 0.75), 1e-6)
    near(seen((half, {'flags': fIMGLAYER_HIDDEN}), (dark, {'flags': fIMGLAYER_CLIPPED})), (0, 0, 0, 0))
    near(seen((flat(0.25, 0.125, 0, 0.25), {'flags': fIMGLAYER_PREMULTIPLIED})), (1, 0.5, 0, 0.25), 1e-6)
    mask = image_of(4, 3, [51] + [255] * 11, iIMG_FORMAT_GREY, step=1)
    near(seen((dark, {'mask': mask, 'opacity': 0.5})), (0.5, 0.5, 0.5, 0.1), 1e-6)
    near(seen((dark, {'mask': mask, 'offset': (1, 0)})), (0, 0, 0, 0))


def check_what_layers_say_and_refuse():
    image = layered((flat(1, 0, 0, 1), {'offset': (-3, 2), 'opacity': 0.25, 'blend': 4}), (None, {}))
    write, pixels = kz.object.LayeredImageWrite(image), flat(0, 0, 0, 1)
    equal((image.LayerCount(), image.LayerName(1), image.LayerOffset(0), image.LayerOpacity(0), image.LayerBlend(0),
           image.LayerFlags(1), image.LayerParent(0), kz.object.Image(image).Size()),
          (2, 'layer 1', (-3, 2), 0.25, 4, fIMGLAYER_GROUP, -1, (4, 3)))
    equal(image.LayerByIndex(0).Size(), (4, 3))
    fails('NOTFOUND', (image.LayerByIndex, 1), (image.LayerMask, 0))
    fails('OUTOFBOUNDS', (image.LayerByIndex, 2), (image.LayerName, 2), (image.LayerOffset, 2), (image.LayerMask, 2),
          (write.SetLayerOffset, 2, 0, 0), (write.SetLayerMask, 2, None))
    fails('INVALIDARG', (write.AddLayer, pixels, 'x', 0), (write.AddLayer, pixels, 'x', 2),
          (write.AddLayer, pixels, 'x', -2), (write.SetLayerBlend, 0, 14, 1), (write.SetLayerBlend, 0, 0, float('nan')),
          (write.SetLayerFlags, 0, fIMGLAYER_GROUP), (write.SetLayerFlags, 1, 0), (write.SetLayerFlags, 0, 64),
          (write.SetLayerMask, 0, IMAGES.Create(3, 4, iIMG_FORMAT_GREY, 0)),
          (IMAGES.CreateLayered, 0, 1, iIMG_FORMAT_RGBA32))
    group = 1
    for depth in range(64):
        group = result_of(write.AddLayer, None, 'deeper', group)
    fails('INVALIDARG', (write.AddLayer, None, 'too deep', group))
    equal('LayeredImageWrite.AddLayer: layer 0 is no group' in reasons(), True)


class Pixels(kzifc.Image):
    """The image of that name in the table."""
    def __init__(self, name='below'):
        self.values = TABLE[str(name)]

    def img_Size(self):
        return tuple(TABLE['size'])

    def img_Format(self):
        return iIMG_FORMAT_RGBA32

    def img_GetPixel(self, x, y, format, pixel):
        first = 4 * (x + y * TABLE['size'][0])
        rgba = self.values[first:first + 4]
        pixel.setType('f' if format == iIMG_FORMAT_RGBAFP else 'b')
        pixel.set([value / 255.0 for value in rgba] if format == iIMG_FORMAT_RGBAFP else rgba)


class Layers(kzifc.LayeredImage):
    """Two layers over each other; a group that holds itself is no image."""
    parent = -1

    def limg_LayerCount(self):
        return 2

    def limg_LayerByIndex(self, index):
        return Pixels(('below', 'above')[index])

    def limg_LayerOpacity(self, index):
        return 1.0

    def limg_LayerParent(self, index):
        return self.parent


class Loops(Layers):
    parent = 1


class Saver(kzifc.Saver):
    def sav_Save(self, source, path, monitor):
        with open(path, 'w') as stream:
            stream.write(kz.object.LayeredImage(source).LayerName(0))


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        kz.object.LoaderInfo(info).SetClass('image')

    def load_LoadObject(self, path, info, monitor, target):
        target = kz.object.ImageLoaderTarget(target)
        if target.Wanted() & kz.symbol.fIMGLOAD_METADATA:
            target.SetMetadata('comment', 'first')
            target.SetMetadata('comment', 'last')
            target.SetMetadata('project', 'lamp')
            target.SetSpace('auto' if 'auto' in path else 'linear')
            target.SetProfile(len(PROFILE), storage('b', *PROFILE))
            fails('INVALIDARG', (target.SetProfile, 4, storage('b', 1, 2, 3, 4)),
                  (target.SetProfile, len(PROFILE) - 1, storage('b', *PROFILE)))
        fails('INVALIDARG', (target.SetMetadata, '', 'text'), (target.SetSpace, ''), (target.SetSpace, 'two words'))
        fails('OUTOFBOUNDS', (target.SetMetadata, 'comment', 'x' * 70000), (target.SetMetadata, 'x' * 80, 'text'))
        if 'long' in path:
            for key in 'comment', 'artist', 'copyright':
                target.SetMetadata(key, key[0] * 29999)
        if target.Wanted() & kz.symbol.mIMGLOAD_PIXELS:
            target.SetLayeredImage(Loops() if 'loops' in path else Layers())


kz.bless(Pixels, 'tests.layers')
kz.bless(Layers, 'tests.layers')
kz.bless(Loops, 'tests.loops')
kz.bless(Saver, 'tests.layers', {'saver.dosType': 'lay', 'file.class': 'layeredimage'})
kz.bless(Loader, 'tests.layers', {'loader.dosPattern': '*.lay'})


def check_layers_go_to_and_come_from_files():
    folder = tempfile.mkdtemp()
    own = os.path.join(folder, 'own.png')
    IMAGES.Save(layered((table_image('below'), {}), (table_image('above'), {})), own, None, None)
    bytes_near(values_of(IMAGES.Load(own, None)), TABLE['over'])
    served = os.path.join(folder, 'served.lay')
    IMAGES.Save(layered((table_image('below'), {})), served, None, None)
    equal(open(served).read(), 'layer 0')
    bytes_near(values_of(IMAGES.Load(served, None)), TABLE['over'])
    os.rename(served, os.path.join(folder, 'loops.lay'))
    fails('INVALIDARG', (IMAGES.Load, os.path.join(folder, 'loops.lay'), None))


def check_what_a_loader_says_goes_along():
    folder = tempfile.mkdtemp()
    served, plain, written = [os.path.join(folder, name) for name in ('a.lay', 'auto.lay', 'a.tif')]
    for path in served, plain:
        open(path, 'w').close()
    equal([IMAGES.Metadata(served, key) for key in ('comment', 'project', 'colorspace')], ['last', 'lamp', 'linear'])
    fails('NOTFOUND', (IMAGES.Metadata, plain, 'colorspace'), (IMAGES.Metadata, served, 'artist'))
    IMAGES.Save(IMAGES.Flip(IMAGES.Load(served, None), 0), written, None, None)
    equal(IMAGES.Metadata(written, 'colorspace'), 'linear')
    equal(IMAGES.Metadata(written, 'comment').split(), ['last', 'colorspace=linear'])
    crowded, picture = [os.path.join(folder, name) for name in ('long.lay', 'long.jpg')]
    open(crowded, 'w').close()
    IMAGES.Save(IMAGES.Load(crowded, None), picture, None, None)  # not all of them fit into such a file
    equal(IMAGES.Load(picture, None).Size(), IMAGES.Load(crowded, None).Size())
    equal(''.join(map(chr, PROFILE)) in open(written, 'rb').read(), True)
    for extension, lost in ('png', []), ('tif', ['"project"']), ('jpg', ['"project"']), ('hdr', ['"project", "comment"']):
        path = os.path.join(folder, 'texts.' + extension)
        IMAGES.Save(IMAGES.Load(served, None), path, None, None)
        equal([text for text in reasons('images') if path + ': such files have no place' in text],
              ['%s: such files have no place for %s: left out' % (path, name) for name in lost])


def check_palettes():
    image = IMAGES.Create(4, 2, iIMG_FORMAT_INDEX, 0)
    index, write = kz.object.IndexImage(image), kz.object.IndexImageWrite(image)
    equal((image.Format(), index.PaletteSize(), index.PaletteColor(0), index.TransparentIndex(), index.IsGrayscale()),
          (iIMG_FORMAT_INDEX, 1, (0, 0, 0, 0), 0, False))
    write.SetPaletteSize(3)
    write.SetPaletteColor(1, (0.5, 0.5, 0.5, 1))
    write.SetPaletteColor(2, (1, 1, 1, 1))
    write.SetTransparentIndex(-1)
    equal((index.IsGrayscale(), index.TransparentIndex()), (True, -1))
    write.SetTransparentIndex(1)
    equal((index.TransparentIndex(), index.PaletteColor(1)), (1, (0.5, 0.5, 0.5, 0)))
    write.SetLineIndices(1, 3, storage('b', 2, 1, 2))
    write.SetPixelIndex(0, 0, 1)
    line = kz.Storage('b', 4)
    index.LineIndices(1, 4, line)
    equal((line.get(), index.PixelIndex(0, 0)), ((2, 1, 2, 0), 1))
    equal(values_of(image)[16:24], [255] * 4 + [128, 128, 128, 0])
    found, distance = index.PaletteLookup((0.75, 0.5, 0.5))
    near((found, distance), (1, 0.25))
    copy = IMAGES.Duplicate(image, 0)
    equal((copy.Format(), values_of(copy)), (iIMG_FORMAT_INDEX, values_of(image)))
    equal(values_of(IMAGES.Crop(image, 0, 1, 2, 1)), values_of(image)[16:24])
    fails('OUTOFBOUNDS', (index.PaletteColor, 3), (index.PixelIndex, 4, 0), (write.SetPixelIndex, 0, 0, 3),
          (write.SetLineIndices, 0, 4, storage('b', 0, 1, 2, 3)), (write.SetLineIndices, 2, 1, line),
          (index.LineIndices, 0, 5, kz.Storage('b', 5)), (write.SetTransparentIndex, 3), (write.SetTransparentIndex, -2))
    fails('INVALIDARG', (write.SetPaletteSize, 2), (write.SetPaletteSize, 0), (write.SetPaletteSize, 257),
          (write.SetPaletteColor, 0, (0, 2, 0, 1)), (index.PaletteLookup, (float('nan'), 0, 0)),
          (write.Quantize, image, 0, 0), (write.Quantize, None, 2, 0))
    index.LineIndices(0, 4, line)
    equal(line.get(), (1, 0, 0, 0))  # what was refused has changed nothing


def check_colors_are_chosen():
    index = kz.object.IndexImage(IMAGES.Create(1, 1, iIMG_FORMAT_INDEX, 0))
    write = kz.object.IndexImageWrite(index)
    few = IMAGES.Duplicate(table_image('below'), iIMG_FORMAT_RGB24)
    write.Quantize(few, 12, 1)
    equal((kz.object.Image(index).Size(), values_of(index)), ((4, 3), values_of(few)))  # each colour is kept
    write.Quantize(table_image('above'), 4, 0)
    equal((index.PaletteSize(), index.TransparentIndex()), (4, 3))  # one of them for what is not seen
    ramp = image_of(256, 16, range(256) * 16, iIMG_FORMAT_GREY, step=1)
    for dither in (0, 1):
        write.Quantize(ramp, 4, dither)
        equal(sorted(set(round(index.PaletteColor(at)[0] * 255, 1) for at in range(4))), [31.5, 95.5, 159.5, 223.5])
        sums = [sum(values_of(index)[x * 4 + y * 1024] for x in range(56, 72) for y in range(16)) / 256.0]
        near(sums, [63.5], 5 if dither else 1)
        shown = set(values_of(index)[x * 4 + y * 1024] for x in range(60, 63) for y in range(16))
        equal(len(shown) > 1, dither == 1)  # only dithering mixes colours within a range
