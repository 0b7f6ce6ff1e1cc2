# python
"""Random calls of everything that a script can reach: all methods of the host's real objects and services, the
functions and types of kz, commands and console lines, and Python classes of every interface that the host calls back.
Two threads call at the same time while short jobs run on threads of the host, and wrappers are emptied and dropped
under others.

    kzhost run calls.py SECONDS SEED REPORT

Raw pointers are trusted as they are given, so only null and memory that stays are passed. What a call raises is its own
affair; a process that ends early, a sanitizer's report or a call that never returns is a fault. REPORT is a file of
lines: the call that each thread made last, and at the end how many there were. Reports of two runs with one seed differ
only as far as the threads meet each other differently."""
import ctypes
import gc
import itertools
import mmap
import random
import sys
import threading
import time

import kz
import kz.object
import kz.service
import kzifc
import kzu.object

# Those that wait, by their nature, for something that nobody here does.
SKIPPED = {
    'Thread.Enter': 'waits for whoever entered and went on',
    'Thread.Sleep': 'sleeps as long as it is told',
    'ThreadMutex.Enter': 'waits for whoever entered and went on',
    'ThreadGroup.Wait': 'a job would wait for itself',
    'ThreadGroup.Kill': 'a job would wait for itself'}

TEXTS = ['', 'a', 'name', 'size', 'x' * 3000, u'\xe9\u20ac', '\xff\xfe', 'a\0b', '%s%n%d', '{', '}{', '"', '?', '!',
         '@x.py', 'python', '#python\nprint 1,', '#python\n1/0', '#python\nimport sys; sys.exit("KZe_NOTFOUND:x")',
         'kzPython2', 'integer', 'float', 'string', 'boolean', 'angle', 'fuzz.value', 'command', 'loader',
         'lineinterpreter', 'mesh', 'locator', 'folder', 'pos.X', 'position', 'weight', 'Texture', 'x.png',
         'sub/x.timg', 'scripts:', 'scripts', 'log', '1.5', '-1', 'true', 'on', 'radians', 'queryAnglesAs', 'rgba',
         'fuzz.command', 'KZe_NOTFOUND:gone']
BYTES = [text.encode('utf-8') if isinstance(text, unicode) else text for text in TEXTS]
COMMANDS = ['user.value %s {%s}', 'user.value %s ?', 'user.value %s value:? delete:true', 'command.history ?',
            'command.alias %s {%s}', 'command.unalias %s', 'log.lines python %s ?', 'log.clear %s',
            'server.list %s %s ?', 'unit.system %s', '%s', '?%s %s', '!%s', 'fuzz.command %s', 'fuzz.command ?',
            'mesh.operate %s {%s}', '@{%s} %s']
LINES = ['1', 'print 1,', 'x = 1 \\', 'for i in (1, 2):', '  print i', '', '(1,', ')', "'''", '1/0',
         'raise SystemExit(3)', 'import kz; kz.out(kz.args())', u'\xe9', 'x' * 2000, '[None] * 3',
         'kz.throw(0x80000003)']
NUMBERS = [0, 1, 2, 3, 7, 64, -1, 255, 65536, 2 ** 31 - 1, -2 ** 31, 2 ** 31, 2 ** 32 - 1, 2 ** 63, -2 ** 70, True]
SIZES = ('count', 'size', 'width', 'height', 'points', 'polygons', 'vertices')  # parameters that take memory
FLOATS = [0.0, 1.0, -0.5, 1e-300, 1e308, float('inf'), float('-inf'), float('nan'), 3]
ODD = [None, 0, -1, 'odd', (), [], {}, {'a': 1}, (1,), [[1], 2], object(), 1j, len, type, Exception('e'), xrange(3),
       buffer('b')]
ERRORS = [ValueError, TypeError, KeyError, NotImplementedError, LookupError, IndexError, MemoryError, SystemExit,
          KeyboardInterrupt, StopIteration, RuntimeError]

MEMORY = mmap.mmap(-1, 1 << 16)  # whatever is written through a raw pointer goes here
ADDRESS = ctypes.addressof(ctypes.c_char.from_buffer(MEMORY))
POOL_SIZE = 8  # of each type
DEEPEST = 3


class State(threading.local):
    """Each thread has a seed, a line of the report and a count of its own; a thread of the host begins with its job."""
    starts = itertools.count(1)

    def __init__(self):
        self.place = next(self.starts)
        self.random = random.Random(SEED * 1000003 + self.place)
        self.depth = 0


