"""Python classes as servers of the host: blessing and testing them, what the host reads of them, how calls arrive in
Python and what comes back, and how instances come and go."""
import sys
import threading
import weakref
from types import ClassType

import kz
from checks import code_of, equal, fails, result_of

HOST = kz.service.Host()
COMMAND, LISTENER = '7155E51E-C5A4-5C6A-BEF1-BAAEF1DB8E25', '3200DF2C-CB32-5F24-9D7F-789EF98A6941'
number = [0]
heard = {'scripts': 0, 'python': 0}


def marked(name):
    made = type(name, (object,), {})
    kz.bless(made, ':' + name)
    return made


Command, Attributes, Color, Listener = map(marked, ('Command', 'Attributes', 'Color', 'ActionListener'))


def told(subsystem='scripts'):
    """What the module told the host since the last time."""
    service = kz.Service('log')
    service.select('lines', subsystem)
    lines = service.queryN('')
    heard[subsystem], before = len(lines), heard[subsystem]
    return list(lines[before:])


def outcome(statement, names):
    """Type and text of what the statement raises; nothing when it ends well."""
    try:
        exec statement in names
    except BaseException as error:
        return '%s: %s' % (type(error).__name__, error)


def derived(*bases, **names):
    return type('Derived', bases, names)


def throw(error):
    raise error


def spawn(name, type='command'):
    return HOST.SpawnServer(type, name)


def bless(served, *more):
    number[0] += 1
    kz.bless(served, 'test.%d' % number[0], *more)
    return 'test.%d' % number[0]


def command(body):
    """A new instance of a class derived from Command with that body."""
    names = dict(globals())
    exec 'class Blessed(Command):\n    ' + body in names
    return kz.object.Command(spawn(bless(names['Blessed'])))


INVALID, FAILED = 'TypeError: invalid argument', 'RuntimeError: bad result: FAILED'
TAKEN, NO_CLASS = 'there is a server of that name for Command already', 'expected a class, got '
NO_INTERFACE = 'the class serving.%s implements no interface: derive it from a class of kzifc'
NO_PAIR = '_sub_ifcs[0] of the meta object: expected a pair of a class and its meta object, got '

# A statement, what it raises, and where the exception says less than the log, what the log says.
REFUSED = [
    ("kz.bless(Good, 'refuse.good')", None),
    ("kz.bless(Good, 'refuse.good')", FAILED, TAKEN),
    ("kz.bless(Good, u'refuse.second', None)", None),
    ("kz.bless(Good)", 'TypeError: function takes at least 2 arguments (1 given)'),
    ("kz.bless(Good, 'x', tags={})", 'TypeError: bless() takes no keyword arguments'),
    ("kz.bless(Good(), 'refuse.instance')", FAILED, NO_CLASS + 'an object of the type Derived'),
    ("kz.bless(None, 'refuse.none')", FAILED, NO_CLASS + 'None'),
    ("kz.bless(Good, ':Nonsense')", INVALID, 'no interface of that name can be implemented in Python'),
    ("kz.bless(Good, ':')", INVALID, 'no interface of that name can be implemented in Python'),
    ("kz.bless(Good, ':command')", INVALID, 'no interface of that name can be implemented in Python'),
    ("kz.bless(Bad, 'refuse.bad')", INVALID, NO_INTERFACE % 'Derived'),
    ("kz.bless(Command, 'refuse.base')", INVALID, NO_INTERFACE % 'Command'),  # its own mark does not count, only those of its bases
    ("kz.bless(Good, 'refuse.list', [])", INVALID, 'expected a dictionary of tags, got an object of the type list'),
    ("kz.bless(Good, 'refuse.meta1', None, Meta([Good]))", FAILED, NO_PAIR + 'the class serving.Derived'),
    ("kz.bless(Good, 'refuse.meta2', None, Meta([(Good, None, 1)]))", FAILED, NO_PAIR + 'a tuple of 3 items'),
    ("kz.bless(Good, 'refuse.meta3', None, Meta(['ab']))", FAILED, '_sub_ifcs[0] of the meta object: ' + NO_CLASS + "'a'"),
    ("kz.bless(Good, 'refuse.meta4', None, Meta([(Bad, None)]))", INVALID, '_sub_ifcs[0] of the meta object: ' + NO_INTERFACE % 'Derived'),
    ("kz.bless(Good, 'refuse.meta5', None, Meta(3))", None),
    ("kz.testifc(Good, 'nonsense')", FAILED, "expected 8-4-4-4-12 hexadecimal digits, got 'nonsense'"),
    ("kz.testifc(Good(), COMMAND)", FAILED, NO_CLASS + 'an object of the type Derived'),
    ("kz.testifc(Bad, COMMAND)", INVALID, NO_INTERFACE % 'Derived'),
    ("__import__('_kzserv').is_called(5)", 'TypeError: expected string or Unicode object, int found'),
    ("__import__('_kzserv').is_called('Nonsense')", INVALID),
    ("kz.bless(Deep, 'hostile.deep')", 'RuntimeError: maximum recursion depth exceeded'),
    ("kz.bless(Good, 'hostile.endless', {}, Endless())", 'RuntimeError: maximum recursion depth exceeded'),
    ("kz.bless(Good, 'hostile.shrinking', {}, Meta(Shrinking()))", 'KeyboardInterrupt: '),
]


