"""Values, packets, buffers, layers and settings in the hands of those who lie, never stop, or ask for more than there is."""
import ctypes
import os
import struct
import tempfile

import kz
import kz.object as k
import kzifc
from checks import code_of, equal, fails, near, reasons, result_of, storage
from kz.symbol import (fIMGLAYER_CLIPPED, fIMGLAYER_GROUP, fIMGLAYER_PASSTHROUGH, fINTRANGE_STEPS, fUSERVALUE_CLAMP,
                       fUSERVALUE_MAX, fUSERVALUE_MIN, iEFFECT_SCALAR, iEFFECT_VECTOR, iIMG_FORMAT_RGBAFP)
from layers import flat, image_of, seen, values_of
from values import made, text_of, user_value, value

HOST, IMAGES, PACKETS = kz.service.Host(), kz.service.Image(), kz.service.Packet()
PROCESSING, VALUES = kz.service.ImageProcessing(), kz.service.Value()
STACK_IID = 'B70D882D-5788-5C13-B545-7A9EA39876CE'
BOTH = fUSERVALUE_MIN | fUSERVALUE_MAX


def check_steps_end_at_the_last_member():
    numbers = made('IntRange')
    for text, canonical in (('1-10:9223372036854775807', '1'), ('-2147483647-2147483647:9223372036854775807', '-2147483647'),
                            ('-2147483647-2147483647:4294967294', '-2147483647,2147483647'),
                            ('2147483646-2147483647:1', '2147483646-2147483647'), ('5-5:9223372036854775807', '5'),
                            ('3-9:6', '3,9'), ('3-9:7', '3')):
        numbers.Parse(text, fINTRANGE_STEPS)
        equal((text, numbers.Text()), (text, canonical))
    before = numbers.Text()
    for text in ('1-10:0', '1-10:-1', '1-10:9223372036854775808', '-2147483648', '2147483648', '1-2-3', '1-10:2:2', '0x10', '1 2'):
        equal((text, code_of(numbers.Parse, text, fINTRANGE_STEPS), numbers.Text()), (text, 'INVALIDARG', before))


class Claims(kzifc.Buffer):
    """Says that it has `size` bytes, and has those of `data`."""
    size, data, read, asked = 0, '', None, []

    def buff_Size(self):
        return self.size

    def buff_Read(self, offset, count, into):
        self.asked.append(count)
        part = self.data[offset:offset + count]
        if part:
            into.set(list(bytearray(part)))
        return len(part) if self.read is None else self.read


kz.bless(Claims, 'test.claims')


def check_buffers_believe_no_other_buffer():
    own = made('Buffer')
    own.SetString(0, 'abc')
    for size, data, read, order, copied in ((-2 ** 63, 'abc', None, 1, 'OUTOFBOUNDS'), (-1, '', None, 1, 'OUTOFBOUNDS'),
                                            (1 << 62, 'abc\0', None, 0, None), (1 << 62, '', None, 1, 'OUTOFBOUNDS'),
                                            (4, 'abc\0', 5, 'FAILED', 'FAILED'), (4, 'abd\0', None, -1, None),
                                            (2, 'ab', None, 1, 'OUTOFBOUNDS'), (3, 'a', None, 1, 'OUTOFBOUNDS')):
        Claims.size, Claims.data, Claims.read = size, data, read
        other, target = HOST.SpawnServer('buffer', 'test.claims'), made('Buffer')
        order_found = result_of(own.Compare, other)
        if isinstance(order_found, (int, long)):
            order_found = cmp(order_found, 0)
        equal((size, data, order_found, code_of(target.Copy, other, 0, 3, 1)), (size, data, order, copied))
        equal((size, target.Size()), (size, 0 if copied else 4))
    equal(max(Claims.asked) <= 1 << 22, True)  # nobody is asked for all that he says he has
    large, copy = made('Buffer'), made('Buffer')
    large.SetSize((1 << 22) * 2 + 5)
    large.SetString((1 << 22) - 1, 'across')
    copy.Copy(large, 0, large.Size(), 0)
    equal((copy.Compare(large), copy.Hash(0)), (0, large.Hash(0)))


