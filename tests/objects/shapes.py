"""Envelopes and their cursors, curves and path steps, matrices and quaternions through their interfaces."""
import math

import kz
import kzifc
from checks import equal, fails, near, result_of, storage
from kz.symbol import (fKEYBREAK_SLOPE, fKEYBREAK_VALUE, fKEYBREAK_WEIGHT, iCURVE_CUBIC, iENVINTERP_CURVE,
                       iENVINTERP_LINEAR, iENVINTERP_STEPPED, iENVSIDE_BOTH, iENVSIDE_IN, iENVSIDE_OUT, iENV_CONSTANT,
                       iENV_LINEAR, iENV_NONE, iENV_OFFSET, iENV_OSCILLATE, iENV_REPEAT, iENV_RESET, iROTORDER_XYZ,
                       iSLOPE_AUTO, iSLOPE_AUTOFLAT, iSLOPE_DIRECT, iSLOPE_FLAT, iSLOPE_LINEARIN, iSLOPE_LINEAROUT,
                       iSLOPE_STEPPED)

SCENES = kz.service.Scene()
IN, OUT, BOTH = iENVSIDE_IN, iENVSIDE_OUT, iENVSIDE_BOTH
NAN, INF = float('nan'), float('inf')


def envelope(*keys, **options):
    made = SCENES.CreateEnvelope(options.get('integer', 0))
    if keys:
        made.SetFromKeys(len(keys), *[storage('d', *numbers) for numbers in zip(*keys)])
    return made


def cursor(of, time):
    key = of.Keys()
    key.Find(time, BOTH, 0)
    return key


def values(of, *inputs):
    return [result_of(of.Value, each) for each in inputs]


def check_ends_behave():
    ramp = envelope((0, 1), (2, 3))
    equal(ramp.EndBehavior(BOTH), iENV_CONSTANT)
    for behavior, expected, slopes in (
            (iENV_RESET, [0, 2, 0], [0, 0]), (iENV_CONSTANT, [1, 2, 3], [0, 0]), (iENV_REPEAT, [2, 2, 2], [1, 1]),
            (iENV_OSCILLATE, [2, 2, 2], [-1, -1]), (iENV_OFFSET, [0, 2, 4], [1, 1]), (iENV_LINEAR, [0, 2, 4], [1, 1]),
            (iENV_NONE, ['OUTOFBOUNDS', 2, 'OUTOFBOUNDS'], ['OUTOFBOUNDS'] * 2)):
        ramp.SetEndBehavior(behavior, BOTH)
        equal((behavior, values(ramp, -1, 1, 3)), (behavior, expected))
        equal((behavior, [result_of(ramp.Slope, each) for each in (-1, 3)]), (behavior, slopes))
    fails('OUTOFBOUNDS', (ramp.Segment, -1, 1))
    equal(ramp.Segment(0, 2), (1, 3))
    ramp.SetEndBehavior(iENV_OFFSET, OUT)
    equal([ramp.Segment(0, 2000001), ramp.EndBehavior(IN)], [(1, 2000002), iENV_NONE])
    fails('INVALIDARG', (ramp.EndBehavior, BOTH), (ramp.EndBehavior, 0), (ramp.SetEndBehavior, 7, IN),
          (ramp.SetEndBehavior, 0, 4), (ramp.Segment, 2, 1), (ramp.Segment, NAN, 1), (ramp.Segment, 0, INF))


