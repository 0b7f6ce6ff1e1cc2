"""Services beside those of services.py: streams and block stores, encodings, caches, notifiers, files of URLs, and
those that this host cannot offer."""
import os
import shutil
import tempfile

import kz
import kzifc
from checks import code_of, equal, fails, near, reasons, result_of, storage
from kz.symbol import (fBLOCKSTORE_CHECKSUM, fBLOCKSTORE_CREATE, fBLOCKSTORE_READ, fNOTIFY_LABEL, fNOTIFY_VALUE, i_STREAM_BINARY, i_STREAM_CONFIG, i_STREAM_TEXT,
                       i_TBLX_FEATURE_UV, iREMAPRULE_FOLDER, iREMAPRULE_NAME, iREMAPRULE_PATTERN, sBLOCKSTORE_INDEXED,
                       sBLOCKSTORE_PLAIN, sNOTIFIER_UNITS, u_CACHEOWNER_IMAGES, u_CACHEOWNER_SCENE)

io, folder = kz.service.IO(), tempfile.mkdtemp()
ABCD, ODD = 0x41424344, 0x01020304


def path(name):
    return os.path.join(folder, name)


def check_streams_read_what_they_wrote_in_both_flavours():
    scene = kz.service.Scene().Create('streams')
    item = scene.ItemAdd(kz.service.Scene().ItemTypeLookup('mesh'))
    for kind in (i_STREAM_BINARY, i_STREAM_TEXT, i_STREAM_CONFIG):
        out = io.OpenWrite(path('stream'), kind, 7)
        out.WriteInt(-5)
        out.Open(ABCD)
        out.WriteString('two "words"\n\\n')
        out.Open(ODD)
        out.WriteDouble(0.1)
        out.Close()
        out.WriteFloat(0.1)
        out.WriteVector((1, -2, 1e-300))
        out.Close()
        out.WriteItem(item)
        out.WriteItem(None)
        values = [kz.service.Value().CreateValue(name) for name in ('integer', 'distance', 'string', 'color')]
        for value, text in zip(values, ('-3', '0.1', 'two "words"', '0.25 0.5 1')):
            value.SetString(text)
            value.Write(out)
        out.WriteByte(255)
        out.WriteBytes(3, storage('b', 0, 10, 255))
        fails('INVALIDARG', (out.WriteByte, 256), (out.WriteBytes, 1, None))
        fails('NOTREADY', (out.Close,))
        del out
        stream = io.OpenRead(path('stream'), kind)
        equal((kind, stream.Version(), stream.ReadInt()), (kind, 7, -5))
        equal((kind, stream.Open()[0], stream.ReadString()), (kind, ABCD, 'two "words"\n\\n'))
        equal((kind, stream.Open()), (kind, (ODD, 8)))
        stream.Close()  # unread
        near([stream.ReadFloat()], [0.1], 1e-8)
        equal((kind, stream.ReadVector(), stream.Remaining()), (kind, (1, -2, 1e-300), 0))
        fails('IO_SHORTREAD', (stream.ReadInt,), (stream.ReadString,), (values[2].Read, stream), (values[3].Read, stream))
        fails('OUTOFBOUNDS', (stream.Open,))
        stream.Close()
        equal((kind, stream.ReadItem().Ident()), (kind, item.Ident()))
        fails('NOTFOUND', (stream.ReadItem,))
        for value in values:
            again = kz.service.Value().CreateValue(value.TypeName())
            again.Read(stream)
            equal((kind, again.GetString()), (kind, value.GetString()))
        room = storage('b', 0, 0, 0)
        equal((kind, stream.ReadByte(), stream.ReadBytes(3, room), room.get()), (kind, 255, None, (0, 10, 255)))
        fails('IO_ERROR', (io.OpenRead, path('stream'), i_STREAM_BINARY if kind == i_STREAM_TEXT else i_STREAM_TEXT))


