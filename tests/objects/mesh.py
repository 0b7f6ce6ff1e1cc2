"""Meshes through their interfaces: what is put in is read back, and ids from elsewhere are refused."""
import math

import kz
import kzifc
from checks import equal, fails, near, reasons, storage
from kz.symbol import (fMARK_SELECT, fMESHEDIT_POINTS, fMESHEDIT_POSITION, fMESHMAP_HIDDEN, fMESHMAP_LOCKED,
                       fMESHMERGE_POINT_MARKED, fMESHMERGE_POINT_WELD, fPOLYWALK_TAG, f_MESHMERGE_POLY_CURVES,
                       f_MESHMERGE_POLY_MARKED, i_MAPTYPE_CUSTOM, i_MAPTYPE_TEXTURE, i_MAPTYPE_WEIGHT,
                       i_POLYTYPE_FACE, i_PTAG_SURFACE)

MOVED = (1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0), (5, 0, 0, 1)
MIRRORED = (-1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1)
QUADS = (3, 2, 1, 0), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)


def box():
    """A box of 2 x 1 x 1 with outward faces, and the ids of its points."""
    mesh = kz.service.Mesh().Create()
    ids = [mesh.AddPoint((x, y, z)) for z in (0, 1) for x, y in ((0, 0), (2, 0), (2, 1), (0, 1))]
    for quad in QUADS:
        mesh.AddPolygon(i_POLYTYPE_FACE, 4, storage('p', *[ids[corner] for corner in quad]))
    return mesh, ids


def counts(mesh):
    return [mesh.PointCount(), mesh.EdgeCount(), mesh.PolygonCount(), mesh.VertexCount(), mesh.MapCount()]


def check_a_box_is_what_its_elements_say():
    mesh, ids = box()
    equal([counts(mesh), mesh.Area(), mesh.Volume()], [[8, 12, 6, 24, 0], 10, 2])
    equal(mesh.BoundingBox(0), ((0, 0, 0), (2, 1, 1)))
    polygon, edge = mesh.Polygons(), mesh.Edges()
    normals = []
    for index in range(6):
        polygon.MoveToIndex(index)
        normals.append(polygon.Normal())
        equal(sum(n * (c - m) for n, c, m in zip(normals[-1], polygon.Center(), (1, 0.5, 0.5))) > 0, True)
    near(map(sum, zip(*normals)), (0, 0, 0))
    lengths = []
    for index in range(12):
        edge.MoveToIndex(index)
        lengths.append(edge.Length())
        near((edge.PolygonCount(), edge.Angle()), (2, math.pi / 2), 1e-6)
    equal(sum(lengths), 16)


def check_buffers_of_positions_keep_their_bounds():
    mesh = kz.service.Mesh().Create()
    given, read = storage('d', 0.1, 2, 3, -4, 5, 6), storage('d', *[0] * 6)
    fails('NOTFOUND', (mesh.BoundingBox, 0))
    equal(mesh.AddPoints(2, given), 0)
    mesh.Positions(0, 2, read)
    equal(read.get(), given.get())
    read[0] = 7
    mesh.SetPositions(1, 1, read)
    equal(mesh.BoundingBox(0), ((0.1, 2, 3), (7, 2, 3)))
    fails('OUTOFBOUNDS', (mesh.Positions, 1, 2, read), (mesh.Positions, 2 ** 32 - 1, 2, read),
          (mesh.SetPositions, 2, 1, read))
    fails('INVALIDARG', (mesh.Positions, 0, 1, None), (mesh.AddPoints, 1, None))
    read[0] = float('inf')
    mesh.SetPositions(0, 1, read)
    fails('INFINITE_BOUND', (mesh.BoundingBox, 0))


