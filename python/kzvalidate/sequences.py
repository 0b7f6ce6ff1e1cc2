"""What the reference host does with the kinds of server that it uses, from the beginning to the end. The host itself
calls the servers here, as in a session; what they answer goes past the recorder all the same."""

import os

import kz
import kz.service as service
from kz import symbol

from kzvalidate.executions import arguments_of, attempt
from kzvalidate.recorder import Place

DEEPEST, MOST = 100, 10000


def drive(stage, kind):
    action = _SEQUENCES.get(kind)
    if action is not None:
        stage.recorder.report.crumb('%s.(used by the host)' % kind)
        try:
            action(stage)
        except (Exception, KeyboardInterrupt):
            pass  # a server may refuse what it is used for; a slip in it has been told


def _place(stage, kind, method):
    return stage.recorder.behind.get((stage.target.cls, method)) or Place(
        '%s.%s' % (kind, method), path=stage.target.place.path, line=stage.target.place.line)


def drive_command(stage):
    """It is executed with a value of its type for each argument, with and without a dialog, and each one is queried."""
    name, commands = stage.target.name, service.Command()
    words = [(each.name, each.word) for each in arguments_of(kz.object.Attributes(commands.Spawn(0, name)))]
    line = name + ''.join(' %s:{%s}' % word for word in words)
    for text in [line, name, '?' + line, '??' + line, '!' + line] + ['%s %s:?' % (name, word) for word, _ in words]:
        stage.recorder.situation = ' "%s"' % text
        attempt(kz.evalN if text.endswith('?') else kz.eval, text)
    stage.recorder.situation = ''
    attempt(kz.queryToggle, line)
    query = kz.Service('command')
    for attribute in ('exists', 'arguments', 'argumentsEnabled', 'dialog', 'enabled'):
        attempt(query.select, attribute, name)
        attempt(query.queryN, attribute)


def drive_loader(stage):
    """It gets files that are not its own, and one that a saver of the same name has written."""
    images, pattern = service.Image(), str(stage.target.tags.get('loader.dosPattern', '*.sample'))
    saver = attempt(service.Host().ServerTag, symbol.a_SAVER, stage.target.name, 'saver.dosType')
    endings = [each.replace('*', '') for each in pattern.split(';')]
    for number, text in enumerate(('', 'sample\n', '\0\xff' * 100)):
        path = os.path.join(stage.supply.folder, 'other%d%s' % (number, endings[0]))
        with open(path, 'wb') as stream:
            stream.write(text)
        attempt(images.Load, path, None)
    path = os.path.join(stage.supply.folder, 'own' + (endings[0] or '.' + str(saver).lower()))
    attempt(images.Save, stage.supply.image(), path, None, None)
    image = attempt(images.Load, path, None)
    if image is not None:
        attempt(images.Save, image, os.path.join(stage.supply.folder, 'copy.png'), None, None)


def drive_saver(stage):
    ending = str(stage.target.tags.get('saver.dosType', 'sample')).lower()
    for size in ((1, 1), (4, 4)):
        attempt(service.Image().Save, stage.supply.image(*size),
                os.path.join(stage.supply.folder, 'saved.' + ending), None, None)


def drive_mesh_operation(stage):
    for empty in (False, True):
        scene = service.Scene().Create('operated')
        item = scene.ItemAdd(service.Scene().ItemTypeLookup(symbol.sITYPE_MESH))
        item.SetName('Operated')
        mesh = service.Mesh().FromItem(item, 0.0, 0)
        for corner in [] if empty else [(0, 0, 0), (1, 0, 0), (1, 0, 1), (0, 0, 1)]:
            mesh.AddPoint(corner)
        attempt(kz.eval, 'mesh.operate %s item:Operated' % stage.target.name)


