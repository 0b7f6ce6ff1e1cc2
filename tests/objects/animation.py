"""Channels over time: keys, actions, envelopes, links and the modifiers of Python classes."""
import math

import kz
import kzifc
from checks import equal, fails, near, storage
from kz.symbol import (fCHMOD_ALLTIME, fECHAN_READ, fECHAN_WRITE, iCHANSOURCE_ACTION, iCHANSOURCE_DRIVEN,
                       iCHANSOURCE_EDIT, iCHANTIME_SETUP, s_EVALTAG_TYPE)

SCENES, UNDO = kz.service.Scene(), kz.service.Undo()
TYPE = SCENES.ItemTypeLookup


def new(*kinds):
    scene = SCENES.Create('time')
    return [scene] + [scene.ItemAdd(TYPE(kind)) for kind in kinds]


def at(scene, item, name, time=0.0, action=None):
    return scene.Channels(action, time).DoubleByName(item, name)


def check_keys_are_written_read_and_undone():
    scene, item = new('locator')
    x, write = item.ChannelLookup('pos.X'), scene.WriteChannels(None, 0.0)
    write.Keys(item, x, 2, storage('d', 0.0, 2.0), storage('d', 1.0, 5.0))
    near([at(scene, item, 'pos.X', 1.0)], [3.0])
    write.DoubleKey(item, x, 9.0, 1.0, 1)
    equal((at(scene, item, 'pos.X', 1.0), scene.Channels(None, 0.0).IsAnimated(item, x)), (9.0, True))
    fails('NOTFOUND', (write.DoubleKey, item, x, 1.0, 7.0, 0), (scene.Channels(None, 0.0).Envelope, item, x + 1))
    UNDO.Undo(1)
    near([at(scene, item, 'pos.X', 1.0)], [3.0])
    UNDO.Undo(1)
    equal(at(scene, item, 'pos.X', 1.0), 0.0)
    UNDO.Redo(2)
    key = write.Envelope(item, x).Keys()
    key.Last()
    key.SetTime(3.0)
    equal(at(scene, item, 'pos.X', 3.0), 5.0)
    write.Double(item, x, -4.0)  # not keyed yet
    equal((at(scene, item, 'pos.X', 3.0), scene.Channels(None, 0).ValueSource(item, x)), (-4.0, iCHANSOURCE_EDIT))
    write.DoubleKey(item, x, 6.0, 3.0, 1)
    equal((at(scene, item, 'pos.X', 3.0), scene.Channels(None, 0).ValueSource(item, x)), (6.0, iCHANSOURCE_ACTION))
    scene.WriteChannels('setup', 0.0).Double(item, x, 8.0)
    equal((at(scene, item, 'pos.X', iCHANTIME_SETUP), at(scene, item, 'pos.X', 0.0)), (8.0, 1.0))
    write.Remove(item, x, 0)
    equal((at(scene, item, 'pos.X', 3.0), at(scene, item, 'pos.X', 3.0, 'scene')), (8.0, 0.0))
    fails('NOACCESS', (scene.WriteChannels('edit', 0).DoubleKey, item, x, 1.0, 0.0, 1))
    fails('NOTFOUND', (scene.Channels, 'nothing', 0.0))


def check_locators_follow_their_channels():
    scene, parent, child = new('locator', 'locator')
    child.SetParent(parent, -1)
    write = scene.WriteChannels(None, 0.0)
    write.Keys(parent, parent.ChannelLookup('pos.Y'), 2, storage('d', 0.0, 1.0), storage('d', 0.0, 2.0))
    kz.object.ChannelGraph(scene.GraphLookup('channelLinks')).AddLink(parent, parent.ChannelLookup('pos.Y'), child, child.ChannelLookup('pos.X'))
    place = scene.Channels(None, 1.0).Matrix(child, child.ChannelLookup('worldMatrix'))[3][:3]
    equal((place, SCENES.LocatorTransform(child, 1.0)[0]), ((2.0, 2.0, 0.0), (2.0, 0.0, 0.0)))
    equal(scene.Channels(None, 0.0).ValueSource(child, child.ChannelLookup('pos.X')), iCHANSOURCE_DRIVEN)