def check_polygons_go_in_and_out_in_bulk():
    (mesh, ids), other, face = box(), kz.service.Mesh().Create(), i_POLYTYPE_FACE
    positions, sizes, corners = storage('d', *[0] * 24), storage('u', *[0] * 6), storage('u', *[0] * 24)
    mesh.Positions(0, 8, positions)
    mesh.PolygonSizes(0, 6, sizes)
    equal([mesh.PolygonPoints(0, 6, 24, corners), corners.get()], [24, sum(QUADS, ())])
    other.AddPoints(8, positions)
    for wrong in ((1, 6, sizes, 24, corners), (face, 5, sizes, 24, corners), (face, 6, sizes, 23, corners),
                  (face, 2, storage('u', 4, 2), 6, corners), (face, 6, sizes, 24, None),
                  (face, 1, storage('u', 65536), 65536, storage('u', *[0] * 65536))):
        fails('INVALIDARG', (other.AddPolygons,) + wrong)
    fails('OUTOFBOUNDS', (other.AddPolygons, face, 2, sizes, 8, storage('u', 0, 1, 2, 3, 4, 5, 6, 8)))
    equal([other.PolygonCount(), other.AddPolygons(face, 6, sizes, 24, corners), other.Volume()], [0, 0, 2])
    equal([mesh.IsCompatible(other), other.AddPolygons(face, 1, storage('u', 3), 3, corners)], [True, 6])
    equal([other.PolygonPoints(5, 2, 7, corners), corners.get(7), counts(other)],
          [7, QUADS[5] + (3, 2, 1), [8, 13, 7, 27, 0]])
    fails('SHORTBUFFER', (other.PolygonPoints, 0, 7, 24, corners))
    fails('OUTOFBOUNDS', (other.PolygonPoints, 6, 2, 24, corners), (other.PolygonSizes, 7, 1, sizes))


MERGES = [
    (MOVED, 0, [16, 24, 12, 48, 0], 4, (0, 0, 0), (7, 1, 1)),
    (MIRRORED, 0, [16, 24, 12, 48, 0], 4, (-2, 0, 0), (2, 1, 1)),
    (MIRRORED, fMESHMERGE_POINT_WELD, [12, 20, 12, 48, 0], 0, (-2, 0, 0), (2, 1, 1)),
    (MOVED, f_MESHMERGE_POLY_CURVES, [16, 12, 6, 24, 0], 2, (0, 0, 0), (7, 1, 1)),
    (MOVED, f_MESHMERGE_POLY_MARKED, [16, 12, 6, 24, 0], 2, (0, 0, 0), (7, 1, 1)),
    (MOVED, fMESHMERGE_POINT_MARKED, [8, 12, 6, 24, 0], 2, (0, 0, 0), (2, 1, 1)),
]


def check_merges_take_what_the_flags_say():
    for matrix, flags, numbers, volume, low, high in MERGES:
        mesh, ids = box()
        mesh.MergeWithTransform(mesh, matrix, flags)
        equal([flags, counts(mesh), mesh.Volume(), mesh.BoundingBox(0)], [flags, numbers, volume, (low, high)])
    mesh, ids = box()
    endless = MOVED[:3] + ((float('nan'), 0, 0, 1),)
    fails('INVALIDARG', (mesh.Merge, None, 0), (mesh.Merge, kz.service.Scene().Create('no mesh'), 0),
          (mesh.Merge, mesh, 0x80), (mesh.MergeWithTransform, mesh, endless, 0), (mesh.Transform, endless, 0))
    equal(reasons()[-5:], ['Mesh.Merge: the other mesh is null', 'Mesh.Merge: the other object is no mesh',
                           'Mesh.Merge: there is no flag 0x80 for merges',
                           'Mesh.MergeWithTransform: the matrix has nan in it', 'Mesh.Transform: the matrix has nan in it'])
    equal(counts(mesh), [8, 12, 6, 24, 0])


def check_ids_that_the_mesh_did_not_give_out_are_refused():
    (mesh, own), (another, other) = box(), box()
    point, polygon, edge, weights = mesh.Points(), mesh.Polygons(), mesh.Edges(), mesh.Maps()
    polygon.MoveToIndex(0)
    weights.Add(i_MAPTYPE_WEIGHT, 'w')
    value, corners = storage('f', 1), storage('p', *own)
    for bad in (0, 12345, other[0], polygon.Id()):
        fails('NOTFOUND', (point.MoveTo, bad), (edge.MoveTo, bad), (edge.MoveToEnds, own[0], bad),
              (mesh.AddPolygon, i_POLYTYPE_FACE, 3, storage('p', own[0], own[1], bad)),
              (polygon.SetVertexPoint, 0, bad), (polygon.MapValue, 0, bad, value), (weights.SetValue, bad, 0, value),
              (weights.SetValue, own[0], own[1], value), (point.Copy, bad))
        equal((mesh.HasPoint(bad), mesh.PointIndex(bad), mesh.EdgeByEnds(bad, bad)), (False, -1, 0))
    fails('INVALIDARG', (mesh.AddPolygon, 1, 3, corners),
          (mesh.AddPolygon, i_POLYTYPE_FACE, 2, corners), (mesh.AddPolygon, i_POLYTYPE_FACE, 3, None))
    equal(counts(mesh), [8, 12, 6, 24, 1])
    fails('OUTOFBOUNDS', (mesh.PointByIndex, 8), (mesh.EdgeByIndex, 12), (polygon.VertexByIndex, 4),
          (polygon.SetVertexPoint, -1, own[0]))


