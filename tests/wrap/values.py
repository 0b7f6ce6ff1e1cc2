"""Values of every kind of parameter: what Python passes and the host is to see, what the host answers and Python is to
get, and what no method takes. All of it follows from the kinds alone."""
import ctypes
import itertools
import struct
import types

import kz
import recorder


class Peeks(object):
    """An object that gives an address to whoever asks."""

    def __init__(self, address):
        self.address = address

    def __peekobj__(self):
        return self.address


class Host(Peeks):
    """A recording host object, as an object that gives its interface to whoever asks."""

    def __init__(self, stem):
        Peeks.__init__(self, recorder.make(stem))

    def __del__(self):
        recorder.release(self.address)


class Sequence(object):
    """A sequence that is neither a tuple nor a list, and may lie about its length."""

    def __init__(self, items, length=None):
        self.items, self.length = items, len(items) if length is None else length

    def __len__(self):
        return self.length

    def __getitem__(self, index):
        return self.items[index]


def storage(letter, values):
    made = kz.object.storage(letter, len(values))
    made.set(values)
    return made


def address(buffer):
    return ctypes.addressof(buffer)


def narrow(value):
    return struct.unpack('f', struct.pack('f', value))[0]


def same(value, expected):
    """Equal in type and value, not-a-number and signs of zero included."""
    if isinstance(expected, Made):
        return expected.matches(value)
    if isinstance(expected, (tuple, list)):
        return type(value) is type(expected) and len(value) == len(expected) and all(map(same, value, expected))
    return type(value) is type(expected) and repr(value) == repr(expected)


# What Python passes, and what the host is to be given.

def shaped(numbers, columns, turn):
    """The numbers as rows of so many columns, in one of the forms that a sequence can have."""
    form = (tuple, list, Sequence)[turn % 3]
    rows = [form(numbers[at:at + columns]) for at in range(0, len(numbers), columns)]
    return rows[0] if len(rows) == 1 else form(rows)


def numbers(rows, columns, single):
    for turn in itertools.count():
        given = [(turn + 1) * (at - 2) * (1 if turn % 4 == 3 else 0.37) for at in range(rows * columns)]
        if turn % 4 == 3:
            given = [int(number) for number in given]
        seen = [narrow(number) if single else float(number) for number in given]
        yield shaped(given, columns, turn), seen


def texts():
    return [('', ''), ('text', 'text'), (None, None), ('x' * 300, 'x' * 300), (u'unicode', 'unicode')]


def guids():
    raw = struct.pack('<IHH8B', 0x0123ABCD, 0x4567, 0x89EF, *range(0xA0, 0xA8))
    return [(text, raw) for text in ('0123ABCD-4567-89EF-A0A1-A2A3A4A5A6A7', '0123abcd-4567-89ef-a0a1-a2a3a4a5a6a7')]


def objects():
    held = kz.object.Item(Host('Item')), kz.object.Unknown(Host('Value')), Host('Scene')
    return [(each, each.__peekobj__()) for each in held] + [(None, 0), (0, 0)]


def short_storage(kind, needed):
    """A storage with an element less than are needed, and what the log says of it."""
    letter, width = {'float[]': 'f4', 'double[]': 'd8', 'int[]': 'i4', 'uint[]': 'u4', 'byte[]': 'b1', 'id[]': 'p8',
                     'data[]': 'b1'}[kind]
    return storage(letter, [0] * (needed - 1)), 'expected a storage of at least %d bytes, got a kz.Storage of %d bytes' % (
        needed * int(width), (needed - 1) * int(width))


def arrays(letter):
    # The start of the memory shows in an interface that reads it: a storage does not tell its address.
    filled = [(storage(letter, each), Memory(letter, each)) for each in (range(1, 81), range(7, 97))]
    return [(None, Memory(letter, None))] + filled


class Memory(object):
    """An address at which these elements are found."""

    def __init__(self, letter, elements):
        self.type = dict(f=ctypes.c_float, d=ctypes.c_double, i=ctypes.c_int, u=ctypes.c_uint, b=ctypes.c_ubyte,
                         p=ctypes.c_void_p)[letter]
        self.elements = elements

    def __eq__(self, seen):
        if self.elements is None:
            return seen == 0
        return list((self.type * len(self.elements)).from_address(seen)) == self.elements

    def __ne__(self, seen):
        return not self == seen


