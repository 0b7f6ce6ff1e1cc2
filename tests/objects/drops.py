"""Dropping things: on places of a scene, on items whose packages are destinations, and by servers of Python classes."""
import os
import shutil
import tempfile

import kz
import kzifc
from checks import equal, fails, near, reasons, storage
from kz import symbol

SCENES, UNDO, DROPS = kz.service.Scene(), kz.service.Undo(), kz.service.Drop()
VALUES = kz.service.Value()
TOLD, PLACE = [], {}


def says(text):
    equal((text, any(text in line for line in reasons())), (text, True))


def new(*kinds):
    scene = SCENES.Create('drops')
    items = [scene.ItemAdd(SCENES.ItemTypeLookup(kind)) for kind in kinds]
    for index, item in enumerate(items):
        item.SetName('abcdef'[index])
    return [scene] + items


def names(items):
    return [item.UniqueName() for item in items]


def children(item):
    return names(item.SubByIndex(index) for index in range(item.SubCount()))


class Lent(object):
    """What a method returns lives as long as Python: this lets go of the host's object when the test ends."""
    lent = []

    def __init__(self, target):
        self.target = target
        Lent.lent.append(self)

    def __peekobj__(self):
        return self.target.__peekobj__()

    @staticmethod
    def end():
        for each in Lent.lent:
            each.target = None
        PLACE.clear()


def check_items_are_dropped_on_items():
    scene, a, b, c = new('locator', 'locator', 'locator')
    equal(kz.evalN('item.drop items source:a item:b action:?'), ('move', 'copy', 'link'))
    kz.eval('item.drop items a item:b')
    kz.eval('item.drop items c item:b destination:dest.shader position:0')
    equal(children(b), ['c', 'a'])
    UNDO.Undo(2)
    equal(children(b), [])
    kz.eval('item.drop items a item:b action:copy')
    kz.eval('item.drop items a item:b action:link')
    equal(([child.IsInstance() for child in map(b.SubByIndex, range(2))], a.InstanceCount()), ([False, True], 1))
    kz.service.Selection().SelectItem(c, symbol.iSELMODE_SET)
    kz.eval('item.drop items item:a')
    equal(children(a), ['c'])
    kz.eval('item.drop items c')
    equal(children(a), [])
    fails('GRAPH_CYCLIC', (kz.eval, 'item.drop items b item:{a (2)}'))
    for text, code in (('items q item:a', 'NOTFOUND'), ('things a item:b', 'INVALIDARG'), ('color red item:a', 'INVALIDARG'),
                       ('items a item:b action:juggle', 'INVALIDARG'), ('items a item:b action:apply', 'NOTSUPPORTED'),
                       ('items a item:b destination:dest.mesh', 'INVALIDARG'),
                       ('items a item:b destination:dest.profile1D', 'NOTSUPPORTED'),
                       ('items a channel:pos.X', 'INVALIDARG')):
        fails(code, (kz.eval, 'item.drop ' + text))
    says('nobody takes items at dest.locator by the action apply; there are move, copy, link')


def check_groups_channels_and_meshes_take_things():
    scene, group, mesh, material, operation, a = new('group', 'mesh', 'material', 'meshOperation', 'locator')
    kz.eval('item.drop items b item:a destination:dest.group')
    kz.eval('item.drop channels e sourceChannel:pos.Y item:a destination:dest.groupChannel')
    members = kz.object.GroupItem(group)
    equal((members.ItemByIndex(0).Name(), members.ChannelByIndex(0)[0].Name()), ('b', 'e'))
    write, read = scene.WriteChannels(None, 0.0), scene.Channels(None, 0.0)
    write.DoubleByName(a, 'pos.X', 3.0)
    kz.eval('item.drop channels e sourceChannel:pos.X item:b channel:pos.Y action:copy')
    kz.eval('item.drop channels e sourceChannel:pos.X item:b channel:pos.Z')
    write.DoubleByName(a, 'pos.X', 4.0)
    near([read.DoubleByName(mesh, name) for name in ('pos.Y', 'pos.Z')], [3, 4])
    data = kz.service.Mesh().EditItem(mesh, None)
    points = storage('p', *[data.AddPoint(corner) for corner in ((0, 0, 0), (2, 0, 0), (2, 2, 0), (0, 2, 0))])
    data.AddPolygon(symbol.i_POLYTYPE_FACE, 4, points)
    kz.eval('item.drop items c item:b destination:dest.mesh')
    equal(data.PolygonByIndex(0).Tag(symbol.i_PTAG_SURFACE), 'c')
    kz.eval('item.drop items e item:b destination:dest.mesh position:0')
    near([read.DoubleByName(a, name) for name in ('pos.X', 'pos.Y', 'pos.Z')], [1, 4, 4])
    kz.eval('item.drop items d item:b destination:dest.meshOperation')
    graph = kz.object.ItemGraph(scene.GraphLookup(symbol.sGRAPH_MESHOPS))
    equal(graph.FwdByIndex(mesh, 0).Name(), 'd')
    kz.eval('item.drop text lamp item:e destination:dest.itemType')
    equal(scene.ItemLookup('lamp').TypeName(), 'locator')
    kz.eval('item.drop text moon item:e')
    equal(a.Name(), 'moon')


