"""Values by name, sets and lists of values, and what is said of how they are shown."""
import hashlib
import struct
import zlib

import kz
import kz.object as k
from checks import code_of, equal, fails, result_of, storage
from kz.symbol import (fINTRANGE_LENIENT, fINTRANGE_MERGE, fINTRANGE_STEPS, fUSERVALUE_CLAMP, fUSERVALUE_HASACTION,
                       fUSERVALUE_HIDDEN, fUSERVALUE_MAX, fUSERVALUE_MIN, fUSERVALUE_NOUNDO,
                       fUSERVALUE_READONLY, i_STAG_COMMENT, i_STAG_LABEL, iUSERVALUE_LIFE_CONFIG)

HOST, VALUES, UNDO = kz.service.Host(), kz.service.Value(), kz.service.Undo()


def made(kind, name='', type=None):
    return (type or getattr(k, kind))(HOST.SpawnServer(kind.lower(), name))


def value(type, text):
    boxed = VALUES.CreateValue(type)
    boxed.SetString(text)
    return boxed


def user_value(name, *definition):
    if name in kz.evalN('user.value name:?'):
        kz.eval('user.value %s delete:1' % name)
    kz.eval(' '.join(('user.value', name) + definition))
    return made('UserValue', name)


def text_of(named):
    return named.Get().GetString()


def check_a_user_value_is_described_and_described_anew():
    size = user_value('size', 'type:integer', 'value:3', 'username:Size', 'default:2', 'life:config')
    equal((size.Name(), size.UserName(), size.TypeName(), size.Life(), size.Flags(), size.Action(), size.IsDefined()),
          ('size', 'Size', 'integer', iUSERVALUE_LIFE_CONFIG, 0, None, True))
    size.SetUserName(None)
    equal(size.UserName(), 'size')
    size.SetFlags(fUSERVALUE_HIDDEN | fUSERVALUE_HASACTION)  # that of the action follows the action
    equal(size.Flags(), fUSERVALUE_HIDDEN)
    size.SetAction('log.text hello')
    equal((size.Flags(), size.Action(), kz.eval('user.value size action:?')),
          (fUSERVALUE_HIDDEN | fUSERVALUE_HASACTION, 'log.text hello', 'log.text hello'))
    fails('INVALIDARG', (size.SetFlags, 0x1000), (size.SetHints, dict((number, 'w') for number in range(10001))))
    kz.eval('user.value size delete:1')
    user_value('size', 'value:other')
    equal((size.IsDefined(), size.TypeName(), size.Name()), (False, None, 'size'))
    fails('NOTAVAILABLE', (size.Get,), (size.Set, value('integer', '1')), (size.Reset,), (size.Range,), (size.Hints,),
          (size.SetUserName, 'x'), (size.SetFlags, 0), (size.SetAction, ''), (size.SetDefault, value('integer', '1')))
    fails('NOTFOUND', (HOST.SpawnServer, 'uservalue', 'no such'), (HOST.SpawnServer, 'valuereference', 'no such'))


def check_a_user_value_takes_what_its_type_and_range_allow():
    ratio = user_value('ratio', 'type:percent', 'value:50%')
    fails('NOTAVAILABLE', (ratio.Range,))
    ratio.SetRange(0.25, 0.75, fUSERVALUE_MIN | fUSERVALUE_MAX)
    equal((ratio.Range(), kz.eval('user.value ratio min:?'), kz.eval('user.value ratio max:?')),
          ((0.25, 0.75), 0.25, 0.75))
    fails('OUTOFBOUNDS', (ratio.Set, value('float', '0.8')), (ratio.SetDefault, value('float', '0')))
    fails('OUTOFBOUNDS', (kz.eval, 'user.value ratio 10%'))
    equal(text_of(ratio), '0.5')
    for given, flags, becomes in (('0.8', fUSERVALUE_MIN | fUSERVALUE_MAX | fUSERVALUE_CLAMP, '0.75'),
                                  ('-4', fUSERVALUE_MIN | fUSERVALUE_CLAMP, '0.25'),
                                  ('9', fUSERVALUE_MIN, '9'), ('0.5', 0, '0.5')):
        ratio.SetRange(0.25, 0.75, flags)
        ratio.Set(value('float', given))
        equal((given, flags, text_of(ratio)), (given, flags, becomes))
    nan = float('nan')
    fails('INVALIDARG', (ratio.SetRange, 2.0, 1.0, fUSERVALUE_MIN | fUSERVALUE_MAX), (ratio.SetRange, nan, 1.0, 0),
          (ratio.SetRange, 0.0, 1.0, fUSERVALUE_HIDDEN), (ratio.Set, None), (ratio.Set, value('string', 'much')),
          (user_value('word', 'value:x').SetRange, 0.0, 1.0, fUSERVALUE_MIN), (made('UserValue', 'word').SetFlags, 1))
    whole = user_value('whole', 'type:integer', 'value:9')
    whole.SetRange(0.5, 2.5, fUSERVALUE_MIN | fUSERVALUE_MAX | fUSERVALUE_CLAMP)
    equal(text_of(whole), '2')
    whole.Set(value('integer', '-7'))
    equal(text_of(whole), '1')


