# The plug-in, the model, the stubs and the manifest say the same: names, order, signatures, values and the hash.
# Arguments: kzhost, the kit's folder, the model.
import ast
import json
import os
import subprocess
import sys
import tempfile

kzhost, kit, model_path = sys.argv[1:]
here = os.path.dirname(os.path.abspath(__file__))
manifest_path = os.path.join(kit, 'Scripts', 'kzserv', 'description.json')
STUBS = ['kz/object.pyi', 'kz/service.pyi', 'kz/symbol.pyi', 'kz/result.pyi', 'kzifc/__init__.pyi']
problems = []


def equal(what, found, expected):
    if found != expected:
        problems.append('%s: %r instead of %r' % (what, found, expected))


def read(path):
    with open(path) as stream:
        return stream.read()


def run(*arguments):
    done = subprocess.run([kzhost, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    return done.returncode, done.stdout, done.stderr


def stub(name):
    tree = ast.parse(read(os.path.join(kit, 'stubs', name)))
    classes = {each.name: each for each in tree.body if isinstance(each, ast.ClassDef)}
    values = {each.target.id: ast.literal_eval(each.value) for each in tree.body
              if isinstance(each, ast.AnnAssign) and each.value is not None}
    return tree, classes, values


def functions(cls):
    return [each for each in cls.body if isinstance(each, ast.FunctionDef)]


def arguments(function):
    return [each.arg[2:] if each.arg.startswith('__') else each.arg for each in function.args.args[1:]]


def texts(function):
    """The first line of the docstring, and the rest as words."""
    first, _, rest = ast.get_docstring(function).partition('\n')
    return first, rest.split()


PLAIN = {'int': 'int', 'uint': 'int', 'size': 'int', 'id': 'int', 'pointer': 'int', 'float': 'float', 'double': 'float',
         'guid': 'str', 'string': '_kinds.Text'}


def check_stub(what, function, signature, summary, inputs):
    equal(what + ', stub', texts(function), (signature, (summary or '').split()))
    equal(what + ', stub', arguments(function), inputs)


model, manifest = json.loads(read(model_path)), json.loads(read(manifest_path))
status, output, errors = run('run', os.path.join(here, 'what_python_has.py'))
if status != 0:
    sys.exit('kzhost ends with %d\n%s' % (status, errors))
python = json.loads(output)
stubs = {name: stub(name) for name in STUBS}

# Types and their methods.
expected = {'object': {}, 'service': {}, 'kzifc': {}}
symbols, codes = {}, {}
for header in model['headers']:
    for each in header['interfaces']:
        if 'type' in each:
            expected['service' if each['service'] else 'object'][each['name']] = each
        if any('served' in method for method in each['methods']) or 'base' in each:
            expected['kzifc'][each['name']] = each
    symbols.update((each['name'], each['value']) for group in header['groups'] for each in group['symbols'])
    codes.update((each['name'], each['value']) for each in header['codes'])

for kind, path in (('object', 'kz/object.pyi'), ('service', 'kz/service.pyi')):
    extra = {'Unknown', 'storage', 'Wrapper', 'Service'}
    for source, names in (('Python', python[kind]), ('stub', stubs[path][1]), ('manifest', manifest[kind])):
        equal('%s of the %s' % (kind, source), sorted(set(names) - extra), sorted(expected[kind]))
    for name, each in expected[kind].items():
        rows = each['methods']
        what = 'kz.%s.%s' % (kind, name)
        equal(what, python[kind][name], [[row['name'], row['doc']] for row in rows])
        equal(what + ', manifest', manifest[kind][name][1],
              [[row['name'], row['signature'], row.get('summary', '')] for row in rows])
        found = functions(stubs[path][1][name])
        equal(what + ', stub', [each.name for each in found], [row['name'] for row in rows])
        for function, row in zip(found, rows):
            check_stub(what + '.' + row['name'], function, row['signature'], row.get('summary'),
                       [each['name'] for each in row['inputs']])
            for argument, given in zip(function.args.args[1:], row['inputs']):
                if given['kind'] in PLAIN:
                    equal(what, ast.unparse(argument.annotation), PLAIN[given['kind']])

for name in sorted(set(python['kzifc']) | set(stubs['kzifc/__init__.pyi'][1]) | set(expected['kzifc'])):
    rows = [row for row in expected['kzifc'][name]['methods'] if 'name' in row['served']]
    operations = [[row['served']['name'], row['served']['arguments']] for row in rows]
    equal('kzifc.' + name, python['kzifc'][name], operations)
    equal('kzifc.%s, manifest' % name, [each[0] for each in manifest['kzifc'][name][1]], [each[0] for each in operations])
    found = functions(stubs['kzifc/__init__.pyi'][1][name])
    equal('kzifc.%s, stub' % name, [[each.name, arguments(each)] for each in found], operations)
    for function, row in zip(found, manifest['kzifc'][name][1]):
        equal('kzifc.%s, stub' % name, texts(function), (row[1], row[2].split()))

# Constants and codes.
for name, expected in (('symbol', symbols), ('result', codes)):
    for source, values in (('Python', python[name]), ('manifest', manifest[name]),
                           ('stub', stubs['kz/%s.pyi' % name][2])):
        differing = {key for key in set(values) | set(expected) if values.get(key) != expected.get(key)}
        equal('kz.%s of the %s' % (name, source), sorted(differing), [])
for name, family in model['families'].items():
    equal('family ' + name, [each for each in family['symbols'] if each not in symbols], [])

# What is written by hand.
kz, kzu, command = (stub(name) for name in ('kz/__init__.pyi', 'kzu/object.pyi', 'kzu/command.pyi'))
names = [getattr(each, 'name', '') for each in kz[0].body] + [
    each.name for line in kz[0].body if isinstance(line, ast.ImportFrom) for each in line.names if each.asname]
equal('kz', sorted(set(filter(None, names)) - {''}), python['written']['kz'])
equal('kzu.object', sorted(kzu[1]), python['written']['kzu.object'])
chosen = {each.name for line in stub('kz/_returned.pyi')[0].body for each in line.names} - {'*'}
equal('kz._returned', sorted(chosen), python['written']['kzu.object'])
for cls in ('Storage', 'Service', 'Monitor'):
    equal('kz.' + cls, sorted({each.name for each in functions(kz[1][cls]) if not each.name.startswith('_')}),
          python['written']['kz.' + cls])

# One hash, and no other.
paths = [model_path, manifest_path] + [os.path.join(kit, 'stubs', name) for name in STUBS]
equal('the hashes', run('-m', 'kzserv.description', *paths), (0, '', ''))
with tempfile.TemporaryDirectory() as folder:
    for path in paths:
        stale = os.path.join(folder, os.path.basename(path))
        with open(stale, 'w') as stream:
            stream.write(read(path).replace(model['hash'], '0' * 40))
        equal('a stale part', run('-m', 'kzserv.description', stale)[::2], (1, (
            '%s: the hash of its SDK description is %s, that of the plug-in is %s\n' % (stale, '0' * 40, model['hash']))))

# What help() shows, below the docstring.
shown = run('-c', 'import kz; help(kz.object.Mesh.BoundingBox); import kzifc; help(kzifc.Tree)')[1]
for row in (row for each in ('Mesh', 'Tree') for header in model['headers'] for interface in header['interfaces']
            if interface['name'] == each and not interface['service'] for row in interface['methods']):
    if row['name'] == 'BoundingBox' or 'served' in row and 'name' in row['served']:
        text = row['signature'].replace(row['name'], row.get('served', row)['name'], 1)
        equal('help for ' + text, text in shown, True)

for problem in problems[:20]:
    print(problem[:400])
sys.exit('%d problems' % len(problems) if problems else 0)
