"""What works on several items: selections, layers, groups and collections, and who hears of changes."""
import os
import shutil
import tempfile

import kz
import kzifc
import kz.object as k
from checks import equal, fails, near, result_of, storage
from kz.symbol import (f_GROUPENUM_ITEMS, f_LAYER_ACTIVE, f_LAYER_BACKGROUND, f_LAYER_LOCKED, f_LAYER_MAIN,
                       f_LAYER_VISIBLE, f_LAYERSCAN_WRITE, f_SCENEMERGE_SELECT, fITEMCOPY_CHILDREN, fITEMCOPY_INSTANCE,
                       fITEMCOPY_LINKS, fMARK_SELECT, fSELTYP_SCENE,
                       fSELTYP_SUBTYPES, fSELTYP_UNDO, i_SELTYP_CHANNEL,
                       i_SELTYP_EDGE, i_SELTYP_GROUP, i_SELTYP_ITEM, i_SELTYP_LINK, i_SELTYP_POINT, i_SELTYP_POLYGON,
                       i_SELTYP_SCENE, iITYPE_ANY, iSELMODE_ADD, iSELMODE_REMOVE, iSELMODE_SET, iSELMODE_TOGGLE,
                       sGRAPH_CHANLINKS, sGRAPH_GROUPS, u_SELPACKET_ITEM, u_SELTYP_ITEM)
from scene import SCENES, TYPE, names, new

SEL, UNDO, LAYER = kz.service.Selection(), kz.service.Undo(), kz.service.Layer()
ITEM = i_SELTYP_ITEM


def packets(kind, wrapper):
    return wrapper(kz.service.Packet().Lookup(kind))


def selected(kind=ITEM):
    return [SEL.ByIndex(kind, index) for index in range(SEL.Count(kind))]


def check_items_are_selected_in_order_and_undone():
    scene, a, b, c = new(('locator', 'a', None), ('mesh', 'b', 0), ('group', 'c', None))
    of = packets('item', k.ItemPacketTranslation)
    pa, pb, pc = map(of.Packet, (a, b, c))
    equal((pa, SEL.TypeLookup('item'), SEL.TypeLookup(u_SELTYP_ITEM), SEL.TypeName(ITEM)),
          (of.Packet(a), ITEM, ITEM, 'item'))
    SEL.Clear(ITEM)
    for mode, packet, after in ((iSELMODE_ADD, pb, [pb]), (iSELMODE_ADD, pa, [pb, pa]),
                                (iSELMODE_TOGGLE, pc, [pb, pa, pc]), (iSELMODE_REMOVE, pa, [pb, pc]),
                                (iSELMODE_TOGGLE, pb, [pc]), (iSELMODE_SET, pa, [pa])):
        SEL.Select(ITEM, packet, mode)
        equal((mode, selected()), (mode, after))
    for after in ([pc], [pb, pc], [pb, pa, pc]):
        UNDO.Undo(1)
        equal(selected(), after)
    equal((SEL.First(ITEM), SEL.Test(ITEM, pa), SEL.Test(ITEM, 5), of.Type(pb)), (pc, True, False, TYPE('mesh')))
    scene.ItemRemove(a)  # and b with it
    equal((selected(), result_of(of.Item, pb), of.Type(pb)), ([pc], 'NOTFOUND', 0))
    UNDO.Undo(1)
    equal(selected(), [pb, pa, pc])
    state = SEL.State('item scene')
    SEL.Replace(ITEM, 2, 16, storage('p', pc, pb))
    equal((selected(), [item.UniqueName() for item in (SEL.Items(TYPE('group')).ByIndex(0),)]), ([pc, pb], ['c']))
    state.Restore()
    equal((selected(), state.Count(ITEM), state.Test(ITEM, pa)), ([pb, pa, pc], 3, True))
    fails('INVALIDARG', (SEL.Select, ITEM, 5, 0), (SEL.Select, ITEM, pa, 4), (SEL.Select, i_SELTYP_CHANNEL, pa, 0),
          (SEL.Select, i_SELTYP_GROUP, pa, 0), (SEL.Replace, ITEM, 2, 8, storage('p', pa)), (of.Item, 5),
          (SEL.SetTime, float('nan')))
    fails('NOTFOUND', (SEL.TypeLookup, 'nothing'), (SEL.TypeName, 77), (SEL.State, 'nothing'))
    fails('OUTOFBOUNDS', (SEL.ByIndex, ITEM, 3), (state.ByIndex, ITEM, 3))
    fails('NOTREADY', (SEL.EndBatch,))
    SCENES.Close(scene)
    equal((selected(), result_of(SEL.Recent, ITEM)), ([], 'NOTFOUND'))


