"""Folders that Python classes serve, beside those on disk: their entries, the files behind them, and servers that lie."""
import os
import shutil
import tempfile

import kz
import kzifc
from checks import equal, fails, reasons, result_of
from kz import symbol

CACHE, IMAGES, VALUES = kz.service.DirCache(), kz.service.Image(), kz.service.Value()
FOLDER = os.path.realpath(tempfile.mkdtemp())
BASE = FOLDER + '/net'
os.mkdir(FOLDER + '/disk')
TOLD, LENT = [], []


class Served(object):
    """What is kept of one entry: a folder has children."""
    def __init__(self, path='', children=None, **more):
        self.path, self.children, self.more = path, children, more


def library():
    files = [Served('pictures/red', size=70.0, time=1e9, extension='png', user='Red'), Served('pictures/.cache', size=1.0),
             Served('pictures/deep', [Served('pictures/deep/x.kzscene', size=3.0)], user='Deep Folder')]
    return Served('', [Served('pictures', files), Served('notes.txt', size=float('nan'))])


class Entry(kzifc.DirCacheSyntheticEntry):
    def __init__(self, served):
        self.served = served

    def more(self, name):
        if name not in self.served.more:
            raise NotImplementedError
        return self.served.more[name]

    def children(self, list):
        children = self.served.children or []
        return [each for each in children if list & (symbol.vDCELIST_FILES if each.children is None else symbol.vDCELIST_DIRS)]

    def dcsyne_Path(self):
        return '/' + self.served.path

    def dcsyne_DirUserName(self):
        return self.more('user')

    def dcsyne_FileExtension(self):
        return self.more('extension')

    def dcsyne_IsFile(self):
        return self.served.children is None

    def dcsyne_DirCount(self, list):
        return len(self.children(list))

    def dcsyne_DirByIndex(self, list, index):
        return Entry(self.children(list)[index])

    def dcsyne_ModifiedTime(self):
        return self.more('time')

    def dcsyne_Size(self):
        return self.served.more.get('size', 0.0)

    def dcsyne_Thumbnail(self, width, height):
        image = IMAGES.Create(8, 4, symbol.iIMG_FORMAT_GREY, 0)
        LENT.append(image)
        return image, 'a tip'

    def dcsyne_Metrics(self, metrics):
        metrics = kz.object.Attributes(metrics)
        metrics.SetString(metrics.Lookup('caption'), 'about ' + self.served.path)

    def dcsyne_Open(self):
        TOLD.append(self.served.path)
        return FOLDER + '/' + self.more('user') + '.png'


class Library(kzifc.DirCacheSynthetic):
    root = library()

    def dcsyn_Root(self):
        return Entry(self.root)

    def dcsyn_Lookup(self, path):
        found = [self.root]
        while found:
            each = found.pop()
            if each.path == path:
                return Entry(each)
            found += each.children or []
        kz.throw(symbol.e_NOTFOUND, True)


class Notes(kzifc.DirCacheFileMetrics):
    def dcfilemetrics_Metrics(self, path, metrics):
        raise NotImplementedError

    def dcfilemetrics_Rename(self, path, name):
        TOLD.append((path, name))
        if name == 'bad':
            raise ValueError(name)


class Places(kzifc.ProjDirOverride):
    def pdo_Override(self, path, project):
        TOLD.append((path, project))
        if path.endswith('raises'):
            raise ValueError(path)
        return {'far.png': 'Images', 'there.png': FOLDER + '/project/Images', 'gone.png': 'Movies'}.get(os.path.basename(path))


kz.bless(Library, 'library', {symbol.sTAG_DIRSYNTH_ROOT: BASE + '/'})
kz.bless(Notes, 'notes')


def listed(folder, more='', what='name'):
    return kz.evalN('folder.list {%s} %s %s:?' % (folder, more, what))


def children(entry, kind=symbol.vDCELIST_BOTH):
    return [entry.ChildByIndex(kind, index) for index in range(entry.ChildCount(kind))]


