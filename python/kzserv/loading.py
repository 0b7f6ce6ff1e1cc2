"""The server files that have been imported, what they blessed, and how a file that has changed is taken in again.

A file counts whole or not at all. While it runs, what it blesses is looked over and noted; it is blessed when the file
has run to its end. A server that is blessed stays blessed: the host knows it by name and type, and holds objects of its
class. So when its file has changed, the class is not replaced but changed: it takes over what the file's new class has,
and the host's objects have it at once. Where one of a file's servers cannot be changed, none is.
"""

import sys

import _kzserv
import kz

from kzserv import files

_bless = kz.bless
_MARK = ':'


class Refused(Exception):
    """Why a file's servers stay as they are."""


class Part(object):
    """A class and its meta object, as the host knows them, with those of its sub-servers."""

    def __init__(self, cls, meta, known=()):
        self.cls, self.meta = cls, meta
        self.parts = []
        known += ((cls, meta),)
        subs = getattr(meta, '_sub_ifcs', ())
        for sub_class, sub_meta in subs if hasattr(subs, '__getitem__') else ():
            if not any(sub_class is each and sub_meta is its for each, its in known):  # they may name each other
                self.parts.append(Part(sub_class, sub_meta, known))

    def paired(self, new):
        """Each part with the one that is to be taken over, this one first. Raises Refused where that cannot be done."""
        if type(self.cls) is not type(new.cls):
            raise Refused('%s has another metaclass' % new.cls.__name__)
        if files.interface_bases(self.cls) != files.interface_bases(new.cls):
            raise Refused('%s has other interfaces' % new.cls.__name__)
        if self.cls is not new.cls and ('__slots__' in vars(self.cls) or '__slots__' in vars(new.cls)):
            raise Refused('%s has __slots__' % new.cls.__name__)
        if not (hasattr(self.meta, '__dict__') and hasattr(new.meta, '__dict__')) and self.meta != new.meta:
            raise Refused('its meta object is another one')
        if len(self.parts) != len(new.parts):
            raise Refused('it has other sub-servers')
        pairs = [(self, new)]
        for old_part, new_part in zip(self.parts, new.parts):
            pairs += old_part.paired(new_part)
        return pairs


class Server(object):
    """One call of kz.bless, looked over as kz.bless does. Raises what kz.bless would."""

    def __init__(self, cls, name, tags=None, meta=None):
        self.tags = {} if tags is None else tags  # with a dictionary of its own they can be changed later
        self.type, self.is_taken = _kzserv.check(cls, name, self.tags, meta)
        self.part, self.name = Part(cls, meta), str(name)

    def key(self):
        return self.name, self.type



class Change(object):
    """What a file that has run makes of its servers: all of it, or nothing."""

    def __init__(self, former, given):
        known = dict((server.key(), server) for server in former)
        self.fresh = [new for new in given if new.key() not in known]
        self.known = [(known[new.key()], new) for new in given if new.key() in known]
        self.pairs = []
        for old, new in self.known:
            try:
                self.pairs += old.part.paired(new.part)
            except Refused as reason:
                raise Refused('the server "%s" cannot become what it is now: %s' % (old.name, reason))
        self._classes = {}
        for old, new in self.pairs:
            if self._classes.setdefault(new.cls, old.cls) is not old.cls:
                raise Refused('%s stands for what were two classes' % new.cls.__name__)
        if len(set(self._classes.values())) != len(self._classes):
            raise Refused('what was one class are two now')
        for new in self.fresh:
            if _kzserv.check(new.part.cls, new.name, new.tags, new.part.meta)[1]:
                raise Refused('there is another server "%s" of its type already' % new.name)

    def apply(self, module, servers):
        """Changes what is known, and blesses what is new and adds it to the file's servers."""
        self._undo = []
        try:
            self._take_over()
            self._rebase(module)
        except Exception:
            kind, value, _ = sys.exc_info()
            for restore in reversed(self._undo):
                restore()
            raise Refused('its classes cannot be changed: ' + files.describe(kind, value))
        for old, new in self.known:
            tags = dict(new.tags)
            old.tags.clear()
            old.tags.update(tags)
        self._rename(module)
        for new in self.fresh:
            new.part.cls = self._classes.get(new.part.cls, new.part.cls)
            _bless(new.part.cls, new.name, new.tags, new.part.meta)
            servers.append(new)

    def _take_over(self):
        for old, new in self.pairs:
            if old.cls is not new.cls:
                self._keep(fill_class, old.cls, old.cls.__bases__, dict(vars(old.cls)))
                fill_class(old.cls, self._living(new.cls.__bases__), vars(new.cls))
            if old.meta is not new.meta and hasattr(old.meta, '__dict__'):
                self._take_over_meta(old.meta, new.meta)

    def _take_over_meta(self, old, new):
        if isinstance(old, type):
            self._keep(fill_class, old, old.__bases__, dict(vars(old)))
            fill_class(old, new.__bases__, vars(new))
        else:
            self._keep(fill_object, old, getattr(old, '__class__', None), dict(vars(old)))
            fill_object(old, getattr(new, '__class__', None), dict(vars(new)))

    def _rebase(self, module):
        """The other classes of the file derive from the class that lives on."""
        for cls in vars(module).values():
            if isinstance(cls, type) and cls.__module__ == module.__name__ and cls not in self._classes:
                if cls.__bases__ != self._living(cls.__bases__):
                    cls.__bases__ = self._living(cls.__bases__)

    def _living(self, bases):
        return tuple(self._classes.get(base, base) for base in bases)

    def _keep(self, fill, *state):
        self._undo.append(lambda: fill(*state))

    def _rename(self, module):
        """The file's functions find the class that lives on, where they say super(Name, self) or Name.attribute."""
        for name, value in vars(module).items():
            if isinstance(value, type) and value in self._classes:
                setattr(module, name, self._classes[value])


