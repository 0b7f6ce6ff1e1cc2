"""Calls every method of every wrapper on recording host objects."""
import collections
import gc
import re
import sys

import kz
import manifest
import recorder
import values

GENERIC = {'set', 'test', '__eq__', '__hash__', '__peekobj__'}

CODES = [
    (0x80000001, NotImplementedError, 'not implemented'),
    (0x80000002, MemoryError, 'out of memory'),
    (0x80000015, IndexError, 'out of bounds'),
    (0x80000017, LookupError, 'not found'),
    (0x80000004, TypeError, 'no interface'),
    (0x80000003, TypeError, 'invalid argument'),
    (0x80000000, RuntimeError, 'bad result: FAILED'),
    (0x8000001B, RuntimeError, 'bad result: ALREADYEXISTS'),
    (0x8123ABCD, RuntimeError, 'bad result: <unknown code>'),
]

# Those of which nobody else takes references meanwhile.
WATCHED = (list, tuple, dict, values.Sequence, values.Host, kz.object.storage, kz.object.Item, kz.object.Unknown)

counts = collections.Counter()


class Method(object):
    """One method of one wrapper, with what the description says of it."""

    def __init__(self, stem, wrapper, where, row):
        self.name, self.returns, self.inputs, self.outputs, self.lengths = row
        self.label = stem + '.' + self.name
        self.type = type(wrapper).__module__.partition('.')[2] + '.' + type(wrapper).__name__
        self.wrapper, self.where = wrapper, where
        self.hasCode = self.returns == 'result'
        # In the order in which the host is asked: what it returns comes last, and first in what Python gets.
        self.answered = [kind for kind, _ in self.outputs]
        self.first = [] if self.returns in ('result', 'void') else [self.returns]

    def complain(self, text, *values):
        recorder.fail('%s: %s' % (self.label, text % values))

    def arguments(self):
        pairs = [values.argument(kind) for kind, _ in self.inputs]
        recorder.ask([name for _, _, asked in self.lengths.values() for name in asked])
        for _, counting, _ in self.lengths.values():
            for place, count in counting.items():  # no more than any storage has
                pairs[place:place + 1] = [(count, count)] if place < len(pairs) else []
        return [given for given, _ in pairs], [seen for _, seen in pairs]

    def lay_out(self, code):
        pairs = [values.answer(kind) for kind in self.answered + self.first]
        for place, (elements, counting, _) in self.lengths.items():
            place -= len(self.inputs)
            if place >= 0:
                pairs[place] = values.limited(self.answered[place], elements, pairs[place])
                for count in counting:
                    if count >= len(self.inputs):
                        pairs[count - len(self.inputs)] = 2, 2L
        recorder.answer(code, tuple(given for given, _ in pairs))
        expected = [each for _, each in pairs]
        expected = expected[len(self.answered):] + expected[:len(self.answered)]
        return None if not expected else expected[0] if len(expected) == 1 else tuple(expected)

    def call(self, arguments, wrapper=None):
        """What it returns, or what it raises as (class, text)."""
        counts['calls'] += 1
        watched = [each for each in arguments if isinstance(each, WATCHED)]
        before = map(sys.getrefcount, watched)
        try:
            return getattr(wrapper or self.wrapper, self.name)(*arguments), None
        except Exception as error:
            return None, (type(error), str(error))
        finally:
            sys.exc_clear()
            if map(sys.getrefcount, watched) != before:
                self.complain('references to the arguments went from %r to %r', before, map(sys.getrefcount, watched))

    def expect_reason(self, at, expected=''):
        """The log names the method and the argument, once."""
        place = 'kz.%s.%s' % (self.type, self.name)
        documented_inputs = [documented(kind, name) for kind, name in self.inputs]
        if at is None:
            place += ': expected (%s), got ' % ', '.join(documented_inputs)
        else:
            place += ", argument %d '%s': expected " % (at + 1, documented_inputs[at])
        reasons = re.sub(r' : [\w|]+', '', recorder.reasons())  # without the families of constants
        if reasons.count('\n') != 1 or place not in reasons or expected not in reasons or ', got ' not in reasons:
            self.complain('the log says %r instead of %r %r', reasons, place, expected)

    def expect_error(self, what, outcome, expected, called=False):
        result, error = outcome
        if error is None or error[0] is not expected[0] or expected[1] not in (None, error[1]):
            self.complain('%s gave %r, %r instead of %r', what, result, error, expected)
        if bool(recorder.calls()) != called:
            self.complain('%s: the host was %scalled', what, 'not ' if called else '')

    def carry(self, code):
        """A call with good arguments that succeeds."""
        arguments, seen = self.arguments()
        expected = self.lay_out(code)
        last = kz.lastResult()
        result, error = self.call(arguments)
        if error is not None or not values.same(result, expected):
            self.complain('%r gave %r, %r instead of %r', arguments, result, error, expected)
        calls = recorder.calls()
        if not calls or any(each != (self.label, self.where, seen) for each in calls):
            self.complain('the host saw %r instead of %r', calls, seen)
        if kz.lastResult() != (code if self.hasCode else last):
            self.complain('the last result is %#x', kz.lastResult())

    def fail(self, isService):
        good = self.arguments()[0]
        if not isService:
            empty = type(self.wrapper)()
            for arguments in (good, good + [1, 2]):
                self.expect_error('an empty wrapper', self.call(arguments, empty), values.NO_INTERFACE)
        for arguments in (good + [1], good[1:]):
            if len(arguments) != len(good):
                text = 'function takes exactly %d argument%s (%d given)' % (
                    len(good), '' if len(good) == 1 else 's', len(arguments))
                recorder.reasons()
                self.expect_error('a wrong count', self.call(arguments), (TypeError, text))
                self.expect_reason(None)
        for at, (kind, name) in enumerate(self.inputs):
            for bad, error in values.wrong(kind):
                recorder.reasons()
                self.expect_error('%s %s = %r' % (kind, name, bad), self.call(good[:at] + [bad] + good[at + 1:]), error)
                self.expect_reason(at)
        for at, (elements, counting, _) in self.lengths.items():
            if at >= len(self.inputs):
                continue
            storage, reason = values.short_storage(self.inputs[at][0], elements)
            recorder.reasons()
            self.expect_error('a short storage', self.call(good[:at] + [storage] + good[at + 1:]), values.INVALID)
            self.expect_reason(at, reason)
        for code, kind, text in CODES if self.hasCode else ():
            self.lay_out(code)
            self.expect_error('code %#x' % code, self.call(good), (kind, text), called=True)
            if kz.lastResult() != code:
                self.complain('the last result is %#x instead of %#x', kz.lastResult(), code)