def check_served_entries_are_beside_those_on_disk():
    equal([each for each in listed(FOLDER, what='state') if each[0] in 'dn'], ['disk: folder', 'net: folder synthetic'])
    entry = CACHE.Lookup(BASE)
    equal((entry.IsDirectory(), entry.IsSynthetic(), entry.ChildCount(3), entry.UserName()), (True, True, 0, 'net'))
    CACHE.Scan(entry, symbol.fDCSCAN_RECURSE | symbol.fDCSCAN_METRICS)
    pictures, notes = children(entry)[1], children(entry)[0]
    equal(([each.Path() for each in children(entry)], pictures.Parent().Path(), entry.Parent().Path()),
          ([BASE + '/notes.txt', BASE + '/pictures'], BASE, FOLDER))
    deep, red = children(pictures)
    equal(([each.UserName() for each in (deep, red, notes)], [each.Name() for each in children(pictures, 1)],
           [each.FileClass() for each in (deep, red, notes)] + [each.FileClass() for each in children(deep)]),
          (['Deep Folder', 'Red', 'notes.txt'], ['red'], [None, 'image', None, 'scene']))
    equal((red.FileSize(), red.ModifiedTime(), red.Metric('caption').GetString(), red.Metric('size').GetFlt(),
           red.IsDirectory(), deep.ModifiedTime()), (70.0, 1e9, 'about pictures/red', 70.0, False, 0.0))
    fails('NOTAVAILABLE', (notes.FileSize,), (deep.FileSize,))
    equal((red.Thumbnail(4, 4).Size(), red.Thumbnail(100, 100).Size()), ((4, 2), (8, 4)))
    equal((listed(BASE + '/pictures'), listed(BASE + '/pictures', 'hidden:1'), listed(BASE + '/pictures', 'files', 'size'),
           listed(BASE, 'folders', 'class'), listed(BASE + '/pictures', 'files', 'time')),
          (('deep', 'red'), ('.cache', 'deep', 'red'), (70.0,), ('',), (1e9,)))
    fails('NOTFOUND', (listed, BASE + '/nothing'), (listed, BASE + '/notes.txt'), (CACHE.Scan, notes, 0))
    equal((CACHE.Lookup(BASE + '/nothing').IsDirectory(), any('Size of "%s/notes.txt" is nan' % BASE in line for line in reasons())),
          (False, True))
    os.mkdir(BASE)
    open(BASE + '/notes.txt', 'w').write('on disk')
    equal((listed(BASE, what='state'), listed(BASE, 'files', 'size')),
          (('notes.txt:', 'pictures: folder synthetic'), (7.0,)))
    shutil.rmtree(BASE)


def check_files_are_fetched_to_be_loaded():
    IMAGES.Save(IMAGES.Create(3, 2, symbol.iIMG_FORMAT_RGB24, 0), FOLDER + '/Red.png', None, None)
    del TOLD[:]
    equal((kz.evalN('file.fetch {%s/pictures/red} local:?' % BASE), kz.evalN('file.fetch {%s/Red.png} local:?' % FOLDER)),
          ((FOLDER + '/Red.png',),) * 2)
    equal((IMAGES.Load(BASE + '/pictures/red', None).Size(), TOLD), ((3, 2), ['pictures/red'] * 2))
    os.remove(FOLDER + '/Red.png')
    fails('FAILED', (IMAGES.Load, BASE + '/pictures/red', None))
    fails('NOTFOUND', (IMAGES.Load, BASE + '/pictures', None), (kz.eval, 'file.fetch {%s/none} local:?' % BASE))
    equal(any('answers "%s/Red.png", which is no file' % FOLDER in line for line in reasons()), True)


def check_files_are_renamed_with_what_is_kept_of_them():
    home = FOLDER + '/mine'
    os.makedirs(home + '/old/sub')
    for name in 'old/sub/a', 'b':
        open(os.path.join(home, name), 'w').close()
    stars = VALUES.CreateValue('integer')
    stars.SetInt(3)
    entry = CACHE.Lookup(home + '/old/sub/a')
    CACHE.SetMark(entry, 'stars', stars)
    CACHE.Scan(CACHE.Lookup(home), 0)
    del TOLD[:]
    kz.eval('file.rename {%s/old} {a new}' % home)
    equal((os.listdir(home + '/a new/sub'), TOLD, [each.Name() for each in children(CACHE.Lookup(home))]),
          (['a'], [(home + '/old', 'a new')], ['a new', 'b']))
    equal(CACHE.Mark(CACHE.Lookup(home + '/a new/sub/a'), 'stars').GetInt(), 3)
    fails('NOTFOUND', (CACHE.Mark, entry, 'stars'), (kz.eval, 'file.rename {%s/old} new' % home))
    for text, code in (('mine/b} {a new}', 'ALREADYEXISTS'), ('mine/b} b', 'ALREADYEXISTS'), ('mine/b} a/c', 'INVALIDARG'),
                       ('mine/b} {}', 'INVALIDARG'), ('mine/b} ..', 'INVALIDARG'), ('net/notes.txt} c', 'NOTSUPPORTED')):
        fails(code, (kz.eval, 'file.rename {%s/%s' % (FOLDER, text)))
    kz.eval('file.rename {%s/b} bad' % home)  # a server that fails does not hold it up
    equal((os.path.exists(home + '/bad'), any('"notes" does not follow "%s/b" to "bad"' % home in line for line in reasons())),
          (True, True))