_OF_THE_CLASS = ('__dict__', '__weakref__', '__doc__')  # what cannot be set


def fill_class(cls, bases, names):
    if cls.__bases__ != bases:
        cls.__bases__ = bases
    for name in set(vars(cls)) - set(names):
        delattr(cls, name)
    for name, value in names.items():
        if name not in _OF_THE_CLASS:
            setattr(cls, name, value)


def fill_object(target, cls, state):
    if getattr(target, '__class__', None) is not cls:
        target.__class__ = cls
    vars(target).clear()
    vars(target).update(state)


class File(object):
    """One server file: its text when it was imported last, its modules, the last one first, and what it blessed.

    Former modules are kept: a module that goes takes its names from the functions that still use them.
    """

    def __init__(self, path):
        self.path, self.name = path, files.name_of(path)
        self.source, self.modules, self.servers, self.is_whole = None, [], [], False

    def take_in(self):
        """Imports the file, and makes its servers what it blesses. False, and nothing has changed, when that fails."""
        self.is_whole = False
        self.given, self._keys = [], set()
        self._own = set(server.key() for server in self.servers)
        module = files.new_module(self.path, self.name)
        former = self.modules[0] if self.modules else None
        _pass.add(self)
        _running.append((vars(module), self))
        really, kz.bless = kz.bless, _note
        try:
            self.source = files.read(self.path)
            files.run(module, self.source)
            change = Change(self.servers, self.given)
            change.apply(module, self.servers)
        except Refused as reason:
            files.note('%s: nothing of it is taken in: %s' % (self.path, reason))
        except:  # SystemExit too: no file ends the host
            files.report(self.path)
        else:
            self.is_whole = True
        finally:
            kz.bless = really
            _running.pop()
        if not self.is_whole:
            files.publish(module.__name__, former)
            return False
        self.modules.insert(0, module)
        for server in self.servers:
            if server.key() not in self._keys:
                files.note('%s: the server "%s" is not in it any more; it stays as it was until the host ends' %
                           (self.path, server.name))
        return True

    def bless(self, *args):
        """Notes what the file blesses. What kz.bless refuses, it refuses at once."""
        if not 2 <= len(args) <= 4 or str(args[1]).startswith(_MARK):
            return _bless(*args)
        server = Server(*args)
        if server.key() in self._keys:
            files.note('%s: the server "%s" is blessed twice' % (self.path, server.name))
            kz.throw(kz.symbol.e_FAILED)
        if server.is_taken and server.key() not in self._own:
            _bless(*args)  # which says what is wrong
        self._keys.add(server.key())
        self.given.append(server)

    def has_changed(self):
        try:
            return not self.is_whole or files.read(self.path) != self.source
        except EnvironmentError:
            return False


_files = {}  # by module name
_running = []  # the names of the modules that are being imported, with their files, the innermost last
_pass = set()  # the files that have been tried while all are gone through


def _note(*args):
    """Stands in for kz.bless while server files are imported. A module that such a file imports, and that blesses, is
    not part of the file: it stays imported whatever becomes of the file, and so its servers are blessed at once."""
    frame = sys._getframe(1)
    while frame is not None:
        for names, known in _running:
            if frame.f_globals is names and frame.f_code.co_name == '<module>':
                return known.bless(*args)
        module = sys.modules.get(frame.f_globals.get('__name__'))
        if frame.f_code.co_name == '<module>' and module is not None and vars(module) is frame.f_globals:
            break
        frame = frame.f_back
    return _bless(*args)


class Finder(object):
    """Finds a server file as a module, wherever it comes in the order of the files."""

    def find_module(self, name, path=None):
        return self if name.startswith(files.PREFIX) and self._file(name) is not None else None

    def load_module(self, name):
        known = self._file(name)
        if known not in _pass and _running:
            known.take_in()
        if name not in sys.modules:
            raise ImportError('the server file %s is not taken in; the log says why' % known.path)
        return sys.modules[name]

    def _file(self, name):
        name = name[len(files.PREFIX):]
        if name not in _files:
            _find()
        return _files.get(name)


sys.meta_path.append(Finder())


def _find():
    """All server files, in their order."""
    return [_files.setdefault(files.name_of(path), File(path)) for path in files.find()]


def import_all():
    _pass.clear()
    for each in _find():
        if each not in _pass:  # one file may have asked for the others
            each.take_in()


def reload_changed():
    """Takes in what is new or has changed in the folders of server files since, and what could not be taken in before,
    and tells the log about each file."""
    _pass.clear()
    changed = [each for each in _find() if each.has_changed()]
    for each in changed:
        files.publish(files.PREFIX + each.name, None)  # whoever imports it gets it as it is now
    for each in changed:
        if each not in _pass:
            each.take_in()
        if each.is_whole:
            files.note('%s: taken in' % each.path)
    kz.service.Host().ModuleUpdate('python')
