"""Presets of a module's type: what is known of them, their pictures, and what a double click does."""
import os
import shutil
import tempfile

import kz
import kz.object as k
import kzifc
from checks import code_of, equal
from kz import symbol
from scene import new

IMAGES = kz.service.Image()
FOLDER = {}
METRICS = {}  # what the metrics answer: a value, a function of what is passed, or the number of a result
LINES = ['Oak', 'by Ann']


def answer(name, *given):
    found = METRICS.get(name, kz.result.NOTFOUND)
    if callable(found):
        return found(*given)
    if name != 'flags' and isinstance(found, (int, long)):
        kz.throw(found)
    return found


class Picture(kzifc.Image):
    def img_Size(self):
        return 3, 2

    def img_Format(self):
        return symbol.iIMG_FORMAT_RGBA32

    def img_GetPixel(self, x, y, format, pixel):
        if format != symbol.iIMG_FORMAT_RGBA32:
            kz.throw(kz.result.NOTSUPPORTED)
        pixel.setType('b')
        pixel.set((255 * x / 2, 255 * y, 0, 255))


class Metrics(kzifc.PresetMetrics):
    def pmet_ThumbnailImage(self):
        return answer('image')

    def pmet_ThumbnailIdealSize(self):
        return answer('size')

    def pmet_Metadata(self, metadata):
        answer('metadata', k.Attributes(metadata))

    def pmet_Markup(self, markup):
        answer('markup', k.Attributes(markup))

    def pmet_InfoLine(self, line):
        return answer('line', line)

    def pmet_Flags(self):
        return METRICS.get('flags', 0)


class Wood(kzifc.PresetType):
    asked = []

    def ptyp_Recognize(self, path):
        if not path.endswith('.wood'):
            kz.throw(kz.result.NOTFOUND)
        return 'woods'

    def ptyp_Apply(self, path, destination):
        k.Item(destination).SetName('wooden')

    def ptyp_Do(self, path):
        if 'hollow' in path:
            kz.throw(kz.result.NOACCESS)
        kz.eval('item.create locator name:{%s}' % os.path.basename(path))

    def ptyp_Metrics(self, path, flags):
        self.asked.append(flags)
        return METRICS['object']() if 'object' in METRICS else Metrics()

    def ptyp_GenericThumbnailResource(self, path):
        return 'ui.wood'

    def ptyp_BaseAspect(self):
        return METRICS.get('aspect', 1.5)

    def ptyp_DestinationKind(self, path):
        return 'item'

    def ptyp_Save(self, path, source):
        open(path, 'w').write(k.Item(source).UniqueName())

    def ptyp_StoreThumbnail(self, path, image):
        if 'full' in path:
            kz.throw(kz.result.NOACCESS)
        IMAGES.Save(image, path + '.png', None, None)


class Stone(kzifc.PresetType):
    """It says nothing but what it must."""

    def ptyp_Recognize(self, path):
        if not path.endswith('.stone'):
            kz.throw(kz.result.NOTFOUND)
        return 'stones'

    def ptyp_Apply(self, path, destination):
        kz.throw(kz.result.NOTSUPPORTED)


kz.bless(Wood, 'presets.wood')
kz.bless(Stone, 'presets.stone')


def in_folder(check):
    def checked():
        FOLDER['path'] = tempfile.mkdtemp()
        METRICS.clear()
        try:
            for name in ('oak.wood', 'hollow.wood', 'flint.stone'):
                open(path_of(name), 'w').close()
            check()
        finally:
            shutil.rmtree(FOLDER['path'])
    return checked


def path_of(name):
    return os.path.join(FOLDER['path'], name)


def ask(what, name='oak.wood'):
    return kz.evalN('preset.info {%s} %s:?' % (path_of(name), what))


def refusal(line):
    code_of(kz.eval, line)
    return next(name for name, value in vars(kz.result).items() if value == kz.lastResult() and name.isupper())


def info_refusal(what):
    return refusal('preset.info {%s} %s:?' % (path_of('oak.wood'), what))


def fill(**values):
    def filled(attributes):
        for name, value in values.items():
            attributes.SetString(attributes.Lookup(name), value)
    return filled


