"""Who hears of what: listeners of time, actions, values, commands and the log, the ports, and notifiers."""
import os
import shutil
import tempfile
import threading

import kz
import kzifc
import kz.object as k
from checks import equal, fails
from kz.symbol import (e_CMD_DISABLED, e_CMD_NOTHING_TO_UNDO, fACTIONCHANGE_ACTIVE, fACTIONCHANGE_BLEND, fACTIONCHANGE_CHANNELS, fACTIONCHANGE_NAME,
                       fACTIONCHANGE_RANGE, fEVALINVALID_HIERARCHY, fEVALINVALID_TIME, fEVALINVALID_TRANSFORM,
                       fEVALINVALID_VISIBILITY, fNOTIFY_DISABLE, fNOTIFY_REFRESH, iCMDARG_ALL,
                       u_SCENEPORT_ANIMATION)
from scene import SCENES, TYPE, new

LISTENER, NOTIFY, UNDO, LOG = kz.service.Listener(), kz.service.NotifySys(), kz.service.Undo(), kz.service.Log()
COMMANDS = kz.service.Command()


def ear_of(*kinds):
    """A listener of these kinds, which notes the calls with their plain values."""
    def hearing(event):
        def hear(self, *values):
            self.heard.append((event,) + tuple(each for each in values if isinstance(each, (int, float, basestring))))
        return hear

    members = {'__init__': lambda self: setattr(self, 'heard', [])}
    for name in [name for kind in kinds for name in dir(kind)]:
        if '_' in name and not name.startswith('_'):
            members[name] = hearing(name.split('_', 1)[1])
    return type('Ear', kinds, members)()


class Listening(object):
    def __init__(self, ear, attach=None):
        self.ear, self.object, self.attach = ear, k.Unknown(ear), attach or LISTENER

    def __enter__(self):
        self.attach.AddListener(self.object)
        return self

    def __exit__(self, *error):
        self.attach.RemoveListener(self.object)

    def hears(self, call, *values):
        del self.ear.heard[:]
        call(*values)
        return list(self.ear.heard)


def logged():
    """What is in the log, entries below entries included."""
    subsystems = [LOG.SubSystemByIndex(index) for index in range(LOG.SubSystemCount())]
    entries = [each.EntryByIndex(index) for each in subsystems for index in range(each.EntryCount())]
    for entry in entries:
        entries.extend(entry.ChildByIndex(index) for index in range(entry.ChildCount()))
    return [entry.Desc() for entry in entries]


