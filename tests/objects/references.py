"""Scenes that refer to the files of other scenes."""
import os
import tempfile
import threading

import kz
import kzifc
from checks import code_of, equal, fails, reasons, result_of
from kz.symbol import fITEM_REFERENCE, fITEM_VISIBLE, i_ITAG_NOTES, iITYPE_ANY, sITYPE_REFERENCE

SCENES, UNDO, MESHES = kz.service.Scene(), kz.service.Undo(), kz.service.Mesh()
TYPE = SCENES.ItemTypeLookup
TOLD = []


MISCHIEF = []


class Listener(kzifc.SceneItemListener):
    def sil_ReferenceLoaded(self, scene, other):
        if MISCHIEF:
            TOLD.append(code_of(MISCHIEF.pop(), kz.object.Scene(scene)))
            return
        TOLD.append(('loaded', kz.object.Scene(scene).Name(), kz.object.Scene(other).Name()))

    def sil_ReferenceUnloaded(self, scene, path):
        TOLD.append(('unloaded', kz.object.Scene(scene).Name(), os.path.basename(path)))


kz.bless(Listener, 'tests.references')


def items(scene):
    return [scene.ItemByIndex(iITYPE_ANY, i) for i in range(1, scene.ItemCount(iITYPE_ANY))]


def names(scene):
    return [item.UniqueName() for item in items(scene)]


def position(scene, name):
    return scene.Channels(None, 0).DoubleByName(scene.ItemLookup(name), 'pos.X')


def put(scene, name, value):
    scene.WriteChannels(None, 0).DoubleByName(scene.ItemLookup(name), 'pos.X', value)


class Folder(object):
    """A library scene of an arm with a hand and a slab, and a shot that refers to it."""

    def __init__(self):
        self.folder = tempfile.mkdtemp()
        self.lib, self.shot = [os.path.join(self.folder, name) for name in ('lib.kzscene', 'shot.kzscene')]
        lib = SCENES.Create('lib')
        arm, hand, slab = [lib.ItemAdd(TYPE(kind)) for kind in ('locator', 'locator', 'mesh')]
        for item, name in (arm, 'arm'), (hand, 'hand'), (slab, 'slab'):
            item.SetName(name)
        hand.SetParent(arm, -1)
        MESHES.FromItem(slab, 0.0, 0).AddPoint((1, 2, 3))
        self.hand = hand.Ident()
        put(lib, 'hand', 2.0)
        self.save(lib, self.lib)

    def save(self, scene, path):
        SCENES.Save(scene, path, None)
        SCENES.Close(scene)

    def change_library(self, change):
        lib = SCENES.Load(self.lib, None)
        change(lib)
        self.save(lib, self.lib)

    def new_shot(self, *paths):
        shot = SCENES.Create('shot')
        SCENES.SetCurrent(shot)
        for path in paths or [self.lib]:
            kz.eval('scene.reference.add {%s}' % path)
        return shot

    def reopened(self, shot):
        self.save(shot, self.shot)
        return SCENES.Load(self.shot, None)


def check_items_appear_and_know_where_they_come_from():
    at = Folder()
    del TOLD[:]
    shot = at.new_shot(at.lib, at.lib)
    equal(names(shot), ['lib', 'arm', 'hand', 'slab', 'lib (2)', 'arm (2)', 'hand (2)', 'slab (2)'])
    equal(len({item.Ident() for item in items(shot)}), 8)
    equal([item.IsReferenced() for item in items(shot)], [False, True, True, True] * 2)
    equal((shot.ItemLookup('hand (2)').Parent().UniqueName(), position(shot, 'hand (2)')), ('arm (2)', 2.0))
    equal(MESHES.FromItem(shot.ItemLookup('slab (2)'), 0.0, 0).PointCount(), 1)
    equal(kz.evalN('scene.reference.list item:?'), ('lib', 'lib (2)'))
    other = shot.SubSceneByIndex(0)
    equal((shot.SubSceneCount(), other.Filename(), other.IsReference(), shot.IsReference()), (2, at.lib, True, False))
    equal((shot.ItemLookup('hand').HomeScene().Filename(), shot.ItemLookup('lib').HomeScene().Name()), (at.lib, 'shot'))
    equal(TOLD, [('loaded', 'shot', 'lib')] * 2)
    fails('OUTOFBOUNDS', (shot.SubSceneByIndex, 2))
    fails('NOACCESS', (put, other, 'hand', 9.0), (other.ItemAdd, TYPE('mesh')), (other.SetFilename, 'x'))
    SCENES.Close(shot)


