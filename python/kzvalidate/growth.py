"""What grows while a server is used: instances, containers, memory, files, threads, and the time that calls take."""

import gc
import os
import sys
import time

MEASURED = 0.2       # of the rounds, and at least 50, which come after them
BUDGET = 15.0        # seconds for the rounds of one server, of which a slow one gets fewer
PER_METHOD = 60
MEMORY = 32 << 10    # bytes for each round
NOTHING_LEFT = 'nothing left of an object that the host has released'
_SIZED = (list, dict, set, bytearray)
_OURS = ('kzvalidate', '__main__')
_PASSING = ('frame', 'tuple', 'cell', 'traceback', 'instancemethod')  # of which calls make some that stay for a while


def alive(cls):
    """How many instances of the class there are."""
    if cls is None:
        return 0
    sys.exc_clear()
    gc.collect()
    return sum(1 for each in gc.get_objects() if type(each) is cls)


def _is_sized(value):
    return isinstance(value, _SIZED) or type(value).__name__ == 'deque'


class Picture(object):
    """What there is at one moment."""

    def __init__(self, kept):
        sys.exc_clear()
        gc.collect()
        self.counts, self.sizes, self.kept = {}, {}, dict(kept)
        for each in gc.get_objects():
            kind = type(each)
            self.counts[kind] = self.counts.get(kind, 0) + 1
            if _is_sized(each):
                self.sizes[id(each)] = len(each)
        self.files = len(os.listdir('/proc/self/fd'))
        self.threads = len(os.listdir('/proc/self/task'))
        with open('/proc/self/statm') as stream:
            self.memory = int(stream.read().split()[1]) * os.sysconf('SC_PAGE_SIZE')

    def grown(self, before, rounds, ours, unit):
        """What grew by one or more in nearly every round, the most telling first, as texts."""
        enough = 0.8 * rounds
        found = []
        for each in gc.get_objects():
            more = len(each) - before.sizes[id(each)] if id(each) in before.sizes and _is_sized(each) else 0
            if more >= enough and id(each) not in ours:
                found.append('%s grows by %d with each %s' % (_name_of(each), round(float(more) / rounds), unit))
        for kind, count in self.counts.items():
            more = count - before.counts.get(kind, 0) - self.kept.get(kind, 0) + before.kept.get(kind, 0)
            if more >= enough and kind.__name__ not in _PASSING and not (found and kind in (list, dict)):
                found.append('%d more objects of the type %s.%s' % (more, kind.__module__, kind.__name__))
        for name, more in (('open files', self.files - before.files), ('threads', self.threads - before.threads)):
            if more >= enough:
                found.append('%d more %s' % (more, name))
        if not found and self.memory - before.memory > MEMORY * rounds:
            found.append('%d KiB more memory' % ((self.memory - before.memory) >> 10))
        return found


def _name_of(container):
    """Where a container is: the global name, or the class, that has it."""
    for holder in gc.get_referrers(container):
        if not isinstance(holder, dict):
            continue
        names = [name for name, value in holder.items() if value is container and isinstance(name, str)]
        if names and '__name__' in holder:
            return 'the %s %s.%s' % (type(container).__name__, holder['__name__'], names[0])
        owners = [each for each in gc.get_referrers(holder) if isinstance(each, type) or getattr(
            each, '__dict__', None) is holder]
        if names and owners:
            owner = owners[0] if isinstance(owners[0], type) else type(owners[0])
            return 'the %s %s of %s' % (type(container).__name__, names[0], owner.__name__)
    return 'a ' + type(container).__name__


class Growth(object):
    def __init__(self, stage):
        self.stage, self.recorder = stage, stage.recorder
        self.given = {}  # the arguments, made once: the host's objects would grow otherwise
        self.times = {}

    def arguments(self, method):
        if method.label not in self.given:
            self.given[method.label] = self.stage.supply.ordinary(method)
        return self.given[method.label]

    def round(self, only=None):
        """An object is made, used and released."""
        object = self.stage.new()
        for view, method in self.stage.each_method(object):
            if only is None or method.name == only:
                took = self.stage.call(view, method, self.arguments(method))
                self.recorder.give_back(method)
                self.times.setdefault(method.label, (method, []))[1].append(took)

    def repeat(self, rounds, only=None, end=None):
        """Returns how many rounds there were before the time was up."""
        for done in range(rounds):
            if end is not None and time.time() > end:
                return done
            self.round(only)
        return rounds

    def measured(self, rounds, only=None, end=None):
        before = Picture(self.recorder.kept)
        ours = set(map(id, (before.sizes, before.counts, self.times, self.given, self.recorder.memo,
                            self.recorder.kept)) + map(id, vars(self.recorder).values()))
        done = self.repeat(rounds, only, end)
        if done < 10:
            return []
        ours.update(id(times) for _, times in self.times.values())
        return Picture(self.recorder.kept).grown(before, done, ours, 'call' if only else 'object')

    def run(self):
        start = time.time()
        rounds = self.stage.settings['rounds']
        self.repeat(rounds, end=start + BUDGET)  # until all that is bounded is full
        self.measured(10)  # what the measuring itself makes is there then
        grown = self.measured(max(50, int(MEASURED * rounds)), end=start + 1.5 * BUDGET)
        self.tell_slower()
        if grown:
            self.attribute(grown)

    def attribute(self, grown):
        """Finds the method behind the growth, by using one at a time."""
        object = self.stage.new()
        names = [method for _, method in self.stage.each_method(object)]
        del object
        found, end = False, time.time() + 4 * BUDGET
        for method in names:
            self.repeat(5, method.name)
            alone = self.measured(PER_METHOD, method.name, end)
            if alone and not self.measured(PER_METHOD, 'none of them', end):
                found = True
                self.recorder.tell(self.stage.place_of(method), 'leak', 'in %d calls of the method of this line: %s' % (
                    PER_METHOD, '; '.join(alone[:3])), NOTHING_LEFT)
        if not found:
            self.recorder.tell(self.stage.birth(), 'leak', '; '.join(grown[:3]), NOTHING_LEFT)

    def tell_slower(self):
        for method, times in self.times.values():
            part = len(times) // 5
            if part < 10:
                continue
            first, last = sorted(times[:part])[part // 4], min(times[-part:])  # a busy machine slows some calls
            if last > 3 * first and last - first > 50e-6:
                seen = 'takes %.2f ms at first and %.2f ms after %d calls' % (first * 1e3, last * 1e3, len(times))
                self.recorder.tell(self.stage.place_of(method), 'slower', seen, 'calls that do not become slower')