class Report(object):
    """What each thread does, in memory that outlives the process: one line of fixed length each."""
    WIDTH, LINES = 300, 16

    def __init__(self, path):
        size = self.WIDTH * self.LINES
        with open(path, 'wb') as new:
            new.write(' ' * size)
        self.file = open(path, 'r+b')
        self.memory = mmap.mmap(self.file.fileno(), size)

    def write(self, place, text):
        start = place % self.LINES * self.WIDTH
        self.memory[start:start + self.WIDTH] = text[:self.WIDTH - 1].ljust(self.WIDTH - 1) + '\n'


SECONDS, SEED = float(kz.args()[0]), int(kz.args()[1])
report = Report(kz.args()[2])
state = State()
# By type, and served ones together: wrappers, storages and instances that any thread may use, empty or drop.
pool = {}
services = []  # one of each
counts = {}    # by thread
alive = [0]    # instances of the served classes


def shown(value):
    return repr(value)[:30] if isinstance(value, (int, long, float, str, unicode)) else type(value).__name__


def attempt(label, function, *arguments):
    """Calls it and keeps what comes back. Nothing that it raises is unexpected."""
    report.write(state.place, '%d %s(%s)' % (state.depth, label, ', '.join(map(shown, arguments))))
    counts[state.place] = counts.get(state.place, 0) + 1
    state.depth += 1
    try:
        returned = function(*arguments)
    except:  # the exits of scripts, too
        return None
    finally:
        state.depth -= 1
    for each in returned if isinstance(returned, tuple) else (returned,):
        if hasattr(each, '__peekobj__') or isinstance(each, kz.Storage):
            keep(each)
    return returned


def shelf(value):
    return 'served' if type(value).__name__.startswith('Fuzz') else type(value).__name__


def keep(value):
    known = pool.setdefault(shelf(value), [])
    if len(known) < POOL_SIZE:
        known.append(value)
    else:
        known[state.random.randrange(len(known))] = value


def drop(value):
    pool[shelf(value)].remove(value)


def pick(kind=None):
    """Something of the pool, of the wanted wrapper type when there is one. Every type is as likely as any other."""
    known = pool.get(kind) or state.random.choice(pool.values() or [()])
    try:
        return state.random.choice(known)
    except IndexError:
        return None


def storage():
    made = kz.Storage(state.random.choice('fibdup'), state.random.choice((1, 3, 16, 1000)))
    if state.random.random() < .5:
        keep(made)
    return made


def sequence(size, depth=0):
    if depth:
        return [sequence(size) for _ in range(size)]
    return [state.random.choice(FLOATS) for _ in range(size)]


def argument(kind, name):
    draw = state.random
    if draw.random() < .04 and kind != 'pointer':
        return draw.choice(ODD)
    if kind in ('integer', 'boolean', 'id'):
        isSize = any(word in name.lower() for word in SIZES)
        return draw.choice(NUMBERS[:6] if isSize or draw.random() < .7 else NUMBERS)
    if kind == 'float':
        return draw.choice(FLOATS)
    if kind == 'string':
        return draw.choice(TEXTS)
    if kind == 'pointer':
        return draw.choice((0, ADDRESS))
    if kind.endswith('[]'):
        return draw.choice((None, storage, lambda: pick('Storage')))() if draw.random() < .9 else None
    if kind in ('vector', 'quaternion', 'bounds'):
        return sequence({'vector': 3, 'quaternion': 4, 'bounds': 6}[kind])
    if kind == 'matrix':
        return sequence(draw.choice((3, 4)), 1)
    if kind == 'hints':
        return draw.choice((None, {0: 'a'}, [(1, 'b')]))
    return draw.choice((pick, lambda: pick(kind), served, lambda: None))()


def parameters(function):
    """The kinds and names of a method's parameters, as its doc string has them."""
    text = (function.__doc__ or '').split('\n')[0]
    inside = text[text.find('(') + 1:text.find(')')]
    return [(words[0], words[-1]) for words in (each.split() for each in inside.split(',')) if words]


def outputs(function):
    text = (function.__doc__ or '').split('\n')[0]
    head = text[:text.find('(')]
    return [each.split()[0] for each in head.split('=')[0].split(',') if each.split()] if '=' in head else []


def call_method(target=None):
    target = target or pick() or state.random.choice(services)
    names = [name for name in dir(type(target)) if not name.startswith('__') or name == '__peekobj__']
    if not names:
        return
    name = state.random.choice(names)
    label = type(target).__name__.rpartition('.')[2] + '.' + name
    if label in SKIPPED:
        return
    method = getattr(target, name)
    if name == 'set' or not callable(method):
        return
    given = [argument(*each) for each in parameters(method)]
    if state.random.random() < .03:
        given = given[:-1] if state.random.random() < .5 else given + [None]
    attempt(label, method, *given)


