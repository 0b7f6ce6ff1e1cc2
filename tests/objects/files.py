"""Scenes in files: the host's own format, and a loader and a saver in Python for a format of lines 'NAME X Y Z'."""
import os
import shutil
import tempfile

import kz
import kzifc
from checks import equal, fails, near
from kz.symbol import iITYPE_ANY, s_ACTIONLAYER_EDIT, sFILECLASS_IMAGE, sFILECLASS_SCENE

SCENES, UNDO = kz.service.Scene(), kz.service.Undo()
TYPE = SCENES.ItemTypeLookup
CLEANED = []


def positions(scene):
    read = scene.Channels(None, 0)
    locators = [scene.ItemByIndex(TYPE('locator'), i) for i in range(scene.ItemCount(TYPE('locator')))]
    return [(item.UniqueName(),) + tuple(read.DoubleByName(item, 'pos.' + axis) for axis in 'XYZ') for item in locators]


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        info = kz.object.LoaderInfo(info)
        equal((info.TestClass(sFILECLASS_SCENE), info.TestClass(sFILECLASS_IMAGE)), (True, False))
        info.SetClass(sFILECLASS_IMAGE if 'picture' in path else kz.symbol.u_FILECLASS_SCENE)

    def load_LoadObject(self, path, info, monitor, target):
        target = kz.object.SceneLoaderTarget(target)
        fails('NOTIMPL', (target.AddDependency, path))
        scene = target.Scene()
        for line in open(path):
            name, place = line.split()[0], [float(word) for word in line.split()[1:]]
            item = scene.ItemAdd(TYPE('locator'))
            item.SetName(name + '-new' if target.IsImport() else name)
            write = scene.WriteChannels(s_ACTIONLAYER_EDIT, 0)
            for axis, value in zip('XYZ', place):
                write.DoubleByName(item, 'pos.' + axis, value)

    def load_Cleanup(self):
        CLEANED.append(self)


class Saver(kzifc.Saver):
    def sav_Verify(self, source, message):
        if not kz.object.Scene(source).ItemCount(TYPE('locator')):
            kz.throw(kz.symbol.e_NOTSUPPORTED, True)

    def sav_Save(self, source, path, monitor):
        with open(path, 'w') as stream:
            for row in positions(kz.object.Scene(source)):
                stream.write('%s %r %r %r\n' % row)
                if 'fail' in path:
                    raise ValueError('half-way')


kz.bless(Loader, 'dots', {'loader.dosPattern': '*.dots', 'file.class': 'scene'})
kz.bless(Saver, 'dots', {'saver.dosType': 'dots', 'file.class': 'scene'})


class folder(object):
    def __enter__(self):
        self.path = tempfile.mkdtemp()
        return lambda name: os.path.join(self.path, name)

    def __exit__(self, *_):
        shutil.rmtree(self.path)


def made():
    scene = SCENES.Create('made')
    for name in ('a', 'b'):
        item = scene.ItemAdd(TYPE('locator'))
        item.SetName(name)
    scene.WriteChannels(s_ACTIONLAYER_EDIT, 0).DoubleByName(item, 'pos.Y', 0.1)
    return scene


def check_scenes_are_saved_and_reopened():
    with folder() as at:
        scene = made()
        fails('INVALIDARG', (SCENES.Save, scene, None, None))
        SCENES.Save(scene, at('a.kzscene'), None)
        equal((scene.IsModified(), scene.Filename(), scene.Name()), (False, at('a.kzscene'), 'a'))
        text = open(at('a.kzscene')).read()
        scene.ItemByIndex(TYPE('locator'), 0).SetName('c')
        SCENES.Save(scene, at('other'), 'kzscene')  # by name, whatever the file is called
        equal((scene.IsModified(), open(at('other')).read() == text), (False, False))
        again = SCENES.Load(at('a.kzscene'), None)
        equal((positions(again), again.IsModified(), UNDO.Count()[0] > 0), ([('a', 0, 0, 0), ('b', 0, 0.1, 0)], False, True))
        equal(SCENES.Lookup(at('a.kzscene')).Root().__peekobj__(), again.Root().__peekobj__())
        equal(SCENES.Current().Root().__peekobj__(), again.Root().__peekobj__())
        SCENES.Save(again, None, None)
        equal(open(at('a.kzscene')).read(), text)
        count = SCENES.Count()
        open(at('bad.kzscene'), 'w').write(text[:200])
        os.mkdir(at('folder.kzscene'))
        fails('FAILED', (SCENES.Load, at('bad.kzscene'), None))
        fails('NOTFOUND', (SCENES.Load, at('none.kzscene'), None), (SCENES.Lookup, at('none.kzscene')))
        fails('NOTSUPPORTED', (SCENES.Save, again, at('a.nothing'), None), (SCENES.Save, again, at('a'), 'nothing'))
        fails('NOACCESS', (SCENES.Save, again, at('none/a.kzscene'), None), (SCENES.Save, again, at('folder.kzscene'), None))
        equal(SCENES.Count(), count)
        for each in (scene, again):
            SCENES.Close(each)


