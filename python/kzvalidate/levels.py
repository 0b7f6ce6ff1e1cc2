"""What a server is put through at each level, on the assumption that it has passed those below."""

import sys
import threading
import time

import kz
import kzifc
import kzu.object

from kzvalidate import growth, sequences, shapes
from kzvalidate.arguments import described, manner
from kzvalidate.executions import Executions, is_command
from kzvalidate.recorder import ORDINARY, Place
from kzvalidate.targets import bound

ORDINARY_LEVELS = (1, 2, 3, 4, 7, 9)  # at which a server is given nothing odd, which it might give back
TURNS = 3
SAMPLES = 10  # of what a slow call does, in the time that it may take
QUICK = 0.02  # seconds: if all calls together take longer, changing threads at every instruction slows them too much
HOSTILE_CALLS = 500
THREADS, ROUNDS = 4, 10
BUDGET = 60.0  # seconds for a level of a server, at which odd calls come to an end
REPETITIONS = 3

AFTER_ODD = 'state', 'the answers that it gave before it was called with odd arguments'
AFTER_FAILURE = 'state', 'the answers that it gave before an object that it was given failed or called it back'
THREADED = 'threads', 'the answers that it gives on one thread'


class NoObject(Exception):
    """The server cannot be made. A level ends there."""