def check_removed_elements_leave_their_cursors_nowhere():
    mesh, ids = box()
    point, kept = mesh.Points(), mesh.Edges()
    kept.MoveToEnds(ids[5], ids[6])
    kept.SetCrease(0.5)
    fails('INVALIDARG', (kept.SetCrease, 2))
    edge = kept.Id()
    point.MoveTo(ids[0])
    equal((point.PolygonCount(), point.NeighborCount()), (3, 3))
    point.Remove()
    equal((counts(mesh), mesh.Volume()), ([7, 9, 3, 12, 0], 0))
    equal((point.IsAt(), point.Id()), (False, 0))
    fails('NOTAVAILABLE', (point.Position,), (point.Remove,))
    equal((mesh.EdgeByEnds(ids[6], ids[5]), kept.Crease()), (edge, 0.5))
    mesh.RemovePolygons(0, 0)
    equal(counts(mesh), [0, 0, 0, 0, 0])


def check_maps_hold_values_of_points_and_corners():
    mesh, ids = box()
    uv, polygon, found = mesh.Maps(), mesh.Polygons(), storage('f', 0, 0)
    uv.Add(i_MAPTYPE_TEXTURE, 'uv')
    fails('ALREADYEXISTS', (uv.Add, i_MAPTYPE_TEXTURE, 'uv'))
    fails('INVALIDARG', (uv.Add, i_MAPTYPE_CUSTOM, 'c'))
    flags = uv.Flags()
    uv.SetFlags(fMESHMAP_LOCKED | fMESHMAP_HIDDEN, fMESHMAP_LOCKED)
    equal((uv.Dimension(), uv.Flags()), (2, flags | fMESHMAP_LOCKED))
    polygon.MoveToIndex(0)
    at = polygon.VertexByIndex(2)
    fails('NOTFOUND', (polygon.MapValue, 2, uv.Id(), found))
    uv.SetValue(at, 0, storage('f', 0.25, 0.5))
    polygon.MapValue(2, uv.Id(), found)  # the point's, as the corner has none
    equal((uv.IsContinuous(at), found[1]), (True, 0.5))
    polygon.SetMapValue(2, uv.Id(), storage('f', 1, 0.75))
    uv.Value(at, polygon.Id(), found)
    equal((uv.IsContinuous(at), found[1], uv.ValueCount()), (False, 0.75, 1))
    fails('INVALIDARG', (uv.SetValue, at, 0, None))
    copy = mesh.Duplicate()
    equal((mesh.IsCompatible(copy), counts(copy)), (True, counts(mesh)))
    copied = copy.Maps()
    copied.MoveToName(i_MAPTYPE_TEXTURE, 'uv')
    equal(copied.Range(0), (0.25, 1))
    polygon.Remove()
    equal(uv.IsContinuous(at), True)  # the corner's value went with it


class Visitor(kzifc.Visitor):
    def __init__(self, visit):
        self.visit, self.visits = visit, 0

    def vis_Evaluate(self):
        self.visits += 1
        self.visit(self)


def check_visitors_may_change_what_they_visit():
    mesh, ids = box()
    point = mesh.Points()

    def visits_of(visit):
        visitor = Visitor(visit)
        point.Enumerate(0, visitor)
        return visitor.visits

    def abort_third(visitor):
        if visitor.visits == 3:
            kz.throw(kz.result.ABORT, 1)

    equal(visits_of(lambda visitor: point.SetMarks(visitor.visits % 2, 0)), 8)
    equal(visits_of(abort_third), 3)
    fails('NOACCESS', (visits_of, lambda visitor: kz.throw(kz.result.NOACCESS, 1)))
    equal((visits_of(lambda visitor: mesh.RemovePoints(1)), mesh.PointCount()), (5, 4))  # the first one removes half
    fails('INVALIDARG', (point.Enumerate, 0, None))
    equal(visits_of(lambda visitor: point.set(None)), 4)  # nobody else holds the cursor


def polygon_of(*corners):
    mesh = kz.service.Mesh().Create()
    ids = [mesh.AddPoint(corner) for corner in corners]
    mesh.AddPolygon(i_POLYTYPE_FACE, len(ids), storage('p', *ids))
    return mesh, mesh.PolygonByIndex(0)


