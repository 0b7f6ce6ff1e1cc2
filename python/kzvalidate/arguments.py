"""What the methods of servers are called with: ordinary, odd and hostile arguments, and the objects among them.

Objects are the host's own where it makes such objects. Others are stand-ins: served objects of a class that has all
methods of the interface and answers as the description says, fails in all of them, or calls the server back.
"""

import ctypes
import os

import kz
import kzifc
from kz import symbol

from kzvalidate import shapes

_LETTERS = {'float': 'f', 'double': 'd', 'int': 'i', 'uint': 'u', 'byte': 'b', 'id': 'p', 'data': 'b'}
COUNT = 4          # what parameters that count something get
ELEMENTS = 4096    # and how long arrays are, whatever is counted
HUGE = 1000000

_MEMORY = ctypes.create_string_buffer(1 << 16)
NAN, INFINITY = float('nan'), float('inf')
_TEXT = 'text'
_TEXTS = ['', 'x' * 100000, '\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80', '\xff\xfe', '%s%n%d', '{', '"', '../..', ' ', None]
_ODD = {
    'int': [0, -1, 2 ** 31 - 1, -2 ** 31], 'uint': [0, 2, 2 ** 32 - 1, 2 ** 31], 'size': [0, -1, 2 ** 63 - 1, -2 ** 63],
    'id': [0], 'pointer': [0], 'string': _TEXTS, 'guid': ['00000000-0000-0000-0000-000000000000'],
    'float': [0.0, -1.0, NAN, INFINITY, -INFINITY, 1e38],
    'double': [0.0, -1.0, NAN, INFINITY, -INFINITY, 1e308, 5e-324]}
_SIZES = {'vector2': 2, 'vector3': 3, 'vector4': 4, 'fvector2': 2, 'fvector3': 3, 'fvector4': 4, 'quaternion': 4}


def answer(method):
    """What a well-behaved stand-in answers."""
    values = [_answer(method, each) for each in method.outputs]
    return values[0] if len(values) == 1 else tuple(values) or None


def _answer(method, output):
    kind = output.kind
    if kind == 'object':
        if not hasattr(kzifc, output.interface or ''):
            raise NotImplementedError
        return Supply.current.object(output.interface)
    if kind in _SIZES:
        return (0.0,) * _SIZES[kind]
    if kind in ('string', 'text'):
        return _TEXT
    if kind in ('float', 'double'):
        return 0.0
    if kind == 'hints':
        return {}
    known = shapes.members(output)
    if output.kind in ('int', 'uint') and known and output.families[0][0] == 'i':
        return sorted(known.values())[0]
    return 1 if method.short.endswith('Count') else 0


class Manner(object):
    """How stand-ins answer at the moment."""
    def __init__(self):
        self.failing = None  # the exception that they raise
        self.callback = None  # what they do before they answer


manner = Manner()


def _stand_in_method(method):
    def called(self, *given):
        if manner.callback is not None:
            manner.callback()
        if manner.failing is not None:
            raise manner.failing
        return answer(method)
    return called


_classes = {}


def stand_in(kind):
    """A new object that has the interface if Python can implement it, or else one that lacks it."""
    kind = kind if hasattr(kzifc, kind or '') else 'StringTag'
    if kind not in _classes:
        methods = dict((str(each.name), _stand_in_method(each)) for each in shapes.methods(kind))
        _classes[kind] = type('StandIn' + kind, (getattr(kzifc, kind),), methods)
    return _classes[kind]()


