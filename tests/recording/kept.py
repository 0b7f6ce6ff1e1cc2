# python
"""What kept.rec has recorded. Neither is ever changed: whatever an earlier version has recorded has to play."""
import os

import kz
import kzifc


def attempt(call, *args):
    try:
        print repr(call(*args))
    except Exception as problem:
        print repr(problem)


class Echo(kzifc.Command):
    def cmd_Execute(self, flags):
        print 'in the command', kz.eval1('unit.system ?')
        raise ValueError('planted')


class Lift(kzifc.MeshOperation):
    def mop_Evaluate(self, mesh, elements, mode):
        mesh = kz.object.Mesh(mesh)
        print 'lifts', mesh.PointCount()
        point = mesh.Points()
        point.MoveToIndex(0)
        point.Move((0, 1, 0))


kz.bless(Echo, 'kept.echo')
kz.bless(Lift, 'kept.lift')
attempt(kz.eval, 'kept.echo')
attempt(kz.eval, 'no.such.command')
print kz.lastResult()

scenes = kz.service.Scene()
item = scenes.Create('Kept').ItemAdd(scenes.ItemTypeLookup(kz.symbol.sITYPE_MESH))
item.SetName('Slab')
mesh = kz.service.Mesh().FromItem(item, 0.0, 0)
for corner in ((0, 0, 0), (1, 0, 0.1)):
    mesh.AddPoint(corner)
attempt(kz.eval, 'mesh.operate kept.lift item:Slab')
attempt(mesh.PointByIndex, 7)
print mesh.BoundingBox(0)

images = kz.service.Image()
image = images.Create(2, 1, kz.symbol.iIMG_FORMAT_RGB24, 0)
line = kz.Storage('byte', 6)
kz.object.ImageWrite(image).Fill((0.5, 0, 1), 1.0)
image.GetLine(0, kz.symbol.iIMG_FORMAT_RGB24, 6, line)
print tuple(line)
images.Save(image, kz.args()[0], 'PNG', None)
print os.path.getsize(kz.args()[0]), kz.arg()