def check_a_polygon_knows_its_shape():
    mesh, square = polygon_of((0, 0, 0), (0, 0, 1), (1, 0, 1), (1, 0, 0))
    equal([square.IsPlanar(0), square.Closest((0.25, 2, 0.75))[0], square.Normal()], [True, 2, (0, 1, 0)])
    equal(square.Intersect((0.5, 3, 0.5), (0, -2, 0)), (1.5, (0, 1, 0)))
    fails('NOTFOUND', (square.Intersect, (2, 3, 0.5), (0, -1, 0)))
    bent = polygon_of((0, 0, 0), (0, 0, 1), (1, 0.1, 1), (1, 0, 0))[1]
    equal([bent.IsPlanar(tolerance) for tolerance in (0.02, 0.03)], [False, True])
    mesh, arrow = polygon_of((0, 0, 0), (4, 0, 0), (1, 1, 0), (0, 4, 0))  # concave at the third corner
    areas = []
    for method in (0, 1, 2):
        copy = mesh.Duplicate()
        copy.Triangulate(0, method)
        areas.append((copy.PolygonCount(), round(copy.Area(), 9)))
    equal(areas, [(2, 4)] * 3)
    equal(round(mesh.Area(), 9), 4)


def check_rays_and_places_find_what_they_meet():
    mesh, ids = box()
    rays = kz.service.Mesh().Raycast(mesh, 0)
    for origin, direction, flags, hit in (((1, 0.5, 9), (0, 0, -2), 0, (4, (1, 0.5, 1), (0, 0, 1))),
                                          ((1, 0.5, 0.5), (0, 0, -1), 0, None),  # from inside, only back faces
                                          ((1, 0.5, 0.5), (0, 0, -1), 1, (0.5, (1, 0.5, 0), (0, 0, -1))),
                                          ((5, 5, 5), (0, 0, -1), 1, None)):
        found = rays.Shoot(origin, direction, 0, flags)
        equal((origin, flags, found), (origin, flags, hit is not None))
        if hit:
            near([rays.Distance()], hit[:1])
            near(rays.Position(), hit[1])
            near(rays.Normal(0), hit[2])
        else:
            fails('NOTFOUND', (rays.Distance,), (rays.Position,), (rays.MeshIndex,))
    equal([rays.Shoot((1, 0.5, 9), (0, 0, -1), 2, 0), rays.Occluded((1, 0.5, 9), (1, 0.5, -9)),
           rays.Occluded((9, 0, 0), (9, 9, 9)), rays.Closest((1, 0.5, 3), 0), rays.Closest((1, 0.5, 3), 1)],
          [False, True, False, True, False])
    fails('INVALIDARG', (rays.Shoot, (0, 0, 0), (0, 0, 0), 0, 0))


def check_welding_mirroring_and_loops():
    mesh, ids = box()
    doubled = mesh.Duplicate()
    doubled.Merge(mesh, 0)
    equal([doubled.PointCount(), doubled.Weld(1e-9, 0), doubled.PointCount()], [16, 8, 8])
    mirrored = mesh.Duplicate()
    mirrored.RemovePolygons(0, 1)
    points = [mirrored.PointByIndex(index).Id() for index in (4, 5, 6, 7)]
    mirrored.AddPolygon(i_POLYTYPE_FACE, 4, storage('p', *points))
    mirrored.Mirror((0, 0, 0), (1, 0, 0), 0, 1)
    equal([mirrored.PolygonCount(), mirrored.PointCount(), mirrored.PolygonByIndex(1).Normal()], [2, 10, (0, 0, 1)])
    edge = mesh.Edges()
    edge.MoveToEnds(ids[0], ids[1])
    ring = edge.NextInRing(mesh.PolygonByIndex(0).Id())
    edge.MoveTo(ring)
    equal(sorted(edge.Ends()), sorted([ids[2], ids[3]]))
    fails('NOTFOUND', (edge.NextInLoop, ids[2]))  # three edges meet at a corner of a box
    fails('INVALIDARG', (mesh.Weld, -1, 0), (mesh.Mirror, (0, 0, 0), (0, 0, 0), 0, 0), (mesh.Triangulate, 0, 9))


class Follower(kzifc.MeshListener):
    def __init__(self):
        self.heard = []

    def ml_Changed(self, changes):
        self.heard.append(changes)

    def ml_Destroyed(self):
        self.heard.append('end')


