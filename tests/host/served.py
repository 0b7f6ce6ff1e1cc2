"""Commands and value types that modules serve, beside the host's own: what works with the one works with the other."""
import ctypes
import inspect

import kz
import kzifc
import kzu.command
from checks import code_of, equal, fails, result_of
from kz.symbol import (
    e_INVALIDARG, e_NOACCESS, e_NOTFOUND, fCMDARG_OPTIONAL, fCMDARG_QUERY, fCMD_HIDDEN, iIMG_FORMAT_GREY, iVALUE_TYPE_INTEGER,
    iVALUE_TYPE_STRING)

commands, values, log = kz.service.Command(), kz.service.Value(), kz.service.Log()
messages = kz.service.Message()


def last_line(subsystem):
    lines = log.SubSystemLookup(subsystem)
    return lines.EntryByIndex(lines.EntryCount() - 1).Desc() if lines.EntryCount() else ''


# All operations of a command. What is passed to each goes by the name of the parameter, what it answers by its kind.

IMAGE = kz.service.Image().Create(1, 1, iIMG_FORMAT_GREY, 0)
ARRAY, CLIENT, OTHER = values.CreateValueArray('string'), messages.Allocate(), commands.Spawn(0, 'log.clear')
PASSED = {'message': CLIENT, 'client': CLIENT, 'source': OTHER, 'values': ARRAY, 'text': 'text', 'argument': -1}
ANSWERS = {'integer': 7, 'string': 'answer', 'Image': IMAGE, 'Message': CLIENT, '': None}
METHODS = dict((name[4:], base) for name, base in vars(kzifc.Command).items() if name.startswith('cmd_'))
HEARD = []


def plain(value):
    return value.__peekobj__() if hasattr(value, '__peekobj__') else value


def answer_of(name):
    return ANSWERS[METHODS[name].__doc__.partition('cmd_')[0].partition(' ')[0]]


def passed_to(name):
    return [PASSED.get(each, at + 1) for at, each in enumerate(inspect.getargspec(METHODS[name]).args[1:])]


def spying(name):
    return lambda self, *given: HEARD.append((name, map(plain, given))) or answer_of(name)


def check_every_operation_of_a_command_reaches_the_module():
    spies = dict(('cmd_' + name, spying(name)) for name in METHODS)
    kz.bless(type('Spy', (kzifc.Command, kzifc.Attributes), spies), 'all.operations')
    CLIENT.SetMessage('other', 'key', 0)
    equal(len(METHODS), 44)
    for name in METHODS:
        command = kz.object.Command(commands.Spawn(0, 'all.operations'))
        found = getattr(command, name)(*passed_to(name))
        if name not in ('Name', 'Tag'):  # which the host knows itself
            equal((name, (name, map(plain, passed_to(name))) in HEARD), (name, True))
            equal((name, plain(found)), (name, plain(answer_of(name))))
    equal((command.Name(), commands.LookupTag(command.Tag())), ('all.operations', 'all.operations'))


class Speaker(kzifc.Command, kzifc.Attributes):
    """Fails, and says why in a message of its own."""

    def cmd_Execute(self, flags):
        kz.throw(e_NOACCESS, True)

    def cmd_Message(self):
        message = messages.Allocate()
        message.SetMessage('pythonintr', 'exit_msg', 0)
        message.SetArgumentString(1, 'no ink')
        return message


def check_a_command_speaks_for_itself():
    kz.bless(Speaker, 'says.why')
    command, heard = commands.Spawn(0, 'says.why'), messages.Allocate()
    fails('NOACCESS', (command.Execute, 0), (commands.ExecuteString, 0, 'says.why', heard))
    for message in (heard, command.Message()):
        equal(messages.MessageText(message), 'The script ended: no ink')
    equal(last_line('commands'), 'The script ended: no ink')
    # It is the host's, though the host asks the module's for what it lacks.
    equal(code_of(kz.extract, command), 'kz.extract: the object is not implemented in Python')


class Login(kzu.command.Command):
    """Hidden, with a password, an argument that can only be queried, and one with a name that has to be quoted."""
    flags = fCMD_HIDDEN
    arguments = [kzu.command.Argument('state', 'integer', query=True, read_only=True),
                 kzu.command.Argument('pin', 'integer', password=True, query=True),
                 kzu.command.Argument('my "name"', 'string', optional=True)]

    def execute(self, **given):
        Login.given = given
        if given['pin'] == 1:
            raise KeyError('locked')

    def query(self, name):
        return [7] if name == 'state' else {}['no ' + name]


kz.bless(Login, 'login')