def check_actions_that_set_each_other_come_to_an_end():
    longest = 200
    for number in range(longest):
        user_value('chain%d' % number, '0', 'type:integer', 'action:{user.value chain%d 1}' % (number + 1))
    user_value('chain%d' % longest, '0', 'type:integer')
    kz.eval('user.value chain0 1')
    reached = [int(kz.eval('user.value chain%d value:?' % number)) for number in range(longest + 1)]
    equal((reached[:65], reached[65:]), ([1] * 65, [0] * (longest - 64)))
    equal('UserValue: the action of "chain64" is left out: 64 others have led to it' in reasons(), True)
    kz.eval('user.value chain100 1')  # the next change begins anew
    equal(kz.eval('user.value chain164 value:?'), 1)
    for number in range(longest + 1):
        kz.eval('user.value chain%d delete:1' % number)


def check_ranges_that_hold_no_value():
    whole = user_value('whole', '3', 'type:integer')
    fails('INVALIDARG', (whole.SetRange, 1.2, 1.8, BOTH | fUSERVALUE_CLAMP), (whole.SetRange, 3e9, 0.0, fUSERVALUE_MIN),
          (whole.SetRange, 0.0, -3e9, fUSERVALUE_MAX), (kz.eval, 'user.value whole min:1.2 max:1.8'))
    equal((text_of(whole), code_of(whole.Range)), ('3', 'NOTAVAILABLE'))
    whole.SetRange(5.0, 0.0, fUSERVALUE_MIN)  # what is not used is not looked at
    fails('INVALIDARG', (whole.SetFlags, BOTH))
    equal(whole.Range(), (5.0, float('inf')))
    whole.SetRange(float('-inf'), float('inf'), BOTH | fUSERVALUE_CLAMP)
    for least, greatest, given, becomes in ((1.2, 2.8, '9', '2'), (-2.8, -1.2, '9', '-2'), (2.0, 2.0, '-9', '2'),
                                            (-1e300, 1e300, '2147483647', '2147483647'), (-2.8, -1.2, '-9', '-2')):
        whole.SetRange(least, greatest, BOTH | fUSERVALUE_CLAMP)
        whole.Set(value('integer', given))
        equal((least, greatest, given, text_of(whole)), (least, greatest, given, becomes))


def check_groups_that_pass_through_take_no_more_time_than_others():
    image = IMAGES.CreateLayered(1, 1, iIMG_FORMAT_RGBAFP)
    write, group = k.LayeredImageWrite(image), -1
    pixel = image_of(1, 1, (1, 0.5, 0.25, 1), iIMG_FORMAT_RGBAFP, 'f')
    for depth in range(60):  # were each blended twice, this would never end
        inside = write.AddLayer(None, 'group', group)
        write.SetLayerFlags(inside, fIMGLAYER_GROUP | fIMGLAYER_PASSTHROUGH)
        clipped = write.AddLayer(pixel, 'clipped', group)
        write.SetLayerFlags(clipped, fIMGLAYER_CLIPPED)
        group = inside
    write.AddLayer(image_of(1, 1, (1, 0.5, 0.25, 0.5), iIMG_FORMAT_RGBAFP, 'f'), 'innermost', group)
    # Each clipped layer covers as much as the group below it, which covers more and more.
    cover, through = 0.5, 0.5
    found = values_of(image.Composite(), iIMG_FORMAT_RGBAFP, 'f')
    for depth in range(60):
        cover = cover + through * (1 - cover)
        through = cover
    near(found, (1, 0.5, 0.25, cover), 1e-6)


def check_clipped_layers_lie_on_groups_of_either_kind():
    half, red = flat(0, 1, 0, 0.5), flat(1, 0, 0, 1)
    for said in ({}, {'mask': flat(0.5, 0.5, 0.5, 1)}, {'opacity': 0.25}):
        alphas = []
        for flags in (fIMGLAYER_GROUP, fIMGLAYER_GROUP | fIMGLAYER_PASSTHROUGH):
            alphas.append(seen((None, dict(said, flags=flags)), (red, {'flags': fIMGLAYER_CLIPPED}), (half, {'parent': 0}),
                               (None, {'parent': 0, 'flags': flags}), (half, {'parent': 3})))
        near(alphas[0], alphas[1], 1e-6)


