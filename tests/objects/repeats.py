"""Commands that are executed again in place of what they did before: drags and post mode."""
import kz
import kzifc
from checks import code_of, equal
from kz import symbol
from kz.symbol import fCMD_EXEC_ALREADYFIRED, fCMD_MODEL, fCMD_NOREFIRE, fCMD_UNDO, iCMDEXEC_TYPE_REFIRE
from kzu.command import Argument, Command
from listeners import Listening, ear_of
from scene import SCENES, new

UNDO = kz.service.Undo()


class Move(Command):
    """Moves the item "a" by so much, from where it is; on demand, it fails when it has moved."""
    executed = []
    flags = fCMD_UNDO | fCMD_MODEL
    arguments = [Argument('by', 'float'), Argument('fail', 'boolean', default=False)]

    def cmd_Flags(self):
        return self.flags

    def cmd_Execute(self, flags):
        self.executed.append(flags)
        Command.cmd_Execute(self, flags)

    def execute(self, by, fail):
        scene = SCENES.Current()
        scene.WriteChannels(None, 0.0).DoubleByName(scene.ItemLookup('a'), 'pos.X', place() + by)
        if fail:
            kz.throw(kz.result.FAILED)


class Slide(Move):
    flags = Move.flags | fCMD_NOREFIRE


kz.bless(Move, 'repeats.move')
kz.bless(Slide, 'repeats.slide')


def place():
    scene = SCENES.Current()
    item = scene.ItemLookup('a')
    return scene.Channels(None, 0.0).Double(item, item.ChannelLookup('pos.X'))


def start():
    new(('locator', 'a', None))
    UNDO.Clear(symbol.mUNDO_CLEAR)
    del Move.executed[:]


def named(heard):
    return [event for event in heard if event[0].startswith(('Refir', 'PostMode', 'BlockEndedPostMode'))]


def check_a_drag_is_one_step():
    start()
    with Listening(ear_of(kzifc.CmdSysListener)) as told:
        equal(named(told.hears(kz.eval, 'command.refire true')), [('RefireBegin',)])
        for by, told_then in (('1', []), ('2', [('RefiringNext',)]), ('3.5', [('RefiringNext',)])):
            heard = told.hears(kz.eval, 'repeats.move ' + by)
            equal((by, place(), UNDO.Count(), named(heard)), (by, float(by), (1, 0), told_then))
            kind = iCMDEXEC_TYPE_REFIRE if told_then else 0
            equal([event[1] for event in heard if event[0] in ('ExecutePre', 'ExecuteResult')], [kind] * 2)
        equal(Move.executed, [0, fCMD_EXEC_ALREADYFIRED, fCMD_EXEC_ALREADYFIRED])
        equal(kz.eval('command.refire state:?'), 'on')
        equal(named(told.hears(kz.eval, 'command.refire false')), [('RefireEnd',)])
    kz.eval('repeats.move 1')
    equal((place(), UNDO.Count()), (4.5, (2, 0)))
    UNDO.Undo(2)
    equal(place(), 0)


def check_a_drag_keeps_what_it_did_when_a_step_fails():
    start()
    kz.eval('command.refire true')
    kz.eval('repeats.move 2')
    equal(code_of(kz.eval, 'repeats.move 7 fail:1') != '', True)
    equal((place(), UNDO.Count()), (2, (1, 0)))
    equal(code_of(kz.eval, 'repeats.move nothing') != '', True)
    equal((place(), UNDO.Count()), (2, (1, 0)))
    kz.eval('repeats.move 3')
    equal((place(), UNDO.Count()), (3, (1, 0)))
    kz.eval('repeats.move 0')  # it leaves no step, and what was undone is not to be redone
    equal(place(), 0)
    equal(UNDO.Count()[1], 0)
    kz.eval('command.refire false')


def check_only_the_last_step_of_the_same_command_is_undone():
    start()
    kz.eval('command.refire true')
    kz.eval('repeats.move 1')
    kz.eval('item.create locator name:between')
    kz.eval('repeats.move 2')
    equal((place(), UNDO.Count()), (3, (3, 0)))
    kz.eval('undo')
    equal(place(), 1)
    kz.eval('repeats.move 5')  # the step before was undone by the user
    equal((place(), UNDO.Count()), (6, (3, 0)))
    for by in '12':
        kz.eval('repeats.slide ' + by)
    equal((place(), UNDO.Count()), (9, (5, 0)))
    kz.eval('command.refire false')


