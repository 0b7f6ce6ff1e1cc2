"""What stands between the host and the author's methods in a child. It sees what comes in, what goes back and how long
that takes, and writes what it finds."""

import contextlib
import ctypes
import dis
import json
import mmap
import os
import sys
import thread
import threading
import time
import traceback
import types

from kzserv import files
from kzserv.methods import function_of, is_method
from kzvalidate import shapes

CRUMB, BEAT = 400, 20  # bytes of the file in which the parent sees that the child lives
SHARED = 20  # how many times as long as alone a call may take for each of the threads that share Python
LEFT = 70  # the exit status of a child that the watchdog has ended
_RAISE = dis.opmap['RAISE_VARARGS']
_CODES = ('no interface', 'invalid argument')  # TypeErrors that stand for codes
ORDINARY = 'raises', 'a result, NotImplementedError, or kz.throw(code) where it has none'
_ACCIDENTS = (TypeError, AttributeError, NameError, ZeroDivisionError, AssertionError, ImportError, SyntaxError,
              ReferenceError, SystemError, UnboundLocalError)
_HERE = os.path.dirname(os.path.abspath(__file__))
_now = time.time
_COMMANDS = {'cmd_Execute': 'execute', 'cmd_Query': 'query', 'cmd_Enable': 'enabled', 'cmd_DialogInit': 'prepare',
             'cmd_ArgEnable': 'argument_enabled', 'cmd_DialogArgChange': 'argument_changed'}


def _text(value):
    return value.decode('utf-8', 'replace') if isinstance(value, str) else value


class Report(object):
    """The file of findings, one JSON object a line, and the crumb: what is being called, which outlives a crash."""

    def __init__(self, folder):
        self.findings = os.open(os.path.join(folder, 'findings'), os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o600)
        with open(os.path.join(folder, 'crumb'), 'wb') as stream:
            stream.write('\0' * (CRUMB + BEAT))
        with open(os.path.join(folder, 'crumb'), 'r+b') as stream:
            self.memory = mmap.mmap(stream.fileno(), CRUMB + BEAT)
        self.beats = 0

    def write(self, **row):
        os.write(self.findings, json.dumps(row) + '\n')

    def crumb(self, text):
        self.memory[:CRUMB] = text[:CRUMB].ljust(CRUMB, '\0')

    def beat(self):
        """Tells the parent that the watchdog runs, and so will end a call that does not return."""
        self.beats += 1
        self.memory[CRUMB:] = ('%d' % self.beats).ljust(BEAT, '\0')


class Place(object):
    """Where a finding belongs: an interface's method, or one such as __init__, with its file and line."""

    def __init__(self, label, function=None, path='', line=0):
        code = getattr(function, '__code__', None)
        self.label = label
        self.path, self.line = (code.co_filename, code.co_firstlineno) if code else (path, line)


