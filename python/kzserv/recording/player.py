"""Plays recordings: answers a script's calls as the host has answered them, and does what the host has done."""

import ast
import json
import os
import shutil
import thread

import kz

import _kzobserve
from kzserv.recording.recorder import FORMAT, LOCAL, VERSION, is_declaration
from kzserv.recording.values import Reader, Refused, Writer, dotted, fill, settle_chance, unpacked


class Difference(SystemExit):
    """The script does something else than the one that was recorded. Ends it with status 1."""


DECLARATION = "kz.bless(cls('kzifc."  # the call in recordings of earlier versions; it is no business of the script
ENDING = ('=', '<', '!', '~', '&')


class Event(object):
    """A line of a recording, and for a call what happened inside it and how it ended."""

    def __init__(self, kind, text, line):
        self.kind, self.text, self.line = kind, text, line
        self.events, self.fills, self.files, self.end = [], [], [], None


def job_of(text):
    """The number of a job and the text after it."""
    number, _, text = text.partition(' ')
    return int(number), text


def read(lines):
    """The events of a recording."""
    name, _, version = (lines[0] if lines else '').rpartition(' ')
    if name != FORMAT:
        raise Refused('it does not begin with "%s %s"' % (FORMAT, VERSION))
    if version != VERSION:
        raise Refused('it has version "%s" of the format, and only version %s can be played here' % (version, VERSION))
    try:
        settle_chance(json.loads(lines[1])['seed'])
    except (ValueError, LookupError, TypeError):
        raise Refused('its second line is not what it should be')
    return parse(lines[2:])


def parse(lines):
    """The events of a recording's lines, as trees."""
    lists, opened = [[]], []
    for count, line in enumerate(lines):
        body = line.lstrip(' ')
        depth = (len(line) - len(body)) // 2
        mark, _, rest = body.partition(' ')
        number = count + 3  # the header has two lines
        if mark == 'refused':
            raise Refused(ast.literal_eval(rest))
        if body == 'end':
            return lists[0]
        if depth >= len(lists) or (mark in ENDING and depth >= len(opened)):
            raise Refused('line %d is indented too far' % number)
        if mark in ('=', '<', '!'):
            opened[depth].end = mark, rest
        elif mark in ('~', '&'):
            (opened[depth].fills if mark == '~' else opened[depth].files).append(rest)
        else:
            event = Event(mark, rest, number) if mark in ('>', '|', '+', '@') else Event('', body, number)
            lists[depth].append(event)
            if event.kind in ('', '>'):
                del lists[depth + 1:], opened[depth:]
                lists.append(event.events)
                opened.append(event)
    raise Refused('it is not whole: the script that was recorded has not come to its end')


class Frame(object):
    """Events that are to come, in order."""

    def __init__(self, events):
        self.events, self.next = events, 0

    def take(self):
        """The next one, or None."""
        if self.next == len(self.events):
            return None
        self.next += 1
        return self.events[self.next - 1]

    def peek_kind(self):
        return self.events[self.next].kind if self.next < len(self.events) else None


class Job(object):
    """A method that the host has called on a thread of its own."""

    def __init__(self, run):
        self.run = run
        self.done = thread.allocate_lock()
        self.done.acquire()
        self.problem = None
        thread.start_new_thread(self.work, ())

    def work(self):
        try:
            self.run()
        except BaseException as problem:  # told by the script's own thread
            self.problem = problem
        finally:
            self.done.release()


