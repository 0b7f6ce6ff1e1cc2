"""Has the host use the spies in as many ways as it can. Only the host may call their operations here.

    KZ_SPIES=/tmp/noted kzhost --import-path tools/spies run tools/spies/drive.py FOLDER
"""

import inspect
import time

import kz
import kzifc
import kz.service as service
from kz import symbol
from kzserv.servers import spies

FOLDER, = kz.args()
commands, values, messages, threads = service.Command(), service.Value(), service.Message(), service.Thread()
images, meshes, scenes = service.Image(), service.Mesh(), service.Scene()


def attempt(call, *args):
    """A spy that answers little makes many calls fail."""
    try:
        return call(*args)
    except (RuntimeError, NotImplementedError, LookupError, TypeError):
        return None


def all_done(*kinds, **answers):
    """A class of spies whose operations all answer that they went well."""
    names = [name for kind in kinds for name in spies.operations(kind)]
    return spies.spy_class(*kinds, **dict(dict.fromkeys(names, spies.done), **answers))


def drive_commands():
    image, array, client = images.Create(1, 1, symbol.iIMG_FORMAT_GREY, 0), values.CreateValueArray('string'), \
        messages.Allocate()
    passed = {'message': client, 'client': client, 'source': commands.Spawn(0, 'log.clear'), 'values': array,
              'text': '1', 'argument': -1, 'image': image}
    command = kz.object.Command(commands.Spawn(0, 'spied.command'))
    for operation in spies.operations('Command'):
        names = inspect.getargspec(getattr(kzifc.Command, operation)).args[1:]
        attempt(getattr(command, operation[len('cmd_'):]), *[passed.get(name, 0) for name in names])
    for text in ('spied.command a', '??spied.command', '?spied.command', 'spied.command state:true', 'bare.command',
                 'spied.command text:?', 'spied.command a count:2 size:1.5 mode:two', 'spied.command a state:?'):
        attempt(kz.eval, text)
    attempt(kz.queryToggle, 'spied.command state:?')
    attempt(commands.GetToggleArgState, command)
    attempt(commands.ParseArgString, command, 0, 'a true')
    attempt(commands.ParseAttribObject, command, 0, commands.Spawn(0, 'log.clear'))
    attempt(commands.ParseAttribObject, commands.Spawn(0, 'log.lines'), 0, command)
    attempt(commands.ParseArgStringPartial, command, 'a t')
    attempt(commands.ToString, command)
    help = commands.Help('spied.command')
    for say in help.Command, help.UserName, help.Desc, help.Example:
        attempt(say)
    attempt(help.ArgText, 0)
    attempt(commands.AliasCreate, 'alias', 'spied.command a', 0)
    attempt(kz.eval, 'alias')
    attempt(commands.AliasRemove, 'alias')
    for name, attributes in (('command', 'exists arguments argumentsEnabled dialog enabled'), ('value', 'choices')):
        query = kz.Service(name)
        for attribute in attributes.split():
            for selected in ('spied.command', 'spied'):
                attempt(query.select, attribute, selected)
                attempt(query.queryN, attribute)


def drive_values():
    for kind in ('spied', 'spied.number'):
        made, other = values.CreateValue(kind), values.CreateValue('string')
        for nice in (0, 1):
            attempt(values.EncodeText, made, nice)
            attempt(values.DecodeText, '2', nice, made)
        attempt(values.Duplicate, made)
        attempt(values.Convert, made, other)
        attempt(values.Convert, other, made)
        attempt(values.Convert, made, values.CreateValue(kind))
        array = values.CreateValueArray(kind)
        for call, value in ((array.AddString, '3'), (array.AddInt, 3), (array.AddFloat, 3.0), (array.AddValue, made)):
            attempt(call, value)
        for call in (array.GetString, array.GetInt, array.GetFloat, array.GetValue):
            attempt(call, 0)
        attempt(array.Sort, 0)
        attempt(array.Lookup, '3')
        attempt(kz.eval, 'user.value kept 7 type:' + kind)
        attempt(kz.eval, 'user.value kept ?')
        message = messages.Allocate()
        message.SetMessage('pythonintr', 'exit_msg', 0)
        attempt(message.SetArgumentObject, 1, made)
        attempt(messages.MessageText, message)