def check_blessing_refuses_what_it_cannot_serve():
    def Meta(servers):
        return derived(object, _sub_ifcs=servers)()

    Shrinking = derived(object, __len__=lambda self: 5, __getitem__=lambda self, index: throw(KeyboardInterrupt))
    Good, Bad = derived(Command), derived(object)
    Endless = derived(object, _sub_ifcs=property(lambda self: [(Good, Endless())]))
    Deep = reduce(lambda base, depth: derived(base), range(1200), Command)
    names = dict(globals(), **locals())
    before = HOST.ServerCount('command')
    told()
    for row in REFUSED:
        statement, expected = row[:2]
        told('python')
        found = outcome(statement, names)
        equal((statement, found and found[:len(expected)] if expected else found), (statement, expected))
        explained = told('python')
        equal((row, [row[2:] and row[2] in line or line for line in explained]), (row, [True] if row[2:] else []))
    equal((HOST.ServerCount('command') - before, told()), (3, []))


def check_the_bases_are_walked_depth_first():
    Marked = derived(Attributes)
    kz.bless(Marked, ':ActionListener')
    Both = derived(derived(derived(object), Command, ClassType('Old', (), {})), Marked)
    made = spawn(bless(Both))
    equal([wrapper().set(made) for wrapper in (kz.object.Command, kz.object.ActionListener, kz.object.Attributes)],
          [True, True, False])  # a marked base ends its branch
    equal([kz.testifc(Both, each) for each in (COMMAND, LISTENER)], [True, False])


def check_servers_are_listed_in_the_order_of_blessing():
    service = kz.Service('host')
    before = len(service.select('servers', '') or service.queryN())
    for name, base in (('listed', Command), ('listed', Listener), ('listed.a', Command)):
        kz.bless(derived(base), name)
    service.select('servers', '')
    equal(service.queryN()[before:], ('listed', 'listed', 'listed.a'))


def check_only_the_first_thread_blesses():
    caught = []
    thread = threading.Thread(target=lambda: caught.append(outcome("kz.bless(derived(Command), 'x')", globals())))
    thread.start()
    thread.join()
    equal((caught, 'only the thread on which Python was started' in told('python')[-1]), ([FAILED], True))


def check_tags_are_handed_out():
    class Growing(object):
        def __str__(self):
            for index in range(100):
                tags[index] = index
            return 'growing'

    tags, Tagged = {'a': 1, 'name': None}, derived(Command)
    kz.bless(Tagged, 'tagged', tags)
    kz.bless(Tagged, 'tagged.none')
    kz.bless(Tagged, 'tagged.bad', {derived(object, __str__=lambda self: throw(MemoryError))(): 1})
    tag = HOST.ServerTag
    told('python')
    equal([tag('command', 'tagged', each) for each in ('a', 'name')], ['1', 'None'])
    tags['later'] = Growing()  # the dictionary is kept as it is, not copied
    equal([tag('command', 'tagged', each) for each in ('a', 'later', 'name')], ['1', 'growing', 'None'])
    fails('NOTFOUND', (tag, 'command', 'tagged.none', 'a'), (tag, 'command', 'tagged.bad', 'a'),
          (tag, 'actionlistener', 'tagged', 'a'), (tag, 'command', 'nobody', 'a'))
    lost = told('python')[0]
    equal(lost.startswith('the tags of the server "tagged.bad": ') and 'MemoryError (' in lost, True)


