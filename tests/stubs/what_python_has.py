# Prints as JSON what the plug-in has: types with their methods in the order of their tables, constants and codes.
import ctypes
import inspect
import json

import kz
import kzifc
import kzu.command
import kzu.object

GENERIC = ['set', 'test', '__eq__', '__hash__', '__peekobj__']
HEADER = object.__basicsize__ + 2 * ctypes.sizeof(ctypes.c_void_p)  # of a method descriptor, before its row's address


def row_of(method):
    return ctypes.c_void_p.from_address(id(method) + HEADER).value


def methods_of(cls):
    found = [each for each in vars(cls).values() if type(each) is type(list.append)]
    return [[each.__name__, each.__doc__] for each in sorted(found, key=row_of) if each.__name__ not in GENERIC]


def types_of(module):
    return dict((name, methods_of(cls)) for name, cls in vars(module).items() if isinstance(cls, type))


def operations_of(cls):
    found = [(function.__code__.co_firstlineno, name, inspect.getargspec(function).args[1:])
             for name, function in vars(cls).items() if inspect.isfunction(function)]
    return [each[1:] for each in sorted(found)]


def values_of(module):
    return dict(each for each in vars(module).items() if not each[0].startswith('__'))


def public(names):
    return sorted(name for name in names if not name.startswith('_'))


print json.dumps({
    'hash': kz.__description__, 'object': types_of(kz.object), 'service': types_of(kz.service),
    'kzifc': dict((name, operations_of(getattr(kzifc, name))) for name in kzifc.__all__),
    'symbol': values_of(kz.symbol), 'result': values_of(kz.result),
    'written': {
        'kz': public(dir(kz)), 'kzu.object': public(name for name, cls in vars(kzu.object).items() if isinstance(cls, type)),
        'kz.Storage': public(vars(kz.Storage)), 'kz.Service': public(vars(kz.Service)),
        'kz.Monitor': public(vars(kz.Monitor)),
        'kzu.command.Command': public(name for name in vars(kzu.command.Command) if '_' not in name or name[:3] == 'arg')}})
