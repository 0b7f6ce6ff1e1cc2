"""Values as the text of recordings, and back."""

import ast
import base64
import os
import random
import stat
import struct
import sys
import tempfile
import types
import weakref
import zlib

import kz

import _kzobserve

PLAIN = (type(None), bool, int, long, float, str, unicode)
CONTAINERS = {tuple: '(%s)', list: '[%s]'}
NAMES = {'None': None, 'True': True, 'False': False}


class Refused(Exception):
    """Something that cannot be recorded. The text says what, and why."""


def settle_chance(seed):
    """Lets random numbers and the names of temporary files be those of the recording's seed."""
    random.seed(seed)
    names = tempfile._RandomNameSequence()
    names._rng, names._rng_pid = random.Random(seed), os.getpid()
    tempfile._name_sequence = names


def row_of(kind):
    """The type of kz.object or kz.service that a type is or derives from; None for others."""
    for base in getattr(kind, '__mro__', ()):
        if base.__module__ in ('kz.object', 'kz.service') and base is not kz.Storage:
            return base


def type_name(kind):
    name = '%s.%s' % (kind.__module__, kind.__name__)
    return name[len('kz.object.'):] if name.startswith('kz.object.') else name.replace('kz.service.', 'service.')


def class_name(kind):
    return '%s.%s' % (kind.__module__, kind.__name__)


def find(name):
    """The class of that full name, whose module must have been imported."""
    if name.startswith('service.') or '.' not in name:
        name = 'kz.' + (name if '.' in name else 'object.' + name)
    module, _, attribute = name.rpartition('.')
    try:
        return getattr(sys.modules[module], attribute)
    except (KeyError, AttributeError):
        raise Refused('there is no %s here' % name)


class Numbers(object):
    """The numbers of objects, in the order in which they first appear."""

    def __init__(self):
        self.last = 0
        self.by_id = {}
        self.guards = {}  # weak references, or the objects that cannot have any

    def of(self, thing):
        number = _kzobserve.number(thing) or self.by_id.get(id(thing))
        return number or self.give(thing, self.last + 1)

    def give(self, thing, number):
        key = id(thing)
        self.last = max(self.last, number)
        self.by_id[key] = number
        if row_of(type(thing)) is None:
            try:
                self.guards[key] = weakref.ref(thing, lambda _: self.forget(key))
            except TypeError:
                self.guards[key] = thing
        return number

    def forget(self, key):
        self.guards.pop(key, None)
        self.by_id.pop(key, None)

    def gone(self, address):
        """A wrapper has gone, or the host's reference to a Python object, which may live on."""
        if address not in self.guards:
            self.by_id.pop(address, None)


# The letters of storages by the formats of their memory.
KINDS = {'B': 'b', 'f': 'f', 'd': 'd', 'i': 'i', 'I': 'u', 'Q': 'p'}


LARGEST = 1 << 32  # elements; a view of memory whose size only the host knows has more


def contents(storage):
    return memoryview(storage).tobytes() if is_typed(storage) else b''


def is_typed(storage):
    try:
        return bool(memoryview(storage).format)
    except BufferError:
        return False


def fill(storage, packed):
    raw = unpacked(packed)
    if raw:
        struct.pack_into('%ds' % len(raw), storage, 0, raw)


def packed(raw):
    return base64.b64encode(zlib.compress(raw, 9))


def unpacked(text):
    return zlib.decompress(base64.b64decode(text))


def file_state(value):
    """What tells whether a file has changed, if the value is the name of one; else None."""
    try:
        state = os.stat(value)
    except (TypeError, ValueError, EnvironmentError):
        return None
    return stat.S_ISREG(state.st_mode) and (state.st_ino, state.st_mtime, state.st_size)


def shown_storage(storage, with_contents):
    if storage.size() > LARGEST or (storage.size() and not is_typed(storage)):
        raise Refused('raw memory of the host, of which nobody knows what it is')
    raw = contents(storage)
    kind = KINDS[memoryview(storage).format] if is_typed(storage) else ''
    tail = repr(packed(raw)) if with_contents else '%d' % (zlib.crc32(raw) & 0xFFFFFFFF)
    return 'storage(%r, %d, %s)' % (kind, len(storage), tail)


