"""The checks of kzserv.check for classes derived from kzu.command.Command: the names of their methods, their arguments,
and whether execute takes what it is called with."""

import inspect
import re

import kz
from kzu.command import Argument, Command

from kzserv.methods import CLOSE, function_of, is_method, likeness, line_of, nearest, plural, takes

_OWN = ('execute', 'query', 'enabled', 'argument_enabled', 'prepare', 'argument_changed')
_SETTINGS = ('arguments', 'label', 'description', 'flags')


def can_be_called(name):
    """Whether a command string that begins with this name can call the command."""
    return re.match(r'[A-Za-z_][^\s{}"]*$', name) is not None


def check(found):
    """Checks the class of a ClassCheck as a command, and adds the findings to it."""
    if not issubclass(found.cls, Command) or found.cls is Command:
        return
    attributes = {}
    for base in reversed(inspect.getmro(found.cls)):
        if base not in inspect.getmro(Command):
            attributes.update(vars(base))
    for name, value in sorted(attributes.items()):
        _check_name(found, name, value, attributes)
    arguments = _check_arguments(found)
    if 'execute' in attributes and arguments is not None:
        _check_execute(found, attributes['execute'], arguments)


def _check_name(found, name, value, attributes):
    line = line_of(value, found.path, found.line)
    if name in _OWN:
        if not is_method(value):
            found.tell(line, '%s is not a method' % name)
        elif name != 'execute':
            count = len(inspect.getargspec(getattr(Command, name)).args) - 1
            fits, described = takes(value, count)
            if not fits:
                found.tell(line, '%s is called with %s after self, but takes %s' % (name, plural(count), described))
    elif not hasattr(Command, name) and not name.startswith('_'):
        near = _meant(name, _OWN if is_method(value) else _SETTINGS)
        if near is not None and near not in attributes:
            found.tell(line, 'kzu.command has no %s; did you mean %s?' % (name, near))


def _meant(name, known):
    """The known name that was meant, if any. It is compared word by word, because helpers may share words with it."""
    words = name.lower().split('_')
    for each in known:
        meant = each.split('_')
        if ''.join(words) == ''.join(meant) or len(words) == len(meant) and all(
                likeness(*pair) >= CLOSE for pair in zip(words, meant)):
            return each


def _check_arguments(found):
    """The names of the command's arguments; None if only an instance knows them."""
    arguments = found.cls.arguments
    if isinstance(arguments, property):
        return None
    if not isinstance(arguments, (list, tuple)) or not all(isinstance(each, Argument) for each in arguments):
        found.tell(found.line, 'arguments is not a list of Argument')
        return None
    names = []
    for each in arguments:
        if each.name in names:
            found.tell(found.line, 'argument "%s" occurs twice' % each.name)
        names.append(each.name)
        if not isinstance(each.name, str) or re.match(r'[A-Za-z0-9_.]+$', each.name) is None:
            found.tell(found.line, 'argument "%s": no command string can name it; use letters, digits, _ and .' %
                       (each.name,))
        _check_type(found, each)
    return names


def _check_type(found, argument):
    values = kz.service.Value()
    known = [values.TypeByIndex(index) for index in range(values.TypeCount())]
    kind = argument.kind
    if kind in known or isinstance(kind, str) and (kind in found.types or
                                                   kz.service.Host().IsServer('value', kind)):
        return
    near = nearest(kind, known) if isinstance(kind, str) else None
    found.tell(found.line, 'argument "%s": there is no value type "%s"%s' %
               (argument.name, kind, '; did you mean "%s"?' % near if near is not None else ''))


def _check_execute(found, execute, arguments):
    function, bound = function_of(execute)
    if function is None:
        return
    names, _, named, defaults = inspect.getargspec(function)
    names = names[bound:]
    line = line_of(execute, found.path, found.line)
    for name in arguments:
        if name not in names and named is None:
            found.tell(line, 'execute is called with the argument "%s", which it does not take' % name)
    for name in names[:len(names) - len(defaults or ())]:
        if name not in arguments:
            found.tell(line, 'execute takes "%s", which is not an argument of the command' % (name,))