def check_stacks_hold_neither_themselves_nor_all_memory():
    kind = PACKETS.CreateType(None)
    kind.AddInterface(STACK_IID, 'stack', 0)
    stack, other = kind.Create(), kind.Create()
    fails('INVALIDARG', (stack.SetObject, 'stack', stack), (stack.SetObject, 'stack', VALUES.CreateValue('integer')))
    stack.SetObject('stack', other)
    equal(stack.IsSet('stack'), True)
    for number in range(4095):
        kind.AddInterface(STACK_IID, 'more%d' % number, 0)
    fails('OUTOFBOUNDS', (kind.AddInterface, STACK_IID, 'too many', 0))
    wide, depth = kind.Create(), 0
    while code_of(wide.Push) is None:
        depth += 1
    equal((depth, code_of(wide.Push)), (1000000 // 4096, 'OUTOFMEMORY'))
    for turn in range(depth):
        wide.Pop()
    fails('NOTREADY', (wide.Pop,))


def check_colors_that_no_float_holds_are_refused():
    for name in ('rgb', 'hsv', 'hsl', 'cmyk', 'lab', 'kelvin'):
        model = k.ColorModel(HOST.SpawnServer('colormodel', name))
        for size in (1.0, 1e15, -1e15, 3e38, -3e38):
            parts = kz.Storage('f', 4)
            for answer in (result_of(model.ToRGB, storage('f', *[size] * 4)),
                           result_of(model.FromRGB, (size, 0, size), parts) or parts.get()):
                finite = answer == 'INVALIDARG' or all(abs(each) < 3.5e38 for each in answer)
                equal((name, size, answer, finite), (name, size, answer, True))


def check_results_that_are_no_numbers_are_refused():
    for line in ('1 2 weight:nan result:?', '1 2 weight:inf result:?', '1e308 -1e308 distance:?', '1e308 10 multiply result:?',
                 'nan 1 result:?', '1 0 divide result:?', '1 0 modulo result:?', '-8 0.3 power result:?', '0 -1 power result:?'):
        equal((line, code_of(kz.eval, 'value.math float ' + line)), (line, 'INVALIDARG'))
    for line, found in (('-3 7 multiply', '-21'), ('-7 2 modulo', '-1'), ('7 -2 divide', '-3'), ('5 -9 min', '-9'),
                        ('7 8 average', '7'), ('-2 3 power', '-8')):
        equal((line, result_of(kz.eval, 'value.math integer %s result:?' % line)), (line, found))


def check_presets_come_back_whatever_the_levels_are():
    path = os.path.join(tempfile.mkdtemp(), 'preset')
    for black, white in ((-2.0, -1.0), (2.0, 3.0), (-1.0, 2.0), (0.0, 0.5), (-1e300, 1e300), (0.25, 1.0)):
        made = PROCESSING.Create()
        for set_, level in ((made.SetBlackLevel, black), (made.SetWhiteLevel, white))[::1 if black < 1 else -1]:
            set_(level)
        PROCESSING.SavePreset(made, path)
        loaded = PROCESSING.Create()
        PROCESSING.LoadPreset(path, loaded)
        read = PROCESSING.Read(loaded)
        equal((read.BlackLevel(), read.WhiteLevel()), (black, white))
    for text in ('exposure nan\n', 'exposure 1e999\n', 'exposure 2\nexposure\n', 'tone 99\n', 'tone 2147483648\n', 'tint.R 1e300\n',
                 'region.left 5\n', 'whiteLevel -1\n', 'colorspace \xff\n', '\0\0', 'exposure 2\n\n'):
        with open(path, 'wb') as stream:
            stream.write(text)
        made.SetExposure(3)
        equal((text, code_of(PROCESSING.LoadPreset, path, made), PROCESSING.Read(made).Exposure()), (text, 'INVALIDARG', 3))


class Leaves(kzifc.ImageProcessingListener):
    """Takes the last listener away when it hears of a change, and makes another one."""
    heard, added = [], []

    def improl_SettingsChanged(self, settings, changes):
        exposure = k.ImageProcessingRead(settings).Exposure()
        self.heard.append(exposure)
        if self.added:
            SETTINGS.RemoveListener(self.added.pop())
            SETTINGS.SetExposure(exposure + 1)


SETTINGS = PROCESSING.Create()
kz.bless(Leaves, 'test.leaves')


def check_listeners_may_leave_while_they_are_told():
    for turn in range(3):
        Leaves.added.append(HOST.SpawnServer('imageprocessinglistener', 'test.leaves'))
        SETTINGS.AddListener(Leaves.added[-1])
    gone = Leaves.added[2]
    SETTINGS.SetExposure(1)
    # All three hear of the first change, and those who are still there of the changes that the others make.
    equal((sorted(Leaves.heard)[0], PROCESSING.Read(SETTINGS).Exposure(), Leaves.added), (1, 4, []))
    before = list(Leaves.heard)
    SETTINGS.SetExposure(9)
    equal(Leaves.heard, before)
    fails('NOTFOUND', (SETTINGS.RemoveListener, gone))


class Fragile(kzifc.VectorPacket):
    """Four bytes. Making the packet after `made` others fails, and so does copying one after `copied` others."""
    alive, made, copied, inside = 0, 10 ** 9, 10 ** 9, []

    def vpkt_Size(self):
        return 4

    def vpkt_Initialize(self, packet):
        if self.inside:
            self.inside[1].append(code_of(*self.inside[0]))
        if Fragile.made == 0:
            kz.throw(kz.result.NOTAVAILABLE)
        Fragile.made -= 1
        Fragile.alive += 1

    def vpkt_Cleanup(self, packet):
        Fragile.alive -= 1

    def vpkt_Copy(self, target, source):
        if Fragile.copied == 0:
            kz.throw(kz.result.NOACCESS)
        Fragile.copied -= 1
        ctypes.memmove(target, source, 4)


class Lying(kzifc.PacketEffect):
    """An effect on those packets that fails at the first, or at the call after `calls` others."""
    count, type, packet, calls = 1, iEFFECT_SCALAR, 'test.fragile', 10 ** 9

    def pfx_Packet(self):
        return self.packet

    def pfx_Count(self):
        return self.count

    def pfx_ByIndex(self, index):
        return 'one', 'number', self.type

    def pfx_Get(self, index, size, packet, count, values):
        self.take()
        values.set([count] * count)

    def pfx_Set(self, index, size, packet, count, values):
        self.take()
        packet.setType('b')
        packet.setSize(4)
        packet.set(bytearray(struct.pack('f', values.get()[0])))

    def take(self):
        if Lying.calls == 0:
            kz.throw(kz.result.NOACCESS)
        Lying.calls -= 1


kz.bless(Fragile, 'test.fragile')
kz.bless(Lying, 'test.lying')


def packets_of(packets):
    return [struct.unpack('f', ctypes.string_at(packets.Packet(at, 0), 4))[0] for at in range(packets.Count())]


def fragile_list(count):
    kind = PACKETS.CreateType(None)
    kind.Add('test.fragile', 0)
    packets = kind.CreateList(kind)
    packets.SetCount(count)
    for at in range(count):
        ctypes.memmove(packets.Packet(at, 0), struct.pack('f', at + 10), 4)
    return packets


def check_lists_stay_as_they_were_when_a_packet_fails():
    packets = fragile_list(4)
    for makes, copies, call, code in ((2, 99, (packets.SetCount, 9), 'NOTAVAILABLE'), (0, 99, (packets.Remove, 1), 'NOTAVAILABLE'),
                                     (99, 1, (packets.SetCount, 9), 'NOACCESS'), (99, 2, (packets.Remove, 0), 'NOACCESS')):
        Fragile.made, Fragile.copied = makes, copies
        equal((code_of(*call), packets_of(packets), Fragile.alive), (code, [10, 11, 12, 13], 4))
    Fragile.made = Fragile.copied = 10 ** 9
    Fragile.inside = [(packets.SetCount, 1), []]  # the list is changed while it is changed
    packets.SetCount(5)
    Fragile.inside[0] = (packets.Remove, 0)
    packets.Remove(4)
    equal((set(Fragile.inside[1]), packets_of(packets), Fragile.alive), (set(['NOTREADY']), [10, 11, 12, 13], 4))
    Fragile.inside = []
    packets.SetCount(0)
    equal((packets.Count(), Fragile.alive, code_of(packets.Packet, 0, 0)), (0, 0, 'OUTOFBOUNDS'))


def check_effects_that_lie_leave_the_rest_of_a_list():
    packets, effect = fragile_list(3), PACKETS.EffectLookup(None, 'one')
    for said, code, found in (({'calls': 3}, 'NOACCESS', [1, 11, 12]), ({'calls': 0}, 'NOACCESS', [1, 11, 12]),
                              ({'count': 4294967295}, 'FAILED', [1, 11, 12]), ({'count': 0}, None, [1, 11, 12]),
                              ({'packet': 'no such'}, 'NOTFOUND', [1, 11, 12]), ({'packet': None}, 'NOTFOUND', [1, 11, 12]),
                              ({'type': 99}, None, [1, 1, 1]), ({'type': iEFFECT_VECTOR}, None, [3, 3, 3])):
        for name, said_of in dict({'calls': 10 ** 9, 'count': 1, 'packet': 'test.fragile', 'type': iEFFECT_SCALAR}, **said).items():
            setattr(Lying, name, said_of)
        equal((said, code_of(packets.Evaluate, effect, 0, 3), packets_of(packets)), (said, code, found))
    fails('OUTOFBOUNDS', (packets.Evaluate, effect, 4294967295, 1), (packets.Evaluate, effect, 1, 4294967295))


def check_each_blend_is_what_it_is_called():
    def divided(number, by):
        return number / by if by > 0 else 1.0 if number > 0 else 0.0

    def hard(below, above):
        return 2 * below * above if above < 0.5 else 1 - 2 * (1 - below) * (1 - above)

    blends = {'NORMAL': lambda t, s: s, 'ADD': lambda t, s: t + s, 'SUBTRACT': lambda t, s: t - s,
              'DIFFERENCE': lambda t, s: abs(t - s), 'MULTIPLY': lambda t, s: t * s, 'DIVIDE': divided,
              'SCREEN': lambda t, s: 1 - (1 - t) * (1 - s), 'OVERLAY': lambda t, s: hard(s, t), 'HARDLIGHT': hard,
              'SOFTLIGHT': lambda t, s: (1 - 2 * s) * t * t + 2 * s * t, 'DARKEN': min, 'LIGHTEN': max,
              'DODGE': lambda t, s: divided(t, 1 - s), 'BURN': lambda t, s: 1 - divided(1 - t, s)}
    equal(set(blends), set(name[11:] for name in dir(kz.symbol) if name.startswith('iIMG_BLEND_')))
    steps = [0.0, 0.25, 0.5, 0.75, 1.0]
    grid = [(t, s) for t in steps for s in steps]
    for name, blend in sorted(blends.items()):
        for alpha, opacity in ((1, 1), (0.5, 1), (1, 0.25), (0.5, 0.5)):
            image = IMAGES.CreateLayered(len(grid), 1, iIMG_FORMAT_RGBAFP)
            write = k.LayeredImageWrite(image)
            for of in (0, 1):  # opaque below, and the alpha above
                line = [part for pair in grid for part in (pair[of],) * 3 + (alpha if of else 1,)]
                write.AddLayer(image_of(len(grid), 1, line, iIMG_FORMAT_RGBAFP, 'f'), name, -1)
            write.SetLayerBlend(1, getattr(kz.symbol, 'iIMG_BLEND_' + name), opacity)
            cover = alpha * opacity
            near(values_of(image.Composite(), iIMG_FORMAT_RGBAFP, 'f')[::4],
                 [t + (blend(t, s) - t) * cover for t, s in grid], 1e-6)