def check_changes_over_time_are_told_in_order():
    scene, item, below = new(('locator', 'a', None), ('locator', 'b', None))
    root, write, x = scene.Root(), scene.WriteChannels(None, 0.0), item.ChannelLookup('pos.X')
    number = lambda name: root.ChannelLookup(name)
    value, placed = ('ChannelValue', x), ('AttributesInvalid', fEVALINVALID_TRANSFORM)
    both = fACTIONCHANGE_CHANNELS | fACTIONCHANGE_RANGE

    def key(time):
        cursor = write.Envelope(item, x).Keys()
        cursor.Last()
        cursor.SetTime(time)

    with Listening(ear_of(kzifc.AnimListener, kzifc.ActionListener, kzifc.SceneEvalListener)) as told:
        faulty = type('Faulty', (kzifc.SceneEvalListener,), {'sel_ChannelValue': lambda self, item, channel: 1 / 0})()
        with Listening(faulty):
            equal(told.hears(write.DoubleKey, item, x, 1.0, 0.5, 1),
                  [value, placed, ('ActionChange', both), ('KeyAdd', x, 0.5)])
        equal(any('sel_ChannelValue of listeners.Faulty: it raised ZeroDivisionError' in text for text in logged()), True)
        moved = ('ActionChange', fACTIONCHANGE_RANGE)
        for call, expected in (
                ((write.DoubleKey, item, x, 2.0, 2.0, 1), [value, placed, moved, ('KeyAdd', x, 2.0)]),
                ((key, 3.0), [value, placed, moved, ('KeyMove', x, 2.0, 3.0)]),
                ((write.DoubleKey, item, x, 4.0, 3.0, 1), [value, placed, ('EnvelopeChange', x)]),
                ((UNDO.Undo, 2), [('EnvelopeChange', x), value, placed, ('KeyMove', x, 3.0, 2.0), value, placed, moved]),
                ((UNDO.Undo, 1), [('KeyRemove', x, 2.0), value, placed, moved]),
                ((kz.service.Selection().SetTime, 1.5),
                 [('ChannelValue', number('currentTime')), ('CurrentTime', 1.5), ('TimeChange', 1.5),
                  ('AttributesInvalid', fEVALINVALID_TIME)]),
                ((write.DoubleByName, root, 'currentStart', 0.25),
                 [('ChannelValue', number('currentStart')), ('RangeChange', 0.25, 5.0)]),
                ((write.IntegerByName, item, 'visible', 2),
                 [('ChannelValue', item.ChannelLookup('visible')), ('AttributesInvalid', fEVALINVALID_VISIBILITY)]),
                ((below.SetParent, item, -1),
                 [('AttributesInvalid', fEVALINVALID_HIERARCHY | fEVALINVALID_TRANSFORM)]),
                ((scene.ActionAdd, 'walk', 0), [('ActionAdd',), ('AttributesInvalid', fEVALINVALID_HIERARCHY),
                                                ('ActionChange', fACTIONCHANGE_NAME)])):
            equal((call[0], told.hears(*call)), (call[0], expected))
        clip, clip_item = scene.ActionByIndex(4), scene.ItemLookup('walk')
        for call, changes in (((clip.SetActive, 1), [fACTIONCHANGE_ACTIVE]),
                              ((clip.SetBlend, 0.5, 1), [fACTIONCHANGE_BLEND] * 2),
                              ((clip.AddChannel, item, x), [fACTIONCHANGE_CHANNELS]),
                              ((clip.Write(0.0).DoubleKey, item, x, 1.0, 0.0, 1), [fACTIONCHANGE_RANGE]),
                              ((clip.RemoveChannel, item, x), [both])):
            equal((call[0], [each[1] for each in told.hears(*call) if each[0] == 'ActionChange']), (call[0], changes))
        equal(told.hears(scene.ItemRemove, clip_item)[0], ('ActionRemove',))
    equal(told.hears(write.Double, item, x, 3.0), [])  # it listens no more


def check_values_that_follow_are_told():
    scene, item, target = new(('locator', 'a', None), ('locator', 'b', None))
    math = scene.ItemAdd(TYPE('mathBasic'))
    at, links = lambda item, name: item.ChannelLookup(name), k.ChannelGraph(scene.GraphLookup('channelLinks'))
    links.AddLink(item, at(item, 'pos.X'), math, at(math, 'input1'))
    links.AddLink(math, at(math, 'output'), target, at(target, 'pos.Y'))
    with Listening(ear_of(kzifc.SceneEvalListener)) as told:
        heard = told.hears(scene.WriteChannels(None, 0.0).DoubleByName, item, 'pos.X', 2.0)
    equal(heard, [('ChannelValue', channel) for channel in (at(item, 'pos.X'), at(math, 'input1'), at(math, 'output'),
                                                            at(target, 'pos.Y'))]
          + [('AttributesInvalid', fEVALINVALID_TRANSFORM)])


