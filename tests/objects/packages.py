"""Item types of Python classes: their channels, what their instances are asked, and data of their own."""
import os
import shutil
import tempfile

import kz
import kzifc
from checks import equal, fails, near, reasons, result_of, storage
from kz.symbol import (fNEWBORN_COPY, fNEWBORN_UNDO, iCHANVEC_RGB, iCOLLECT_DELETE, iCOLLECT_DUPLICATE,
                       s_PKGTAG_AUTOADD, s_PKGTAG_SUPERTYPE, s_PKGTAG_TARGET, s_PKGTAG_VERSION)

SCENES, UNDO = kz.service.Scene(), kz.service.Undo()
HEARD, LAST = [], {}


def heard():
    """What has been called since the last time."""
    told, HEARD[:] = list(HEARD), []
    return told


def says(text):
    equal((text, any(text in line for line in reasons())), (text, True))


class Lamp(kzifc.Package):
    def pkg_SetupChannels(self, channels):
        channels = kz.object.AddChannel(channels)
        fails('NOTREADY', (channels.SetDefault, 1.0, 1))
        channels.NewChannel('watts', 'float')
        channels.SetDefault(40.0, 0)
        channels.SetRange(0.0, 2000.0)
        channels.SetUnit('W')
        channels.NewChannel('tint', 'float')
        channels.SetVector(iCHANVEC_RGB)
        channels.SetDefaultVector((1.0, 0.5, 0.25))
        channels.NewChannel('aimAt', '&item')
        channels.NewChannel('place', 'matrix4')
        fails('ALREADYEXISTS', (channels.NewChannel, 'watts', 'float'), (channels.NewChannel, 'pos.X', 'float'))
        fails('INVALIDARG', (channels.NewChannel, 'odd', 'nothing'), (channels.SetUnit, 'W'))
        equal(channels.ChannelCount(), 6)
        HEARD.append('SetupChannels')
        LAST['channels'] = channels

    def pkg_Attach(self):
        LAST['lamp'] = Instance()
        if 'Attach' in Instance.fails:
            raise ValueError('planted in Attach')
        return LAST['lamp']

    def pkg_TestInterface(self, name):
        return name == 'streamio'

    def pkg_PostLoad(self, scene):
        HEARD.append('PostLoad')


class Instance(kzifc.PackageInstance, kzifc.StreamIO, kzifc.InstanceAssets):
    notes, friend, fails, path = '', None, (), ''

    def note(self, name, *more):
        if name in Instance.fails:
            raise ValueError('planted in ' + name)
        HEARD.append((name,) + more if more else name)

    def pins_Initialize(self, item, source):
        self.item = kz.object.Item(item)
        self.note('Initialize')

    def pins_Newborn(self, original, flags):
        self.note('Newborn', flags)

    def pins_Loading(self):
        self.note('Loading')

    def pins_AfterLoad(self):
        self.note('AfterLoad')

    def pins_AddedTo(self, scene):
        self.note('AddedTo', kz.object.Scene(scene).ItemCount(self.item.Type()))

    def pins_Doomed(self):
        self.note('Doomed', self.item.UniqueName())

    def pins_Cleanup(self):
        self.item = self.friend = None
        self.note('Cleanup')

    def pins_SynthName(self):
        scene = kz.object.Scene(self.item.Scene())
        return '%dW' % scene.Channels(None, 0.0).DoubleByName(self.item, 'watts')

    def pins_AllowRemove(self):
        return self.notes != 'keep'

    def instass_Count(self):
        return 1

    def instass_IdentByIndex(self, index):
        return 'photo'

    def instass_Filename(self, ident):
        return self.path

    def instass_SetFilename(self, ident, path):
        self.note('SetFilename')
        self.path = path

    def io_Write(self, stream):
        self.note('Write')
        stream = kz.object.BlockWrite(stream)
        stream.WriteString(self.notes)
        if self.friend:
            stream.WriteItem(self.friend)

    def io_Read(self, stream):
        self.note('Read')
        stream = kz.object.BlockRead(stream)
        self.notes = stream.ReadString()
        if stream.Remaining():
            self.friend = stream.ReadItem()


