"""How arguments of commands are shown: hints that servers give, and what the host does with them."""
import kz
import kz.object as k
import kzifc
from checks import code_of, equal, fails
from kz.symbol import (fCMDARG_OPTIONAL, fCMDARG_READONLY, fPOPUP_DISABLED, fPOPUP_HEADING, fUIHINT_MAX, fUIHINT_MIN,
                       fUIHINT_PASSWORD, fUIHINT_SOFTMAX, fUIHINT_SOFTMIN, fUIHINT_SORTED, fVALHINT_COLORS,
                       fVALHINT_CUE, fVALHINT_FILTER, fVALHINT_ITEMS, fVALHINT_ITEMS_NONE, fVALHINT_ITEM_DETAILS,
                       fVALHINT_LABEL, fVALHINT_NOTIFIERS, fVALHINT_POPUPS, fVALHINT_POPUP_ICONS, fVALHINT_POPUP_TIPS,
                       iUIHINT_BOOL_RADIO, iUIHINT_CLASS_SLIDER)
from scene import TYPE, new

HOST, VALUES = kz.service.Host(), kz.service.Value()
POPS = [('title', 'Title', '', fPOPUP_HEADING), ('red', 'Rot', 'like blood', 0), ('grey', None, '', fPOPUP_DISABLED),
        ('blue', None, 'like the sky', 0), (None, None, None, 0)]


class Picture(kzifc.Image):
    def __init__(self, *size):
        self.size = size

    def img_Size(self):
        return self.size


class Choices(kzifc.UIValueHints):
    def __init__(self, flags):
        self.flags = flags

    def uiv_Flags(self):
        return self.flags

    def uiv_PopCount(self):
        return len(POPS)

    def uiv_PopInternalName(self, index):
        return POPS[index][0]

    def uiv_PopUserName(self, index):
        if POPS[index][1] is None:
            kz.notimpl()
        return POPS[index][1]

    def uiv_PopToolTip(self, index):
        return POPS[index][2]

    def uiv_PopFlags(self, index):
        return POPS[index][3]

    def uiv_Label(self):
        return 'Paint'

    def uiv_CueText(self):
        return 'a colour'

    def uiv_ColorSample(self, fraction):
        return (fraction, 0.5, 1 - fraction, 1)

    def uiv_NotifierCount(self):
        return 2 ** 32 - 1

    def uiv_NotifierByIndex(self, index):
        if index > 1:
            kz.throw(kz.result.OUTOFBOUNDS)
        return ('test.paint', 'now') if index else ('test.paint', None)

    def uiv_PopCategory(self):
        return 'Paints'

    def uiv_PopIconResource(self, index):
        if index != 1:
            kz.notimpl()
        return 'ui.red'

    def uiv_PopIconImage(self, index, width, height):
        return Picture(width, height - 2) if index == 3 else self

    def uiv_PopCommand(self, index):
        if index != 1:
            kz.throw(kz.result.NOTFOUND)
        return 'user.value hints.chosen red'

    def uiv_ItemTest(self, item):
        if k.Item(item).Type() != TYPE('locator'):
            kz.throw(kz.result.NOTFOUND)

    def uiv_ItemDetails(self, item):
        if k.Item(item).UniqueName() != 'a':
            kz.throw(kz.result.NOTFOUND)
        return 'first', 'of all'

    def uiv_StringFilter(self, text):
        if text == 'forbidden':
            kz.throw(kz.result.INVALIDARG)
        return text.strip('!')


ARGUMENTS = ['size', 'paint', 'lies', 'plain']


class Shown(kzifc.Command, kzifc.Attributes, kzifc.AttributesUI):
    def __init__(self):
        self.values = {}

    executed = []

    def cmd_Execute(self, flags):
        self.executed.append(dict(self.values))

    def attr_SetString(self, index, text):
        self.values[index] = text

    def attr_Count(self):
        return len(ARGUMENTS)

    def attr_Name(self, index):
        return ARGUMENTS[index]

    def attr_TypeName(self, index):
        return 'integer' if index == 0 else 'string'

    def cmd_ArgFlags(self, index):
        return fCMDARG_OPTIONAL | (fCMDARG_READONLY if index != 1 else 0)

    def atrui_UserName(self, index):
        return 'name of %d' % index

    def atrui_UIHints(self, index, hints):
        hints = k.UIHints(hints)
        if index == 0:
            hints.Label('Size')
            hints.Range(1.0, 9.0)
            hints.Class(iUIHINT_CLASS_SLIDER)
        if index == 2:
            hints.Label('kept')
            kz.throw(kz.result.FAILED)
        if index == 3:
            kz.notimpl()

    def atrui_UIValueHints(self, index):
        if index == 1:
            return Choices(fVALHINT_POPUPS | fVALHINT_POPUP_TIPS | fVALHINT_LABEL | fVALHINT_CUE | fVALHINT_COLORS
                           | fVALHINT_NOTIFIERS | fVALHINT_FILTER | fVALHINT_ITEMS | fVALHINT_ITEMS_NONE
                           | fVALHINT_POPUP_ICONS | fVALHINT_ITEM_DETAILS)
        kz.throw(kz.result.NOTFOUND)


