"""A mesh operation: moves every point of a mesh up by one. The mesh is the host's own.

    operation = kz.object.MeshOperation(kz.service.Host().SpawnServer('meshoperation', 'lift'))
    operation.Evaluate(mesh, 0, kz.symbol.iMESHOP_MODE_FREEZE)
"""

import kz
import kzifc


class Lift(kzifc.MeshOperation):
    def mop_Evaluate(self, mesh, elements, mode):
        mesh = kz.object.Mesh(mesh)
        point = mesh.Points()
        for index in range(mesh.PointCount()):
            point.MoveToIndex(index)
            point.Move((0, 1, 0))

    def mop_Compare(self, other):
        return kz.symbol.iMESHOP_COMPARE_IDENTICAL


kz.bless(Lift, 'lift', {kz.symbol.sTAG_MESHOP_CHANGES: 'points'})