def call_service():
    call_method(state.random.choice(services))


def change_wrapper():
    """Takes away, or gives something else to, what another thread may be calling through."""
    target, other = pick(), pick()
    if target is None:
        return
    if isinstance(target, kz.Storage):
        changes = [('setSize', target.setSize, state.random.choice((1, 2, 5000))), ('set', target.set, (1, 2, 3)),
                   ('setType', target.setType, state.random.choice('fibdupx')), ('offset', target.offset, 1),
                   ('+=', target.__iadd__, (4, 5)), ('get', target.get), ('[]', target.__getitem__, 0),
                   ('[:]', target.__getitem__, slice(None, None, state.random.choice((-1, 1, 3)))),
                   ('[:]=', target.__setitem__, slice(0, 2), target),
                   ('view', lambda: setattr(state, 'view', memoryview(target)))]
    elif hasattr(target, 'set'):
        changes = [('set', target.set, None), ('set', target.set, other), ('__init__', target.__init__, other),
                   ('drop', drop, target), ('==', target.__eq__, other)]
    else:
        changes = [('drop', drop, target)]
    change = state.random.choice(changes)
    attempt(type(target).__name__ + '.' + change[0], *change[1:])


def make_wrapper():
    name = state.random.choice(TYPES)
    attempt('kz.object.' + name, getattr(kz.object, name), state.random.choice((pick, served))())


def call_kz():
    draw = state.random
    text = draw.choice(TEXTS)
    label, function, given = draw.choice([
        ('out', kz.out, (text, pick())), ('outEx', kz.outEx, (text,)), ('excResult', kz.excResult, (1,)),
        ('option', kz.option, (text,)), ('setOption', kz.setOption, (text, draw.choice(TEXTS))), ('args', kz.args, ()),
        ('throw', kz.throw, (draw.choice(NUMBERS),)), ('notimpl', kz.notimpl, ()), ('lastResult', kz.lastResult, ()),
        ('queryToggle', kz.queryToggle, (text,)), ('test', kz.test, (text, draw.choice(TEXTS))),
        ('extract', kz.extract, (pick() or served(),)), ('Storage', storage, ()),
        ('command', lambda: kz.command(text, a=draw.choice(TEXTS), name=draw.choice(TEXTS)), ()),
        ('Monitor', lambda: kz.Monitor(draw.choice(NUMBERS)).step(draw.choice(NUMBERS)), ()),
        ('testifc', kz.testifc, (draw.choice(CLASSES), draw.choice(GUIDS))),
        ('trace', lambda: (kz.trace(draw.random() < .3), kz.trace(False)), ()),
        ('print', lambda: sys.stdout.write(text), ()), ('gc', gc.collect, (draw.choice((0, 0, 0, 2)),))])
    attempt('kz.' + label, function, *given)


def call_command():
    draw = state.random
    text = draw.choice(COMMANDS)
    text %= tuple(draw.choice(BYTES) for _ in range(text.count('%s')))
    attempt('kz.eval', draw.choice((kz.eval, kz.eval1, kz.evalN)), text)


def query():
    def ask():
        service = kz.Service(state.random.choice(TEXTS))
        service.select(state.random.choice(TEXTS), state.random.choice(TEXTS))
        return service.queryN(state.random.choice(TEXTS))
    attempt('kz.Service', ask)


def console():
    line = attempt('LineInterpreterByName', kz.service.ScriptSys().LineInterpreterByName, 'python')
    for _ in range(state.random.randrange(4)):
        attempt('LineInterpreter.Execute', line.Execute, state.random.choice(LINES), served('LineExecution'))


ACTIONS = ([call_method] * 12 + [call_service] * 6 + [change_wrapper] * 5 + [call_kz] * 3 +
           [make_wrapper, call_command, query, console])


# What the host calls.

def answer(kind):
    """What a served method gives back. Numbers stay small: the host asks for as many as it is told there are."""
    draw = state.random
    if draw.random() < .05 and kind not in ('pointer', 'hints'):
        return draw.choice(ODD)
    return draw.randrange(4) if kind in ('integer', 'boolean', 'id') else argument(kind, '')


def overrun(memory):
    """Writes into memory of the host, of which the storage knows how much there is, and beyond it."""
    size = len(memory)
    attempt('view.set', memory.set, [1] * (size + state.random.choice((0, 1, 1000))))
    attempt('view[]', memory.__setitem__, state.random.choice((0, size - 1, size, -1)), 1)
    attempt('view.setSize', memory.setSize, state.random.choice((1, size, size * 1000)))
    attempt('view[]', memory.__setitem__, len(memory) - 1, 1)
    attempt('view[:]', memory.__setitem__, slice(0, 3), (1, 1, 1))
    attempt('memoryview', memoryview, memory)