def check_damaged_streams_are_told():
    out = io.OpenWrite(path('cut'), i_STREAM_BINARY, 1)
    out.Open(ABCD)
    out.WriteString('text')
    del out  # closes what is open
    whole = open(path('cut'), 'rb').read()
    open(path('cut'), 'wb').write(whole[:-2])
    fails('IO_TRUNCATED', (io.OpenRead(path('cut'), i_STREAM_BINARY).Open,))
    for text in ('', 'kzstream TEXT 1\nblock ABCD\n', 'kzstream TEXT 1\nend\n', 'kzstream TEXT 1\nint x\n',
                 'kzstream TEXT 1\nstring "x\n', 'kzstream TEXT 1\nblock toolong\n', 'kzstream TEXT 1\nbytes 0g\n'):
        open(path('bad'), 'w').write(text)
        equal((text, code_of(io.OpenRead, path('bad'), i_STREAM_TEXT) in ('IO_ERROR', 'IO_TRUNCATED')), (text, True))
    fails('NOTFOUND', (io.OpenRead, path('none'), i_STREAM_TEXT), (io.OpenWrite, path('no/folder'), i_STREAM_TEXT, 0))
    fails('INVALIDARG', (io.OpenRead, path('bad'), 1))
    memory = storage('b', *[ord(each) for each in 'abc'])
    fails('IO_PARTIALSTRING', (io.OpenMemory(3, memory).ReadString,))
    stream = io.OpenMemory(3, memory)
    memory.set((0, 0, 0))
    del memory  # the stream has bytes of its own
    equal([stream.ReadByte() for _ in 'abc'], map(ord, 'abc'))


def check_block_stores_keep_their_blocks():
    for name in (sBLOCKSTORE_PLAIN, sBLOCKSTORE_INDEXED):
        store = io.OpenBlockStore(path(name), name, fBLOCKSTORE_CREATE | fBLOCKSTORE_CHECKSUM)
        store = store[1]
        store.Define([(ABCD, '\x01\x02\x03'), (ODD, '\x04')])
        fails('REF_DUPLICATE', (store.Append, [(5, '\x01'), (ABCD, '\x01')]))
        fails('REF_BADID', (store.Replace, [(5, '\x01')]))
        fails('ALREADYEXISTS', (store.Define, []))
        store.Write(ABCD, 1, 2, storage('b', 8, 9))
        fails('OUTOFBOUNDS', (store.Write, ABCD, 2, 2, storage('b', 8, 9)), (store.Info, 2))
        store.Flush()
        equal((name, io.TestFormat(path(name), name)), (name, True))
        store = io.OpenBlockStore(path(name), name, fBLOCKSTORE_READ)
        store = store[1]
        room = storage('b', 0, 0, 0)
        store.Read(ABCD, 0, 3, room)
        equal((name, store.Count(), store.Info(1), room.get()), (name, 2, (ODD, 1), (1, 8, 9)))
        fails('NOACCESS', (store.Write, ABCD, 0, 1, room), (store.Flush,))


def check_moved_files_are_found_by_their_rules():
    redirect = io.Redirect()
    redirect.Clear()
    open(path('here.txt'), 'w').write('x')
    fails('NOTFOUND', (redirect.Locate, '/gone/here.txt', 'image'))
    for rule, found in ((('/gone', folder, iREMAPRULE_FOLDER), 'REMAP_PATH'),
                        (('/gone/h*.txt', path('here.txt'), iREMAPRULE_PATTERN), 'REMAP_PATTERN'),
                        (('/gone/here.txt', path('here.txt'), iREMAPRULE_PATTERN), 'REMAP_DIRECT'),
                        (('here.txt', path('here.txt'), iREMAPRULE_NAME), 'REMAP_BASENAME')):
        redirect.Clear()
        redirect.AddRule(*rule)
        equal((rule, redirect.Locate('/gone/here.txt', 'image')), (rule, (path('here.txt'), getattr(kz.result, found))))
    equal(redirect.Locate(path('here.txt'), 'image'), (path('here.txt'), 0))
    redirect.Clear()


class Bytes(kzifc.Buffer):
    def __init__(self):
        self.data = ''

    def buff_Clear(self):
        self.data = ''

    def buff_Write(self, offset, count, data):
        self.data = self.data[:offset] + ''.join(chr(data[at] % 256) for at in range(count))


