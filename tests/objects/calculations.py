"""Colours in several models, arithmetic on values, conversions between them, and what channels are called."""
import colorsys
import math

import kz
import kz.object as k
import kzifc
from checks import equal, fails, near, result_of, storage
from kz.symbol import iVALMATH_MULTIPLY

HOST, VALUES, CHANNELS, SCENES = (kz.service.Host(), kz.service.Value(), kz.service.ChannelUI(), kz.service.Scene())
COLORS = [(r / 4.0, g / 4.0, b / 4.0) for r in range(5) for g in range(5) for b in range(5)]
CALLS = []


def model(name):
    return k.ColorModel(HOST.SpawnServer('colormodel', name))


def parts_of(name, rgb):
    parts = kz.Storage('f', 4)
    model(name).FromRGB(rgb, parts)
    return parts


def check_models_agree_with_the_interpreters():
    for rgb in COLORS:
        hue, lightness, saturation = colorsys.rgb_to_hls(*rgb)
        near(parts_of('hsl', rgb).get(), (2 * math.pi * hue, saturation, lightness, 0), 1e-5)
        hue, saturation, value = colorsys.rgb_to_hsv(*rgb)
        near(parts_of('hsv', rgb).get(), (2 * math.pi * hue, saturation, value, 0), 1e-5)
    for h, s, v in [(h / 7.0, s / 3.0, v / 3.0) for h in range(7) for s in range(4) for v in range(4)]:
        near(model('hsv').ToRGB(storage('f', 2 * math.pi * (h + 1), s, v, 0)), colorsys.hsv_to_rgb(h, s, v), 1e-5)
        near(model('hsl').ToRGB(storage('f', 2 * math.pi * h, s, v, 0)), colorsys.hls_to_rgb(h, v, s), 1e-5)


def check_every_model_puts_colors_together_again():
    for name in ('rgb', 'hsv', 'hsl', 'cmyk', 'lab'):
        for rgb in COLORS:
            near(model(name).ToRGB(parts_of(name, rgb)), rgb, 1e-4)
    # The white and the grey of CIE Lab, and the tabulated chromaticities of black bodies.
    near(parts_of('lab', (1, 1, 1)).get(), (100, 0, 0, 0), 1e-2)
    near(parts_of('lab', (0.18418652, 0.18418652, 0.18418652)).get(), (50, 0, 0, 0), 1e-2)
    for kelvin, x, y in ((2856, 0.4476, 0.4074), (4000, 0.3805, 0.3768), (6500, 0.3135, 0.3237), (10000, 0.2807, 0.2884)):
        r, g, b = model('kelvin').ToRGB(storage('f', kelvin, 0, 0, 0))
        X, Y, Z = (0.4124 * r + 0.3576 * g + 0.1805 * b, 0.2126 * r + 0.7152 * g + 0.0722 * b,
                   0.0193 * r + 0.1192 * g + 0.9505 * b)
        near((X / (X + Y + Z), Y / (X + Y + Z)), (x, y), 2e-3)
        near(parts_of('kelvin', (r, g, b)).get()[:1], (kelvin,), kelvin * 1e-3)


def check_models_describe_their_components():
    hsv = model('hsv')
    equal((hsv.Name(), hsv.ComponentCount(), hsv.ComponentName(0), hsv.ComponentType(0), hsv.IsPeriodic(0), hsv.IsPeriodic(1),
           hsv.ComponentRange(1)), ('hsv', 3, 'Hue', 'angle', True, False, (0.0, 1.0)))
    near(hsv.Slider(0, 1 / 3.0, storage('f', 0, 1, 1, 0)), (0, 1, 0), 1e-6)
    fails('OUTOFBOUNDS', (hsv.ComponentName, 3), (hsv.ComponentRange, 3), (hsv.Slider, 3, 0.5, storage('f', 0, 1, 1, 0)))
    nan = float('nan')
    fails('INVALIDARG', (hsv.Slider, 0, nan, storage('f', 0, 1, 1, 0)), (hsv.Slider, 0, 1.5, storage('f', 0, 1, 1, 0)),
          (hsv.ToRGB, storage('f', nan, 0, 0, 0)), (hsv.FromRGB, (nan, 0, 0), storage('f', 0, 0, 0, 0)))
    fails('NOTFOUND', (HOST.SpawnServer, 'colormodel', 'no such'))
    equal(kz.evalN('color.model hsv description:?')[1], 'Hue, angle, 0 to 6.28319, periodic')


