# mypy accepts the examples for Python 2 and rejects each of the calls below with the words beside it. Argument: the stubs.
import os
import subprocess
import sys
import tempfile

WRONG = '''
import kz, kzifc, kzu.command
mesh = kz.service.Mesh().Create()
mesh.PointCont()                                    # no attribute "PointCont"
mesh.AddPoint(1.0)                                  # incompatible type "float"
mesh.AddPoint((1, 2, 3), 4)                         # Too many arguments
mesh.Merge(mesh)                                    # Too few arguments
mesh.Merge(mesh, "all")                             # incompatible type "str"; expected "int"
mesh.Merge(kz.service.Scene().Create(""), 0)        # incompatible type "Scene"
mesh.Merge(other=mesh, flags=0)                     # Unexpected keyword argument
mesh.MergeWithTransform(mesh, (1, 2, 3), 0)         # expected "Sequence[Sequence[float]]"
mesh.AddPoints(8, [1.0])                            # expected "Optional[Storage]"
mesh.PointCount() + "x"                             # Unsupported operand types
low, high, far = mesh.BoundingBox(0)                # Need more than 2 values
kz.service.Mesch()                                  # no attribute "Mesch"
kz.object.Item(mesh).Mesh()                         # no attribute "Mesh"
for value in kz.service.Mesh().Create(): pass       # "Mesh" has no attribute "__iter__"
for value in kz.service.Value().CreateValueArray("string"): pass
kz.symbol.fMESHMERGE_NONE                           # no attribute "fMESHMERGE_NONE"
kz.symbol.sITYPE_MESH + 1                           # cannot be "int"
kz.result.NOT_FOUND                                 # no attribute "NOT_FOUND"
kz.evaluate("x")                                    # no attribute "evaluate"
kz.eval(1)                                          # incompatible type "int"
kz.Storage(8, "double")                             # incompatible type "str"; expected "int"
kz.bless("Mesh", "mesh")                            # expected "type"
kzu.command.Argument("size")                        # Missing positional argument "kind"
class Lift(kzifc.MeshOperatio): pass                # not defined
'''


def examples(folder):
    for path, _, names in os.walk(folder):
        for name in sorted(names):
            if name.endswith('.py') and name not in ('report.py', 'run_dask.py'):  # which are for Python 3
                yield os.path.join(path, name)


def mypy(*paths):
    done = subprocess.run([sys.executable, '-m', 'mypy', '--py2', '--check-untyped-defs', '--no-error-summary',
                           '--cache-dir', cache, *paths], stdout=subprocess.PIPE, text=True,
                          env=dict(os.environ, MYPYPATH=sys.argv[1]))
    return [line for line in done.stdout.splitlines() if ': note: ' not in line]


with tempfile.TemporaryDirectory() as cache:
    root = os.path.join(os.path.dirname(os.path.abspath(__file__)), '../..')
    good = list(examples(os.path.join(root, 'examples')))
    assert len(good) >= 12, good
    found = mypy(*good)
    wrong = os.path.join(cache, 'wrong.py')
    with open(wrong, 'w') as stream:
        stream.write(WRONG)
    refused = mypy(wrong)
    for number, line in enumerate(WRONG.splitlines(), 1):
        words = line.partition('  # ')[2]
        at = [each for each in refused if each.startswith('%s:%d:' % (wrong, number))]
        if bool(words) != any(words in each for each in at) or at and not words:
            found.append('line %d, %r: %s' % (number, line, at))
sys.exit('\n'.join(found) or 0)