def check_imports_are_one_step():
    with folder() as at:
        scene = made()
        SCENES.Save(scene, at('a.kzscene'), None)
        for name in ('a.kzscene', 'a.dots'):
            SCENES.Save(scene, at(name), None)
            before = UNDO.Count()[0]
            SCENES.Import(at(name), scene, None)
            equal((len(positions(scene)), UNDO.Count()[0], scene.IsModified()), (4, before + 1, True))
            UNDO.Undo(1)
            equal((len(positions(scene)), scene.IsModified()), (2, False))
        for name in ('bad.dots', 'bad.kzscene'):
            open(at(name), 'w').write('kzscene 1\nscene ""\nitem "mesh" "m"\n' if 'kz' in name else 'a 1 2 3\nb wrong\n')
            before = UNDO.Count()[0]
            fails('FAILED', (SCENES.Import, at(name), scene, None))
            equal((len(positions(scene)), UNDO.Count()[0]), (2, before))
        SCENES.Close(scene)


def check_python_loads_and_saves_scenes():
    with folder() as at:
        scene = made()
        SCENES.Save(scene, at('a.dots'), None)
        equal(open(at('a.dots')).read(), 'a 0.0 0.0 0.0\nb 0.0 0.1 0.0\n')
        equal((scene.Filename(), scene.IsModified()), (None, True))  # the format does not keep everything
        cleaned, steps = len(CLEANED), UNDO.Count()[0]
        again = SCENES.Load(at('a.dots'), None)
        equal((positions(again), again.Filename(), again.IsModified()), (positions(scene), at('a.dots'), False))
        equal((len(CLEANED), UNDO.Count()[0]), (cleaned + 1, steps))
        open(at('bad.dots'), 'w').write('a 1 2 3\nb wrong\n')
        count = SCENES.Count()
        fails('FAILED', (SCENES.Load, at('bad.dots'), None))
        shutil.copy(at('a.dots'), at('picture.dots'))
        fails('NOTSUPPORTED', (SCENES.Load, at('picture.dots'), None))
        equal((SCENES.Count(), len(CLEANED)), (count, cleaned + 2))
        shutil.copy(at('a.dots'), at('fail.dots'))
        fails('FAILED', (SCENES.Save, scene, at('fail.dots'), None))
        equal((open(at('fail.dots')).read(), len(os.listdir(at('')))), (open(at('a.dots')).read(), 4))
        empty = SCENES.Create('empty')
        fails('NOTSUPPORTED', (SCENES.Save, empty, at('empty.dots'), 'dots'))
        for each in (scene, again, empty):
            SCENES.Close(each)


def check_assets_are_found_and_gathered():
    with folder() as at:
        scene = SCENES.Create('assets')
        os.mkdir(at('other'))
        for i, name in enumerate(('a.png', 'other/a.png', 'a.png')):
            open(at(name), 'w').write(name)
            clip = scene.ItemAdd(TYPE('videoStill'))
            scene.WriteChannels(None, 0).StringByName(clip, 'filename', at(name))
        assets = scene.Assets()
        equal((assets.Count(), assets.ByIndex(1)[1]), (3, 'filename'))
        file = assets.Reference(1)
        equal((file.Path(), file.IsFound()), (at('other/a.png'), True))
        near([file.ModifiedTime()], [os.stat(at('other/a.png')).st_mtime], 1e-5)
        file.SetPath(at('none.png'))
        equal((file.IsFound(), file.ModifiedTime()), (False, 0))
        fails('NOTFOUND', (file.Reload,), (assets.Gather, at('all'), 1))
        equal(assets.Reference(0).Path(), at('a.png'))
        file.SetPath(at('other/a.png'))
        steps = UNDO.Count()[0]
        assets.Gather(at('all'), 0)
        equal([assets.Reference(i).Path() for i in range(3)], [at('all/a.png'), at('all/a-2.png'), at('all/a.png')])
        equal((open(at('all/a-2.png')).read(), os.path.exists(at('a.png')), UNDO.Count()[0]), ('other/a.png', False, steps + 1))
        fails('OUTOFBOUNDS', (assets.ByIndex, 3), (assets.Reference, 3))
        equal(scene.ItemCount(iITYPE_ANY), 4)
        SCENES.Close(scene)