@in_folder
def check_presets_tell_what_they_are():
    METRICS.update(size=(96, 64), metadata=fill(author='Ann', polygonCount='12'), markup=fill(stars='3', note='a b'),
                   line=lambda index: LINES[index] if index < 2 else kz.throw(kz.result.NOTFOUND),
                   flags=symbol.fPRESET_READONLY | symbol.fPRESET_NODROP)
    for what, said in (('icon', ('ui.wood',)), ('aspect', (1.5,)), ('size', ('96x64',)), ('destination', ('item',)),
                       ('metadata', ('author=Ann', 'polygonCount=12')), ('markup', ('stars=3', 'note=a b')),
                       ('line', tuple(LINES)), ('flags', ('readOnly', 'noDrop'))):
        del Wood.asked[:]
        wanted = [value for name, value in (('size', symbol.f_PRESETMETRIC_IMAGE), ('line', symbol.f_PRESETMETRIC_INFO),
                                            ('metadata', symbol.f_PRESETMETRIC_METADATA),
                                            ('markup', symbol.f_PRESETMETRIC_MARKUP), ('flags', 0)) if name == what]
        equal((what, ask(what), Wood.asked), (what, said, wanted))
        equal((what, ask(what, 'flint.stone')), (what, ()))
    METRICS.clear()
    for what in 'size', 'metadata', 'markup', 'line', 'flags':
        equal((what, ask(what)), (what, ()))


@in_folder
def check_metrics_that_lie_are_refused():
    METRICS.update(size=(0, 5), aspect=float('nan'), metadata=fill(colour='red'), markup=fill(stars='many'),
                   line=lambda index: str(index))
    for what, code in (('size', 'FAILED'), ('aspect', 'FAILED'), ('markup', 'CMD_ERROR_SETTING_DATATYPE')):
        equal((what, info_refusal(what)), (what, code))
    equal(ask('metadata'), ())  # there is no such metric
    equal(0 < len(ask('line')) < 1000, True)  # although they never end
    METRICS['line'] = lambda index: 1 / 0
    equal(info_refusal('line') != 'OK', True)
    METRICS['object'] = Wood
    equal(info_refusal('flags'), 'FAILED')


@in_folder
def check_pictures_are_written_and_stored():
    METRICS['image'] = Picture
    kz.eval('preset.info {%s} {%s}' % (path_of('oak.wood'), path_of('a.png')))
    written = k.Image(IMAGES.Load(path_of('a.png'), None))
    pixel = kz.Storage('b', 4)
    written.GetPixel(2, 1, symbol.iIMG_FORMAT_RGBA32, pixel)
    equal((written.Size(), [each & 255 for each in pixel.get()]), ((3, 2), [255, 255, 0, 255]))
    METRICS['image'] = Wood
    equal(refusal('preset.info {%s} {%s}' % (path_of('oak.wood'), path_of('b.png'))) != 'OK', True)
    METRICS['image'] = kz.result.NOTFOUND
    equal(refusal('preset.info {%s} {%s}' % (path_of('oak.wood'), path_of('b.png'))), 'NOTFOUND')
    equal(refusal('preset.info {%s}' % path_of('oak.wood')), 'CMD_MISSING_ARGS')
    equal(os.path.exists(path_of('b.png')), False)
    new(('locator', 'a', None))
    save = lambda name, picture: 'preset.save {%s} a presets.wood thumbnail:{%s}' % (path_of(name), path_of(picture))
    kz.eval(save('new.wood', 'a.png'))
    equal((open(path_of('new.wood')).read(), k.Image(IMAGES.Load(path_of('new.wood.png'), None)).Size()), ('a', (3, 2)))
    equal((refusal(save('other.wood', 'none.png')), os.path.exists(path_of('other.wood'))), ('NOTFOUND', False))
    equal(refusal(save('full.wood', 'a.png')), 'NOACCESS')


@in_folder
def check_a_double_click_is_one_step():
    scene, = new()
    count, before = scene.ItemCount(symbol.iITYPE_ANY), kz.eval('undo steps:?')
    kz.eval('preset.do {%s}' % path_of('oak.wood'))
    equal((scene.ItemLookup('oak.wood').TypeName(), kz.eval('undo steps:?')), ('locator', before + 1))
    kz.eval('undo')
    equal(scene.ItemCount(symbol.iITYPE_ANY), count)
    METRICS['flags'] = symbol.fPRESET_NODO
    for name, code in (('oak.wood', 'NOTSUPPORTED'), ('none.wood', 'NOTFOUND'), ('flint.stone', 'NOTSUPPORTED')):
        equal((name, refusal('preset.do {%s}' % path_of(name))), (name, code))
    METRICS.clear()
    equal(refusal('preset.do {%s}' % path_of('hollow.wood')), 'NOACCESS')
    equal(scene.ItemCount(symbol.iITYPE_ANY), count)
