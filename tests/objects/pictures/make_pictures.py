"""Makes the picture files beside it, and what should be read from them, with programs that have nothing to do with the library which the host uses.

    python3 -m venv env && env/bin/pip install numpy pypng tifffile OpenEXR Pillow && env/bin/python make_pictures.py

The files are kept, so that tests need none of these.
"""
import json

import numpy
import OpenEXR
import PIL.Image
import png
import tifffile

RGB = numpy.array([[[0, 1, 10005], [39, 257, 65535]], [[32768, 32767, 12345], [54321, 255, 256]]], numpy.uint16)
ALPHA = numpy.array([[[0], [1]], [[30000], [65535]]], numpy.uint16)
RGBA = numpy.concatenate([RGB, ALPHA], axis=2)
FLOAT = (RGB.astype(numpy.float32) - 30000) / 7  # negative values and values above 1, with many digits
EXR = {'compression': OpenEXR.ZIP_COMPRESSION, 'type': OpenEXR.scanlineimage}

for name, pixels in (('rgb16', RGB), ('rgba16', RGBA), ('grey16', RGB[:, :, 2:]), ('greya16', RGBA[:, :, 2:])):
    kind = {1: 'L', 2: 'LA', 3: 'RGB', 4: 'RGBA'}[pixels.shape[2]] + ';16'
    png.from_array(pixels.reshape(2, -1), kind).save(name + '.png')
png.Writer(2, 2, bitdepth=16, greyscale=False, gamma=1.0).write(open('linear16.png', 'wb'), RGB.reshape(2, 6).tolist())
tifffile.imwrite('rgba16.tif', RGBA, photometric='rgb', extrasamples=['unassalpha'], metadata=None)
tifffile.imwrite('rgbfp.tif', FLOAT, photometric='rgb', byteorder='>', metadata=None, description='made elsewhere')
OpenEXR.File(EXR, {'RGBA': numpy.concatenate([FLOAT, FLOAT[:, :, :1]], 2).astype(numpy.float16)}).write('rgbahalf.exr')
OpenEXR.File(EXR, {'Y': FLOAT[:, :, 2].astype(numpy.float16)}).write('greyhalf.exr')
OpenEXR.File(EXR, {'RGB': FLOAT}).write('rgbfp.exr')
with open('rgbe.hdr', 'wb') as stream:  # one mantissa a component and a shared exponent: 1.0, 0.5, 0.25 and 4.0, 0, 2.0
    stream.write(b'#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n' + bytes([128, 64, 32, 129, 128, 0, 64, 131]))
PIL.Image.new('RGB', (8, 8), (200, 100, 50)).save('rgb24.jpg', quality=95)

HALF = numpy.concatenate([FLOAT, FLOAT[:, :, :1]], 2).astype(numpy.float16)
EXPECTED = {  # the pixel format, the colour space and the pixels
    'rgb16.png': (0x302, 'sRGB', RGB), 'rgba16.png': (0x402, 'sRGB', RGBA), 'grey16.png': (0x102, 'sRGB', RGB[:, :, 2]),
    'greya16.png': (0x402, 'sRGB', RGBA[:, :, [2, 2, 2, 3]]),
    'linear16.png': (0x302, 'linear', RGB), 'rgba16.tif': (0x402, None, RGBA), 'rgbfp.tif': (0x304, None, FLOAT),
    'rgbahalf.exr': (0x403, 'linear', HALF), 'greyhalf.exr': (0x104, 'linear', HALF[:, :, 2].astype(numpy.float32)),
    'rgbfp.exr': (0x304, 'linear', FLOAT),
    'rgbe.hdr': (0x304, 'linear', numpy.array([1, 0.5, 0.25, 4, 0, 2], numpy.float32)),
    'rgb24.jpg': (0x301, 'sRGB', numpy.asarray(PIL.Image.open('rgb24.jpg')))}
rows = [json.dumps(name) + ': ' + json.dumps((form, space, pixels.tobytes().hex()))
        for name, (form, space, pixels) in sorted(EXPECTED.items())]
with open('expected.json', 'w') as stream:
    stream.write('{\n' + ',\n'.join(rows) + '\n}\n')