def check_what_was_changed_is_stored_and_applied_to_the_file_of_now():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'arm', 5.0)
    shot = at.reopened(shot)
    equal((position(shot, 'arm'), position(shot, 'hand')), (5.0, 2.0))
    equal(open(at.shot).read().count('\nitem '), 2)  # the scene and the reference
    at.change_library(lambda lib: (put(lib, 'arm', 1.0), put(lib, 'hand', 3.0), lib.ItemAdd(TYPE('camera')).SetName('eye')))
    SCENES.SetCurrent(shot)
    del TOLD[:]
    kz.eval('scene.reference.reload lib')
    equal((position(shot, 'arm'), position(shot, 'hand'), shot.ItemLookup('eye').IsReferenced()), (5.0, 3.0, True))
    equal(TOLD, [('unloaded', 'shot', 'lib.kzscene'), ('loaded', 'shot', 'lib')])
    UNDO.Undo(1)
    equal((position(shot, 'hand'), result_of(shot.ItemLookup, 'eye')), (2.0, 'NOTFOUND'))
    equal(TOLD[2:], [('unloaded', 'shot', 'lib.kzscene'), ('loaded', 'shot', 'lib')])
    UNDO.Redo(1)
    equal(position(shot, 'hand'), 3.0)
    at.change_library(lambda lib: lib.ItemRemove(lib.ItemLookup('arm')))
    kz.eval('scene.reference.reload lib')
    equal(names(shot), ['lib', 'slab', 'eye'])
    at.change_library(lambda lib: None)
    shot = at.reopened(shot)
    equal('pos.X' in open(at.shot).read(), True)  # nothing is lost for the item that may come back
    SCENES.Close(shot)


def check_unloading_keeps_and_switches_choose():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'hand', 7.0)
    kz.eval('scene.reference.unload lib')
    equal((names(shot), shot.SubSceneCount()), (['lib'], 0))
    shot = at.reopened(shot)
    equal(names(shot), ['lib'])  # it stays unloaded
    SCENES.SetCurrent(shot)
    reference = shot.ItemLookup('lib')
    shot.WriteChannels(None, 0).IntegerByName(reference, 'overrides', 0)
    kz.eval('scene.reference.reload lib')
    equal(position(shot, 'hand'), 2.0)
    shot.WriteChannels(None, 0).IntegerByName(reference, 'overrides', 1)
    kz.eval('scene.reference.reload lib')
    equal(position(shot, 'hand'), 7.0)
    UNDO.Undo(4)
    equal(names(shot), ['lib'])
    UNDO.Redo(4)
    kz.eval('scene.reference.remove lib')
    equal(names(shot), [])
    UNDO.Undo(1)
    equal(position(shot, 'hand'), 7.0)
    SCENES.Close(shot)


def check_time_may_begin_later():
    at = Folder()
    animate = "key.set hand pos.X time:%g value:%g"

    def keys(lib):
        SCENES.SetCurrent(lib)
        kz.eval(animate % (0, 0))
        kz.eval(animate % (1, 10))
    at.change_library(keys)
    shot = at.new_shot()
    hand = shot.ItemLookup('hand')
    equal([round(shot.Channels(None, time).DoubleByName(hand, 'pos.X'), 6) for time in (0, 1, 2)], [0, 10, 10])
    shot.WriteChannels(None, 0).DoubleByName(shot.ItemLookup('lib'), 'timeOffset', 1.0)
    kz.eval('scene.reference.reload lib')
    hand = shot.ItemLookup('hand')
    equal([round(shot.Channels(None, time).DoubleByName(hand, 'pos.X'), 6) for time in (0, 1, 2)], [0, 0, 10])
    shot = at.reopened(shot)
    equal('override' in open(at.shot).read(), False)
    equal(round(shot.Channels(None, 2).DoubleByName(shot.ItemLookup('hand'), 'pos.X'), 6), 10)
    SCENES.Close(shot)


