"""A mesh operation: moves every point of a mesh up by one. The mesh is one of the host's own scene, and the host leaves
it as it was when the operation fails. A script that has made a scene with a mesh item says

    kz.eval('mesh.operate lift')

    kzhost --import-path examples run examples/operate.py
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