def drive_messages():
    """Whatever takes a message takes one of Python's."""
    message = all_done('Message', msg_Code=symbol.e_FAILED, msg_Table='pythonintr', msg_Key='exit_msg',
                       msg_Argument='why')()
    attempt(messages.MessageText, message)
    attempt(service.StdDialog().MessageOpen, message, 0, '')
    attempt(service.Log().CreateEntryMessage, message)
    attempt(commands.ExecuteString, 0, 'nothing', message)
    attempt(commands.Spawn(0, 'log.clear').Enable, message)
    attempt(kz.eval, '@' + FOLDER + '/script.spied')


def drive_threads():
    """Jobs, values of threads, and work that the host does on several threads."""
    group = threads.CreateGroup()
    group.AddJob(all_done('ThreadJob')())
    group.Execute()
    while group.Running():
        time.sleep(0.01)
    slot = threads.CreateSlot(0, all_done('ThreadSlotClient', tsc_Alloc=spies.ADDRESS)())
    attempt(slot.Get)
    attempt(slot.Clear)
    share = all_done('SharedWork')
    work = all_done('SharedWork', share_Spawn=lambda self: share())
    attempt(threads.ProcessShared, work())
    attempt(threads.ProcessRange, None, 0, 9, all_done('ThreadRangeWorker')())
    jobs = spies.spy_class('WorkList', work_IsEmpty=False, work_Clear=spies.done)
    attempt(threads.ProcessShared, spies.spy_class(
        'WorkList', work_IsEmpty=False, work_Split=lambda self: jobs(), work_Next=lambda self: work(),
        work_Clear=spies.done)())


def drive_models():
    scene = scenes.Create('driven')
    item = scene.ItemAdd(scenes.ItemTypeLookup(symbol.sITYPE_MESH))
    mesh = meshes.FromItem(item, 0.0, 0)
    for each in mesh, meshes.Create():
        attempt(each.AddListener, spies.spy_class('MeshListener')())
    del each
    mesh.AddPoint((0, 0, 0))
    visitor = all_done('Visitor')()
    attempt(mesh.Points().Enumerate, 0, visitor)
    attempt(kz.eval, 'mesh.operate spied')
    kz.bless(all_done('MeshOperation'), 'spied.placed',
             {symbol.sTAG_MESHOP_TRANSFORM: '1'})
    attempt(kz.eval, 'mesh.operate spied.placed')
    kz.bless(all_done('MeshOperation', mop_Compare=symbol.iMESHOP_COMPARE_COMPATIBLE), 'spied.followed')
    attempt(kz.eval, 'mesh.operate spied.followed until:1 weight:0.5')
    attempt(kz.evalN, 'mesh.operate operation:?')
    read, write = scene.Channels('edit', 0.0), scene.WriteChannels('edit', 0.0)
    for channel in range(item.ChannelCount()):
        attempt(read.Value, item, channel, values.CreateValue('spied.number'))
        attempt(write.ValueObj, item, channel, values.CreateValue('spied.number'))


def drive_curves():
    walk = kz.object.PathStep(scenes.CreateWalker('PathStep'))
    walk.SetCount(3)
    for length in (0.0, 2.0):
        walk.Begin(spies.spy_class('Curve', curve_Length=length, curve_LengthTo=lambda self, param: param * length,
                                   curve_Position=lambda self, param: (param, 0, 0), curve_Param=.5)(), 0, 1)
        for _ in range(3):
            attempt(walk.Step)


def drive_pictures():
    picture = attempt(images.Load, FOLDER + '/a.spied', None)
    for source, name in ((picture, 'b.spied'), (spies.Lines(), 'c.spied'), (spies.Lines(), 'd.png')):
        attempt(images.Save, source, FOLDER + '/' + name, None, None)
    attempt(images.Save, spies.Layers(), FOLDER + '/e.png', None, None)
    attempt(kz.eval, 'image.filter spied "%s/d.png" "%s/f.png"' % (FOLDER, FOLDER))
    processing = service.ImageProcessing()
    settings, listener = processing.Create(), kz.object.Unknown(all_done('ImageProcessingListener')())
    settings.AddListener(listener)
    settings.SetExposure(1)
    attempt(processing.Read(settings).Process, images.Create(1, 1, symbol.iIMG_FORMAT_GREY, 0), 0, None)
    settings.RemoveListener(listener)