MACRO = (
    'item.create mesh name:{Left Box}', 'item.create locator name:"a ""quoted"": {name"', 'item.create modifierWave Wave',
    'item.parent {Left Box} parent:"a ""quoted"": {name"', 'item.duplicate {Left Box}', 'item.rename {Left Box (2)} Lid',
    'item.tag Lid NOTE {two words}', 'channel.create Lid height distance', 'channel.value Lid height 25cm',
    'channel.value Wave waveShape saw', 'channel.link Wave output Lid height', 'key.set Lid pos.X 1.5 time:0',
    'key.set Lid pos.X 3 time:2', 'key.slope Lid pos.X 0 weight:0.5 side:out', 'key.behavior Lid pos.X offset', 'key.move Lid pos.X 2 2.5',
    'channel.value Lid pos.Y 0.1', 'item.delete Wave', 'undo', 'item.rename Wave Wind', 'undo', 'redo', 'preset.save macro Lid',
    'preset.apply macro {Left Box}', 'channel.unlink Wind output Lid height', 'undo 2', 'redo')


def check_a_history_makes_the_same_document():
    with folder() as path:
        texts, kept = [], MACRO
        for _ in range(2):
            before = len(kz.evalN('command.history ?'))
            kz.eval('scene.new macro')
            for line in kept:
                kz.eval(line)
            kept = kz.evalN('command.history ?')[before + 1:]
            SCENES.Save(SCENES.Current(), path('macro.kzscene'), None)
            texts.append(open(path('macro.kzscene')).read())
            SCENES.Close(SCENES.Current())
        item = SCENES.Create('preset').ItemAdd(TYPE('locator'))
        item.ChannelAdd('height', 'distance')
        apply, preset = kz.service.PresetBrowser().Apply, path('lid')
        kz.service.PresetBrowser().Save(preset, kz.symbol.sPRESETTYPE_CHANNELS, item, None)
        for name in ('pos.X', 'height'):
            item.Scene().WriteChannels(None, 0.0).DoubleByName(item, name, 3.0)
        apply(preset, item, kz.symbol.f_PRESETAPPLY_UNDO)
        equal(kz.eval('undo name:?')[0], 'preset')
        UNDO.Undo(1)
        equal([item.Scene().Channels(None, 0.0).DoubleByName(item, name) for name in ('pos.X', 'height')], [3.0, 3.0])
        fails('NOTSUPPORTED', (apply, preset, item, kz.symbol.f_PRESETAPPLY_ADD))
        fails('INVALIDARG', (apply, preset, item, 0x100))
        equal((len(kept), len(texts[0].splitlines()) > 25, texts[0]), (len(MACRO), True, texts[1]))


def check_moved_files_are_found():
    rules = kz.service.IO().Redirect()
    with folder() as at:
        os.mkdir(at('new'))
        for name in ('new/a.png', 'new/b.jpg'):
            open(at(name), 'w').close()
        scene = SCENES.Create('moved')
        names = ('old/a.png', 'b.png', 'none.png', 'new/a.png')
        for name in names:
            scene.WriteChannels(None, 0).StringByName(scene.ItemAdd(TYPE('videoStill')), 'filename', at(name))
        SCENES.Save(scene, at('moved.kzscene'), None)
        rules.AddRule(at('old'), at('new'), kz.symbol.iREMAPRULE_FOLDER)
        rules.AddRule('b.png', at('new/b.jpg'), kz.symbol.iREMAPRULE_NAME)
        found = [at(name) for name in ('new/a.png', 'new/b.jpg', 'none.png', 'new/a.png')]
        paths = lambda scene: [scene.Assets().Reference(i).Path() for i in range(scene.Assets().Count())]
        steps = UNDO.Count()[0]
        again = SCENES.Load(at('moved.kzscene'), None)
        equal((paths(again), again.IsModified(), UNDO.Count()[0]), (found, False, steps))
        SCENES.Import(at('moved.kzscene'), again, None)
        equal((paths(again), UNDO.Count()[0]), (found + found, steps + 1))
        rules.Clear()
        for each in (scene, again):
            SCENES.Close(each)


def reason_of(line):
    try:
        kz.eval(line)
    except RuntimeError as error:
        return error.reason
    raise AssertionError(line + ' went well')


