"""The host's services through their interfaces: values, identities, files, the log, commands, what scripts may ask."""
import ctypes
import math
import os
import pydoc
import random
import tempfile

import kz
import kzifc
from checks import code_of, equal, fails, near
from kz.symbol import (e_CMD_TOGGLE_NO_ARGUMENT, fCMD_EXEC_FORCEDIALOG, fCMD_EXEC_NOALERTS, fCMD_EXEC_NODIALOG,
                       fCMD_EXEC_SHOWDIALOG, fFILE_EXISTS, fFILE_FOLDER, iMSGDIALOG_YESNO, iVALUE_TYPE_FLOAT,
                       iVALUE_TYPE_INTEGER, iVALUE_TYPE_OBJECT, iVALUE_TYPE_STRING)

values, guids, files, log = kz.service.Value(), kz.service.GUID(), kz.service.File(), kz.service.Log()
commands, messages, dialogs = kz.service.Command(), kz.service.Message(), kz.service.StdDialog()

TEXTS = [
    ('integer', '12', 12), ('integer', ' -3 ', -3), ('integer', '+7', 7), ('integer', '0x10', 16),
    ('integer', '1.5', None), ('integer', '', None), ('integer', '12a', None), ('integer', '99999999999', None),
    ('boolean', 'true', 1), ('boolean', 'off', 0), ('boolean', 'True', 1), ('boolean', '2', None),
    ('float', '1.5', 1.5), ('float', '-2e-3', -0.002), ('float', 'x', None), ('float', '', None),
    ('angle', '1', 1), ('angle', '90deg', math.pi / 2), ('angle', '90 deg', math.pi / 2), ('angle', '2rad', 2),
    ('angle', '90m', None), ('distance', '2', 2), ('distance', '20mm', 0.02), ('distance', '1m', 1),
    ('distance', '1ft', 0.3048), ('distance', 'mm', None), ('percent', '50%', 0.5), ('percent', '0.25', 0.25),
    ('percent', '%', None), ('time', '40ms', 0.04), ('time', '2min', 120), ('time', '1s', 1),
    ('color', '1 2', None), ('color', '1 2 3 4', None), ('color', 'a b c', None), ('color', '', None),
]


def check_texts_are_read_and_refused():
    for kind, text, number in TEXTS:
        value = values.CreateValue(kind)
        equal((kind, text, code_of(values.DecodeText, text, 0, value)),
              (kind, text, 'INVALIDARG' if number is None else None))
        near([value.GetFlt()] if number is not None else [], [number] if number is not None else [], 1e-12)
    color = values.CreateValue('color')
    values.DecodeText(' 1 0.5  0 ', 0, color)
    equal(values.EncodeText(color, 0), '1 0.5 0')


def check_every_type_reads_its_own_text_and_keeps_the_bounds_of_its_arrays():
    for kind in map(values.TypeByIndex, range(values.TypeCount())):
        value, other, array = values.CreateValue(kind), values.CreateValue(kind), values.CreateValueArray(kind)
        values.DecodeText({iVALUE_TYPE_FLOAT: repr(0.1 + 0.2), iVALUE_TYPE_INTEGER: '1',
                           iVALUE_TYPE_OBJECT: '0.1 0.3 2', iVALUE_TYPE_STRING: 'two words'}[value.Type()], 0, value)
        values.DecodeText(values.EncodeText(value, 0), 0, other)
        equal((kind, value.Compare(other)), (kind, 0))
        values.DecodeText(values.EncodeText(value, 1), 0, other)  # what people see can be typed
        text = values.EncodeText(value, 0)
        kz.eval('user.value kept {%s} type:%s choices:%s' % (text, kind, '{a;b}' if kind == 'choice' else '{}'))
        found, index = commands.QueryArgString(commands.Spawn(0, 'user.value'), 0, 'kept ?', 0)
        equal((kind, found.GetString(0), kz.eval('user.value kept type:?')), (kind, text, kind))
        kz.eval('user.value kept delete:true')
        array.AddEmptyValue()
        equal((kind, array.Type(), array.Count()), (kind, value.Type(), 1))
        fails('OUTOFBOUNDS', (array.GetString, 1), (array.GetFloat, 1), (array.GetInt, 1), (array.Remove, 1))
        array.Remove(0)
        equal((kind, array.Count()), (kind, 0))
    fails('NOTFOUND', (commands.CreateQueryObject, 'nothing'))


