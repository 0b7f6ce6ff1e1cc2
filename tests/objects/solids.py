"""What edits, cuts and joins meshes. Volumes, areas and the number of holes say whether a result is right."""
import itertools
import math
import os
import tempfile

import kz
import kzifc
from checks import equal, fails, near, storage
from kz import symbol

MESHES = kz.service.Mesh()
UNIT = ((0, 0, 0), (1, 1, 1))
FOLDER = tempfile.mkdtemp()
FACES = ((0, 1, 3, 2), (4, 6, 7, 5), (0, 4, 5, 1), (2, 3, 7, 6), (0, 2, 6, 4), (1, 5, 7, 3))
MARK = symbol.fMARK_USER1


def box(low=UNIT[0], high=UNIT[1], turn=None, faces=FACES):
    mesh = MESHES.Create()
    points = [mesh.AddPoint(tuple(corner)) for corner in itertools.product(*zip(low, high))]
    for face in faces:
        mesh.AddPolygon(symbol.i_POLYTYPE_FACE, 4, storage('p', *[points[corner] for corner in face]))
    if turn:
        matrix = kz.object.Matrix(kz.service.Scene().CreateMatrix())
        matrix.SetEuler(turn, 0)
        mesh.Transform(matrix.Get4(), 0)
    return mesh


def ball(middle=(0, 0, 0)):
    mesh = box([each - 1 for each in middle], [each + 1 for each in middle])
    MESHES.Editor(mesh).Subdivide(2, 1)
    mesh.Triangulate(0, symbol.iTRIANGULATE_FAN)  # flat polygons have exact volumes
    return mesh


def shape(mesh):
    """What closed surfaces have as their Euler characteristic, and how many edges are open."""
    edge, open_edges = mesh.Edges(), 0
    for index in range(mesh.EdgeCount()):
        edge.MoveToIndex(index)
        open_edges += edge.PolygonCount() % 2
    return mesh.PointCount() - mesh.EdgeCount() + mesh.PolygonCount(), open_edges


def mark_polygon(mesh, index):
    polygon = mesh.PolygonByIndex(index)
    polygon.SetMarks(MARK, 0)
    return polygon.Id()


def sliced(mesh, mode, position=(.5, .5, .5), normal=(1, 0, 0)):
    knife = MESHES.Slice(mesh)
    knife.SetMode(mode)
    knife.Plane(position, normal)
    return knife


def drilled(mesh, driver, operation, **more):
    drill = MESHES.Drill(mesh)
    drill.SetDriver(driver)
    drill.SetOperation(operation)
    for name, arguments in more.items():
        getattr(drill, name)(*arguments)
    drill.Run(None)
    return drill


def check_planes_cut_solids():
    for mode, points, volume, kind in ((symbol.iPOLYSLICE_CUT, 12, 1, (2, 0)), (symbol.iPOLYSLICE_SPLIT, 16, 0, (2, 8)),
                                       (symbol.iPOLYSLICE_KEEPFRONT, 8, 0, (1, 4)), (symbol.iPOLYSLICE_CAP, 16, 1, (4, 0)),
                                       (symbol.iPOLYSLICE_KEEPBACK, 8, 0, (1, 4))):
        mesh = box()
        knife = sliced(mesh, mode)
        equal((mode, mesh.PointCount(), shape(mesh)), (mode, points, kind))
        near([mesh.Volume()], [volume])
        equal(knife.NewPointCount() in (4, 8), True)
    mesh = ball()
    volume = mesh.Volume()
    for normal in ((1, 2, 3), (-3, 1, .5)):
        sliced(mesh, symbol.iPOLYSLICE_CAP, (.1, .05, 0), normal)
    near([mesh.Volume(), float(shape(mesh)[1])], [volume, 0])
    equal(shape(mesh)[0], 8)
    mesh = box()
    knife = MESHES.Slice(mesh)
    knife.Grid((0, .25, 0), (0, .25, 0), 2)
    knife.Axis(2, (.5, .5, .5))
    near([mesh.Volume(), mesh.Area()], [1, 6])
    knife.Line((.2, 0, 0), (.2, 1, 0), (0, 0, 1))
    equal((shape(mesh), knife.NewPointCount() > 4), ((2, 0), True))
    fails('INVALIDARG', (knife.Plane, (0, 0, 0), (0, 0, 0)), (knife.SetMode, 9), (knife.Axis, 3, (0, 0, 0)))
    fails('OUTOFBOUNDS', (knife.NewPointByIndex, 1000), (knife.NewEdgeByIndex, 1000))


