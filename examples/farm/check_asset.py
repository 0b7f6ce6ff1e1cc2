# python
"""Checks one asset, a mesh in a file of JSON: {"points": [[x, y, z], ...], "polygons": [[point, point, point, ...], ...]}

    kzhost run check_asset.py FILE [RESULTS]

Ends with 0 when the asset is good, with 10 when it has faults, and with 75 when the file could not be read this time. Any
other status is an accident. 0 and 10 are verdicts; after anything else the job may be run again.

With a folder RESULTS the verdict is a file in it, named by the asset's path. It appears whole or not at all, and an asset
that has one is not checked again: whoever runs the job twice, even at the same time, finds one result.
"""
import hashlib
import json
import os
import socket
import sys
import time

import kz

GOOD, FAULTS, TRY_AGAIN = 0, 10, 75


def build(description):
    mesh = kz.service.Mesh().Create()
    ids = [mesh.AddPoint(point) for point in description['points']]
    corners = kz.Storage('pointer', 1)
    for polygon in description['polygons']:
        corners.setSize(len(polygon))
        corners.set([ids[corner] for corner in polygon])
        mesh.AddPolygon(kz.symbol.i_POLYTYPE_FACE, len(polygon), corners)
    return mesh


def faults_of(mesh):
    edges = [mesh.EdgeByIndex(index) for index in range(mesh.EdgeCount())]
    areas = [mesh.PolygonByIndex(index).Area() for index in range(mesh.PolygonCount())]
    counts = (('polygons, since it is empty', not areas),
              ('edges with one polygon only: it is not closed', sum(edge.IsBoundary() for edge in edges)),
              ('edges with more than two polygons', sum(edge.PolygonCount() > 2 for edge in edges)),
              ('polygons without an area', sum(area < 1e-12 for area in areas)))
    return ['%d %s' % (0 if count is True else count, what) for what, count in counts if count]


def check(path):
    try:
        with open(path, 'rb') as stream:
            text = stream.read()
    except EnvironmentError as error:
        sys.stderr.write('%s\n' % error)
        sys.exit(TRY_AGAIN)
    try:
        return faults_of(build(json.loads(text)))
    except (ValueError, KeyError, TypeError, IndexError, LookupError) as error:
        return ['it is no mesh: %s: %s' % (type(error).__name__, error)]


def write_whole(path, text):
    """Jobs that write the same file at the same time each have a file of their own until it is complete."""
    unfinished = '%s.%s.%d' % (path, socket.gethostname(), os.getpid())
    with open(unfinished, 'wb') as stream:
        stream.write(text)
        stream.flush()
        os.fsync(stream.fileno())
    os.rename(unfinished, path)


def main(path, results=None):
    path = os.path.abspath(path)
    name = '%s.%s.result' % (os.path.basename(path), hashlib.sha1(path).hexdigest()[:16])
    target = os.path.join(results, name) if results else None
    if target and os.path.exists(target):
        with open(target) as stream:
            return json.load(stream)['status']
    began = time.time()
    faults = check(path)
    result = {'file': path, 'status': FAULTS if faults else GOOD, 'faults': faults, 'machine': socket.gethostname(),
              'process': os.getpid(), 'ended': int(time.time()), 'seconds': round(time.time() - began, 3)}
    print '%s: %s' % (path, '; '.join(faults) or 'good')
    if target:
        write_whole(target, json.dumps(result, sort_keys=True) + '\n')
    return result['status']


sys.exit(main(*kz.args()))