class Spot(kzifc.Package):
    """Based on a type that is blessed after it."""

    def pkg_SetupChannels(self, channels):
        kz.object.AddChannel(channels).NewChannel('cone', 'angle')

    def pkg_Attach(self):
        return Plain()


class Plain(kzifc.PackageInstance):
    def pins_Initialize(self, item, source):
        HEARD.append('Plain')


kz.bless(Spot, 'test.spot', {s_PKGTAG_SUPERTYPE: 'test.lamp'})
kz.bless(Lamp, 'test.lamp', {s_PKGTAG_SUPERTYPE: 'locator', s_PKGTAG_VERSION: '3'})


def new(kind='test.lamp'):
    scene = SCENES.Create('lamps')
    return scene, scene.ItemAdd(SCENES.ItemTypeLookup(kind)), LAST['lamp']


def value(scene, item, name):
    return scene.Channels(None, 0.0).DoubleByName(item, name)


def check_a_package_is_a_type_with_channels():
    fails('NOTAVAILABLE', (LAST['channels'].NewChannel, 'late', 'float'))
    lamp, spot, locator = map(SCENES.ItemTypeLookup, ('test.lamp', 'test.spot', 'locator'))
    equal((HEARD.count('SetupChannels'), SCENES.ItemTypeSuper(lamp), SCENES.ItemTypeSuper(spot)), (1, locator, lamp))
    equal([name in kz.evalN('item.create type:?') for name in ('test.lamp', 'test.spot')], [True, True])
    equal((SCENES.ItemTypeTag(lamp, s_PKGTAG_VERSION), kz.object.Package(SCENES.ItemTypePackage(lamp)).TestInterface('x')),
          ('3', False))
    fails('NOTFOUND', (SCENES.ItemTypePackage, locator), (SCENES.ItemTypeTag, lamp, 'nothing'))
    scene, item, _ = new('test.spot')
    equal([value(scene, item, name) for name in ('watts', 'tint.G', 'cone', 'pos.X')], [40.0, 0.5, 0.0, 0.0])
    write = scene.WriteChannels(None, 0.0)
    fails('OUTOFBOUNDS', (write.DoubleByName, item, 'watts', 3000.0))
    write.DoubleByName(item, 'watts', 60.0)
    UNDO.Undo(1)
    equal(value(scene, item, 'watts'), 40.0)
    write.Keys(item, item.ChannelLookup('watts'), 2, storage('d', 0.0, 1.0), storage('d', 0.0, 100.0))
    near([scene.Channels(None, 0.5).DoubleByName(item, 'watts')], [50.0])
    fails('NOTFOUND', (item.Object, 'nothing'))
    equal(item.Object('test.lamp').__peekobj__(), item.Object('streamio').__peekobj__())


def check_an_instance_hears_of_its_item():
    heard()
    scene, item, lamp = new()
    equal((heard(), item.UniqueName(), item.Name()), (['Initialize', ('Newborn', 0), ('AddedTo', 1)], '40W', None))
    scene.WriteChannels(None, 0.0).DoubleByName(item, 'watts', 60.0)
    equal(item.UniqueName(), '60W')
    item.SetName('Key')
    equal(item.UniqueName(), 'Key')
    item.SetName(None)
    equal(item.UniqueName(), '60W')
    lamp.notes = 'bright'
    heard()
    copy = kz.object.Item(item.Duplicate(0))
    equal((heard(), LAST['lamp'].notes, copy.UniqueName()),
          (['Write', 'Initialize', 'Read', ('Newborn', fNEWBORN_COPY), ('AddedTo', 2)], 'bright', '60W (2)'))
    lamp.notes = 'brighter'
    scene.ItemRemove(item)
    equal(heard(), ['Write', ('Doomed', '60W'), 'Cleanup'])
    UNDO.Undo(1)
    equal((heard(), LAST['lamp'].notes), (['Initialize', 'Read', ('Newborn', fNEWBORN_UNDO), ('AddedTo', 2)], 'brighter'))
    SCENES.Close(scene)
    equal(heard(), ['Cleanup', 'Cleanup'])


