"""What the SDK's description says of the methods of servers, and whether an answer is what it says."""

import marshal
import re

import kz
import kzifc
from kzserv import files

_SIGNATURE = re.compile(r'(\w+)\((.*?)\)(?: -> (.*))?$')
_NUMBERS = {'vector2': 2, 'vector3': 3, 'vector4': 4, 'fvector2': 2, 'fvector3': 3, 'fvector4': 4}
_RANGES = {'int': (-2 ** 31, 2 ** 31 - 1), 'uint': (0, 2 ** 32 - 1), 'size': (-2 ** 63, 2 ** 63 - 1),
           'id': (0, 2 ** 64 - 1), 'pointer': (0, 2 ** 64 - 1)}
_OPEN = ('iITYPE', 'iSTARS', 'iCURVE')  # families that name some values of many
_PLAIN = set(_NUMBERS) | set(_RANGES) | set(
    ['float', 'double', 'bool', 'string', 'text', 'guid', 'object', 'hints', 'blocks', 'quaternion', 'bounds'])


class Value(object):
    """One parameter or result: its name, its kind, and of an object the interface, of an array the element's kind."""

    def __init__(self, text):
        name, colon, rest = text.rpartition(': ') if ': ' in text else ('', '', text)
        rest, _, families = rest.partition(' of ')
        self.name, self.text = name, text
        self.families = families.split(' | ') if families else []
        self.is_array = '[' in rest
        self.element = rest.partition('[')[0]
        self.length = rest[rest.find('[') + 1:-1] if self.is_array else ''
        self.interface = None if self.is_array or rest in _PLAIN else rest
        self.kind = 'array' if self.is_array else 'object' if self.interface else rest


class Method(object):
    """One method of an interface. `outputs` are what the Python method returns."""

    def __init__(self, interface, name, signature, remarks, is_required):
        self.interface, self.name, self.remarks, self.is_required = interface, name, remarks, is_required
        self.short = name[name.index('_') + 1:]
        _, inputs, outputs = _SIGNATURE.match(signature).groups()
        self.inputs = [Value(each) for each in _split(inputs)]
        self.expected = outputs or 'nothing'
        self.outputs = [Value(each) for each in _split((outputs or '').strip('()'))]

    @property
    def label(self):
        return '%s.%s' % (self.interface, self.name)

    @property
    def is_question(self):
        """Whether it is asked for something and given nothing: such a method has no reason to print."""
        return bool(self.outputs) and not any(each.kind in ('object', 'string') for each in self.inputs)


def _split(text):
    return re.split(r', (?![^\[]*\])', text) if text else []


_rows = {}
_methods = {}


def load(path):
    """Reads the rows of the description that the parent has written: by interface the name, signature and remarks of
    each method. All of the description takes longer to read than most children live."""
    with open(path, 'rb') as stream:
        _rows.update(marshal.load(stream))


def methods(kind):
    """The methods of an interface that reach Python, in the order of the description."""
    if kind not in _methods:
        base = getattr(kzifc, kind)
        _methods[kind] = [Method(kind, row[0], row[1], row[2], '(required)' in (getattr(base, row[0]).__doc__ or ''))
                          for row in _rows[kind] if hasattr(base, row[0])]
    return _methods[kind]


def family(names):
    """The values of the constants of these families, by name."""
    found = {}
    for stem in names:
        stems = (stem, 'm' + stem[1:]) if stem[0] == 'f' else (stem,)
        for name in dir(kz.symbol):
            if any(name == each or name.startswith(each if each.endswith('_') else each + '_') for each in stems):
                found[name] = getattr(kz.symbol, name)
    return found


def own_attributes(cls):
    """The attributes of a class that are not inherited from kzifc."""
    attributes = {}
    for base in reversed(cls.__mro__):
        if base is not object and base.__module__ != 'kzifc':
            attributes.update(vars(base))
    return attributes


_families = {}


def members(value):
    key = tuple(value.families)
    if key not in _families:
        _families[key] = family(key) if key else {}
    return _families[key]


