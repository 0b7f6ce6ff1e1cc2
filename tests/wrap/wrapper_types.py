"""Wrapper types themselves: construction, the methods that all have, classes derived from them, and what kz holds."""
import kz
import manifest
import values

from hostile import check, count, outcome

PARSING = TypeError, None


def each_object_type():
    for stem, name, isService, rows in manifest.TYPES:
        if not isService:
            yield stem, getattr(kz.object, name)


def constructors():
    item, scene = values.Host('Item'), values.Host('Scene')
    for stem, wrapper in each_object_type():
        host = values.Host(stem)
        made = wrapper(host)
        check(stem, (made.test(), made.__peekobj__()), (True, host.address))
        check(stem, wrapper(made).__peekobj__(), host.address)
        check(stem, wrapper(kz.object.Unknown(made)).__peekobj__(), host.address)
        check(stem, (wrapper().test(), wrapper().__peekobj__()), (False, 0))
        for source in (wrapper(), values.Peeks(0), scene if stem == 'Item' else item):
            check((stem, source), outcome(wrapper, source), values.NO_INTERFACE)
        for source in (None, 0):
            check((stem, source), outcome(wrapper, source), (RuntimeError, 'Object cannot be converted to interface'))
        check(stem, outcome(wrapper, host, 1), PARSING)
        check(stem, outcome(wrapper, values.Raising()), values.OWN)
    check('Unknown', kz.object.Unknown(item).__peekobj__(), item.address)


def generic_methods():
    for stem, wrapper in each_object_type():
        one, other = values.Host(stem), values.Host(stem)
        held = wrapper()
        for source, result in ((one, True), (other, True), (held, True), (None, False), (one, True), (0, False)):
            check(stem, held.set(source), result)
            check(stem, held.test(), result)
        check(stem, outcome(held.set, held), values.NO_INTERFACE)  # it is empty
        wrong = values.Host('Item' if stem != 'Item' else 'Scene')
        held.set(one)
        check(stem, (held.set(wrong), held.test()), (False, False))
        held.set(one)
        check(stem, outcome(held.set, values.Raising()), values.OWN)
        check(stem, held.__peekobj__(), one.address)  # a failed conversion changes nothing
        address = one.address
        check(stem, held.__hash__(), (address >> 4 | address << 60) & 2 ** 64 - 1)
        check(stem, type(held.__hash__()), long)
        twin = wrapper(one)
        check(stem, [held.__eq__(each) for each in (twin, one, other, None, 0)], [True, True, False, False, False])
        check(stem, wrapper().__eq__(None), True)
        check(stem, (held == twin, held != twin, held == held, len({held, twin})), (False, True, True, 2))
        for name, arguments in (('set', ()), ('set', (1, 2)), ('test', (1,)), ('__eq__', ()), ('__hash__', (1,)),
                                ('__peekobj__', (1,))):
            check((stem, name), outcome(getattr(held, name), *arguments), PARSING)
    docs = [getattr(kz.object.Unknown, name).__doc__ for name in ('set', 'test', '__eq__', '__hash__', '__peekobj__')]
    check('docs', docs, ['bool = set(object source)', 'bool = test()', None, None, 'obj id = __peekobj__()'])


class Derived(kz.object.Item):
    def __init__(self, note):
        self.note = note


class Elsewhere(kz.object.Item):
    """Is not what it says it is."""
    pointer = 0

    def __peekobj__(self):
        return self.pointer


def derived_classes():
    item, scene = values.Host('Item'), values.Host('Scene')
    derived = Derived('a note')
    check('empty', (derived.note, derived.test()), ('a note', False))
    check('empty', outcome(kz.object.Item, derived), values.NO_INTERFACE)
    derived.set(item)
    check('held', kz.object.Unknown(derived).__peekobj__(), item.address)
    elsewhere = Elsewhere(item)
    elsewhere.pointer = scene.address
    check('asked', kz.object.Scene(elsewhere).__peekobj__(), scene.address)
    service = type('File', (kz.service.File,), {})
    check('service', isinstance(service(), kz.service.File), True)


def foreign_objects():
    Base = type('Base', (object,), {})
    kz.bless(Base, ':Command')
    Text = type('Text', (Base,), {'__peekobj__': lambda self: 'no pointer'})
    Missing = type('Missing', (Base,), {'__getattr__': lambda self, name: {}[name]})
    for instance in (type('Plain', (Base,), {})(), Text(), Missing()):
        served = kz.object.Unknown(instance)
        check(type(instance), kz.extract(served) is instance, True)
    check('not served', outcome(kz.object.Unknown, object()), (RuntimeError, 'Object cannot be converted to interface'))
    check('extract', [kz.extract(None), kz.extract(0)], [None, None])
    check('extract', outcome(kz.extract, kz.object.Unknown()), values.NO_INTERFACE)
    check('extract', outcome(kz.extract, values.Host('Item')), (TypeError, None))
    check('extract', outcome(kz.extract), PARSING)


def names(module):
    return {name for name in vars(module) if not name.startswith('__')}


def contents():
    objects = {name for _, name, isService, _ in manifest.TYPES if not isService}
    services = {name for _, name, isService, _ in manifest.TYPES if isService}
    check('kz.object', names(kz.object), objects | {'Unknown', 'storage'})
    check('kz.service', names(kz.service), services)
    check('kz.ifc', names(kz.ifc), set())
    for module in (kz.object, kz.service):
        for name in names(module) - {'storage'}:
            made = getattr(module, name)
            check(name, (made.__name__, made.__module__, made.__basicsize__), (name, module.__name__, object.__basicsize__ + 8))
    check('kz.object.storage', kz.object.storage is kz.Storage, True)
    for title, module, expected in (('symbol', kz.symbol, manifest.SYMBOLS), ('result', kz.result, manifest.RESULTS)):
        check(title, names(module), set(expected))
        for name, value in expected.items():
            check((title, name), (type(getattr(module, name)), getattr(module, name)), (type(value), value))
    for name, code in manifest.RESULTS.items():
        if code >= 2 ** 31:
            try:
                kz.throw(code)
            except Exception:
                check(name, (kz.excResult(), kz.excResult()), (code, code))


def services():
    """A host that lacks the service says so, and no arguments are taken."""
    for stem, name, isService, rows in manifest.TYPES:
        if isService:
            wrapper = getattr(kz.service, name)
            check(name, outcome(wrapper, 1), PARSING)
            if name not in ('File', 'GUID', 'Log', 'Platform'):
                check(name, outcome(wrapper), (LookupError, 'not found'))


def hold():
    for work in (constructors, generic_methods, derived_classes, foreign_objects, contents, services):
        work()
    return {'checks': count[0], 'objects': len(names(kz.object)), 'services': len(names(kz.service)),
            'results': len(names(kz.result)), 'symbols': len(names(kz.symbol))}