SINGLES = [(0, 0.0), (1.5, 1.5), (-0.1, narrow(-0.1)), (3, 3.0), (7L, 7.0), (1e38, narrow(1e38)), (True, 1.0)]
DOUBLES = [(0, 0.0), (1.5, 1.5), (-0.1, -0.1), (3, 3.0), (7L, 7.0), (1e308, 1e308), (float('inf'), float('inf'))]
SIZES = [(0, 0), (5, 5), (-7L, -7), (2 ** 63 - 1, 2 ** 63 - 1), (-2 ** 63, -2 ** 63), (True, 1)]
ADDRESSES = [(each, each % 2 ** 64) for each, _ in SIZES]

INPUTS = {
    'int': [(0, 0), (5, 5), (-7, -7), (2 ** 31 - 1, 2 ** 31 - 1), (-2 ** 31, -2 ** 31), (12L, 12), (True, 1)],
    'uint': [(0, 0), (5, 5), (2 ** 32 - 1, 2 ** 32 - 1), (-1, 2 ** 32 - 1), (2 ** 40 + 9, 9), (-2L, 2 ** 32 - 2)],
    'size': SIZES, 'id': ADDRESSES, 'pointer': ADDRESSES,
    'float': SINGLES, 'double': DOUBLES, 'string': texts(), 'guid': guids(), 'object': objects(),
    'bounds': numbers(2, 3, False), 'quaternion': numbers(1, 4, False),
    'float[]': arrays('f'), 'double[]': arrays('d'), 'int[]': arrays('i'), 'uint[]': arrays('u'),
    'byte[]': arrays('b'), 'id[]': arrays('p'), 'data[]': arrays('b'),
    'hints': [(each, [(value, str(text)) for value, text in each.items()])
              for each in ({}, {3: 'three'}, {-1: 'less', 2 ** 31 - 1: u'most'})],
    'blocks': [(None, []), ([], []), ([(7, 'bytes'), (2 ** 32 - 1, 'a\0b')], [(7, 'bytes'), (2 ** 32 - 1, 'a\0b')])],
}


# What the host answers, and what Python is to get.

class Made(object):
    """A returned object that no literal stands for."""


class Wrapper(Made):
    def __init__(self, name, where):
        self.type, self.address = getattr(kz.object, name or 'Unknown'), where

    def matches(self, value):
        return isinstance(value, self.type) and value.test() and value.__peekobj__() == self.address


class View(Made):
    """A storage on the host's memory, which has no type until a script sets one."""
    bytes = ctypes.create_string_buffer('bytes', 128)

    def __init__(self, null, limit=128):
        self.null, self.limit = null, limit

    def matches(self, value):
        if type(value) is not kz.object.storage or value.size() != 0:
            return False
        if self.null:
            return True
        value.setType('b')
        value.setSize(self.limit + 1)
        try:
            value[self.limit]
        except IndexError:
            return tuple(value[at] for at in range(min(self.limit, 5))) == tuple(map(ord, 'bytes'[:self.limit]))
        return self.limit == 128  # nobody says where it ends


def limited(kind, elements, pair):
    """The answer as a view on so many elements."""
    return pair[0], View(pair[0] == 0, elements * (1 if kind == 'data[]' else 4))


def nested(flat, columns):
    rows = tuple(tuple(flat[at:at + columns]) for at in range(0, len(flat), columns))
    return rows[0] if len(rows) == 1 else rows


def answers(rows, columns, single):
    for turn in itertools.count():
        given = [(turn + 1) * (at - 2) * 0.37 for at in range(rows * columns)]
        yield given, nested([narrow(number) if single else number for number in given], columns)


def wrappers(name):
    # The interface that a wrapper of no special type holds may be any.
    stem = 'Item' if name in (None, 'Unknown') else name
    while True:
        where = recorder.make(stem)
        yield where, Wrapper(name, where)
        if name is None:
            yield 0, None


LONGS = [0L, 1L, -1L, 2 ** 31 - 1L, -2 ** 31 + 0L]
UNSIGNED = [0L, 1L, 2 ** 32 - 1L, 2 ** 31 + 0L]
WHERE = [0L, 4096L, 2 ** 48 + 1L, 2 ** 64 - 1L]
FLOATS = [0.0, 1.5, -0.25, float('nan'), float('inf')]
STRINGS = ['', 'text', None, 'y' * 700]
LENGTHS = [0, 5, 511, 512, 3000]

OUTPUTS = {
    'bool': [(True, True), (False, False)],
    'int': [(each, each) for each in LONGS], 'uint': [(each, each) for each in UNSIGNED],
    'size': [(each, each) for each in LONGS + [2 ** 63 - 1L]],
    'id': [(each, each) for each in WHERE], 'pointer': [(each, each) for each in WHERE],
    'float': [(each, each) for each in FLOATS] + [(0.1, narrow(0.1))],
    'double': [(each, each) for each in FLOATS] + [(0.1, 0.1)],
    'string': [(each, each) for each in STRINGS], 'text': [('t' * each, 't' * each) for each in LENGTHS],
    'bounds': answers(2, 3, False), 'quaternion': answers(1, 4, False),
    'float[]': [(address(View.bytes), View(False)), (0, View(True))],
    'hints': [(each, each) for each in ([], [(3, 'three')], [(-1, 'less'), (1, 'more')])] + [(None, [])],
}
OUTPUTS['uint[]'] = OUTPUTS['data[]'] = OUTPUTS['float[]']