# What cmd_ArgFlags(5) answers, or the code with which it fails, and the lines that it leaves in the log.
ANSWERS = [
    ('def cmd_ArgFlags(self, index): return index + 1', 6, 0),
    ('def cmd_ArgFlags(self, index): return 3.9', 3, 0),
    ('def cmd_ArgFlags(self, index): return True', 1, 0),
    ('def cmd_ArgFlags(self, index): return -1', 0xFFFFFFFF, 0),
    ('def cmd_ArgFlags(self, index): return 0xFFFFFFFFL', 0xFFFFFFFF, 0),
    ('def cmd_ArgFlags(self, index): return 1 << 70', 'FAILED', 1),
    ('def cmd_ArgFlags(self, index): return kz.throw(0x80000017)', 'NOTFOUND', 2),
    ('def cmd_ArgFlags(self, index): return kz.throw(0x80000017, 1)', 'NOTFOUND', 0),
    ('def cmd_ArgFlags(self, index): kz.notimpl()', 'NOTIMPL', 0),
    ('def cmd_ArgFlags(self, index): kz.throw(0x84800004)', 'CMD_DISABLED', 0),
    ("def cmd_ArgFlags(self, index): raise RuntimeError('bad result: OK')", 0, 0),
    ("def cmd_ArgFlags(self, index): raise RuntimeError('bad result: PARTICLE_KILL ')", 'FAILED', 2),
    ("def cmd_ArgFlags(self, index): raise RuntimeError('bad result: DISABLED')", 'DISABLED', 0),
    ('def cmd_ArgFlags(self, index): raise SystemExit(0)', 'FAILED', 2),
    ('pass', 'FAILED', 1),  # no such method: an AttributeError without a frame
    ('cmd_ArgFlags = 3', 'FAILED', 1),
    ('def cmd_ArgFlags(self): return 1', 'FAILED', 1),
    ('def cmd_ArgFlags(self, index):\n        yield 1', 'FAILED', 1),
    # Methods are found as Python finds them.
    ('def cmd_ArgFlags(self, index, more=7): return index + more', 12, 0),
    ('def cmd_ArgFlags(self, *args, **named): return len(args) + len(named)', 1, 0),
    ('cmd_ArgFlags = staticmethod(lambda index: index * 2)', 10, 0),
    ('cmd_ArgFlags = classmethod(lambda cls, index: index * 3)', 15, 0),
    ('cmd_ArgFlags = property(lambda self: lambda index: index * 4)', 20, 0),
    ('def __init__(self): self.cmd_ArgFlags = lambda index: index * 5\n'
     '    def cmd_ArgFlags(self, index): return 0', 25, 0),
    ('def __getattr__(self, name): return lambda index: index * 6', 30, 0),
    ('def __getattribute__(self, name): return lambda index: index * 7\n'
     '    def cmd_ArgFlags(self, index): return 0', 35, 0),
    ('__slots__ = ()\n    def cmd_ArgFlags(self, index): return index * 8', 40, 0),
    ('class Callable(object):\n        def __call__(self, index): return index * 9\n'
     '    cmd_ArgFlags = Callable()', 45, 0),
    ('cmd_ArgFlags = int', 5, 0),
    ('def cmd_ArgFlags(self, index):\n        del Blessed.cmd_ArgFlags; import gc; gc.collect()\n'
     '        return index * 10', 50, 0),
    ('def cmd_ArgFlags(self, index):\n        def inner(): return index * 11\n        return inner()', 55, 0),
    ('class Other:\n        def cmd_ArgFlags(self, index): return index * 12\n'
     '    def __new__(cls): return cls.Other()', 60, 0),
    ('def make(factor): return lambda self, index: index * factor\n    cmd_ArgFlags = make(13)', 65, 0),
]