def drive_tree(stage):
    tree = kz.object.Tree(stage.new())
    view = attempt(kz.object.TreeView, tree)
    columns = attempt(view.ColumnCount) or 0 if view is not None else 0
    attempt(tree.ToRoot)
    seen = []

    def walk(depth):
        if depth > DEEPEST or len(seen) > MOST:
            return False
        for index in range(min(tree.Count(), MOST)):
            seen.append(None)
            tree.SetCurrent(index)
            for column in range(min(columns, 100)):
                attempt(view.Name, column)
            if tree.ChildIsLeaf():
                continue
            tree.ToChild()
            if not walk(depth + 1):
                return False
            tree.ToParent()
            if tree.Current() != index:
                stage.recorder.tell(_place(stage, 'Tree', 'tree_ToParent'), 'walk', 'the current child is %d' %
                                    tree.Current(), 'the node that it has left, %d' % index)
                return True
        return True
    if not walk(0):
        stage.recorder.tell(_place(stage, 'Tree', 'tree_ToChild'), 'walk',
                            'the walk has come to %d nodes and does not end' % len(seen),
                            'at most %d nodes, %d deep' % (MOST, DEEPEST))


def drive_value(stage):
    values, kind = service.Value(), stage.target.name
    value, other = values.CreateValue(kind), values.CreateValue(kind)
    for nice in (0, 1):
        text = attempt(values.EncodeText, value, nice)
        if text is None:
            continue
        attempt(values.DecodeText, text, nice, other)
        again = attempt(values.EncodeText, other, nice)
        if again != text:
            stage.recorder.tell(_place(stage, 'Value', 'str_Decode'), 'text',
                                'its text %r is read back as %r' % (text, again), 'the same value')
    for call in (lambda: value.Copy(other), lambda: values.Duplicate(value),
                 lambda: values.Convert(value, values.CreateValue('string')), lambda: value.Compare(other),
                 lambda: kz.eval('user.value kept ? type:' + kind)):
        attempt(call)
    choices = kz.Service('value')
    attempt(choices.select, 'choices', kind)
    attempt(choices.queryN, 'choices')


def drive_listeners(stage):
    """What happens in a session is told to all listeners, to the host's own object of this one as well."""
    listeners, listener = service.Listener(), stage.new()
    attempt(listeners.AddListener, listener)
    log = service.Log()
    lines = log.SubSystemLookup('validated')
    entry = log.CreateEntry(1, 'entry')
    lines.AddEntry(entry)
    entry.AddEntry(log.CreateEntry(0x80000000, 'child'))
    for text in ('user.value heard 1', 'user.value heard ?', 'log.clear validated', 'no.such.command',
                 'module.update python'):
        attempt(kz.eval, text)
    attempt(log.Flush)
    attempt(listeners.RemoveListener, listener)


def drive_script(stage):
    path = os.path.join(stage.supply.folder, 'script.sample')
    with open(path, 'w') as stream:
        stream.write('# sample\n')
    attempt(kz.eval, '@' + path)


def drive_visitor(stage):
    attempt(stage.supply.mesh().Points().Enumerate, 0, stage.new())


def drive_job(stage):
    import kzu.object
    group = kzu.object.ThreadGroup(service.Thread().CreateGroup())
    group.AddJob(stage.new())
    group.Execute()
    group.Wait()


def drive_image(stage):
    """The host copies it, pixel by pixel or line by line."""
    attempt(service.Image().Save, stage.new(), os.path.join(stage.supply.folder, 'image.png'), None, None)


_SEQUENCES = {
    'Command': drive_command, 'Loader': drive_loader, 'Saver': drive_saver, 'MeshOperation': drive_mesh_operation,
    'Tree': drive_tree, 'Value': drive_value, 'SessionListener': drive_listeners, 'CmdSysListener': drive_listeners,
    'LogListener': drive_listeners, 'TextScriptInterpreter': drive_script, 'Visitor': drive_visitor,
    'ThreadJob': drive_job, 'Image': drive_image}