kz.bless(Shown, 'test.shown')


def hints(name=''):
    made = HOST.SpawnServer('uihints', name)
    return k.UIHints(made), k.UIHintsRead(made)


def strings(*texts):
    made = VALUES.CreateValueArray('string')
    for text in texts:
        made.AddString(text)
    return made


def check_each_hint_reads_back():
    give, read = hints()
    unset = [read.Label(), read.ButtonLabel(), read.Tooltip(), read.Icon(), read.Class(), read.Flags(), read.Speed(),
             read.Unit(), read.Alpha(), read.VectorSize(), read.StringCount(), read.BooleanStyle()]
    equal(unset, [None] * 4 + [0] * 2 + [0.0] + [None] * 2 + [0] * 3)
    fails('NOTAVAILABLE', (read.Range,), (read.SoftRange,), (read.Step,), (read.Digits,), (read.Palette,),
          (read.ItemList,), (read.FileClass,), (read.Choices,))
    for set_, values, get, found in (
            (give.Label, ('Label',), read.Label, 'Label'), (give.ButtonLabel, ('Press',), read.ButtonLabel, 'Press'),
            (give.Tooltip, ('tip',), read.Tooltip, 'tip'), (give.Icon, ('ui.add',), read.Icon, 'ui.add'),
            (give.Class, (iUIHINT_CLASS_SLIDER,), read.Class, iUIHINT_CLASS_SLIDER),
            (give.SoftRange, (1.0, 2.0), read.SoftRange, (1.0, 2.0)), (give.Step, (0.5, 5.0), read.Step, (0.5, 5.0)),
            (give.Speed, (0.25,), read.Speed, 0.25), (give.Digits, (3, -1), read.Digits, (3, -1)),
            (give.Unit, ('mm',), read.Unit, 'mm'), (give.Alpha, ('opacity',), read.Alpha, 'opacity'),
            (give.Palette, ((0, 0, 0), (1, 0.5, 0)), read.Palette, ((0, 0, 0), (1, 0.5, 0))),
            (give.VectorSize, (3, 'Position'), read.VectorSize, 3), (give.ItemList, ('mesh', 7), read.ItemList, ('mesh', 1)),
            (give.FileClass, ('image', 1), read.FileClass, ('image', 1)),
            (give.StringList, (strings('a', 'b'), strings('A', 'B')), lambda: (read.StringCount(), read.StringByIndex(1)),
             (2, ('b', 'B'))),
            (give.BooleanStyle, (iUIHINT_BOOL_RADIO,), read.BooleanStyle, iUIHINT_BOOL_RADIO)):
        set_(*values)
        equal((set_.__name__, get()), (set_.__name__, found))
        equal((set_.__name__, code_of(set_, *values)), (set_.__name__, 'ALREADYEXISTS'))
    give.MinInt(-3)
    equal(read.Range(), (-3.0, float('inf')))
    give.MaxFloat(4.5)
    equal((read.Range(), read.HasFlag(fUIHINT_MIN), read.HasFlag(fUIHINT_PASSWORD)), ((-3.0, 4.5), True, False))
    give.Flags(fUIHINT_SORTED | fUIHINT_PASSWORD, fUIHINT_SORTED)
    equal(read.Flags(), fUIHINT_SORTED | fUIHINT_MIN | fUIHINT_MAX | fUIHINT_SOFTMIN | fUIHINT_SOFTMAX)
    fails('OUTOFBOUNDS', (read.StringByIndex, 2))


