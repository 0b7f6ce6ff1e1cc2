"""Writes shapes.json: envelopes, curves and rotations as SciPy computes them, for shapes_test.cpp. Run it by hand, with
Python 3 and SciPy, whose version the table names:  python3 make_shapes.py"""
import itertools
import json
import pathlib

import numpy as np
import scipy
from scipy.integrate import quad, solve_ivp
from scipy.interpolate import BPoly, CubicHermiteSpline, PPoly
from scipy.optimize import brentq, minimize_scalar
from scipy.spatial.transform import Rotation, Slerp

rng = np.random.default_rng(2)
RESET, CONSTANT, REPEAT, OSCILLATE, OFFSET, LINEAR = range(6)


class Weighted:
    """Times and values as polynomials along the curve; time is solved for."""
    def __init__(self, times, values, slopes, weights):
        self.t, steps = times, np.diff(times)
        reach = [step * weight / 3 for step, weight in zip(steps, weights[:-1])], \
                [step * weight / 3 for step, weight in zip(steps, weights[1:])]
        control = [np.array([(a, a + r0, b - r1, b) for a, b, r0, r1 in zip(times, times[1:], *reach)]).T,
                   np.array([(a, a + r0 * m0, b - r1 * m1, b) for a, b, m0, m1, r0, r1 in
                             zip(values, values[1:], slopes, slopes[1:], *reach)]).T]
        along = np.arange(len(times))
        self.time, self.value = BPoly(control[0], along), BPoly(control[1], along)

    def along(self, t):
        return brentq(lambda u: self.time(u) - t, 0, len(self.t) - 1, xtol=1e-15, rtol=1e-15)

    def __call__(self, t, slope=False):
        u = self.along(t)
        return self.value(u, 1) / self.time(u, 1) if slope else self.value(u)

    def extremes(self, a, b):
        ends = self.along(a), self.along(b)
        roots = PPoly.from_bernstein_basis(self.value).derivative().roots(extrapolate=False)
        values = self.value(np.array([*ends, *[u for u in roots if ends[0] < u < ends[1]]]))
        return values.min(), values.max()


class Even:
    def __init__(self, times, values, slopes, weights):
        self.t, self.spline = times, CubicHermiteSpline(times, values, slopes)

    def __call__(self, t, slope=False):
        return self.spline(t, 1 if slope else 0)

    def extremes(self, a, b):
        roots = self.spline.derivative().roots(extrapolate=False)
        values = self.spline(np.array([a, b, *[t for t in roots if a < t < b]]))
        return values.min(), values.max()


def outside(shape, t, behavior):
    first, last = shape.t[0], shape.t[-1]
    if first <= t <= last:
        return float(shape(t))
    end = first if t < first else last
    cycles, phase = divmod(t - first, last - first)
    if behavior == OSCILLATE and cycles % 2:
        phase = last - first - phase
    return float({RESET: 0, CONSTANT: shape(end), LINEAR: shape(end) + shape(end, True) * (t - end)}.get(
        behavior, shape(first + phase) + (behavior == OFFSET) * cycles * (shape(last) - shape(first))))


def envelopes():
    for kind, behavior in itertools.product(('direct', 'auto', 'weighted'), (RESET, CONSTANT, REPEAT, OSCILLATE, OFFSET,
                                                                            LINEAR)):
        times = np.cumsum(rng.uniform(.1, 2, 6)) - 2
        values, slopes, weights = rng.uniform(-5, 5, 6), rng.uniform(-9, 9, 6), np.ones(6)
        if kind == 'auto':
            slopes[1:-1] = (values[2:] - values[:-2]) / (times[2:] - times[:-2])
            slopes[[0, -1]] = np.diff(values)[[0, -1]] / np.diff(times)[[0, -1]]
        if kind == 'weighted':
            weights = rng.uniform(.1, 2.9, 6)
        shape = (Weighted if kind == 'weighted' else Even)(times, values, slopes, weights)
        inside = rng.uniform(times[0], times[-1], 6)
        spread = 4 * (times[-1] - times[0])
        probes = [*inside, *rng.uniform(times[0] - spread, times[-1] + spread, 8)]
        ranges = [sorted(rng.uniform(times[0], times[-1], 2)) for _ in range(3)]
        yield dict(kind=kind, behavior=behavior, keys=np.array([times, values, slopes, weights]).T.tolist(),
                   values=[[t, outside(shape, t, behavior)] for t in probes],
                   slopes=[[t, float(shape(t, True))] for t in inside],
                   extremes=[[a, b, *map(float, shape.extremes(a, b))] for a, b in ranges])