def drive_listeners():
    listener = service.Listener()
    every = spies.spy_class('SessionListener', 'CmdSysListener', 'LogListener', 'UserValueListener')()
    attempt(listener.AddListener, every)
    log = service.Log()
    lines = log.SubSystemLookup('driven')
    entry = log.CreateEntry(1, 'entry')
    lines.AddEntry(entry)
    entry.AddEntry(log.CreateEntry(1, 'child'))
    entry.SetInfo('file', 'driven')
    limit = log.MaxEntries()
    log.SetMaxEntries(1)
    lines.AddEntry(log.CreateEntry(1, 'one too many'))
    log.SetMaxEntries(limit)
    attempt(lines.Clear)
    attempt(log.Flush)
    for line in ('log.clear driven', 'user.value driven 1 type:integer', 'user.value driven 2',
                 'user.value driven life:config', 'user.value driven delete:true', 'scene.new driven',
                 'item.create locator', 'undo', 'redo', 'command.refire true', 'item.create locator a',
                 'item.create locator b', 'command.refire false', 'command.postMode true', 'command.repeat {name:c}',
                 'item.create locator d', 'command.postMode false'):
        attempt(kz.eval, line)
    attempt(scenes.Save, scenes.Current(), FOLDER + '/closed.kzscene', None)
    attempt(scenes.Close, scenes.Current())
    attempt(listener.RemoveListener, every)


def drive_notifiers():
    """Clients of the host's notifiers, and a notifier in place of one of these."""
    notifiers, undo = service.NotifySys(), commands.Spawn(0, 'undo')
    client = spies.spy_class('CommandEvent')()
    attempt(notifiers.Register, all_done('Notifier', noti_Name=symbol.sNOTIFIER_CMDSTATE, noti_Args='redo')())
    for command in undo, commands.Spawn(0, 'redo'):
        attempt(command.NotifyAddClient, symbol.iCMDARG_ALL, client)
    attempt(commands.Spawn(0, 'redo').NotifyRemoveClient, client)
    kz.bless(all_done('Notifier', noti_Name='spied.notifier', noti_Args=''), 'spied.notifier')
    attempt(notifiers.Send, 'spied.notifier', '', symbol.fNOTIFY_REFRESH)
    scene = scenes.Create('notified')
    scene.ItemAdd(scenes.ItemTypeLookup('locator'))
    kz.bless(all_done('AutoSaveListener'), 'spied.saving')
    for name, value in (('folder', FOLDER + '/copies type:string'), ('interval', '0 type:float'),
                        ('active', 'true type:boolean'), ('active', 'false')):
        attempt(kz.eval, 'user.value autosave.%s %s' % (name, value))


def drive_memory():
    entries = service.Persistence()
    define = lambda: entries.AddValue('number', 'integer', '1')
    for answer in spies.done, lambda self: define() and None:
        attempt(entries.Configure, 'driven', all_done('PersistenceClient', cc_Setup=answer)())
    attempt(lambda: entries.Lookup('driven/number').Value().SetInt(2))
    attempt(entries.Configure, 'driven', all_done('PersistenceClient')())
    scene = scenes.Create('presets')
    item = scene.ItemAdd(scenes.ItemTypeLookup(symbol.sITYPE_MESH))
    item.SetName('driven')
    path, browser, destinations = FOLDER + '/a.spied', service.PresetBrowser(), service.PresetDestination()
    attempt(browser.Save, path, 'spied', item, None)
    attempt(browser.Metrics, path, 0)
    attempt(destinations.Accepts, item, path)
    attempt(kz.eval, 'preset.apply {%s} driven' % path)
    attempt(kz.eval, 'preset.apply unknown driven')
    attempt(images.Save, images.Create(1, 1, symbol.iIMG_FORMAT_GREY, 0), FOLDER + '/thumbnail.png', None, None)
    attempt(kz.eval, 'preset.save {%s} driven spied thumbnail:{%s/thumbnail.png}' % (FOLDER + '/saved.spied', FOLDER))
    for asked in 'icon aspect size destination metadata markup line flags'.split():
        attempt(kz.evalN, 'preset.info {%s} %s:?' % (path, asked))
    attempt(kz.eval, 'preset.info {%s} {%s/written.png}' % (path, FOLDER))
    attempt(kz.eval, 'preset.do {%s}' % path)