def check_channels_links_and_scenes_have_packets():
    scene, a, b = new(('locator', 'a', None), ('locator', 'b', None))
    channels, links = packets('channel', k.ChannelPacketTranslation), packets('link', k.LinkPacketTranslation)
    x = a.ChannelLookup('pos.X')
    a.ChannelAdd('own', 'float')
    graph = k.ChannelGraph(scene.GraphLookup(sGRAPH_CHANLINKS))
    graph.AddLink(a, x, b, x)
    picked = channels.Packet(a, a.ChannelLookup('own')), links.Packet(sGRAPH_CHANLINKS, a, b, 0)
    for kind, packet in zip((i_SELTYP_CHANNEL, i_SELTYP_LINK), picked):
        SEL.Select(kind, packet, iSELMODE_SET)
    equal((links.Graph(picked[1]), links.Channels(picked[1]), links.Ends(picked[1])[2]), (sGRAPH_CHANLINKS, (x, x), 0))
    a.ChannelRemove('own')
    graph.DeleteLink(a, x, b, x)
    equal((selected(i_SELTYP_CHANNEL), selected(i_SELTYP_LINK), channels.Index(picked[0])), ([], [], -1))
    UNDO.Undo(2)
    equal([selected(i_SELTYP_CHANNEL), selected(i_SELTYP_LINK)], [[packet] for packet in picked])
    fails('NOTFOUND', (links.Packet, sGRAPH_GROUPS, a, b, 0))
    of = packets('scene', k.ScenePacketTranslation)
    packet = of.Packet(scene)
    SEL.Select(i_SELTYP_SCENE, packet, iSELMODE_SET)
    equal((of.Scene(packet).Name(), of.IsValid(packet)), ('test', True))
    SCENES.Close(scene)
    equal((of.IsValid(packet), selected(i_SELTYP_SCENE)), (False, []))
    fails('NOTAVAILABLE', (of.Scene, packet))
    equal(kz.service.Packet().PacketByInterface(u_SELPACKET_ITEM), 'item')


def square(item):
    mesh = kz.service.Mesh().EditItem(item, None)
    points = [mesh.AddPoint(place) for place in ((0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0))]
    return mesh, points, mesh.AddPolygon(kz.symbol.i_POLYTYPE_FACE, 4, storage('p', *points))


def check_elements_of_meshes_are_marked():
    scene, item = new(('mesh', 'm', None))
    mesh, points, face = square(item)
    equal(mesh.Item().Ident(), item.Ident())
    vertex, polygon = packets('point', k.VertexPacketTranslation), packets('polygon', k.PolygonPacketTranslation)
    edge = packets('edge', k.EdgePacketTranslation)
    picked = (vertex.Packet(points[2], 0, item, mesh), edge.Packet(points[1], points[0], 0, None, mesh),
              polygon.Packet(face, item, None))
    kinds = i_SELTYP_POINT, i_SELTYP_EDGE, i_SELTYP_POLYGON
    for kind, packet in zip(kinds, picked):
        SEL.Select(kind, packet, iSELMODE_SET)
        equal(mesh.AnyMarked(kinds.index(kind), fMARK_SELECT), True)
    near(vertex.Position(picked[0]), (1, 1, 0))
    equal((edge.Edge(picked[1]) != 0, polygon.Polygon(picked[2])), (True, face))
    mesh.Clear()
    item.SetName('cleared')  # what was edited before is recorded with it
    equal([SEL.Count(kind) for kind in kinds], [0, 0, 0])
    UNDO.Undo(2)
    equal([selected(kind) for kind in kinds], [[packet] for packet in picked])
    equal([mesh.AnyMarked(kind, fMARK_SELECT) for kind in (0, 2)], [True, True])
    fails('NOTFOUND', (vertex.Packet, 5, 0, item, mesh), (polygon.Packet, points[0], item, None))
    fails('INVALIDARG', (vertex.Packet, points[0], 0, None, kz.service.Mesh().Create()))