def check_encodings_convert_and_are_guessed():
    encodings = kz.service.TextEncoding()
    names = [encodings.ByIndex(index).Name() for index in range(encodings.Count())]
    equal(names, sorted(names))
    for name, text, coded in (('ISO-8859-1', 'caf\xc3\xa9', 'caf\xe9'), ('utf-16le', 'a\xc3\xa9', 'a\0\xe9\0'),
                              ('windows-1252', '\xe2\x82\xac', '\x80'), ('shift_jis', '\xe3\x81\x82', '\x82\xa0')):
        encoding, target = encodings.Lookup(name), Bytes()
        encoding.Encode(text, target)
        raw = storage('b', *[ord(each) for each in coded])
        equal((name, target.data, encoding.Decode(len(coded), raw)), (name, coded, text))
    latin = encodings.Lookup('iso-8859-1')
    equal([latin.CanEncode('\xc3\xa9'), latin.CanEncode('\xe2\x82\xac')], [True, False])
    equal(encodings.Lookup('windows-1252').CodePoint(0x80), 0x20ac)
    fails('INVALIDARG', (encodings.Lookup('utf-8').Decode, 1, storage('b', 0xff)))
    fails('NOTFOUND', (encodings.Lookup, 'klingon'), (encodings.SetDefault, 0, 'klingon'))
    for text, name in (('plain', 'us-ascii'), ('caf\xc3\xa9', 'utf-8'), ('caf\xe9', 'windows-1252'),
                       ('\x81\x8d', 'iso-8859-1'), ('\xff\xfea\0', 'utf-16le')):
        found = encodings.Detect(len(text), storage('b', *[ord(each) for each in text]))
        equal((text, found[0].Name()), (text, name))


class Kept(kzifc.CacheData):
    def cache_Size(self):
        return 1000


def check_results_are_kept_under_owner_and_number():
    cache = kz.service.Cache()
    before = cache.MemoryUsed()
    for key in (1, 2):
        cache.Keep(u_CACHEOWNER_IMAGES, key, Kept())
    cache.Keep(u_CACHEOWNER_IMAGES, 1, Kept())
    equal(cache.MemoryUsed() - before, 2000)
    equal(cache.Find(u_CACHEOWNER_IMAGES, 1).Size(), 1000)
    fails('NOTFOUND', (cache.Find, u_CACHEOWNER_SCENE, 1), (cache.Find, u_CACHEOWNER_IMAGES, 3))
    cache.Drop(u_CACHEOWNER_IMAGES, 1)
    fails('NOTFOUND', (cache.Drop, u_CACHEOWNER_IMAGES, 1))
    huge = type('Huge', (kzifc.CacheData,), {'cache_Size': lambda self: int(cache.MemoryLimit())})
    cache.Keep(u_CACHEOWNER_SCENE, 1, huge())  # drops what was used longest ago
    fails('NOTFOUND', (cache.Find, u_CACHEOWNER_IMAGES, 2))
    cache.DropAll(u_CACHEOWNER_SCENE)
    equal(cache.MemoryUsed(), 0)


class Client(kzifc.CommandEvent):
    heard = []

    def cevt_Event(self, flags):
        self.heard.append(flags)


def check_notifiers_tell_their_clients():
    notify, client = kz.service.NotifySys(), kz.object.Unknown(Client())
    units = notify.Lookup(sNOTIFIER_UNITS, '')
    equal((units.Name(), units.Args()), (sNOTIFIER_UNITS, ''))
    units.AddClient(client)
    notify.Send(sNOTIFIER_UNITS, '', fNOTIFY_VALUE)
    notify.Send(sNOTIFIER_UNITS, 'others', fNOTIFY_VALUE)
    kz.bless(type('Teller', (kzifc.Command,), {'cmd_Execute': lambda self, flags: [
        notify.Defer(sNOTIFIER_UNITS, '', each) for each in (fNOTIFY_VALUE, fNOTIFY_LABEL)] and
        Client.heard.append(('waiting', notify.DeferredCount()))}), 'test.tell')
    kz.eval('test.tell')
    equal(Client.heard, [fNOTIFY_VALUE, ('waiting', 1), fNOTIFY_VALUE | fNOTIFY_LABEL])
    units.RemoveClient(client)
    fails('NOTFOUND', (units.RemoveClient, client), (notify.Lookup, 'nothing', ''), (notify.Send, 'nothing', '', 1))