def check_resetting_choices_and_reading_alone():
    mode = user_value('mode', 'type:integer', 'value:1')
    equal(code_of(mode.Hints), 'NOTFOUND')
    mode.SetHints({10: 'low', 20: 'high'})
    equal(mode.Hints(), [(10, 'low'), (20, 'high')])
    for source in (value('string', 'high'), value('integer', '20')):
        mode.Set(source)
        equal(text_of(mode), '20')
    mode.SetDefault(value('string', 'low'))
    mode.Reset()
    equal((text_of(mode), kz.eval('user.value mode default:?')), ('10', '10'))
    fails('INVALIDARG', (mode.Set, value('integer', '15')), (user_value('t', 'value:x').SetHints, {0: 'zero'}))
    mode.SetFlags(fUSERVALUE_READONLY)
    fails('NOACCESS', (mode.Set, value('integer', '20')), (mode.Reset,), (kz.eval, 'user.value mode high'))
    kz.eval('user.value mode high type:integer')  # defines it again
    equal(text_of(mode), '20')


def check_changes_are_undone_unless_they_opt_out():
    count = user_value('count', 'type:integer', 'value:1')
    before = UNDO.Count()[0]
    for number in ('2', '2', '3'):
        count.Set(value('integer', number))
    equal(UNDO.Count()[0] - before, 2)  # setting what is there is no change
    UNDO.Undo(1)
    equal(text_of(count), '2')
    UNDO.Undo(1)
    UNDO.Redo(2)
    equal(text_of(count), '3')
    count.SetFlags(fUSERVALUE_NOUNDO)
    before = UNDO.Count()[0]
    count.Set(value('integer', '9'))
    equal(UNDO.Count()[0], before)
    kz.eval('user.value count delete:1')
    UNDO.Undo(2)  # of a value that has gone
    equal('count' in kz.evalN('user.value name:?'), False)


def check_actions_run_after_changes_and_never_within_themselves():
    user_value('runs', 'type:integer', 'value:0')
    source = user_value('source', 'type:integer', 'value:0', 'action:{user.value source 7}')
    source.Set(value('integer', '1'))
    equal(text_of(source), '7')
    source.SetAction('user.value runs 5')
    kz.eval('user.value source 2')
    equal(kz.eval('user.value runs value:?'), 5)
    UNDO.Undo(1)  # runs no action
    source.SetAction('no.such.command')
    source.Set(value('integer', '3'))
    equal(text_of(source), '3')


def check_references_stand_for_the_value():
    named = user_value('far', 'type:distance', 'value:2m')
    reference = made('ValueReference', 'far')
    equal((reference.TypeName(), reference.IsValid(), reference.IsReadOnly(), reference.Get().GetFlt(),
           k.UserValue(reference.Owner()).Name()), ('distance', True, False, 2.0, 'far'))
    reference.Set(value('distance', '3m'))
    equal(named.Get().GetFlt(), 3.0)
    equal(reference.Notifier().Name(), 'user.value')
    named.SetFlags(fUSERVALUE_READONLY)
    equal(reference.IsReadOnly(), True)
    fails('NOACCESS', (reference.Set, value('distance', '4m')))
    kz.eval('user.value far delete:1')
    equal((reference.IsValid(), reference.TypeName()), (False, None))
    fails('NOTFOUND', (reference.Owner,), (reference.Notifier,))
    fails('NOTAVAILABLE', (reference.Get,), (reference.Set, value('distance', '4m')))


def members(span):
    """What a range text stands for, read by this test."""
    found = set()
    for part in filter(None, span.split(',')):
        ends, _, step = part.partition(':')
        first, _, last = ends.partition('-')
        found.update(range(int(first), int(last or first) + 1, int(step or 1)))
    return sorted(found)


