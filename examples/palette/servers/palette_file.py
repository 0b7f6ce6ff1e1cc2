"""A loader and a saver: a palette file, with a colour on each line, is a picture with a square for each colour.

    kzhost --import-path examples/palette convert examples/palette/sunset.colors sunset.png
    kzhost --import-path examples/palette convert sunset.png again.colors
"""

import itertools

import kz
import kzifc
import palette

RGB = kz.symbol.iIMG_FORMAT_RGB24
SQUARE = 16  # pixels


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        with open(path) as stream:
            if not stream.read(1) == '#':
                kz.throw(kz.symbol.e_NOTFOUND, True)  # another loader may know the file
        info = kz.object.LoaderInfo(info)
        info.SetClass(kz.symbol.sFILECLASS_IMAGE)
        info.SetFormat('palette')

    def load_LoadObject(self, path, info, monitor, target):
        with open(path) as stream:
            colors = palette.read(stream)
        image = kz.service.Image().Create(SQUARE * len(colors), SQUARE, RGB, 0)
        line = kz.Storage('byte', 3 * SQUARE * len(colors))
        line.set([component for color in colors for component in color * SQUARE])
        for y in range(SQUARE):
            kz.object.ImageWrite(image).SetLine(y, RGB, line.size(), line)
        kz.object.ImageLoaderTarget(target).SetImage(image)


class Saver(kzifc.Saver):
    def sav_Save(self, source, path, monitor):
        """The colours of the first line of the image; neighbours of the same colour are one."""
        image = kz.object.Image(source)
        line = kz.Storage('byte', 3 * image.Size()[0])
        image.GetLine(0, RGB, line.size(), line)
        values = line.get()
        colors = [values[at:at + 3] for at in range(0, len(values), 3)]
        with open(path, 'w') as stream:
            stream.writelines(palette.format(color) + '\n' for color, _ in itertools.groupby(colors))


TAGS = {kz.symbol.sSRV_VERSION: palette.__version__, 'file.class': 'image'}
kz.bless(Loader, 'palette', dict(TAGS, **{'loader.dosPattern': '*.colors'}))
kz.bless(Saver, 'palette', dict(TAGS, **{'saver.dosType': 'colors'}))