def drive_folders():
    cache = service.DirCache()
    kz.bless(all_done('DirCacheFileMetrics'), 'spied.metrics')
    attempt(cache.Scan, cache.Lookup(FOLDER), symbol.fDCSCAN_METRICS)
    attempt(cache.Lookup(FOLDER + '/a.spied').Thumbnail, 1, 1)
    open(FOLDER + '/renamed.spied', 'w').close()
    attempt(kz.eval, 'file.rename {%s/renamed.spied} other.spied' % FOLDER)
    entry = lambda path, **more: all_done('DirCacheSyntheticEntry', dcsyne_Path=path, **more)()
    leaf = dict(dcsyne_IsFile=True, dcsyne_Size=1.0, dcsyne_DirUserName='leaf', dcsyne_FileExtension='spied',
                dcsyne_ModifiedTime=1.0, dcsyne_Thumbnail=None, dcsyne_Open=FOLDER + '/a.spied')
    root = lambda self: entry('', dcsyne_IsFile=False, dcsyne_DirCount=1, dcsyne_ModifiedTime=1.0, dcsyne_DirUserName='root',
                              dcsyne_FileExtension='', dcsyne_DirByIndex=lambda self, list, index: entry('leaf', **leaf))
    kz.bless(spies.spy_class('DirCacheSynthetic', dcsyn_Root=root, dcsyn_Lookup=lambda self, path: entry(path, **leaf)),
             'spied.folder', {symbol.sTAG_DIRSYNTH_ROOT: FOLDER + '/served'})
    attempt(cache.Scan, cache.Lookup(FOLDER + '/served'), symbol.fDCSCAN_METRICS)
    attempt(cache.Lookup(FOLDER + '/served/leaf').Thumbnail, 1, 1)
    attempt(kz.eval, 'file.fetch {%s/served/leaf} local:?' % FOLDER)
    kz.bless(spies.spy_class('ProjDirOverride', pdo_Override='.'), 'spied.project')
    scene = scenes.Create('project')
    clip = scene.ItemAdd(scenes.ItemTypeLookup('videoStill'))
    attempt(scene.WriteChannels(None, 0.0).StringByName, clip, 'filename', '/spied/outside.png')
    attempt(scenes.Save, scene, FOLDER + '/project.kzscene', None)
    scenes.Close(scene)
    scenes.Close(scenes.Load(FOLDER + '/project.kzscene', None))


def drive_time():
    """Modifiers of each kind, which are asked again after a change and after the structure is another one."""
    def declare(self, setup):
        kz.object.ChannelModSetup(setup).AddInput('pos.X', 0)
        kz.object.ChannelModSetup(setup).AddOutput('pos.Y', 0)

    def declare_alone(self, setup):
        declare(self, setup)
        return self

    def attach(self, item, index, evaluation):
        kz.object.Evaluation(evaluation).AddChannelName(kz.object.Item(item), 'pos.Z', symbol.fECHAN_WRITE)
        return all_done('Modifier', mod_RequiredCount=1)()

    tags = {symbol.s_EVALTAG_TYPE: 'groupLocator'}
    operator = all_done('ChannelModOperator')
    kz.bless(all_done('ChannelModItem', cmod_Allocate=declare_alone), 'spied.modItem', tags)
    kz.bless(all_done('ChannelModManager', cman_Define=declare, cman_Allocate=lambda self, modifier: operator()),
             'spied.modManager', tags)
    kz.bless(spies.spy_class('EvalModifier', eval_Alloc=attach), 'spied.modifier', tags)
    scene = scenes.Create('time')
    ear = spies.spy_class('AnimListener', 'ActionListener', 'SceneEvalListener')()
    attempt(service.Listener().AddListener, ear)
    items = [scene.ItemAdd(scenes.ItemTypeLookup('groupLocator')) for _ in range(2)]
    for moment in range(3):
        for item in items:
            for channel in ('pos.Y', 'pos.Z'):
                attempt(scene.Channels(None, float(moment)).DoubleByName, item, channel)
        attempt(scene.WriteChannels(None, 0.0).DoubleByName, items[0], 'pos.X', float(moment))
        items[1].SetParent(items[0] if moment else None, -1)
    times, write = kz.Storage('d', 2), scene.WriteChannels(None, 0.0)
    times.set((1.0, 2.0))
    x = items[0].ChannelLookup('pos.X')
    keys = lambda: write.Envelope(items[0], x).Keys()
    for call in ((write.Keys, items[0], x, 2, times, times), (lambda: keys().Add(3.0, 1.0),),
                 (lambda: [key.Last() or key.SetTime(4.0) or key.Remove() for key in [keys()]],),
                 (service.Selection().SetTime, 1.0), (write.DoubleByName, scene.Root(), 'currentStart', 0.5),
                 (scene.ActionAdd, 'driven', 0), (lambda: scene.ItemLookup('driven').SetName('renamed'),),
                 (lambda: scene.ItemRemove(scene.ItemLookup('renamed')),)):
        attempt(*call)
    attempt(service.Listener().RemoveListener, ear)
    scenes.Close(scene)
    undo = service.Undo()
    undo.Apply(all_done('Undo')())
    undo.Undo(1)
    undo.Redo(1)


