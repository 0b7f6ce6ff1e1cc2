# -*- coding: utf-8 -*-
"""Servers as people get them wrong. Behind each "#:" stands what the checker says of that line or the one above."""
import sys

import kz
import kzu.command
from kzu.command import Argument
from kzifc import Command, Loader, Saver, StringTag, ThreadJob, TriangleSoup, Value, Visitor

class Good(Command):
    def cmd_Execute(self, flags): pass
    def on_Click(self): pass
    def do_Execute(self): pass
    def Execute(self): pass
kz.bless(Good, 'good', {'k': 1})

class Misspelt(Command):
    def cmd_Excute(self, flags): pass
    #: server "misspelt": no interface has a method cmd_Excute; did you mean cmd_Execute?
kz.bless(Misspelt, 'misspelt')  #: server "misspelt": the method cmd_Execute, which Command requires, is missing

class Counts(Command):
    def cmd_Execute(self): pass  #: server "counts": cmd_Execute is called with 1 argument after self, but takes 0
    @staticmethod
    def cmd_Flags(): return 0
    @classmethod  #: server "counts": cmd_Query is called with 2 arguments after self, but takes 1
    def cmd_Query(cls, index): pass
    def cmd_Help(self, more=None): pass
kz.bless(Counts, 'counts')

class Odd(Command):
    def cmd_Execute(self, *rest): pass
    def cmd_argtype(self, index): pass
    #: server "odd": no interface has a method cmd_argtype; did you mean cmd_ArgType?
    def comd_Flags(self): pass  #: server "odd": no interface has a method comd_Flags; did you mean cmd_Flags?
    def tree_Count(self): pass  #: server "odd": tree_Count belongs to Tree, which the class does not implement
    def my_Helper(self): pass
    tree_Current = 3
    def cmd_Foo(self): pass  #: server "odd": Command has no method cmd_Foo
    def attr_Cuont(self): pass
    #: server "odd": attr_Cuont: the prefix attr_ belongs to Attributes, which the class does not implement
    cmd_Help = 5
    def set_up(self): pass
    cmd_Icon = property(None)
    cmd_Tag = staticmethod(5)
    cmd_Desc = property(len)
kz.bless(Odd, 'odd')
#: server "odd": cmd_Help is not a method
#: server "odd": cmd_Icon is not a method
#: server "odd": cmd_Tag is not a method

class Day(Value): pass
kz.bless(Day, 'day')
class Wrong(kzu.command.Command):
    arguments = [Argument('text', 'sting'), Argument('more', 'day'), Argument('a b', 'integer'),
                 Argument('text', 'angle', default=1)]
    argument = label = None
    def excute(self, text): pass  #: server "wrong": kzu.command has no excute; did you mean execute?
    def query(self): pass  #: server "wrong": query is called with 1 argument after self, but takes 0
    prepare = 5
    def argument_names(self): pass
kz.bless(Wrong, 'wrong')
#: server "wrong": argument "text": there is no value type "sting"; did you mean "string"?
#: server "wrong": argument "a b": no command string can name it; use letters, digits, _ and .
#: server "wrong": argument "text" occurs twice
#: server "wrong": prepare is not a method

class Named(kzu.command.Command):
    arguments = Argument('text', 'string'),
    def execute(self, txt, more=1): pass
    #: server "a b": execute is called with the argument "text", which it does not take
    #: server "a b": execute takes "txt", which is not an argument of the command
class Taking(Named):
    def execute(self, **values): pass
class Untold(Named): arguments = 'text'
kz.bless(Named, 'a b')
#: server "a b": no command string calls it; the name of a command is one word, and begins with a letter
kz.bless(Taking, '?b')
#: server "?b": no command string calls it; the name of a command is one word, and begins with a letter
kz.bless(Untold, '')
#: server "": no command string calls it; the name of a command is one word, and begins with a letter
#: server "": arguments is not a list of Argument

# Classes that the host gets only as objects, and base classes.
class Base(Loader):
    def load_Cancle(self): pass  #: class "Both": Loader has no method load_Cancle
    def load_Recognise(self): pass
    #: class "Both": no interface has a method load_Recognise; did you mean load_Recognize?
class Job(ThreadJob):  #: class "Job": the method job_Execute, which ThreadJob requires, is missing
    def __init__(self, any, thing): pass
    def job_Run(self): pass  #: class "Job": ThreadJob has no method job_Run