class Right(kzifc.SelectionOperation):
    """Keeps points and edges on the right of the middle."""
    told = []

    def selop_SetMesh(self, mesh): self.mesh = k.Mesh(mesh)
    def selop_SetTransform(self, transform): self.told.append(k.Matrix(transform).Offset()[0])
    def selop_TestPoint(self, point): return self.isRight(point)
    def selop_TestEdge(self, first, second): return self.isRight(first) and self.isRight(second)
    def selop_Finish(self, aborted): self.told.append(aborted)

    def isRight(self, point):
        accessor = self.mesh.Points()
        accessor.MoveTo(point)
        return accessor.Position()[0] > 0.5


def run(*rows):
    """Each is a command, and a query with its answers then."""
    for command, query, answers in rows:
        if command:
            kz.eval(command)
        equal((command, list(kz.evalN(query))), (command, list(answers)))


def check_commands_select():
    kz.bless(Right, 'right', {kz.symbol.s_SELTAG_TYPE: 'edge'})
    scene, a, b, c = new(('mesh', 'a', None), ('mesh', 'b', 0), ('locator', 'c', 1))
    square(a)
    SCENES.SetLocatorPosition(a, (3, 0, 0), 0, None)
    kz.eval('select.clear')
    items, element = 'select.item item:?', 'select.element type:%s element:?'
    points, edges = element % 'point', element % 'edge'
    run(('select.item a', items, ['a']), ('select.item c mode:add', items, ['a', 'c']),
        ('select.item a mode:toggle', items, ['c']), ('select.invert item', items, ['a', 'b']),
        ('select.drop item', items, ['a']), ('select.more item', items, ['a', 'b']), ('select.back item', items, ['a']),
        ('select.forward item', items, ['a', 'b']), ('select.all item', items, ['a', 'b', 'c']),
        ('undo', items, ['a', 'b']), ('select.item a', items, ['a']),
        ('select.element point element:{0 2}', points, ['a 0', 'a 2']),
        ('select.more', points, ['a 0', 'a 2', 'a 1', 'a 3']),
        ('select.element edge a 0-1', edges, ['a 0-1']), ('select.more edge', edges, ['a 0-1', 'a 0-3', 'a 1-2']),
        ('select.operate right', edges, ['a 1-2']), ('select.operate right type:point', points, ['a 2', 'a 1']),
        ('select.type polygon', 'select.count count:?', [0]), ('select.all', 'select.count count:?', [1]),
        ('select.channel c pos.X', 'select.channel c channel:?', ['c:pos.X']),
        ('select.clear point', points, []), ('', items, ['a']), ('select.clear', items, []))
    equal((Right.told, kz.evalN('select.type type:?')[0]), ([3.0, 0, 3.0, 0], 'channel'))
    for command, reason in (('select.item nothing', 'argument "item": there is no item "nothing"'),
                            ('select.element point a 9', '"a" has no point 9'),
                            ('select.element point a x', 'a position'),
                            ('select.element edge a 0-2', '"a" has no edge 0-2'),
                            ('select.element item a 0', 'point, edge or'),
                            ('select.all channel', 'items, points, edges and polygons'),
                            ('select.drop item', 'nothing of that'), ('select.forward item', 'there is no later'),
                            ('select.operate none', 'selection operation "none"'),
                            ('layer.lock', 'no layer is active'), ('layer.main c', 'is no mesh')):
        equal((command, reason in refusal(command)), (command, True))


def refusal(command):
    try:
        kz.eval(command)
    except RuntimeError as error:
        return error.reason
    return ''


