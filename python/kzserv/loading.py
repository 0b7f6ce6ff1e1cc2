"""The server files that have been imported, what they have blessed, and how a changed file is imported again.

A file is imported as a whole or not at all. While it runs, what it blesses is checked and recorded; the blessing
follows when the file has run to its end. A server can never be unblessed: the host knows it by name and type, and holds
objects of its class. So when a file has changed, a server's class is not replaced but modified: it gets the attributes
of the file's new class, and the host's existing objects have them at once. If one of a file's servers cannot be
modified, none of them is.
"""

import sys

import _kzserv
import kz

from kzserv import files

_bless = kz.bless
_MARK = ':'


class Refused(Exception):
    """The reason why a file's servers were left unchanged."""


class Part(object):
    """A class and its meta object, as the host knows them, with the parts of its sub-servers."""

    def __init__(self, cls, meta, known=()):
        self.cls, self.meta = cls, meta
        self.parts = []
        known += ((cls, meta),)
        subs = getattr(meta, '_sub_ifcs', ())
        for sub_class, sub_meta in subs if hasattr(subs, '__getitem__') else ():
            if not any(sub_class is each and sub_meta is its for each, its in known):  # they may name each other
                self.parts.append(Part(sub_class, sub_meta, known))

    def paired(self, new):
        """Pairs of each part and its new version, this one first. Raises Refused if a part cannot be modified."""
        if type(self.cls) is not type(new.cls):
            raise Refused('%s has a different metaclass' % new.cls.__name__)
        if files.interface_bases(self.cls) != files.interface_bases(new.cls):
            raise Refused('%s has different interfaces' % new.cls.__name__)
        if self.cls is not new.cls and ('__slots__' in vars(self.cls) or '__slots__' in vars(new.cls)):
            raise Refused('%s has __slots__' % new.cls.__name__)
        if not (hasattr(self.meta, '__dict__') and hasattr(new.meta, '__dict__')) and self.meta != new.meta:
            raise Refused('its meta object has been replaced')
        if len(self.parts) != len(new.parts):
            raise Refused('its sub-servers have changed')
        pairs = [(self, new)]
        for old_part, new_part in zip(self.parts, new.parts):
            pairs += old_part.paired(new_part)
        return pairs


class Server(object):
    """One call of kz.bless, with the checks of kz.bless. Raises what kz.bless would raise."""

    def __init__(self, cls, name, tags=None, meta=None):
        self.tags = {} if tags is None else tags  # a dictionary even if empty, so that it can be modified later
        self.type, self.is_taken = _kzserv.check(cls, name, self.tags, meta)
        self.part, self.name = Part(cls, meta), str(name)

    def key(self):
        return self.name, self.type


class Change(object):
    """The changes to its servers that a file asks for. They are applied completely or not at all."""

    def __init__(self, former, blessed):
        known = dict((server.key(), server) for server in former)
        self.fresh = [new for new in blessed if new.key() not in known]
        self.known = [(known[new.key()], new) for new in blessed if new.key() in known]
        self.pairs = []
        for old, new in self.known:
            try:
                self.pairs += old.part.paired(new.part)
            except Refused as reason:
                raise Refused('the server "%s" cannot be changed: %s' % (old.name, reason))
        self._classes = {}
        for old, new in self.pairs:
            if self._classes.setdefault(new.cls, old.cls) is not old.cls:
                raise Refused('%s replaces two classes' % new.cls.__name__)
        if len(set(self._classes.values())) != len(self._classes):
            raise Refused('one class has become two')
        for new in self.fresh:
            if _kzserv.check(new.part.cls, new.name, new.tags, new.part.meta)[1]:
                raise Refused('there is another server "%s" of its type already' % new.name)

    def apply(self, module, servers):
        """Changes what is known, and blesses what is new and adds it to the file's servers."""
        self._undo = []
        try:
            self._update()
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

    def _update(self):
        for old, new in self.pairs:
            if old.cls is not new.cls:
                self._keep(fill_class, old.cls, old.cls.__bases__, dict(vars(old.cls)))
                fill_class(old.cls, self._modified(new.cls.__bases__), vars(new.cls))
            if old.meta is not new.meta and hasattr(old.meta, '__dict__'):
                self._update_meta(old.meta, new.meta)

    def _update_meta(self, old, new):
        if isinstance(old, type):
            self._keep(fill_class, old, old.__bases__, dict(vars(old)))
            fill_class(old, new.__bases__, vars(new))
        else:
            self._keep(fill_object, old, getattr(old, '__class__', None), dict(vars(old)))
            fill_object(old, getattr(new, '__class__', None), dict(vars(new)))

    def _rebase(self, module):
        """Makes the file's other classes derive from the modified old classes instead of the new ones."""
        for cls in vars(module).values():
            if isinstance(cls, type) and cls.__module__ == module.__name__ and cls not in self._classes:
                if cls.__bases__ != self._modified(cls.__bases__):
                    cls.__bases__ = self._modified(cls.__bases__)

    def _modified(self, bases):
        return tuple(self._classes.get(base, base) for base in bases)

    def _keep(self, fill, *state):
        self._undo.append(lambda: fill(*state))

    def _rename(self, module):
        """Rebinds the file's global names to the modified old classes, for super(Name, self) and Name.attribute."""
        for name, value in vars(module).items():
            if isinstance(value, type) and value in self._classes:
                setattr(module, name, self._classes[value])