def check_outlines_with_bays_are_cut_into_all_their_parts():
    mesh = MESHES.Create()
    comb = (0, 0), (5, 0), (5, 2), (4, 2), (4, 1), (3, 1), (3, 2), (2, 2), (2, 1), (1, 1), (1, 2), (0, 2)
    points = storage('p', *[mesh.AddPoint((x, y, 0)) for x, y in comb])
    polygon = mesh.AddPolygon(symbol.i_POLYTYPE_FACE, len(comb), points)
    knife = MESHES.Slice(mesh)
    count, positions = knife.Single(polygon, (0, 1.5, 0), (0, -1, 0))
    equal((count, mesh.PolygonCount()), (12, 1))
    knife.Plane((0, 1.5, 0), (0, 1, 0))
    equal((mesh.PolygonCount(), knife.NewPointCount()), (4, 6))
    near([mesh.Area()], [8])
    curves = MESHES.Create()
    ends = storage('p', curves.AddPoint((2.5, -1, 1)), curves.AddPoint((2.5, 3, 1)))
    curves.AddPolygon(symbol.i_POLYTYPE_POLYLINE, 2, ends)
    knife.Curve(curves, (0, 0, 1))
    equal(mesh.PolygonCount(), 6)
    fails('INVALIDARG', (knife.Curve, mesh, (0, 0, 1)))


def check_solids_are_joined():
    union, subtract, common = range(3)
    for low, high, turn, expected in (((.5, .5, .5), (1.5, 1.5, 1.5), None, (1.875, .875, .125)),
                                      ((.5, 0, 0), (1.5, 1, 1), None, (1.5, .5, .5)),
                                      (UNIT[0], UNIT[1], None, (1, 0, 1)),
                                      ((.25, .25, -1), (.75, .75, 2), None, (1.5, .75, .25)),
                                      ((3, 3, 3), (4, 4, 4), None, (2, 1, 0)),
                                      ((.2, .2, .2), (.8, .8, .8), None, (1, 1 - .216, .216))):
        found = []
        for operation in union, subtract, common:
            mesh = box()
            drilled(mesh, box(low, high, turn), operation)
            found.append(mesh.Volume())
            equal((low, operation, shape(mesh)[1]), (low, operation, 0))
        near(found, expected, 1e-9)
    for turn in ((.3, .7, .2), (1, 2, 3), (.01, .02, .03), (.5, 0, 0)):
        volumes = []
        for operation in union, subtract, common:
            mesh = ball()
            drilled(mesh, box((-.3, -.3, -.9), (.4, .5, 1.4), turn), operation)
            volumes.append(mesh.Volume())
            equal((turn, operation, shape(mesh)[1]), (turn, operation, 0))
        whole, part = ball().Volume(), .7 * .8 * 2.3
        near([volumes[0] + volumes[2], volumes[1] + volumes[2]], [whole + part, whole], 1e-7)
    mesh = box((-2, -2, -.25), (2, 2, .25))
    drill = drilled(mesh, box((-.5, -.5, -1), (.5, .5, 1)), subtract, SetMaterial=('hole',))
    equal((shape(mesh), drill.CutEdgeCount()), ((0, 0), 8))
    near([mesh.Volume(), mesh.Area()], [7.5, 2 * 15 + 8 + 2])