def check_commands_switch_layers():
    new(('mesh', 'a', None), ('locator', 'b', None), ('mesh', 'c', 1))
    kz.eval('select.clear')
    states = 'layer.list state:?'
    run(('layer.select a', states, ['a: main active visible', 'c: background visible']),
        ('layer.select c mode:add', 'layer.select layer:?', ['a', 'c']), ('layer.main a', 'layer.main layer:?', ['a']),
        ('layer.lock c', 'layer.lock c state:?', [1]), ('layer.lock c off', 'layer.lock c state:?', [0]),
        ('layer.visible state:off', 'layer.visible a state:?', [0]), ('undo', 'layer.visible a state:?', [1]),
        ('layer.background a', states, ['a: background visible', 'c: main active visible']),
        ('layer.new fresh', 'layer.main layer:?', ['fresh']), ('layer.delete', 'layer.list layer:?', ['a', 'c']))


class Word(kzifc.SelectionType):
    """Elements are texts of eight bytes, equal when their first letters are."""
    def seltyp_Size(self): return 8
    def seltyp_Flags(self): return fSELTYP_UNDO | fSELTYP_SCENE | fSELTYP_SUBTYPES
    def seltyp_Compare(self, first, second): return cmp(self.letter(first), self.letter(second))
    def seltyp_SubType(self, packet): return ord(self.letter(packet))

    @staticmethod
    def letter(packet):
        import ctypes
        return ctypes.string_at(packet, 1)


def check_types_of_selections_are_served():
    kz.bless(Word, 'word')
    word = SEL.TypeLookup('word')
    SEL.Replace(word, 3, 24, storage('b', *map(ord, 'banana  apple   berry   ')))
    equal([Word.letter(packet) for packet in selected(word)], ['b', 'a'])
    SEL.Select(word, SEL.ByIndex(word, 0), iSELMODE_REMOVE)
    equal((SEL.Count(word), SEL.CurrentType('item word')), (1, word))
    SCENES.Create('other')
    equal(SEL.Count(word), 0)


class Ear(kzifc.SceneItemListener, kzifc.SelectionListener):
    def __init__(self):
        self.heard = []

    def then(self, event):
        pass


def hearing(event):
    def hear(self, *values):
        self.heard.append(event)
        self.then(event)
    return hear


for operation in dir(kzifc.SceneItemListener) + dir(kzifc.SelectionListener):
    if operation.startswith(('sil_', 'selevent_')):
        setattr(Ear, operation, hearing(operation.split('_')[1]))


def listening(ear):
    listener = k.Unknown(ear)
    kz.service.Listener().AddListener(listener)
    return listener


def check_listeners_hear_of_changes_in_order():
    SEL.Clear(ITEM)
    SEL.SetCurrentType(i_SELTYP_SCENE)
    ear, faulty, late = Ear(), Ear(), Ear()
    faulty.then = lambda event: 1 / 0
    heard = [listening(each) for each in (faulty, ear, late)]
    ear.then = lambda event: event == 'ItemTag' and kz.service.Listener().RemoveListener(heard[2])
    scene, a, b = new(('locator', 'a', None), ('group', None, None))
    expected = ['SceneCreated', 'SceneCurrent', 'ItemAdded', 'SceneModified', 'ItemRenamed', 'ItemMoved', 'ItemAdded',
                'ItemRenamed', 'ItemMoved']
    equal(ear.heard, expected)
    c, d, e = [scene.ItemAdd(TYPE('locator')) for _ in range(3)]
    graph, path = k.ItemGraph(scene.GraphLookup('schematic')), os.path.join(tempfile.mkdtemp(), 'a.kzscene')
    for change, events in (
            ((b.SetParent, a, -1), ['ItemParented']), ((a.SetTag, 1, 'x'), ['ItemTag']),
            ((a.ChannelAdd, 'own', 'float'), ['ChannelAdded']), ((k.GroupItem(b).AddChannel, a, 0), ['GroupMembers']),
            ((SEL.SelectItem, b, iSELMODE_SET), ['Added', 'Current']), ((SEL.SetTime, 2.5), ['Time']),
            ((scene.ItemRemove, a),
             ['ItemRemoving', 'ItemRemoving', 'Removed', 'GroupMembers', 'ItemRemoved', 'ItemRemoved']),
            ((scene.SetFilename, '/x/y'), ['SceneFilename']), ((graph.AddLink, c, d), ['LinkAdded']),
            ((graph.AddLink, c, e), ['LinkAdded']), ((graph.SetLink, c, 0, e, 0), ['LinkMoved']),
            ((SCENES.Save, scene, path, None), ['SceneFilename', 'SceneModified', 'SceneSaved']),
            ((SCENES.Close, scene), ['SceneClosing', 'SceneClosed', 'SceneCurrent'])):
        SEL.SetCurrentType(i_SELTYP_SCENE)
        del ear.heard[:]
        change[0](*change[1:])
        equal((change[0], ear.heard), (change[0], events))
    shutil.rmtree(os.path.dirname(path))
    equal((late.heard[:len(expected)], late.heard[-1], faulty.heard[:len(expected)]),
          (expected, 'ItemParented', expected))
    scene, a = new(('locator', 'a', None))
    many = SCENES.CreateCollection()
    many.AddByType(new(*[('locator', 'a', None)] * 50)[0], TYPE('locator'))
    del ear.heard[:]
    many.Duplicate(scene, 0)
    equal((ear.heard[0], ear.heard[-1], ear.heard.count('ItemAdded'), ear.heard.count('BatchBegin')),
          ('BatchBegin', 'BatchEnd', 50, 1))
    SEL.BeginBatch()
    del ear.heard[:]
    SEL.SelectItem(a, iSELMODE_SET)
    during, _ = list(ear.heard), SEL.EndBatch()
    equal((during, ear.heard), ([], ['Added', 'Current']))
    for listener in heard[:2]:
        kz.service.Listener().RemoveListener(listener)