def hostile(wanted):
    def method(self, *given):
        draw = state.random.random()
        for each in given:
            if isinstance(each, kz.Storage) and len(each):
                overrun(each)
            if (hasattr(each, '__peekobj__') or isinstance(each, kz.Storage)) and state.random.random() < .1:
                keep(each)
        if state.depth < DEEPEST and draw < .3:
            state.random.choice(ACTIONS)()
        elif draw < .4:
            change_wrapper()
        elif draw < .55:
            raise state.random.choice(ERRORS)('from a server')
        elif draw < .57:
            return state.random.choice(ODD) if not {'pointer', 'hints'} & set(wanted) else None
        given = tuple(map(answer, wanted))
        return given[0] if len(given) == 1 else given or None
    return method


def count(self):
    alive[0] += 1


def uncount(self):
    alive[0] -= 1


def make_class(name):
    base = getattr(kzifc, name)
    methods = dict((each, hostile(outputs(getattr(base, each)))) for each in dir(base)
                   if not each.startswith('_') and callable(getattr(base, each)))
    return type('Fuzz' + name, (base,), dict(methods, __init__=count, __del__=uncount))


def served(name=None):
    """An instance of a served class, sometimes as a host object."""
    made = SERVED.get(name) or state.random.choice(CLASSES)
    made = made()
    if state.random.random() < .3:
        keep(made)
    return kz.object.Unknown(made) if state.random.random() < .5 else made


def run_for(end):
    while time.time() < end:
        state.random.choice(ACTIONS)()


class Job(kzifc.ThreadJob):
    """Short work on a thread of the host."""
    def job_Execute(self):
        for _ in range(20):
            state.random.choice(ACTIONS)()


def run_jobs():
    group = kzu.object.ThreadGroup(kz.service.Thread().CreateGroup())
    for _ in range(4):
        group.AddJob(Job())
    group.Execute()
    group.Wait()


def furnish():
    """Something real of every kind to begin with; whatever else there is comes from these."""
    scene = kz.service.Scene().Create('fuzz')
    mesh = kz.service.Mesh().Create()
    corners, ids = kz.Storage('d', 12), kz.Storage('p', 3)
    corners.set((0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1))
    mesh.AddPoints(4, corners)
    point, face = mesh.Points(), []
    for index in range(3):
        point.MoveToIndex(index)
        face.append(point.Id())
    ids.set(face)
    mesh.AddPolygon(kz.symbol.i_POLYTYPE_FACE, 3, ids)
    image = kz.service.Image().Create(8, 8, kz.symbol.iIMG_FORMAT_RGB24, 0)
    for each in (scene, mesh, point, corners, ids, image, kz.object.ImageWrite(image), mesh.Maps(), mesh.Polygons(),
                 mesh.Edges(), kz.service.Value().CreateValue('integer'), kz.service.Message().Allocate()):
        keep(each)
    for kind in ('mesh', 'locator', 'folder'):
        keep(scene.ItemAdd(kz.service.Scene().ItemTypeLookup(kind)))


def main():
    end = time.time() + SECONDS
    threads = [threading.Thread(target=run_for, args=(end,)) for _ in range(2)]
    for thread in threads:
        thread.start()
    while time.time() < end:
        attempt('jobs', run_jobs)
        kz.service.Log().SetMaxEntries(1000)
        attempt('furnish', furnish)
        time.sleep(.02)
    for thread in threads:
        thread.join()


TYPES = [name for name in dir(kz.object) if isinstance(getattr(kz.object, name), type) and name != 'storage']
SERVED = dict((name, make_class(name)) for name in dir(kzifc) if isinstance(getattr(kzifc, name), type))
CLASSES = SERVED.values()
GUIDS = [getattr(kz.symbol, name) for name in dir(kz.symbol) if name.startswith('u_')] + TEXTS[:3]
for name in dir(kz.service):
    try:
        services.append(getattr(kz.service, name)())
    except (LookupError, TypeError):
        pass  # a service that this host lacks, or no service at all
kz.bless(SERVED['Command'], 'fuzz.command')
sys.setcheckinterval(20)
main()
made = sum(counts.values())
served_alive = alive[0]
pool.clear()
del services[:]
gc.collect()
report.write(0, 'seed %d: %d calls, %d served instances alive, %d of them after the end of the calls' %
             (SEED, made, served_alive, alive[0]))