class Twice(kzifc.ChannelModItem):
    runs = 0

    def cmod_Allocate(self, setup):
        setup = kz.object.ChannelModSetup(setup)
        self.x, self.y = setup.AddInput('pos.X', fCHMOD_ALLTIME), setup.AddOutput('pos.Y', 0)
        fails('NOTFOUND', (setup.AddInput, 'nothing', 0))
        kz.throw(kz.result.NOTFOUND)

    def cmod_Evaluate(self, modifier, evaluator):
        Twice.runs += 1
        modifier = kz.object.ChannelModifier(modifier)
        value = modifier.ReadDouble(self.x, 0)
        if value < 0:
            raise ValueError('negative')
        fails('NOACCESS', (modifier.ReadDouble, self.y, 0))
        fails('OUTOFBOUNDS', (modifier.ReadDouble, self.x, 1), (modifier.ReadDouble, 9, 0))
        modifier.WriteDouble(self.y, 2 * value + modifier.ReadAtTime(self.x, modifier.Time()))


class Add(kzifc.EvalModifier):
    def eval_Alloc(self, item, index, evaluation):
        return Adding(item, evaluation)


class Adding(kzifc.Modifier):
    def __init__(self, item, evaluation):
        self.evaluation, item = kz.object.Evaluation(evaluation), kz.object.Item(item)
        self.x = self.evaluation.AddChannelName(item, 'pos.X', fECHAN_READ)
        self.z = self.evaluation.AddChannelName(item, 'pos.Z', fECHAN_READ | fECHAN_WRITE)

    def mod_Free(self):
        self.evaluation = None

    def mod_Evaluate(self):
        stack, value = kz.object.EvaluationStack(SCENES.CreateWalker('EvaluationStack')), kz.service.Value().CreateValue('float')
        equal(stack.Current().ReadDouble(self.x), self.evaluation.ReadDouble(self.x))
        fails('NOACCESS', (stack.Push, 1.0))  # other times are not declared
        value.SetFlt(self.evaluation.ReadDouble(self.x) + self.evaluation.ReadDouble(self.z))
        self.evaluation.WriteObject(self.z, value)


def check_python_classes_compute_channels():
    kz.bless(Twice, 'animation.twice', {s_EVALTAG_TYPE: 'groupLocator'})
    kz.bless(Add, 'animation.add', {s_EVALTAG_TYPE: 'groupLocator'})
    scene, item = new('groupLocator')
    write = scene.WriteChannels(None, 0.0)
    write.DoubleByName(item, 'pos.X', 2.0)
    write.DoubleByName(item, 'pos.Z', 10.0)
    equal([at(scene, item, name) for name in ('pos.Y', 'pos.Z')], [6.0, 12.0])
    runs = Twice.runs
    equal((at(scene, item, 'pos.Y'), Twice.runs - runs), (6.0, 0))
    write.DoubleByName(item, 'pos.X', -1.0)
    equal([at(scene, item, name) for name in ('pos.Y', 'pos.Z')], [0.0, 9.0])  # what is stored, after an error