def shown(value):
    try:
        text = re.sub(' at 0x[0-9a-f]+', '', repr(value))  # an address tells nothing, and differs in each run
    except Exception:
        text = 'a %s without a repr' % type(value).__name__
    return text if len(text) <= 80 else text[:77] + '...'


def problem(method, returned, is_strict):
    """What is wrong with a returned value, as (what was seen, what was expected); None if nothing is. Families and
    finite numbers count only for a strict check."""
    if not method.outputs:
        if isinstance(returned, (int, long)) and returned & 0xFFFFFFFF >= 0x80000000:
            return 'returned the code 0x%08x, which nobody reads' % (returned & 0xFFFFFFFF), \
                'kz.throw(code), since it has nothing to return'
        return None
    if len(method.outputs) == 1:
        wrong = _wrong(method.outputs[0], returned, is_strict)
        return wrong and ('returned ' + shown(returned) + (': ' + wrong if wrong is not True else ''), method.expected)
    if not isinstance(returned, tuple) or len(returned) != len(method.outputs):
        return 'returned ' + shown(returned), 'a tuple of %d: %s' % (len(method.outputs), method.expected)
    for output, item in zip(method.outputs, returned):
        wrong = _wrong(output, item, is_strict)
        if wrong:
            return 'returned %s as "%s"%s' % (shown(item), output.name, ': ' + wrong if wrong is not True else ''), \
                output.text
    return None


def _wrong(output, value, is_strict):
    """A text or True if the value does not fit, else None."""
    kind = output.kind
    if kind in ('int', 'uint', 'size', 'id'):
        return _wrong_integer(output, value, is_strict)
    if kind == 'bool':
        return None if isinstance(value, (int, long)) else True
    if kind in ('float', 'double'):
        return _wrong_number(value, is_strict)
    if kind in ('string', 'text'):
        return _wrong_text(kind, value)
    if kind in _NUMBERS:
        try:
            items = [value[index] for index in range(len(value))]
        except Exception:
            return True
        return True if len(items) != _NUMBERS[kind] else next(
            (wrong for wrong in (_wrong_number(each, is_strict) for each in items) if wrong), None)
    if kind == 'object':
        return _wrong_object(output.interface, value)
    return None


def _wrong_integer(output, value, is_strict):
    if isinstance(value, float):
        return None if value == int(value) else 'the fraction is lost'
    if not isinstance(value, (int, long)):
        return True
    least, most = _RANGES[output.kind]
    if not least <= value <= most:
        return 'out of the range of %s, %d to %d' % (output.kind, least, most)
    known = [each for each in members(output).values() if isinstance(each, (int, long))]
    if not is_strict or not known or any(each in _OPEN for each in output.families):
        return None
    if all(each[0] == 'f' for each in output.families):
        bits = 0
        for each in known:
            bits |= each
        return None if value & 0xFFFFFFFF & ~bits == 0 else 'no constant of %s has the bits 0x%x' % (
            ' | '.join(output.families), value & 0xFFFFFFFF & ~bits)
    return None if value in known else 'no constant of ' + ' | '.join(output.families)


def _wrong_number(value, is_strict):
    if not isinstance(value, (int, long, float)):
        return True
    return 'not a finite number' if is_strict and isinstance(value, float) and (value != value or value in (
        float('inf'), float('-inf'))) else None


def _wrong_text(kind, value):
    if isinstance(value, unicode):
        try:
            value = value.encode('ascii')
        except UnicodeError:
            return 'a unicode text that is not ASCII; encode it as UTF-8'
    if value is None and kind == 'string':
        return None
    if not isinstance(value, str):
        return True
    return 'the host reads it only up to the NUL' if '\0' in value else None


def _wrong_object(interface, value):
    if value is None:
        return None
    if not hasattr(value, '__peekobj__') and not files.interface_bases(type(value)):
        return 'not an object of a host or of a class of kzifc'
    wrapper = getattr(kz.object, interface, None) if interface else None
    if wrapper is None:
        return None
    try:
        wrapper(value)
    except TypeError:
        return 'it has no interface ' + interface
    except Exception:
        pass
    return None
