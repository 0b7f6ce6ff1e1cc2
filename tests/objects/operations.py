"""Mesh operations in Python: what the command that runs them tells them, and what it calls of their states."""
import kz
import kzifc
from checks import code_of, equal, near, storage
from kz import symbol
from solids import MESHES, box


class Placed(kzifc.MeshOperation):
    told = []

    def mop_SetTransform(self, *place):
        self.told.extend(place)

    def mop_Evaluate(self, mesh, elements, mode):
        self.told.append(elements)
        kz.service.Mesh().Editor(kz.object.Mesh(mesh)).Extrude((0, 0, 1), 1, 0)


def check_operations_know_where_their_mesh_is():
    kz.bless(Placed, 'solids.placed', {symbol.sTAG_MESHOP_TRANSFORM: '1', symbol.sTAG_MESHOP_SELECTION: 'polygon edge'})
    scenes = kz.service.Scene()
    scene = scenes.Create('placed')
    item = scene.ItemAdd(scenes.ItemTypeLookup('mesh'))
    scenes.SetLocatorPosition(item, (1, 2, 3), 0.0, None)
    scenes.SetLocatorScale(item, (2, 2, 2), 0.0, None)
    scenes.SetLocatorRotation(item, (.5, 0, 0), 0.0, None)
    MESHES.EditItem(item, None).Copy(box())
    kz.eval('mesh.operate solids.placed')
    near(sum(map(tuple, Placed.told[:3]), ()), (1, 2, 3, .5, 0, 0, 2, 2, 2))
    equal(Placed.told[3], symbol.iMESHELT_POLYGON)
    equal(MESHES.EditItem(item, None).PolygonCount(), 30)


class Follower(kzifc.MeshOperation):
    """Moves the mesh by its place in the world, and adds a point when it is evaluated as a whole."""
    compared, again, called = 0, None, []

    def mop_SetTransform(self, position, rotation, scale):
        self.x = position[0]

    def mop_Evaluate(self, mesh, elements, mode):
        self.called.append(('evaluate', self.x))
        mesh = kz.object.Mesh(mesh)
        self.added = mesh.PointCount()
        mesh.AddPoint((self.x, 0, 0))

    def mop_Compare(self, other):
        self.called.append('compare')
        return self.compared

    def mop_Convert(self, other):
        self.called.append('convert')
        self.added = 8

    def mop_ReEvaluate(self, mesh, elements):
        self.called.append(('again', self.x, elements))
        mesh = kz.object.Mesh(mesh)
        if self.again:
            self.again(mesh)
        mesh.SetPositions(self.added, 1, storage('d', self.x, 0, 0))

    def mop_Blend(self, first, second, weight):
        self.called.append(('blend', weight))
        self.x = 100 + weight


class Whole(kzifc.MeshOperation):
    def mop_Evaluate(self, mesh, elements, mode):
        kz.object.Mesh(mesh).AddPoint((5, 5, 5))

    def mop_Compare(self, other):
        return symbol.iMESHOP_COMPARE_COMPATIBLE


def operated(words, compared=0, again=None, name='follower'):
    """How many points there are, where the last one is, the code of a failure, and what was called."""
    Follower.compared, Follower.again, Follower.called[:] = compared, staticmethod(again) if again else None, []
    scenes = kz.service.Scene()
    scene = scenes.Create('followed')
    item = scene.ItemAdd(scenes.ItemTypeLookup('mesh'))
    write = scene.WriteChannels(None, 0.0)
    write.Keys(item, item.ChannelLookup('pos.X'), 2, storage('d', 0.0, 2.0), storage('d', 3.0, 5.0))
    mesh = MESHES.EditItem(item, None)
    mesh.Copy(box())
    code = code_of(kz.eval, 'mesh.operate solids.%s %s' % (name, words))
    found = mesh.PointCount(), tuple(mesh.PointByIndex(mesh.PointCount() - 1).Position())[0], code
    if not code:
        kz.eval('undo')
        equal(mesh.PointCount(), 8)
    scenes.Close(scene)
    return found, list(Follower.called)


def check_states_of_operations_follow_each_other():
    kz.bless(Follower, 'solids.follower', {symbol.sTAG_MESHOP_TRANSFORM: '1', symbol.sTAG_MESHOP_SELECTION: 'polygon'})
    kz.bless(Whole, 'solids.whole')
    identical, compatible, different = range(3)
    first, last, begun = ('evaluate', 3), ('evaluate', 5), [('evaluate', 3), 'compare']
    again = lambda x: begun + ['convert', ('again', x, symbol.iMESHELT_POLYGON)]
    for words, compared, found, called in (
            ('', different, 3, [first]),
            ('time:2', different, 5, [last]),
            ('until:2', identical, 3, begun + ['convert']),
            ('until:2', compatible, 5, again(5)),
            ('until:2', different, 5, begun + [last]),
            ('time:2 until:0', different, 3, [last, 'compare', first]),
            ('until:2 weight:0.25', compatible, 100.25, [first, ('blend', .25)] + again(100.25)[1:]),
            ('until:2 weight:1', different, 101, [first, ('blend', 1), 'compare', ('evaluate', 101)])):
        equal((words, compared, operated(words, compared)), (words, compared, ((9, found, None), called)))
    equal(operated('until:2', name='whole'), ((9, 5, None), []))


def check_states_that_go_wrong_change_nothing():
    def broken(mesh):
        raise ValueError('half-way')

    nothing, kept = symbol.iMESHOP_COMPARE_IDENTICAL, symbol.iMESHOP_COMPARE_COMPATIBLE
    for code, words, compared, again, name in (
            ('INVALIDARG', 'time:nan', nothing, None, 'follower'),
            ('INVALIDARG', 'until:inf', nothing, None, 'follower'),
            ('INVALIDARG', 'weight:0.5', nothing, None, 'follower'),
            ('INVALIDARG', 'until:2 weight:1.5', nothing, None, 'follower'),
            ('INVALIDARG', 'until:2 weight:nan', nothing, None, 'follower'),
            ('NOTIMPL', 'until:2 weight:0.5', nothing, None, 'whole'),
            ('FAILED', 'until:2', 3, None, 'follower'),
            ('FAILED', 'until:2', -1, None, 'follower'),
            ('FAILED', 'until:2', kept, broken, 'follower'),
            ('FAILED', 'until:2', kept, lambda mesh: mesh.AddPoint((0, 0, 0)), 'follower'),
            ('OUTOFBOUNDS', 'until:2', kept, lambda mesh: mesh.Clear(), 'follower')):
        equal((words, compared, operated(words, compared, again, name)[0]), (words, compared, (8, 1, code)))
