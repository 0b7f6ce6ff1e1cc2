# The plug-in, the stubs and the manifest have what the model has: names, order, signatures, values and the hash.
# Arguments: kzhost, the kit's folder, the model.
import ast
import json
import os
import subprocess
import sys
import tempfile

kzhost, kit, model_path = sys.argv[1:]
manifest_path = os.path.join(kit, 'Scripts/kzserv/description.json')
STUBS = {'object': 'kz/object.pyi', 'service': 'kz/service.pyi', 'kzifc': 'kzifc/__init__.pyi',
         'symbol': 'kz/symbol.pyi', 'result': 'kz/result.pyi'}
NUMBERS = {'float': 'float', 'double': 'float', **dict.fromkeys(('int', 'uint', 'size', 'id', 'pointer'), 'int')}
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


def stub(path):
    return ast.parse(read(os.path.join(kit, 'stubs', path))).body


def row_of_stub(function):
    """With the types of the arguments that are numbers."""
    first, _, rest = ast.get_docstring(function).partition('\n')
    arguments = function.args.args[1:]
    types = {each.arg.lstrip('_'): ast.unparse(each.annotation) for each in arguments}
    return {'name': function.name, 'arguments': [each.arg.lstrip('_') for each in arguments], 'signature': first,
            'remarks': rest.split(), 'numbers': {name: kind for name, kind in types.items() if kind in ('int', 'float')}}


def rows_of_class(cls):
    return [row_of_stub(each) for each in cls.body if isinstance(each, ast.FunctionDef)]


def row_of_model(method, served):
    name, arguments = method['name'], [each['name'] for each in method['inputs']]
    if served:
        name, arguments = method['served']['name'], method['served']['arguments']
    numbers = {argument: NUMBERS[each['kind']] for argument, each in zip(arguments, method['inputs'])
               if each['kind'] in NUMBERS}
    return {'name': name, 'arguments': arguments, 'signature': method['signature'].replace(method['name'], name, 1),
            'remarks': method.get('summary', '').split(), 'numbers': numbers, 'doc': method['doc']}


# What the model says, and then what each of the others does: rows of methods by kind and type, and values.
model, manifest = json.loads(read(model_path)), json.loads(read(manifest_path))
types, values = {'object': {}, 'service': {}, 'kzifc': {}}, {'symbol': {}, 'result': {}}
for header in model['headers']:
    for each in header['interfaces']:
        if 'type' in each:
            types['service' if each['service'] else 'object'][each['name']] = [
                row_of_model(method, False) for method in each['methods']]
        if each['adapter']:
            types['kzifc'][each['name']] = [
                row_of_model(method, True) for method in each['methods'] if 'name' in method['served']]
    values['symbol'].update((each['name'], each['value']) for group in header['groups'] for each in group['symbols'])
    values['result'].update((each['name'], each['value']) for each in header['codes'])

status, output, errors = run('run', os.path.join(os.path.dirname(os.path.abspath(__file__)), 'what_python_has.py'))
if status != 0:
    sys.exit('kzhost ends with %d\n%s' % (status, errors))
python = json.loads(output)
found = {
    'plug-in': (python['types'], python['values']),
    'manifest': ({kind: {name: [{'name': row[0], 'signature': row[1], 'remarks': row[2].split()} for row in rows]
                         for name, (_, rows) in manifest[kind].items()} for kind in types},
                 {kind: manifest[kind] for kind in values}),
    'stubs': ({kind: {each.name: rows_of_class(each) for each in stub(STUBS[kind])
                      if isinstance(each, ast.ClassDef) and each.name != 'Unknown'} for kind in types},
              {kind: {each.target.id: ast.literal_eval(each.value) for each in stub(STUBS[kind])} for kind in values})}
for source, (its_types, its_values) in found.items():
    for kind, expected in types.items():
        equal('%s: %s' % (source, kind), sorted(its_types[kind]), sorted(expected))
        for name, rows in its_types[kind].items():
            known = expected.get(name, [])
            equal('%s: %s.%s' % (source, kind, name), rows,
                  [{key: row[key] for key in rows[0]} for row in known] if rows else known)
    for kind, expected in values.items():
        equal('%s: %s' % (source, kind), {*its_values[kind].items()} ^ {*expected.items()}, set())

# What is written by hand.
kz = stub('kz/__init__.pyi')
public = [each.name for each in kz if hasattr(each, 'name')] + [
    each.asname for line in kz if isinstance(line, ast.ImportFrom) for each in line.names if each.asname]
equal('kz', sorted(set(public)), python['written']['kz'])
for cls in (each for each in kz if isinstance(each, ast.ClassDef)):
    names = {each.name for each in cls.body if isinstance(each, ast.FunctionDef) and not each.name.startswith('_')}
    equal('kz.' + cls.name, sorted(names), python['written'][cls.name])
for path in ('kzu/object.pyi', 'kz/_returned.pyi'):
    names = [each.name for each in stub(path) if isinstance(each, ast.ClassDef)] or [
        each.name for each in stub(path)[0].names]
    equal(path, sorted(names), python['written']['kzu.object'])

# One hash, and no other.
paths = [model_path, manifest_path] + [os.path.join(kit, 'stubs', path) for path in STUBS.values()]
equal('the hashes', run('-m', 'kzserv.description', *paths), (0, '', ''))
with tempfile.TemporaryDirectory() as folder:
    for path in paths:
        stale = os.path.join(folder, os.path.basename(path))
        with open(stale, 'w') as stream:
            stream.write(read(path).replace(model['hash'], '0' * 40))
        equal('a stale part', run('-m', 'kzserv.description', stale)[::2], (1, (
            '%s: the hash of its SDK description is %s, that of the plug-in is %s\n' % (stale, '0' * 40, model['hash']))))

shown = run('-c', 'import kz, kzifc; help(kz.object.Mesh); help(kzifc.Tree)')[1]
for row in types['object']['Mesh'] + types['kzifc']['Tree']:
    equal('help for ' + row['name'], row['signature'] in shown, True)

for problem in problems[:20]:
    print(problem[:400])
sys.exit('%d problems' % len(problems) if problems else 0)
