"""Looks over server files before the host uses them: `kzhost check FILE...`.

The files are imported, but what they bless is only noted, so the host does not see it. Then every class is compared
with the interfaces that it claims: names that look misspelt, methods that cannot take what the host passes, methods of
interfaces that the class does not have, and required methods that are missing.
"""

import difflib
import inspect
import os
import re
import sys

import kz
import kzifc

from kzserv import files

_METHOD = re.compile('([A-Za-z][A-Za-z0-9]*_)([A-Za-z]\w*)$')
_CLOSE = 0.75


class Interface(object):
    """What kzifc knows of one interface."""

    def __init__(self, base):
        self.base = base
        self.name = base.__name__
        self.methods = dict((name, function) for name, function in vars(base).items() if _METHOD.match(name))
        self.prefix = ''.join(set(name[:name.index('_') + 1] for name in self.methods))

    def required(self):
        return sorted(name for name, function in self.methods.items() if '(required)' in (function.__doc__ or ''))


INTERFACES = dict((base, Interface(base)) for base in vars(kzifc).values() if inspect.isclass(base))


class Blessing(object):
    """One call of kz.bless, as a file makes it."""

    def __init__(self, cls, name, tags=None, meta=None):
        self.cls, self.name, self.tags, self.meta = cls, name, tags, meta
        self.line = sys._getframe(2).f_lineno


class Finding(object):
    def __init__(self, path, line, text):
        self.path, self.line, self.text = path, line, text

    def __str__(self):
        return '%s:%d: %s' % (self.path, self.line, self.text)


def interfaces_of(cls):
    """The interfaces of a class in the order in which the host sees them."""
    return [INTERFACES[base] for base in files.interface_bases(cls)]


def own_attributes(cls):
    """What the class and its bases define, without what the interfaces' own classes do. The nearest definition wins."""
    attributes = {}
    for base in reversed(inspect.getmro(cls)):
        if base not in INTERFACES and base is not object:
            attributes.update(vars(base))
    return attributes


def function_of(value):
    """The function behind a method, and how many arguments it gets by itself; None for other callables."""
    if isinstance(value, staticmethod):
        return value.__get__(None, object), 0
    if isinstance(value, classmethod):
        return value.__get__(None, object).im_func, 1
    return (value, 1) if inspect.isfunction(value) else (None, 0)


def is_method(value):
    return callable(value) or hasattr(value, '__get__')


def takes(value, count):
    """Whether a method can be called with that many arguments, and how its own arguments read."""
    function, bound = function_of(value)
    if function is None:
        return True, ''
    names, rest, _, defaults = inspect.getargspec(function)
    most = len(names) - bound
    least = most - len(defaults or ())
    fits = least <= count and (rest is not None or count <= most)
    return fits, '%d' % most if least == most else '%d to %d' % (least, most)


def line_of(value, path, otherwise):
    """Where a method is written, if that is in the file."""
    function = function_of(value)[0]
    code = getattr(function, '__code__', None)
    return code.co_firstlineno if code is not None and code.co_filename == path else otherwise


def plural(count):
    return '%d argument%s' % (count, '' if count == 1 else 's')


def a_list(names):
    return ', '.join(sorted(set(names)))