def check_only_files_are_fetched():
    network, content = kz.service.Network(), Bytes()
    open(path('a b'), 'wb').write('x' * 100000)
    network.Fetch('file://' + path('a%20b'), content, None)
    equal((network.IsOnline(), network.PeerCount(), content.data == 'x' * 100000), (False, 0, True))
    network.FetchFile('file://' + path('a b'), path('copy'), 0)
    equal(os.path.getsize(path('copy')), 100000)
    fails('ALREADYEXISTS', (network.FetchFile, 'file://' + path('a b'), path('copy'), 0))
    fails('NOTAVAILABLE', (network.Fetch, 'http://example.org/', content, None), (network.Send, 'x', 'y', 0))
    fails('NOTFOUND', (network.Fetch, 'file://' + path('none'), content, None))


def check_features_of_vertices_are_known():
    features = kz.service.VertexFeature()
    for index in range(features.Count()):
        feature = features.ByIndex(index)
        equal((feature, features.Lookup(features.Name(feature))), (feature, feature))
    equal((features.Dimension(i_TBLX_FEATURE_UV), features.Dimension(1)), (2, 0))


def check_every_service_answers_or_says_why_not():
    absent = [kz.service.Render(), kz.service.ValueHUD(), kz.service.View3Dport(), kz.service.Interviewer()]
    fails('NOTAVAILABLE', (absent[0].State,), (absent[1].SetVisible, 1), (absent[2].ViewByIndex, 0),
          (absent[3].Cancel, None))
    equal([absent[0].IsRendering(), absent[2].Count(), absent[2].Current(), absent[3].IsActive()],
          [False, 0, -1, False])
    equal([line for line in reasons() if 'Render.State' in line], ['Render.State: this host has no renderer'])


class Metrics(kzifc.DirCacheFileMetrics):
    def dcfilemetrics_Metrics(self, path, metrics):
        if not path.endswith('.txt'):
            kz.throw(kz.result.NOTIMPL)
        metrics = kz.object.Attributes(metrics)
        metrics.SetInt(metrics.Lookup('itemCount'), len(open(path).read()))
        metrics.SetString(metrics.Lookup('caption'), 'a text')
        fails('CMD_ERROR_SETTING_DATATYPE', (metrics.SetString, metrics.Lookup('bitDepth'), 'many'))
        fails('NOTFOUND', (metrics.Lookup, 'nothing'), (metrics.GetInt, metrics.Lookup('bitDepth')))