def check_commands_load_import_and_save():
    with folder() as at:
        path, own = at('room.kzscene'), lambda: (kz.evalN('scene.save path:?'), kz.eval('scene.save changed:?'))
        items = lambda: [str(name) for name in kz.evalN('item.delete item:?')][1:]
        for line in ('scene.new Room', 'item.create locator Table'):
            kz.eval(line)
        equal(own(), ((), True))
        equal(kz.evalN('scene.save format:?'), ('kzscene', 'gltf', 'glb', 'obj', 'ply', 'stl', 'dots'))
        kz.eval('scene.save {%s}' % path)
        equal(own(), ((path,), False))
        kz.eval('item.create locator Chair')
        equal(own(), ((path,), True))
        kz.eval('scene.save')
        kz.eval('scene.save {%s} dots' % at('copy'))
        equal((own(), open(at('copy')).read().split()[::4]), (((path,), False), ['Table', 'Chair']))
        kz.eval('scene.close')
        kz.eval('scene.load {%s}' % path)
        equal((items(), own()), (['Table', 'Chair'], ((path,), False)))
        steps = UNDO.Count()[0]
        kz.eval('scene.import {%s}' % path)
        equal((items(), UNDO.Count()[0]), (['Table', 'Chair', 'Table (2)', 'Chair (2)'], steps + 1))
        kz.eval('undo')
        equal(items(), ['Table', 'Chair'])
        with open(at('bad.kzscene'), 'w') as stream:
            stream.write('kzscene 1\nrubbish')
        kz.eval('scene.new Other')
        none, bad, far = at('none.kzscene'), at('bad.kzscene'), at('none/a.kzscene')
        for line, why in (
                ('scene.load {%s}' % none, none + ': there is no such file'),
                ('scene.import {%s}' % bad, bad + ': line 2, column 1: the statement "scene" belongs here'),
                ('scene.reference.add {%s}' % none, none + ': there is no such file'),
                ('scene.save', 'argument "path" is missing, and the scene has no file yet'),
                ('scene.save {%s}' % far, '%s cannot be written: folder %s: No such file or directory'
                 % (far, at('none'))),
                ('scene.save {%s}' % at('a.abc'), at('a.abc') + ': no saver of scenes is for this extension'),
                ('image.filter blur {%s} {%s}' % (none, far), none + ': there is no such file'),
                ('image.filter blur {%s} {%s}' % (bad, far), bad + ': no loader of images recognises the file'),
                ('audio.convert {%s} {%s}' % (none, far), 'there is no file "%s"' % none)):
            equal(reason_of(line), '%s: %s' % (line.split()[0], why))
        equal((items(), UNDO.Count()[0]), ([], steps))
        for _ in range(2):
            kz.eval('scene.close')


class AutoSave(kzifc.AutoSaveListener):
    folders = []

    def asl_SaveNow(self, folder):
        kz.eval('user.value autosaved 1 type:integer')  # a command does not start another save
        self.folders.append(folder)
        raise ValueError('which keeps nobody from saving')


def check_copies_are_saved():
    kz.bless(AutoSave, 'copies')
    for index in range(SCENES.Count()):
        SCENES.ByIndex(index).SetModified(0)
    with folder() as at:
        for name, value in (('folder', at('copies') + ' type:string'), ('interval', '0 type:float'),
                            ('revisions', '2 type:integer'), ('active', 'true type:boolean')):
            kz.eval('user.value autosave.%s %s' % (name, value))
        equal(os.path.exists(at('copies')), False)  # nothing has changed
        scene = made()
        SCENES.Save(scene, at('a.kzscene'), None)
        for name in ('one', 'two', 'three'):
            scene.ItemByIndex(TYPE('locator'), 0).SetName(name)
            for number in 1, 2:  # nothing has changed since the first time
                kz.eval('user.value autosaved %d type:integer' % number)
        names = sorted(os.listdir(at('copies')))
        equal([(name[0], name[-10:]) for name in names], [('a', '.1.kzscene'), ('a', '.2.kzscene')])
        for name, first in zip(names, ('three', 'two')):
            copy = SCENES.Load(os.path.join(at('copies'), name), None)
            equal(copy.ItemByIndex(TYPE('locator'), 0).Name(), first)
            SCENES.Close(copy)
        equal((AutoSave.folders, scene.Filename(), scene.IsModified()), ([at('copies')] * 3, at('a.kzscene'), True))
        kz.eval('user.value autosave.active false')
        SCENES.Close(scene)