_READ_ONLY = ('__dict__', '__weakref__', '__doc__')


def fill_class(cls, bases, names):
    if cls.__bases__ != bases:
        cls.__bases__ = bases
    for name in set(vars(cls)) - set(names):
        delattr(cls, name)
    for name, value in names.items():
        if name not in _READ_ONLY:
            setattr(cls, name, value)


def fill_object(target, cls, state):
    if getattr(target, '__class__', None) is not cls:
        target.__class__ = cls
    vars(target).clear()
    vars(target).update(state)


class File(object):
    """One server file: its text when it was last imported, its modules, the latest first, and its servers.

    Earlier modules are kept, because destroying a module clears the globals of functions that are still in use.
    """

    def __init__(self, path):
        self.path, self.name = path, files.name_of(path)
        self.source, self.modules, self.servers, self.is_whole = None, [], [], False

    def load(self):
        """Imports the file and updates its servers. If that fails, nothing has changed, and the result is False."""
        self.is_whole = False
        self.blessed, self._keys = [], set()
        self._own = set(server.key() for server in self.servers)
        module = files.new_module(self.path, self.name)
        former = self.modules[0] if self.modules else None
        _pass.add(self)
        _running.append((vars(module), self))
        really, kz.bless = kz.bless, _note
        try:
            self.source = files.read(self.path)
            files.run(module, self.source)
            change = Change(self.servers, self.blessed)
            change.apply(module, self.servers)
        except Refused as reason:
            files.note('%s: nothing has changed: %s' % (self.path, reason))
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
                files.note('%s: the server "%s" is no longer in the file; it stays as it is until the host ends' %
                           (self.path, server.name))
        return True

    def bless(self, *args):
        """Records what the file blesses. Raises at once for what kz.bless would refuse."""
        if not 2 <= len(args) <= 4 or str(args[1]).startswith(_MARK):
            return _bless(*args)
        server = Server(*args)
        if server.key() in self._keys:
            files.note('%s: the server "%s" is blessed twice' % (self.path, server.name))
            kz.throw(kz.symbol.e_FAILED)
        if server.is_taken and server.key() not in self._own:
            _bless(*args)  # raises, and explains the reason in the log
        self._keys.add(server.key())
        self.blessed.append(server)

    def has_changed(self):
        try:
            return not self.is_whole or files.read(self.path) != self.source
        except EnvironmentError:
            return False


_files = {}  # by module name
_running = []  # the globals and the file of each module that is being imported, the innermost last
_pass = set()  # the files that the current pass over all files has tried


def _note(*args):
    """Replaces kz.bless while server files are imported. A module that such a file imports may bless as well. It is not
    part of the file and stays imported even if the file fails, so its servers are blessed at once."""
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
    """Imports a server file as a module on demand, independent of the order of the files."""

    def find_module(self, name, path=None):
        return self if name.startswith(files.PREFIX) and self._file(name) is not None else None

    def load_module(self, name):
        known = self._file(name)
        if known not in _pass and _running:
            known.load()
        if name not in sys.modules:
            raise ImportError('the server file %s was not imported; the log says why' % known.path)
        return sys.modules[name]

    def _file(self, name):
        name = name[len(files.PREFIX):]
        if name not in _files:
            _find()
        return _files.get(name)


sys.meta_path.append(Finder())


def _find():
    """All server files, in order."""
    return [_files.setdefault(files.name_of(path), File(path)) for path in files.find()]


def import_all():
    _pass.clear()
    for each in _find():
        if each not in _pass:  # another file may have imported it already
            each.load()


def reload_changed():
    """Imports the server files that are new, changed or failed before, and adds a note to the log for each."""
    _pass.clear()
    changed = [each for each in _find() if each.has_changed()]
    for each in changed:
        files.publish(files.PREFIX + each.name, None)  # so that files which import it get the new version
    for each in changed:
        if each not in _pass:
            each.load()
        if each.is_whole:
            files.note('%s: imported' % each.path)
    kz.service.Host().ModuleUpdate('python')
