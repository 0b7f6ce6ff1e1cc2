"""The server files that have been imported, what they blessed, and how a file that has changed is taken in again.

A server that is blessed stays blessed: the host knows it by name and type, and holds objects of its class. So when its
file has changed, the class is not replaced but changed: it takes over what the file's new class has, and the host's
objects have it at once. Nothing changes unless the whole file could be imported.
"""

import os

import kz

from kzserv import files


class Refused(Exception):
    """Why a server stays as it is."""


class Part(object):
    """A class and its meta object, as the host knows them, with those of its sub-servers."""

    def __init__(self, cls, meta, known=()):
        self.cls, self.meta = cls, meta
        self.parts = []
        known += ((cls, meta),)
        for sub_class, sub_meta in getattr(meta, '_sub_ifcs', None) or ():
            if not any(sub_class is each and sub_meta is its for each, its in known):  # they may name each other
                self.parts.append(Part(sub_class, sub_meta, known))

    def paired(self, new):
        """Each part with the one that is to be taken over, this one first. Raises Refused where that cannot be done."""
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
    """One call of kz.bless."""

    def __init__(self, cls, name, tags=None, meta=None):
        self.name = name
        self.tags = {} if tags is None else tags  # with a dictionary of its own they can be changed later
        self.part = Part(cls, meta)

    def key(self):
        return self.name, (files.interface_bases(self.part.cls) or [None])[0]

    def become(self, new):
        """Takes over the new one, and returns the pairs of classes."""
        pairs = self.part.paired(new.part)
        tags = dict(new.tags)
        for old_part, new_part in pairs:
            take_over_class(old_part.cls, new_part.cls)
            take_over_meta(old_part.meta, new_part.meta)
        self.tags.clear()
        self.tags.update(tags)
        return [(old_part.cls, new_part.cls) for old_part, new_part in pairs]


_OF_THE_CLASS = ('__dict__', '__weakref__', '__doc__')  # what cannot be set


def take_over_class(old, new):
    if old is new:
        return
    if old.__bases__ != new.__bases__:
        old.__bases__ = new.__bases__
    for name in set(vars(old)) - set(vars(new)):
        delattr(old, name)
    for name, value in vars(new).items():
        if name not in _OF_THE_CLASS:
            setattr(old, name, value)


def take_over_meta(old, new):
    if old is new or not hasattr(old, '__dict__'):
        return
    if isinstance(old, type):
        take_over_class(old, new)
        return
    if getattr(old, '__class__', None) is not getattr(new, '__class__', None):
        old.__class__ = new.__class__
    state = dict(vars(new))
    vars(old).clear()
    vars(old).update(state)


class File(object):
    """One server file: its text when it was imported last, its modules, the last one first, and what it blessed.

    Former modules are kept: a module that goes takes its names from the functions that still use them.
    """

    def __init__(self, path):
        self.path, self.source, self.modules, self.servers = path, None, [], []

    def take_in(self):
        """Imports the file for the first time. Its servers are blessed as it goes. False when it raises."""
        really = kz.bless

        def bless(*args):
            if len(args) < 2 or len(args) > 4 or str(args[1]).startswith(':'):
                return really(*args)
            cls, name, tags, meta = args + (None,) * (4 - len(args))
            tags = {} if tags is None else tags
            really(cls, name, tags, meta)
            self.servers.append(Server(cls, name, tags, meta))

        return self._import(bless)

    def take_in_again(self):
        """Imports it anew; its servers become what it blesses now. False, and nothing has changed, when it raises."""
        given = []
        if not self._import(lambda *args: given.append(args)):
            return False
        kept = [key for key in [self._replace(args) for args in given] if key is not None]
        for server in self.servers:
            if server.key() not in kept:
                files.note('%s: the server "%s" is not in it any more; it stays as it was until the host ends' %
                           (self.path, server.name))
        return True

    def _import(self, bless):
        really, kz.bless = kz.bless, bless
        try:
            self.source = files.read(self.path)
            former = self.modules[0] if self.modules else None
            self.modules.insert(0, files.import_file(self.path, self.source, former))
            return True
        except:  # SystemExit too: no file ends the host
            files.report(self.path)
            return False
        finally:
            kz.bless = really

    def _replace(self, args):
        """Has one server become what it is now, or blesses it if it is new; returns its key."""
        key = None
        try:
            new = Server(*args)
            key = new.key()
            for old in self.servers:
                if old.key() == key:
                    self._rename(old.become(new))
                    return key
            kz.bless(new.part.cls, new.name, new.tags, new.part.meta)
            self.servers.append(new)
        except Refused as reason:
            files.note('%s: the server "%s" stays as it was until the host ends: %s' % (self.path, args[1], reason))
        except Exception:
            files.report(self.path)
        return key

    def _rename(self, pairs):
        """The file's functions find the class that lives on, where they say super(Name, self) or Name.attribute."""
        for name, value in vars(self.modules[0]).items():
            for old, new in pairs:
                if value is new:
                    setattr(self.modules[0], name, old)


_files = {}  # by real path


def import_all():
    for path in files.find():
        if os.path.realpath(path) not in _files:  # one file may have asked for the others
            _add(path).take_in()


def reload_changed():
    """Takes in what is new or has changed in the folders of server files since, and tells the log about each file."""
    for path in files.find():
        known = _files.get(os.path.realpath(path))
        if known is None:
            is_taken = _add(path).take_in()
        else:
            is_taken = _differs(known) and known.take_in_again()
        if is_taken:
            files.note('%s: taken in' % path)
    kz.service.Host().ModuleUpdate('python')


def _add(path):
    return _files.setdefault(os.path.realpath(path), File(path))


def _differs(known):
    try:
        return files.read(known.path) != known.source
    except EnvironmentError:
        return False