class ClassCheck(object):
    """The findings about one class."""

    def __init__(self, path, line, title, cls):
        self.path, self.line, self.title, self.cls = path, line, title, cls
        self.findings = []

    def tell(self, line, text):
        self.findings.append(Finding(self.path, line, '%s: %s' % (self.title, text)))

    def run(self, meta=None):
        if not isinstance(self.cls, type):
            self.tell(self.line, 'only a class derived from object can be a server')
            return self.findings
        self.interfaces = interfaces_of(self.cls)
        if not self.interfaces:
            self.tell(self.line, 'it implements no interface: derive it from a class of kzifc')
            return self.findings
        self.methods = {}
        for interface in self.interfaces:
            self.methods.update(interface.methods)
        self.attributes = own_attributes(self.cls)
        for name, value in sorted(self.attributes.items()):
            self.check_method(name, value)
        self.check_required()
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
        near = self.nearest(name)
        owners = [other.name for other in INTERFACES.values() if name in other.methods]
        if near is not None:
            self.tell(line, 'no interface has a method %s; did you mean %s?' % (name, near))
        elif owners:
            self.tell(line, '%s belongs to %s, which the class does not implement' % (name, a_list(owners)))
        elif match.group(2)[0].isupper():  # as the interfaces' methods are written
            self.check_prefix(line, name, prefix)

    def check_prefix(self, line, name, prefix):
        owners = [other.name for other in INTERFACES.values() if other.prefix == prefix]
        own = [interface.name for interface in self.interfaces if interface.prefix == prefix]
        if own:
            self.tell(line, '%s has no method %s' % (a_list(own), name))
        elif owners:
            self.tell(line, '%s: the prefix %s belongs to %s, which the class does not implement' %
                      (name, prefix, a_list(owners)))
        else:
            self.tell(line, '%s: the prefix %s belongs to no interface' % (name, prefix))

    def nearest(self, name):
        """The method that was meant: it differs in letter case, in its prefix, or by a slip."""
        if any(name in other.methods for other in INTERFACES.values()):
            return None
        by_case = dict((known.lower(), known) for known in self.methods)
        if name.lower() in by_case:
            return by_case[name.lower()]
        close = difflib.get_close_matches(name, self.methods, 1, _CLOSE)
        return close[0] if close else None

    def check_required(self):
        if '__getattr__' in self.attributes or '__getattribute__' in self.attributes:
            return  # what it answers is known only when it is asked
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

    def bless(self, cls, name, tags=None, meta=None):
        """Stands in for kz.bless while the file is imported."""
        if not isinstance(name, basestring):
            raise TypeError('the name of a server is a text')
        if not name.startswith(':'):
            self.blessings.append(Blessing(cls, name, tags, meta))

    def tell(self, line, text):
        self.findings.append(Finding(self.path, line, text))

    def run(self):
        module = files.new_module(self.path, files.free_name(self.path))
        real, kz.bless = kz.bless, self.bless
        try:
            files.run(module, files.read(self.path))
        except:
            self.tell_failure(*sys.exc_info())
        finally:
            kz.bless = real
            files.publish(module.__name__, None)
        for blessing in self.blessings:
            try:
                self.check(blessing)
            except Exception:  # a class may do anything when it is looked at
                kind, value, _ = sys.exc_info()
                self.tell(blessing.line, 'server "%s" cannot be looked over: %s' %
                          (files.printable(blessing.name), files.describe(kind, value)))
        return sorted(self.findings, key=lambda finding: finding.line)

    def tell_failure(self, kind, value, trace):
        line = getattr(value, 'lineno', None) if kind is SyntaxError else None
        for name, number, _, _ in files.frames_below(trace, self.path):
            if name == self.path and kind is not SyntaxError:
                line = number  # the innermost
        self.tell(line or 1, 'it cannot be imported: ' + files.describe(kind, value))

    def check(self, blessing):
        server = 'server "%s"' % files.printable(blessing.name)
        if not has_text(blessing.name) or '\0' in blessing.name:
            self.tell(blessing.line, '%s: its name has to be plain ASCII' % server)
        self.check_name(blessing)
        pending = [(server, blessing.cls, blessing.meta)]
        seen = []
        while pending:
            title, cls, meta = pending.pop(0)
            if (cls, meta) in seen:
                continue
            seen.append((cls, meta))
            self.findings += ClassCheck(self.path, blessing.line, title, cls).run(meta)
            pending += self.sub_servers(blessing, title, meta)
        tags = blessing.tags
        if tags is not None and not isinstance(tags, dict):
            self.tell(blessing.line, '%s: its tags are no dictionary' % server)
        elif tags and not all(has_text(key) and has_text(value) for key, value in tags.items()):
            self.tell(blessing.line, '%s: a key or value of its tags has no str() form' % server)

    def sub_servers(self, blessing, title, meta):
        found = []
        items = getattr(meta, '_sub_ifcs', ())
        if not hasattr(items, '__getitem__'):
            self.tell(blessing.line, '%s: its _sub_ifcs is no sequence' % title)
            return found
        for item in items:
            try:
                cls, sub_meta = item
            except (TypeError, ValueError):
                self.tell(blessing.line, '%s: each of its _sub_ifcs is a pair of a class and its meta object' % title)
                continue
            found.append(('%s, sub-server %s' % (title, getattr(cls, '__name__', repr(cls))), cls, sub_meta))
        return found

    def check_name(self, blessing):
        interfaces = interfaces_of(blessing.cls)
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
    return 1 if findings else 0