def check_slope_types_shape_a_key():
    wave = envelope((0, 0), (1, 2), (3, 3), (4, 0))
    key, peak = cursor(wave, 1), cursor(wave, 3)
    for kind, slope, at_peak in ((iSLOPE_AUTO, 1, -2 / 3.), (iSLOPE_LINEARIN, 2, .5), (iSLOPE_LINEAROUT, .5, -3),
                                 (iSLOPE_FLAT, 0, 0), (iSLOPE_AUTOFLAT, 1, 0), (iSLOPE_STEPPED, 0, 0)):
        key.SetSlopeType(kind, BOTH)
        peak.SetSlopeType(kind, BOTH)
        near([key.Slope(IN)[0], key.Slope(OUT)[0], peak.Slope(IN)[0]], [slope, slope, at_peak])
    equal(values(wave, .9, 1, 2.9), [0, 2, 2])
    key.SetSlopeType(iSLOPE_AUTO, BOTH)
    key.SetSlopeType(iSLOPE_DIRECT, IN)
    equal([key.Slope(OUT), key.SlopeType(OUT)], [(1, 1), (iSLOPE_DIRECT, 0)])
    key.SetSlope(-4, 2, OUT)
    equal([key.Slope(IN), key.SlopeType(IN)], [(-4, 2), (iSLOPE_DIRECT, 1)])
    steep = envelope((0, 0), (1, 1), (2, 100))
    cursor(steep, 1).SetSlopeType(iSLOPE_AUTOFLAT, BOTH)
    near([cursor(steep, 1).Slope(IN)[0]], [3])
    fails('INVALIDARG', (key.SetSlope, NAN, 1, IN), (key.SetSlope, 0, 3.1, IN), (key.SetSlope, 0, -1, IN),
          (key.SetSlopeType, 7, IN), (key.SetSlope, 0, 1, 0), (key.Slope, 4))


def check_sides_differ_where_a_key_is_broken():
    wave = envelope((0, 0), (1, 2), (2, 0))
    key = cursor(wave, 1)
    key.SetBreak(fKEYBREAK_VALUE | fKEYBREAK_SLOPE | fKEYBREAK_WEIGHT, 1)
    key.SetValue(5, OUT)
    key.SetSlope(3, .5, OUT)
    key.SetSlope(7, 1, IN)
    equal([key.Breaks(), key.Value(IN), key.Value(BOTH), key.Value(OUT)], [7, 2, 2, 5])
    near(key.Slope(IN) + key.Slope(OUT) + (wave.Value(1), wave.Slope(1)), (7, 1, 3, .5, 5, 7))
    near(wave.Segment(1 - 1e-9, 1), (2, 5), 1e-6)
    near([wave.Segment(1, 1 + 1e-9)[0]], [5], 1e-6)
    key.SetBreak(fKEYBREAK_VALUE | fKEYBREAK_SLOPE, 0)
    equal([key.Breaks(), key.Value(OUT), key.Slope(OUT)], [fKEYBREAK_WEIGHT, 2, (7, .5)])
    fails('INVALIDARG', (key.SetBreak, 8, 1), (key.SetValue, 1, 0), (key.SetValue, INF, IN))


def check_cursors_stay_at_their_keys():
    wave = envelope(*[(each, each * each) for each in range(1, 300)])
    key, other = cursor(wave, 200), wave.Keys()
    equal(other.Time(), 0)
    fails('NOTAVAILABLE', (other.Value, IN), (other.SetTime, 1), (other.Remove,))
    other.Add(0, 5)
    other.Add(150.5, 1)
    cursor(wave, 3).Remove()
    equal([key.Time(), key.Value(IN), wave.KeyCount(), other.Time()], [200, 40000, 300, 150.5])
    remover = cursor(wave, 200)
    remover.Remove()
    equal(remover.Time(), 199)
    fails('NOTAVAILABLE', (key.Time,), (key.SetValue, 1, IN))
    key.Next()
    equal(key.Time(), 201)
    key.SetTime(200.25)
    fails('INVALIDARG', (key.SetTime, 202), (key.SetTime, 199), (key.SetTime, NAN), (key.Add, INF, 0),
          (key.Add, 0, 2e300), (key.Find, NAN, BOTH, 1), (key.Find, 0, 4, 1), (key.Find, 0, BOTH, -1))
    key.Previous()
    equal(key.Time(), 199)
    key.Last()
    fails('OUTOFBOUNDS', (key.Next,))
    equal(key.Time(), 299)
    key.First()
    fails('OUTOFBOUNDS', (key.Previous,))
    key.Remove()
    equal(key.Time(), 0)
    fails('OUTOFBOUNDS', (key.Previous,))
    seen = []
    while not result_of(key.Next):
        seen.append(key.Time())
    equal((seen == sorted(seen), len(seen)), (True, wave.KeyCount()))
    wave.Clear()
    fails('OUTOFBOUNDS', (key.First,), (key.Last,), (key.Next,))