def check_drills_leave_open_surfaces_open():
    stamp, tunnel, core, cut = range(4, 8)
    for operation, area in (stamp, 16), (tunnel, 15 + 2), (core, 1), (cut, 16):
        sheet = box((-2, -2, 0), (2, 2, 0), faces=FACES[5:])
        drill = drilled(sheet, box((-.5, -.5, -.25), (.5, .5, .25)), operation)
        near([sheet.Area()], [area])
        equal((operation, drill.CutEdgeCount() > 0), (operation, operation in (stamp, tunnel)))
    sheet = box((-2, -2, 0), (2, 2, 0), faces=FACES[5:])
    drilled(sheet, box((-.5, -.5, -1), (.5, .5, -1), faces=FACES[5:]), core, SetAxis=((0, 0, 0), (0, 0, 3)))
    near([sheet.Area()], [1])
    drill = MESHES.Drill(sheet)
    fails('NOTREADY', (drill.Run, None), (drill.Test,))
    drill.SetDriver(box())
    equal(drill.Test(), False)
    fails('FAILED', (drill.Run, None))
    fails('INVALIDARG', (drill.SetOperation, 8), (drill.SetTolerance, -1.0), (drill.SetAxis, (0, 0, 0), (0, 0, 0)))

    class Impatient(kzifc.Monitor):
        def mon_Increment(self, count):
            kz.throw(symbol.e_ABORT)

    mesh = box()
    drill = MESHES.Drill(mesh)
    drill.SetDriver(box((.5, .5, .5), (2, 2, 2)))
    fails('ABORT', (drill.Run, Impatient()))
    equal((mesh.PolygonCount(), drill.Test()), (6, True))


def check_polygons_grow():
    for flags in 0, symbol.fPOLYEDIT_GROUP:
        mesh = box()
        mark_polygon(mesh, 5)
        editor = MESHES.Editor(mesh)
        editor.SetMark(MARK)
        editor.Extrude((0, 0, 1), 3, flags)
        near([mesh.Volume(), mesh.Area()], [2, 10])
        editor.Inset(.25, flags)
        near([mesh.Volume(), mesh.Area()], [2, 10])
        editor.Bevel(.5, .125, 1, flags)
        near([mesh.Volume()], [2 + .5 / 3 * (.25 + .0625 + .125)])
        equal((shape(mesh), mesh.PolygonCount()), ((2, 0), 6 + 12 + 4 + 4))
    mesh = box()
    MESHES.Editor(mesh).Bevel(.5, 0, 1, symbol.fPOLYEDIT_GROUP)
    equal((mesh.PolygonCount(), mesh.Volume() > 1), (6, True))
    mesh = box()
    MESHES.Editor(mesh).Extrude((0, 0, .5), 1, symbol.fPOLYEDIT_LOCAL | symbol.fPOLYEDIT_SELECT)
    equal((mesh.PolygonCount(), mesh.AnyMarked(symbol.iMESHELT_POLYGON, symbol.fMARK_SELECT)), (30, True))
    near([mesh.Area()], [6 + 24 * .5])
    fails('INVALIDARG', (MESHES.Editor(mesh).Extrude, (0, 0, 1), 0, 0))


def check_edges_are_bevelled():
    for segments, form in (1, symbol.iEDGEBEVEL_FLAT), (4, symbol.iEDGEBEVEL_ROUND), (2, symbol.iEDGEBEVEL_SHARP):
        mesh = box()
        first, second = mesh.PointByIndex(0).Id(), mesh.PointByIndex(1).Id()
        edge = mesh.Edges()
        edge.MoveToEnds(first, second)
        edge.SetMarks(MARK, 0)
        MESHES.Editor(mesh).BevelEdges(MARK, .2, segments, form)
        equal((form, shape(mesh)), (form, (2, 0)))
        side = .2 / math.sqrt(2)
        flat, sharp = 1 - side * side / 2, 1
        low, high = {symbol.iEDGEBEVEL_FLAT: (flat, flat), symbol.iEDGEBEVEL_SHARP: (sharp, sharp)}.get(form, (flat, sharp))
        equal((form, low - 1e-9 <= mesh.Volume() <= high + 1e-9), (form, True))
        mesh = box()
        MESHES.Editor(mesh).BevelEdges(0, .2, segments, form)
        equal((form, shape(mesh), mesh.PolygonCount()), (form, (2, 0), 6 + 12 * segments + 8))
    fails('INVALIDARG', (MESHES.Editor(mesh).BevelEdges, 0, 0.0, 1, 0))


