"""What a child puts through: the servers and other classes of a file, or the servers of a name."""

import os
import sys
import types

import kz
import kzifc

from kzserv import files, loading
from kzserv.methods import nearest, takes
from kzvalidate import shapes
from kzvalidate.recorder import Place, described, traced


class Unusable(Exception):
    """The command line names something that there is not."""


class Target(object):
    """One server, or a class that is no server but whose objects the host may be given."""

    def __init__(self, name, kinds, place, cls=None, meta=None, type=None, parts=(), tags=None):
        self.name, self.kinds, self.place = name, kinds, place
        self.cls, self.meta, self.type, self.parts, self.tags = cls, meta, type, parts, tags or {}

    def new(self):
        """A new host object, as the host makes it."""
        if self.type is not None:
            return kz.service.Host().SpawnServer(self.type, self.name)
        return kz.object.Unknown(self.cls() if self.meta is None else self.cls(self.meta))

    def methods(self, kind):
        """The methods of the interface that the server has. Those that it inherits from kzifc are not its own."""
        if self.cls is None:
            return shapes.methods(kind)
        attributes = shapes.own_attributes(self.cls)
        if '__getattr__' in attributes:
            return shapes.methods(kind)
        return [each for each in shapes.methods(kind) if each.name in attributes]

    def view(self, object, kind):
        """What its methods are called on: a wrapper, or where there is no type for one the Python object itself."""
        wrapper = getattr(kz.object, kind, None)
        return wrapper(object) if wrapper is not None else Direct(kz.extract(object))


class Direct(object):
    """Calls an instance as an adapter would."""

    def __init__(self, instance):
        self.instance = instance

    def bound(self, method):
        def call(*given):
            return getattr(self.instance, method.name)(*[
                kz.object.Unknown(each) if value.kind == 'object' else each
                for value, each in zip(method.inputs, given)])
        return call


def bound(view, method):
    return view.bound(method) if isinstance(view, Direct) else getattr(view, method.short)


def find(source, recorder):
    """The targets of a file or name. Findings about loading are written."""
    return _of_file(os.path.abspath(source), recorder) if os.path.isfile(source) else _of_name(source, recorder)


def _of_file(path, recorder):
    known = [each for each in loading._files.values() if os.path.realpath(each.path) == os.path.realpath(path)]
    file = known[0] if known else loading.File(path)
    if not known or not file.is_whole:
        _load(file, recorder)
    if not file.is_whole:
        return []
    return _watched(_of_servers(file.servers) + _others(file), file, recorder)


def _load(file, recorder):
    place = Place('import', path=file.path, line=1)
    original = files.report, files.note

    def tell(path):
        value, trace = sys.exc_info()[1:]
        lines = [each[1] for each in files.frames_below(trace, path) if each[0] == path]
        line = getattr(value, 'lineno', None) or (lines or [1])[-1]
        recorder.tell(Place('import', path=path, line=line), 'load', 'cannot be imported: ' + described(), 'servers',
                      traced())
    files.report = tell
    files.note = lambda text: recorder.tell(place, 'load', text, 'servers')
    try:
        with recorder.under_way(place):
            file.load()
    finally:
        files.report, files.note = original


def _of_servers(servers):
    found = []
    for server in servers:
        found.append(_server(server))
        pending = list(server.part.parts)
        for part in pending:
            found.append(_of_class(part.cls, part.meta))
            pending += part.parts
    return found


def _server(server):
    kinds = [base.__name__ for base in files.interface_bases(server.part.cls)]
    kind = getattr(kz.symbol, 'a_' + kinds[0].upper(), None)
    return Target(server.name, kinds, _place_of(server.part.cls), server.part.cls, server.part.meta, kind,
                  server.part.parts, server.tags)


def _of_class(cls, meta=None):
    return Target(cls.__name__, [base.__name__ for base in files.interface_bases(cls)], _place_of(cls), cls, meta)


def _place_of(cls):
    """Where the class begins, as far as its functions tell."""
    codes = [each.__code__ for each in vars(cls).values() if isinstance(each, types.FunctionType)]
    lines = [code.co_firstlineno for code in codes]
    path = codes[0].co_filename if codes else getattr(sys.modules.get(cls.__module__), '__file__', '')
    return Place(files.interface_bases(cls)[0].__name__, path=path, line=max(min(lines) - 1, 1) if lines else 1)


def _others(file):
    """The file's classes that are not blessed but implement an interface and need nothing to be made."""
    known = set(base for server in file.servers for base in server.part.cls.__mro__)
    known.update(part.cls for server in file.servers for part in server.part.parts)
    classes = _classes_of(file.modules[0])
    known.update(base for cls in classes for base in cls.__mro__[1:])
    return [_of_class(cls) for cls in classes if cls not in known and files.interface_bases(cls) and takes(
        shapes.own_attributes(cls).get('__init__', lambda self: None), 0)[0]]


def _classes_of(module):
    """The classes that the module itself defines."""
    return [value for _, value in sorted(vars(module).items())
            if isinstance(value, type) and value.__module__ == module.__name__]


def _watched(targets, file, recorder):
    classes = set(target.cls for target in targets)
    if file is not None:  # objects of these come to the host through the others
        classes.update(each for each in _classes_of(file.modules[0]) if files.interface_bases(each))
    for cls in sorted(classes, key=lambda each: (-len(each.__mro__), each.__name__)):
        recorder.watch(cls)
    return targets


def _all_servers():
    host = kz.service.Host()
    for index in range(host.ClassCount()):
        kind = host.ClassByIndex(index)
        for number in range(host.ServerCount(kind)):
            yield kind, host.ServerByIndex(kind, number).Name()


def _of_name(name, recorder):
    for file in loading._files.values():
        servers = [server for server in file.servers if server.name == name]
        if servers:
            return _watched(_of_servers(servers), file, recorder)
    servers = sorted(_all_servers())
    found = [Target(name, _kinds_of(kind, name), Place(kind), type=kind) for kind, each in servers if each == name]
    if found:
        return found
    names = sorted(set(each for _, each in servers))
    near = nearest(name, names)
    raise Unusable('there is no file and no server "%s"%s' % (
        name, '; did you mean "%s"?' % near if near else '; there are: ' + ', '.join(names)))


def _kinds_of(kind, name):
    """The interfaces of a server that is not written in Python, which only asking tells."""
    try:
        object = kz.service.Host().SpawnServer(kind, name)
    except Exception:
        return []
    first = [each for each in kzifc.__all__ if getattr(kz.symbol, 'a_' + each.upper(), None) == kind]
    found = []
    for each in first + [other for other in kzifc.__all__ if other not in first]:
        try:
            if getattr(kz.object, each)(object).test():
                found.append(each)
        except (AttributeError, TypeError, RuntimeError):
            pass
    return found