def check_keys_are_found_by_time():
    wave = envelope((0, 1), (2, 3))
    key = wave.Keys()
    for time, side, tolerance, expected in ((.9, BOTH, 1, 0), (1.1, BOTH, 1, 2), (.1, OUT, 2, 2), (1.9, IN, 2, 0),
                                            (2, IN, 0, 2), (2, OUT, 0, 2), (.5, BOTH, .4, 'NOTFOUND'),
                                            (3, OUT, INF, 'NOTFOUND'), (-1, IN, INF, 'NOTFOUND')):
        before = key.Time()
        equal((time, side, result_of(key.Find, time, side, tolerance) or key.Time()), (time, side, expected))
        equal(expected != 'NOTFOUND' or key.Time() == before, True)
    key.Add(2, 7)
    equal([wave.KeyCount(), wave.Value(2), key.Value(IN)], [2, 7, 7])


def check_integer_envelopes_hold_whole_numbers():
    steps = envelope((0, 0), (4, 2.4), integer=1)
    equal([steps.IsInteger(), steps.Interpolation(), values(steps, 0, 3.9, 4)], [True, iENVINTERP_STEPPED, [0, 0, 2]])
    for interpolation, middle in ((iENVINTERP_LINEAR, 1), (iENVINTERP_CURVE, 1)):
        steps.SetInterpolation(interpolation)
        equal([values(steps, 0, 1.9, 2.1, 3.9), steps.Slope(2)], [[0, middle, middle, 2], 0])
    key = cursor(steps, 4)
    fails('NOTAVAILABLE', (key.SetSlope, 1, 1, IN), (key.SetSlopeType, 0, IN), (key.Slope, IN), (key.SlopeType, IN),
          (key.SetBreak, fKEYBREAK_SLOPE, 1), (envelope((0, 0)).Interpolation,),
          (envelope((0, 0)).SetInterpolation, 0))
    fails('INVALIDARG', (steps.SetInterpolation, 3))
    copy = SCENES.CreateEnvelope(1)
    equal(steps.Compare(copy), False)
    copy.Copy(steps)
    equal(steps.Compare(copy), True)
    fails('INVALIDARG', (steps.Compare, SCENES.CreateMatrix()), (steps.Copy, kz.service.Mesh().Create()))


def check_degenerate_envelopes_answer():
    empty, one = envelope(), envelope((1, 4))
    equal([values(empty, 0, INF), empty.Slope(3), empty.Segment(0, 1), empty.KeyCount()], [[0, 0], 0, (0, 0), 0])
    for behavior in range(iENV_NONE):
        one.SetEndBehavior(behavior, BOTH)
        equal(values(one, 0, 1, 2), [0, 4, 0] if behavior == iENV_RESET else [4, 4, 4])
        equal(one.Slope(1), 0)
    one.SetEndBehavior(iENV_LINEAR, BOTH)
    fails('INVALIDARG', (one.Value, NAN), (one.Value, INF), (one.Slope, -INF))
    huge = envelope((-1e300, -1e300), (0, 1e300), (5e-324, -1e300), (1e300, 1e300))
    for behavior in range(iENV_NONE):
        huge.SetEndBehavior(behavior, BOTH)
        for each in (-1e308, -1e300, -1, 0, 5e-324, 1, 1e308):
            equal([abs(huge.Value(each)) < INF, abs(huge.Slope(each)) < INF], [True, True])
        equal(max(map(abs, huge.Segment(-1e301, 1e301))) < INF, True)
    times = storage('d', 0, 1, 1)
    fails('INVALIDARG', (one.SetFromKeys, 3, times, times), (one.SetFromKeys, 1, None, None),
          (one.SetFromKeys, 1, storage('d', NAN), times), (one.SetFromKeys, 1, times, storage('d', -INF)))
    equal([one.KeyCount(), one.Value(1)], [1, 4])