def check_a_package_may_keep_its_item():
    scene, item, lamp = new()
    lamp.notes = 'keep'
    item.SetName('kept')
    fails('NOACCESS', (kz.eval, 'item.delete kept'))
    equal(item.IsValid(), True)
    lamp.notes = ''
    kz.eval('item.delete kept')
    equal(item.IsValid(), False)


def check_a_package_that_raises_makes_no_item():
    scene, item, lamp = new()
    heard()
    for name in ('Attach', 'Initialize'):
        Instance.fails = (name,)
        fails('FAILED', (scene.ItemAdd, item.Type()), (item.Duplicate, 0))
        fails('FAILED', (kz.eval, 'item.create test.lamp'))
        equal(scene.ItemCount(item.Type()), 1)
        says('%s of the package "test.lamp" ended with FAILED' % name)
    Instance.fails = ('Newborn', 'AddedTo', 'Doomed', 'Write', 'Cleanup')
    other = scene.ItemAdd(item.Type())
    scene.ItemRemove(other)
    says('Write of the package "test.lamp" ended with FAILED')
    Instance.fails = ()
    equal(scene.ItemCount(item.Type()), 1)
    Instance.fails = ('Initialize',)
    UNDO.Undo(1)  # the item comes back without its instance
    Instance.fails = ()
    equal((scene.ItemCount(item.Type()), value(scene, scene.ItemByIndex(item.Type(), 1), 'watts')), (2, 40.0))


def check_packages_that_cannot_be_types():
    class Raises(Lamp):
        def pkg_SetupChannels(self, channels):
            raise ValueError('planted')

    for name, kind, tags, why in (
            ('test.raises', Raises, {}, 'SetupChannels ended with FAILED'),
            ('test.orphan', Spot, {s_PKGTAG_SUPERTYPE: 'nothing'}, 'there is no item type "nothing"'),
            ('mesh', Spot, {}, 'there is a type of that name'),
            ('test.guestOfNobody', Spot, {s_PKGTAG_TARGET: 'mesh nothing'}, 'there is no item type "mesh nothing"')):
        kz.bless(kind, name, tags)
        if name != 'mesh':
            fails('NOTFOUND', (SCENES.ItemTypeLookup, name))
        says('the package "%s" adds no item type: %s' % (name, why))


class Quiet(Instance):
    def pins_SynthName(self):
        return ''


class Guest(Lamp):
    """A package for items of other types, which takes along a companion when its item is copied or removed."""
    companion = None

    def pkg_SetupChannels(self, channels):
        kz.object.AddChannel(channels).NewChannel('glow', 'percent')

    def pkg_Attach(self):
        LAST['lamp'] = Quiet()
        return LAST['lamp']

    def pkg_CollectItems(self, items, purpose):
        HEARD.append(('CollectItems', purpose))
        if Guest.companion:
            kz.object.ItemCollection(items).Add(Guest.companion)

    def pkg_TestInterface(self, name):
        return False