def check_colors_files_and_presets():
    folder = tempfile.mkdtemp()
    try:
        scene, a, b = new('material', 'locator')
        name = next(a.ChannelName(index) for index in range(a.ChannelCount()) if a.ChannelName(index).endswith('.R'))
        color = lambda: scene.Channels(None, 0.0).Color(a, a.ChannelLookup(name))
        kz.eval('item.drop color {0.5 0.25 0} item:a channel:%s' % name)
        near(color(), (.5, .25, 0))
        kz.eval('item.drop color {1 1 1} item:a channel:%s action:1001' % name)
        near(color(), (.5, .5, .5))
        kz.eval('item.drop color {1 0 0} item:a channel:%s action:1000' % name)
        equal(scene.Channels(None, 0.0).IsAnimated(a, a.ChannelLookup(name)), True)
        path, preset = os.path.join(folder, 'more.kzscene'), os.path.join(folder, 'preset')
        SCENES.Save(scene, path, None)
        kz.eval('item.drop files {%s} item:b' % path)
        equal(children(b), ['a (2)', 'b (2)'])
        scene.WriteChannels(None, 0.0).DoubleByName(b, 'pos.X', 7.0)
        kz.eval('preset.save {%s} b' % preset)
        kz.eval('item.drop preset {%s} item:{b (2)}' % preset)
        equal(scene.Channels(None, 0.0).DoubleByName(scene.ItemLookup('b (2)'), 'pos.X'), 7.0)
    finally:
        shutil.rmtree(folder)


class Place(kzifc.PackageInstance, kzifc.ColorPreDest, kzifc.SceneItemPreDest):
    """An item that says itself what may be dropped on it, and where that goes."""
    tint = (0, 0, 0)

    def pins_Initialize(self, item, source):
        self.item = kz.object.Item(item)
        PLACE['last'] = self

    def pins_Cleanup(self):
        self.item = None

    def colpd_Color(self):
        return self.tint

    def colpd_TestColor(self, rgb):
        if rgb[0] > .5:
            kz.throw(symbol.e_NOTSUPPORTED)

    def colpd_SetColor(self, rgb, flags):
        self.tint = tuple(rgb)

    def sipd_Scene(self):
        return Lent(self.item.Scene())

    def sipd_Item(self):
        return Lent(self.item)

    def sipd_Parent(self):
        return Lent(self.item.SubByIndex(0))

    def sipd_Position(self):
        return 0

    def sipd_Location(self):
        return (1, 2, 3)


class Places(kzifc.Package):
    def pkg_Attach(self):
        return Place()


class Instance(kzifc.PackageInstance):
    def pins_Initialize(self, item, source):
        self.item = kz.object.Item(item)
        PLACE['last'] = self

    def pins_Cleanup(self):
        self.item = self.layer = None


class Layers(Instance, kzifc.ShaderPreDest):
    def spd_Item(self):
        return Lent(self.item)

    def spd_Effect(self):
        return PLACE.get('effect')

    def spd_TestPreset(self, path, message):
        if 'bad' in path:
            kz.throw(symbol.e_NOTSUPPORTED)

    def spd_SetAction(self, action):
        TOLD.append(action)

    def spd_Applied(self, root):
        TOLD.append(kz.object.Item(root).Name())


class MeshLayer(Instance, kzifc.MeshLayerPreDest):
    mode = symbol.iMESHLAYERPRE_REPLACE

    def mlpd_Item(self):
        return Lent(self.layer)

    def mlpd_Position(self):
        return (0, 0, 5), (0, 0, 1)

    def mlpd_Mode(self):
        return self.mode


class Heights(Instance, kzifc.Profile1DPreDest):
    def p1pd_Flags(self):
        return symbol.fPROFILE_SLOPES

    def p1pd_KeyCount(self):
        return len(self.keys)

    def p1pd_KeyByIndex(self, index):
        return self.keys[index]

    def p1pd_ClearKeys(self):
        self.keys = []

    def p1pd_AddKey(self, position, value):
        self.keys.append((position, value))
        return len(self.keys) - 1

    def p1pd_SetKeySlopes(self, index, before, after):
        TOLD.append((before, after))

    def p1pd_SetRange(self, start, end):
        TOLD.append((start, end))

    def p1pd_Done(self):
        TOLD.append('done')