def argument(kind):
    """Another pair each time, so that two parameters of one kind cannot be mistaken for each other."""
    return next(INPUTS[kind.partition(':')[0]])


def answer(kind):
    name, _, wrapper = kind.partition(':')
    if name == 'object' and kind not in OUTPUTS:
        OUTPUTS[kind] = wrappers(wrapper or None)
    return next(OUTPUTS[kind])


# What no method takes, and what it raises.

class Raising(object):
    """A host object, or a sequence, that fails in its own way."""

    def __len__(self):
        raise ValueError('own')

    __peekobj__ = __len__


FAILED = RuntimeError, 'bad result: FAILED'
INVALID = TypeError, 'invalid argument'
NO_INTERFACE = TypeError, 'no interface'
OWN = ValueError, 'own'


def badly_shaped(rows, columns, no_sequence):
    one = [0.5] * columns
    wrong = [(one[1:], FAILED), (one + [1], FAILED), ([], FAILED), (Raising(), OWN)]
    wrong.append((one[1:] + ['x'], (TypeError, None)))
    if rows > 1:
        good = [one] * (rows - 1)
        wrong = [(good + [row], error) for row, error in wrong] + [(good, FAILED), (good + [one, one], FAILED)]
        wrong.append((good + [3], (TypeError, None)))
    return wrong + [(each, no_sequence) for each in (5, None, object())]


NO_INTEGER = [(each, (TypeError, None)) for each in ('1', None, 1.5, [], 1j)]
TOO_LARGE = [(each, (OverflowError, None)) for each in (2 ** 63, -2 ** 63 - 1)]
NO_NUMBER = [(each, (TypeError, None)) for each in ('1', None, [], 1j)]
NO_STORAGE = [(each, INVALID) for each in ('x', [], 0, kz.object.storage)]

WRONG = {
    'int': NO_INTEGER + TOO_LARGE + [(2 ** 31, (OverflowError, None)), (-2 ** 31 - 1, (OverflowError, None))],
    'uint': NO_INTEGER, 'size': NO_INTEGER + TOO_LARGE, 'id': NO_INTEGER + TOO_LARGE, 'pointer': NO_INTEGER + TOO_LARGE,
    'float': NO_NUMBER, 'double': NO_NUMBER,
    'string': [(each, (TypeError, None)) for each in (5, [], 'a\0b')] + [(u'\xe4', (UnicodeEncodeError, None))],
    'guid': [(each, FAILED) for each in (5, None, u'', 'nonsense', '0123ABCD-4567-89EF-A0A1-A2A3A4A5A6A7\0')],
    'object': [(kz.object.Item(), NO_INTERFACE), (Raising(), OWN)] +
              [(Peeks(number), NO_INTERFACE) for number in (0, True, 0xFFFF, -1, 1 << 48)],
    'bounds': badly_shaped(2, 3, INVALID),
    'hints': [(each, INVALID) for each in ([], None, 'x')] + [({'a': 'b'}, (TypeError, None)),
                                                               ({1: u'\xe4'}, (UnicodeEncodeError, None)),
                                                               ({1: 'a\0b'}, (TypeError, None))],
    'blocks': [(each, INVALID) for each in (5, [5], [(1,)], [(1, u'x')])] + [([('a', 'x')], (TypeError, None))],
}
WRONG.update((kind, NO_STORAGE) for kind in INPUTS if kind.endswith('[]'))
for name, rows, columns in [('vector%d' % n, 1, n) for n in (2, 3, 4)] + [('matrix%d' % n, n, n) for n in (3, 4)]:
    for prefix, single in (('', False), ('f', True)):
        INPUTS[prefix + name] = numbers(rows, columns, single)
        OUTPUTS[prefix + name] = answers(rows, columns, single)
        WRONG[prefix + name] = badly_shaped(rows, columns, (TypeError, None))
WRONG['quaternion'] = WRONG['vector4']

for table in INPUTS, OUTPUTS:  # each kind has values without end
    for kind, values in table.items():
        table[kind] = values if isinstance(values, types.GeneratorType) else itertools.cycle(values)


def wrong(kind):
    return WRONG[kind.partition(':')[0]]
