"""Packets that tools pass along: the kinds of modules, types of several, stacks of them and lists of stacks."""
import ctypes
import struct

import kz
import kz.object as k
import kzifc
from checks import code_of, equal, fails
from kz.symbol import f_VTYPE_OPTIONAL, f_VTYPE_READ, f_VTYPE_WRITE, iEFFECT_SCALAR, iEFFECT_VECTOR

PACKETS = kz.service.Packet()
CALLS = []


class Weight(kzifc.VectorPacket):
    """Three floats, which begin as 1, 2, 3."""
    def vpkt_Size(self):
        return 12

    def vpkt_UserName(self):
        return 'Weights'

    def vpkt_Initialize(self, packet):
        CALLS.append('initialize')
        ctypes.memmove(packet, struct.pack('3f', 1, 2, 3), 12)

    def vpkt_Cleanup(self, packet):
        CALLS.append('cleanup')

    def vpkt_Copy(self, target, source):
        CALLS.append('copy')
        ctypes.memmove(target, source, 12)


class Count(kzifc.VectorPacket):
    def vpkt_Size(self):
        return 4


class Huge(kzifc.VectorPacket):
    def vpkt_Size(self):
        return 0xFFFFFFFF


class Objects(kzifc.VectorPacket):
    def vpkt_Size(self):
        return 0


class Liar(kzifc.VectorPacket):
    def vpkt_Size(self):
        return 0

    def vpkt_Interface(self):
        return 0x10  # no memory


class Refuses(kzifc.VectorPacket):
    def vpkt_Size(self):
        return 8

    def vpkt_Initialize(self, packet):
        kz.throw(kz.result.NOTAVAILABLE)


def unpacked(packet):
    packet.setType('b')
    packet.setSize(12)
    return list(struct.unpack('3f', bytes(bytearray(each & 255 for each in packet.get()))))


class Halve(kzifc.PacketEffect):
    """Drives the first float alone, and the three as a vector."""
    def pfx_Packet(self):
        return 'test.weight'

    def pfx_Count(self):
        return 2

    def pfx_ByIndex(self, index):
        return ('first', 'number', iEFFECT_SCALAR) if index == 0 else ('all', 'vector', iEFFECT_VECTOR)

    def pfx_Get(self, index, size, packet, count, values):
        CALLS.append(('get', index, size, count))
        values.set([each / 2 for each in unpacked(packet)[:count]])

    def pfx_Set(self, index, size, packet, count, values):
        packet.set(bytearray(struct.pack('3f', *(list(values.get()[:count]) + unpacked(packet)[count:]))))


VALUE_IID = '60C09E58-123E-5AF1-B081-2DFA3ABB55C6'
for cls, name, tags in ((Weight, 'test.weight', {'packet.category': 'tool'}), (Count, 'test.count', {'packet.category': 'paint'}),
                        (Huge, 'test.huge', {}), (Objects, 'test.objects', {'packet.interface': VALUE_IID}),
                        (Liar, 'test.liar', {}), (Refuses, 'test.refuses', {})):
    kz.bless(cls, name, tags)
kz.bless(Halve, 'test.halve')


def type_of(*names):
    made = PACKETS.CreateType(None)
    for name in names:
        made.Add(name, f_VTYPE_READ)
    return made


def floats(stack, index):
    into = kz.Storage('f', 3)
    stack.Read(index, into)
    return list(into.get())


def check_the_service_knows_the_kinds_of_modules():
    names = [PACKETS.PacketByIndex('tool', index) for index in range(PACKETS.PacketCount('tool'))]
    equal((names, PACKETS.Exists('paint', 'test.weight'), PACKETS.Exists(None, 'test.weight'), PACKETS.Size('test.weight'),
           PACKETS.UserName('test.weight'), PACKETS.UserName('test.count'), PACKETS.Size('no such')),
          (['test.weight'], False, True, 12, 'Weights', 'test.count', 0))
    equal(PACKETS.PacketByInterface(VALUE_IID), 'test.objects')
    fails('NOTFOUND', (PACKETS.Lookup, 'no such'), (PACKETS.PacketByInterface, '00000000-0000-0000-0000-000000000001'))
    fails('FAILED', (PACKETS.Lookup, 'test.huge'))
    equal(PACKETS.Size('test.liar'), 0)


def check_types_have_a_place_for_each_kind():
    tools = PACKETS.CreateType('tool')
    fails('NOTFOUND', (tools.Add, 'test.count', 0), (tools.Add, 'no such', 0))
    equal((tools.Add('test.weight', f_VTYPE_READ), tools.Add('test.weight', f_VTYPE_WRITE), tools.FlagsByIndex(0)),
          (0, 0, f_VTYPE_READ | f_VTYPE_WRITE))
    tools.SetFlags(0, f_VTYPE_OPTIONAL)
    equal((tools.FlagsByIndex(0), tools.FlagsByIndex(9)), (f_VTYPE_OPTIONAL, 0))
    all = type_of('test.count', 'test.objects')
    equal((all.Contains(tools), all.Size()), (False, 4))
    all.Merge(tools)
    equal((all.Contains(tools), all.Count(), all.Size(), all.Lookup('test.weight'), all.LookupInterface(VALUE_IID),
           [all.NameByIndex(index) for index in range(3)]),
          (True, 3, 16, 2, 1, ['test.count', 'test.objects', 'test.weight']))
    all.Remove('test.count')
    equal((all.Lookup('test.weight'), all.AddInterface(VALUE_IID, 'test.named', 0), all.Count()), (1, 2, 3))
    fails('NOTFOUND', (all.Remove, 'test.count'), (all.Lookup, 'test.count'), (tools.LookupInterface, VALUE_IID))
    fails('OUTOFBOUNDS', (all.NameByIndex, 3), (all.SetFlags, 3, 0))
    fails('INVALIDARG', (all.Add, 'test.count', 0x100), (all.Merge, None), (all.AddInterface, VALUE_IID, 'test.weight', 0),
          (all.AddInterface, VALUE_IID, '', 0), (all.CreateList, None))
    equal(code_of(all.Add, 'test.huge', 0), 'FAILED')