def check_evaluations_are_nested():
    scene, item, other = new('locator', 'locator')
    stack = kz.object.EvaluationStack(SCENES.CreateWalker('EvaluationStack'))
    fails('NOTAVAILABLE', (stack.Current,), (stack.Pop,), (stack.Push, 1.0))
    scene.WriteChannels(None, 0.0).Keys(item, item.ChannelLookup('pos.X'), 2, storage('d', 0.0, 2.0), storage('d', 1.0, 5.0))
    stack.PushItem(item, 0.0)
    now = stack.Current()
    x, time = now.AddChannelName(item, 'pos.X', fECHAN_READ), now.AddTime()
    y = now.AddChannelName(item, 'pos.Y', fECHAN_WRITE)
    equal((now.ReadDouble(x), now.Time()), (1.0, 0.0))
    stack.Push(2.0)
    later = stack.Current()
    equal((later.ReadDouble(x), later.ReadDouble(time), stack.Depth()), (5.0, 2.0, 2))
    later.SetAlternateTime(1.0)
    near([later.ReadDouble(x)], [3.0])
    later.ClearAlternate()
    fails('NOACCESS', (later.WriteDouble, y, 1.0), (later.ReadDouble, y))
    stack.Pop()
    equal((later.ReadDouble(x), stack.Current().ReadDouble(x)), (5.0, 1.0))
    fails('INVALIDARG', (stack.PushItem, item, float('nan')))
    stack.PushItem(other, 1.0)
    stack.Clear()
    equal(stack.Depth(), 0)
    SCENES.Close(scene)
    fails('NOTAVAILABLE', (later.ReadDouble, x))


class Count(kzifc.EvalModifier):
    def eval_Alloc(self, item, index, evaluation):
        return Counting(item, evaluation)


class Counting(kzifc.Modifier):
    """One more than it has computed for a second before."""
    def __init__(self, item, evaluation):
        self.evaluation = kz.object.Evaluation(evaluation)
        self.y = self.evaluation.AddChannelName(kz.object.Item(item), 'pos.Y', fECHAN_READ | fECHAN_WRITE)
        self.evaluation.AddFullTime()

    def mod_Free(self):
        self.evaluation = None

    def mod_Evaluate(self):
        stack, count = kz.object.EvaluationStack(SCENES.CreateWalker('EvaluationStack')), 0.0
        if self.evaluation.Time() > 0.5:
            stack.Push(self.evaluation.Time() - 1.0)
            count = stack.Current().ReadDouble(self.y)
            stack.Pop()
        self.evaluation.WriteDouble(self.y, count + 1.0)


def check_a_modifier_runs_inside_itself():
    kz.bless(Count, 'animation.count', {s_EVALTAG_TYPE: 'camera'})
    scene, item = new('camera')
    equal(at(scene, item, 'pos.Y', 3.0), 4.0)


def check_clips_are_mixed_in_and_moved():
    scene, item = new('locator')
    x = item.ChannelLookup('pos.X')
    scene.WriteChannels(None, 0.0).Double(item, x, 1.0)
    clip = scene.ActionAdd('walk', 0)
    fails('ALREADYEXISTS', (scene.ActionAdd, 'walk', 1), (scene.ActionAdd, 'edit', 1))
    equal((scene.ActionCount(0), [scene.ActionByIndex(i).Name() for i in range(5)], clip.Type()),
          (5, ['edit', 'animation', 'setup', 'scene', 'walk'], 0))
    fails('NOTAVAILABLE', (clip.Range,), (scene.ActionByIndex(0).SetActive, 1))
    clip.Write(0.0).Keys(item, x, 2, storage('d', 0.0, 2.0), storage('d', 3.0, 5.0))
    equal((clip.IsActive(), at(scene, item, 'pos.X'), at(scene, item, 'pos.X', 0.0, 'walk')), (False, 1.0, 3.0))
    clip.SetActive(1)
    clip.SetBlend(0.5, 0)
    equal(at(scene, item, 'pos.X'), 2.0)
    clip.Shift(1.0)
    clip.Scale(2.0, 1.0)
    equal((clip.Range(), at(scene, item, 'pos.X', 5.0), clip.ChannelCount()), ((1.0, 5.0), 3.0, 1))
    clip.SetRange(0.0, 1.0)
    equal((clip.Range(), clip.TestChannel(item, x), clip.ChannelByIndex(0).Name()), ((0.0, 1.0), True, 'pos.X'))
    clip.RemoveChannel(item, x)
    equal((clip.TestChannel(item, x), at(scene, item, 'pos.X')), (False, 1.0))
    fails('NOTFOUND', (clip.RemoveChannel, item, x))
    UNDO.Undo(8)
    equal((scene.ActionCount(0), at(scene, item, 'pos.X')), (4, 1.0))
    fails('NOTAVAILABLE', (clip.Name,))