def check_hints_name_integers():
    hints = {0: 'none', 1: 'linear', 7: 'smooth'}
    equal((values.TextHintEncode(7, hints), kz.lastResult()), ('smooth', kz.result.OK))
    equal((values.TextHintEncode(5, hints), kz.lastResult()), ('', kz.result.OK_NO_CHOICES))
    for word, code, value in (('linear', 'OK', 1), ('Linear', 'OK_INEXACT_MATCH', 1), ('7', 'OK_INEXACT_MATCH', 7)):
        equal((word, values.TextHintDecode(word, hints), kz.lastResult()), (word, value, getattr(kz.result, code)))
    fails('NOTFOUND', *[(values.TextHintDecode, word, hints) for word in ('5', 'lin', '')])


MESSAGES = [
    ([('SetMessage', 'pythonintr', 'exit_code_msg', 0), ('SetArgumentString', 1, 'NOTFOUND'),
      ('SetArgumentString', 2, '100%1 of it')], 'The script ended with code NOTFOUND: 100%1 of it'),
    ([('SetCode', 0x80000017)], 'not found'),
    ([('SetCode', 0x8ABCDEF0)], 'error 8abcdef0'),
    ([('SetMessage', 'other', 'key', 0), ('SetArgumentInt', 2, -5)], 'other:key "-5"'),
]


def check_message_texts_are_filled_with_their_arguments():
    for steps, text in MESSAGES:
        message = messages.Allocate()
        for step in steps:
            getattr(message, step[0])(*step[1:])
        equal(messages.MessageText(message), text)
    fails('OUTOFBOUNDS', (message.SetArgumentInt, 0, 1), (message.SetArgumentInt, 10, 1))
    text = values.CreateValue('string')
    text.SetString('x' * 1500)
    message.SetArgumentObject(2, text)
    equal(messages.MessageText(message), 'other:key "%s"' % ('x' * 1500))
    for key in ('exception', 'script_err', 'exit_code', 'exit_code_msg', 'exit_msg'):
        equal((key, code_of(messages.TableHas, 'pythonintr', key)), (key, None))
    fails('NOTFOUND', (messages.TableHas, 'pythonintr', 'nothing'))


def check_every_identity_has_one_text_and_one_address():
    known = map(guids.KnownByIndex, range(guids.KnownCount()))
    texts = map(guids.ToText, known)
    equal(len(set(texts)), len(known))
    room = ctypes.create_string_buffer(16)
    parsed = ctypes.addressof(room)
    for bad in ('', '5582E0EE', '5582E0EE-D682-47BC-BF3D-FB14D59948C', '5582E0EE-D682-47BC-BF3D-FB14D59948G1',
                '5582E0EE_D682-47BC-BF3D-FB14D59948C1', ' 582E0EE-D682-47BC-BF3D-FB14D59948C1', None):
        equal((bad, code_of(guids.FromText, bad, parsed)), (bad, 'INVALIDARG'))
    for text, address in zip(texts + ['00000001-0002-0003-0000-000000000000'], known + [0]):
        guids.FromText(text.lower(), parsed)
        equal((text, guids.Global(parsed)), (text, address))
    command = guids.LookupName('command')
    equal((command in known, guids.ClassName(guids.ToText(command))), (True, 'command'))


