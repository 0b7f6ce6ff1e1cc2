"""Checks server files before the host uses them: `kzhost check FILE...`.

The files are imported, but what they bless is only recorded, so the host does not see it. Then every class is
compared with the interfaces that it implements. The findings are names that look misspelt, methods that cannot take
what the host passes, methods of interfaces that the class does not have, required methods that are missing, and names
of the SDK in the code that do not exist (kzserv.name_check).
A note tells of an interface that this host never calls, though others may. Classes that are not blessed but derive
from an interface are checked as well, because the file may pass their objects to the host.
"""

import ast
import inspect
import os
import re
import sys

import _kzserv
import kz
import kzifc

from kzserv import command_check, files, name_check
from kzserv.methods import CLOSE, is_method, likeness, line_of, nearest, plural, takes

_METHOD = re.compile('([A-Za-z][A-Za-z0-9]*_)([A-Za-z]\w*)$')


class Interface(object):
    """One interface as kzifc describes it."""

    def __init__(self, base):
        self.base = base
        self.name = base.__name__
        self.methods = dict((name, function) for name, function in vars(base).items() if _METHOD.match(name))
        self.prefix = ''.join(set(name[:name.index('_') + 1] for name in self.methods))

    def required(self):
        return sorted(name for name, function in self.methods.items() if '(required)' in (function.__doc__ or ''))


INTERFACES = dict((base, Interface(base)) for base in (getattr(kzifc, name) for name in kzifc.__all__))


class Blessing(object):
    """One call of kz.bless in the file."""

    def __init__(self, cls, name, tags=None, meta=None):
        self.cls, self.name, self.tags, self.meta = cls, name, tags, meta
        self.line = sys._getframe(2).f_lineno


class Finding(object):
    def __init__(self, path, line, text, is_note=False):
        self.path, self.line, self.text, self.is_note = path, line, text, is_note

    def __str__(self):
        return '%s:%d: %s%s' % (self.path, self.line, 'note: ' if self.is_note else '', self.text)


def interfaces_of(cls):
    """The interfaces of a class, in the order in which the host sees them."""
    return [INTERFACES[base] for base in files.interface_bases(cls)]


def own_attributes(cls):
    """The attributes of the class and its bases, except those of the kzifc classes. The nearest definition wins."""
    attributes = {}
    for base in reversed(inspect.getmro(cls)):
        if base not in INTERFACES and base is not object:
            attributes.update(vars(base))
    return attributes


def a_list(names):
    return ', '.join(sorted(set(names)))