class Swapped(kzifc.ColorModel):
    def colm_Name(self):
        return 'swapped'

    def colm_UserName(self):
        return 'Swapped'

    def colm_Flags(self):
        return 4

    def colm_ComponentCount(self):
        return 2

    def colm_ComponentName(self, index):
        return ('b', 'g')[index]

    def colm_ComponentType(self, index):
        return 'float'

    def colm_ComponentRange(self, index):
        return -1.0, 2.0

    def colm_IsPeriodic(self, index):
        return index == 1

    def colm_ToRGB(self, components):
        return (0, components[1], components[0])

    def colm_FromRGB(self, rgb, components):
        components.set((rgb[2], rgb[1], 0, 0))

    def colm_Slider(self, index, position, components):
        return (position, index, 0)


class Many(kzifc.ColorModel):
    def colm_ComponentCount(self):
        return 100000

    def colm_ToRGB(self, components):
        return (0, 0, 0)

    def colm_FromRGB(self, rgb, components):
        pass


class Pair(kzifc.Value, kzifc.ValueMath):
    """Two numbers, as text "3,4"."""
    def __init__(self):
        self.pair = (0, 0)

    def val_Type(self):
        return 4

    def val_TypeName(self):
        return 'test.pair'

    def val_GetString(self):
        return '%d,%d' % self.pair

    def val_SetString(self, text):
        self.pair = tuple(int(part) for part in text.split(','))

    def math_Math(self, operation, left, right):
        if operation == iVALMATH_MULTIPLY:
            kz.throw(kz.result.NOTSUPPORTED)
        self.put(left, [a + b for a, b in zip(self.take(left), self.take(right))])

    def math_Step(self, direction, value):
        self.put(value, [each + direction for each in self.take(value)])

    def math_Blend(self, weight, first, last, result):
        self.put(result, [a + (b - a) * weight for a, b in zip(self.take(first), self.take(last))])

    def math_Distance(self, first, last):
        return sum(abs(a - b) for a, b in zip(self.take(first), self.take(last)))

    def math_Length(self, value):
        return math.hypot(*self.take(value))

    @staticmethod
    def take(value):
        return [int(part) for part in k.Value(value).GetString().split(',')]

    @staticmethod
    def put(value, pair):
        k.Value(value).SetString('%d,%d' % tuple(pair))


class Summing(kzifc.ValueConversion):
    def conv_Test(self, source, target):
        CALLS.append((source, target))
        if (source, target) != ('test.pair', 'integer'):
            kz.throw(kz.result.INVALIDARG)

    def conv_Convert(self, source, target):
        k.Value(target).SetInt(sum(Pair.take(source)))


class Ball(kzifc.ChannelUI):
    def cui_UserName(self, channel):
        if channel != 'radius':
            kz.notimpl()
        return 'How large'

    def cui_Tooltip(self, channel):
        return 'tip of ' + channel

    def cui_Icon(self, channel):
        return 'ui.edit'

    def cui_DefaultCommand(self, channel):
        return 'user.value clicked ' + channel if channel == 'radius' else None

    def cui_Enabled(self, channel, item, read):
        return k.ChannelRead(read).DoubleByName(k.Item(item), 'radius') < 5

    def cui_UIHints(self, channel, hints):
        k.UIHints(hints).Range(0.0, 10.0)


for cls, name in ((Swapped, 'test.swapped'), (Many, 'test.many'), (Pair, 'test.pair'), (Summing, 'test.summing'),
                  (Ball, 'mesh')):
    kz.bless(cls, name)


def check_models_of_modules_work_like_the_hosts():
    equal(kz.evalN('color.model test.swapped color:{0.25 0.5 1} components:?'), ('1', '0.5'))
    equal(kz.evalN('color.model test.swapped components:{1 0.5} color:?'), ('0', '0.5', '1'))
    equal(kz.evalN('color.model test.swapped component:1 position:0.25 color:?'), ('0.25', '1', '0'))
    equal(kz.evalN('color.model test.swapped description:?'),
          ('Swapped (swapped), flags 4', 'b, float, -1 to 2', 'g, float, -1 to 2, periodic'))
    equal('test.swapped' in kz.evalN('color.model model:?'), True)
    equal(kz.evalN('color.model cmyk color:{0 0.5 0} components:?'), ('1', '0', '1', '0.5'))
    fails('FAILED', (kz.eval, 'color.model test.many color:{0 0 0} components:?'))
    fails('NOTFOUND', (kz.eval, 'color.model no.such color:{0 0 0} components:?'))
    fails('INVALIDARG', (kz.eval, 'color.model hsv color:{0 0 0 0} components:?'),
          (kz.eval, 'color.model hsv color:{red} components:?'))


