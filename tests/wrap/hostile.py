"""Arguments whose conversion does harm, and hosts that call back while they are called."""
import re
import sys

import kz
import manifest
import recorder
import values

count = [0]


def check(what, found, expected):
    count[0] += 1
    if isinstance(found, tuple) and len(found) == 2 and isinstance(found[0], type):
        found = found[0], found[1] if isinstance(expected, tuple) and expected[1:] != (None,) else None
    if found != expected:
        recorder.fail('%s: %r instead of %r' % (what, found, expected))


def outcome(function, *arguments):
    try:
        return function(*arguments)
    except Exception as error:
        return type(error), str(error)


def find(inputs, outputs=(), returns='result'):
    """A wrapper and the name of a method with these kinds; the kind of an object output may be left open."""
    for stem, name, isService, rows in manifest.TYPES:
        for method, returned, given, taken, lengths in rows:
            kinds = [kind for kind, _ in given], [kind.partition(':')[0] for kind, _ in taken], returned
            if not isService and not lengths and kinds == (list(inputs), list(outputs), returns):
                wrappers = [kind.partition(':')[2] for kind, _ in taken]
                return getattr(kz.object, name)(values.Host(stem)), method, wrappers
    raise LookupError('no method of %r' % ((inputs, outputs, returns),))


def vector_method():
    wrapper, name, _ = find(['vector3'])
    recorder.answer(0, ())
    return wrapper, getattr(wrapper, name)


class Does(object):
    """A number that does something when it is read."""

    def __init__(self, work, value=1.5):
        self.work, self.value = work, value

    def __float__(self):
        self.work()
        return self.value


LyingTuple = type('LyingTuple', (tuple,), {'__len__': lambda self: 3, '__getitem__': lambda self, index: index})


def sequences():
    wrapper, call = vector_method()
    knot = []
    knot.extend([knot, knot, knot])
    shrinking, growing = [], []
    shrinking.extend([Does(lambda: shrinking.__delitem__(slice(1, None))), 2, 3])
    growing.extend([Does(lambda: growing.extend([4, 5, 6])), 2, 3])
    NO_FLOAT = TypeError, 'a float is required'
    for given, expected in [
            (knot, NO_FLOAT), ('abc', NO_FLOAT),
            ({0: 1, 1: 2, 2: 3}, (TypeError, "object of type 'dict' has no len()")),
            (shrinking, (IndexError, 'list index out of range')), (growing, None),
            (values.Sequence([1, 2], 3), (IndexError, 'list index out of range')),
            (values.Sequence({}, 3), (KeyError, '0')),
            (values.Sequence([], -1), (ValueError, '__len__() should return >= 0')),
            (values.Sequence([], 2 ** 70), (OverflowError, None)), (values.Sequence([], 'x'), (TypeError, None)),
            (LyingTuple(), None), (xrange(3), None)]:
        found = outcome(call, given)
        check(type(given), found if expected is None or expected[1] else (found[0], None), expected)
    square, name, _ = find(['matrix4'])
    recorder.answer(0, ())
    knot.append(knot)
    check('a matrix in itself', outcome(getattr(square, name), knot), NO_FLOAT)
    rows = []
    rows.extend([[Does(lambda: rows.__delitem__(slice(None))), 0, 0, 0]] * 4)
    check('rows that go', outcome(getattr(square, name), rows), (IndexError, 'list index out of range'))
    recorder.calls()


def wrappers_in_conversion():
    """What is called is what the wrapper holds after the conversions."""
    wrapper, call = vector_method()
    check('emptied', outcome(call, [Does(lambda: wrapper.set(None)), 2, 3]), values.NO_INTERFACE)
    check('emptied', (recorder.calls(), wrapper.test()), ([], False))
    stem = type(wrapper).__name__
    for change in (wrapper.set, wrapper.__init__):
        wrapper.set(values.Host(stem))
        other = values.Host(stem)
        check('replaced', outcome(call, [Does(lambda: change(other)), 2, 3]), None)
        check('replaced', [where for _, where, _ in recorder.calls()], [other.address])

    def fail():
        wrapper.set(None)
        raise KeyError('own')
    wrapper.set(values.Host(stem))
    check('emptied and failed', outcome(call, [Does(fail), 2, 3]), (KeyError, "'own'"))


def buffers():
    """A host sees the memory that it was given for as long as it is called, whatever becomes of the storage."""
    stem, name, inputs = next((stem, method, [kind for kind, _ in given])
                              for stem, _, isService, rows in manifest.TYPES for method, returns, given, taken, lengths in rows
                              if 'float[]' in [kind for kind, _ in given] and not isService and not taken and
                              returns == 'result' and not any(counts or asked for _, counts, asked in lengths.values()))
    wrapper, at = getattr(kz.object, stem)(values.Host(stem)), inputs.index('float[]')
    recorder.answer(0, ())
    for change in (lambda given: given.setSize(100000), lambda given: given.setType('b'),
                   lambda given: given.__init__('p', 5000)):
        given, seen = values.storage('f', range(20)), []

        def inside():
            change(given)
            seen.append(recorder.calls()[0][2][at] == values.Memory('f', range(20)))
        recorder.during(inside)
        arguments = [given if place == at else values.argument(kind)[0] for place, kind in enumerate(inputs)]
        check('a storage changed meanwhile', outcome(getattr(wrapper, name), *arguments), None)
        check('a storage changed meanwhile', seen, [True])