def interpolant(knots, degree, closed, tension):
    """Positions over 0 to 1 as piecewise polynomials."""
    path = np.array([*knots, knots[0]] if closed else knots)
    n = len(path) - 1
    along = np.arange(n + 1) / n
    if degree == 1:
        return BPoly(np.array([path[:-1], path[1:]]), along)
    tangents = np.gradient(path, axis=0)
    if closed:
        tangents[0] = tangents[-1] = (path[1] - path[-2]) / 2
    tangents *= 1 - tension
    if degree == 3:
        return CubicHermiteSpline(along, path, tangents * n)
    before, after = path[:-1] + tangents[:-1] / 4, path[1:] - tangents[1:] / 4
    middle = (before + after) / 2
    control = np.stack([np.stack([path[:-1], middle], 1), np.stack([before, after], 1),
                        np.stack([middle, path[1:]], 1)]).reshape(3, 2 * n, 3)
    return BPoly(control, np.arange(2 * n + 1) / (2 * n))


def curves():
    for degree, closed, tension in ((1, False, 0), (2, False, 0), (2, True, .3), (3, False, 0), (3, True, 0),
                                    (3, False, .5)):
        knots = rng.uniform(-3, 3, (6, 3))
        at = interpolant(knots, degree, closed, tension)
        first, second = at.derivative(), at.derivative(2)
        breaks = at.x

        def length(end):
            stops = [*breaks[breaks < end], end]
            return sum(quad(lambda t: np.linalg.norm(first(t)), a, b, epsabs=1e-13, epsrel=1e-13, limit=200)[0]
                       for a, b in zip(stops, stops[1:]))

        def unit(t):
            return first(t) / np.linalg.norm(first(t))

        def turning(t, r):  # the part of the tangent's change along r is taken off along the tangent
            d, s = first(t), np.linalg.norm(first(t))
            change = second(t) / s - d * (d @ second(t)) / s ** 3
            return -(r @ change) * d / s

        probes = rng.uniform(0, 1, 5).tolist()
        total = length(1)
        params = []
        for t in probes:
            k, c = first(t), np.cross(first(t), second(t))
            params.append(dict(param=t, position=at(t).tolist(), tangent=unit(t).tolist(), length=length(t),
                               curvature=float(np.linalg.norm(c) / np.linalg.norm(k) ** 3)))
        closest = []
        for point in rng.uniform(-4, 4, (5, 3)):
            far = np.linalg.norm(at(np.linspace(0, 1, 4001)) - point, axis=1)
            near = np.argmin(far) / 4000
            found = minimize_scalar(lambda t: np.linalg.norm(at(np.clip(t, 0, 1)) - point), method='bounded',
                                    bounds=(max(0, near - 1 / 4000), min(1, near + 1 / 4000)),
                                    options=dict(xatol=1e-12))
            closest.append([*point.tolist(), float(min(found.fun, far.min()))])
        normals = []
        if degree == 3 and not closed:  # a step over a corner or the turn of a closed curve is a rule of the host's own
            axis = np.zeros(3)
            axis[np.argmin(abs(unit(0)))] = 1
            start = np.cross(unit(0), axis)
            walk = solve_ivp(turning, (0, 1), start / np.linalg.norm(start), t_eval=sorted(probes), method='DOP853',
                             rtol=1e-11, atol=1e-11, max_step=1e-3)
            normals = [[t, *r] for t, r in zip(walk.t.tolist(), walk.y.T.tolist())]
        yield dict(degree=degree, closed=closed, tension=tension, knots=knots.tolist(), length=total, params=params,
                   closest=closest, normals=normals)


def rotations():
    for order in ('xyz', 'xzy', 'yxz', 'yzx', 'zxy', 'zyx'):
        for _ in range(3):
            angles, other = rng.uniform(-1.5, 1.5, 3), Rotation.random(random_state=rng)
            turn = Rotation.from_euler(order, [angles['xyz'.index(axis)] for axis in order])
            weight, vector = rng.uniform(), rng.uniform(-2, 2, 3)
            blend = Slerp([0, 1], Rotation.concatenate([turn, other]))(weight)
            yield dict(order=order, angles=angles.tolist(), matrix=turn.as_matrix().T.tolist(),
                       quaternion=turn.as_quat().tolist(), turn=turn.as_rotvec().tolist(), weight=weight,
                       other=other.as_quat().tolist(), blend=blend.as_quat().tolist(),
                       product=(other * turn).as_quat().tolist(), vector=vector.tolist(),
                       rotated=turn.apply(vector).tolist())


def inverses():
    for _ in range(6):
        matrix = np.eye(4)
        matrix[:, :3] = rng.uniform(-2, 2, (4, 3)) * 10.0 ** rng.integers(-6, 6)
        yield dict(matrix=matrix.tolist(), inverse=np.linalg.inv(matrix).tolist(),
                   determinant=float(scipy.linalg.det(matrix)))


table = dict(envelopes=envelopes(), curves=curves(), rotations=rotations(), inverses=inverses())
lines = ',\n'.join('"%s": [\n%s\n]' % (name, ',\n'.join(map(json.dumps, rows))) for name, rows in table.items())
text = '{"made with": "SciPy %s, NumPy %s",\n%s}\n' % (scipy.__version__, np.__version__, lines)
pathlib.Path(__file__).with_name('shapes.json').write_text(text)