PLAIN = {'int': 'integer', 'uint': 'integer', 'size': 'integer', 'bool': 'boolean', 'float': 'float', 'double': 'float',
         'string': 'string', 'text': 'string', 'guid': 'string', 'uint[]': 'unsigned[]'}


def documented(kind, name):
    base, _, wrapper = kind.partition(':')
    if wrapper and not name:
        return wrapper + ' object'
    base = PLAIN.get(base, base if base.endswith('[]') else base.strip('f234'))
    return base + ' ' + name


def methods(stem, name, isService, rows):
    """The methods of a type, and nothing else that the type has."""
    if isService:
        where = recorder.serve(stem)
        wrapper = getattr(kz.service, name)()
    else:
        wrapper = getattr(kz.object, name)(values.Host(stem))
        where = wrapper.__peekobj__()
    own = {key for key in vars(type(wrapper)) if key not in ('__new__', '__doc__', '__init__')}
    if own - (set() if isService else GENERIC) != {row[0] for row in rows}:
        recorder.fail('%s has the methods %r' % (stem, sorted(own)))
    return [Method(stem, wrapper, where, row) for row in rows]


def each_method(work):
    counts.clear()
    gc.disable()  # references are counted
    for stem, name, isService, rows in manifest.TYPES:
        counts['types'] += 1
        before = recorder.alive()
        for method in methods(stem, name, isService, rows):
            counts['methods'] += 1
            work(method, isService)
        method = None
        if recorder.alive() != before:
            recorder.fail('%s leaves alive: %s' % (stem, recorder.alive()))
    gc.enable()
    return dict(counts)


def carry():
    def work(method, isService):
        for code in (0, 0, 1, 2) if method.hasCode else (0, 0):
            method.carry(code)
    return each_method(work)


def fail():
    return each_method(Method.fail)