def failure_of(function, *arguments, **named):
    try:
        return function(*arguments, **named)
    except RuntimeError as error:
        return error.code, error.reason, kz.lastResult() == error.code


def check_secrets_stay_out_of_the_history_and_the_log():
    kz.bless(Login, 'two words')
    kz.eval('login 4711')
    equal(Login.given, {'state': None, 'pin': 4711, 'my "name"': None})
    kz.command('login', **{'pin': 4711, 'my "name"': 'a "b"'})
    line = kz.evalN('command.history ?')[-1]
    equal(line, 'login "my ""name""":{a "b"}')
    bad = 0x8480000A
    equal(failure_of(kz.eval, 'login 4711s'), (bad, 'login: argument "pin": the password is not an integer, as 12 or -3', True))
    equal(failure_of(kz.command, 'login', pin=1, state=2), (bad, 'login: argument "state" cannot be set, only queried', True))
    equal(any('4711' in text for each in ('commands', 'objects', 'python')
              for text in kz.evalN('log.lines %s text:?' % each)), False)
    listed = kz.Service('command').queryN('commands')
    equal(('login' in listed, 'two words' in listed, kz.eval('login ?')), (False, False, 7))
    equal(commands.IsCommand('two words'), False)


def check_a_query_explains_its_failure_as_an_execution_does():
    equal(failure_of(kz.eval, 'login 1'), (0x80000017, "login: KeyError: 'locked'", True))
    equal(failure_of(kz.eval, 'login pin:?'), (0x80000017, 'login: argument "pin": KeyError: \'no pin\'', True))
    equal(last_line('commands'), 'login: argument "pin": KeyError: \'no pin\'')
    equal(failure_of(kz.eval, 'nothing ?'), (0x84800001, 'CMD_UNKNOWN_COMMAND', True))


# Arguments

class Hint(ctypes.Structure):
    _fields_ = [('value', ctypes.c_int), ('text', ctypes.c_char_p)]


def hint_table(attributes, index):
    if code_of(attributes.Hints, index) is None:
        rows = [Hint(number, text) for number, text in attributes.Hints(index)] + [Hint(0, None)]
        return (Hint * len(rows))(*rows)


def twin_of(name):
    """A command in Python with the arguments of one of the host's own."""
    own = commands.Spawn(0, name)
    known = kz.object.Attributes(own)
    indices = range(known.Count())
    tables = [hint_table(known, index) for index in indices]

    class Twin(kzu.command.Command):
        arguments = [kzu.command.Argument(known.Name(index), known.TypeName(index), desc=own.ArgDesc(index),
                                          optional=bool(own.ArgFlags(index) & fCMDARG_OPTIONAL),
                                          query=bool(own.ArgFlags(index) & fCMDARG_QUERY)) for index in indices]

        def attr_Hints(self, index):
            return ctypes.addressof(tables[index]) if tables[index] is not None else kz.throw(e_NOTFOUND, True)

        def execute(self, **given):
            pass

    kz.bless(Twin, 'twin.' + name)
    return 'twin.' + name


ARGUMENTS = [
    ('unit.system', ['', 'metric', '1', '0x1', ' 2', '3', '-1', 'miles', 'Metric', '{}', 'si metric', 'system:si',
                     'system:{si', 'systen:si', 'system:si si', 'system:si system:si', '? ?']),
    ('log.debug', ['', 'on', 'off', 'True', 'False', 'true', 'yes', '1', '0', '2', 'maybe', '{ true }']),
    ('log.lines', ['a b -2147483648', 'a b 2147483647', 'a b 2147483648', 'a b -2147483649', 'a b 0x10', 'a b 1.5',
                   'a b {}', 'a b +7', 'a b abc', '"two words" {with {braces}}', 'count:3 a', 'a b 3 4', 'subsystem:']),
    ('user.value', ['a b type:float delete:false', 'a delete:True', 'a delete:2', 'delete:on', 'nothing:1']),
]


def given(name, text):
    command = commands.Spawn(0, name)
    code = code_of(commands.ParseArgString, command, 0, text)
    said = last_line('commands') if code else commands.ToString(command)
    return code, said.replace('twin.', '')


def check_arguments_are_taken_alike():
    for name, texts in ARGUMENTS:
        twin = twin_of(name)
        for text in texts:
            equal((name, text, given(twin, text)), (name, text, given(name, text)))
    for text, says in (('True', 'log.debug state:on'), ('off', 'log.debug state:off')):
        equal(given('log.debug', text), (None, says))
    equal(given('log.lines', 'a b -2147483648'), (None, 'log.lines subsystem:a text:b count:-2147483648'))


# Value types