def check_layers_are_the_meshes_of_the_current_scene():
    scene, a, b, c = new(('mesh', 'a', None), ('locator', 'b', None), ('mesh', 'c', 1))
    SEL.Clear(ITEM)
    equal(([LAYER.ByIndex(i).Name() for i in range(LAYER.Count())], LAYER.Scene().Name()), (['a', 'c'], 'test'))
    fails('NOTFOUND', (LAYER.Main,), (LAYER.LayerToWorld, b, (0, 0, 0)))
    back = f_LAYER_VISIBLE | f_LAYER_BACKGROUND
    equal((LAYER.State(a), LAYER.State(c)), (back, back))
    LAYER.SetMain(a)
    LAYER.SetState(c, f_LAYER_ACTIVE | f_LAYER_LOCKED, f_LAYER_ACTIVE | f_LAYER_LOCKED)
    active = f_LAYER_VISIBLE | f_LAYER_ACTIVE
    equal((LAYER.State(a), LAYER.State(c)), (active, active | f_LAYER_LOCKED | f_LAYER_MAIN))
    LAYER.SetMain(a)
    equal((LAYER.Main().Name(), names(SEL.Items(iITYPE_ANY).ByIndex(1))), ('a', ['a']))
    SCENES.SetLocatorPosition(b, (10, 0, 0), 0, None)
    SCENES.SetLocatorScale(b, (2, 2, 2), 0, None)
    square(c)
    near(LAYER.LayerToWorld(c, (1, 1, 0)), (12, 2, 0))
    near(LAYER.WorldToLayer(c, (12, 2, 0)), (1, 1, 0))
    near(LAYER.Center((5, 5, 5)), (11, 1, 0))
    near([value for corner in SCENES.Bounds(b, 0) for value in corner], (0, 0, 0, 1, 1, 0))
    fails('INFINITE_BOUND', (SCENES.Bounds, a, 0), (LAYER.SelectionBounds, 1))
    scan = LAYER.Scan(f_LAYER_ACTIVE | f_LAYERSCAN_WRITE)
    equal((scan.Count(), scan.Item(1).Name(), scan.State(0) & f_LAYER_MAIN), (2, 'c', f_LAYER_MAIN))
    edited, base = scan.MeshEdit(1), scan.MeshBase(1)
    edited.AddPoint((7, 7, 7))
    equal((edited.PointCount(), base.PointCount()), (5, 4))
    steps = UNDO.Count()[0]
    scan.Apply()
    equal((base.PointCount(), UNDO.Count()[0] - steps), (5, 1))
    UNDO.Undo(1)
    equal(base.PointCount(), 4)
    fails('NOTAVAILABLE', (scan.Apply,), (scan.MeshEdit, 0))
    fails('NOACCESS', (LAYER.ScanItem(a, 0).MeshEdit, 0))