def check_commands_edit_keys():
    kz.eval('scene.new keys')
    for line in ('item.create locator name:{Left Arm}', 'item.create modifierWave name:Wave'):
        kz.eval(line)
    where, scene = '{Left Arm} rot.Z ', SCENES.Current()
    for line in ('key.set %s 0 time:0', 'key.set %s 90deg time:1', 'key.set %s 2.0 time:4', 'key.move %s 4 2',
                 'key.set %s time:0.5', 'key.slope %s 1 flat', 'key.slope %s 2 slope:3 weight:0.5 side:in',
                 'key.behavior %s oscillate side:out', 'key.set Wave low value:-1 time:1'):
        kz.eval(line % where if '%' in line else line)
    half = scene.Channels('animation', 0.5).DoubleByName(scene.ItemLookup('Left Arm'), 'rot.Z')
    for query, answer in (
            ('key.list %s time:?', (0.0, 0.5, 1.0, 2.0)), ('key.list %s value:?', (0.0, half, math.pi / 2, 2.0)),
            ('key.slope %s 1 type:?', 'flat'), ('key.slope %s 2 side:in slope:?', 3.0), ('key.slope %s 2 side:in weight:?', 0.5),
            ('key.slope %s 2 type:? side:out', 'auto'), ('key.behavior %s behavior:? side:in', 'constant'),
            ('key.behavior %s behavior:? side:out', 'oscillate'), ('key.set %s value:? time:3', repr(math.pi / 2)),
            ('key.range start:?', 0.0), ('key.range end:?', 2.0), ('key.set channel:? item:{Left Arm}', None),
            ('key.set action:?', ('edit', 'animation', 'setup', 'scene'))):
        shown = kz.eval(query % where if '%' in query else query)
        equal((query, 'rot.Z' in shown if answer is None else shown), (query, answer is None or answer))
    for line, reason in (
            ('key.move %s 1 2', 'argument "to": there is a key at 2 already'), ('key.delete %s 3', 'has keys at 0, 0.5, 1, 2 only'),
            ('key.set %s much', 'argument "value": "much" is not an angle'), ('key.slope %s 3 flat', 'has no key at 3, but at 0'),
            ('key.set Wave waveShape round', 'is not one of sine'), ('key.move Wave high 1 2', 'the channel "high" has no keys'),
            ('key.set %s 1 action:walk', 'there is no action "walk"'), ('key.range 2 1', 'the end must come after the start')):
        try:
            equal((line, kz.eval(line % where if '%' in line else line)), 'a failure')
        except RuntimeError as error:
            equal((line, reason in error.reason or error.reason), (line, True))
    kz.eval('key.interpolation %s linear' % where)
    near([at(scene, scene.ItemLookup('Left Arm'), 'rot.Z', time) for time in (0.25, 1.5)], [half / 2, (math.pi / 2 + 2) / 2])
    kz.eval('key.interpolation %s stepped' % where)
    kz.eval('key.range 0 4')
    equal((at(scene, scene.ItemLookup('Left Arm'), 'rot.Z', 0.9), kz.eval('key.list %s time:?' % where)[-1]), (0.0, 4.0))
    kz.eval('key.delete %s 0.5 2' % where)
    kz.eval('key.delete %s' % where)
    equal((kz.eval('key.list %s time:?' % where), kz.eval('undo name:?')[:3]), (None, ('key.delete', 'key.delete', 'key.range')))
    UNDO.Undo(2)
    equal(len(kz.eval('key.list %s time:?' % where)), 4)
    SCENES.Close(scene)


