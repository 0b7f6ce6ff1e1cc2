"""Settings of image processing: what they keep and refuse, what they do to pixels, and who hears of it."""
import colorsys
import math
import os
import tempfile

import kz
import kzifc
from checks import equal, fails, near, reasons, storage
from kz.symbol import (fIMPROC_CHANGE_EFFECTS, fIMPROC_CHANGE_LEVELS, iIMG_FORMAT_RGB24, iIMG_FORMAT_RGBAFP,
                       iIMPROC_CHANNELS_ALPHA, iIMPROC_CHANNELS_GREEN, iIMPROC_CHANNELS_LUMA, iIMPROC_TONE_FALSECOLOR,
                       iIMPROC_TONE_FILMIC, iIMPROC_TONE_NONE, iIMPROC_TONE_PHOTO, iIMPROC_TONE_SIMPLE)
from layers import image_of, values_of

IMAGES, PROCESSING = kz.service.Image(), kz.service.ImageProcessing()
COLOR = (0.2, 0.5, 1.5)
LUMA = 0.2126 * 0.2 + 0.7152 * 0.5 + 0.0722 * 1.5


def settings():
    made = PROCESSING.Create()
    return made, PROCESSING.Read(made)


def floats(image):
    return values_of(image, iIMG_FORMAT_RGBAFP, 'f')


def picture(width, height, *values):
    return image_of(width, height, values, iIMG_FORMAT_RGBAFP, 'f')


def check_colors_are_what_the_settings_say():
    grey = (0.5, 0.5, 0.5)
    for color, expected, changes in (
            (COLOR, [2 * c for c in COLOR], {'Exposure': (1,)}), (COLOR, [c ** 0.5 for c in COLOR], {'Gamma': (2,)}),
            (COLOR, [(c - 0.25) / 0.25 for c in COLOR], {'WhiteLevel': (0.5,), 'BlackLevel': (0.25,)}),
            (COLOR, [2 * (c - 0.5) + 0.5 for c in COLOR], {'Contrast': (0.5,)}), (COLOR, grey, {'Contrast': (-1,)}),
            (COLOR, [LUMA] * 3, {'Saturation': (0,)}), (COLOR, (1.5, 0.2, 0.5), {'Hue': (2 * math.pi / 3,)}),
            (COLOR, [c + (0.5 - c) * 0.25 for c in COLOR], {'Tint': (grey, 0.25)}),
            (COLOR, (0.2, 0.5, 1), {'Tone': (iIMPROC_TONE_NONE, 1)}),
            (COLOR, [c / (1 + c) for c in COLOR], {'Tone': (iIMPROC_TONE_SIMPLE, 1)}),
            (COLOR, [(c + c / (1 + c)) / 2 for c in COLOR], {'Tone': (iIMPROC_TONE_SIMPLE, 0.5)}),
            (COLOR, [c ** 1.5 / (c ** 1.5 + 0.5) for c in COLOR], {'Tone': (iIMPROC_TONE_FILMIC, 1)}),
            (COLOR, [0.5] * 3, {'Channels': (iIMPROC_CHANNELS_GREEN,)}), (COLOR, [1] * 3, {'Channels': (iIMPROC_CHANNELS_ALPHA,)}),
            (COLOR, [LUMA] * 3, {'Channels': (iIMPROC_CHANNELS_LUMA,)})):
        made, reader = settings()
        equal(reader.IsIdentity(), True)
        for name, arguments in sorted(changes.items(), reverse=True):
            getattr(made, 'Set' + name)(*arguments)
        equal((changes, reader.IsIdentity()), (changes, False))
        near(reader.ProcessColor(color), expected, 1e-5)
        line = storage('f', *(tuple(color) + (1,)) * 2)
        reader.ProcessLine(0, 2, line)
        near(line.get()[4:7], expected, 1e-5)
        near(floats(reader.Process(picture(1, 1, *color + (1,)), 0, None))[:3], expected, 1e-5)
        made.Reset()
        equal((reader.IsIdentity(), reader.ProcessColor((0.25, 0.5, 2))), (True, (0.25, 0.5, 2)))
    made, reader = settings()
    made.SetTone(iIMPROC_TONE_FALSECOLOR, 1)
    for fifth in range(5):  # from blue to red
        near(reader.ProcessColor((fifth / 4.0,) * 3), colorsys.hsv_to_rgb((4 - fifth) / 6.0, 1, 1), 1e-5)


def check_what_looks_at_the_whole_image():
    made, reader = settings()
    dot = picture(5, 5, *([0, 0, 0, 1] * 12 + [3, 2, 1, 1] + [0, 0, 0, 1] * 12))
    made.SetBloom(1, 0.2, 0.5)
    equal(reader.NeedsWhole(), True)
    fails('NOTAVAILABLE', (reader.ProcessLine, 0, 1, kz.Storage('f', 4)))
    bloomed = floats(reader.Process(dot, 0, None))
    weights = [math.exp(-0.5 * i * i) for i in range(-4, 5)]
    weight = weights[4] / sum(weights)
    near(bloomed[48:51], (3 + weight ** 2, 2 + weight ** 2 / 2, 1), 1e-5)
    equal(bloomed[44] > bloomed[40] > 0, True)
    made.Reset()
    made.SetVignette(0.5)
    white = floats(reader.Process(picture(2, 2, *[1] * 16), 0, None))
    near(white, [0.875, 0.875, 0.875, 1] * 4, 1e-6)
    made.Reset()
    made.SetTone(iIMPROC_TONE_PHOTO, 1)
    fails('NOTAVAILABLE', (reader.ProcessColor, COLOR))
    near(floats(reader.Process(picture(2, 1, 1, 1, 1, 1, 3, 3, 3, 1), 0, None)), [0.09] * 3 + [1] + [0.27] * 3 + [1], 1e-6)
    made.Reset()
    made.SetExposure(1)
    made.SetRegion(1, 0, 2, 1)
    half = reader.Process(picture(2, 2, *[0.25, 0.25, 0.25, 1] * 4), iIMG_FORMAT_RGB24, None)
    equal((half.Format(), values_of(half)[::4]), (iIMG_FORMAT_RGB24, [64, 128, 64, 64]))