class Walk(kzifc.Visitor):
    def __init__(self):
        self.steps, self.walker = [], k.GroupEnumerator(SCENES.CreateWalker('GroupEnumerator'))

    def vis_Evaluate(self):
        walker = self.walker
        self.steps.append((walker.Item().Name(), walker.Channel(), walker.Group().Name(), walker.Depth()))


def check_groups_have_items_and_channels():
    scene, g, inner, a = new(('group', 'g', None), ('assembly', 'inner', None), ('locator', 'a', None))
    group, nested = k.GroupItem(g), k.GroupItem(inner)
    equal(result_of(k.GroupItem, a), 'no interface')
    group.AddItem(inner)
    nested.AddItem(a)
    nested.AddChannel(a, 3)
    fails('ALREADYEXISTS', (group.AddItem, inner), (nested.AddChannel, a, 3))
    fails('GRAPH_CYCLIC', (nested.AddItem, g), (group.AddItem, g))
    fails('NOTFOUND', (group.RemoveItem, a), (group.RemoveChannel, a, 3))
    for flags, steps in ((0, [('inner', -1, 'g', 0), ('a', -1, 'inner', 1), ('a', 3, 'inner', 1)]),
                         (f_GROUPENUM_ITEMS, [('inner', -1, 'g', 0)])):
        walk = Walk()
        walk.walker.Start(g, flags)
        walk.walker.Enumerate(k.Unknown(walk))
        equal(walk.steps, steps)
    fails('NOTAVAILABLE', (Walk().walker.Item,))
    fails('INVALIDARG', (Walk().walker.Start, a, 0))
    scene.ItemRemove(a)
    equal((nested.ItemCount(), nested.ChannelCount()), (0, 0))
    UNDO.Undo(1)
    equal((nested.TestItem(a), nested.TestChannel(a, 3), nested.ChannelByIndex(0)[1]), (True, True, 3))
    nested.Clear()
    equal((nested.ItemCount(), nested.ChannelCount()), (0, 0))


class Odd(kzifc.SceneSubset):
    def scnsub_TestItem(self, item):
        return k.Item(item).Name() != 'b'


class Upper(kzifc.SceneSubset):
    def scnsub_TestItem(self, item):
        return True

    def scnsub_TestAction(self, clip):
        return k.ActionClip(clip).Name() != 'down'


def check_collections_copy_and_instance():
    scene, a, b, c = new(('locator', 'a', None), ('mesh', 'b', 0), ('mesh', 'c', 1))
    square(b)
    items = SCENES.CreateCollection()
    items.AddByType(scene, TYPE('mesh'))
    items.Add(c)
    other = SCENES.CreateCollection()
    other.AddChildren(a, 0)
    equal((items.Count(), other.Count(), items.CountByType(TYPE('locator')), other.Test(c)), (2, 1, 0, False))
    items.Intersect(other)
    equal(names(items.ByIndex(0)), ['b'])
    fails('NOTFOUND', (items.Remove, c))
    fails('OUTOFBOUNDS', (items.ByIndex, 1))
    write, read = scene.WriteChannels(None, 0), scene.Channels(None, 0)
    instance = items.Duplicate(scene, fITEMCOPY_INSTANCE).ByIndex(0)
    write.DoubleByName(b, 'pos.X', 3)
    equal((instance.IsInstance(), b.InstanceCount(), read.DoubleByName(instance, 'pos.X')), (True, 1, 3))
    write.DoubleByName(instance, 'pos.X', 4)
    equal((read.DoubleByName(b, 'pos.X'), kz.service.Mesh().EditItem(instance, None).PointCount()), (3, 4))
    target = SCENES.Create('target')
    items.Add(a)
    copies = items.Duplicate(target, fITEMCOPY_CHILDREN | fITEMCOPY_LINKS)
    equal(([copies.ByIndex(i).Name() for i in range(copies.Count())], copies.ByIndex(0).Parent().Name()),
          (['b', 'a', 'c', 'b'], 'a'))
    fails('INVALIDARG', (items.Duplicate, target, fITEMCOPY_INSTANCE))
    scene.ItemRemove(b)
    equal((instance.IsInstance(), read.DoubleByName(instance, 'pos.X')), (False, 4))
    UNDO.Undo(1)
    equal((instance.Source().Name(), b.InstanceCount()), ('b', 1))
    contents = scene.Contents()
    contents.AddSubset(scene, k.Unknown(Odd()))
    before = target.ItemCount(TYPE('locatorSuper'))
    contents.Merge(target, f_SCENEMERGE_SELECT)
    equal((contents.Items().Count(), target.ItemCount(TYPE('locatorSuper')) - before, SEL.Count(ITEM)), (2, 2, 2))
    equal(SCENES.ItemTypeTag(TYPE('mesh'), kz.symbol.s_ITEMTAG_PREFIX), 'Mesh')
    fails('NOTFOUND', (SCENES.ItemTypeTag, TYPE('mesh'), 'nothing'), (SCENES.CreateWalker, 'nothing'))


