# Jedi completes wrapper methods with their types, in an environment of Python 2. Arguments: the stubs, the interpreter.
import sys

import jedi

START = 'import kz\nkz.service.Mesh().Create().'
stubs, interpreter = sys.argv[1:]
environment = jedi.create_environment(interpreter, safe=False)


def script(text):
    return jedi.Script(text, path='script.py', project=jedi.Project(stubs), environment=environment)


found = {each.name: each for each in script(START).complete()}
assert {'PointCount', 'AddPoint', 'MergeWithTransform', 'test'} <= set(found), sorted(found)
text = found['MergeWithTransform'].docstring()
for words in ('MergeWithTransform(other: Union[kz.object.Mesh, kz.object.Unknown, None], xfrm: _kinds.Matrix, flags: int',
              'MergeWithTransform(other: Mesh, xfrm: matrix4, flags: uint'):
    assert words in text, text
signature, = script(START + 'PointByIndex(').get_signatures()
assert signature.to_string() in ('PointByIndex(index: int, /) -> kz.object.Point',
                                 'PointByIndex(index: int, /) -> _returned.Point'), signature.to_string()
assert 'MoveToIndex' in {each.name for each in script(START + 'PointByIndex(0).').complete()}
assert 'append' in {each.name for each in script('import kz\nkz.service.Value().CreateValueArray("").').complete()}
assert 'mop_Evaluate' in {each.name for each in script('import kzifc\nkzifc.MeshOperation().').complete()}