class Outline(Instance, kzifc.Profile2DPreDest):
    def p2pd_Flags(self):
        return symbol.fPROFILE_CLOSED

    def p2pd_PointCount(self):
        return len(self.points)

    def p2pd_PointByIndex(self, index):
        return self.points[index]

    def p2pd_ClearPoints(self):
        self.points = []

    def p2pd_AddPoint(self, x, y):
        self.points.append((x, y))
        return len(self.points) - 1

    def p2pd_SetClosed(self, closed):
        TOLD.append(closed)

    def p2pd_Done(self):
        TOLD.append('done')


class LayerPackage(kzifc.Package):
    def pkg_Attach(self):
        return PLACE['class']()


class Taker(kzifc.Drop):
    def drop_Recognize(self, source):
        TOLD.append('Recognize')
        return PLACE.get('recognizes', True)

    def drop_ActionList(self, source, destination, actions):
        actions = kz.object.AddDropAction(actions)
        actions.AddAction(1005, 'Juggle')
        actions.AddAction(symbol.i_DROPACTION_COPY, 'Copy')
        actions.SetDefault(symbol.i_DROPACTION_COPY, 0)
        fails('ALREADYEXISTS', (actions.AddAction, 1005, 'Juggle'))
        fails('NOTFOUND', (actions.SetIcon, 7, 'icon'))
        TOLD.append(actions.Count())

    def drop_Drop(self, source, destination, action):
        item = kz.object.Item(kz.object.LocatorDest(destination).Item())
        TOLD.append((item.Name(), action))
        item.SetName('taken')
        if PLACE.get('raises'):
            raise ValueError('planted')


kz.bless(Places, 'drops.place', {symbol.s_PKGTAG_SUPERTYPE: 'locator'})
kz.bless(LayerPackage, 'drops.layers', {symbol.s_PKGTAG_SUPERTYPE: 'locator'})
kz.bless(Taker, 'drops.taker', {symbol.sTAG_DROP_SOURCE: 'script text', symbol.sTAG_DROP_PRIORITY: '5',
                                symbol.sTAG_DROP_DESTINATION: 'dest.locator'})


def check_packages_are_destinations():
    scene, a, b = new('drops.place', 'locator')
    place = PLACE['last']
    kz.eval('item.drop color {0.25 0.5 1} item:a')
    near(place.tint, (.25, .5, 1))
    fails('NOTSUPPORTED', (kz.eval, 'item.drop color {1 0 0} item:a'))
    b.SetParent(a, -1)
    loose = scene.ItemAdd(b.Type())
    loose.SetName('c')
    kz.eval('item.drop items c item:a destination:dest.item')
    equal(children(b), ['c'])
    near([scene.Channels(None, 0.0).DoubleByName(loose, name) for name in ('pos.X', 'pos.Z')], [1, 3])
    Lent.end()


