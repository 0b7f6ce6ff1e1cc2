# The generated base classes under a plain interpreter: every interface with an adapter has one, is marked with it, and
# leaves all methods to those who derive from it. Arguments: the package's parent folder, kzgen, the description.
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

adapters = json.loads(subprocess.check_output(sys.argv[2:]))['adapters']
assert sorted(marked) == sorted(':' + str(name) for name in adapters), 'marks and adapters differ'
for mark, cls in marked.items():
    name = mark[1:]
    assert getattr(kzifc, name) is cls and cls.__bases__ == (object,), name
    defined = [key for key in vars(cls) if not key.startswith('__')]
    assert not defined, (name, defined)
    told = cls.__doc__.count(adapters[name]['prefix'] + '_')
    assert told >= adapters[name]['forwarded'], (name, told)
