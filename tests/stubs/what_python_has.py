# Prints as JSON what the plug-in has: types with their methods in the order of their tables, constants and codes.
import ctypes
import inspect
import json

import kz
import kzifc
import kzu.object

GENERIC = ['set', 'test', '__eq__', '__hash__', '__peekobj__']
HEADER = object.__basicsize__ + 2 * ctypes.sizeof(ctypes.c_void_p)  # of a method descriptor, before its row's address


def methods_of(cls):
    found = [each for each in vars(cls).values() if type(each) is type(list.append) and each.__name__ not in GENERIC]
    return [{'name': each.__name__, 'doc': each.__doc__}
            for each in sorted(found, key=lambda each: ctypes.c_void_p.from_address(id(each) + HEADER).value)]


def operations_of(cls):
    found = sorted(((each.__code__.co_firstlineno, each) for each in vars(cls).values() if inspect.isfunction(each)))
    for _, each in found:
        try:
            each(*range(each.__code__.co_argcount))
        except NotImplementedError:
            continue
        raise AssertionError(each)
    return [{'name': each.__name__, 'arguments': inspect.getargspec(each).args[1:]} for _, each in found]


def types_of(module, rows_of):
    return dict((name, rows_of(getattr(module, name))) for name in dir(module)
                if isinstance(getattr(module, name), type) and name not in ('Unknown', 'storage'))


def public(owner):
    return [name for name in dir(owner) if not name.startswith('_')]


print json.dumps({
    'types': {'object': types_of(kz.object, methods_of), 'service': types_of(kz.service, methods_of),
              'kzifc': types_of(kzifc, operations_of)},
    'values': dict((name, dict((each, getattr(module, each)) for each in public(module)))
                   for name, module in (('symbol', kz.symbol), ('result', kz.result))),
    'written': {'kz': public(kz), 'Storage': public(kz.Storage), 'Service': public(kz.Service),
                'Monitor': public(kz.Monitor), 'kzu.object': [
                    name for name in public(kzu.object) if isinstance(getattr(kzu.object, name), type)]}})