class Soup(TriangleSoup):
    #: class "Soup": the method soup_Vertex, which TriangleSoup requires, is missing
    #: note: class "Soup": this host never calls TriangleSoup
    def soup_TestBox(self): pass  #: class "Soup": soup_TestBox is called with 2 arguments after self, but takes 0
    def soup_Polygon(self, a, b, c): pass
class Plain(object):
    def soup_Nothing(self): pass
class Both(Base):  #: class "Both": the method load_Recognize, which Loader requires, is missing
    def load_LoadObject(self, *any): pass
class Seen(Visitor):
    def vis_Evaluate(self): pass
class Heir(Seen): pass
kz.bless(Heir, 'heir')

class Tag(StringTag, Seen): pass
kz.bless(Tag, 'tag')  #: note: server "tag": this host never calls StringTag

class Meta(type):
    def __getattribute__(self, name): raise ValueError(name)
class Closed(Visitor): __metaclass__ = Meta
kz.bless(Closed, 'closed')  #: server "closed" cannot be checked: ValueError: __bases__
kz.bless(Seen, u'\xe9')  #: server "é": its name must be plain ASCII
kz.bless(Seen, 'sub', None, type('M', (), {'_sub_ifcs': 5})())  #: server "sub": its _sub_ifcs is not a sequence

class Helper(object):
    def load_Recognize(self, path, info): pass
class Half(Helper, Loader): pass
kz.bless(Half, 'half')  #: server "half": the method load_LoadObject, which Loader requires, is missing

class Dynamic(Saver):
    def __getattr__(self, name): pass
kz.bless(Dynamic, 'dynamic')

class Nothing(object): pass
class Old: pass
kz.bless(Nothing, 'nothing')  #: server "nothing": it implements no interface: derive it from a class of kzifc
kz.bless(Old, 'old')  #: server "old": only a class derived from object can be a server

class Asking(Visitor):
    def __init__(self, x): pass
    #: server "asking": __init__ is called with 0 arguments after self: there is no meta object
    def vis_Evaluate(self): pass
kz.bless(Asking, 'asking')
kz.bless(Asking, 'twice', None, object())
kz.bless(Asking, 'twice', [], 1)
#: server "twice": its tags are not a dictionary
#: server "twice" is blessed twice for one interface

class Sub(Saver): pass
class Text(StringTag): pass
class Subs: _sub_ifcs = [(Sub, None), 5]
kz.bless(Text, 'text', {u'\xe9': 1}, Subs())
#: note: server "text": this host never calls StringTag
#: server "text": each item of its _sub_ifcs must be a pair of a class and its meta object
#: server "text": a key or value of its tags has no str() form
#: server "text", sub-server Sub: the method sav_Save, which Saver requires, is missing

class Writer(Saver):
    """Names that show only when a method runs."""
    images = kz.service.Image()
    def sav_Save(self, source, path, monitor):
        from kz.symbol import iIMG_FORMAT_RGB25, iIMG_FORMAT_RGB24
        #: kz.symbol has no iIMG_FORMAT_RGB25; did you mean iIMG_FORMAT_RGB24?
        image, other, _ = kz.object.Image(source), self.images, (iIMG_FORMAT_RGB25, iIMG_FORMAT_RGB24)
        picture = kz.object.Image(source)
        picture.GetLien(0, kz.result.NOTFUOND)  #: kz.object.Image has no GetLien; did you mean GetLine?
        #: kz.result has no NOTFUOND; did you mean NOTFOUND?
        image.GetPixle()  #: note: nothing in the SDK has a method GetPixle; did you mean GetPixel?
        kz.service.Mesh().Craete(kzu.commnd)  #: kz.service.Mesh has no Craete; did you mean Create?
        #: kzu has no commnd; did you mean command?
        kz.evall  #: kz has no evall; did you mean eval?
        return kz.object.Imag(source)  #: kz.object has no Imag; did you mean Image?
    def good(self, image, kz):
        kz.nothing, image.Paint, image.getLien(), image.FlipOver(), self.GetSzie(), sys.GetSise()
        picture = image
        picture = kz.object.Picture(picture).GetLien
        try: return Good.kz.later
        except AttributeError: return lambda picture: picture.nothing
    def GetSzie(self): pass
def later():
    try: return kz.later
    except AttributeError: return hasattr(kz, 'sooner') and kz.sooner
kz.bless(Writer, 'writer')
