"""Scenes through their interfaces: the tree of items, their channels, and where locators are."""
import math

import kz
from checks import equal, fails, near, result_of
from kz.symbol import (iCHANSOURCE_DEFAULT, iCHANSOURCE_EDIT, iCHANVEC_XYZ, iITYPE_ANY, iITYPE_NONE, iITYPE_ROOT,
                       iITYPE_UNKNOWN, s_ACTIONLAYER_EDIT)

SCENES = kz.service.Scene()
TYPE = SCENES.ItemTypeLookup


def new(*items):
    """A scene and its items, each a type, a name and the place of its parent among them."""
    scene, made = SCENES.Create('test'), []
    for kind, name, parent in items:
        made.append(scene.ItemAdd(TYPE(kind)))
        made[-1].SetName(name)
        made[-1].SetParent(made[parent] if parent is not None else None, -1)
    return [scene] + made


def names(*items):
    return [item.UniqueName() for item in items]


def check_items_form_a_tree():
    scene, a, b, c = new(('locator', 'a', None), ('mesh', 'b', 0), ('mesh', 'b', 1))
    equal(names(b, c), ['b', 'b (2)'])
    b.SetName(None)
    equal(names(b, c), ['Mesh', 'b (2)'])
    equal(a.IsAncestor(c), True)
    fails('GRAPH_CYCLIC', (a.SetParent, c, -1), (a.SetParent, a, -1))
    fails('INVALIDARG', (a.SetParent, scene, -1))
    equal(a.RootPosition(), 0)
    c.SetParent(None, 0)
    equal(a.RootPosition(), 1)
    c.SetParent(a, 0)
    equal([item.__peekobj__() for item in (a.SubByIndex(0), c.Parent(), scene.ItemLookup('b (2)'))],
          [item.__peekobj__() for item in (c, a, c)])
    equal((scene.ItemCount(TYPE('locatorSuper')), scene.ItemCount(TYPE('mesh'))), (3, 2))
    fails('OUTOFBOUNDS', (a.SubByIndex, 2), (scene.ItemByIndex, TYPE('mesh'), 2))
    fails('NOTFOUND', (scene.ItemLookup, 'nobody'), (a.Parent,), (kz.service.Mesh().Create().Item,))


def check_types_are_based_on_each_other():
    for name, base, expected in (('mesh', 'locatorSuper', True), ('mesh', 'any', True), ('locator', 'mesh', False),
                                 ('folder', 'locatorSuper', False), ('any', 'mesh', False)):
        equal((name, base, SCENES.ItemTypeTest(TYPE(name), TYPE(base))), (name, base, expected))
    fails('NOTFOUND', (TYPE, 'nothing'))
    equal((TYPE('any'), TYPE('scene')), (iITYPE_ANY, iITYPE_ROOT))
    for bad in (iITYPE_ANY, iITYPE_ROOT, iITYPE_NONE, iITYPE_UNKNOWN, 1000):
        fails('INVALIDARG', (new()[0].ItemAdd, bad))


def check_removed_items_stay_harmless():
    scene, a, b = new(('locator', 'a', None), ('mesh', 'b', 0))
    root, read, write = scene.Root(), scene.Channels(None, 0), scene.WriteChannels(s_ACTIONLAYER_EDIT, 0)
    fails('INVALIDARG', (scene.ItemRemove, root), (scene.ItemRemove, None))
    scene.ItemRemove(a)
    fails('INVALIDARG', (scene.ItemRemove, a))
    for gone in (a, b):
        equal(gone.IsValid(), False)
        fails('NOTAVAILABLE', (gone.Scene,), (gone.SetParent, None, -1), (gone.SetName, 'again'))
        fails('INVALIDARG', (read.DoubleByName, gone, 'pos.X'), (write.DoubleByName, gone, 'pos.X', 1))
    equal(scene.ItemCount(iITYPE_ANY), 1)
    SCENES.Close(scene)
    fails('NOTFOUND', (SCENES.Close, scene))
    fails('NOTAVAILABLE', (scene.Root,), (scene.ItemAdd, TYPE('mesh')))
    equal(root.IsValid(), False)


CHANNELS = [
    ('pos.X', '20mm', None, '0.02'),
    ('pos.X', 'far', 'INVALIDARG', '0.02'),
    ('viewLevel', '4', None, '4'),
    ('viewLevel', '4.5', 'INVALIDARG', '4'),
    ('smoothing', 'off', None, 'false'),
    ('worldMatrix', '1', 'INVALIDARG', 'INVALIDARG'),
    ('nothing', '1', 'NOTFOUND', 'NOTFOUND'),
]


