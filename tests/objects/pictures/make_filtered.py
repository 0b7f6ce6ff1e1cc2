"""Makes filtered.json: a picture of floats, and what SciPy's Gaussian makes of it.

    python3 -m venv env && env/bin/pip install numpy scipy && env/bin/python make_filtered.py
"""
import json

import numpy
import scipy.ndimage

picture = numpy.random.default_rng(7).random((5, 7, 4)).astype(numpy.float32).round(3)
picture[:, :, 3] = 1
tables = {}
for radius in (1.0, 4.0):
    blurred = scipy.ndimage.gaussian_filter(picture.astype(float), (radius / 2, radius / 2, 0), mode='nearest')
    tables[str(radius)] = {'blur': blurred.ravel().round(6).tolist(),
                           'sharpen': (2 * picture - blurred).ravel().round(6).tolist()}
json.dump({'size': [7, 5], 'picture': [round(float(each), 3) for each in picture.ravel()], 'filtered': tables},
          open('filtered.json', 'w'), sort_keys=True)