def drive_selection():
    """What listeners of scenes and of the selection hear, and whom selections, groups and contents of scenes ask."""
    ear, listener = spies.spy_class('SceneItemListener', 'SelectionListener')(), service.Listener()
    selection = service.Selection()
    attempt(listener.AddListener, ear)
    other, scene = scenes.Create('other'), scenes.Create('chosen')
    group, mesh, child = [scene.ItemAdd(scenes.ItemTypeLookup(kind)) for kind in ('group', 'mesh', 'locator')]
    kz.bless(spies.spy_class('SelectionType', seltyp_Size=1, seltyp_Flags=symbol.fSELTYP_SUBTYPES, seltyp_Compare=0,
                             seltyp_SubType=1), 'spied.selection')
    kz.bless(all_done('SelectionOperation', selop_TestPoint=True, selop_TestEdge=True, selop_TestPolygon=True),
             'spied.operation')
    packets = kz.Storage('b', 2)
    packets.set((1, 2))
    attempt(lambda: selection.Replace(selection.TypeLookup('spied.selection'), 2, 2, packets))
    points = meshes.EditItem(mesh, None)
    ids = kz.Storage('p', 3)
    ids.set([points.AddPoint((corner, corner * corner, 0)) for corner in range(3)])
    points.AddPolygon(symbol.i_POLYTYPE_FACE, 3, ids)
    attempt(selection.SelectItem, mesh, symbol.iSELMODE_SET)
    for kind in 'point', 'edge', 'polygon':
        attempt(kz.eval, 'select.all ' + kind)
        attempt(kz.eval, 'select.operate spied.operation ' + kind)
    attempt(kz.eval, 'select.drop polygon')
    attempt(kz.eval, 'select.clear')
    attempt(selection.SetTime, 1.0)
    members, graph = kz.object.GroupItem(group), kz.object.ItemGraph(scene.GraphLookup(symbol.sGRAPH_SCHEMATIC))
    channels = kz.object.ChannelGraph(scene.GraphLookup(symbol.sGRAPH_CHANLINKS))
    for call in ((child.SetParent, mesh, -1), (child.SetParent, mesh, 0), (child.SetName, 'a'),
                 (child.SetTag, 1, 'text'), (child.SetFlags, symbol.fITEM_LOCKED, symbol.fITEM_LOCKED),
                 (child.ChannelAdd, 'own', 'float'), (child.ChannelRemove, 'own'),
                 (members.AddItem, child), (graph.AddLink, child, mesh),
                 (graph.AddLink, child, group), (graph.SetLink, child, 0, group, 0), (graph.DeleteLink, child, mesh),
                 (channels.AddLink, child, 0, mesh, 0), (channels.DeleteLink, child, 0, mesh, 0),
                 (scenes.SetCurrent, other), (scenes.Save, scene, FOLDER + '/a.kzscene', None)):
        attempt(*call)
    attempt(scenes.SetCurrent, other)
    for action in 'add %s/a.kzscene' % FOLDER, 'unload a':
        attempt(kz.eval, 'scene.reference.' + action)
    items = scenes.CreateCollection()
    items.Add(child)
    attempt(items.Duplicate, scene, symbol.fITEMCOPY_INSTANCE)
    for _ in range(120):
        items.Add(scene.ItemAdd(scenes.ItemTypeLookup('locator')))
    attempt(items.Duplicate, other, 0)
    subset = spies.spy_class('SceneSubset', scnsub_TestItem=True, scnsub_TestAction=True)()
    attempt(scene.Contents().AddSubset, scene, subset)
    walk = kz.object.GroupEnumerator(scenes.CreateWalker('GroupEnumerator'))
    attempt(walk.Start, group, 0)
    attempt(walk.Enumerate, all_done('Visitor')())
    attempt(scene.ItemRemove, mesh)
    for each in scene, other:
        attempt(scenes.Close, each)
    attempt(listener.RemoveListener, ear)