def check_edits_are_told_once_and_tracked():
    mesh, ids = box()
    follower, tracker = Follower(), mesh.Tracker()
    listener = kz.object.Unknown(follower)
    mesh.AddListener(listener)
    mesh.BeginEdit(0)
    point = mesh.PointByIndex(0)
    point.Move((0, 0, -1))
    new = mesh.AddPoint((9, 9, 9))
    equal(follower.heard, [])
    mesh.EndEdit()
    equal(follower.heard, [fMESHEDIT_POSITION | fMESHEDIT_POINTS])
    mesh.PolygonByIndex(0).Remove()
    seen = []
    visitor = type('Seer', (kzifc.Visitor,), {'vis_Evaluate': lambda self: seen.append(tracker.Current())})
    tracker.ChangedPoints(fMESHEDIT_POSITION | fMESHEDIT_POINTS, visitor())
    equal(seen, [ids[0], new])
    equal([tracker.AddedCount(0), tracker.RemovedCount(0), tracker.RemovedCount(2), tracker.OldPosition(ids[0])],
          [1, 0, 1, (0, 0, 0)])
    frozen = mesh.Snapshot()
    fails('NOACCESS', (frozen.AddPoint, (0, 0, 0)), (frozen.PointByIndex(0).Move, (1, 0, 0)), (frozen.Clear,),
          (frozen.BeginEdit, 0), (frozen.SetMarks, 0, 1, 0))
    mesh.Clear()
    equal([frozen.IsEditable(), frozen.PointCount(), frozen.PolygonCount(), mesh.PointCount()], [False, 9, 5, 0])
    mesh.RemoveListener(listener)
    fails('NOTFOUND', (mesh.RemoveListener, listener))
    tracker.Stop()
    fails('NOTREADY', (tracker.Reset,))
    del follower.heard[:]
    scene = kz.service.Scene().Create('meshes')
    item = scene.ItemAdd(kz.service.Scene().ItemTypeLookup('mesh'))
    kz.service.Mesh().EditItem(item, None).AddListener(listener)
    equal(follower.heard, [])
    kz.service.Scene().Close(scene)
    equal(follower.heard, ['end'])


def check_maps_are_mirrored_split_and_merged():
    mesh, square = polygon_of((-1, 0, 0), (-1, 0, 1), (1, 0, 1), (1, 0, 0))
    ids = [mesh.PointByIndex(index).Id() for index in range(4)]
    maps = mesh.Maps()
    weights = maps.Add(i_MAPTYPE_WEIGHT, 'w')
    values = storage('f', 0.5)
    maps.SetValue(ids[0], 0, values)
    maps.Mirror(0, 0)
    equal([maps.HasValue(point) for point in ids], [False, False, False, True])
    maps.SplitCorners(0)
    equal([maps.IsContinuous(ids[3]), maps.ValueCount()], [False, 1])
    maps.MergeCorners(0)
    equal([maps.IsContinuous(ids[3]), maps.Value(ids[3], 0, values), values[0]], [True, None, 0.5])
    maps.Add(i_MAPTYPE_WEIGHT, 'other')
    maps.Copy(weights)
    equal([maps.ValueCount(), maps.HasValue(ids[3])], [1, True])


def check_marks_are_handed_out_and_taken_back():
    service = kz.service.Mesh()
    mesh, ids = box()
    marks = [service.AllocateMark('mine %d' % number) for number in range(4)]
    fails('NOTAVAILABLE', (service.AllocateMark, 'one more'))
    mesh.SetMarks(0, marks[2], 0)
    equal([service.MarkLookup('select'), service.MarkLookup('mine 2'), mesh.AnyMarked(0, marks[2])],
          [fMARK_SELECT, marks[2], True])
    for mark in marks:
        service.ReleaseMark(mark)
    equal(mesh.AnyMarked(0, marks[2]), False)
    fails('NOTFOUND', (service.MarkLookup, 'mine 2'))


def check_walks_stop_where_they_are_told():
    mesh, ids = box()
    top = mesh.PolygonByIndex(1)
    top.SetTag(i_PTAG_SURFACE, 'roof')
    reached = []
    walk = mesh.Polygons()
    visitor = type('Walker', (kzifc.Visitor,), {'vis_Evaluate': lambda self: reached.append(walk.Index())})
    for flags, indices in ((0, range(6)), (fPOLYWALK_TAG, [0, 2, 3, 4, 5])):
        del reached[:]
        walk.EnumerateConnected(mesh.PolygonByIndex(0).Id(), flags, visitor())
        equal((flags, reached), (flags, indices))