def check_what_cannot_be_stored_is_refused():
    at = Folder()
    shot = at.new_shot()
    own, arm, hand, slab = [shot.ItemAdd(TYPE('locator'))] + [shot.ItemLookup(name) for name in ('arm', 'hand', 'slab')]
    before = names(shot)
    mesh = MESHES.FromItem(slab, 0.0, 0)
    fails('NOACCESS', (hand.SetName, 'x'), (hand.SetParent, None, 0), (own.SetParent, arm, 0), (mesh.AddPoint, (0, 0, 0)),
          (hand.SetTag, i_ITAG_NOTES, 'x'),
          (hand.SetFlags, fITEM_VISIBLE, 0), (own.SetFlags, fITEM_REFERENCE, fITEM_REFERENCE), (shot.ItemRemove, hand))
    equal((names(shot), mesh.IsEditable(), mesh.PointCount()), (before, False, 1))
    equal(any('"hand" comes from another scene, so it cannot be renamed here' in line for line in reasons()), True)
    kz.eval('item.duplicate hand')
    copy = items(shot)[-1]
    copy.SetName('mine')
    equal((copy.IsReferenced(), copy.Parent().UniqueName(), position(shot, 'mine')), (False, 'lib', 2.0))
    SCENES.Close(shot)


def check_files_that_fail_lose_nothing():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'hand', 7.0)
    at.save(shot, at.shot)
    text = open(at.lib).read()
    for damage in os.remove, lambda path: open(path, 'w').write(text[:len(text) // 2] + '\nrubbish'):
        damage(at.lib)
        shot = SCENES.Load(at.shot, None)
        equal(names(shot), ['lib'])
        equal(any('"lib" is not loaded; the reference and what was changed of its items are kept' in line
                  for line in reasons()), True)
        SCENES.SetCurrent(shot)
        fails('FAILED' if os.path.exists(at.lib) else 'NOTFOUND', (kz.eval, 'scene.reference.reload lib'))
        at.save(shot, at.shot)
    with open(at.lib, 'w') as stream:
        stream.write(text)
    shot = SCENES.Load(at.shot, None)
    equal(position(shot, 'hand'), 7.0)
    SCENES.SetCurrent(shot)
    count = len(items(shot))
    fails('NOTFOUND', (kz.eval, 'scene.reference.add {%s/none.kzscene}' % at.folder))
    fails('NOTFOUND', (kz.eval, 'scene.reference.reload none'))
    equal(len(items(shot)), count)
    SCENES.Close(shot)


def check_listeners_that_meddle():
    at = Folder()
    shot = at.new_shot()
    for change in lambda: put(shot, 'arm', 5.0), lambda: kz.eval('scene.reference.reload lib'), lambda: put(shot, 'arm', 7.0):
        change()
    for meddle in (lambda scene: UNDO.Clear(kz.symbol.mUNDO_CLEAR), lambda scene: UNDO.Redo(1), SCENES.Close,
                   lambda scene: kz.eval('scene.reference.reload lib')):
        UNDO.Undo(2)
        MISCHIEF.append(meddle)
        del TOLD[:]
        UNDO.Redo(2)
        equal((TOLD, position(shot, 'arm')), ([('unloaded', 'shot', 'lib.kzscene'), 'NOTREADY'], 7.0))
    MISCHIEF.append(SCENES.Close)
    kz.eval('scene.reference.add {%s}' % at.lib)
    equal(result_of(shot.ItemAdd, TYPE('mesh')), 'NOTAVAILABLE')


def check_overrides_that_are_none_are_refused():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'hand', 7.0)
    at.save(shot, at.shot)
    text = open(at.shot).read()
    row = next(line for line in text.split('\n') if line.startswith('override'))
    for wrong, why in (('override "" "value \\"pos.X\\" 1"', 'identifier'), (row + '\n' + row, 'there already'),
                       ('override "x" "mesh"', 'says nothing about a channel')):
        with open(at.shot, 'w') as stream:
            stream.write(text.replace(row, wrong))
        fails('FAILED', (SCENES.Load, at.shot, None))
        told = kz.service.Log().SubSystemLookup('files')
        equal(any(why in told.EntryByIndex(index).Desc() for index in range(told.EntryCount())), True)


class Waiting(kzifc.Loader):
    """Loads a locator once another thread has read the scene that refers to it."""
    seen = []

    def load_Recognize(self, path, info):
        kz.object.LoaderInfo(info).SetClass('scene')

    def load_LoadObject(self, path, info, monitor, target):
        kz.object.SceneLoaderTarget(target).Scene().ItemAdd(TYPE('locator')).SetName('late')
        reader = threading.Thread(target=lambda: self.seen.append(names(SCENES.ByIndex(SCENES.Count() - 1))))
        reader.start()
        reader.join(60)


kz.bless(Waiting, 'tests.waiting', {'loader.dosPattern': '*.waiting', 'file.class': 'scene'})


def check_others_read_while_a_file_is_loaded():
    at = Folder()
    path = os.path.join(at.folder, 'a.waiting')
    open(path, 'w').close()
    shot = at.new_shot(path)
    kz.eval('scene.reference.reload a')
    equal((names(shot), Waiting.seen), (['a', 'late'], [[], ['a', 'late']]))
    SCENES.Close(shot)


def check_references_nest_and_make_no_circle():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'arm', 4.0)
    at.save(shot, at.shot)
    film = at.new_shot(at.shot)
    equal(names(film), ['shot', 'lib', 'arm', 'hand', 'slab'])
    put(film, 'hand', 8.0)
    equal((film.ItemLookup('hand').HomeScene().Filename(), film.ItemLookup('lib').HomeScene().Filename()),
          (at.lib, at.shot))
    path = os.path.join(at.folder, 'film.kzscene')
    at.save(film, path)
    film = SCENES.Load(path, None)
    equal((position(film, 'arm'), position(film, 'hand')), (4.0, 8.0))
    lib = SCENES.Load(at.lib, None)
    SCENES.SetCurrent(lib)
    for circle in at.lib, path:
        fails('GRAPH_CYCLIC', (kz.eval, 'scene.reference.add {%s}' % circle))
    equal(names(lib), ['arm', 'hand', 'slab'])
    equal(any('refer to each other in a circle' in line and 'shot.kzscene' in line for line in reasons()), True)
    SCENES.Close(lib)
    SCENES.Close(film)