class Recorder(object):
    def __init__(self, report, settings):
        self.report, self.settings = report, settings
        self.known = set()     # findings that have been written
        self.calls = {}        # by thread, the calls that are under way: (place, start, arguments)
        self.memo = {}         # what has been returned, by value: an adapter keeps every object that it gets
        self.kept = {}         # by type, how many objects have been returned that could not be shared
        self.accidents = None  # what a slip of the author's is called and what was expected; None: nothing, now
        self.last = None       # the object that was returned last
        self.is_strict = True  # whether values count, too, and not only their types
        self.took = {}         # by label, how long a call has taken on one thread
        self.situation = ''    # what tells calls apart better than their arguments: a command's values or its line
        self.threads = 1       # how many threads call, and share Python's time
        self.answered = set()  # labels of methods that have returned at least once
        self.refused = {}      # by label, where the host has refused an argument: (place, what was raised, the lines)
        self.behind = {}       # by class and method, what the recorder stands in for

    # Findings

    def tell(self, place, code, seen, expected, trace='', severity='error'):
        key = (place.label, code)
        if key not in self.known:
            self.known.add(key)
            self.report.write(finding=dict(
                severity=severity, label=place.label, code=code, seen=_text(seen), expected=_text(expected),
                file=_text(place.path), line=place.line, trace=_text(trace)))

    # Standing in for methods

    def watch(self, cls):
        """Replaces what the class has of its interfaces' methods. What it inherits from kzifc is not the author's."""
        attributes = shapes.own_attributes(cls)
        watched = {}
        for base in files.interface_bases(cls):
            for method in shapes.methods(base.__name__):
                value = attributes.get(method.name)
                if value is None or not is_method(value) or method.name in watched:
                    continue
                place = Place(method.label, self.written_by(cls, method.name, value))
                watched[method.name] = self.standing_in(method, value, place)
                self.behind[cls, method.name] = place
        for name in ('__init__', '__del__'):
            if isinstance(attributes.get(name), types.FunctionType):
                place = Place('%s.%s' % (files.interface_bases(cls)[0].__name__, name), attributes[name])
                watched[name] = self.life(attributes[name], place)
                self.behind[cls, name] = place
        for name, value in watched.items():
            setattr(cls, name, value)

    @staticmethod
    def written_by(cls, name, value):
        """The function that the author wrote: of a command of kzu the one that the library calls for the method."""
        function = function_of(value)[0]
        own = _COMMANDS.get(name)
        if function is not None and function.__module__ == 'kzu.command':
            named = getattr(cls, own or '', None)
            return getattr(named, 'im_func', None) or function
        return function

    def standing_in(self, method, value, place):
        recorder, label = self, place.label

        def recorded(self, *given):
            if label in recorder.settings['skip']:
                raise NotImplementedError
            called = value.__get__(self, type(self)) if hasattr(value, '__get__') else value
            return recorder.call(method, place, called, given)
        recorded.__name__ = method.name
        return recorded

    def life(self, function, place):
        recorder = self

        def recorded(self, *given):
            with recorder.under_way(place):
                try:
                    function(self, *given)
                except BaseException:
                    recorder.tell(place, 'raises', 'raised ' + described(), 'no exception', traced())
                    raise
        return recorded

    @contextlib.contextmanager
    def under_way(self, place, words=''):
        calls = self.calls.setdefault(thread.get_ident(), [])
        calls.append((place, _now(), words))
        try:
            yield
        finally:
            calls.pop()

    def call(self, method, place, called, given):
        printed = self.printed() if method.is_question else 0
        words = ', '.join(map(shapes.shown, given))
        self.report.crumb('%s(%s)%s' % (place.label, words, self.situation))
        words = self.situation.strip() or words
        words = ', called with ' + words if words else ''
        with self.under_way(place, words):
            try:
                returned = called(*given)
            except BaseException:
                self.judge_exception(method, place, words)
                raise
        if method.is_question and self.threads == 1 and self.printed() != printed:
            self.tell(place, 'output', 'wrote to standard output', 'an answer alone: the host asks this often',
                      severity='warning')
        self.answered.add(place.label)
        wrong = shapes.problem(method, returned, self.is_strict)
        if wrong:
            self.tell(place, 'result', wrong[0] + words, wrong[1])
        return self.shared(method, returned)

    def judge_exception(self, method, place, words):
        kind, value, trace = sys.exc_info()
        try:
            if kind in (SystemExit, KeyboardInterrupt, GeneratorExit):
                self.tell(place, 'exit', 'raised ' + described() + words,
                          'a result or an error: a server cannot end the host', traced())
            elif 'bad result: <unknown code>' in str(value):
                self.tell(place, 'code', 'failed with a code that does not exist' + words, 'one of kz.symbol.e_...',
                          traced())
            elif self.accidents and (place.label, 'raises') not in self.known and is_accident(kind, value, trace):
                self.tell(place, self.accidents[0], 'raised ' + described() + words, self.accidents[1], traced())
            elif method.is_required and self.accidents == ORDINARY and is_refusal(kind, value, trace):
                self.refused.setdefault(place.label, (place, described() + words, traced()))
        except UnicodeError:
            pass  # an exception whose text is no text is an honest failure, too
        finally:
            del trace

    def tell_refused(self):
        """Tells of required methods that have never returned because the host refused what they passed. One such failure
        is an answer, but a method that always fails does nothing."""
        for label, (place, raised, lines) in sorted(self.refused.items()):
            if label not in self.answered:
                self.tell(place, 'refused', 'the host refuses an argument in each call: ' + raised,
                          'one call that succeeds; the log says what was wrong', lines, severity='warning')

    def printed(self):
        """How much has been written to standard output, by Python or below it."""
        sys.stdout.flush()
        return os.fstat(1).st_size

    # What an adapter gets it never gives back. So equal values are given as one object, and every reference to another
    # is counted, lest it look like a leak of the server.

    def shared(self, method, returned):
        try:
            if isinstance(returned, (str, unicode, int, long, float, tuple)):
                return self.memo.setdefault((type(returned), repr(returned)), returned)
        except Exception:
            return returned
        if returned is not None and not isinstance(returned, bool):
            self.kept[type(returned)] = self.kept.get(type(returned), 0) + 1
            self.last = returned
        return returned

    def give_back(self, method):
        """Drops the reference of the adapter to the object that the last call has returned to a child's own call."""
        last, self.last = self.last, None
        if last is not None and len(method.outputs) == 1 and method.outputs[0].kind == 'object':
            self.kept[type(last)] -= 1
            ctypes.pythonapi.Py_DecRef(ctypes.py_object(last))

    @contextlib.contextmanager
    def sampled(self, pause):
        """Gives a list that gets the line at which this thread is, again and again: of the function that was called
        last, as a text."""
        lines, ident, is_over = [], thread.get_ident(), []

        def sample():
            while not is_over:
                time.sleep(pause)
                entries = _lines(traceback.extract_stack(sys._current_frames().get(ident)))
                lines.append(entries.partition(';')[0])
        sampler = threading.Thread(target=sample)
        sampler.daemon = True
        sampler.start()
        try:
            yield lines
        finally:
            is_over.append(True)
            sampler.join()

    # The watchdog

    def start_watchdog(self):
        watchdog = threading.Thread(target=self.look_after)
        watchdog.daemon = True
        watchdog.start()

    def look_after(self):
        limit, pause = self.settings['limit'], time.sleep
        while True:
            pause(min(0.1, limit / 5))
            for ident, calls in self.calls.items():
                for place, since, _ in calls[:1]:  # the outermost is what the host waits for
                    alone = self.took.get(place.label, 0) if self.threads > 1 else 0
                    allowed = max(limit, SHARED * alone) * self.threads
                    if _now() - since > allowed:
                        self.give_up(ident, calls[-1], allowed)
            if any(self.calls.values()):
                self.report.beat()

    def give_up(self, ident, call, allowed):
        place, _, words = call
        frame = sys._current_frames().get(ident)
        seen = 'has not returned after %.3g s' % allowed
        if self.threads > 1:
            seen += ' while %d threads called it' % self.threads
        self.tell(place, 'hang', seen + words, 'an end: the host waits for it', _lines(traceback.extract_stack(frame)))
        self.report.crumb(place.label)
        os._exit(LEFT)