class Number(kzifc.Value):
    """An integer of a type of its own."""
    number = 0

    def set(self, number):
        self.number = int(number)

    def read(self, text):
        self.set(text) if text.isdigit() else kz.throw(e_INVALIDARG, True)

    val_Type, val_TypeName = lambda self: iVALUE_TYPE_INTEGER, lambda self: 'served'
    val_GetInt, val_SetInt = lambda self: self.number, set
    val_GetFlt, val_SetFlt = lambda self: float(self.number), set
    val_GetString, val_SetString = lambda self: str(self.number), read
    val_Copy = lambda self, other: self.set(kz.object.Value(other).GetInt())
    val_Compare = lambda self, other: cmp(self.number, kz.object.Value(other).GetInt())


class Lean(kzifc.Value, kzifc.StringConversion):
    """Nothing but a text, which a conversion writes and reads."""
    text = ''
    val_Type, val_TypeName = lambda self: iVALUE_TYPE_STRING, lambda self: 'lean'
    str_Encode, str_Decode = lambda self: self.text, lambda self, text: setattr(self, 'text', text)


def texts_of(array):
    return [values.EncodeText(array.GetValue(index), 0) for index in range(array.Count())]


def value_of(kind, text):
    value = values.CreateValue(kind)
    values.DecodeText(text, 0, value)
    return value


def array_of(kind, texts):
    array = commands.CreateQueryObject(kind)
    for text in texts:
        array.AddString(text)
    return array


def duplicated(kind):
    value = value_of(kind, '7')
    other = values.Duplicate(value)
    values.DecodeText('8', 0, value)
    return other.TypeName() == kind, values.EncodeText(other, 0), values.EncodeText(value, 0)


def converted(kind, other):
    there, back = values.CreateValue(other), values.CreateValue(kind)
    values.Convert(value_of(kind, '7'), there)
    values.Convert(there, back)
    return values.EncodeText(there, 0), values.EncodeText(back, 0)


def sorted_array(kind, descending):
    array = array_of(kind, ('3', '1', '2'))
    array.Sort(descending)
    return texts_of(array), array.Lookup('2'), array.TypeName() == kind


def edited_array(kind):
    array = array_of(kind, ('1', '2'))
    array.AddEmptyValue()
    array.AddValue(value_of(kind, '4'))
    array.AddValue(value_of('string', '5'))
    array.SetString(0, '9')
    array.Remove(2)
    found = texts_of(array), array.Count()
    array.Reset()
    return found, array.Count(), code_of(array.GetValue, 0), code_of(array.Lookup, '1')


def user_value(kind):
    name = 'kept.' + kind
    kz.eval('user.value %s 7 type:%s' % (name, kind))
    first = kz.eval('user.value %s ?' % name), kz.eval('user.value %s type:?' % name) == kind
    kz.eval('user.value %s 8' % name)
    attributes = kz.object.Attributes(commands.Spawn(0, 'user.value'))
    attributes.SetString(0, name)
    attributes.SetString(1, '9')
    own = attributes.Value(1, 1)
    second = kz.eval('user.value %s ?' % name), attributes.GetString(1), own.TypeName() == kind, attributes.TypeName(1)
    kz.eval('user.value %s delete:true' % name)
    return first, second[:3], second[3] == kind, code_of(kz.eval, 'user.value %s ?' % name)


def argument(kind):
    class Takes(kzu.command.Command):
        arguments = [kzu.command.Argument('it', kind, query=True, toggle=True)]
        last = '1'

        def execute(self, it):
            Takes.last = values.EncodeText(self._passed(0), 0)

        def query(self, name):
            return Takes.last

    name = 'takes.' + kind
    kz.bless(Takes, name)
    kz.eval('%s 7' % name)
    seven = kz.eval('%s ?' % name), kz.evalN('%s ?' % name)
    kz.eval('%s 7|8' % name)
    state, value = commands.GetToggleArgState(commands.SpawnFromString(name + ' 8')[2])
    return seven, kz.eval('%s ?' % name), state, values.EncodeText(value, 0), value.TypeName() == kind


def in_message(kind):
    message = messages.Allocate()
    message.SetMessage('pythonintr', 'exit_msg', 0)
    message.SetArgumentObject(1, value_of(kind, '7'))
    return messages.MessageText(message)


