"""Writes modifiers.json: what the host's modifiers compute, by NumPy, and animation by SciPy, for evaluation_test.cpp. Run
it by hand, with Python 3, NumPy and SciPy:  python3 make_modifiers.py"""
import json
import pathlib

import numpy as np
import scipy.linalg
from scipy.interpolate import make_interp_spline
from scipy.spatial.transform import Rotation, Slerp

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


def row(kind, channels, function, outputs='output', ramps=False, text=''):
    rows.append({'type': kind, 'channels': channels, 'ramps': ramps, 'output': outputs, 'expression': text,
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



def spring(t, stiffness, damping, mass, start):
    """Exactly, by the exponential of the matrix of (place, speed, input, slope of the input) between the ramp's corners."""
    state = np.array([ramp(start), 0.0])
    corners = [start] + [c for c in (0.0, 2.0) if start < c < t] + [max(t, start)]
    for begin, end in zip(corners, corners[1:]):
        slope = (ramp(end) - ramp(begin)) / (end - begin) if end > begin else 0
        system = np.array([[0, 1, 0, 0], [-stiffness / mass, -damping / mass, stiffness / mass, 0], [0, 0, 0, 1], [0, 0, 0, 0.0]])
        state = (scipy.linalg.expm(system * (end - begin)) @ [*state, ramp(begin), slope])[:2]
    return state[0] if t > start else ramp(t)


for stiffness, damping, mass in ((50, 5, 1), (25, 20, 4), (100, 90, 1), (4e4, 50, 0.01), (0, 1, 1)):
    row('modifierSpring', {'stiffness': stiffness, 'damping': damping, 'mass': mass, 'startTime': -2},
        lambda t: spring(t, stiffness, damping, mass, -2), ramps=True)
for text, function in (
        ('2 * sin(t) + input / 4', lambda t: 2 * np.sin(t) + ramp(t) / 4), ('-2 ^ 2 + 2^3^2 - (1 - 2 - 3)', lambda t: -4 + 512 + 4),
        ('t % 1.5 + 2 ^ -1', lambda t: np.mod(t, 1.5) + 0.5), ('if(t > 0.5, max(1, t), min(-1, t)) * pi', lambda t: np.pi * (max(1, t) if t > 0.5 else min(-1, t))),
        ('clamp(t, 0, 1) + mix(1, 5, 0.25)+.5e1', lambda t: np.clip(t, 0, 1) + 7), ('floor(t) + ceil(t) - abs(t) + sign(t)', lambda t: np.floor(t) + np.ceil(t) - abs(t) + np.sign(t)),
        ('atan2(t, 2) * exp(-t) >= 0', lambda t: float(np.arctan2(t, 2) * np.exp(-t) >= 0))):
    for output in ('output', 'result'):
        row('modifierExpression', {}, function, output, ramps=True, text=text)

clips = []
for start, end, speed, loops, fade_in, fade_out, weight in ((0, 5, 1, 1, 0, 0, 1), (-1, 1.5, 1, 1, 0, 0, 0.5), (0.25, 1, 0.5, 0, 0, 0, 1),
                                                            (-1, 0.7, 2, 3, 0.5, 1, 1), (0, 2, -1.5, 0, 2, 0, 1), (-2, 2, 0.5, 1, 1, 6, 0.25)):
    stop = start + (loops * (end - start) / abs(speed) if loops else 1e6)
    own = lambda t: start + np.remainder((t - start) * abs(speed), end - start)
    clips.append({
        'channels': {'clipStart': start, 'clipEnd': end, 'clipSpeed': speed, 'clipLoops': loops, 'fadeIn': fade_in,
                     'fadeOut': fade_out, 'weight': weight},
        'values': [10.0 if not start <= t <= stop else float(
            10 + (ramp(own(t) if speed > 0 else end + start - own(t)) - 10) * weight
            * np.interp(t, [start, start + fade_in, stop - fade_out, stop], [fade_in == 0, 1, 1, fade_out == 0]))
                   for t in TIMES]})

PLACE = ('pos.X', 'pos.Y', 'pos.Z', 'rot.X', 'rot.Y', 'rot.Z', 'scl.X', 'scl.Y', 'scl.Z')
OWN, PARENT = (1.5, 2.25, 3, 0.3, -0.4, 0.5, 2, 3, 0.5), (-1, 4, 0.5, 0, 0.7, -0.2, 1, 1, 1)
FIRST, SECOND = (5, -2, 1, 1.1, 0.2, -0.6, 1.5, 1, 4), (-3, 6, 2, -0.4, 0.9, 0.1, 0.5, 2, 1)
Y = np.array([0, 1.0, 0])


def turned(angles):
    """About Z first, then X, then Y."""
    return Rotation.from_euler('zxy', np.asarray(angles)[[2, 0, 1]])


def frame(position, rotation, scale):
    """A point is a row to the left."""
    matrix = np.eye(4)
    matrix[:3, :3], matrix[3, :3] = np.diag(scale) @ rotation.as_matrix().T, position
    return matrix


def place(numbers):
    return frame(numbers[:3], turned(numbers[3:6]), numbers[6:])


def between(a, b, weight):
    return Slerp([0, 1], Rotation.concatenate([a, b]))(weight)


def looking(direction, aim, up):
    direction = direction / np.linalg.norm(direction)
    above = Y - direction * (Y @ direction)
    return Rotation.align_vectors([direction, above / np.linalg.norm(above)], [aim, up])[0]


def moved(numbers, keyed):
    return [keyed.get(name, number) for name, number in zip(PLACE, numbers)]


P, p0, r0, s0 = place(PARENT), np.array(OWN[:3]), turned(OWN[3:6]), OWN[6:]
p1, p2, r1, r2 = np.array(FIRST[:3]), np.array(SECOND[:3]), turned(FIRST[3:6]), turned(SECOND[3:6])
middle, offset = (p1 + p2) / 2, np.array([0.5, -1, 2])
shift = dict(zip(('offset.X', 'offset.Y', 'offset.Z'), offset))
KEYED = {'pos.X': 7.0, 'rot.Y': -0.8}
now1 = moved(FIRST, KEYED)
toward = middle - p0
constraints = []


def constrain(kind, channels, expected, has_parent=False, keyed={}, one=False):
    constraints.append({'type': 'constraint' + kind, 'channels': channels, 'own': OWN, 'parent': PARENT if has_parent else [],
                        'sources': [FIRST] if one else [FIRST, SECOND], 'keyed': keyed,
                        'world': np.ravel(expected).tolist()})


constrain('Position', shift, frame(middle + offset, r0, s0))
constrain('Position', {'blend': 0.25, 'axisY': 0}, frame(p0 + 0.25 * (middle - p0) * [1, 0, 1], r0, s0))
constrain('Position', {'enable': 0}, place(OWN))
constrain('Position', {'compensate': 1}, frame(p0 + [2, 0, 0], r0, s0), keyed=KEYED, one=True)
inside = frame(np.append(middle, 1) @ np.linalg.inv(P) @ np.eye(4, 3) + offset, r0, s0)
constrain('Position', dict(shift, space=1), inside @ P, True)
constrain('Rotation', {}, frame(p0, between(r1, r2, 0.5), s0))
constrain('Rotation', dict(shift, blend=0.3), frame(p0, between(r0, r1 * turned(offset), 0.3), s0), one=True)
constrain('Rotation', {'compensate': 1}, frame(p0, turned(now1[3:6]) * r1.inv() * r0, s0), keyed=KEYED, one=True)
constrain('Rotation', {'axisX': 0}, frame(p0, turned([OWN[3], FIRST[4], FIRST[5]]), s0), one=True)
constrain('Scale', {'blend': 0.5}, frame(p0, r0, (np.array(s0) + (np.array(FIRST[6:]) + SECOND[6:]) / 2) / 2))
constrain('Direction', {}, frame(p0, looking(toward, [0, 0, 1], [0, 1, 0]), s0))
constrain('Direction', {'aimAxis': 3, 'upAxis': 2, 'roll': 0.4},
          frame(p0, Rotation.from_rotvec(0.4 * toward / np.linalg.norm(toward)) * looking(toward, [-1, 0, 0], [0, 0, 1]), s0))
for percent in (0, 0.3, 1):
    constrain('Path', {'pathPercent': percent, 'pathBank': 0.2}, frame(
        p1 + percent * (p2 - p1), Rotation.from_rotvec(0.2 * (p2 - p1) / np.linalg.norm(p2 - p1)) * looking(p2 - p1, [0, 0, 1], [0, 1, 0]), s0))
constrain('Path', {'pathPercent': 0.5, 'pathOrient': 0}, frame(middle, r0, s0))
for low, high in ((0, 1), (9, 20), (0, 50)):
    length = np.linalg.norm(toward)
    constrain('Distance', {'minimumDistance': low, 'maximumDistance': high},
              frame(middle - toward / length * np.clip(length, low, high), r0, s0))
constrain('Surface', {}, place(OWN))

matrices, first, second = [], place(FIRST), place(SECOND)
for channels, expected in (({'operation': 0}, first @ second), ({'operation': 1}, np.linalg.inv(first)),
                           ({'operation': 2}, first.T), ({'operation': 1, 'enable': 0}, first),
                           ({'operation': 3, 'blend': 0.3}, frame(p1 + 0.3 * (p2 - p1), between(r1, r2, 0.3),
                                                                  np.array(FIRST[6:]) * 0.7 + np.array(SECOND[6:]) * 0.3))):
    matrices.append({'channels': channels, 'sources': [FIRST, SECOND], 'world': np.ravel(expected).tolist()})

table = {'place': PLACE, 'constraints': constraints, 'matrices': matrices, 'clips': clips, 'made with': 'NumPy %s, SciPy %s' % (np.__version__, scipy.__version__), 'times': TIMES, 'rows': rows}
pathlib.Path(__file__).with_name('modifiers.json').write_text(
    json.dumps(table, indent=1).replace('\n   ', ' ').replace('\n  ', ' ') + '\n')
