"""Writes recordings."""

import json
import re
import thread
import time
import zlib

import kz
import kzifc

import _kzobserve
from kzserv.recording.values import Refused, Writer, contents, file_state, packed, row_of, settle_chance, shown_storage

FORMAT, VERSION = 'kz-recording', '1'

# What the module does without the host; a player lets it happen.
LOCAL = frozenset(['out', 'outEx', 'throw', 'notimpl', 'excResult', 'arg', 'args', 'setOption', 'option', 'trace'])

SCRIPT_TEXT = ('output', 'error', 'script')  # origins of text that a script writes itself


class LogTap(kzifc.LogListener):
    """Hears what is written to the log while the host is at work."""

    def __init__(self, recorder):
        self.recorder = recorder

    def logevent_EntryAdded(self, subsystem, entry):
        self.recorder.logged(kz.object.Log(subsystem).Name(), kz.object.LogEntry(entry))

    def logevent_ChildEntryAdded(self, parent, entry):
        self.recorder.logged('', kz.object.LogEntry(entry))


class Call(object):
    """A call that has not ended."""

    def __init__(self, to_host, is_written):
        self.to_host, self.is_written = to_host, is_written
        self.storages = self.files = ()


class Recorder(object):
    """Writes each call when it begins and when it ends, so that the recording of a script that dies is there, too."""

    def __init__(self, path, script, argument, words):
        self.stream = open(path, 'w')
        self.writer = Writer()
        self.main = thread.get_ident()
        self.threads = {self.main: [Call(False, True)]}  # the calls of each thread, from the outside in
        self.jobs = {}                                   # the numbers of the threads that the host has entered beside
        self.jobs_count = 0
        self.refused = None
        self.raw = raw_methods()
        self.ours = {}  # by thread: how many calls deep the tap is at work, which is not recorded
        self.line(FORMAT + ' ' + VERSION)
        seed = int(time.time() * 1000) & 0xFFFFFFFF
        self.line(json.dumps({'script': script, 'argument': argument, 'words': words, 'seed': seed,
                              'description': kz.__description__}, sort_keys=True))
        settle_chance(seed)
        self.tap = kz.object.Unknown(LogTap(self))
        kz.service.Listener().AddListener(self.tap)

    # What observe/python_watch.cpp calls.

    def begin(self, to_host, owner, method, target, args, keywords):
        ident = thread.get_ident()
        if isinstance(target, LogTap) or self.ours.get(ident):
            self.ours[ident] = self.ours.get(ident, 0) + 1
            return
        calls = self.threads.setdefault(ident, [])
        call = Call(to_host, self.is_wanted(calls, to_host, owner, method) and not is_declaration(owner, method, args))
        if call.is_written:
            try:
                self.write_begin(calls, call, owner, method, target, args, keywords)
            except Refused as problem:
                self.refuse('%s.%s: %s' % (owner, method, problem))
                call.is_written = False
        calls.append(call)

    def end(self, to_host, result, exception):
        ident = thread.get_ident()
        if self.ours.get(ident):
            self.ours[ident] -= 1
            return
        calls = self.threads.get(ident)
        if not calls:
            return
        call = calls.pop()
        if not calls and ident == self.main:
            return self.finish()
        if call.is_written and self.refused is None:
            try:
                self.write_end(call, result, exception)
            except Refused as problem:
                self.refuse(str(problem))
        if not calls:
            del self.threads[ident]

    def made(self, thing):
        """The host has got a reference to a Python object."""
        if self.refused is None and row_of(type(thing)) is None and self.threads.get(thread.get_ident()):
            self.line('%s+ %s' % (self.indent(), self.writer.value(thing)))

    def gone(self, address):
        self.writer.numbers.gone(address)

    def logged(self, subsystem, entry):
        calls = self.threads.get(thread.get_ident())
        if not calls or not calls[-1].to_host or not calls[-1].is_written or self.refused:
            return
        origin = origin_of(entry)
        if origin not in SCRIPT_TEXT:
            self.line('%s| %r' % (self.indent(), (entry.Type(), origin, subsystem, entry.Desc())))

    # How it does that.

    def is_wanted(self, calls, to_host, owner, method):
        """A call to the host within another one is a part of that: a player answers the outer one as a whole."""
        if self.refused is not None or (to_host and owner == 'kz' and method in LOCAL):
            return False
        return not calls or (calls[-1].is_written and not (to_host and calls[-1].to_host))

    def write_begin(self, calls, call, owner, method, target, args, keywords):
        ident = thread.get_ident()
        if ident != self.main and (call.to_host or calls):
            raise Refused('it is called on another thread, beside the script, and the order of such calls is chance')
        value = self.writer.value
        if call.to_host:
            if '%s.%s' % (owner, method) in self.raw:
                raise Refused('it returns raw memory of the host, as an address')
            text = self.writer.call(owner, method, target, args, keywords)
            call.storages = [(index, each, zlib.crc32(contents(each))) for index, each in enumerate(args)
                             if isinstance(each, kz.Storage)]
            call.files = [(index, each, file_state(each)) for index, each in enumerate(args) if isinstance(each, str)]
        elif method == '__init__':
            text = '> new(%s)' % ', '.join(map(value, args))
        elif method == 'release':
            text = '> release(%s)' % value(target)
        elif method == 'script':
            text = '> script(%s)' % ', '.join(map(value, (owner,) + args))
        else:
            text = '> ' + self.writer.call(owner, method, target, args, keywords, with_contents=True)
        indent = self.indent()
        if ident != self.main:
            self.jobs_count += 1
            self.jobs[ident] = self.jobs_count
            text = '@ %d %s' % (self.jobs_count, text)
        self.line(indent + text)

    def write_end(self, call, result, exception):
        indent = self.indent()
        if thread.get_ident() != self.main:
            indent += '@ %d ' % self.jobs.pop(thread.get_ident())
        for index, storage, before in call.storages:
            if zlib.crc32(contents(storage)) != before:
                self.line('%s~ %d %s' % (indent, index, shown_storage(storage, True)))
        for index, path, before in call.files:
            if file_state(path) not in (before, None, False):
                with open(path, 'rb') as stream:
                    self.line('%s& %d %r' % (indent, index, packed(stream.read())))
        if exception is not None:
            self.line('%s! %s' % (indent, self.writer.exception(exception)))
        else:
            self.line('%s%s %s' % (indent, '=' if call.to_host else '<', self.writer.value(result)))

    def refuse(self, problem):
        self.refused = problem
        self.line('refused %r' % problem)
        _kzobserve.write('replay', 'the recording is of no use: ' + problem, 0x80000000)

    def indent(self):
        """By the depth of the script's own calls, also for what other threads do meanwhile."""
        return '  ' * (sum(call.is_written for call in self.threads[self.main]) - 1)

    def line(self, text):
        self.stream.write(text + '\n')
        self.stream.flush()

    def finish(self):
        if self.refused is None:
            self.line('end')
        self.refused = 'the script has ended'
        self.main = None
        self.stream.close()
        kz.service.Listener().RemoveListener(self.tap)


def raw_methods():
    """The methods that hand out addresses, from which a script could read. Those of identities only name things."""
    from kzserv import description
    manifest = description.load()
    return frozenset('kz.%s.%s.%s' % (module, name, method) for module in ('object', 'service')
                     for name, (_, methods) in manifest[module].iteritems()
                     if name != 'GUID' and not name.endswith('Translation')
                     for method, signature, _ in methods if re.search('->.*pointer', signature))


def is_declaration(owner, method, args):
    """The call blesses a base class of kzifc. That happens at its first import, which may be any script's or server's."""
    return owner == 'kz' and method == 'bless' and len(args) > 1 and str(args[1]).startswith(':')


def origin_of(entry):
    infos = dict(entry.InfoByIndex(index) for index in range(entry.InfoCount()))
    return infos.get('origin', 'host')