def check_user_values_files_and_the_log_are_told():
    folder, (scene,) = tempfile.mkdtemp(), new()
    path = os.path.join(folder, 'a.kzscene')
    with Listening(ear_of(kzifc.UserValueListener, kzifc.SessionListener)) as told:
        for line, expected in (('told 2 type:integer', [('Added', 'told')]), ('told 2', []),
                               ('told 3', [('ValueChanged', 'told')]),
                               ('told life:config', [('DefinitionChanged', 'told')]),
                               ('told delete:true', [('Deleted', 'told')])):
            equal((line, told.hears(kz.eval, 'user.value ' + line)), (line, expected))
        equal((told.hears(SCENES.Save, scene, path, None), told.hears(SCENES.Close, scene)),
              ([('FileSaved', path)], [('FileClosed', path)]))
    shutil.rmtree(folder)
    lines, limit = LOG.SubSystemLookup('told'), LOG.MaxEntries()
    with Listening(ear_of(kzifc.LogListener)) as told:
        entry = LOG.CreateEntry(1, 'one')
        equal(told.hears(entry.SetInfo, 'file', 'a'), [])  # it is in no log yet
        lines.AddEntry(entry)
        equal(told.hears(entry.SetInfo, 'file', 'b'), [('EntryChanged',)])
        LOG.SetMaxEntries(2)
        lines.AddEntry(LOG.CreateEntry(1, 'two'))
        equal(told.hears(lines.AddEntry, LOG.CreateEntry(1, 'three')), [('RollingFull', 1), ('EntryAdded',)])
    LOG.SetMaxEntries(limit)


def check_blocks_of_commands_and_the_history_are_told():
    new()
    with Listening(ear_of(kzifc.CmdSysListener)) as told:
        block = ['BlockBegin', 'UndoLockout', 'UndoLockout', 'BlockEnd']
        for line, expected in (('item.create locator name:told', block), ('undo', ['UserUndo']),
                               ('redo', ['UserRedo'])):
            heard = [event[0] for event in told.hears(kz.eval, line)]
            equal((line, heard[0], heard[1:-2]), (line, 'ExecutePre', expected))
        equal(told.hears(UNDO.BlockBegin, 'b', 0), [('UndoLockout', 1)])
        equal(told.hears(UNDO.BlockEnd), [('UndoLockout', 0)])


def check_ports_take_one_kind_of_listeners():
    scene, item = new(('locator', 'a', None))
    port, ear = LISTENER.PortByName('scene.animation'), ear_of(kzifc.AnimListener, kzifc.SceneEvalListener)
    write, before = scene.WriteChannels(None, 0.0), LISTENER.ListenerCount('sceneevallistener')
    with Listening(ear, port) as told:
        equal((LISTENER.ListenerCount('animlistener') > 0, LISTENER.ListenerCount('sceneevallistener')), (True, before))
        equal(told.hears(write.DoubleKey, item, item.ChannelLookup('pos.X'), 1.0, 0.5, 1)[0][0], 'KeyAdd')
        fails('INVALIDARG', (port.AddListener, k.Unknown(ear_of(kzifc.LogListener))))
    unknown = k.Unknown(ear)
    for attached in (port, LISTENER.PortByName('scene.values')):
        attached.AddListener(unknown)
    LISTENER.RemoveListener(unknown)  # from both
    fails('NOTFOUND', (port.RemoveListener, unknown), (LISTENER.PortByName, 'nothing'),
          (LISTENER.FirePort, 'nothing', scene))
    fails('NOTAVAILABLE', (LISTENER.FirePort, 'session', scene), (LISTENER.FirePort, 'scene.values', item))
    equal(LISTENER.PortByName(u_SCENEPORT_ANIMATION) is not None, True)
    with Listening(ear_of(kzifc.SceneEvalListener, kzifc.ActionListener)) as told:
        equal(told.hears(LISTENER.FirePort, 'scene.values', scene), [('AttributesInvalid', 0x3F)])
        equal(told.hears(LISTENER.FirePort, 'scene.actions', scene.ActionByIndex(0)), [('ActionChange', 0x1F)])


class Client(kzifc.CommandEvent):
    def __init__(self):
        self.heard = []

    def cevt_Event(self, flags):
        self.heard.append(flags)
        if self.heard[1:]:
            raise ValueError('which harms nobody')


class NeedsItems(kzifc.Command):
    def cmd_Enable(self, message):
        if not SCENES.Current().ItemCount(TYPE('camera')):
            kz.throw(e_CMD_DISABLED)