class Writer(object):
    """Writes values as text."""

    def __init__(self):
        self.numbers = Numbers()

    def value(self, value, with_contents=False):
        kind = type(value)
        if kind in PLAIN:
            return 'float(%r)' % repr(value) if kind is float and value - value != 0 else repr(value)
        if kind in CONTAINERS:
            items = ', '.join(self.value(each, with_contents) for each in value)
            return CONTAINERS[kind] % (items + ',' if kind is tuple and len(value) == 1 else items)
        if kind is dict:
            return '{%s}' % ', '.join(sorted('%s: %s' % (self.value(key), self.value(each, with_contents))
                                             for key, each in value.iteritems()))
        if isinstance(value, kz.Storage):
            return shown_storage(value, with_contents)
        if isinstance(value, (type, types.ClassType)):
            return 'cls(%r)' % class_name(value)
        return self.thing(value, kind)

    def thing(self, value, kind):
        if row_of(kind) is not None:
            return '%s(%d)' % (type_name(kind), self.numbers.of(value))
        if kind.__module__ == 'kz':
            return 'kz.%s()' % kind.__name__
        if isinstance(value, (types.BuiltinFunctionType, types.FunctionType, types.MethodType, types.ModuleType, file)):
            return 'other(%r)' % kind.__name__
        for plain in PLAIN + (tuple, list, dict):
            if isinstance(value, plain) and plain is not type(None):
                return self.value(plain(value))
        kind = getattr(value, '__class__', kind)
        return 'instance(%d, %r)' % (self.numbers.of(value), class_name(kind))

    def call(self, owner, method, target, args, keywords, with_contents=False):
        """The text of a call."""
        subject = self.value(target) if target is not None else owner
        shown = [self.value(each, with_contents) for each in args]
        shown += ['%s=%s' % (name, self.value(each)) for name, each in sorted((keywords or {}).iteritems())]
        return '%s.%s(%s)' % (subject, method, ', '.join(shown))

    def exception(self, exception):
        text = '%s(%s)' % (exception.__class__.__name__ if exception.__class__.__module__ == 'exceptions'
                           else class_name(exception.__class__),
                           ', '.join(self.value(each) for each in exception.args))
        attributes = getattr(exception, '__dict__', None)
        return '%s, %s' % (text, self.value(attributes)) if attributes else text


class Reader(object):
    """Makes values of their text. `living` are the Python objects that the host held before the script began."""

    def __init__(self, numbers, living):
        self.numbers = numbers
        self.living = list(living)
        self.held = {}     # what the host holds: a list of references for each number
        self.at_hand = {}  # what the script has passed or returned of late, by number

    def note(self, values):
        """Remembers Python objects that the host may take."""
        for value in values:
            number = self.numbers.by_id.get(id(value))
            if number is not None:
                self.at_hand[number] = value
            elif type(value) in CONTAINERS:
                self.note(value)

    def hold(self, text):
        number = self.number_of(text)
        thing = self.value(text)
        self.held.setdefault(number, []).append(thing)

    def release(self, number):
        references = self.held.get(number, [])
        if references:
            references.pop()
        if not references:
            self.held.pop(number, None)
            self.at_hand.pop(number, None)

    def number_of(self, text):
        """The number in the text of an object."""
        return ast.parse(text, mode='eval').body.args[0].n

    def contents_of(self, text):
        """The packed contents in the text of a storage."""
        return ast.parse(text, mode='eval').body.args[2].s

    def value(self, text):
        try:
            return self.made(ast.parse(text, mode='eval').body)
        except (SyntaxError, ValueError, TypeError, LookupError) as problem:
            raise Refused('%r is no value of a recording: %s' % (text[:100], problem))

    def made(self, node):
        if isinstance(node, ast.Num):
            return node.n
        if isinstance(node, ast.Str):
            return node.s
        if isinstance(node, ast.Name):
            return NAMES[node.id]
        if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub):
            return -self.made(node.operand)
        if isinstance(node, ast.Tuple):
            return tuple(self.made(each) for each in node.elts)
        if isinstance(node, ast.List):
            return [self.made(each) for each in node.elts]
        if isinstance(node, ast.Dict):
            return dict((self.made(key), self.made(each)) for key, each in zip(node.keys, node.values))
        if isinstance(node, ast.Call):
            return self.called(dotted(node.func), [self.made(each) for each in node.args])
        raise ValueError('it has %s' % type(node).__name__)

    def called(self, name, args):
        own = getattr(self, 'make_' + name, None)
        if own is not None:
            return own(*args)
        kind = find(name)
        if row_of(kind) is not None:
            return self.make_wrapper(kind, *args)
        raise ValueError('it makes a ' + name)

    def make_float(self, text):
        return float(text)

    def make_cls(self, name):
        return find(name)

    def make_instance(self, number, name):
        if number in self.held:
            return self.held[number][-1]
        if number in self.at_hand:
            return self.at_hand[number]
        for index, each in enumerate(self.living):
            if class_name(each.__class__) == name:
                self.numbers.give(each, number)
                self.held[number] = [self.living.pop(index)]
                return each
        raise Refused('there is no instance(%d, %r) here' % (number, name))

    def make_wrapper(self, kind, number):
        self.numbers.last = max(self.numbers.last, number)
        return _kzobserve.ghost(kind, number)

    def make_storage(self, kind, length, packed):
        storage = kz.Storage(kind, length) if kind else kz.Storage()
        if packed:
            fill(storage, packed)
        return storage

    def exception(self, text):
        body = ast.parse(text, mode='eval').body
        made, attributes = (body.elts[0], self.made(body.elts[1])) if isinstance(body, ast.Tuple) else (body, {})
        name = dotted(made.func)
        kind = find(name if '.' in name else 'exceptions.' + name)
        if not (isinstance(kind, type) and issubclass(kind, BaseException)):
            raise Refused('%s is no exception' % name)
        exception = kind(*[self.made(each) for each in made.args])
        exception.__dict__.update(attributes)
        return exception


def dotted(node):
    if isinstance(node, ast.Name):
        return node.id
    if isinstance(node, ast.Attribute):
        return dotted(node.value) + '.' + node.attr
    raise ValueError('no name')