def alive_of(stem):
    match = re.search(r'\b%s x(\d+)' % stem, recorder.alive())
    return int(match.group(1)) if match else 0


def inside_another(call, work):
    """Works inside a second call of the same method."""
    recorder.during(work)
    outcome(call, (3, 4, 5))


def inside_calls():
    """An object lives through the call that is made on it, whatever the call does to its wrapper."""
    wrapper, call = vector_method()
    stem = type(wrapper).__name__
    for change, more in ((lambda: wrapper.set(None), 0), (lambda: wrapper.set(values.Host(stem)), 1),
                         (lambda: wrapper.__init__(values.Host(stem)), 1), (lambda: outcome(call, (3, 4, 5)), 0),
                         (lambda: [wrapper.set(values.Host(stem)) for _ in range(50)], 1),
                         # Other threads take away, and leave Python, before the call returns.
                         (lambda: (wrapper.set(None), recorder.elsewhere(int)), 0),
                         (lambda: recorder.elsewhere(lambda: wrapper.set(None)), 0),
                         (lambda: inside_another(call, lambda: wrapper.set(None)), 0)):
        for otherwise in (False, True):
            if otherwise and 'range' in change.func_code.co_names:
                continue  # all that wrappers let go of is kept then, until Python is left
            wrapper.set(values.Host(stem))
            where, before, inside = wrapper.__peekobj__(), alive_of(stem), []
            recorder.during(lambda: (change(), inside.append(alive_of(stem))), otherwise)
            check('changed inside', outcome(call, (0, 1, 2)), None)
            check('changed inside', inside, [before + more])
            check('seen inside', recorder.calls()[0][1:], (where, [[0.0, 1.0, 2.0]]))
    # The wrapper itself goes, and so does that of an argument.
    held = [find(['object'])[0], kz.object.Scene(values.Host('Scene'))]
    method, inside, before = getattr(held[0], find(['object'])[1]), [], alive_of('Scene')
    recorder.answer(0, ())
    recorder.during(lambda: (held[1].set(0), held.__delitem__(slice(None)), inside.append(alive_of('Scene'))))
    check('an argument emptied inside', outcome(method, held[1]), None)
    check('an argument emptied inside', inside, [before])
    recorder.calls()


def outputs():
    """What cannot be made of an output is no leak, and says what is wrong."""
    wrapper, name, (kind,) = find(['uint'], ['object'])
    alive = recorder.alive()
    for stem, expected in ((None, values.NO_INTERFACE), ('Scene' if kind != 'Scene' else 'Item', values.NO_INTERFACE)):
        recorder.answer(0, (recorder.make(stem) if stem else 0,))
        check('an object of another kind', outcome(getattr(wrapper, name), 1), expected)
        check('alive', recorder.alive(), alive)
    # A text that never has room enough ends at some size.
    wrapper, name, _ = find(['uint'], ['text'])
    recorder.answer(0x8000001E, ('text',))
    check('a text without end', outcome(getattr(wrapper, name), 1), (RuntimeError, 'bad result: SHORTBUFFER'))
    check('a text without end', 2 < len(recorder.calls()) < 20, True)


def support_classes():
    """A class of kzu.object stands for the wrapper type of its name; anything else of that name does not."""
    module = sys.modules['kzu.object']
    wrapper, name, (kind,) = find(['uint'], ['object'])
    call = getattr(wrapper, name)

    Derived = type('Derived', (getattr(kz.object, kind),), {})

    class Other:
        def __init__(self, unknown):
            self.given = unknown

    class Failing(object):
        def __init__(self, unknown):
            raise KeyError('own')

    alive = recorder.alive()
    for stand_in in (Derived, Other, Failing, 'no class', None):
        setattr(module, kind, stand_in)
        where = recorder.make(kind)
        recorder.answer(0, (where,))
        found = outcome(call, 1)
        if stand_in is Failing:
            check(stand_in, found, (KeyError, "'own'"))
        elif stand_in is Other:
            given = found.given
            check(stand_in, (found.__class__, type(given), given.__peekobj__()), (Other, kz.object.Unknown, where))
            del given
        else:
            check(stand_in, (type(found), found.__peekobj__()),
                  (stand_in if stand_in is Derived else getattr(kz.object, kind), where))
        del found
        recorder.answer(0, (0,))
        check('null', outcome(call, 1), values.NO_INTERFACE)
    delattr(module, kind)
    check('alive', recorder.alive(), alive)
    recorder.calls()


def survive():
    for work in (sequences, wrappers_in_conversion, buffers, inside_calls, outputs, support_classes):
        work()
    return {'checks': count[0]}