class ClassCheck(object):
    """The findings about one class."""

    def __init__(self, path, line, title, cls, types):
        self.path, self.line, self.title, self.cls = path, line, title, cls
        self.types = types  # the names of the value types that the file blesses
        self.findings = []

    def tell(self, line, text, is_note=False):
        self.findings.append(Finding(self.path, line, '%s: %s' % (self.title, text), is_note))

    def run(self, meta=None, is_blessed=True):
        if not isinstance(self.cls, type):
            self.tell(self.line, 'only a class derived from object can be a server')
            return self.findings
        self.interfaces = interfaces_of(self.cls)
        if not self.interfaces:
            self.tell(self.line, 'it implements no interface: derive it from a class of kzifc')
            return self.findings
        self.methods = {}
        for interface in self.interfaces:
            if not _kzserv.is_called(interface.name):
                self.tell(self.line, 'this host never calls %s' % interface.name, is_note=True)
            self.methods.update(interface.methods)
        self.attributes = own_attributes(self.cls)
        for name, value in sorted(self.attributes.items()):
            self.check_method(name, value)
        command_check.check(self)
        self.check_required()
        if is_blessed:  # instances of other classes are made by the file itself
            self.check_init(meta)
        return self.findings

    def check_method(self, name, value):
        line = line_of(value, self.path, self.line)
        if name in self.methods:
            if not is_method(value):
                self.tell(line, '%s is not a method' % name)
                return
            count = len(inspect.getargspec(self.methods[name]).args) - 1
            fits, described = takes(value, count)
            if not fits:
                self.tell(line, '%s is called with %s after self, but takes %s' % (name, plural(count), described))
            return
        match = _METHOD.match(name)
        if match is None or not is_method(value):
            return
        prefix = match.group(1)
        near = self.nearest(name, prefix)
        owners = [other.name for other in INTERFACES.values() if name in other.methods]
        if near is not None:
            self.tell(line, 'no interface has a method %s; did you mean %s?' % (name, near))
        elif owners:
            self.tell(line, '%s belongs to %s, which the class does not implement' % (name, a_list(owners)))
        elif match.group(2)[0].isupper():  # written like a method of an interface
            self.check_prefix(line, name, prefix)

    def check_prefix(self, line, name, prefix):
        owners = [other.name for other in INTERFACES.values() if other.prefix == prefix]
        own = [interface.name for interface in self.interfaces if interface.prefix == prefix]
        if own:
            self.tell(line, '%s has no method %s' % (a_list(own), name))
        elif owners:
            self.tell(line, '%s: the prefix %s belongs to %s, which the class does not implement' %
                      (name, prefix, a_list(owners)))

    def nearest(self, name, prefix):
        """The method that was meant, if any. A prefix unlike those of the class's interfaces marks a helper."""
        if any(name in other.methods for other in INTERFACES.values()):
            return None
        prefixes = [each.prefix for each in self.interfaces if likeness(prefix.lower(), each.prefix) >= CLOSE]
        return nearest(name, [known for known in self.methods if known[:known.index('_') + 1] in prefixes])

    def check_required(self):
        if '__getattr__' in self.attributes or '__getattribute__' in self.attributes:
            return  # its attributes are known only at run time
        for interface in self.interfaces:
            for name in interface.required():
                if name not in self.attributes:
                    self.tell(self.line, 'the method %s, which %s requires, is missing' % (name, interface.name))

    def check_init(self, meta):
        init = self.attributes.get('__init__')
        count = 0 if meta is None else 1
        if init is not None and not takes(init, count)[0]:
            self.tell(line_of(init, self.path, self.line), '__init__ is called with %s after self: %s' %
                      (plural(count), 'there is no meta object' if count == 0 else 'the meta object'))


def is_class_of(module, value):
    """Whether the value is a new-style class that the module itself defines."""
    try:
        return isinstance(value, type) and value.__module__ == module.__name__
    except Exception:  # a metaclass may run any code
        return False


def has_text(value):
    try:
        str(value)
    except Exception:
        return False
    return True


