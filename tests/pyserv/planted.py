"""Servers with one fault each, and a clean one. A server's name says which finding there is to be: L, the level that
promises it, then the method and the kind of finding."""
import ctypes
import os
import sys
import thread
import threading
import time

import kz
import kzifc
import kzu.command

NUMBERS = (0, 0.0, 1.0)
FIRST = thread.get_ident()
kept, calls, BUSY = [], {}, threading.local()


class Curve(kzifc.Curve):
    """A clean one: a straight line of length 1."""
    def curve_KnotCount(self): return 2
    def curve_KnotPosition(self, index): return [NUMBERS[:2] + (0.0,), NUMBERS][index]
    def curve_KnotAdd(self, position, before): return 1
    def curve_KnotRemove(self, index): kz.throw(kz.symbol.e_NOTSUPPORTED, True)
    def curve_KnotParam(self, index): return float(index)
    def curve_Param(self, distance): return distance if distance - distance == 0 else 0.0
    def curve_Length(self): return 1.0
    def curve_Position(self, param): return NUMBERS
    def curve_Tangent(self, param): return NUMBERS
    def curve_Closest(self, position): return 0.5, 1.0
    def curve_SetClosed(self, closed): self.closed = closed
    def curve_IsClosed(self): return bool(getattr(self, 'closed', 0))
    def curve_Degree(self): return kz.symbol.iCURVE_LINEAR
    def curve_Sample(self, count, positions): positions.set([0.0] * min(len(positions), 3 * count))


class Operation(kzifc.MeshOperation):
    def mop_Evaluate(self, mesh, elements, mode): pass
    def mop_Compare(self, other): return kz.symbol.iMESHOP_COMPARE_DIFFERENT


def plant(name, base=Curve, **methods):
    kz.bless(type('Faulty', (base,), methods), name)


def count(name):
    calls[name] = calls.get(name, 0) + 1
    return calls[name]


def own(self, *given):
    self.me = kz.object.Unknown(self)
    return NUMBERS


def waits(*given):
    while True:
        time.sleep(.01)


def locked(self, other, lock=thread.allocate_lock()):
    other = kz.object.Value(other)
    lock.acquire()
    other.GetInt()
    lock.release()


def reentered(self, other):
    if getattr(BUSY, 'now', False):
        return 'busy'
    BUSY.now = True
    try:
        kz.object.MeshOperation(other).Compare(other)
    finally:
        BUSY.now = False
    return kz.symbol.iMESHOP_COMPARE_DIFFERENT


def down(self, index):
    while index != 0:
        index -= 2


def spin(self, *given):
    for _ in xrange(count('spin') * 500):
        pass
    return 1.0


class Endless(kzifc.Tree):
    def tree_Spawn(self, mode): return Endless()
    def tree_ToRoot(self): pass
    def tree_ToParent(self): pass
    def tree_ToChild(self): pass
    def tree_IsRoot(self): return False
    def tree_ChildIsLeaf(self): return False
    def tree_Count(self): return 1
    def tree_Current(self): return 0
    def tree_SetCurrent(self, index): pass


class Number(kzifc.Value, kzifc.StringConversion):
    day = 0
    def val_Type(self): return kz.symbol.iVALUE_TYPE_STRING
    def val_TypeName(self): return 'number'
    def val_GetInt(self): return 1
    def str_Encode(self): return str(self.day)
    def str_Decode(self, text): self.day = text


def printing(self, param):
    print 'asked'
    return NUMBERS


class Failing(kzu.command.Command):
    arguments = [kzu.command.Argument('size', 'integer')]
    def execute(self, size): return size.text


class Narrow(kzifc.Saver):
    """Passes a width where a size in bytes is wanted."""
    def sav_Save(self, source, path, monitor):
        image, line = kz.object.Image(source), kz.Storage('b', 12)
        image.GetLine(0, kz.symbol.iIMG_FORMAT_RGB24, image.Size()[0], line)