def check_ranges_are_sets_of_integers():
    for text, flags, canonical in (('1-10,12,20-30:2', fINTRANGE_STEPS, '1-10,12-20:8,22-30:2'), ('5,4,3,9', 0, '3-5,9'),
                                   ('', 0, ''), ('1-4:3,2,3', fINTRANGE_STEPS, '1-4'), ('7,8,10', 0, '7-8,10')):
        numbers = made('IntRange')
        numbers.Parse(text, flags)
        expected = members(text)
        read = kz.Storage('i', len(expected) + 3)
        equal((text, numbers.Count(), numbers.Values(len(expected) + 3, read)), (text, len(expected), len(expected)))
        equal(list(read.get())[:len(expected)], expected)
        again, member, walked = made('IntRange'), -2147483647, []
        again.Parse(numbers.Text(), fINTRANGE_STEPS)
        while result_of(again.Next, member) != 'NOTFOUND':
            member = again.Next(member)
            walked.append(member)
        equal((text, numbers.Text().split(',') and walked), (text, expected))
        equal(result_of(numbers.Limits), (expected[0], expected[-1]) if expected else 'NOTFOUND')
        equal([n for n in range(0, 40) if numbers.Test(n)], expected)
    model, numbers = set(), made('IntRange')
    for turn in range(300):  # spans at pseudo-random places, against a set
        first = turn * 7919 % 211 - 100
        last, step = first + turn * 31 % 23, turn % 3 + 1
        if turn % 4 == 3:
            numbers.RemoveSpan(first, last)
            model.difference_update(range(first, last + 1))
        else:
            numbers.AddSpan(first, last, step)
            model.update(range(first, last + 1, step))
    read = kz.Storage('i', len(model))
    numbers.Values(len(model), read)
    equal((numbers.Count(), list(read.get())), (len(model), sorted(model)))
    before = numbers.Text()
    fails('INVALIDARG', (numbers.AddSpan, 5, 4, 1), (numbers.AddSpan, 1, 4, 0), (numbers.AddSpan, -2147483648, 0, 1),
          (numbers.AddSpan, 0, 2147483647, 2), (numbers.Parse, '1-', 0), (numbers.Parse, '4-2', 0),
          (numbers.Parse, '1-9:2', 0), (numbers.Parse, '99999999999999999999', 0), (numbers.RemoveSpan, 2, 1))
    equal(numbers.Text(), before)
    numbers.Parse('1-3,what,-5--4,4-2', fINTRANGE_LENIENT)
    numbers.Parse('8', fINTRANGE_MERGE)
    equal(numbers.Text(), '-5--4,1-3,8')
    numbers.SetValues(4, storage('i', 6, 4, 6, 5))
    equal(numbers.Text(), '4-6')
    numbers.AddSpan(-2147483647, 2147483647, 1)
    equal((numbers.Text(), numbers.Count()), ('-2147483647-2147483647', 4294967295))


def check_sequences_keep_their_current_set():
    rows, names = made('AttrSequence'), ['item.create', 'scene.new', 'user.value']
    fails('NOTFOUND', (rows.Current,))
    for name in names:
        rows.Insert(-1, k.Attributes(kz.service.Command().Spawn(0, name)))

    def order():
        return [k.Command(rows.ByIndex(index)).Name() for index in range(rows.Count())]

    equal(order(), names)
    rows.SetCurrent(2)
    for change, expected, current in (((rows.Move, 2, 0), [2, 0, 1], 0), ((rows.Move, 1, 2), [2, 1, 0], 0),
                                      ((rows.Reorder, 3, storage('i', 2, 0, 1)), [0, 2, 1], 1), ((rows.Remove, 0), [2, 1], 0),
                                      ((rows.Remove, 1), [2], 0)):
        change[0](*change[1:])
        equal((order(), rows.Current()[0]), ([names[index] for index in expected], current))
    fails('INVALIDARG', (rows.Insert, 0, value('integer', '1')), (rows.Reorder, 1, storage('i', 1)),
          (rows.Reorder, 0, storage('i', 0)))
    fails('OUTOFBOUNDS', (rows.Insert, 2, rows.ByIndex(0)), (rows.Insert, -2, rows.ByIndex(0)), (rows.Remove, 1),
          (rows.Move, 0, 1), (rows.ByIndex, 1), (rows.SetCurrent, 1))
    rows.Insert(0, k.Attributes(kz.service.Command().Spawn(0, 'scene.new')))
    equal((order(), rows.Current()[0]), (['scene.new', names[2]], 1))


