"""An image format: a saver writes grey images as text, and a loader reads them back.

The format is one line "TIMG width height" followed by one line of numbers for each line of pixels.

    kzhost --import-path examples convert painting.png painting.timg
"""

import kz
import kzifc

GREY = kz.symbol.iIMG_FORMAT_GREY
MARK = 'TIMG'


class Pixels(kzifc.Image):
    """An image of Python's own. The host takes any object of such a class where it expects an image."""

    def __init__(self, width, height, lines):
        self.width, self.height, self.lines = width, height, lines

    def img_Size(self):
        return self.width, self.height

    def img_Format(self):
        return GREY

    def img_GetPixel(self, x, y, format, pixel):
        self._put(pixel, format, self.lines[y][x:x + 1])

    def img_GetLine(self, y, format, size, line):
        self._put(line, format, self.lines[y])

    def _put(self, memory, format, values):
        if format != GREY:
            kz.throw(kz.symbol.e_NOTSUPPORTED, True)
        memory.setType('b')  # the host's memory comes as it is: whoever writes says what is in it
        memory.set(values)


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        with open(path, 'rb') as stream:
            if not stream.read(len(MARK)) == MARK:
                kz.throw(kz.symbol.e_NOTFOUND, True)  # another loader may know the file
        info = kz.object.LoaderInfo(info)
        info.SetClass(kz.symbol.sFILECLASS_IMAGE)
        info.SetFormat(MARK)

    def load_LoadObject(self, path, info, monitor, target):
        with open(path, 'rb') as stream:
            width, height = [int(word) for word in stream.readline().split()[1:]]
            lines = [tuple(int(word) for word in stream.readline().split()) for _ in range(height)]
        if any(len(line) != width for line in lines):
            raise ValueError('a line of %s has not %d pixels' % (path, width))
        kz.object.ImageLoaderTarget(target).SetImage(Pixels(width, height, lines))


class Saver(kzifc.Saver):
    def sav_Save(self, source, path, monitor):
        image = kz.object.Image(source)
        width, height = image.Size()
        line = kz.Storage('b', width)
        with open(path, 'wb') as stream:
            stream.write('%s %d %d\n' % (MARK, width, height))
            for y in range(height):
                image.GetLine(y, GREY, line.size(), line)
                stream.write(' '.join('%d' % value for value in line.get()) + '\n')


kz.bless(Loader, 'textimage', {'loader.dosPattern': '*.timg', 'file.class': 'image'})
kz.bless(Saver, 'textimage', {'saver.dosType': 'TIMG', 'file.class': 'image'})