def curve(*knots):
    made = kz.object.Curve(SCENES.CreateWalker('Curve'))
    for knot in knots:
        made.KnotAdd(knot, -1)
    return made


def check_curves_are_edited_and_walked():
    line = curve((0, 0, 0), (4, 0, 0))
    equal([line.KnotAdd((0, 0, 2), 0), line.KnotCount(), line.Degree(), line.IsClosed()], [0, 3, iCURVE_CUBIC, False])
    line.KnotRemove(0)
    line.SetKnotPosition(1, (8, 0, 0))
    equal([line.Length(), line.Param(2), line.KnotParam(1), line.Position(.25), line.Tangent(0), line.Radius(0)],
          [8, .25, 1, (2, 0, 0), (1, 0, 0), 0])
    near([abs(n) for n in line.Normal(.5)] + list(line.Closest((2, 3, 4))), (0, 0, 1, .25, 5))
    walk = kz.object.PathStep(SCENES.CreateWalker('PathStep'))
    fails('NOTREADY', (walk.Step,))
    walk.Begin(line, 1, .5)
    walk.SetSpacing(1.5)
    fails('NOTAVAILABLE', (walk.Frame,), (walk.Matrix,))
    found = []
    while not result_of(walk.Step):
        found.append((walk.Index(), walk.Frame()[0][0], walk.Frame()[1][0]))
    near(sum(found, ()), (0, 8, -1, 1, 6.5, -1, 2, 5, -1))
    line.SetClosed(1)
    square = storage('d', *[9] * 12)
    line.Sample(4, square)
    near(square.get()[::3], (0, 4, 8, 4))
    fails('OUTOFBOUNDS', (line.KnotPosition, 2), (line.KnotRemove, 2), (line.KnotAdd, (0, 0, 0), 9), (walk.Step,))
    fails('INVALIDARG', (line.KnotAdd, (NAN, 0, 0), -1), (line.Position, NAN),
          (walk.Begin, SCENES.CreateMatrix(), 0, 1), (walk.SetSpacing, 0), (walk.SetCount, 0),
          (walk.Begin, line, NAN, 1))
    fails('NOTAVAILABLE', (curve().Position, 0), (curve((1, 1, 1)).Tangent, 0), (curve((1, 1, 1)).Normal, 0))
    equal([curve().Length(), curve((1, 2, 3)).Position(.5), curve((1, 2, 3)).Length()], [0, (1, 2, 3), 0])


class Circle(kzifc.Curve):
    def curve_KnotCount(self):
        return 0

    def curve_KnotPosition(self, index):
        kz.throw(kz.result.OUTOFBOUNDS)

    def curve_Position(self, param):
        return 2 * math.cos(math.pi * param), 2 * math.sin(math.pi * param), 0


def check_curves_of_others_need_only_positions():
    walk = kz.object.PathStep(SCENES.CreateWalker('PathStep'))
    walk.SetCount(5)
    walk.Begin(Circle(), 0, 1)
    for index in range(5):
        walk.Step()
        angle = math.pi * index / 4
        position, forward, up = walk.Frame()
        x, y = math.cos(angle), math.sin(angle)
        near(position + forward, (2 * x, 2 * y, 0, -y, x, 0), 1e-4)
        near((sum(a * b for a, b in zip(forward, up)), sum(a * a for a in up)), (0, 1))
        rows = walk.Matrix()
        near(rows[1][:3] + rows[2][:3] + rows[3], up + forward + position + (1,))
    fails('OUTOFBOUNDS', (walk.Step,))


