"""Makes layers.json: two layers of bytes, and what another program sees when the upper one lies over the lower one.

    python3 -m venv env && env/bin/pip install Pillow && env/bin/python make_layers.py
"""
import json

import PIL.Image
import PIL.ImageChops

SIZE = (4, 3)
below = PIL.Image.new('RGBA', SIZE)
above = PIL.Image.new('RGBA', SIZE)
for at in range(12):
    below.putpixel((at % 4, at // 4), (at * 23, 255 - at * 19, at * 71 % 256, (255, 128, 0)[at % 3]))
    above.putpixel((at % 4, at // 4), (at * 57 % 256, at * 11, 255 - at * 20, (0, 255, 64, 200)[at // 3]))
opaque = [picture.convert('RGB') for picture in (below, above)]
moved = PIL.Image.new('RGBA', SIZE)
moved.paste(above, (-1, 2))
MIXED = ('ADD', PIL.ImageChops.add), ('SUBTRACT', PIL.ImageChops.subtract), ('DIFFERENCE', PIL.ImageChops.difference), \
    ('MULTIPLY', PIL.ImageChops.multiply), ('SCREEN', PIL.ImageChops.screen), ('DARKEN', PIL.ImageChops.darker), \
    ('LIGHTEN', PIL.ImageChops.lighter), ('HARDLIGHT', PIL.ImageChops.hard_light), ('OVERLAY', PIL.ImageChops.overlay)


def values(picture):
    return list(picture.tobytes())


json.dump({'size': SIZE, 'below': values(below), 'above': values(above),
           'over': values(PIL.Image.alpha_composite(below, above)),
           'moved': values(PIL.Image.alpha_composite(below, moved)),
           'mixed': {name: values(mix(*opaque).convert('RGBA')) for name, mix in MIXED}},
          open('layers.json', 'w'), sort_keys=True)