def check_elements_are_joined_and_divided():
    mesh = box()
    editor = MESHES.Editor(mesh)
    polygon = mesh.PolygonByIndex(5)
    other = editor.Split(polygon.Id(), 0, 2)
    equal((mesh.PolygonCount(), shape(mesh)), (7, (2, 0)))
    equal(editor.Join(polygon.Id(), other), polygon.Id())
    fails('NOTFOUND', (editor.Join, polygon.Id(), mesh.PolygonByIndex(4).Id()))
    fails('INVALIDARG', (editor.Split, polygon.Id(), 0, 1))
    edge = mesh.EdgeByIndex(0)
    point = editor.SplitEdge(edge.Id(), .25)
    equal((mesh.PointCount(), shape(mesh)), (9, (2, 0)))
    editor.Collapse(mesh.EdgeByEnds(point, mesh.PointByIndex(0).Id()), 1.0)
    equal((mesh.PointCount(), shape(mesh), mesh.Volume() > .7), (8, (2, 0), True))
    mesh = box()
    editor = MESHES.Editor(mesh)
    editor.Subdivide(1, 0)
    equal((mesh.PolygonCount(), mesh.PointCount(), shape(mesh)), (24, 26, (2, 0)))
    near([mesh.Volume(), mesh.Area()], [1, 6])
    mesh = box((-1, -1, -1), (1, 1, 1))
    MESHES.Editor(mesh).Subdivide(1, 1)
    near(mesh.PointByIndex(7).Position(), (5 / 9.,) * 3, 1e-6)
    mesh = box()
    editor = MESHES.Editor(mesh)
    equal((editor.Unweld(), mesh.PointCount(), shape(mesh)[1]), (16, 24, 24))
    equal(mesh.Weld(1e-6, 0), 16)
    mark_polygon(mesh, 3)
    mesh.Flip(MARK)
    editor.Align(mesh.PolygonByIndex(0).Id())
    near([mesh.Volume()], [1])
    mesh.RemovePolygons(MARK, 1)
    equal((editor.CloseHoles(3), editor.CloseHoles(4), shape(mesh)), (0, 1, (2, 0)))
    near([mesh.Volume()], [1])
    edge = mesh.Edges()
    edge.MoveToIndex(0)
    edge.SetMarks(MARK, 0)
    editor.Dissolve(MARK)
    equal((mesh.PolygonCount(), shape(mesh)), (5, (2, 0)))


def check_polygons_are_bridged():
    mesh, other = box(), box((0, 0, 2), (1, 1, 3))
    mesh.Merge(other, 0)
    editor = MESHES.Editor(mesh)
    editor.Bridge(mesh.PolygonByIndex(5).Id(), mesh.PolygonByIndex(10).Id(), 2)
    equal((shape(mesh), mesh.PolygonCount()), ((2, 0), 18))
    near([mesh.Volume()], [3])
    fails('NOTSUPPORTED', (editor.Bridge, mesh.EdgeByIndex(0).Id(), mesh.EdgeByIndex(1).Id(), 1))


def check_meshes_are_mixed():
    mesh, other, target = box(), box((0, 0, 0), (3, 3, 3)), box()
    blend = MESHES.Blend(mesh, other)
    blend.Apply(target, .5, symbol.fMESHEDIT_POSITION)
    near([target.Volume()], [8])
    point = mesh.PointByIndex(7).Id()
    blend.SetWeight(point, 0.0)
    near(blend.ApplyPoint(point, 1.0), (1, 1, 1))
    blend.Reset()
    near(blend.ApplyPoint(point, 1.0), (3, 3, 3))
    fails('FAILED', (MESHES.Blend, mesh, MESHES.Create()), (blend.Apply, MESHES.Create(), 1.0, 1))
    bag, mesh = MESHES.CreateBag(), MESHES.Create()
    corners = [tuple(map(float, corner)) for corner in itertools.product((0, 1), repeat=3)]
    for face in FACES:
        bag.AddQuad(*[corners[corner] for corner in face])
    bag.SetWeldDistance(1e-6)
    equal((bag.Generate(mesh), shape(mesh)), (16, (2, 0)))
    near([mesh.Volume()], [1])
    fails('INVALIDARG', (bag.AddPolygon, 2, storage('d', *range(6)), None), (bag.SetWeldDistance, -1.0))