def drive_packages():
    """Items of a package are created, copied, removed, saved and loaded."""
    kinds = 'PackageInstance', 'StreamIO', 'InstanceAssets'
    answers = dict.fromkeys([name for kind in kinds for name in spies.operations(kind)], spies.done)
    answers.update(pins_SynthName='spied', pins_AllowRemove=True, pins_SubCount=1, pins_SubByIndex=None,
                   instass_Count=1, instass_IdentByIndex='file', instass_Filename=FOLDER + '/a.spied',
                   io_Write=lambda self, stream: kz.object.BlockWrite(stream).WriteInt(1))
    instance = spies.spy_class(*kinds, **answers)
    kz.bless(all_done('Package', pkg_Attach=lambda self: instance(), pkg_TestInterface=False), 'spied.package')
    scene, path = scenes.Create('packages'), FOLDER + '/packages.kzscene'
    item = scene.ItemAdd(scenes.ItemTypeLookup('spied.package'))
    attempt(item.Object, 'spied')
    attempt(scene.Assets().Gather, FOLDER + '/gathered', 1)
    attempt(item.Duplicate, 0)
    attempt(kz.eval, 'item.delete spied')
    attempt(scenes.Save, scene, path, None)
    scenes.Close(scene)
    scenes.Close(scenes.Load(path, None))


def drive_drops():
    """Items of packages that are destinations of every kind take drops, and a server is asked for more."""
    kz.bless(all_done('Drop', drop_Recognize=True,
                      drop_ActionList=lambda self, source, destination, actions:
                      kz.object.AddDropAction(actions).AddAction(1000, 'spied')), 'spied.drop',
             {symbol.sTAG_DROP_SOURCE: 'url'})
    scene, path, preset = scenes.Create('drops'), FOLDER + '/dropped.kzscene', FOLDER + '/dropped.preset'
    mesh = scene.ItemAdd(scenes.ItemTypeLookup(symbol.sITYPE_MESH))
    attempt(scenes.Save, scene, path, None)
    group, types = scene.ItemAdd(scenes.ItemTypeLookup('group')), scenes.ItemTypeLookup(symbol.sITYPE_LOCATOR)
    here = lambda self: kz.object.Item(group)
    channel = lambda self: (kz.object.Item(mesh), 0)
    browser = service.PresetBrowser()
    for kind, name, drops, answers in (
            ('LocatorDest', 'locator', ['items c'], dict(locd_Item=here, locd_Location=(1, 2, 3))),
            ('ClipDest', 'clip', ['items c'], dict(locd_Folder=here, locd_Index=0)),
            ('ShaderDest', 'shader', ['items c'], dict(locd_Parent=here, locd_Index=0)),
            ('MeshOpDest', 'meshOperation', ['items d'], dict(locd_Mesh=lambda self: mesh, locd_Index=0, locd_Where=0)),
            ('MeshDest', 'mesh', ['items m', 'items c'],
             dict(meshd_Item=lambda self: mesh, meshd_Location=((0, 0, 0), (0, 1, 0)))),
            ('ChannelDest', 'channel', ['channels c sourceChannel:pos.X'], dict(chand_Channel=channel, chand_Where=1)),
            ('ItemTypeDest', 'itemType', ['text x'], dict(ityped_Scene=lambda self: scene, ityped_Type=types)),
            ('GroupDest', 'group', ['items c'], dict(grpd_Group=here)),
            ('GroupMemberItemDest', 'groupItem', ['items c'], dict(grpmid_Group=here)),
            ('GroupMemberChanDest', 'groupChannel', ['channels c sourceChannel:pos.X'], dict(grpmcd_Group=here)),
            ('SceneItemPreDest', 'item', ['items c', 'url x', 'text y'],
             dict(sipd_Item=here, sipd_Parent=here, sipd_Position=0, sipd_Location=(1, 2, 3))),
            ('ColorPreDest', 'color', ['color {1 0 0}'], dict(colpd_Color=(1, 1, 1))),
            ('ShaderPreDest', 'layers', ['files {%s}' % path], dict(spd_Item=here, spd_Place=lambda self: (group, 0))),
            ('MeshLayerPreDest', 'meshLayer', ['files {%s}' % path],
             dict(mlpd_Item=lambda self: mesh, mlpd_Mode=1, mlpd_Position=((0, 0, 0), (0, 1, 0)))),
            ('Profile1DPreDest', 'profile1D', ['preset {%s}' % preset],
             dict(p1pd_Flags=4, p1pd_KeyCount=2, p1pd_KeyByIndex=lambda self, index: (index, index), p1pd_AddKey=0)),
            ('Profile2DPreDest', 'profile2D', ['preset {%s}' % preset],
             dict(p2pd_Flags=1, p2pd_PointCount=2, p2pd_PointByIndex=lambda self, index: (index, index), p2pd_AddPoint=0))):
        kinds = 'PackageInstance', kind
        full = dict.fromkeys([each for part in kinds for each in spies.operations(part)], spies.done)
        instance = spies.spy_class(*kinds, **dict(full, pins_AllowRemove=True, pins_SubCount=0, pins_SynthName='', **answers))
        kz.bless(all_done('Package', pkg_Attach=lambda self, made=instance: made(), pkg_TestInterface=False,
                          pkg_SetupChannels=None), 'spied.' + name)
        scene.ItemAdd(scenes.ItemTypeLookup('spied.' + name)).SetName('target ' + name)
        for letter, type in (('c', 'locator'), ('d', 'meshOperation'), ('m', 'material')):
            scene.ItemAdd(scenes.ItemTypeLookup(type)).SetName(letter)
        if 'Profile' in kind:
            attempt(browser.Save, preset, symbol.sPRESETTYPE_PROFILE, instance(), None)
        for dropped in drops:
            attempt(kz.eval, 'item.drop %s item:{target %s} destination:dest.%s' % (dropped, name, name))
    attempt(kz.eval, 'item.duplicate {target item}')
    scenes.Close(scene)