def check_matrices_compute():
    matrix, other = SCENES.CreateMatrix(), SCENES.CreateMatrix()
    equal([matrix.Size(), matrix.IsIdentity(), matrix.Determinant()], [4, True, 1])
    matrix.SetEuler((.3, -.5, .7), iROTORDER_XYZ)
    matrix.SetScale((2, 3, -4))
    matrix.SetOffset((1, 2, 3))
    position, rotation, scale = matrix.Decompose()
    near(position + scale, (1, 2, 3, -2, 3, 4))
    near([matrix.Determinant()], [-24])
    other.Set4(matrix.Get4())
    other.Invert()
    point = matrix.TransformPoint((5, 6, 7))
    near(other.TransformPoint(point), (5, 6, 7))
    near([a - b for a, b in zip(point, matrix.TransformVector((5, 6, 7)))], (1, 2, 3))
    matrix.Multiply(other.Get4())
    equal(matrix.IsIdentity(), True)
    matrix.LookAt((0, 0, 5), (0, 0, 0), (0, 1, 0))
    near(sum(matrix.Get3(), ()) + matrix.Offset(), (1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 5))
    before = matrix.Get4()
    matrix.Set3(((1, 2, 3), (4, 5, 6), (7, 8, 9)))
    fails('INVALIDARG', (matrix.Invert,), (matrix.LookAt, (1, 1, 1), (1, 1, 1), (0, 1, 0)), (matrix.Euler, 6),
          (matrix.SetScale, (NAN, 1, 1)))
    matrix.Set4(before)
    matrix.Transpose()
    equal(matrix.Get4()[2], (0, 0, 1, 5))
    for axes in (((0, 0, 0),) * 3, ((0, 2, 0), (0, 4, 0), (0, 0, 0)), ((0, 0, 0), (1, 0, 0), (0, 0, 1e-200))):
        matrix.Set3(axes)
        rows = matrix.Decompose()[1]
        near([sum(a * b for a, b in zip(rows[i], rows[j])) for i in range(3) for j in range(3)],
             (1, 0, 0, 0, 1, 0, 0, 0, 1))


def check_quaternions_compute():
    turn, other = SCENES.CreateQuaternion(), SCENES.CreateQuaternion()
    equal([turn.Get(), turn.AxisAngle()], [(0, 0, 0, 1), ((0, 1, 0), 0)])
    turn.SetAxisAngle((0, 0, 9), math.pi / 2)
    near(turn.Rotate((1, 0, 0)), (0, 1, 0))
    other.SetTurn((0, 1, 0), (0, -1, 0))
    near(other.Rotate((0, 1, 0)) + (abs(other.Dot(other)),), (0, -1, 0, 1))
    other.Set((0, 0, 5, 5))
    near([turn.Dot(other)], [1])
    turn.Multiply(other)
    near(turn.Rotate((1, 0, 0)), (-1, 0, 0))
    turn.Blend(other, .5)
    near((turn.AxisAngle()[1],), (.75 * math.pi,))
    turn.Invert()
    other.SetMatrix(tuple(row[:3] for row in turn.Matrix()[:3]))
    near([abs(turn.Dot(other))], [1])
    other.SetEuler((0, 0, math.pi / 2), iROTORDER_XYZ)
    near(other.Rotate((1, 0, 0)), (0, 1, 0))
    fails('INVALIDARG', (turn.Set, (0, 0, 0, 0)), (turn.SetAxisAngle, (0, 0, 0), 1),
          (turn.SetTurn, (0, 0, 0), (1, 0, 0)),
          (turn.Multiply, SCENES.CreateMatrix()), (turn.Blend, other, NAN), (turn.SetEuler, (0, 0, 0), -1))
