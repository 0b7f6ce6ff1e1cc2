"""Filters of images: the host's own ones against a table of another program, and those of modules."""
import json
import os
import tempfile

import kz
import kzifc
from checks import code_of, equal, near
from kz.symbol import iIMG_FORMAT_RGBFP
from layers import image_of, values_of

IMAGES = kz.service.Image()
TABLE = json.load(open(os.path.join(os.path.dirname(__file__), 'pictures', 'filtered.json')))
FOLDER = tempfile.mkdtemp()
SOURCE, TARGET = os.path.join(FOLDER, 'source.tif'), os.path.join(FOLDER, 'target.tif')
COLORS = [value for at, value in enumerate(TABLE['picture']) if at % 4 != 3]


def saved(width, height, colors):
    image = image_of(width, height, colors, iIMG_FORMAT_RGBFP, 'f', 3)
    IMAGES.Save(image, SOURCE, None, None)


def filtered(names, more=''):
    kz.eval('image.filter "%s" "%s" "%s" %s' % (names, SOURCE, TARGET, more))
    return values_of(IMAGES.Load(TARGET, None), iIMG_FORMAT_RGBFP, 'f', 3)


def check_blur_and_sharpen_are_those_of_another_program():
    saved(TABLE['size'][0], TABLE['size'][1], COLORS)
    for radius, tables in sorted(TABLE['filtered'].items()):
        for name, values in sorted(tables.items()):
            expected = [value for at, value in enumerate(values) if at % 4 != 3]
            near(filtered(name, 'radius:%s' % radius), expected, 1e-5)
            half = [(value + before) / 2 for value, before in zip(expected, COLORS)]
            near(filtered(name, 'radius:%s amount:0.5' % radius), half, 1e-5)
            near(filtered(name, 'radius:%s clamp:true' % radius), [min(max(value, 0), 1) for value in expected], 1e-5)


def check_the_other_filters_of_the_host():
    saved(3, 3, [0] * 12 + [9] * 3 + [0] * 12)
    near(filtered('denoise'), [0] * 27)
    equal(filtered('bloom', 'threshold:4')[12] > 9 and filtered('bloom', 'threshold:10')[12] == 9, True)
    saved(3, 1, [0, 0, 0, 1, 1, 1, 2, 2, 2])
    normals = filtered('normalFromHeight')
    near(normals[3:6], (0.5 - 0.5 / 2 ** 0.5, 0.5, 0.5 + 0.5 / 2 ** 0.5), 1e-6)
    near(filtered('vignette')[:3] + filtered('vignette')[3:6], (0, 0, 0, 1, 1, 1), 1e-6)


class Doubled(kzifc.ImageFilter):
    """Adds what is above each pixel, which it finds in the source."""
    failing = None

    def imf_Begin(self, source, settings):
        CALLS.append('Begin')
        settings = kz.object.Attributes(settings)
        equal(settings.GetFlt(settings.Lookup('radius')), 2)
        self.source = kz.object.Image(source)
        if self.failing == 'Begin':
            raise ValueError('not today')

    def imf_Margin(self):
        CALLS.append('Margin')
        return (0, -1 if self.failing == 'Margin' else 1)

    def imf_FilterLine(self, y, count, rgba):
        CALLS.append(y)
        above, size = kz.Storage('f', 4 * count), 16 * count
        self.source.GetLine(max(y - 1, 0), kz.symbol.iIMG_FORMAT_RGBAFP, size, above)
        rgba.set([a + b for a, b in zip(rgba.get(), above.get())])
        if self.failing == y:
            raise ValueError('half-way')

    def imf_End(self):
        CALLS.append('End')


CALLS = []
kz.bless(Doubled, 'tests.doubled')
for failing in 'Begin', 'Margin', 1:
    kz.bless(type('Failing', (Doubled,), {'failing': failing}), 'tests.failing.%s' % failing)


def check_filters_of_modules():
    saved(1, 3, [1, 1, 1, 2, 2, 2, 3, 3, 3])
    equal(filtered('tests.doubled', 'radius:2'), [2, 2, 2, 3, 3, 3, 5, 5, 5])
    equal((CALLS[:2], sorted(CALLS[2:-1]), CALLS[-1]), (['Begin', 'Margin'], [0, 1, 2], 'End'))
    for failing, ended in ('Begin', False), ('Margin', True), (1, True):
        del CALLS[:]
        near(filtered('tests.failing.%s tests.doubled' % failing, 'radius:2'), [2, 2, 2, 3, 3, 3, 5, 5, 5])  # as without it
        equal((failing, CALLS.count('End')), (failing, 1 + ended))
    lines = kz.service.Log().SubSystemLookup('images')
    said = [lines.EntryByIndex(index).Desc() for index in range(lines.EntryCount())]
    equal(len([line for line in said if 'tests.failing.1" is left out, since its FilterLine of line 1' in line]), 1)


def check_faulty_commands_write_nothing():
    saved(1, 1, [1, 2, 3])
    os.path.exists(TARGET) and os.remove(TARGET)
    for names, more in (('none such', ''), ('blur nothing', ''), (' ', ''), ('blur', 'amount:2'), ('blur', 'radius:-1')):
        equal((names, more, bool(code_of(filtered, names, more))), (names, more, True))
    equal(os.path.exists(TARGET), False)
    equal(set(('blur', 'normalFromHeight', 'tests.doubled')) <= set(kz.evalN('image.filter filter:?')), True)