def drive_replacements():
    scene = scenes.Create('replaced')
    scene.ItemAdd(scenes.ItemTypeLookup(symbol.sITYPE_LOCATOR)).SetName('replaced')
    kz.bless(all_done('ItemReplacement', itemrep_SourceType=symbol.sITYPE_LOCATOR,
                      itemrep_TargetType=symbol.sITYPE_MESH, itemrep_CanReplace=True), 'spied.replacement')
    attempt(kz.eval, 'item.replace replaced mesh')
    scenes.Close(scene)


def drive_interviews():
    attempt(service.Interviewer().Start, all_done('Interviewer', intrv_Question='what', intrv_Next=0)(), 'driven')
    attempt(kz.eval, 'interview.answer a')


def drive_surfaces():
    attempt(meshes.CreateFromSurface, all_done('TableauSurface', tsrf_SegmentCount=1)(), 0.0)


def drive_hints():
    """Arguments and channels are shown as servers say."""
    host = service.Host()
    hints = spies.spy_class('UIValueHints', uiv_Flags=0xFFF, uiv_PopCount=1, uiv_PopInternalName='a', uiv_PopUserName='A',
                            uiv_PopFlags=0, uiv_PopToolTip='tip', uiv_Label='label', uiv_CueText='cue',
                            uiv_ColorSample=(0, 0, 0, 1), uiv_NotifierCount=1, uiv_NotifierByIndex=('spied', 'now'),
                            uiv_PopIconImage=images.Create(1, 1, symbol.iIMG_FORMAT_GREY, 0),
                            uiv_PopCommand='', uiv_ItemTest=spies.done, uiv_ItemDetails=('item', 'detail'))
    kz.bless(spies.spy_class('Command', 'Attributes', 'AttributesUI', attr_Count=1, attr_Name='a', attr_TypeName='string',
                             atrui_UIHints=spies.done, atrui_UIValueHints=lambda self, index: hints()), 'spied.shown')
    attempt(host.SpawnServer, 'uihints', 'spied.shown a')
    kz.bless(all_done('ChannelUI', cui_Enabled=True), symbol.sITYPE_LOCATOR)
    scene, channels = scenes.Create('hints'), service.ChannelUI()
    item = scene.ItemAdd(scenes.ItemTypeLookup(symbol.sITYPE_LOCATOR))
    for ask in channels.UserName, channels.Tooltip, channels.IsEnabled, channels.CommandText:
        attempt(ask, item, 0)
    for asked in ('choice label category icon action item detail'.split() + ['text:a allowed']):
        attempt(kz.evalN, 'command.choices spied.shown a %s:?' % asked)
    attempt(host.SpawnServer, 'uihints', 'item %s %s' % (item.Ident(), item.ChannelName(0)))
    scenes.Close(scene)