class Stage(object):
    def __init__(self, target, recorder, supply, settings):
        self.target, self.recorder, self.supply, self.settings = target, recorder, supply, settings
        self.random = supply.random
        self._executions = None

    def run(self, level):
        self.recorder.accidents = ORDINARY
        number = int(level.partition('_')[0])
        self.recorder.report.write(level=number)
        self.recorder.is_strict = number in ORDINARY_LEVELS
        self.perform(level)

    @property
    def executions(self):
        """How the server is executed with arguments, if it is a command."""
        if self._executions is None and is_command(self.target):
            self._executions = Executions(self)
        return self._executions

    def perform(self, level):
        self.end = time.time() + BUDGET
        try:
            getattr(self, 'level_%s' % level)()
        except NoObject:
            pass  # the finding has been written

    # Making objects and calls

    def new(self):
        """A new object of the server. Raises NoObject if there is none to be had."""
        place = self.birth()
        self.recorder.report.crumb(place.label)
        try:
            with self.recorder.under_way(place):
                return self.target.new()
        except Exception:
            if not any(label == place.label for label, _ in self.recorder.known):
                self.recorder.tell(place, 'raises', 'no object can be made: ' + sys.exc_info()[1].__class__.__name__,
                                   'a creation that succeeds')
            raise NoObject

    def birth(self):
        target = self.target
        return self.recorder.behind.get((target.cls, '__init__')) or Place(
            target.place.label + '.__init__', path=target.place.path, line=target.place.line)

    def each_method(self, object):
        """Pairs of a view of the object and a method that the server has."""
        for kind in self.target.kinds:
            view = self.view(object, kind)
            if view is not None:
                for method in self.target.methods(kind):
                    yield view, method

    def view(self, object, kind):
        try:
            return self.target.view(object, kind)
        except Exception:
            self.recorder.tell(self.target.place, 'interface', 'the object has no interface ' + kind,
                               'the interfaces of its class')
            return None

    def call(self, view, method, given):
        """Calls a method as the host does. Returns how long it took."""
        recorder = self.recorder
        recorder.report.crumb('%s(%s)' % (method.label, described(given)))
        start = time.time()
        try:
            returned = bound(view, method)(*given)
            self.supply.remember(method, returned)
            self.judge(method, returned)
        except (Exception, KeyboardInterrupt, SystemExit):
            pass  # what the author's method has raised, the recorder has seen
        return time.time() - start

    def judge(self, method, returned):
        """Without a class in Python, what the host gets is all that can be seen."""
        if self.target.cls is None:
            wrong = shapes.problem(method, returned, self.recorder.is_strict)
            if wrong:
                self.recorder.tell(Place(method.label), 'result', wrong[0], wrong[1])

    def call_timed(self, view, method, given):
        """As above, and a call that takes too long twice is a finding."""
        slow, took = self.settings['slow'], self.call(view, method, given)
        if self.recorder.threads > 1:
            return
        self.recorder.took[method.label] = max(took, self.recorder.took.get(method.label, 0))
        if took > slow:
            with self.recorder.sampled(slow / SAMPLES) as lines:
                took = min(took, self.call(view, method, given))
            if took > slow:
                line = max(lines, key=lines.count) if lines else ''
                self.recorder.tell(self.place_of(method), 'slow', 'takes %.3g s' % took, 'at most %g s' % slow,
                                   'most of it in %s' % line if line else '')

    def place_of(self, method):
        return self.recorder.behind.get((self.target.cls, method.name)) or Place(
            method.label, path=self.target.place.path, line=self.target.place.line)

    def go_through(self, object, turn=0, only=lambda method: True):
        for view, method in self.each_method(object):
            if only(method):
                self.call_timed(view, method, self.supply.ordinary(method, turn))

    def questions(self, object, accidents):
        """Asks an object all that needs no argument."""
        self.recorder.accidents = accidents
        for view, method in self.each_method(object):
            if method.outputs and not method.inputs:
                self.call(view, method, [])

    # Levels

    def level_1(self):
        """It is created and destroyed, and nothing of it is left."""
        before = growth.alive(self.target.cls)
        for _ in range(TURNS):
            object = self.new()
            for kind in self.target.kinds:
                self.view(object, kind)
            del object  # before the next one is made
        left = growth.alive(self.target.cls) - before
        if left > 0:
            self.recorder.tell(self.birth(), 'leak',
                               '%d of %d instances are alive after the host has released them' % (left, TURNS),
                               'none: does an instance keep a wrapper of itself?')

    def level_2(self):
        """The required methods answer, in the order of the description, in which hosts call them."""
        attributes = {} if self.target.cls is None else shapes.own_attributes(self.target.cls)
        object = self.new()
        is_known = self.target.cls is not None and '__getattr__' not in attributes
        for method in sum(map(shapes.methods, self.target.kinds), []) if is_known else []:
            if method.is_required and method.name not in attributes:
                self.recorder.tell(self.place_of(method), 'missing', 'the method is missing',
                                   'every server of this kind to have it')
        for turn in range(TURNS):
            self.go_through(object, turn, lambda method: method.is_required)

    def level_3(self):
        """The host itself uses it, from the beginning to the end."""
        for kind in self.target.kinds:
            sequences.drive(self, kind)

    def level_4(self):
        """Every method that it has, with ordinary arguments."""
        object = self.new()
        for turn in range(TURNS):
            self.go_through(object, turn)

    def level_5(self):
        """Every method with odd arguments, one at a time. It may refuse them as it likes."""
        object = self.new()
        self.questions(object, ORDINARY)
        if self.executions is not None:
            for given in self.executions.odd():
                if time.time() > self.end:
                    return
                self.recorder.accidents = None
                self.executions.execute(given)
        for view, method in list(self.each_method(object)):
            for place, value in enumerate(method.inputs):
                for odd in self.supply.odd(method, value):
                    if time.time() > self.end:
                        return
                    given = self.supply.ordinary(method)
                    given[place] = odd
                    self.recorder.accidents = None
                    self.call(view, method, given)
                    self.questions(object, AFTER_ODD)
        self.afterwards(AFTER_ODD)

    def afterwards(self, accidents):
        """A new object answers as the first one did."""
        self.questions(self.new(), accidents)

    def level_6(self):
        """Random arguments, methods in any order, objects that come and go in between."""
        objects = [self.new() for _ in range(TURNS)]
        self.questions(objects[0], ORDINARY)
        for _ in range(HOSTILE_CALLS):
            if time.time() > self.end:
                break
            self.recorder.accidents = None
            if self.random.random() < .1:
                objects[self.random.randrange(TURNS)] = self.new()
            pairs = list(self.each_method(self.random.choice(objects)))
            if self.executions is not None and self.random.random() < .3:
                self.executions.execute(self.executions.random(self.random))
            elif pairs:
                view, method = self.random.choice(pairs)
                self.call(view, method, self.supply.hostile(method))
        for object in objects:
            self.questions(object, AFTER_ODD)
        self.afterwards(AFTER_ODD)

    def level_7(self):
        """Host threads use it at once: first an object each, then all the same one."""
        objects = [self.new() for _ in range(THREADS)]
        self.go_through(objects[0])
        sys.setcheckinterval(1 if sum(self.recorder.took.values()) < QUICK else 100)
        self.recorder.accidents, self.recorder.threads = THREADED, THREADS
        for chosen in (objects, objects[:1] * THREADS):
            group = kzu.object.ThreadGroup(kz.service.Thread().CreateGroup())
            for object in chosen:
                group.AddJob(Job(self, object))
            group.Execute()
            group.Wait()
        sys.setcheckinterval(100)
        self.recorder.threads = 1

    def level_8(self):
        """The objects that it is given fail in all their methods, or call it back."""
        object = self.new()
        self.questions(object, ORDINARY)
        self.supply.use_stand_ins = True
        for view, method in list(self.each_method(object)):
            if not any(value.kind == 'object' for value in method.inputs):
                continue
            for failing in (NotImplementedError(), RuntimeError('bad result: FAILED'), LookupError('not found')):
                manner.failing = failing
                self.quietly(view, method)
            manner.failing = None
            manner.callback = self.calling_back(view, method)
            self.quietly(view, method)
            manner.callback = None
            self.quietly(view, method)
        self.questions(object, AFTER_FAILURE)
        self.supply.use_stand_ins = False
        self.afterwards(AFTER_FAILURE)

    def quietly(self, view, method):
        self.recorder.accidents = None
        self.call(view, method, self.supply.ordinary(method))

    def calling_back(self, view, method):
        depth = []

        def call_back():
            if len(depth) < 2:
                depth.append(None)
                try:
                    self.quietly(view, method)
                finally:
                    depth.pop()
        return call_back

    def level_9(self):
        """A thousand objects, each called once in all its methods: nothing grows, and no call becomes slower."""
        growth.Growth(self).run()

    def level_10(self):
        """The levels 5 to 8 once more, with other random sequences."""
        for _ in range(REPETITIONS):
            for level in self.random.sample((5, 6, 7, 8), 4):
                self.perform(level)

    def level_10_end(self):
        """The process ends while another thread calls the server."""
        object = self.new()

        def work():
            try:
                while True:
                    self.go_through(object)
            except Exception:
                pass  # there is no host any more
        ending = threading.Thread(target=work)
        ending.daemon = True
        ending.start()
        time.sleep(0.05)


class Job(kzifc.ThreadJob):
    """Calls all methods on a thread of the host."""

    def __init__(self, stage, object):
        self.stage, self.object = stage, object

    def job_Execute(self):
        for turn in range(ROUNDS):
            if time.time() > self.stage.end:
                return
            self.stage.go_through(self.object, turn)