def check_drags_and_post_mode_are_refused():
    start()
    code = lambda line: (code_of(kz.eval, line), kz.lastResult())[1]
    equal(code('command.refire false'), kz.result.CMD_ILLEGAL_REFIRE_END)
    equal(code('command.postMode false'), symbol.e_CMD_POSTMODE_NOT_ACTIVE)
    equal(code('command.postMode true'), symbol.e_CMD_NOTHING_TO_UNDO)
    UNDO.BlockBegin('open', 0)
    equal(code('command.refire true'), kz.result.CMD_ILLEGAL_REFIRE_BEGIN)
    UNDO.BlockEnd()
    kz.eval('command.refire true')
    equal(code('command.refire true'), kz.result.CMD_ALREADY_REFIRING)
    kz.eval('repeats.move 1')
    equal(code('command.postMode true'), kz.result.CMD_ALREADY_REFIRING)
    kz.eval('command.refire false')
    equal(code('command.repeat {by:2}'), symbol.e_CMD_POSTMODE_NOT_ACTIVE)
    kz.eval('command.postMode true')
    equal(code('command.refire true'), symbol.e_CMD_POSTMODE_ACTIVE)
    for wrong in ('other:2', 'by:?', 'by:{'):
        equal((wrong, code('command.repeat ' + '"%s"' % wrong) != 0, place()), (wrong, True, 1))
    kz.eval('undo')
    equal(code('command.repeat {by:2}'), symbol.e_CMD_NOTHING_TO_UNDO)
    kz.eval('command.postMode false')


def check_post_mode_gives_the_last_command_other_arguments():
    start()
    kz.eval('repeats.move 1')
    kz.eval('repeats.move 2')
    with Listening(ear_of(kzifc.CmdSysListener)) as told:
        equal(named(told.hears(kz.eval, 'command.postMode true')), [('PostModeBegin',)])
        heard = [event[0] for event in told.hears(kz.eval, 'command.repeat {by:5}')]
        equal((place(), UNDO.Count(), [name for name, in named([(name,) for name in heard])]),
              (6, (2, 0), ['PostModeUndoNext', 'BlockEndedPostMode']))
        equal(heard.index('BlockEndedPostMode') < heard.index('BlockBegin'), True)
        equal(kz.eval('command.repeat command:?'), 'repeats.move by:5')
        equal(code_of(kz.eval, 'command.repeat "by:9 fail:1"') != '', True)
        equal((place(), UNDO.Count()), (6, (2, 0)))
        equal(named(told.hears(kz.eval, 'item.create locator name:next')), [('PostModeRestart',)])
        equal(named(told.hears(kz.eval, 'log.lines subsystem:commands count:?')), [])
        kz.eval('command.repeat {name:other}')
        equal((SCENES.Current().ItemLookup('other').UniqueName(), code_of(SCENES.Current().ItemLookup, 'next')),
              ('other', 'NOTFOUND'))
        equal(named(told.hears(kz.eval, 'command.postMode false')), [('PostModeEnd',)])
    UNDO.Undo(3)
    equal(place(), 0)


def check_listeners_that_interfere_harm_nobody():
    start()

    class Busy(kzifc.CmdSysListener):
        def cmdsysevent_RefiringNext(self, command):
            kz.eval('repeats.move 100')

        def cmdsysevent_PostModeUndoNext(self, command):
            kz.eval('undo')

        def cmdsysevent_RefireEnd(self):
            raise ValueError('which harms nobody')

    kz.eval('command.refire true')
    kz.eval('repeats.move 1')
    with Listening(Busy()):
        kz.eval('repeats.move 2')  # what the listener did is on top now, so nothing is undone
        equal((place(), UNDO.Count()), (103, (3, 0)))
        kz.eval('command.refire false')
        kz.eval('command.postMode true')
        equal(code_of(kz.eval, 'command.repeat {by:5}') != '', True)
        equal((place(), UNDO.Count()), (101, (2, 1)))
    kz.eval('command.postMode false')