class Player(object):
    def __init__(self, path, script, living):
        self.path = path
        self.writer = Writer()
        self.reader = Reader(self.writer.numbers, living)
        self.difference = None
        self.entered = 0
        self.jobs = {}
        self.frames = {}
        self.folders = []  # to be removed at the end
        with open(path) as stream:
            lines = stream.read().splitlines()
        try:
            events = read(lines)
        except Refused as problem:
            self.fail(str(problem))
        self.main = thread.get_ident()
        self.frames[self.main] = [Frame(events)]

    # What observe/python_watch.cpp calls.

    def begin(self, to_host, owner, method, target, args, keywords):
        if not to_host:
            if method not in ('script', 'release'):
                return None,  # the host that plays has no say
            self.entered += 1
            return None
        if (owner == 'kz' and method in LOCAL) or is_declaration(owner, method, args):
            return None
        if self.difference is not None:
            raise self.difference
        frames = self.frames.get(thread.get_ident())
        if not frames:
            raise RuntimeError('the recording is over')
        try:
            return self.step(frames, owner, method, target, args, keywords)
        except Refused as problem:
            self.fail(str(problem))

    def step(self, frames, owner, method, target, args, keywords):
        if len(frames) == 1:
            self.reader.at_hand.clear()
        event = self.next_call(frames[-1])
        text = self.writer.call(owner, method, target, args, keywords)
        self.reader.note(args)
        if owner == 'kz' and method == 'bless':
            self.reader.living.extend(args[3:])
        if event is None or event.text != text:
            self.fail(self.told(event, text))
        return self.answer(event, target, args)

    def end(self, to_host, result, exception):
        if to_host:
            return
        if self.entered:
            self.entered -= 1
            return
        event = self.next_call(self.frames[self.main][0]) if self.difference is None else None
        self.frames = {}
        for folder in self.folders:
            shutil.rmtree(folder, True)
        if event is not None:
            is_exit = exception is None or isinstance(exception, SystemExit)
            how = 'has ended, where line %d' if is_exit else 'failed before line %d, which'
            self.fail('the script ' + how % event.line + ' expects\n  ' + event.text)

    def made(self, thing):
        pass

    def gone(self, address):
        self.writer.numbers.gone(address)

    # How it does that.

    def answer(self, event, target, args):
        self.play(event.events)
        for change in event.fills:
            index, _, text = change.partition(' ')
            fill(args[int(index)], self.reader.contents_of(text))
        for change in event.files:
            index, _, text = change.partition(' ')
            self.make_folders(args[int(index):][:1])
            with open(args[int(index)], 'wb') as stream:
                stream.write(unpacked(ast.literal_eval(text)))
        if event.end is None:
            raise Refused('the call in line %d has no end' % event.line)
        mark, text = event.end
        if mark == '!':
            answer = None, self.reader.exception(text)
        else:
            if event.text.partition('(')[2].partition(')')[2].startswith('.__init__(') and args:
                _kzobserve.fill(target, self.writer.numbers.of(target))
            answer = self.reader.value(text),
        # What other threads have begun before the script called again has to begin now: it may wait for them.
        frame = self.frames[thread.get_ident()][-1]
        while frame.peek_kind() == '@' and ' > ' in frame.events[frame.next].text[:20]:
            self.happen(frame.take())
        return answer

    def next_call(self, frame):
        """Lets everything happen that comes before the next call, and returns that; None if there is none."""
        event = frame.take()
        while event is not None and (event.kind != '' or event.text.startswith(DECLARATION)):
            if event.kind != '':
                self.happen(event)
            event = frame.take()
        return event

    def play(self, events):
        for event in events:
            self.happen(event)

    def happen(self, event):
        if event.kind == '>':
            self.enter(event)
        elif event.kind == '|':
            self.log(*ast.literal_eval(event.text))
        elif event.kind == '+':
            self.reader.hold(event.text)
        elif event.kind == '@':
            number, text = job_of(event.text)
            mark, _, rest = text.partition(' ')
            if mark == '>':
                self.jobs[number] = Job(lambda: self.run_job(number, rest, event.line))
            else:
                self.jobs[number].expected = mark, rest
                self.jobs[number].done.acquire()
                if self.jobs[number].problem is not None:
                    raise self.jobs.pop(number).problem
        else:
            self.fail('line %d is a call inside a call' % event.line)

    def run_job(self, number, text, line):
        event = Event('>', text, line)
        self.enter(event, is_job=True)

    def enter(self, event, is_job=False):
        """Calls Python as the host has called it."""
        frames = self.frames.setdefault(thread.get_ident(), [])
        frame = Frame(event.events)
        frames.append(frame)
        try:
            mark, text = self.call_python(event)
            rest = self.next_call(frame)
        finally:
            frames.pop()
        if self.difference is not None:
            raise self.difference
        if rest is not None:
            self.fail('%s\nhas ended, where line %d expects\n  %s' % (event.text, rest.line, rest.text))
        if not is_job and event.end is not None and (mark, text) != event.end and mark is not None:
            self.fail('%s\nshould end with\n  %s %s\nand ended with\n  %s %s' % ((event.text,) + event.end + (mark, text)))

    def call_python(self, event):
        node = ast.parse(event.text, mode='eval').body
        if event.text.startswith('release('):  # without a reference to it
            _kzobserve.enter(self.reader.release, node.args[0].args[0].n)
            return None, None
        args = [self.reader.made(each) for each in node.args]
        self.make_folders(args)
        try:
            if isinstance(node.func, ast.Attribute):
                target = self.reader.made(node.func.value)
                result = _kzobserve.enter(getattr(target, node.func.attr), *args)
            else:
                result = getattr(self, 'do_' + dotted(node.func))(event, *args)
        except Difference:
            raise
        except BaseException as problem:
            return '!', self.writer.exception(problem)
        self.reader.note((result,))
        return ('<', self.writer.value(result)) if result is not NotImplemented else (None, None)

    def make_folders(self, args):
        """The host may have made the folder of a file that it names."""
        for each in args:
            if isinstance(each, str) and os.path.isabs(each) and not os.path.exists(os.path.dirname(each)):
                os.makedirs(os.path.dirname(each))
                self.folders.append(os.path.dirname(each))

    def do_new(self, event, kind, meta):
        instance = _kzobserve.enter(kind, *(() if meta is None else (meta,)))
        if event.end and event.end[0] == '<':
            self.writer.numbers.give(instance, self.reader.number_of(event.end[1]))
        return instance

    def do_script(self, event, path, argument, words):
        with open(path) as stream:
            text = stream.read()
        _kzobserve.enter(_kzobserve.run, path, text, argument, words)
        return NotImplemented  # how it ended is told already

    def log(self, level, origin, subsystem, text):
        if origin != 'host' or not subsystem:
            return _kzobserve.write(origin, text, level, bool(subsystem))
        log = kz.service.Log()
        kz.object.Log(log.SubSystemLookup(subsystem)).AddEntry(log.CreateEntry(level, text))

    def told(self, event, text):
        if event is None:
            return 'the script calls\n  %s\nwhere the recorded one has ended' % text
        return 'the script calls\n  %s\nwhere line %d expects\n  %s' % (text, event.line, event.text)

    def fail(self, problem):
        _kzobserve.write('replay', '%s: %s' % (self.path, problem), 0x80000000)
        self.difference = Difference(1)
        raise self.difference