def check_some_packages_come_to_items_of_other_types():
    kz.bless(Guest, 'test.guest', {s_PKGTAG_TARGET: 'mesh locator'})
    kz.bless(Spot, 'test.always', {s_PKGTAG_TARGET: 'camera', s_PKGTAG_AUTOADD: '1'})
    scene = SCENES.Create('guests')
    item, other, camera, light = [scene.ItemAdd(SCENES.ItemTypeLookup(kind))
                                  for kind in ('mesh', 'locator', 'camera', 'material')]
    packages = lambda: [item.PackageByIndex(index) for index in range(item.PackageCount())]
    equal((packages(), camera.PackageTest('test.always'), camera.ChannelPackage(camera.ChannelLookup('cone'))),
          ([], True, 'test.always'))
    heard()
    item.PackageAdd('test.guest')
    equal((heard(), packages()), (['Initialize', ('Newborn', 0), ('AddedTo', 1)], ['test.guest']))
    LAST['lamp'].notes = 'early'
    UNDO.Undo(1)
    UNDO.Redo(1)
    equal((heard()[:2], LAST['lamp'].notes), (['Write', 'Cleanup'], 'early'))
    guest = LAST['lamp']
    fails('ALREADYEXISTS', (item.PackageAdd, 'test.guest'))
    fails('NOTFOUND', (item.PackageAdd, 'nothing'), (item.PackageAdd, 'test.lamp'), (other.PackageRemove, 'test.guest'))
    fails('NOTSUPPORTED', (light.PackageAdd, 'test.guest'))
    fails('NOACCESS', (item.ChannelRemove, 'glow'))
    Instance.fails = ('Initialize',)
    fails('FAILED', (other.PackageAdd, 'test.guest'))
    Instance.fails = ()
    equal((other.PackageCount(), result_of(other.ChannelLookup, 'glow')), (0, 'NOTFOUND'))
    item.PackageAdd('draw.options')
    guest.notes = 'kept'
    scene.WriteChannels(None, 0.0).DoubleByName(item, 'glow', .5)
    heard()
    item.PackageRemove('test.guest')
    equal((heard(), packages()), (['Write', 'Cleanup'], ['draw.options']))
    UNDO.Undo(1)
    equal((heard(), packages(), LAST['lamp'].notes, value(scene, item, 'glow')),
          (['Initialize', 'Read', ('Newborn', fNEWBORN_UNDO), ('AddedTo', 1)], ['test.guest', 'draw.options'], 'kept', .5))
    copy = item.Duplicate(0)
    equal((copy.PackageTest('test.guest'), LAST['lamp'].notes, value(scene, copy, 'glow')), (True, 'kept', .5))
    lamp = scene.ItemAdd(SCENES.ItemTypeLookup('test.lamp'))
    Guest.companion, Instance.fails = lamp, ('Attach',)
    counts = lambda: [scene.ItemCount(each.Type()) for each in (item, lamp)]
    before = counts()
    fails('FAILED', (item.Duplicate, 0))
    equal(counts(), before)
    Instance.fails = ()
    item.Duplicate(0)
    equal(counts(), [number + 1 for number in before])
    UNDO.Undo(1)
    scene.ItemRemove(lamp)
    Guest.companion = other
    heard()
    items = SCENES.CreateCollection()
    items.Add(item)
    equal((items.Duplicate(scene, 0).Count(), heard()[:2], LAST['lamp'].notes),
          (2, [('CollectItems', iCOLLECT_DUPLICATE), 'Write'], 'kept'))
    folder = tempfile.mkdtemp()
    try:
        path, part = os.path.join(folder, 'guests.kzscene'), os.path.join(folder, 'part.kzscene')
        SCENES.Save(scene, path, None)
        text = open(path).read()
        equal('package "test.guest"' in text and 'from "test.guest"' in text, True)
        loaded = SCENES.Load(path, None)
        found = loaded.ItemByIndex(item.Type(), 0)
        equal((found.PackageTest('test.guest'), LAST['lamp'].notes, value(loaded, found, 'glow')), (True, 'kept', .5))
        SCENES.Save(loaded, part, None)
        equal(open(part).read(), text)
        open(part, 'w').write(text.replace('test.guest', 'test.gone'))
        SCENES.Save(SCENES.Load(part, None), part, None)
        equal(open(part).read(), text.replace('test.guest', 'test.gone'))
        for bad in ('package ""', 'package "test.guest"\npackage "test.guest"', 'from "test.other"'):
            line = next(each for each in text.splitlines() if each.startswith(bad.split()[0]))
            open(part, 'w').write(text.replace(line, bad, 1))
            fails('FAILED', (SCENES.Load, part, None))
    finally:
        shutil.rmtree(folder)
    heard()
    scene.ItemRemove(item)
    equal((heard()[0], item.IsValid(), other.IsValid()), (('CollectItems', iCOLLECT_DELETE), False, False))
    Guest.companion = None
    UNDO.Undo(1)
    equal((item.IsValid(), other.IsValid()), (True, True))


