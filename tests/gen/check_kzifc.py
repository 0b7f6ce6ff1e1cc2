# The generated base classes under a plain interpreter: every interface with an adapter has one, is marked with it, and
# has every method that the host can call, which says that it is not implemented. Arguments: the package's parent folder, kzgen, the description.
import json
import subprocess
import sys
import types

sys.dont_write_bytecode = True
marked = {}
kz = types.ModuleType('kz')
kz.bless = lambda cls, name: marked.setdefault(name, cls)
sys.modules['kz'] = kz
sys.path.insert(0, sys.argv[1])
import kzifc

assert not marked, 'classes are made when they are asked for'
for name in kzifc.__all__:
    getattr(kzifc, name)
adapters = json.loads(subprocess.check_output(sys.argv[2:]))['adapters']
assert sorted(marked) == sorted(':' + str(name) for name in adapters), 'marks and adapters differ'
for mark, cls in marked.items():
    name = mark[1:]
    assert getattr(kzifc, name) is cls and (cls.__bases__, cls.__module__) == ((object,), 'kzifc'), name
    methods = [key for key in vars(cls) if not key.startswith('__')]
    assert len(methods) == adapters[name]['forwarded'], (name, methods)
    for method in methods:
        function = vars(cls)[method]
        assert method.startswith(adapters[name]['prefix'] + '_') and method + '(' in function.__doc__, (name, method)
        try:
            function(*range(function.__code__.co_argcount))
        except NotImplementedError:
            continue
        assert False, (name, method)
