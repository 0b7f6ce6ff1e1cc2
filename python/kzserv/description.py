"""What the SDK's description says about names: types, families of constants, and remarks. help() shows it.

    kzhost -m kzserv.description FILE...    refuses files made from another description than the plug-in
"""

import json
import os
import pydoc
import re
import sys
import textwrap

import kz

MANIFEST = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'description.json')
_HASH = re.compile('whose hash is ([0-9a-f]{40})|"hash": ?"([0-9a-f]{40})"')


def check(path):
    """Raises ValueError unless the file was made from the description that the plug-in was made from."""
    with open(path) as stream:
        match = _HASH.search(stream.read(4096))
    found = match.group(1) or match.group(2) if match else 'none that it names'
    if found != kz.__description__:
        raise ValueError('%s: the hash of its SDK description is %s, that of the plug-in is %s' %
                         (path, found, kz.__description__))


def load(path=MANIFEST):
    """The manifest: by module and type its summary and its methods, each with a name, a signature and remarks."""
    check(path)
    with open(path) as stream:
        return json.load(stream)


def _owner(thing, name):
    """The class of a method. pydoc asks for the functions of classes of kzifc, which do not know theirs."""
    for attribute in ('__objclass__', 'im_class'):
        if getattr(thing, attribute, None) is not None:
            return getattr(thing, attribute)
    if getattr(thing, '__module__', None) == 'kzifc':
        return next((each for each in vars(sys.modules['kzifc']).values() if getattr(each, '__dict__', {}).get(name) is thing),
                    None)
    return type(getattr(thing, '__self__', None))


class Texts(object):
    """The text for a method of kz.object, kz.service or kzifc, of whatever class has inherited it."""

    def __init__(self, manifest):
        self._texts = {}
        for module, prefix in (('object', 'kz.object'), ('service', 'kz.service'), ('kzifc', 'kzifc')):
            for name, (_, methods) in manifest[module].items():
                for method, signature, remarks in methods:
                    text = '\n'.join(textwrap.wrap(remarks, 80))
                    self._texts[prefix, name, method] = signature + ('\n\n' + text if text else '')

    def find(self, thing):
        name = getattr(thing, '__name__', None)
        for base in getattr(_owner(thing, name), '__mro__', ()):
            module, _, short = base.__name__.rpartition('.')
            text = self._texts.get((module or base.__module__, short, name))
            if text is not None:
                return text


_texts = []


def texts():
    """The texts of the plug-in's own description, read once. Raises EnvironmentError or ValueError."""
    if not _texts:
        _texts.append(Texts(load()))
    return _texts[0]


def documentation(thing):
    """The signature of a method, and what is remarked on it; for anything else, and without a description, its docstring."""
    try:
        text = texts().find(thing)
    except (EnvironmentError, ValueError):
        text = None
    return text or getattr(thing, '__doc__', None) or ''


def extend_help():
    """From now on pydoc shows these texts below docstrings. Does so once."""
    plain = pydoc.getdoc
    if hasattr(plain, 'without_description'):
        return
    try:
        texts()
    except (EnvironmentError, ValueError) as error:
        sys.stderr.write('help() shows docstrings alone: %s\n' % error)
        return

    def getdoc(thing):
        return '\n\n'.join(filter(None, (plain(thing), texts().find(thing))))
    getdoc.without_description = plain
    pydoc.getdoc = getdoc


def main(paths):
    status = 0
    for path in paths:
        try:
            check(path)
        except (EnvironmentError, ValueError) as error:
            sys.stderr.write('%s\n' % error)
            status = 1
    return status


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