class FileCheck(object):
    def __init__(self, path):
        self.path = path
        self.blessings = []
        self.findings = []
        self.names = set()
        self.seen = set()  # the classes of servers, and their base classes

    def bless(self, cls, name, tags=None, meta=None):
        """Replaces kz.bless while the file is imported."""
        if not isinstance(name, basestring):
            raise TypeError('the name of a server must be a text')
        if not name.startswith(':'):
            self.blessings.append(Blessing(cls, name, tags, meta))

    def tell(self, line, text, is_note=False):
        self.findings.append(Finding(self.path, line, text, is_note))

    def run(self):
        module = files.new_module(self.path, files.free_name(self.path))
        real, kz.bless = kz.bless, self.bless
        try:
            files.run(module, files.read(self.path))
            name_check.NameCheck(module, self.tell).run(ast.parse(files.read(self.path)))
        except:
            self.tell_failure(*sys.exc_info())
        finally:
            kz.bless = real
            files.publish(module.__name__, None)
        for blessing in self.blessings:
            title = 'server "%s"' % files.printable(blessing.name)
            self.guarded(blessing.line, title, self.check, blessing, title)
        self.check_unblessed([value for value in vars(module).values() if is_class_of(module, value)])
        return sorted(self.findings, key=lambda finding: finding.line)

    def guarded(self, line, title, action, *args):
        """Runs a check. Looking at a class may run any code, so whatever that raises becomes a finding."""
        try:
            action(*args)
        except Exception:
            kind, value, _ = sys.exc_info()
            self.tell(line, '%s cannot be checked: %s' % (title, files.describe(kind, value)))

    def types(self):
        classes = [each for each in self.blessings if isinstance(each.cls, type)]
        return [each.name for each in classes if issubclass(each.cls, kzifc.Value)]

    def tell_failure(self, kind, value, trace):
        line = getattr(value, 'lineno', None) if kind is SyntaxError else None
        for name, number, _, _ in files.frames_below(trace, self.path):
            if name == self.path and kind is not SyntaxError:
                line = number  # the innermost frame wins
        self.tell(line or 1, 'it cannot be imported: ' + files.describe(kind, value))

    def check(self, blessing, server):
        if not has_text(blessing.name) or '\0' in blessing.name:
            self.tell(blessing.line, '%s: its name must be plain ASCII' % server)
        self.check_name(blessing)
        pending = [(server, blessing.cls, blessing.meta)]
        seen = []
        while pending:
            title, cls, meta = pending.pop(0)
            if (cls, meta) in seen:
                continue
            seen.append((cls, meta))
            self.seen.update(inspect.getmro(cls) if isinstance(cls, type) else ())
            self.findings += ClassCheck(self.path, blessing.line, title, cls, self.types()).run(meta)
            pending += self.sub_servers(blessing, title, meta)
        tags = blessing.tags
        if tags is not None and not isinstance(tags, dict):
            self.tell(blessing.line, '%s: its tags are not a dictionary' % server)
        elif tags and not all(has_text(key) and has_text(value) for key, value in tags.items()):
            self.tell(blessing.line, '%s: a key or value of its tags has no str() form' % server)

    def check_unblessed(self, classes):
        """Checks classes whose objects the file may pass to the host. Base classes are checked as part of these."""
        lines = dict((node.name, node.lineno) for node in ast.walk(ast.parse(files.read(self.path)))
                     if isinstance(node, ast.ClassDef)) if classes else {}
        bases = set(base for cls in classes for base in inspect.getmro(cls)[1:])
        for cls in classes:
            if cls not in bases and cls not in self.seen and interfaces_of(cls):
                line, title = lines.get(cls.__name__, 1), 'class "%s"' % cls.__name__
                self.guarded(line, title, self.check_class, line, title, cls)

    def check_class(self, line, title, cls):
        self.findings += ClassCheck(self.path, line, title, cls, self.types()).run(is_blessed=False)

    def sub_servers(self, blessing, title, meta):
        found = []
        items = getattr(meta, '_sub_ifcs', ())
        if not hasattr(items, '__getitem__'):
            self.tell(blessing.line, '%s: its _sub_ifcs is not a sequence' % title)
            return found
        for item in items:
            try:
                cls, sub_meta = item
            except (TypeError, ValueError):
                self.tell(blessing.line, '%s: each item of its _sub_ifcs must be a pair of a class and its meta object' %
                          title)
                continue
            found.append(('%s, sub-server %s' % (title, getattr(cls, '__name__', repr(cls))), cls, sub_meta))
        return found

    def check_name(self, blessing):
        interfaces = interfaces_of(blessing.cls)
        if interfaces and interfaces[0].base is kzifc.Command and not command_check.can_be_called(blessing.name):
            self.tell(blessing.line, 'server "%s": no command string calls it; the name of a command is one word, and '
                      'begins with a letter' % blessing.name)
        key = (blessing.name, interfaces[0].name if interfaces else None)
        if key in self.names:
            self.tell(blessing.line, 'server "%s" is blessed twice for one interface' % blessing.name)
        self.names.add(key)


def main(paths):
    """Checks the files, prints what was found, and returns the exit code."""
    findings = []
    for path in paths:
        findings += FileCheck(os.path.abspath(path)).run()
    for finding in findings:
        print finding
    return 1 if any(not finding.is_note for finding in findings) else 0
