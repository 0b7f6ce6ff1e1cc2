"""The wrappers read plain arguments themselves and leave the rest to the interpreter's parser. Nobody may be able to
tell: whatever the arguments, a method takes and refuses what the parser does, with the same values and errors."""
import ctypes
import itertools

import kz
import manifest
import recorder
import values

LANES = {'int': ('i', ctypes.c_int), 'uint': ('I', ctypes.c_uint), 'size': ('n', ctypes.c_ssize_t),
         'id': ('n', ctypes.c_size_t), 'pointer': ('n', ctypes.c_size_t), 'float': ('f', ctypes.c_float),
         'double': ('d', ctypes.c_double), 'string': ('z', ctypes.c_char_p)}


Lying = type('Lying', (int,), {'__int__': lambda self: 7, '__float__': lambda self: 7.5})
LyingLong = type('LyingLong', (long,), {'__int__': lambda self: 8})
LyingFloat = type('LyingFloat', (float,), {'__float__': lambda self: 9.5})
Text = type('Text', (str,), {'__str__': lambda self: 'other'})
Indexed = type('Indexed', (object,), {'__index__': lambda self: 4})


class Number(object):
    """Answers each conversion with what it is given, or raises it."""

    def __init__(self, value):
        self.value = value

    def convert(self):
        if isinstance(self.value, Exception):
            raise self.value
        return self.value

    __int__ = __long__ = __float__ = __index__ = __str__ = convert


class OldNumber:
    __int__, __float__ = lambda self: 5, lambda self: 5.5


# Texts of the lengths at which they are looked over in another way, with a zero byte at either end, within, and without.
TEXTS = ['x' * place + '\0' + 'x' * (size - place - 1) for size in (4, 7, 8, 12, 16, 17, 65)
         for place in (0, size // 2, size - 1)] + ['x' * size for size in (4, 7, 8, 16, 17, 65)]
EDGES = [edge + step for bits in (31, 32, 63, 64) for edge in (2 ** bits, -2 ** bits) for step in (-1, 0, 1)]
ODD = EDGES + TEXTS + [long(edge) for edge in EDGES if isinstance(edge, int)] + [
    0, 1, -1, 5L, True, False, 10 ** 400, -10 ** 400, Lying(5), LyingLong(6), Lying(2 ** 40),
    1.5, -0.0, 1e39, 1e-46, float('nan'), float('inf'), -float('inf'), LyingFloat(1.5), 1j,
    '', 'text', 'a\0b', '\0', u'', u'ascii', u'\xe4', u'a\0b', Text('text'), Text('a\0b'),
    bytearray('bytes'), buffer('buffer'),
    None, NotImplemented, (), [], {}, object, object(), OldNumber(), OldNumber, Indexed(), iter(()),
    Number(3), Number(3L), Number(2 ** 70), Number(3.5), Number('x'), Number(None), Number(ValueError('own')),
    Number(Lying(5)), Number(LyingFloat(1.5)),
]


def outcome(function, *arguments):
    try:
        return function(*arguments)
    except Exception as error:
        return type(error), str(error)


def scalar_methods():
    for stem, name, isService, rows in manifest.TYPES:
        chosen = [row for row in rows if all(kind in LANES for kind, _ in row[2]) and len(row[2]) <= 8]
        if isService or not chosen:
            continue
        wrapper = getattr(kz.object, name)(values.Host(stem))
        for method, returns, inputs, outputs, _ in chosen:
            answered = [kind for kind, _ in outputs] + [kind for kind in [returns] if kind not in ('result', 'void')]
            yield stem + '.' + method, getattr(wrapper, method), [kind for kind, _ in inputs], answered


def seen_by_parser(kinds, arguments):
    places = [LANES[kind][1]() for kind in kinds]
    parse = ctypes.pythonapi.PyArg_ParseTuple
    parse.argtypes = [ctypes.py_object, ctypes.c_char_p]
    letters = ''.join(LANES[kind][0] for kind in kinds)
    failed = outcome(parse, tuple(arguments), letters, *map(ctypes.byref, places))
    if isinstance(failed, tuple):
        return failed
    # As the recorder notes them: every integer is a long.
    return [long(place.value) if isinstance(place.value, int) else place.value for place in places]


def seen_by_host(function, arguments):
    result = outcome(function, *arguments)
    calls = recorder.calls()
    return calls[0][2] if calls else result


def argument_lists(kinds, odd):
    """Each odd argument in each place, mixes of them, and the wrong number of good ones."""
    good = [values.argument(kind)[0] for kind in kinds]
    for at in range(len(kinds)):
        for _ in range(len(ODD) if len(kinds) == 1 else 12):
            yield good[:at] + [next(odd)] + good[at + 1:]
    for _ in range(12 if len(kinds) > 1 else 0):
        yield [next(odd) for _ in kinds]
    for count in (0, len(kinds) - 1, len(kinds) + 1, 20):
        yield [1] * max(count, 0)


def compare():
    odd = itertools.cycle(ODD)
    count = methods = 0
    for label, function, kinds, answered in scalar_methods():
        methods += 1
        for arguments in argument_lists(kinds, odd):
            count += 1
            recorder.answer(0, tuple(0 if kind.startswith('object') else values.answer(kind)[0] for kind in answered))
            expected, found = seen_by_parser(kinds, arguments), seen_by_host(function, arguments)
            if not values.same(found, expected):
                recorder.fail('%s%r: %r instead of the parser\'s %r' % (label, tuple(arguments), found, expected))
    return {'methods': methods, 'comparisons': count}
