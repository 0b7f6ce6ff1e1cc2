"""Writes modifiers.json: what the host's modifiers compute, by NumPy, and animation by SciPy, for evaluation_test.cpp. Run
it by hand, with Python 3, NumPy and SciPy:  python3 make_modifiers.py"""
import json
import pathlib

import numpy as np
import scipy
from scipy.interpolate import make_interp_spline

TIMES = [-1.25, -0.5, 0.0, 0.3, 1.0, 2.75, 7.1]


def random(seed, step):
    with np.errstate(over='ignore'):
        bits = np.uint64(np.int64(step)) * np.uint64(0x9E3779B97F4A7C15)
        bits += np.uint64(np.uint32(seed)) * np.uint64(0xD1B54A32D192ED03)
        bits = (bits ^ bits >> np.uint64(30)) * np.uint64(0xBF58476D1CE4E5B9)
        bits = (bits ^ bits >> np.uint64(27)) * np.uint64(0x94D049BB133111EB)
        return float((bits ^ bits >> np.uint64(31)) >> np.uint64(11)) / 2 ** 53


def noise(seed, x):
    low = int(np.floor(x))
    return make_interp_spline(  # the quintic with flat, straight ends
        [0, 1], [random(seed, low), random(seed, low + 1)], k=5,
        bc_type=([(1, 0), (2, 0)], [(1, 0), (2, 0)]))(x - low)


def ramp(t):
    """The keys of the input: (0, 0), (2, 4), linear in between, held outside."""
    return float(np.interp(t, [0, 2], [0, 4]))


WAVES = {'sine': lambda p: 0.5 + np.sin(2 * np.pi * p) / 2, 'triangle': lambda p: np.interp(p, [0, 0.5, 1], [0, 1, 0]),
         'saw': lambda p: p, 'square': lambda p: float(p < 0.5), 'pulse': lambda p: float(p < 0.1)}
rows = []


def row(kind, channels, function, outputs='output', ramps=False):
    rows.append({'type': kind, 'channels': channels, 'ramps': ramps, 'output': outputs,
                 'values': [float(function(t)) for t in TIMES]})


for index, (name, shape) in enumerate(WAVES.items()):
    row('modifierWave', {'waveShape': index, 'period': 1.5, 'phase': 0.2, 'low': -2, 'high': 3},
        lambda t: -2 + 5 * shape(np.mod(t / 1.5 + 0.2, 1)))
for seed in (0, 7):
    row('modifierRandom', {'seed': seed, 'minimum': -1, 'maximum': 3, 'hold': 0.5},
        lambda t: -1 + 4 * random(seed, np.floor(t / 0.5)))
    row('modifierNoise', {'seed': seed, 'amplitude': 2, 'frequency': 1.5, 'offset': 1, 'octaves': 3},
        lambda t: 1 + 2 * (2 * np.average([noise(seed + i, t * 1.5 * 2 ** i) for i in range(3)],
                                          weights=[1, 0.5, 0.25]) - 1))
row('modifierSmooth', {'window': 1, 'samples': 5}, lambda t: np.mean([ramp(x) for x in np.linspace(t - 0.5, t + 0.5, 5)]),
    ramps=True)
row('modifierSmooth', {'window': 1, 'samples': 5, 'centered': 0},
    lambda t: np.mean([ramp(x) for x in np.linspace(t - 1, t, 5)]), ramps=True)
row('modifierTimeOffset', {'timeOffset': 0.7}, lambda t: ramp(t + 0.7), ramps=True)
row('modifierCycle', {'cycleStart': 0.5, 'cycleLength': 1}, lambda t: ramp(0.5 + np.mod(t - 0.5, 1)), ramps=True)
row('modifierCycle', {'cycleStart': 0.5, 'cycleLength': 1, 'relative': 1},
    lambda t: ramp(0.5 + np.mod(t - 0.5, 1)) + np.floor(t - 0.5) * (ramp(1.5) - ramp(0.5)), ramps=True)
row('modifierClamp', {'minimum': 1, 'maximum': 3}, lambda t: np.clip(ramp(t), 1, 3), ramps=True)
row('modifierClamp', {'minimum': 1, 'maximum': 3, 'strength': 0.25},
    lambda t: 0.75 * ramp(t) + 0.25 * np.clip(ramp(t), 1, 3), ramps=True)
row('modifierWave', {'enable': 0}, ramp, ramps=True)
for index, function in enumerate((np.abs, np.sin, np.cos, np.tan, np.sqrt, np.exp, None, np.floor)):
    if function is not None:
        row('mathFunction', {'function': index, 'preScale': 0.3, 'postScale': 2}, lambda t: 2 * function(0.3 * ramp(t)),
            ramps=True)
row('mathFunction', {'function': 1, 'angleUnit': 1}, lambda t: np.sin(np.deg2rad(ramp(t))), ramps=True)
for index, function in enumerate((np.add, np.subtract, np.multiply, np.divide, np.mod, np.power, np.minimum, np.maximum)):
    row('mathBasic', {'operation': index, 'input1': 7.25, 'input2': 2.5}, lambda t: function(7.25, 2.5))
A, B = np.array([1, 2, 3.0]), np.array([-2, 0.5, 1])
vectors = {'vector1.X': 1, 'vector1.Y': 2, 'vector1.Z': 3, 'vector2.X': -2, 'vector2.Y': 0.5, 'vector2.Z': 1}
for index, (output, value) in enumerate((('vectorOut.Z', (A + B)[2]), ('vectorOut.Y', np.cross(A, B)[1]), ('scalarOut', A @ B),
                                         ('scalarOut', np.arccos(A @ B / np.linalg.norm(A) / np.linalg.norm(B))),
                                         ('scalarOut', np.linalg.norm(A)), ('vectorOut.X', A[0] / np.linalg.norm(A)))):
    row('mathVector', dict(vectors, operation=index), lambda t: value, output)
for index, holds in enumerate((False, True, False, True, True, False)):
    row('modifierLogic', {'operation': index, 'value1': 2, 'value2': 3, 'trueValue': 5, 'falseValue': -5},
        lambda t: 5 if holds else -5)
row('modifierDistance', {'point1.X': 1, 'point2.Y': 4, 'point2.Z': -2, 'scale': 0.5},
    lambda t: np.linalg.norm([1, -4, 2]) / 2)

table = {'made with': 'NumPy %s, SciPy %s' % (np.__version__, scipy.__version__), 'times': TIMES, 'rows': rows}
pathlib.Path(__file__).with_name('modifiers.json').write_text(
    json.dumps(table, indent=1).replace('\n   ', ' ').replace('\n  ', ' ') + '\n')