def check_scenes_keep_items_and_their_data():
    folder = tempfile.mkdtemp()
    try:
        path = os.path.join(folder, 'lamps.kzscene')
        scene, item, lamp = new()
        other = scene.ItemAdd(SCENES.ItemTypeLookup('locator'))
        lamp.notes, lamp.friend = 'bright \xe2\x82\xac', other
        scene.WriteChannels(None, 0.0).DoubleByName(item, 'watts', 75.0)
        SCENES.Save(scene, path, None)
        text = open(path).read()
        equal('data "test.lamp" 3 ' in text, True)
        heard()
        loaded = SCENES.Load(path, None)
        equal(heard(), ['Initialize', 'Loading', 'Read', 'AfterLoad', 'PostLoad', ('AddedTo', 1)])
        found = loaded.ItemByIndex(item.Type(), 0)
        equal((LAST['lamp'].notes, LAST['lamp'].friend.Ident(), found.UniqueName(), loaded.IsModified()),
              (lamp.notes, other.Ident(), '75W', False))
        SCENES.Import(path, loaded, None)
        equal((loaded.ItemCount(item.Type()), LAST['lamp'].notes), (2, lamp.notes))
        equal(LAST['lamp'].friend.Ident() in (None, other.Ident()), False)
        UNDO.Undo(1)
        equal(loaded.ItemCount(item.Type()), 1)
        # A host without the package keeps all of it, and so does one whose package fails.
        unknown = os.path.join(folder, 'unknown.kzscene')
        open(unknown, 'w').write(text.replace('test.lamp', 'test.gone'))
        placeholder = SCENES.Load(unknown, None)
        SCENES.Save(placeholder, unknown, None)
        equal(open(unknown).read(), text.replace('test.lamp', 'test.gone'))
        for step in ('Attach', 'Initialize', 'Read', 'AfterLoad'):
            Instance.fails = (step,)
            again = SCENES.Load(path, None)
            Instance.fails = ()
            SCENES.Save(again, unknown, None)
            equal((step, open(unknown).read() == text), (step, True))
            SCENES.Close(again)
        for bad in ('data "test.lamp" 3 0', 'data "test.lamp" 3 zz', 'data "test.lamp" 3 00'):
            line = next(each for each in text.splitlines() if each.startswith('data'))
            open(unknown, 'w').write(text.replace(line, line + '\n' + bad if bad.endswith('00') else bad))
            fails('FAILED', (SCENES.Load, unknown, None))
    finally:
        shutil.rmtree(folder)


def check_files_of_instances_are_assets():
    folder = tempfile.mkdtemp()
    try:
        scene, item, lamp = new()
        assets = kz.object.SceneAssets(scene.Assets())
        equal(assets.Count(), 0)
        lamp.path = os.path.join(folder, 'photo.png')
        open(lamp.path, 'w').close()
        equal((assets.Count(), assets.ByIndex(0)[1]), (1, 'photo'))
        photo = kz.object.FileReference(assets.Reference(0))
        equal((photo.Path(), photo.IsFound()), (lamp.path, True))
        assets.Gather(os.path.join(folder, 'all'), 1)
        equal((photo.Path(), photo.IsFound()), (os.path.join(folder, 'all', 'photo.png'), True))
        photo.SetPath('elsewhere')
        equal((lamp.path, photo.IsFound()), ('elsewhere', False))
        Instance.fails = ('SetFilename',)
        fails('FAILED', (photo.SetPath, 'again'))
        Instance.fails = ()
    finally:
        shutil.rmtree(folder)