def check_contents_take_actions_along_and_are_stored():
    scene, a = new(('locator', 'a', None))
    poses = [scene.ActionAdd(name, kz.symbol.iACTIONCLIP_TYPE_POSE) for name in ('up', 'down')]
    for value, pose in enumerate(poses):
        pose.Write(0).DoubleByName(a, 'pos.Y', value + 1)
    scene.WriteChannels(None, 0).DoubleKey(a, a.ChannelLookup('pos.X'), 7, 0, 1)
    contents = scene.Contents()
    contents.AddSubset(scene, k.Unknown(Upper()))
    path = os.path.join(tempfile.mkdtemp(), 'part.kzscene')
    contents.Store(path, None)
    again = SCENES.Load(path, None)
    shutil.rmtree(os.path.dirname(path))
    copy = again.ItemLookup('a')
    kept = [pose.Name() for pose in (again.ActionByIndex(i) for i in range(again.ActionCount(0)))]
    equal((copy.Ident(), 'up' in kept, 'down' in kept, again.IsModified()), (a.Ident(), True, False, False))
    equal([again.Channels(action, 0).DoubleByName(copy, 'pos.' + axis) for action, axis in (('up', 'Y'), (None, 'X'))],
          [1, 7])
    fails('INVALIDARG', (contents.Store, '', None), (contents.AddAction, a))
    fails('NOTSUPPORTED', (contents.Store, '/nowhere/a.nothing', None))


def check_transforms_add_up_to_the_place_in_the_world():
    scene, parent, item = new(('locator', 'p', None), ('locator', 'i', 0))
    SCENES.SetLocatorPosition(parent, (1, 2, 3), 0, None)
    for change in (SCENES.SetLocatorPosition, SCENES.SetLocatorRotation, SCENES.SetLocatorScale):
        change(item, (2, 0.5, 3), 0, None)
    scan = k.TransformScan(SCENES.CreateWalker('TransformScan'))
    scan.Start(item, 0)
    fails('NOTFOUND', (scan.Item,))
    for _ in range(4):
        scan.Next()
    world = scene.Channels(None, 0).Matrix(item, item.ChannelLookup('worldMatrix'))
    near([value for row in scan.Accumulated(0) for value in row], [value for row in world for value in row])
    fails('OUTOFBOUNDS', (scan.Next,))


def check_ten_thousand_of_everything():
    scene, group = new(('group', 'g', None))
    of, members = packets('item', k.ItemPacketTranslation), k.GroupItem(group)
    for _ in range(10000):
        item = scene.ItemAdd(TYPE('folder'))
        SEL.Select(ITEM, of.Packet(item), iSELMODE_ADD)
        members.AddItem(item)
    equal((SEL.Count(ITEM) >= 10000, members.ItemCount()), (True, 10000))
    SEL.Clear(ITEM)
    UNDO.Undo(1)
    SEL.Select(ITEM, of.Packet(item), iSELMODE_REMOVE)
    equal(SEL.Count(ITEM) >= 9999, True)
    SCENES.Close(scene)