def drive_calculations():
    """Colours and values are calculated with, and packets passed along."""
    kz.bless(all_done('ColorModel', colm_ComponentCount=1, colm_ComponentRange=(0, 1), colm_IsPeriodic=True,
                      colm_ToRGB=(0, 0, 0), colm_Slider=(0, 0, 0)), 'spied.model')
    for text in 'color:{1 0 0} components:?', 'components:1 color:?', 'component:0 position:1 color:?', 'description:?':
        attempt(kz.eval, 'color.model spied.model ' + text)
    kz.bless(all_done('ValueConversion'), 'spied.conversion')
    attempt(values.Convert, values.CreateValue('integer'), values.CreateValue('string'))
    kz.bless(spies.spy_class('Value', 'ValueMath', val_Type=3, val_SetString=spies.done, val_GetString='1',
                             math_Math=spies.done, math_Step=spies.done, math_Blend=spies.done, math_Distance=1,
                             math_Length=1), 'spied.sum')
    for text in '1 2 result:?', '1 step:1 result:?', '1 2 weight:0.5 result:?', '1 2 distance:?', '1 length:?':
        attempt(kz.eval, 'value.math spied.sum ' + text)
    kz.bless(all_done('VectorPacket', vpkt_Size=4), 'spied.packet')
    kz.bless(all_done('VectorPacket', vpkt_Size=0, vpkt_Interface=None), 'spied.objects')
    kz.bless(all_done('PacketEffect', pfx_Packet='spied.packet', pfx_Count=1, pfx_ByIndex=('field', 'type', 0)), 'spied.effect')
    packets = service.Packet()
    packed = packets.CreateType(None)
    for name in 'spied.packet', 'spied.objects':
        attempt(packed.Add, name, 0)
    attempt(packets.UserName, 'spied.packet')
    stack, row = packed.Create(), packed.CreateList(packed)
    attempt(stack.Packet, 0)
    attempt(stack.Push)
    attempt(stack.Packet, 0)
    attempt(row.SetCount, 1)
    attempt(row.Evaluate, packets.EffectLookup(None, 'field'), 0, 1)


def drive_trees():
    """A view is opened, walked, used and closed, and its tree tells whoever listens."""
    port = service.Listener().PortByName('trees')
    ear = kz.object.Unknown(all_done('TreeListener')())
    ears = []

    def state(self):
        return getattr(self, 'depth', 0)

    def drag(self, *given):
        value = values.CreateValue('string')
        value.SetString('dragged')
        return value

    answers = dict(spies.TREE, tree_Spawn=None, treeview_ToNode=lambda self, path: setattr(self, 'depth', 1), tree_IsRoot=lambda self: state(self) <= 0, tree_Current=0, tree_ItemState=0,
                   treeview_ColumnByIndex=('a', 1), treeview_ColumnJustification=0, treeview_CellFlags=3,
                   treeview_TreeViewOptions=symbol.fTREE_VIEW_FILTER, treeview_CellCommand='user.value spied.cell ? type:string',
                   treeview_BatchCommand='user.value spied.cell ?', treeview_IsInputRegion=True, treeview_CanFilter=True,
                   treeview_Filter=True, treeview_SupportedDragDropSourceTypes='text', treeview_DragDropSourceType=True,
                   treeview_DragDropSourceObject=drag, treeview_DragDropDestinationObject=drag, treeview_Badge=None,
                   lport_AddListener=lambda self, listener: ears.append(kz.object.TreeListener(listener)))
    kz.bless(all_done('Tree', 'TreeView', 'ListenerPort', **answers), 'spied.tree')
    attempt(port.AddListener, ear)
    for text in ('list spied.tree line:?', 'list spied.tree filter:a state:?', 'list spied.tree primary:?',
                 'list spied.tree branch:node row:?', 'columns spied.tree title:?', 'columns spied.tree primary:?',
                 'select spied.tree row:?', 'select spied.tree 0', 'toggle spied.tree 0', 'cell spied.tree 0 0 value:x',
                 'cell spied.tree 0 0 value:x batch:1', 'click spied.tree 0 0', 'drag spied.tree 0 0'):
        attempt(kz.eval, 'tree.' + text)
    for query in 'value flag icon badge tip help menu span command'.split():
        attempt(kz.eval, 'tree.cell spied.tree 0 0 %s:?' % query)
    attempt(kz.eval, 'tree.cell spied.tree 0 0 region:tree inside:?')
    for told in ears:
        for call in told.NewShape, told.NewAttributes, told.NewPosition, told.ColumnsChanged:
            attempt(call)
        for call in told.NodeAdded, told.NodeRemoved:
            attempt(call, spies.spy_class('Tree')(), 0)
    del ears[:]
    attempt(kz.eval, 'tree.close spied.tree')
    attempt(port.RemoveListener, ear)


for drive in (drive_commands, drive_values, drive_messages, drive_threads, drive_models, drive_curves, drive_pictures,
              drive_listeners, drive_notifiers, drive_memory, drive_folders, drive_time, drive_selection, drive_packages,
              drive_drops, drive_replacements, drive_interviews, drive_surfaces, drive_hints, drive_calculations,
              drive_trees):
    drive()