class Listener(kzifc.ImageProcessingListener):
    def improl_SettingsChanged(self, settings, changes):
        HEARD.append((changes, kz.object.ImageProcessingRead(settings).Exposure()))
        if REACTION:
            REACTION[0]()

    def improl_ImageProcessed(self, image):
        HEARD.append(kz.object.Image(image).Size())


HEARD, REACTION = [], []
kz.bless(Listener, 'tests.looks')


def check_listeners_hear_of_each_change_once():
    made, reader = settings()
    listener = kz.object.Unknown(Listener())
    made.AddListener(listener)
    made.SetExposure(2)
    made.SetExposure(2)  # no change
    made.SetBloom(0.5, 0.1, 1)
    fails('INVALIDARG', (made.SetGamma, 0))
    reader.Process(picture(1, 1, 0, 0, 0, 1), 0, None)
    made.Reset()
    equal(HEARD, [(fIMPROC_CHANGE_LEVELS, 2), (fIMPROC_CHANGE_EFFECTS, 2), (1, 1),
                  (fIMPROC_CHANGE_LEVELS | fIMPROC_CHANGE_EFFECTS, 0)])
    REACTION.append(lambda: made.SetExposure(reader.Exposure() + 1))
    del HEARD[:]
    made.SetExposure(1)  # the listener never has enough
    equal(1 < len(HEARD) < 50, True)
    del REACTION[:], HEARD[:]
    made.RemoveListener(listener)
    made.SetHue(1)
    equal(HEARD, [])
    fails('NOTFOUND', (made.RemoveListener, listener))
    fails('INVALIDARG', (made.AddListener, None))


def check_faulty_settings_change_nothing():
    made, reader = settings()
    nan, huge = float('nan'), float('inf')
    fails('INVALIDARG', (made.SetExposure, nan), (made.SetExposure, huge), (made.SetGamma, -1), (made.SetBlackLevel, 1),
          (made.SetWhiteLevel, 0), (made.SetWhiteLevel, nan), (made.SetContrast, 1.5), (made.SetSaturation, -1),
          (made.SetHue, huge), (made.SetTint, (0, nan, 0), 1), (made.SetTint, (0, 0, 0), 2), (made.SetTone, 5, 1),
          (made.SetTone, 1, -1), (made.SetBloom, 0, 2, 1), (made.SetVignette, 2), (made.SetChannels, 7),
          (made.SetColorspace, 'none such'), (made.SetRegion, 2, 0, 2, 1), (made.SetRegion, -1, 0, 1, 1),
          (made.CopyFrom, None), (made.SetFromItem, kz.service.Scene().Create('looks').ItemAdd(
              kz.service.Scene().ItemTypeLookup('mesh'))),
          (reader.ProcessLine, -1, 1, kz.Storage('f', 4)), (reader.Process, None, 0, None))
    equal(reader.IsIdentity(), True)
    equal('ImageProcessing.SetContrast: the contrast is from -1 to 1, not 1.5' in reasons(), True)


def check_presets_outputs_and_copies():
    made, reader = settings()
    made.SetExposure(0.1)
    made.SetTint((0.25, 0.5, 0.75), 0.3)
    made.SetTone(iIMPROC_TONE_FILMIC, 0.5)
    made.SetBloom(0.5, 0.25, 0.125)
    made.SetColorspace('sRGB')
    made.SetRegion(1, 2, 3, 4)
    path = os.path.join(tempfile.mkdtemp(), 'preset')
    PROCESSING.SavePreset(made, path)
    loaded, its = settings()
    PROCESSING.LoadPreset(path, loaded)
    copied = PROCESSING.Read(PROCESSING.Duplicate(reader))
    for each in its, copied:
        equal((each.Exposure(), each.Tint(), each.Tone(), each.Bloom(), each.Colorspace()),
              (0.1, ((0.25, 0.5, 0.75), 0.3), (iIMPROC_TONE_FILMIC, 0.5), (0.5, 0.25, 0.125), 'sRGB'))
    text = open(path).read()
    for faulty in (text + 'gamma -1\n', text + 'gamma one\n', 'nothing 1\n', 'gamma 2 3\n'):
        open(path, 'w').write(faulty)
        fails('INVALIDARG', (PROCESSING.LoadPreset, path, loaded))
    fails('NOTFOUND', (PROCESSING.LoadPreset, path + '.none', loaded))
    equal((its.Gamma(), its.Exposure()), (1, 0.1))
    scene = kz.service.Scene().Create('output')
    output = scene.ItemAdd(kz.service.Scene().ItemTypeLookup('renderOutput'))
    scene.WriteChannels(None, 0).DoubleByName(output, 'exposure', 1.5)
    default = PROCESSING.Read(PROCESSING.DefaultForOutput(output))
    equal((default.Exposure(), default.Gamma(), default.Colorspace(), default.Bloom()), (1.5, 1, 'sRGB', (1, 0.02, 0)))
    loaded.SetFromItem(output)
    equal((its.Exposure(), its.Tint()[1]), (1.5, 0))
    line = picture(4, 1, *[c for value in (0.25, 4, 1, 2) for c in (value, value, value, 1)])
    near([PROCESSING.MeasureExposure(line, at) for at in (0.25, 0.5, 0.75, 1)], [2, 0, -1, -2], 1e-6)