def check_channels_take_what_their_type_takes():
    scene, item = new(('mesh', 'm', None))
    read, write = scene.Channels(None, 0), scene.WriteChannels(s_ACTIONLAYER_EDIT, 0)
    for name, text, code, after in CHANNELS:
        equal((name, result_of(write.StringByName, item, name, text)), (name, code))
        equal((name, result_of(read.StringByName, item, name)), (name, after))
    visible, lock, x, scale = map(item.ChannelLookup, ('visible', 'lock', 'pos.X', 'scl.X'))
    fails('INVALIDARG', (write.DoubleByName, item, 'pos.Y', float('inf')), (write.Double, None, 0, 0))
    fails('OUTOFBOUNDS', (write.Double, item, -1, 0), (write.Double, item, 2 ** 31 - 1, 0))
    write.EncodedInteger(item, visible, 'never')
    fails('NOTFOUND', (write.EncodedInteger, item, visible, 'sometimes'), (scene.Channels, 'no such action', 0))
    equal(read.EncodedInteger(item, visible), 'never')
    equal(map(read.ValueSource, (item, item), (visible, lock)), [iCHANSOURCE_EDIT, iCHANSOURCE_DEFAULT])
    value = kz.object.Value(read.ValueObj(item, x))
    write.ValueObj(item, scale, value)
    equal((value.GetFlt(), read.DoubleByName(item, 'scl.X')), (0.02, 0.02))


def check_user_channels_are_described_and_removed():
    scene, item = new(('locator', 'l', None))
    read, write = scene.Channels(None, 0), scene.WriteChannels(s_ACTIONLAYER_EDIT, 0)
    fails('ALREADYEXISTS', (item.ChannelAdd, 'pos.X', 'float'))
    fails('INVALIDARG', (item.ChannelAdd, 'x', 'no type'), (item.ChannelAdd, None, 'float'))
    push = item.ChannelAdd('push', 'float')
    push.SetDefault(0.5, 0)
    push.SetRange(0, 1)
    fails('INVALIDARG', (push.SetRange, 1, 0), (push.SetVector, 99))
    push.SetVector(iCHANVEC_XYZ)
    equal(push.ChannelCount(), 3)
    first = item.ChannelLookup('push.X')
    write.Vector(item, first, (0, 1, 0.25))
    fails('OUTOFBOUNDS', (write.Vector, item, first, (1, 0, 2)))
    equal(read.Vector(item, first), (0, 1, 0.25))  # all three or none
    write.Reset(item, first)
    about = item.ChannelByIndex(first)
    equal((about.IsVector(), about.IsUser(), about.Maximum(), about.FullName()), (True, True, 1, 'l:push.X'))
    fails('NOACCESS', (item.ChannelRemove, 'pos.X'))
    item.ChannelRemove('push.X')
    fails('NOTFOUND', (item.ChannelRemove, 'push.X'), (about.Name,), (push.SetDefault, 1, 1))


QUARTER = math.pi / 2
TURNS = [
    ('xyz', (0, 0, 0), (16, 0, 0)),
    ('xyz', (0, 0, QUARTER), (10, 6, 0)),
    ('xyz', (0, QUARTER, 0), (10, 0, -6)),
    ('xyz', (QUARTER, 0, 0), (16, 0, 0)),
    ('zxy', (QUARTER, 0, QUARTER), (10, 0, 6)),
    ('xzy', (QUARTER, 0, QUARTER), (10, 6, 0)),
    ('zyx', (0, QUARTER, QUARTER), (10, 6, 0)),
    ('yzx', (0, QUARTER, QUARTER), (10, 0, -6)),
]


def check_locators_are_where_their_parents_put_them():
    scene, arm, tool, folder = new(('locator', 'arm', None), ('mesh', 'tool', 0), ('folder', 'f', None))
    SCENES.SetLocatorPosition(tool, (2, 0, 0), 0, None)
    SCENES.SetLocatorPosition(arm, (10, 0, 0), 0, None)
    SCENES.SetLocatorScale(arm, (3, 3, 3), 0, None)
    write, read = scene.WriteChannels(s_ACTIONLAYER_EDIT, 0), scene.Channels(None, 0)
    for order, angles, world in TURNS:
        write.EncodedInteger(arm, arm.ChannelLookup('order'), order)
        SCENES.SetLocatorRotation(arm, angles, 0, None)
        near(read.Matrix(tool, tool.ChannelLookup('worldMatrix'))[3][:3], world)
    fails('INVALIDARG', (SCENES.SetLocatorPosition, folder, (1, 2, 3), 0, None))
    meshes = kz.service.Mesh()
    equal(meshes.EditItem(tool, None).test(), True)
    fails('INVALIDARG', (meshes.EditItem, arm, None))