def check_calls_are_answered():
    for body, expected, lines in ANSWERS:
        made = command(body)
        told()
        equal((body, result_of(made.ArgFlags, 5), len(told())), (body, expected, lines))


def check_strings_are_the_objects_own():
    made, given = command('def cmd_Name(self): return given.pop()'), []
    made_names = kz.extract(made).cmd_Name.__func__.__globals__
    made_names['given'] = given
    for text, name in ((None, None), ('', ''), ('plain', 'plain'), (u'wide', 'wide'), ('a\0b', 'a'),
                       (str(12345) * 2, '1234512345')):
        given.append(text)
        equal((text, made.Name()), (text, name))
    for text in (5, u'\xe9', ['a']):
        told()
        given.append(text)
        equal((text, code_of(made.Name), told()), (text, 'FAILED', ['lost C++ exception']))


def check_objects_go_in_wrapped_and_come_back_as_interfaces():
    class Passing(Command):
        def cmd_Enable(self, message):
            self.seen = type(message).__name__, kz.extract(message) is self

        def cmd_Message(self):
            return back

        def cmd_IconImage(self, width, height):
            return self

    made = kz.object.Command(spawn(bless(Passing)))
    made.Enable(made)
    equal(kz.extract(made).seen, ('Unknown', True))
    fails('FAILED', (made.Enable, None))
    equal(code_of(made.IconImage, 1, 2), 'no interface')  # a command comes back, which is no image
    for back in (None, 0, object(), 5, kz.object.Command(), 'text'):
        fails('NOTFOUND', (made.Message,))


def check_values_are_zero_unless_returned():
    Hostile, Nested = derived(object, __int__=lambda self: sys.exit()), derived(object, __int__=lambda self: 4L)
    for body, expected, lines in (('return 9', 9, 0), ('raise ValueError', 0, 0), ("return 'x'", 0, 1),
                                  ('return None', 0, 1), ('kz.throw(1)', 0, 0), ('return Hostile()', 0, 1),
                                  ('return Nested()', 4, 0)):
        names = dict(globals(), **locals())
        exec 'class Counted(Attributes):\n    def attr_Count(self): ' + body in names
        told()
        equal((body, kz.object.Attributes(names['Counted']()).Count(), len(told())), (body, expected, lines))


# A method of a Command, of Attributes or of a Color, how it is called, and what the log says of its answer.
WHY = [
    ('def color_RGBA(self): return 1, 2, 3', ('RGBA',), 'Color.color_RGBA of serving.Explained, result (vector rgba): '
     'expected a sequence of 4 numbers, got a tuple of length 3'),
    ("def cmd_ArgFlags(self, index): raise ValueError('off')", ('ArgFlags', 5), None),  # its traceback says it all
    ('def cmd_ArgFlags(self): return 1', ('ArgFlags', 5),
     'Command.cmd_ArgFlags of serving.Explained: it raised TypeError: cmd_ArgFlags() takes exactly 1 argument'),
    ("def cmd_ArgFlags(self, index): return 'x'", ('ArgFlags', 5),
     "Command.cmd_ArgFlags of serving.Explained, result (integer flags): expected an integer, got 'x' (TypeError: "),
    ('def cmd_Name(self): return 5', ('Name',),
     "Command.cmd_Name of serving.Explained, result (string name): expected a string or None, got 5 (TypeError: "),
    ('def cmd_Message(self): return 5', ('Message',), "Command.cmd_Message of serving.Explained, result (Message object)"
     ': expected an object of the host or one that implements an interface, got 5 (RuntimeError: Object cannot be'),
    ('def cmd_Enable(self, message): pass', ('Enable', None),
     "Command.cmd_Enable of serving.Explained, argument 1 'message': the host passed a value that has no Python"),
    ("def attr_Count(self): raise ValueError('lost')", ('Count',),
     'Attributes.attr_Count of serving.Explained: it raised ValueError: lost ('),
    ('def attr_Count(self): return 1 << 70', ('Count',),
     "Attributes.attr_Count of serving.Explained, result (integer): expected an integer, got 1180591620717411303424L ("),
    ('def attr_Count(self): raise NotImplementedError', ('Count',), None),
    ('def attr_Count(self): kz.throw(0x84800004)', ('Count',), None),
    ('def attr_Count(self): kz.throw(0x80000017, 1)', ('Count',), None),
    ("def attr_Count(self): raise ValueError('lost')", ('Count',), None),  # said before
]