class Supply(object):
    """The arguments of one child."""
    current = None

    def __init__(self, random, folder):
        Supply.current = self
        self.random, self.folder = random, folder
        self.handles = {'pointer': [ctypes.addressof(_MEMORY)], 'id': [0]}  # and what the server has returned
        self._scene = None
        self.use_stand_ins = False
        self.depth = 0

    # Objects of the host

    def scene(self):
        if self._scene is None:
            self._scene = kz.service.Scene().Create('validated')
        return self._scene

    def item(self, kind=symbol.sITYPE_MESH):
        return self.scene().ItemAdd(kz.service.Scene().ItemTypeLookup(kind))

    def _make(self, kind):
        values, commands = kz.service.Value(), kz.service.Command()
        makers = {
            'Scene': self.scene, 'Item': self.item, 'Mesh': self.mesh,
            'ChannelRead': lambda: self.scene().Channels('edit', 0.0),
            'ChannelWrite': lambda: self.scene().WriteChannels('edit', 0.0),
            'Value': self.value, 'ValueArray': lambda: values.CreateValueArray('integer'),
            'Message': lambda: kz.service.Message().Allocate(), 'Command': lambda: commands.Spawn(0, 'log.clear'),
            'Attributes': lambda: kz.object.Attributes(commands.Spawn(0, 'user.value')), 'Image': self.image,
            'Log': lambda: kz.service.Log().SubSystemLookup('validated'),
            'LogEntry': lambda: kz.service.Log().CreateEntry(1, 'entry')}
        return makers[kind]() if kind in makers else None

    @staticmethod
    def value():
        value = kz.service.Value().CreateValue('integer')
        value.SetInt(1)
        return value

    def image(self, width=4, height=4):
        return kz.service.Image().Create(width, height, symbol.iIMG_FORMAT_RGB24, 0)

    def mesh(self):
        mesh = kz.service.Mesh().FromItem(self.item(), 0.0, 0)
        for corner in ((0, 0, 0), (1, 0, 0), (1, 0, 1), (0, 0, 1)):
            mesh.AddPoint(corner)
        return mesh

    def object(self, kind, method=None):
        """An object of that interface."""
        if kind is None and method is not None and method.interface == 'Saver':
            kind = 'Image'
        if not (self.use_stand_ins and hasattr(kzifc, kind or '')) and self.depth < 3:
            self.depth += 1
            try:
                made = self._make(kind)
                if made is not None:
                    return made
            except (RuntimeError, LookupError, TypeError, NotImplementedError):
                pass  # a host that makes none
            finally:
                self.depth -= 1
        return stand_in(kind)

    # Values

    def ordinary(self, method, turn=0):
        """Arguments such as hosts pass every day. Each turn takes other constants of the families."""
        return [self.one(method, each, turn) for each in method.inputs]

    def one(self, method, value, turn=0):
        kind, name = value.kind, value.name.lower()
        if kind == 'array':
            return self.array(value, ELEMENTS)
        if kind == 'object':
            return self.object(value.interface, method)
        if kind in _SIZES:
            return [0.5] * _SIZES[kind]
        if kind in ('float', 'double'):
            return 0.0 if 'time' in name else 0.5
        if kind in self.handles:
            return self.handles[kind][turn % len(self.handles[kind])]
        known = [each for _, each in sorted(shapes.members(value).items())]
        if kind in ('string', 'guid'):
            return self.text(name, [each for each in known if isinstance(each, str)], turn)
        known = [each for each in known if isinstance(each, (int, long))]
        if known and value.families[0][0] == 'f':
            return ([0] + known)[turn % (len(known) + 1)]
        if known:
            return known[turn % len(known)]
        return COUNT if any(word in name for word in ('count', 'size', 'width', 'height', 'stride')) else 0

    def text(self, name, known, turn):
        if name in ('path', 'file', 'filename'):
            path = os.path.join(self.folder, 'sample')
            with open(path, 'w') as stream:
                stream.write('sample\n')
            return path
        if name in ('guid', 'iid'):
            return symbol.u_VALUE
        return known[turn % len(known)] if known else _TEXT

    @staticmethod
    def array(value, elements):
        return kz.Storage(_LETTERS[value.element], elements)

    def odd(self, method, value):
        """The odd values of one parameter. Odd objects lack the interface, or have only that."""
        kind = value.kind
        if kind in _SIZES:
            return [[each] * _SIZES[kind] for each in _ODD['double'][:5]]
        if kind == 'array':
            return [None, self.array(value, HUGE)]
        if kind == 'object':
            return [stand_in('Visitor'), stand_in(value.interface), stand_in('Value')]
        return self.odd_values(kind)

    @staticmethod
    def odd_values(kind):
        return _ODD.get(kind, [])

    def hostile(self, method):
        """Random arguments, of which a third are odd."""
        return [self.random.choice(self.odd(method, each) or [0]) if self.random.random() < .35
                else self.one(method, each, self.random.randrange(100)) for each in method.inputs]

    def remember(self, method, returned):
        """Keeps the handles that a server has returned, which it takes back."""
        values = returned if isinstance(returned, tuple) else (returned,)
        for output, value in zip(method.outputs, values):
            if output.kind in self.handles and isinstance(value, (int, long)) and value:
                self.handles[output.kind] = (self.handles[output.kind] + [value])[-4:]


def described(arguments):
    return ', '.join(shapes.shown(each) for each in arguments)