def check_tags_are_kept_under_their_codes():
    tags = made('StringTag')
    for code, text in ((i_STAG_LABEL, 'first'), (i_STAG_COMMENT, 'note'), (i_STAG_LABEL, 'second')):
        tags.Set(code, text)
    equal(([tags.ByIndex(index) for index in range(tags.Count())], tags.Get(i_STAG_LABEL)),
          ([(i_STAG_COMMENT, 'note'), (i_STAG_LABEL, 'second')], 'second'))
    tags.Set(i_STAG_LABEL, None)
    fails('NOTFOUND', (tags.Get, i_STAG_LABEL))
    fails('OUTOFBOUNDS', (tags.ByIndex, 1))


def check_buffers_read_back_what_was_written():
    data = bytes(bytearray(range(200))) + struct.pack('<ihBfd', -5, -2, 250, 0.25, 8.5) + 'text\0rest'
    buffer = made('Buffer')
    buffer.Write(0, len(data), storage('b', *bytearray(data)))
    equal((buffer.GetInt(200, 4), buffer.GetInt(204, 2), buffer.GetInt(206, 1), buffer.GetFloat(207),
           buffer.GetString(219), buffer.GetString(224), buffer.Size()), (-5, 65534, 250, 0.25, 'text', 'rest', len(data)))
    expected = ['%08x' % (zlib.crc32(data) & 0xffffffff)]
    expected += [getattr(hashlib, name)(data).hexdigest() for name in ('md5', 'sha1', 'sha256')]
    equal([buffer.Hash(method) for method in range(4)], expected)
    for size in (0, 1, 55, 56, 63, 64, 65, 119, 120):  # around the ends of blocks
        buffer.SetSize(size)
        equal([size] + [buffer.Hash(method) for method in (1, 2, 3)],
              [size] + [getattr(hashlib, name)(buffer_bytes(buffer)).hexdigest() for name in ('md5', 'sha1', 'sha256')])
    buffer.SetSize(0)
    model = bytearray()

    def put(offset, added):
        model.extend(bytearray(max(0, offset + len(added) - len(model))))
        model[offset:offset + len(added)] = bytearray(added)

    for act, offset, added in ((lambda: buffer.SetInt(6, 4, -2), 6, struct.pack('<i', -2)),
                               (lambda: buffer.SetInt(1, 2, 0x12345), 1, '\x45\x23'),
                               (lambda: buffer.SetFloat(12, 1.5), 12, struct.pack('<f', 1.5)),
                               (lambda: buffer.SetString(3, 'ab'), 3, 'ab\0'),
                               (lambda: buffer.Fill(0, 2, 0x1FF), 0, '\xff\xff'),
                               (lambda: buffer.Append(2, storage('b', 7, 8)), 16, '\x07\x08'),
                               (lambda: buffer.Copy(buffer, 0, 6, 3), 3, None)):
        put(offset, added if added is not None else bytes(model[0:6]))
        act()
        equal(buffer_bytes(buffer), bytes(model))
    other = made('Buffer')
    equal((buffer.Compare(other) > 0, other.Compare(buffer) < 0, buffer.Compare(buffer)), (True, True, 0))
    fails('OUTOFBOUNDS', (buffer.GetInt, 15, 4), (buffer.GetFloat, 4294967295), (buffer.Fill, 17, 2, 0),
          (buffer.GetString, 19), (buffer.Copy, other, 0, 1, 0))
    fails('INVALIDARG', (buffer.GetInt, 0, 3), (buffer.SetInt, 0, 8, 1), (buffer.SetSize, -1), (buffer.Hash, 4),
          (buffer.Compare, value('integer', '1')))
    fails('OUTOFMEMORY', (buffer.SetSize, 1 << 62), (buffer.Reserve, 1 << 40), (buffer.SetInt, 4294967295, 4, 1))
    buffer.Reserve(10000)
    equal((buffer.Capacity() >= 10000, buffer_bytes(buffer), buffer.IsReadOnly()), (True, bytes(model), False))
    kz.service.TextEncoding().Lookup('utf-16le').Encode(u'h\xe9'.encode('utf-8'), buffer)
    equal(buffer_bytes(buffer), u'h\xe9'.encode('utf-16le'))


def buffer_bytes(buffer):
    into = kz.Storage('b', buffer.Size() + 1)
    count = buffer.Read(0, buffer.Size() + 1, into)
    return bytes(bytearray(into.get()[:count]))