def check_aliases_resolve_to_what_exists():
    folder = tempfile.mkdtemp()
    kit = folder + '/kit'
    os.makedirs(kit + '/extra64/Python')
    files.AliasSet('kit', kit)
    files.AliasSet('gone', folder + '/gone')
    for path, local in (('kit:', kit), ('kit:extra64/Python', kit + '/extra64/Python'),
                        ('kit:/extra64', kit + '/extra64'), ('/', '/')):
        equal(files.ToLocalAlias(path), local)
    fails('NOTFOUND', *[(files.ToLocalAlias, path) for path in ('kit:nothing', 'gone:', 'unknown:extra64', '', None)])
    equal(files.ToHostAlias(kit + '/extra64'), 'kit:extra64')
    equal(files.ToHostAlias(kit + 'chen'), kit + 'chen')
    fails('INVALIDARG', (files.AliasSet, 'a:b', '/'), (files.RemoveFile, 'kit:'))
    fails('NOTFOUND', (files.TestFile, 'kit:nothing'), (files.FileSystemPath, 'nowhere'))


def check_files_are_read_and_named():
    path = os.path.join(tempfile.mkdtemp(), 'a')
    open(path + '.txt', 'w').write('one\r\ntwo\n')
    equal(os.path.exists(files.FileSystemPath('exename')), True)
    equal(files.TestFile(path + '.txt') & (fFILE_EXISTS | fFILE_FOLDER), fFILE_EXISTS)
    equal((files.FileSize(path + '.txt'), files.ReadLines(path + '.txt', None).GetString(1)), (9, 'two'))
    equal(files.UniqueName(path, 'txt'), path + '_1.txt')


def shape(entries, at=0):
    return [(each.Desc(), shape(map(each.ChildByIndex, range(each.ChildCount())))) for each in entries]


def logged(name):
    found = log.SubSystemLookup(name)
    return shape(map(found.EntryByIndex, range(found.EntryCount())))


def check_log_entries_arrive_with_their_children_in_order():
    top, early, below, late = [log.CreateEntry(1, text) for text in ('top', 'early', 'below', 'late')]
    early.AddEntry(below)
    fails('INVALIDARG', (below.AddEntry, early), (early.AddEntry, early))
    top.AddEntry(early)
    log.SubSystemLookup('ordered').AddEntry(top)
    top.AddEntry(late)
    equal(logged('ordered'), [('top', [('early', [('below', [])]), ('late', [])])])
    fails('ALREADYEXISTS', (top.AddEntry, late))
    fails('INVALIDARG', (top.AddEntry, messages.Allocate()), (top.AddEntry, None))
    equal(below.Parent().Desc(), 'early')
    fails('NOTFOUND', (top.Parent,))


def check_a_full_log_drops_the_oldest():
    log.SetMaxEntries(3)
    full = log.SubSystemLookup('full')
    for text in 'abcde':
        full.AddEntry(log.CreateEntry(1, text))
    log.SetMaxEntries(1000)
    equal((logged('full'), full.DroppedCount()), ([('c', []), ('d', []), ('e', [])], 2))


class Chatter(kzifc.LogListener):
    """Writes to the log itself."""
    heard = []

    def logevent_EntryAdded(self, subsystem, entry):
        self.heard.append(kz.object.LogEntry(entry).Desc())
        log.SubSystemLookup('chatter').AddEntry(log.CreateEntry(1, 'echo'))


def check_a_log_listener_may_write_without_hearing_itself():
    listeners, chatter = kz.service.Listener(), kz.object.Unknown(Chatter())
    before = listeners.ListenerCount('loglistener')
    listeners.AddListener(chatter)
    equal(listeners.ListenerCount('loglistener'), before + 1)
    log.SubSystemLookup('heard').AddEntry(log.CreateEntry(1, 'one'))
    equal((Chatter.heard, logged('heard'), logged('chatter')), (['one'], [('one', [])], [('echo', [])]))
    listeners.RemoveListener(chatter)
    fails('NOTFOUND', (listeners.RemoveListener, chatter))
    fails('INVALIDARG', (listeners.AddListener, log.CreateEntry(1, '')))  # it listens to nothing


