"""Items that are replaced by items of other types, with the help of servers."""
import kz
import kz.object as k
import kzifc
from checks import code_of, equal
from kz.symbol import iITYPE_ANY, sGRAPH_SCHEMATIC
from scene import SCENES, new

UNDO = kz.service.Undo()


class ToMesh(kzifc.ItemReplacement):
    fails, refuses, calls = None, False, []

    def itemrep_SourceType(self):
        return 'locator'

    def itemrep_TargetType(self):
        return 'mesh'

    def itemrep_CanReplace(self, item):
        return not self.refuses

    def itemrep_Replace(self, item, replacement):
        item, replacement = k.Item(item), k.Item(replacement)
        self.calls.append((item.UniqueName(), item.SubCount(), replacement.UniqueName(), replacement.SubCount()))
        scene = SCENES.Current()
        at = scene.Channels(None, 0.0).DoubleByName(item, 'pos.X')
        scene.WriteChannels(None, 0.0).DoubleByName(replacement, 'pos.X', at)
        if self.fails:
            self.fails(scene, item, replacement)


class ToNothing(ToMesh):
    def itemrep_TargetType(self):
        return 'no.such.type'


class Silent(kzifc.ItemReplacement):
    def itemrep_SourceType(self):
        raise ValueError

    def itemrep_TargetType(self):
        return 'mesh'


for name, server in ('replacements.silent', Silent), ('replacements.mesh', ToMesh), ('replacements.none', ToNothing):
    kz.bless(server, name)


def start():
    scene, _, lamp, child, after, other = new(('locator', 'top', None), ('locator', 'lamp', 0), ('locator', 'child', 1),
                                              ('locator', 'after', 0), ('locator', 'other', None))
    write = scene.WriteChannels(None, 0.0)
    write.DoubleByName(lamp, 'pos.X', 2.5)
    write.DoubleByName(other, 'pos.Y', 4.0)
    links = k.ChannelGraph(scene.GraphLookup('channelLinks'))
    at = lambda item, name: item.ChannelLookup(name)
    links.AddLink(other, at(other, 'pos.Y'), lamp, at(lamp, 'pos.Z'))
    links.AddLink(lamp, at(lamp, 'pos.X'), after, at(after, 'pos.X'))
    graph = k.ItemGraph(scene.GraphLookup(sGRAPH_SCHEMATIC))
    for source, target in ((other, after), (lamp, after), (child, after), (after, other), (after, lamp), (after, child)):
        graph.AddLink(source, target)
    ToMesh.fails, ToMesh.refuses = None, False
    del ToMesh.calls[:]
    return scene, graph


def state(scene, graph):
    """The tree, the values that links bring, and the links of each item, all by names."""
    read = scene.Channels(None, 0.0)
    rows = []
    items = [scene.ItemByIndex(iITYPE_ANY, index) for index in range(scene.ItemCount(iITYPE_ANY))]
    for item in [each for each in items if each.TypeName() in ('locator', 'mesh')]:
        parent = item.Parent().UniqueName() if code_of(item.Parent) is None else None
        rows.append((item.UniqueName(), parent, [item.SubByIndex(each).UniqueName() for each in range(item.SubCount())],
                     [round(read.DoubleByName(item, 'pos.' + axis), 6) for axis in 'XYZ'],
                     [graph.FwdByIndex(item, each).UniqueName() for each in range(graph.FwdCount(item))],
                     [graph.RevByIndex(item, each).UniqueName() for each in range(graph.RevCount(item))]))
    return sorted(rows)


def check_items_are_replaced_with_their_name_place_and_links():
    scene, graph = start()
    before, steps = state(scene, graph), kz.eval('undo steps:?')
    equal([row[3] for row in before if row[0] in ('lamp', 'after')], [[2.5, 0, 0], [2.5, 0, 4]])
    equal(kz.evalN('item.replace lamp type:?'), ('mesh', 'no.such.type'))
    kz.eval('item.replace lamp mesh')
    lamp = scene.ItemLookup('lamp')
    equal((lamp.TypeName(), ToMesh.calls), ('mesh', [('Locator', 0, 'lamp', 1)]))
    equal(state(scene, graph), before)
    equal([scene.ItemLookup('top').SubByIndex(index).UniqueName() for index in (0, 1)], ['lamp', 'after'])
    equal(kz.eval('undo steps:?'), steps + 1)
    kz.eval('undo')
    equal((scene.ItemLookup('lamp').TypeName(), state(scene, graph)), ('locator', before))
    kz.eval('redo')
    equal((scene.ItemLookup('lamp').TypeName(), state(scene, graph)), ('mesh', before))


def check_a_failure_leaves_the_scene_as_it_was():
    scene, graph = start()
    before, steps = state(scene, graph), kz.eval('undo steps:?')
    for fails in (lambda scene, item, made: kz.throw(kz.result.NOACCESS), lambda scene, item, made: 1 / 0,
                  lambda scene, item, made: scene.ItemRemove(made),
                  lambda scene, item, made: kz.eval('item.replace Locator mesh')):  # over and over
        ToMesh.fails = staticmethod(fails)
        equal(code_of(kz.eval, 'item.replace lamp mesh') is not None, True)
        equal((state(scene, graph), kz.eval('undo steps:?')), (before, steps))
        equal(scene.ItemLookup('lamp').TypeName(), 'locator')
    ToMesh.fails = staticmethod(lambda scene, item, made: scene.ItemRemove(item))  # what the host would do next
    kz.eval('item.replace lamp mesh')
    equal(state(scene, graph), before)


def check_what_cannot_be_replaced_is_refused():
    scene, graph = start()
    code = lambda line: (code_of(kz.eval, 'item.replace ' + line), kz.lastResult())[1]
    scene.ItemLookup('other').Duplicate(0)
    for line, expected in (('lamp camera', 'NOTSUPPORTED'), ('none mesh', 'NOTFOUND'), ('lamp no.such.type', 'NOTFOUND'),
                           ('Scene mesh', 'INVALIDARG')):
        equal((line, code(line)), (line, getattr(kz.result, expected)))
    ToMesh.refuses = True
    equal((code('lamp mesh'), kz.evalN('item.replace lamp type:?')), (kz.result.NOTSUPPORTED, ()))
    ToMesh.refuses = False
    UNDO.Suspend(1)
    equal(code('lamp mesh'), kz.result.NOTAVAILABLE)
    UNDO.Suspend(0)
    equal(scene.ItemLookup('lamp').TypeName(), 'locator')