def check_answers_that_do_not_fit_are_explained():
    for body, call, expected in WHY:
        names = dict(globals())
        exec 'class Explained(Command, Attributes, Color):\n    ' + body in names
        made = dict(attr=kz.object.Attributes, colo=kz.object.Color).get(body[4:8], kz.object.Command)(names['Explained']())
        told('python')
        code_of(getattr(made, call[0]), *call[1:])
        lines = told('python')
        equal((body, [expected in line or line for line in lines]), (body, [True] if expected else []))


def check_an_exception_under_way_is_kept():
    noisy = command('def cmd_ArgClear(self, index): raise IndexError')

    def work():
        caller = derived(object, __del__=lambda self: code_of(noisy.ArgClear, 1))()
        raise KeyError('mine')

    equal(outcome('work()', {'work': work}), "KeyError: 'mine'")


def check_each_spawn_makes_an_instance_of_its_own():
    made = []

    name = bless(derived(Command, __init__=lambda self: made.append(weakref.ref(self))))
    first, second = spawn(name), spawn(name)
    equal(made[0]() is made[1](), False)
    kept = made[1]()
    first = second = None
    equal((made[0](), made[1]() is kept), (None, True))
    kept = None
    equal(made[1](), None)


def check_the_meta_object_goes_to_the_constructor():
    WithMeta = derived(Command, __init__=lambda self, meta: meta.append(type(self)))
    meta = derived(list)()
    spawn(bless(WithMeta, None, meta))
    equal(list(meta), [WithMeta])
    told()
    without = bless(WithMeta, {}, None)
    fails('FAILED', (spawn, without))  # the constructor wants an argument
    lines = told()
    equal((len(lines), 'TypeError' in lines[0], lines[1]), (2, True, 'Spawning Python server failed: ' + without))


def check_a_raising_constructor_fails_the_spawn():
    name = bless(derived(Command, __init__=lambda self: throw(error)))
    for error in (NotImplementedError('later'), LookupError('x'), SystemExit(3), MemoryError()):
        told()
        told('python')
        fails('FAILED', (spawn, name))
        equal(told()[-1], 'Spawning Python server failed: ' + name)
        silent = 'serving.Derived: making an instance raised NotImplementedError: later ('
        equal([line[:len(silent)] for line in told('python')],
              [silent] if isinstance(error, NotImplementedError) else [])
    fails('NOTFOUND', (spawn, name, 'actionlistener'), (spawn, name[:-1]))


def check_sub_servers_answer_for_what_the_class_lacks():
    class Sub(Listener):
        def __init__(self, meta):
            meta.made = self
            if meta.fail:
                raise ValueError('no sub')

    Outer, Meta = derived(Command, __init__=lambda self, meta: None), derived(object, fail=False)
    sub, meta = Meta(), Meta()
    meta._sub_ifcs = ((Outer, meta), [Sub, sub])  # one that names itself does no harm
    outer = spawn(bless(Outer, None, meta))
    equal(kz.testifc(Outer, LISTENER, meta), False)
    sub.fail = True
    told()
    equal((kz.object.ActionListener().set(outer), 'no sub' in told()[0]), (False, True))
    sub.fail, sub.made = False, None
    sys.exc_clear()
    once, again = kz.object.ActionListener(outer), kz.object.ActionListener(outer)
    equal(once.__eq__(again), True)
    alive, sub.made = weakref.ref(sub.made), None
    once = again = outer = None
    equal(alive() is not None, True)  # the reference that a sub-object's making gave is kept

    # Nor do two that name each other, in none of which the search begins.
    outer, one, other = [(derived(Command, __init__=lambda self, meta: None), Meta()) for _ in range(3)]
    for (_, meta), named in ((outer, one), (one, other), (other, one)):
        meta._sub_ifcs = (named,)
    server, meta = outer
    equal(kz.object.ActionListener().set(spawn(bless(server, None, meta))), False)