def check_messages_go_to_the_log_with_the_cautious_answer():
    message = messages.Allocate()
    message.SetCode(kz.result.NOACCESS)
    equal(dialogs.MessageOpen(message, iMSGDIALOG_YESNO, None), kz.symbol.eMSGDIALOG_NO)
    equal(logged('dialogs'), [('access is denied', [])])
    fails('NOTAVAILABLE', (dialogs.FolderOpen, '', ''))
    work = dialogs.MonitorAllocate('Progress')
    fails('INVALIDARG', (work.Initialize, 0), (dialogs.MonitorReleaseObj, None))
    for once_more in range(2):  # which does no harm
        dialogs.MonitorReleaseObj(work)


def toggled(text):
    return commands.GetToggleArgState(commands.SpawnFromString(text)[2])[0]


def check_toggles_go_round_and_tell_their_state():
    kz.eval('log.debug on')
    equal(map(toggled, ('log.debug on', 'log.debug off', 'log.debug')), [1, 0, 1])
    kz.eval('log.debug on|off')
    equal(toggled('log.debug'), 0)
    states = []
    for turn in range(3):
        kz.eval('unit.system si|metric|english')
        states.append(kz.eval('unit.system ?'))
    equal(states, ['metric', 'english', 'si'])
    code_of(toggled, 'user.value x')
    equal(kz.lastResult(), e_CMD_TOGGLE_NO_ARGUMENT)


def check_choices_are_known_by_their_words():
    kz.eval('user.value mood calm type:choice choices:{calm;glad;wild}')
    attributes = kz.object.Attributes(commands.SpawnFromString('user.value mood')[2])
    equal([text for value, text in attributes.Hints(1)], ['calm', 'glad', 'wild'])
    fails('NOTFOUND', (attributes.Hints, 0))
    for word, value in (('glad', 'glad'), ('2', 'wild'), ('calm', 'calm')):
        kz.eval('user.value mood ' + word)
        equal((word, kz.eval('user.value mood ?')), (word, value))


def check_a_command_is_parsed_queried_and_executed_step_by_step():
    fails('CMD_BAD_DEFINITION', (commands.ProcessStringFlags, 0, ''))
    exe = fCMD_EXEC_NODIALOG, fCMD_EXEC_NOALERTS, fCMD_EXEC_SHOWDIALOG, fCMD_EXEC_FORCEDIALOG
    for flags, text, marked, rest in ((0, 'cmd ?', 0, 'cmd ?'), (0, '!cmd', exe[0], 'cmd'), (0, '?cmd', exe[2], 'cmd'),
                                      (0, ' !! cmd', exe[0] | exe[1], 'cmd'), (0, '??cmd', exe[3], 'cmd'),
                                      (0, '@file', 0, '@file'), (2 ** 32 - 1, 'cmd', 2 ** 32 - 1, 'cmd'),
                                      (2 ** 32 - 1, '!cmd', exe[0], 'cmd')):
        equal((text, commands.ProcessStringFlags(flags, text)), (text, (marked, rest)))
    command = commands.Spawn(0, 'user.value size 4 type:integer')
    fails('NOTFOUND', (commands.IsImplicitScript, 'user.value'))
    fails('CMD_NO_QUERY_MARKED', (commands.QueryArgString, command, 0, 'user.value size 4 type:integer', 1))
    commands.ParseArgString(command, 0, ' size 4 type:integer')
    command.Execute(0)
    equal(command.Message().Code(), 0)
    equal(commands.ToString(command), 'user.value name:size value:4 type:integer')
    array, index = commands.QueryArgString(command, 0, 'user.value size ?', 1)
    equal((array.GetInt(0), index), (4, 1))
    equal(commands.LookupTag(commands.Lookup('user.value')), 'user.value')
    fails('CMD_UNKNOWN_COMMAND', (commands.Lookup, 'nothing'), (commands.Spawn, 9999, None))
    fails('INVALIDARG', (commands.ParseArgString, None, 0, 'x'), (commands.Execute, array, 0))