def check_folders_are_read_and_kept():
    kz.bless(Metrics, 'test.metrics')
    root, cache = os.path.realpath(tempfile.mkdtemp()), kz.service.DirCache()
    try:
        os.mkdir(root + '/sub')
        for name in ('b.txt', 'a.kzscene', '.hidden', 'sub/c.txt'):
            open(os.path.join(root, name), 'w').write(name)
        os.symlink(root, root + '/sub/again')
        image = kz.service.Image().Create(8, 4, kz.symbol.iIMG_FORMAT_RGB24, 0)
        kz.service.Image().Save(image, root + '/p.png', None, None)
        entry = cache.Lookup(root + '/./sub/..')
        names = lambda what=3, of=entry: [of.ChildByIndex(what, i).Name() for i in range(of.ChildCount(what))]
        equal((entry.Path(), names()), (root, []))
        cache.Scan(entry, 0)
        equal((names(), names(1), names(2)), (['a.kzscene', 'b.txt', 'p.png', 'sub'], ['a.kzscene', 'b.txt', 'p.png'], ['sub']))
        scene, text, picture, sub = [entry.ChildByIndex(3, i) for i in range(4)]
        equal((text.UserName(), text.FileSize(), text.FileClass(), scene.FileClass(), picture.FileClass(), sub.IsDirectory()),
              ('b', 5.0, None, 'scene', 'image', True))
        equal((picture.Thumbnail(4, 4).Size(), picture.Thumbnail(100, 100).Size(), text.Metric('size').GetFlt()), ((4, 2), (8, 4), 5.0))
        fails('NOTAVAILABLE', (sub.FileSize,))
        fails('NOTREADY', (text.Metric, 'caption'))
        fails('NOTFOUND', (text.Thumbnail, 4, 4), (text.Metric, 'nothing'), (cache.Scan, text, 0))
        cache.Scan(entry, kz.symbol.fDCSCAN_RECURSE | kz.symbol.fDCSCAN_METRICS | kz.symbol.fDCSCAN_HIDDEN)
        equal((names()[0], names(3, sub), text.Metric('itemCount').GetInt(), text.Metric('caption').GetString()),
              ('.hidden', ['again', 'c.txt'], 5, 'a text'))
        open(root + '/b.txt', 'a').write('more')
        equal(text.FileSize(), 5.0)
        text.Refresh()
        equal((text.FileSize(), text.Metric('itemCount').GetInt(), text.Parent().Path()), (9.0, 9, root))
        os.remove(root + '/a.kzscene')
        cache.Invalidate(root + '/a.kzscene')
        equal(scene.IsSynthetic(), True)
        cache.BasePathAdd('files', root, -1)
        fails('ALREADYEXISTS', (cache.BasePathAdd, 'files', root + '/', 0))
        fails('NOTFOUND', (entry.Parent,), (cache.BasePathCount, 'nothing'), (cache.BasePathRemove, 'clips', root))
        equal((cache.BasePathCount('files'), cache.BasePathByIndex('files', 0)), (1, root))
        cache.BasePathRemove('files', root)
        stars = kz.service.Value().CreateValue('integer')
        stars.SetInt(4)
        cache.SetMark(text, 'stars', stars)
        equal((cache.Mark(text, 'stars').GetInt(), cache.Mark(text, 'stars').TypeName()), (4, 'integer'))
        cache.SetMark(text, 'stars', None)
        fails('NOTFOUND', (cache.Mark, text, 'stars'), (cache.Mark, sub, 'stars'))
        equal(cache.IsScanning(), False)
    finally:
        shutil.rmtree(root)


def check_commands_say_what_they_are_and_where_a_text_ends():
    commands = kz.service.Command()
    help = commands.Help('user.value')
    equal((help.Command(), help.UserName(), help.ArgCount(), help.ArgText(0)), (
        'user.value', 'User Value', commands_count('user.value'), ('name', "the value's name; queried, the names of all values")))
    fails('NOTFOUND', (commands.Help, 'nothing'), (help.Example,), (help.ArgChoice, 0, 'x'))
    fails('OUTOFBOUNDS', (help.ArgText, 99), (help.ArgChoice, 99, 'x'))
    for text, expected in (('', (0, 0)), ('size val', (1, 5)), ('{two words} value:{1 2', (1, 18)), ('type:int', (2, 5)),
                           ('x ""', (1, 2)), ('nothing:1', 'NOTFOUND'), ('x {', (1, 2)), ('{x}y z', 'CMD_BAD_DEFINITION')):
        equal((text, result_of(commands.ParseArgStringPartial, commands.Spawn(0, 'user.value'), text)), (text, expected))
    kz.service.Undo().Suspend(1)
    locked = commands.IsUndoLocked()
    kz.service.Undo().Suspend(0)
    equal((locked, commands.IsUndoLocked()), (True, False))


def commands_count(name):
    return kz.object.Attributes(kz.service.Command().Spawn(0, name)).Count()


def check_options_know_their_defaults():
    attributes = kz.object.Attributes(kz.service.Command().Spawn(0, 'user.value'))
    attributes.SetString(0, 'plain')
    options = io.CreateOptions(attributes)
    equal((options.IsDefault(), options.Summary()), (True, ''))
    attributes.SetString(0, 'two words')
    equal((options.IsDefault(), options.Summary(), options.Attributes().GetString(0)), (False, 'name:{two words}', 'two words'))
    options.Reset()
    equal((options.IsDefault(), attributes.GetString(0)), (True, 'plain'))
    attributes.SetString(1, 'x')
    fails('NOTAVAILABLE', (options.Reset,))
    fails('INVALIDARG', (io.CreateOptions, None), (io.CreateOptions, kz.service.Scene().Create('none')))