def check_clips_are_copied():
    scene, left, right, actor = new('locator', 'locator', 'actor')
    left.SetName('Left Hand')
    right.SetName('Right Hand')
    source, target = scene.ActionAdd('source', 0), scene.ActionAdd('target', 0)
    x, y, z = [left.ChannelLookup('pos.' + axis) for axis in 'XYZ']
    source.Write(0.0).Keys(left, x, 2, storage('d', 1.0, 2.0), storage('d', 3.0, 5.0))
    source.Write(0.0).Double(left, y, 7.0)
    target.Write(0.0).Keys(left, x, 2, storage('d', 10.5, 11.0), storage('d', 0.0, 1.0))
    keys = lambda item, channel=x: [(key.Time(), key.Value(1)) for key in walked(target.Read(0.0).Envelope(item, channel).Keys())]
    for flags, item, expected in (
            (1, left, [(10.0, 3.0), (11.0, 5.0)]), (1 | 4, left, [(10.0, 3.0), (10.5, 0.0), (11.0, 1.0)]),
            (1 | 8, right, [(10.0, -3.0), (11.0, -5.0)]), (1 | 16, left, [(10.0, 0.0), (11.0, 2.0)])):
        source.CopyTo(target, 10.0, flags)
        equal((flags, keys(item), target.TestChannel(left, y)), (flags, expected, False))
        UNDO.Undo(1)
    source.CopyTo(target, 10.0, 2)
    equal((target.Read(0.0).Double(left, y), keys(left)[0]), (7.0, (10.5, 0.0)))
    fails('INVALIDARG', (source.CopyTo, target, 0.0, 4), (source.CopyTo, source, 0.0, 1), (source.CopyTo, target, 0.0, 0x81))
    fails('NOACCESS', (source.CopyTo, scene.ActionAdd('still', 1), 0.0, 1))
    fails('NOTAVAILABLE', (scene.ActionAdd('empty', 0).CopyTo, target, 0.0, 3))


def walked(cursor):
    """A cursor that stands at each of its keys in turn."""
    while True:
        try:
            cursor.Next()
        except IndexError:
            return
        yield cursor


def check_poses_are_captured_and_applied():
    scene, item, actor = new('locator', 'actor')
    clip, pose_clip = scene.ActionByIndex(1), scene.ActionAdd('pose', 1)
    x, y = item.ChannelLookup('pos.X'), item.ChannelLookup('pos.Y')
    for channel, value in ((x, 2.0), (y, 3.0)):
        clip.Write(0.0).DoubleKey(item, channel, value, 0.0, 1)
        clip.Write(0.0).DoubleKey(item, channel, value * 3, 2.0, 1)
    pose_item = scene.ItemLookup('pose')
    pose = kz.object.PoseItem(pose_item)
    fails('NOTFOUND', (pose.Actor,))
    equal(pose.ChannelCount(), 0)
    pose.Capture(clip, 1.0)
    equal([pose.Value(i) for i in range(3)], [4.0, 6.0, 0.0])
    equal((pose.ChannelByIndex(1)[1], pose_clip.ChannelCount()), (y, 2))
    fails('OUTOFBOUNDS', (pose.ChannelByIndex, 2), (pose.SetValue, 2, 1.0))
    pose.SetValue(1, 10.0)
    equal([pose.IsMatch(scene.Channels(None, 1.0), within) for within in (3.9, 4.0)], [False, True])
    pose.Apply(clip, 1.0, 0.0)
    equal(at(scene, item, 'pos.Y', 1.0), 6.0)
    pose.Apply(clip, 1.0, 0.5)
    near([at(scene, item, 'pos.X', 1.0), at(scene, item, 'pos.Y', 1.0)], [4.0, 8.0])
    pose.Apply(clip, 1.0, 1.0)
    equal(pose.IsMatch(scene.Channels(None, 1.0), 0.0), True)
    UNDO.Undo(2)
    equal(at(scene, item, 'pos.Y', 1.0), 6.0)
    fails('INVALIDARG', (pose.Apply, clip, 1.0, 1.5), (pose.Apply, SCENES.Create('other').ActionByIndex(1), 1.0, 1.0))
    fails('NOACCESS', (pose.Apply, pose_clip, 1.0, 1.0))
    pose_item.SetParent(actor, -1)
    equal(pose.Actor().Ident(), actor.Ident())