def check_the_history_sets_every_text_again():
    chance = random.Random(1)
    for _ in range(300):
        text = ''.join(chance.choice('""{{}}\\ \n\t|:?;a\xff\x01') for _ in range(chance.randrange(8)))
        kz.command('user.value', name='kept', value=text)
        line = kz.evalN('command.history ?')[-1]
        kz.command('user.value', name='kept', value='other')
        kz.eval(line)
        equal((line, kz.eval('user.value kept value:?')), (line, text))
    kz.eval('user.value word type:choice choices:{3;2;1}')  # of which each is also the number of another one
    for word in '123':
        kz.command('user.value', value=word, name='word')
        line = kz.evalN('command.history ?')[-1]
        kz.eval('user.value word 3')
        kz.eval(line)
        equal((line, kz.eval('user.value word value:?')), (line, word))


def check_lengths_are_shown_in_the_system_of_units():
    length = values.CreateValue('distance')
    for system, shown in (('metric', ['0 m', '2 cm', '-1.5 km', '0.5 um']), ('english', ['0 ft', '0.787402 in']),
                          ('si', ['0 m', '0.02 m', '-1500 m', '5e-07 m'])):
        kz.eval('unit.system ' + system)
        for number, text in zip((0, 0.02, -1500, 5e-7), shown):
            length.SetFlt(number)
            equal((system, values.EncodeText(length, 1)), (system, text))


def asked(service, attribute, element):
    query = kz.service.ScriptSys().ServiceQuery(service)
    query.Select(attribute, element)
    index = query.Lookup('')
    array = commands.CreateQueryObject(query.TypeName(index))
    query.Query(index, array)
    return [array.GetString(at) for at in range(array.Count())][-1]


def check_script_services_answer_for_the_running_host():
    log.SubSystemLookup('asked').AddEntry(log.CreateEntry(1, 'one line'))
    kz.eval('user.value size 3 type:integer')
    for query, answer in ((('log', 'lines', 'asked'), 'one line'), (('log', 'count', 'asked'), '1'),
                          (('command', 'exists', 'user.value'), 'true'), (('command', 'exists', 'nothing'), 'false'),
                          (('command', 'arguments', 'log.clear'), 'subsystem'), (('script', 'depth', ''), '1'),
                          (('command', 'history', ''), 'user.value name:size value:3 type:integer'),
                          (('value', 'units', ''), 'si')):
        equal((query, asked(*query)), (query, answer))
    fails('QUERY_NEED_SELECTION', (asked, 'log', 'count', ''))
    fails('QUERY_UNKNOWN_ATTRIBUTE', (asked, 'log', 'nothing', ''))
    fails('CMD_UNKNOWN_COMMAND', (asked, 'command', 'arguments', 'nothing'))
    for query in (('log', 'lines'), ('host', 'servers'), ('value', 'choices'), ('file', 'path')):
        fails('NOTFOUND', (asked,) + query + ('nothing:',))
    equal(code_of(kz.Service, 'thread'), "service 'thread' has no script interface.")


def check_servers_are_created_and_read_again():
    host = kz.service.Host()
    before = host.ServerCount('visitor'), host.ServerCount('')
    kz.bless(type('Late', (kzifc.Visitor,), {}), 'late')
    equal((host.ServerCount('visitor'), host.ServerCount('')), (before[0] + 1, before[1] + 1))
    fails('NOTFOUND', (host.SpawnServer, 'visitor', 'other'), (host.SpawnServer, None, None),
          (host.ModuleUpdate, 'nobody'))


def check_help_says_something_of_everything():
    for module in (kz, kz.object, kz.service, kz.symbol, kz.result, kz.ifc):
        for number, (name, value) in enumerate(sorted(vars(module).items())):
            path = module.__name__ + '.' + name
            if type(value) is type(kz.Service):
                things = [value] + [each for key, each in vars(value).items() if not key.startswith('__')]
                equal((path, [thing for thing in things if not thing.__doc__]), (path, []))
            elif isinstance(value, (int, long, float, str)) and not name.startswith('__'):
                if number % 100 == 0:  # rendering takes long
                    equal((path, path + ' = ' in pydoc.plain(pydoc.render_doc(path))), (path, True))
            else:
                equal((path, bool(value is None or value.__doc__)), (path, True))