def check_values_are_calculated_with():
    for line, found in (('float 1.5 2 result:?', '3.5'), ('integer 7 2 modulo result:?', '1'),
                        ('distance 2m 50cm subtract result:?', '1.5'), ('float 2 10 power result:?', '1024'),
                        ('float 2 10 weight:0.25 result:?', '4'), ('integer 7 step:-1 result:?', '6'),
                        ('float 2 5 max result:?', '5'), ('float 2 5 average result:?', '3.5'),
                        ('float -2 5 distance:?', 7.0), ('float -2 length:?', 2.0),
                        ('test.pair 3,4 1,2 result:?', '4,6'), ('test.pair 3,4 step:1 result:?', '4,5'),
                        ('test.pair 0,4 4,8 weight:0.5 result:?', '2,6'), ('test.pair 0,4 4,8 distance:?', 8.0),
                        ('test.pair 3,4 length:?', 5.0)):
        equal((line, result_of(kz.eval, 'value.math ' + line)), (line, found))
    fails('INVALIDARG', (kz.eval, 'value.math float 1 0 divide result:?'), (kz.eval, 'value.math float 1 x result:?'))
    fails('NOTSUPPORTED', (kz.eval, 'value.math test.pair 3,4 1,2 multiply result:?'),
          (kz.eval, 'value.math string a b result:?'))
    fails('CMD_NOT_EXECUTABLE', (kz.eval, 'value.math float 1 2'), (kz.eval, 'color.model rgb 1 0 0'))
    fails('NOTFOUND', (kz.eval, 'value.math no.such 1 2 result:?'))


def check_modules_convert_their_values():
    pair, number = VALUES.CreateValue('test.pair'), VALUES.CreateValue('integer')
    pair.SetString('30,12')
    VALUES.Convert(pair, number)
    equal((number.GetInt(), CALLS[-1]), (42, ('test.pair', 'integer')))
    number.SetInt(5)
    text = VALUES.CreateValue('string')
    VALUES.Convert(number, text)  # which no module takes
    equal((text.GetString(), CALLS[-1]), ('5', ('integer', 'string')))
    fails('INVALIDARG', (VALUES.Convert, None, number), (VALUES.Convert, number, None))


def check_channels_are_named_for_people():
    scene = SCENES.Create('channels')
    item = scene.ItemAdd(SCENES.ItemTypeLookup('mesh'))
    for name in ('radius', 'lineWidth', 'top_most'):
        item.ChannelAdd(name, 'distance')
    index = dict((name, item.ChannelLookup(name)) for name in ('radius', 'lineWidth', 'top_most'))
    equal([CHANNELS.UserName(item, index[name]) for name in ('radius', 'lineWidth', 'top_most')],
          ['How large', 'Line Width', 'Top most'])
    equal((CHANNELS.TypeUserName(item.Type(), 'radius'), CHANNELS.Tooltip(item, index['lineWidth']),
           CHANNELS.CommandText(item, index['radius']), CHANNELS.IsEnabled(item, index['lineWidth'])),
          ('How large', 'tip of lineWidth', 'user.value clicked radius', True))
    command = CHANNELS.CommandText(item, index['lineWidth'])
    kz.eval(command + ' value:6')
    equal(CHANNELS.ValueText(item, index['lineWidth'], 0.0), VALUES.EncodeText(boxed('distance', '6'), 1))
    kz.eval('channel.value %s radius 7' % item.Ident())
    equal(CHANNELS.IsEnabled(item, index['radius']), False)
    read = k.UIHintsRead(HOST.SpawnServer('uihints', 'item %s radius' % item.Ident()))
    equal((read.Label(), read.Tooltip(), read.Icon(), read.Range()), ('How large', 'tip of radius', 'ui.edit', (0.0, 10.0)))
    equal([CHANNELS.State(item, index['radius'], 0.0), len(CHANNELS.StateColor(0))], [0, 3])
    kz.eval('key.set %s radius time:1 value:3' % item.Ident())
    equal([CHANNELS.State(item, index['radius'], time) for time in (0.0, 1.0)], [1, 2])
    fails('OUTOFBOUNDS', (CHANNELS.UserName, item, 9999), (CHANNELS.ValueText, item, -1, 0.0))
    fails('INVALIDARG', (CHANNELS.StateColor, 99), (CHANNELS.UserName, None, 0),
          (CHANNELS.ValueText, item, index['radius'], float('nan')))
    fails('NOTFOUND', (CHANNELS.TypeUserName, 987654, 'x'), (HOST.SpawnServer, 'uihints', 'item nobody radius'))


def boxed(type, text):
    made = VALUES.CreateValue(type)
    made.SetString(text)
    return made
