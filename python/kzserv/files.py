"""Finding and importing server files.

A server file is a *.py in a folder named "servers" below one of the folders that Python imports from: the user's
scripts folder, the import paths of the host, and the host's own folders. Folders are searched in the order of sys.path,
the files of a folder are ordered by name, and no file is imported twice. A file whose name begins with a dot is skipped
with a note in the log. If a file cannot be imported, the log subsystem "servers" gets an entry, and the other files are
still imported.
"""

from __future__ import absolute_import

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
    """The text as the log can show it: a str without NUL bytes."""
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
            if not name.endswith('.py') or not os.path.isfile(path) or os.path.realpath(path) in known:
                continue
            known.add(os.path.realpath(path))
            if not name.startswith('.'):
                found.append(path)
            elif path not in _hidden:
                _hidden.add(path)
                note('%s: not imported, as its name begins with a dot' % path)
    return found


_hidden = set()  # the skipped files that the log has a note for

# The parent of the files' modules, through which they can import each other: from kzserv.servers import watch.
_parent = types.ModuleType('kzserv.servers', 'The server files that have been imported.')
_parent.__path__ = []
sys.modules[_parent.__name__] = _parent
PREFIX = _parent.__name__ + '.'

_names = {}  # real path -> module name: a file keeps its name even if other files come and go


def name_of(path):
    """The name of the file's module: the file's own, with a number appended if another file has that name already."""
    path = os.path.realpath(path)
    if path not in _names:
        _names[path] = free_name(path)
    return _names[path]


def free_name(path):
    stem = name = os.path.splitext(os.path.basename(path))[0]
    number = 1
    while name in _names.values() or hasattr(_parent, name):
        number += 1
        name = '%s_%d' % (stem, number)
    return name


def read(path):
    with open(path, 'rU') as stream:
        return stream.read()


def new_module(path, name):
    module = types.ModuleType(PREFIX + name)
    module.__file__ = path
    return module


def run(module, source):
    """Runs a file's text as its module, which is already in sys.modules. Exceptions propagate to the caller."""
    # Imports are absolute: a server file may have the name of a standard module, which other files must still find.
    code = compile(source, module.__file__, 'exec', absolute_import.compiler_flag, True)
    publish(module.__name__, module)
    exec code in module.__dict__


def publish(full_name, module):
    name = full_name[len(PREFIX):]
    if module is not None:
        sys.modules[full_name] = module
        setattr(_parent, name, module)
    else:
        sys.modules.pop(full_name, None)
        vars(_parent).pop(name, None)


def interface_bases(cls):
    """The classes of kzifc that a class derives from, in the order in which the host sees its interfaces."""
    found = []
    for base in getattr(cls, '__bases__', ()):
        found.extend([base] if vars(kzifc).get(base.__name__) is base else interface_bases(base))
    return found


def frames_below(trace, path):
    """The traceback's entries from the file's outermost frame inward; all of them if it has none of the file."""
    entries = [entry for entry in traceback.extract_tb(trace) if os.path.dirname(entry[0]) != _HERE]
    for index, entry in enumerate(entries):
        if entry[0] == path:
            return entries[index:]
    return entries


def describe(kind, value):
    """An exception as one line, whatever its text contains."""
    try:
        lines = traceback.format_exception_only(kind, value)
        return printable(lines[-1].strip())
    except Exception:  # its __str__ may raise anything
        return getattr(kind, '__name__', 'exception')


def note(text):
    log = kz.service.Log()
    log.SubSystemLookup('servers').AddEntry(log.CreateEntry(_INFO, printable(text)))


def report(path):
    """Writes one log entry for the exception that is being handled, with its traceback as child entries."""
    kind, value, trace = sys.exc_info()
    try:
        log = kz.service.Log()
        entry = log.CreateEntry(_FAILED, printable('%s: %s' % (path, describe(kind, value))))
        for name, line, _, _ in reversed(frames_below(trace, path)[-50:]):
            entry.AddEntry(log.CreateEntry(_INFO, printable(' .. %s: %d' % (name, line))))
        log.SubSystemLookup('servers').AddEntry(entry)
    except Exception:  # a host without such a log gets the exception like any other
        kz.outEx(printable(path))
    finally:
        del trace