def check_hints_that_make_no_sense_are_refused():
    give, read = hints()
    nan = float('nan')
    give.MinFloat(5.0)
    fails('INVALIDARG', (give.MaxInt, 4), (give.MaxFloat, nan), (give.SoftRange, 2.0, 1.0), (give.Step, 0.0, 1.0),
          (give.Speed, nan), (give.Digits, -2, 0), (give.Class, 99), (give.BooleanStyle, 4), (give.Flags, 1, 1 << 20),
          (give.StringList, None, None), (give.StringList, strings('a'), strings()), (give.NotifyOn, None),
          (read.Notifiers, None))
    fails('ALREADYEXISTS', (give.Range, 6.0, 7.0))
    equal(read.Range(), (5.0, float('inf')))
    give.StringList(strings('alone'), None)
    equal(read.StringByIndex(0), ('alone', None))


def check_servers_fill_the_hints_of_their_arguments():
    size, paint, lies, plain = [hints('test.shown ' + name)[1] for name in ARGUMENTS]
    equal((size.Label(), size.Range(), size.Class()), ('Size', (1.0, 9.0), iUIHINT_CLASS_SLIDER))
    equal([paint.StringByIndex(index) for index in range(paint.StringCount())], [('red', 'Rot'), ('blue', 'blue')])
    notifiers = strings()
    paint.Notifiers(notifiers)
    equal((paint.Label(), paint.Tooltip(), paint.Palette(), paint.ItemList(),
           [notifiers.GetString(index) for index in range(notifiers.Count())]),
          ('Paint', 'a colour', ((0, 0.5, 1), (1, 0.5, 0)), ('', 1), ['test.paint', 'test.paint now']))
    equal((lies.Label(), plain.Label(), plain.StringCount()), ('kept', 'name of 3', 0))
    words = hints('user.value life')[1].Choices()
    equal(words, [(0, 'temporary'), (1, 'config')])
    help = kz.service.Command().Help('test.shown')
    equal(help.ArgChoice(1, 'blue'), ('blue', 'like the sky'))
    fails('NOTFOUND', (help.ArgChoice, 1, 'grey'), (HOST.SpawnServer, 'uihints', 'test.shown other'),
          (HOST.SpawnServer, 'uihints', 'no.such.command x'), (HOST.SpawnServer, 'uihints', 'test.shown'))


def check_the_choices_of_an_argument_are_listed_and_made():
    new(('locator', 'a', None), ('mesh', 'm', None), ('locator', 'b', None))
    ask = lambda what, argument='paint': kz.evalN('command.choices test.shown %s %s:?' % (argument, what))
    for what, answer in (('choice', ('red', 'blue')), ('label', ('Rot', 'blue')), ('category', ('Paints',)),
                         ('icon', ('ui.red', '20x18')), ('action', ('user.value hints.chosen red', '')),
                         ('item', ('(none)', 'first', 'b')), ('detail', ('', 'of all', '')),
                         ('text:!!hm! allowed', ('hm',))):
        equal((what, ask(what)), (what, answer))
    for what in ('choice', 'icon', 'item'):
        equal((what, ask(what, 'plain')), (what, ()))
    kz.eval('user.value hints.chosen none type:string')
    kz.eval('command.choices test.shown paint red')
    equal((kz.eval('user.value hints.chosen value:?'), Shown.executed), ('red', []))
    kz.eval('command.choices test.shown paint blue')
    equal(Shown.executed, [{1: 'blue'}])
    code = lambda line: (code_of(kz.eval, line), kz.lastResult())[1]
    for line, expected in (('paint grey', 'INVALIDARG'), ('paint', 'CMD_MISSING_ARGS'),
                           ('other red', 'CMD_UNKNOWN_ARGUMENT'), ('paint text:forbidden allowed:?', 'INVALIDARG')):
        equal((line, code('command.choices test.shown ' + line)), (line, getattr(kz.result, expected)))
    equal(code('command.choices no.such paint red'), kz.result.CMD_UNKNOWN_COMMAND)


def check_pictures_of_choices_that_lie_are_none():
    class Lies(Choices):
        def uiv_PopIconResource(self, index):
            return ''

        def uiv_PopIconImage(self, index, width, height):
            return Picture(0, -5) if index == 1 else 7

        def uiv_PopCount(self):
            return len(POPS) - 1

    Liar.hints = Lies(fVALHINT_POPUPS | fVALHINT_POPUP_ICONS)
    equal(kz.evalN('command.choices test.liar size icon:?')[:2], ('', ''))


class Liar(Shown):
    def atrui_UIValueHints(self, index):
        return self.hints


kz.bless(Liar, 'test.liar')