USES = [
    lambda kind: (kind in map(values.TypeByIndex, range(values.TypeCount())), kind in kz.Service('value').queryN('types')),
    lambda kind: values.ValueType(kind) == values.CreateValue(kind).Type(),
    lambda kind: values.CreateValue(kind).TypeName() == kind,
    lambda kind: (values.EncodeText(value_of(kind, '7'), 0), values.EncodeText(value_of(kind, '7'), 1)),
    lambda kind: (commands.CreateQueryObject(kind).TypeName() == kind,
                  commands.CreateQueryObject(kind).Type() == values.ValueType(kind)),
    duplicated, lambda kind: converted(kind, 'string'), lambda kind: sorted_array(kind, 0),
    lambda kind: sorted_array(kind, 1), edited_array, user_value,
]
OF_NUMBERS = [
    argument,
    lambda kind: (value_of(kind, '7').GetInt(), value_of(kind, '7').GetFlt()), in_message,
    lambda kind: [converted(kind, other) for other in ('float', 'integer')],
    lambda kind: [code_of(value_of(kind, '7').Compare, value_of(kind, text)) for text in '789'],
    lambda kind: [value_of(kind, '7').Compare(value_of(kind, text)) for text in '678'],
    lambda kind: [value_of('integer', '7').Compare(value_of(kind, text)) for text in '678'],
    lambda kind: code_of(array_of, kind, ['x']), lambda kind: code_of(value_of, kind, 'x'),
    lambda kind: code_of(commands.ParseArgString, commands.Spawn(0, 'takes.' + kind), 0, 'x'),
    lambda kind: code_of(kz.eval, 'user.value bad x type:' + kind).partition(' is not ')[0],
]


def check_served_types_do_what_the_hosts_own_do():
    kz.bless(Number, 'served')
    kz.bless(Lean, 'lean')
    equal(argument('lean')[:2], (('7', ('7',)), '8'))
    for own, served, uses in (('integer', 'served', USES + OF_NUMBERS), ('string', 'lean', USES)):
        for number, use in enumerate(uses):
            equal((served, number, result_of(use, served)), (served, number, result_of(use, own)))
    array = values.CreateValueArray('served')
    array.AddInt(3)
    array.AddFloat(4)
    array.SetInt(0, 5)
    array.SetFloat(1, 6)
    equal([(array.GetInt(index), array.GetFloat(index), array.GetString(index)) for index in (0, 1)],
          [(5, 5.0, '5'), (6, 6.0, '6')])
    code_of(kz.eval, 'takes.served x')
    equal(last_line('commands'), 'takes.served: argument "it": "x" is not a value of the type served')


# Reasons

def check_failures_say_what_there_is():
    scenes = kz.service.Scene()
    scene = scenes.Create('reasons')
    item = scene.ItemAdd(scenes.ItemTypeLookup('folder'))
    attributes = kz.object.Attributes(OTHER)
    for call, code, says in (
            ((item.ChannelLookup, 'X'), 'NOTFOUND', 'Item.ChannelLookup: there is no channel "X"; there are '),
            ((scene.ItemLookup, 'X'), 'NOTFOUND', 'Scene.ItemLookup: there is no item "X"; there are Scene, Folder'),
            ((scene.Channels, 'X', 0), 'NOTFOUND', 'Scene.Channels: there is no action "X"; there are edit, '),
            ((scenes.ItemTypeLookup, 'X'), 'NOTFOUND', 'Scene.ItemTypeLookup: there is no item type "X"; there are '),
            ((values.CreateValue, 'X'), 'NOTFOUND', 'Value.CreateValue: there is no value type "X"; there are integer, '),
            ((value_of, 'integer', 'X'), 'INVALIDARG', 'Value.SetString: "X" is not an integer, as 12 or -3'),
            ((values.TextHintDecode, 'X', {0: 'off', 1: 'on'}), 'NOTFOUND', 'Value.TextHintDecode: "X" is not one of off on'),
            ((attributes.Lookup, 'X'), 'CMD_UNKNOWN_ARGUMENT',
             'Attributes.Lookup: there is no argument "X"; there are subsystem'),
            ((kz.service.Host().SpawnServer, 'visitor', 'X'), 'NOTFOUND',
             'Host.Server: there is no visitor server "X"; there are none'),
            ((kz.service.ScriptSys().ServiceQuery, 'X'), 'QUERY_UNKNOWN_SERVICE',
             'ScriptSys.ServiceQuery: there is no script service "X"; there are command, file, '),
            ((array_of('integer', '12').GetInt, 2), 'OUTOFBOUNDS', 'ValueArray: there is no value 2; there are 2')):
        fails(code, call)
        equal(last_line('objects')[:len(says)], says)
    lines = log.SubSystemLookup('objects')
    before = lines.EntryCount()
    for attempt in range(200):
        code_of(scene.ItemLookup, 'X%d' % attempt)
        code_of(item.ChannelLookup, 'X')
    equal(0 < lines.EntryCount() - before < 10, True)