def check_layers_take_files_and_presets():
    folder = tempfile.mkdtemp()
    told = lambda: [TOLD.pop(0) for _ in list(TOLD)]
    try:
        scene, a, b = new('mesh', 'locator')
        data = kz.service.Mesh().EditItem(a, None)
        ids = storage('p', *[data.AddPoint(corner) for corner in ((0, 0, 0), (1, 0, 0), (0, 1, 0))])
        data.AddPolygon(symbol.i_POLYTYPE_FACE, 3, ids)
        path, wrong, preset = [os.path.join(folder, name) for name in ('tri.kzscene', 'bad.kzscene', 'preset')]
        for each in path, wrong:
            SCENES.Save(scene, each, None)
        PLACE['class'] = MeshLayer
        scene, a, b = new('drops.layers', 'mesh')
        place = PLACE['last']
        drop = lambda text: kz.eval('item.drop files {%s} item:a destination:%s' % (path, text))
        count = lambda: (scene.ItemCount(b.Type()), kz.service.Mesh().EditItem(b, None).PointCount())
        place.layer = b
        for place.mode, expected in ((symbol.iMESHLAYERPRE_REPLACE, (1, 3)), (symbol.iMESHLAYERPRE_ADD, (1, 6)),
                                     (symbol.iMESHLAYERPRE_NEWLAYER, (2, 6)), (symbol.iMESHLAYERPRE_INSTANCE, (4, 6))):
            drop('dest.meshLayer')
            equal((place.mode, count()), (place.mode, expected))
        near(kz.service.Mesh().EditItem(b, None).BoundingBox(0)[0], (0, 0, 5))
        equal(kz.object.Item(b.SubByIndex(0)).IsInstance(), True)
        UNDO.Undo(3)
        equal(count(), (1, 3))
        PLACE['class'] = Layers
        scene, a = new('drops.layers')
        told()
        drop('dest.layers')
        equal((told(), children(a)), ([symbol.iSHADERPRE_APPEND, 'a'], ['a (2)', 'b']))
        drop('dest.layers action:replace')
        equal((told(), len(children(a))), ([symbol.iSHADERPRE_REPLACE, 'a'], 2))
        drop('dest.layers action:1000')
        equal((told()[0], len(children(a))), (symbol.iSHADERPRE_PREPEND, 4))
        fails('NOTSUPPORTED', (kz.eval, 'item.drop files {%s} item:a destination:dest.layers' % wrong))
        browser = kz.service.PresetBrowser()
        for kind, kept, full, wanted in (
                (Heights, 'keys', [(0.0, 0.0), (1.0, 2.0)], [(0, 2), (2, 0), (0, 1), 'done']),
                (Outline, 'points', [(0.0, 0.0), (1.0, 0.0), (0.0, 1.0)], [1, 'done'])):
            PLACE['class'] = kind
            scene, a = new('drops.layers')
            place = PLACE['last']
            setattr(place, kept, full)
            browser.Save(preset, symbol.sPRESETTYPE_PROFILE, place, None)
            setattr(place, kept, [])
            told()
            kz.eval('item.drop preset {%s} item:a' % preset)
            equal((getattr(place, kept), told()), (full, wanted))
        tint = Place()
        tint.tint = (.25, .5, .75)
        browser.Save(preset, symbol.sPRESETTYPE_COLOR, tint, None)
        tint.tint = (0, 0, 0)
        browser.Apply(preset, tint, 0)
        near(tint.tint, (.25, .5, .75))
        fails('NOTSUPPORTED', (browser.Apply, preset, place, 0), (browser.Save, preset, symbol.sPRESETTYPE_PROFILE, a, None))
    finally:
        shutil.rmtree(folder)
        Lent.end()


def check_servers_take_drops():
    scene, a = new('locator')
    del TOLD[:]
    equal(kz.evalN('item.drop script some.py item:a destination:dest.locator action:?'), ('1005', 'copy'))
    kz.eval('item.drop script some.py item:a destination:dest.locator')
    equal((TOLD, a.Name()), (['Recognize', 2] * 2 + [('a', symbol.i_DROPACTION_COPY)], 'taken'))
    UNDO.Undo(1)
    equal(a.Name(), 'a')
    PLACE['raises'] = True
    fails('FAILED', (kz.eval, 'item.drop script some.py item:a destination:dest.locator action:1005'))
    says('Drop of the drop server "drops.taker" ended with FAILED')
    PLACE.clear()
    text = VALUES.CreateValue('string')
    place = Place()
    place.item = a
    fails('NOTREADY', (DROPS.Cancel,), (DROPS.Finish, place, 0), (DROPS.Source,), (DROPS.Over, place, 0, 0))
    DROPS.Begin('text', text, symbol.f_DROP_COPY)
    fails('NOTAVAILABLE', (DROPS.Begin, 'text', text, 0), (DROPS.ImageSet, None, 0, 0))
    equal((DROPS.IsActive(), DROPS.Source()[0], DROPS.Over(place, 0, 0)), (True, 'text', (True, symbol.i_DROPACTION_APPLY)))
    text.SetString('named')
    DROPS.Finish(place, symbol.i_DROPACTION_DEFAULT)
    equal((a.Name(), DROPS.IsActive()), ('named', False))
    line = 'file:///tmp/a%20b\r\n'
    DROPS.BeginNative('text/uri-list', len(line), storage('b', *map(ord, line)), 0)
    equal(kz.object.ValueArray(DROPS.Source()[1]).GetString(0), '/tmp/a b')
    DROPS.Cancel()
    fails('NOTSUPPORTED', (DROPS.BeginNative, 'image/png', 0, None, 0))
    items = SCENES.CreateCollection()
    items.Add(scene.ItemAdd(a.Type()))
    server = DROPS.ServerFor(items, place, symbol.u_DROPDEST_TREE)
    server.Drop(items, place, symbol.i_DROPACTION_MOVE)
    fails('NOTFOUND', (DROPS.ServerFor, items, place, symbol.u_DROPDEST_VIEW3D))
    fails('INVALIDARG', (DROPS.ServerFor, items, items, symbol.u_DROPDEST_TREE))
    place.item = None
    Lent.end()