def check_one_item_brings_its_scene():
    at = Folder()
    shot = SCENES.Create('shot')
    hand = shot.ItemAddReference(at.hand, TYPE('locator'), at.lib)
    equal((hand.UniqueName(), hand.IsReferenced(), shot.SubSceneCount()), ('hand', True, 1))
    equal(shot.ItemAddReference(at.hand, iITYPE_ANY, at.lib).Ident(), hand.Ident())  # the same reference
    fails('NOTFOUND', (shot.ItemAddReference, 'none', iITYPE_ANY, at.lib),
          (shot.ItemAddReference, at.hand, TYPE('mesh'), at.lib),
          (shot.ItemAddReference, at.hand, iITYPE_ANY, at.lib + 'x'))
    equal(shot.ItemCount(TYPE(sITYPE_REFERENCE)), 1)
    SCENES.Close(shot)


def check_copies_are_not_loaded_until_asked():
    at = Folder()
    shot = at.new_shot()
    put(shot, 'hand', 6.0)
    kz.eval('item.duplicate lib')
    equal(names(shot), ['lib', 'arm', 'hand', 'slab', 'lib (2)'])
    kz.eval('scene.reference.reload {lib (2)}')
    equal(position(shot, 'hand (2)'), 6.0)
    UNDO.BlockBegin('outer', 0)
    kz.eval('scene.reference.add {%s}' % at.lib)
    kz.eval('scene.reference.unload lib')
    UNDO.BlockEnd()
    UNDO.Undo(1)
    equal(names(shot), ['lib', 'arm', 'hand', 'slab', 'lib (2)', 'arm (2)', 'hand (2)', 'slab (2)'])
    UNDO.Undo(3)
    equal((names(shot), position(shot, 'hand')), (['lib', 'arm', 'hand', 'slab'], 2.0))
    SCENES.Close(shot)
