"""Finding and importing server files.

A server file is a *.py in a folder named "servers" below one of the folders that Python imports from: the scripts
folder of the user, the import paths of the host, and the host's own. Folders come in the order of sys.path, the files
of one folder by name, and no file twice. A file that cannot be imported is told in the log, in the subsystem
"servers", and the others are imported all the same.
"""

import os
import sys
import traceback
import types

import kz
import kzifc

FOLDER = 'servers'
_HERE = os.path.dirname(os.path.abspath(__file__))
_FAILED = 0x80000000
_INFO = 1


def printable(text):
    """The text as the log can show it: a str without zero bytes."""
    if isinstance(text, unicode):
        text = text.encode('utf-8')
    return str(text).replace('\0', '\\x00')


def find():
    """The paths of all server files, in the order in which they are imported."""
    found = []
    known = set()
    for folder in sys.path:
        if not isinstance(folder, basestring) or not os.path.isabs(folder):
            continue
        folder = os.path.join(folder, FOLDER)
        if not os.path.isdir(folder):
            continue
        for name in sorted(os.listdir(folder)):
            path = os.path.join(folder, name)
            if name.endswith('.py') and os.path.isfile(path) and os.path.realpath(path) not in known:
                known.add(os.path.realpath(path))
                found.append(path)
    return found


# The files' modules are parts of this one, so that they can import each other: from kzserv.servers import watch.
_parent = types.ModuleType('kzserv.servers', 'The server files that have been imported.')
_parent.__path__ = []
sys.modules[_parent.__name__] = _parent


def _free_name(path):
    stem = name = os.path.splitext(os.path.basename(path))[0]
    number = 1
    while hasattr(_parent, name):
        number += 1
        name = '%s_%d' % (stem, number)
    return name


def read(path):
    with open(path, 'rU') as stream:
        return stream.read()


def import_file(path, source=None, former=None):
    """Imports one file as a module of its own and returns it. What it raises goes on to the caller. A module that it
    takes the place of stays if that happens."""
    code = compile(read(path) if source is None else source, path, 'exec', dont_inherit=True)
    name = former.__name__.rpartition('.')[2] if former is not None else _free_name(path)
    module = types.ModuleType('%s.%s' % (_parent.__name__, name))
    module.__file__ = path
    _publish(name, module)
    try:
        exec code in module.__dict__
    except:
        _publish(name, former)
        raise
    return module


def _publish(name, module):
    full_name = '%s.%s' % (_parent.__name__, name)
    if module is not None:
        sys.modules[full_name] = module
        setattr(_parent, name, module)
    else:
        del sys.modules[full_name]
        delattr(_parent, name)


def interface_bases(cls):
    """The classes of kzifc that a class is derived from, in the order in which the host sees its interfaces."""
    found = []
    for base in getattr(cls, '__bases__', ()):
        found.extend([base] if vars(kzifc).get(base.__name__) is base else interface_bases(base))
    return found


def frames_below(trace, path):
    """The traceback's entries from the file's own first line inward; all when it has none of the file."""
    entries = [entry for entry in traceback.extract_tb(trace) if os.path.dirname(entry[0]) != _HERE]
    for index, entry in enumerate(entries):
        if entry[0] == path:
            return entries[index:]
    return entries


def describe(kind, value):
    """An exception as one line, whatever its text is made of."""
    try:
        lines = traceback.format_exception_only(kind, value)
        return printable(lines[-1].strip())
    except Exception:  # its own __str__ may raise anything
        return getattr(kind, '__name__', 'exception')


def note(text):
    log = kz.service.Log()
    log.SubSystemLookup('servers').AddEntry(log.CreateEntry(_INFO, printable(text)))


def report(path):
    """One entry in the log for the exception that is being handled, with its traceback below."""
    kind, value, trace = sys.exc_info()
    try:
        log = kz.service.Log()
        entry = log.CreateEntry(_FAILED, printable('%s: %s' % (path, describe(kind, value))))
        for name, line, _, _ in reversed(frames_below(trace, path)[-50:]):
            entry.AddEntry(log.CreateEntry(_INFO, printable(' .. %s: %d' % (name, line))))
        log.SubSystemLookup('servers').AddEntry(entry)
    except Exception:  # a host without such a log: then as any other exception
        kz.outEx(printable(path))
    finally:
        del trace