def check_meshes_of_surfaces_and_evaluations():
    class Pyramid(kzifc.TableauSurface):
        def tsrf_SetVertex(self, layout):
            self.size = kz.object.TableauVertex(layout).Size()

        def tsrf_SegmentCount(self):
            return 2

        def tsrf_Sample(self, segment, length, soup):
            soup = kz.object.TriangleSoup(soup)
            soup.Segment(segment, symbol.i_TRISOUP_TRIANGLES)
            corners = [soup.Vertex(self.size, storage('f', *corner)) for corner in
                       ((0, 0, 0), (1, 0, 0), (0, 1, 0), (0, 0, 1))]
            for triangle in ((0, 2, 1), (0, 1, 3), (1, 2, 3), (2, 0, 3)):
                soup.Polygon(*[corners[corner] for corner in triangle])
            fails('OUTOFBOUNDS', (soup.Polygon, 0, 1, 9))
            self.soup = soup

    surface = Pyramid()
    mesh = MESHES.CreateFromSurface(surface, 0.0)
    near([mesh.Volume()], [1 / 3.])
    fails('NOTAVAILABLE', (surface.soup.Polygon, 0, 1, 2))
    scenes = kz.service.Scene()
    scene = scenes.Create('evaluated')
    item = scene.ItemAdd(scenes.ItemTypeLookup('mesh'))
    MESHES.EditItem(item, None).Copy(mesh)
    read = scene.Channels(None, 0.0)
    frozen = MESHES.FromChannel(read, item, item.ChannelLookup('mesh'))
    equal((frozen.IsEditable(), frozen.PointCount()), (False, 8))
    fails('INVALIDARG', (MESHES.FromChannel, read, item, item.ChannelLookup('pos.X')))
    fails('NOACCESS', (MESHES.Editor(frozen).Subdivide, 1, 0))
    item.SetName('sampled')
    MESHES.Editor(MESHES.EditItem(item, None)).Subdivide(1, 0)
    kz.service.Undo().Undo(1)
    equal(MESHES.EditItem(item, None).PolygonCount(), 8)


def check_what_a_cut_does_not_reach_stays():
    mesh = MESHES.Create()
    for outline in (((0, 0), (1, 0), (1, 1), (0, 1)), ((1, 0), (2, 0), (2, .5), (1, .5)), ((1, .5), (2, .5), (2, 1), (1, 1))):
        mesh.AddPolygon(symbol.i_POLYTYPE_FACE, 4, storage('p', *[mesh.AddPoint(place + (0,)) for place in outline]))
    knife = MESHES.Slice(mesh)
    knife.Plane((100, 0, 0), (1, 0, 0))
    equal(mesh.PolygonByIndex(0).VertexCount(), 4)  # it touches the others, and has no points of theirs
    fails('INVALIDARG', (knife.Grid, (0, 0, 0), (.1, 0, 0), 4294967295))
    fails('GEO_SIZE_LIMIT', (MESHES.Editor(ball()).Subdivide, 8, 0))
    crossed, curve = MESHES.Create(), MESHES.Create()
    places = ((2, -1), (4, 1), (-4, -1), (12, 1), (0, 1))
    crossed.AddPolygon(symbol.i_POLYTYPE_FACE, 5, storage('p', *[crossed.AddPoint(place + (0,)) for place in places]))
    ends = [curve.AddPoint((x, 0, 0)) for x in (-10, 20)]
    curve.AddPolygon(symbol.i_POLYTYPE_POLYLINE, 2, storage('p', *ends))
    MESHES.Slice(crossed).Curve(curve, (0, 0, -1))
    mesh.AddPoint((float('nan'), 0, 0))
    fails('INVALIDARG', (knife.Plane, (.5, 0, 0), (1, 0, 0)))


def check_maps_go_with_their_corners():
    scenes = kz.service.Scene()
    for edit in (lambda mesh, editor: editor.Unweld(),
                 lambda mesh, editor: editor.Collapse(mesh.EdgeByIndex(0).Id(), .5)):
        scene = scenes.Create('maps')
        item = scene.ItemAdd(scenes.ItemTypeLookup('mesh'))
        mesh = MESHES.EditItem(item, None)
        mesh.Copy(box())
        maps, polygon = mesh.Maps(), mesh.Polygons()
        maps.Add(symbol.i_MAPTYPE_TEXTURE, 'uv')
        for index in range(6):
            polygon.MoveToIndex(index)
            for corner in range(4):
                polygon.SetMapValue(corner, maps.Id(), storage('f', index, corner))
        edit(mesh, MESHES.Editor(mesh))
        path = os.path.join(FOLDER, 'maps.kzscene')
        scenes.Save(scene, path, None)
        scenes.Close(scene)
        scenes.Close(scenes.Load(path, None))
