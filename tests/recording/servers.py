# python
"""Uses the servers of the examples, and one that fails, in as many ways as a script can."""
import kz
import kzifc
from kzserv.servers import watch


def attempt(call, *args):
    try:
        print call(*args)
    except Exception as problem:
        print repr(problem), sorted(problem.__dict__.items())


for line in ('text.repeat hello count:3', 'text.repeat count:?', 'text.banner hi frame:true mark:+', 'text.repeat',
             'macro.record FOLDER/macro.py', 'user.value width 2.5 type:float', 'macro.record', 'palette.mix ff0000 00ff00'):
    attempt(kz.eval, line)
print watch.HEARD[-3:], open('FOLDER/macro.py').read()

day = kz.service.Value().CreateValue('weekday')
attempt(day.SetString, 'friday')
attempt(day.SetString, 'freitag')
print day.GetInt()

images = kz.service.Image()
picture = images.Load('FOLDER/examples/pictures/painting.png', None)
images.Save(picture, 'FOLDER/copy.timg', 'textimage', None)
print open('FOLDER/copy.timg').readline(), images.Compare(picture, images.Load('FOLDER/copy.timg', None), 0)


class Bad(kzifc.Command):
    def __init__(self):
        self.tries = 0

    def cmd_Execute(self, flags):
        self.tries += 1
        print 'about to fail', self.tries
        raise ValueError('planted')

    def __del__(self):
        print 'gone', kz.service.Mesh().Create().PointCount()


kz.bless(Bad, 'my.bad')
attempt(kz.eval, 'my.bad')
print kz.lastResult()


class Pushed(kz.object.Mesh):
    pass


mesh = Pushed(kz.service.Mesh().Create())
positions = kz.Storage('f', 9)
positions.set([0, 0, 0, 1, 0, 0, 0, 1, 0.1])
print mesh.PointCount(), mesh == kz.object.Mesh(mesh), kz.object.Mesh.PointCount(mesh)
attempt(kz.object.Mesh, kz.service.Scene)
other = kz.object.Mesh()
print other.test(), other.set(mesh), other.test(), other.set(None), other.test()