def check_clients_know_whether_commands_are_enabled():
    kz.bless(NeedsItems, 'listeners.camera')
    scene, = new()
    UNDO.Clear(0x30)
    client, other = Client(), Client()
    told, others = k.Unknown(client), k.Unknown(other)
    undo = COMMANDS.Spawn(0, 'undo')
    try:
        equal(undo.Enable(kz.service.Message().Allocate()), 'a failure')
    except RuntimeError:
        equal(kz.lastResult(), e_CMD_NOTHING_TO_UNDO)
    fails('NOTAVAILABLE', (undo.NotifyAddClient, 0, told))
    undo.NotifyAddClient(iCMDARG_ALL, told)
    COMMANDS.Spawn(0, 'listeners.camera').NotifyAddClient(iCMDARG_ALL, others)
    kz.eval('command.alias told undo')  # whoever watches is told the present state first
    del client.heard[:], other.heard[:]
    scene.ItemAdd(TYPE('camera'))
    equal((client.heard, other.heard), ([fNOTIFY_DISABLE], [fNOTIFY_DISABLE]))
    kz.eval('undo')
    equal((client.heard, other.heard), ([fNOTIFY_DISABLE] * 2, [fNOTIFY_DISABLE] * 2))
    kz.eval('redo')
    undo.NotifyRemoveClient(told)
    kz.eval('undo')
    equal((len(client.heard), len(other.heard)), (3, 4))
    COMMANDS.Spawn(0, 'listeners.camera').NotifyRemoveClient(others)
    kz.eval('command.unalias told')


def check_notifiers_tell_what_is_to_be_read_again():
    scene, = new()
    lines, command = LOG.SubSystemLookup('noted'), type('Noted', (kzifc.Command,), {})
    for name, arguments, call in (
            ('undo.history', '', lambda: scene.ItemAdd(TYPE('locator'))),
            ('command.history', '', lambda: kz.eval('item.create locator')),
            ('command.alias', '', lambda: kz.eval('command.alias noted undo')),
            ('command.alias', '', lambda: kz.eval('command.unalias noted')),
            ('user.definition', 'noted', lambda: kz.eval('user.value noted 1 type:integer')),
            ('user.value', 'noted', lambda: kz.eval('user.value noted 2')),
            ('file.alias', '', lambda: kz.eval('file.alias noted /')),
            ('log.entry', '', lambda: lines.AddEntry(LOG.CreateEntry(1, 'one'))),
            ('log.entry', 'noted', lambda: lines.AddEntry(LOG.CreateEntry(1, 'two'))),
            ('log.subsystem', '', lambda: LOG.SubSystemLookup('noted too')),
            ('command.list', '', lambda: kz.bless(command, 'listeners.noted')),
            ('server.list', '', lambda: kz.bless(command, 'listeners.noted2'))):
        client = Client()
        held, notifier = k.Unknown(client), NOTIFY.Lookup(name, arguments)
        notifier.AddClient(held)
        call()
        equal((name, set(client.heard)), (name, {fNOTIFY_REFRESH}))
        notifier.RemoveClient(held)
        del client.heard[:]
        NOTIFY.Send(name, arguments, fNOTIFY_REFRESH)
        equal((name, client.heard), (name, []))


def check_reasons_wait_until_the_document_is_free():
    _scene, item = new(('locator', 'a', None))
    heard = []

    class Reader(kzifc.LogListener):
        def logevent_EntryAdded(self, subsystem, entry):
            reader = threading.Thread(target=lambda: heard.append(item.Name()))
            reader.start()
            reader.join()

    with Listening(Reader()):
        fails('NOTFOUND', (item.PackageAdd, 'waits'))
    equal(heard, ['a'])


def check_reasons_wait_until_services_are_free():
    interviews, entries, heard = kz.service.Interviewer(), kz.service.Persistence(), []

    class Asks(kzifc.LogListener):
        def logevent_EntryAdded(self, subsystem, entry):
            heard.append((interviews.IsActive(), entries.IsModified('none')))

    with Listening(Asks()):
        fails('NOTAVAILABLE', (interviews.Back,))
        fails('NOTREADY', (entries.End,))
    equal(heard, [(False, False)] * 2)