def is_accident(kind, value, trace):
    """Whether an exception is a slip of the author's and not an answer. What a `raise` statement raises is an answer,
    and so is what the host's own objects raise."""
    if not isinstance(kind, type) or not issubclass(kind, _ACCIDENTS):
        return 'recursion depth' in str(value)
    if kind is TypeError and str(value) in _CODES:
        return False
    while trace.tb_next is not None:
        trace = trace.tb_next
    code = trace.tb_frame.f_code
    is_raised = ord(code.co_code[trace.tb_lasti]) == _RAISE
    return kind is AssertionError or not is_raised or os.path.dirname(code.co_filename) == _HERE


def is_refusal(kind, value, trace):
    """Whether a method of the host has refused an argument. What the author throws is an answer."""
    last = traceback.extract_tb(trace)[-1]
    return kind is TypeError and str(value) == _CODES[1] and 'throw' not in (last[3] or '')


def described():
    kind, value = sys.exc_info()[:2]
    return files.describe(kind, value)


def traced():
    """Where the exception that is being handled was raised, innermost first."""
    return _lines(traceback.extract_tb(sys.exc_info()[2]))


def _lines(entries):
    others = [each for each in entries if os.path.dirname(each[0]) != _HERE]
    return '; '.join('%s:%d in %s' % each[:3] for each in reversed(others[-8:]))
