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

FOLDER = 'servers'
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


def import_file(path):
    """Imports one file as a module of its own and returns it. What it raises goes on to the caller."""
    with open(path, 'rU') as stream:
        source = stream.read()
    code = compile(source, path, 'exec', dont_inherit=True)
    name = _free_name(path)
    module = types.ModuleType('%s.%s' % (_parent.__name__, name))
    module.__file__ = path
    sys.modules[module.__name__] = module
    setattr(_parent, name, module)
    try:
        exec code in module.__dict__
    except:
        del sys.modules[module.__name__]
        delattr(_parent, name)
        raise
    return module


def frames_below(trace, path):
    """The traceback's entries from the file's own first line inward; all when it has none of the file."""
    entries = traceback.extract_tb(trace)
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


def import_all():
    for path in find():
        try:
            import_file(path)
        except:  # SystemExit too: no file ends the host
            report(path)