def check_files_of_a_project_are_in_its_folders():
    scenes, project = kz.service.Scene(), FOLDER + '/project'
    for name in 'Scenes', 'Images':
        os.makedirs(os.path.join(project, name))
    for name in 'project/Images/far.png', 'project/Images/there.png', 'there.png', 'gone.png', 'project/Scenes/in.png':
        open(os.path.join(FOLDER, name), 'w').close()
    scene, names = scenes.Create('project'), ('far.png', 'there.png', 'gone.png', 'raises', 'left.png', 'project/Scenes/in.png')
    for name in names:
        clip = scene.ItemAdd(scenes.ItemTypeLookup('videoStill'))
        scene.WriteChannels(None, 0.0).StringByName(clip, 'filename', os.path.join(FOLDER, name))
    path = project + '/Scenes/a.kzscene'
    scenes.Save(scene, path, None)
    kz.bless(Places, 'places')
    del TOLD[:]
    again = scenes.Load(path, None)
    assets = again.Assets()
    equal([os.path.relpath(assets.Reference(index).Path(), FOLDER) for index in range(assets.Count())],
          ['project/Images/far.png', 'project/Images/there.png'] + list(names[2:]))
    equal(TOLD, [(os.path.join(FOLDER, name), project) for name in names[:5]])
    told = [line for line in reasons() if '"places"' in line]
    equal([sum(text in line for line in told) for text in ('raises" failed: FAILED', 'names a folder without it, "Movies"')], [1, 1])
    for each in scene, again:
        scenes.Close(each)


def check_servers_that_are_wrong_are_named():
    def tree(**members):
        entry = type('WrongEntry', (Entry,), members)
        entry.dcsyne_DirByIndex = members.get('dcsyne_DirByIndex', lambda self, list, index: entry(self.children(list)[index]))

        class Wrong(kzifc.DirCacheSynthetic):
            def dcsyn_Root(self):
                return entry(Served('', [Served('a')]))

            def dcsyn_Lookup(self, path):
                return entry(Served(path, [Served(path + '/a', [])]))
        return Wrong

    raising = lambda self, *given: 1 / 0
    endless = lambda self, list, index: type(self)(Served((self.served.path + '/a').strip('/'), [Served()]))
    for name, members, why in (
            ('far', {'dcsyne_Path': lambda self: 'b/c'}, 'Root answers the entry "b/c"'),
            ('pathless', {'dcsyne_Path': raising}, 'Path of Root ended with'),
            ('outside', {'dcsyne_DirByIndex': lambda self, list, index: Entry(Served('../x'))}, 'which is not in that folder'),
            ('itself', {'dcsyne_DirByIndex': lambda self, list, index: Entry(Served(''))}, 'which is not in that folder'),
            ('many', {'dcsyne_DirCount': lambda self, list: 0xFFFFFFFF}, 'is 4294967295; 1000000 is the most'),
            ('fewer', {'dcsyne_DirCount': lambda self, list: 2}, 'ended with'),
            ('foreign', {'dcsyne_DirByIndex': lambda self, list, index: Library()}, 'answers no DirCacheSyntheticEntry'),
            ('timeless', {'dcsyne_ModifiedTime': raising}, 'ModifiedTime of'),
            ('endless', {'dcsyne_DirByIndex': endless, 'dcsyne_DirCount': lambda self, list: 1}, 'more than 256 folders')):
        base = '%s/wrong/%s' % (FOLDER, name)
        kz.bless(tree(**members), 'wrong.' + name, {symbol.sTAG_DIRSYNTH_ROOT: base})
        found = result_of(CACHE.Scan, CACHE.Lookup(base), symbol.fDCSCAN_RECURSE)
        told = [line for line in reasons() if why in line and (name in line)]
        equal((name, isinstance(found, str), len(told) > 0), (name, True, True))
    inward = 'folder.list {%s/wrong/inward} name:?' % FOLDER
    kz.bless(tree(dcsyne_DirCount=lambda self, list: len(kz.evalN(inward))), 'wrong.inward',
             {symbol.sTAG_DIRSYNTH_ROOT: FOLDER + '/wrong/inward'})
    equal(kz.evalN(inward), ())
    equal(any('asks for folders of trees' in line for line in reasons()), True)
    kz.bless(Library, 'nowhere', {symbol.sTAG_DIRSYNTH_ROOT: 'some/where'})
    CACHE.Lookup(FOLDER + '/x').Refresh()
    equal(any('"nowhere" is shown nowhere' in line for line in reasons()), True)
    while LENT:
        LENT.pop().set(None)
    shutil.rmtree(FOLDER)