class Rows(kzu.command.Command):
    """Endless with -1 or 0 for the second argument."""
    arguments = [kzu.command.Argument('size', 'integer', default=9), kzu.command.Argument('step', 'integer', default=3)]
    def execute(self, size, step):
        at = 0
        while at < min(size, 100): at += min(step, 100)


kz.bless(Curve, 'clean')
kz.bless(Operation, 'clean')
plant('L1-Curve.__init__-raises', __init__=lambda self: 1 / 0)
plant('L1-Curve.__init__-leak', __init__=own)
plant('L1-Curve.__del__-raises', __del__=lambda self: self.nothing)
plant('L1-Curve.__init__-crash', __init__=lambda self: os._exit(0))
plant('L4-Curve.curve_Length-result', curve_Length=lambda self: '1')
plant('L2-Curve.curve_Position-raises', curve_Position=lambda self, param: len(param))
plant('L2-ThreadJob.job_Execute-missing', kzifc.ThreadJob)
plant('L2-MeshOperation.mop_Evaluate-crash', Operation, mop_Evaluate=lambda *given: ctypes.string_at(0))
plant('L2-Curve.curve_Position-output', curve_Position=printing)
kz.bless(Failing, 'L3-Command.cmd_Execute-raises')
kz.bless(Narrow, 'L2-Saver.sav_Save-refused', {'saver.dosType': 'NARROW', 'file.class': 'image'})
plant('L3-StringConversion.str_Decode-text', Number,
      str_Decode=lambda self, text: setattr(self, 'day', len(text or '')))
kz.bless(Endless, 'L3-Tree.tree_ToChild-walk')
plant('L4-Curve.curve_Closest-result', curve_Closest=lambda self, position: (0.5, 1.0, 2.0))
plant('L4-Curve.curve_Degree-slow', curve_Degree=lambda self: time.sleep(.8) or 1)
plant('L4-Curve.curve_IsClosed-hang', curve_IsClosed=waits)
plant('L4-Curve.curve_SetClosed-exit', curve_SetClosed=lambda self, closed: sys.exit(3))
plant('L2-Curve.curve_KnotCount-code', curve_KnotCount=lambda self: kz.throw(0x8123ABCD))
plant('L4-Curve.curve_Sample-raises', curve_Sample=lambda self, number, positions: positions.fill(0.0))
plant('L5-Curve.curve_KnotRemove-hang', curve_KnotRemove=down)
kz.bless(Rows, 'L5-Command.cmd_Execute-hang')
plant('L5-Curve.curve_Param-result', curve_Param=lambda self, distance: distance if distance < 1e30 else 'far')
plant('L5-Curve.curve_IsClosed-state', curve_IsClosed=lambda self: getattr(self, 'closed', 0) < 2 or self.nothing)
plant('L6-Curve.curve_KnotAdd-crash',
      curve_KnotAdd=lambda self, at, before: os.abort() if before < 0 and not at[0] == .5 else 1)
plant('L7-Curve.curve_Degree-threads', curve_Degree=lambda self: 1 if thread.get_ident() == FIRST else self.nothing)
plant('L7-Curve.curve_Degree-hang', curve_Degree=lambda self: 1 if thread.get_ident() == FIRST else waits())
plant('L8-Value.val_Copy-hang', Number, val_Copy=locked)
plant('L8-MeshOperation.mop_Compare-result', Operation, mop_Compare=reentered)
plant('L9-Curve.curve_Degree-leak', curve_Degree=lambda self: kept.append(1) or 1)
plant('L9-Curve.curve_Tangent-leak', curve_Tangent=own)
plant('L9-Curve.curve_Position-leak', curve_Position=lambda self, param: os.dup(0) and NUMBERS)
plant('L9-Curve.curve_KnotParam-slower', curve_KnotParam=spin)
plant('L10-Curve.curve_KnotAdd-crash',
      curve_KnotAdd=lambda self, at, before: os.abort() if before < 0 and count('bad') > 12 else 1)