def check_stacks_go_back_to_what_was_pushed():
    stack = type_of('test.weight', 'test.objects', 'test.count').Create()
    fails('NOTFOUND', (stack.Read, 0, kz.Storage('f', 3)), (stack.Object, 'test.other'), (stack.IsSet and stack.Clear, 'x'))
    fails('NOTREADY', (stack.Pop,))
    equal((stack.Object('test.objects'), stack.IsSet('test.weight'), stack.PacketSize(0), stack.PacketSize(1),
           stack.PacketSize(7)), (None, False, 12, 0, 0))
    del CALLS[:]
    below = stack.Packet(0)
    equal((floats(stack, 0), stack.IsSet('test.weight'), stack.Packet(0) == below), ([1, 2, 3], True, True))
    ctypes.memmove(below, struct.pack('3f', 4, 5, 6), 12)
    stack.Push()
    equal(floats(stack, 0), [4, 5, 6])
    above = PACKETS.FastPacket(stack, 0)
    ctypes.memmove(above, struct.pack('3f', 7, 8, 9), 12)
    boxed = kz.service.Value().CreateValue('integer')
    stack.SetObject('test.objects', boxed)
    equal((above == below, floats(stack, 0), k.Value(stack.Object('test.objects')).TypeName(),
           k.Value(stack.ObjectByInterface(VALUE_IID)).TypeName()), (False, [7, 8, 9], 'integer', 'integer'))
    own = ctypes.create_string_buffer(struct.pack('i', 77))
    stack.SetPacket(2, ctypes.addressof(own))
    number = kz.Storage('i', 1)
    stack.Read(2, number)
    equal(number.get(), (77,))
    stack.Pop()
    equal((floats(stack, 0), stack.Object('test.objects'), stack.IsSet('test.count')), ([4, 5, 6], None, False))
    stack.Clear('test.weight')
    equal((stack.IsSet('test.weight'), CALLS.count('initialize'), CALLS.count('cleanup'), CALLS.count('copy')),
          (False, 2, 2, 1))
    fails('NOTSUPPORTED', (stack.Packet, 1), (stack.SetPacket, 1, 1), (stack.SetObject, 'test.weight', boxed))
    fails('INVALIDARG', (stack.SetPacket, 0, 0), (stack.SetPacket, 0, 16), (stack.SetObject, 'test.objects', k.Unknown(stack)))
    fails('OUTOFBOUNDS', (stack.Packet, 3), (stack.SetPacket, 3, 0))
    fails('NOTAVAILABLE', (type_of('test.refuses').Create().Packet, 0))
    equal(stack.Type().Count(), 3)


def check_lists_have_the_packets_of_each_element():
    list_of = type_of('test.count').CreateList(type_of('test.weight', 'test.count'))
    equal((list_of.Count(), list_of.PacketSize(0), list_of.PacketSize(1)), (0, 12, 4))
    list_of.SetCount(3)
    for element in range(3):
        ctypes.memmove(list_of.Packet(element, 1), struct.pack('i', element), 4)
    ctypes.memmove(list_of.Packet(2, 0), struct.pack('3f', 8, 12, 16), 12)
    list_of.Remove(1)
    list_of.SetCount(4)
    equal([struct.unpack('i', ctypes.string_at(list_of.Packet(each, 1), 4))[0] for each in range(4)], [0, 2, 0, 0])
    del CALLS[:]
    list_of.Evaluate(PACKETS.EffectLookup(None, 'first'), 1, 2)
    equal([struct.unpack('3f', ctypes.string_at(list_of.Packet(each, 0), 12)) for each in range(4)],
          [(1, 2, 3), (2, 6, 8), (0.25, 1, 1.5), (1, 2, 3)])
    equal(CALLS, [('get', 0, 12, 1)] * 2 + [('get', 1, 12, 3)] * 2)
    fails('OUTOFBOUNDS', (list_of.Packet, 4, 0), (list_of.Packet, 0, 2), (list_of.Remove, 4),
          (list_of.Evaluate, PACKETS.EffectLookup(None, 'first'), 3, 2))
    fails('OUTOFMEMORY', (list_of.SetCount, 0xFFFFFFFF))
    fails('INVALIDARG', (list_of.Evaluate, None, 0, 1))
    equal(list_of.Type().Count(), 2)
    other = type_of('test.count').CreateList(type_of('test.count', 'test.objects'))
    other.SetCount(1)
    fails('NOTFOUND', (other.Evaluate, PACKETS.EffectLookup(None, 'first'), 0, 1))
    fails('NOTSUPPORTED', (other.Packet, 0, 1))
