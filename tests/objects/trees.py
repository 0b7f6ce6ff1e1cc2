"""Trees of Python classes: what the commands show of them, what they do with them, who hears, and trees that lie."""
import kz
import kzifc
from checks import equal, fails, reasons, result_of
from kz import symbol

LISTENER = kz.service.Listener()
TOLD, VIEWS = [], []
CLICKED = symbol.fTREE_CELL_EDITABLE | symbol.fTREE_CELL_BUTTON
LENT = []  # what methods return lives as long as Python, so the host's objects are taken from it


def lent():
    LENT.append(kz.service.Value().CreateValue('string'))
    return LENT[-1]


class Node(object):
    def __init__(self, name, children=(), state=0, kind=''):
        self.name, self.children, self.state, self.kind = name, list(children), state, kind


def garden():
    ivy = Node('ivy', state=symbol.fTREE_STATE_HIDDEN)
    moss = Node('moss', state=symbol.fTREE_STATE_ATTRIBUTE)
    pond = Node('pond', [Node('lily', kind='plant'), Node('carp', kind='fish')], kind='water')
    shed = Node('shed', [Node('rake'), moss, ivy], symbol.fTREE_STATE_EXPANDED)
    return Node('', [shed, Node('-', state=symbol.fTREE_STATE_DIVIDER), pond])


class Garden(kzifc.Tree, kzifc.TreeView, kzifc.ListenerPort):
    """A position: the nodes from the root to where it stands. All positions share what is selected and shown."""
    class Shared(object):
        def __init__(self):
            self.root, self.chosen, self.primary, self.ears, self.kept = garden(), [], None, [], {}

    keep, options = {}, symbol.fTREE_VIEW_FILTER | symbol.fTREE_VIEW_ALTERNATE
    columns = [('name', 'Plant', -60, 0), ('type', 'Kind', 80, 2)]

    def __init__(self, other=None):
        self.shared = other.shared if other else self.Shared()
        self.nodes, self.index = [self.shared.root], 0
        if not other:
            VIEWS.append(self.shared)

    def child(self):
        return self.nodes[-1].children[self.index]

    def find(self, test, nodes):
        for index, child in enumerate(nodes[-1].children):
            if test(child):
                return nodes + [child]
            found = self.find(test, nodes + [child])
            if found:
                return found

    def go(self, test):
        found = self.find(test, [self.shared.root])
        if not found:
            kz.throw(symbol.e_NOTFOUND, True)
        self.nodes, self.index = found, 0

    def tree_Spawn(self, mode):
        return type(self)(self)

    def tree_ToRoot(self):
        self.nodes, self.index = self.nodes[:1], 0

    def tree_ToChild(self):
        self.nodes, self.index = self.nodes + [self.child()], 0

    def tree_ToParent(self):
        gone = self.nodes.pop()
        self.index = self.nodes[-1].children.index(gone)

    def tree_IsRoot(self):
        return len(self.nodes) == 1

    def tree_ChildIsLeaf(self):
        return not self.child().children

    def tree_Count(self):
        return len(self.nodes[-1].children)

    def tree_Current(self):
        return self.index

    def tree_SetCurrent(self, index):
        self.index = index

    def tree_ItemState(self, guid):
        TOLD.append(guid)
        return self.child().state

    def tree_SetItemState(self, guid, state):
        self.child().state = state

    def treeview_ColumnCount(self):
        return len(self.columns)

    def treeview_ColumnByIndex(self, index):
        return self.columns[index][1:3]

    def treeview_ColumnInternalName(self, column):
        return self.columns[column][0]

    def treeview_ColumnIconResource(self, column):
        if not column:
            kz.throw(symbol.e_NOTFOUND, True)
        return 'kind.png'

    def treeview_ColumnJustification(self, column):
        return self.columns[column][3]

    def treeview_PrimaryColumnPosition(self):
        return 1

    def treeview_TreeViewOptions(self):
        return self.options

    def treeview_Name(self, column):
        return (self.child().name, self.child().kind)[column] if column >= 0 else 'row ' + self.child().name

    def treeview_IsSelected(self):
        return self.child() in self.shared.chosen

    def treeview_IsDescendantSelected(self):
        return any(each in self.shared.chosen for each in self.child().children)

    def treeview_Select(self, mode):
        chosen, node = self.shared.chosen, self.child()
        if mode in (symbol.iTREE_SELECT_PRIMARY, symbol.iTREE_SELECT_CLEAR):
            del chosen[:]
        if mode in (symbol.iTREE_SELECT_PRIMARY, symbol.iTREE_SELECT_ADD):
            chosen.append(node)
            self.shared.primary = node
        if mode == symbol.iTREE_SELECT_REMOVE:
            chosen.remove(node)
        for ear in self.shared.ears:
            ear.NewAttributes()
            ear.NodeAdded(Garden(self), 2)
            ear.NodeRemoved(Garden(self), 3)

    def treeview_ToPrimary(self):
        self.go(lambda node: node is self.shared.primary)

    def treeview_ToNode(self, path):
        self.go(lambda node: node.name == path)

    def treeview_CanFilter(self, filter):
        return self.child().name != 'shed'

    def treeview_Filter(self, filter):
        return filter in self.child().name

    def treeview_RestoreState(self, uid):
        if uid not in self.keep:
            kz.throw(symbol.e_NOTFOUND, True)
        self.shared.root.children[2].state = self.keep[uid]

    def treeview_StoreState(self, uid):
        self.keep[uid] = self.shared.root.children[2].state

    def treeview_CellFlags(self, column):
        return (0, symbol.fTREE_CELL_EDITABLE | symbol.fTREE_CELL_BOLD, symbol.fTREE_CELL_BUTTON)[column + 1]

    def treeview_CellCommand(self, column):
        return ('', 'user.value tree.name ? type:string', 'user.value tree.clicked 1 type:integer')[column + 1]

    def treeview_BatchCommand(self, column):
        return 'user.value name:tree.names type:string value:?'

    def treeview_CellSpan(self, column):
        return 2

    def treeview_IconResource(self, column, width):
        return 'icon%d' % width

    def treeview_Badge(self, column, index):
        if index == 2:
            kz.throw(symbol.e_NOTFOUND, True)
        return 'badge%d' % index

    def treeview_ToolTip(self, column):
        return 'about ' + self.child().name

    def treeview_HelpURL(self, column):
        kz.throw(symbol.e_NOTFOUND, True)

    def treeview_PopupMenu(self, column):
        return 'menu.form'

    def treeview_IsInputRegion(self, column, region):
        return region == symbol.sREGION_TREE_NAME

    def treeview_SupportedDragDropSourceTypes(self, column):
        return 'items text'

    def treeview_DragDropSourceType(self, column, type):
        return type == 'text'

    def treeview_DragDropSourceObject(self, column, type):
        value = lent()
        value.SetString(self.child().name)
        return value

    def treeview_DragDropDestinationObject(self, column):
        if self.child().children:
            return Bed()
        kz.throw(symbol.e_NOTFOUND, True)

    def lport_AddListener(self, listener):
        self.shared.ears.append(kz.object.TreeListener(listener))

    def lport_RemoveListener(self, listener):
        TOLD.append('let go')
        del self.shared.ears[:]


class Bed(kzifc.SceneItemPreDest):
    def sipd_Scene(self):
        return kz.service.Scene().Current()


class Ear(kzifc.TreeListener):
    heard = []

    def tlis_NewShape(self):
        self.heard.append('shape')
        kz.eval('tree.toggle flat 0')  # what a listener does itself is not announced

    def tlis_NewAttributes(self):
        self.heard.append('attributes')

    def tlis_NewPosition(self):
        self.heard.append('position')

    def tlis_ColumnsChanged(self):
        self.heard.append('columns')

    def tlis_NodeAdded(self, parent, index):
        self.heard.append(('added', kz.object.Tree(parent).Count(), index))

    def tlis_NodeRemoved(self, parent, index):
        self.heard.append(('removed', index))


class Quiet(kzifc.Tree, kzifc.TreeView):
    """One row, no positions of its own, no listeners."""
    state = 0

    def tree_ToRoot(self): pass
    def tree_ToChild(self): pass
    def tree_ToParent(self): pass
    def tree_SetCurrent(self, index): pass
    def tree_Count(self): return 1
    def tree_ChildIsLeaf(self): return False
    def tree_ItemState(self, guid): return self.state
    def tree_SetItemState(self, guid, state): self.state = state
    def treeview_Name(self, column): return 'quiet'
    def treeview_TreeViewOptions(self): return symbol.fTREE_VIEW_SINGLE


class Plain(Quiet):
    def tree_ChildIsLeaf(self): return True


class Soil(kzifc.Drop):
    def drop_Recognize(self, source):
        return True

    def drop_ActionList(self, source, destination, actions):
        kz.object.AddDropAction(actions).AddAction(symbol.i_DROPACTION_MOVE, 'plant')

    def drop_Drop(self, source, destination, action):
        TOLD.append(kz.object.Value(source).GetString())


kz.bless(Garden, 'garden', {symbol.sTAG_TREE_TYPE: 'garden', symbol.sTAG_TREE_NOTIFIER: 'unit.system tree.none server.list'})
kz.bless(Plain, 'quiet')
kz.bless(type('Flat', (Quiet,), {}), 'flat')
kz.bless(Soil, 'soil', {symbol.sTAG_DROP_SOURCE: 'text'})


def asked(text):
    return kz.evalN(text)


def check_a_tree_is_a_table_and_an_outline():
    equal('garden' in asked('tree.list name:?'), True)
    for query, expected in (
            ('tree.list garden row:?', ('0', '0/0', '0/1', '0/2', '1', '2', '2/0', '2/1')),
            ('tree.list garden line:?', ('shed  ', '  rake  ', '  moss  ', '  ivy  ', '--', 'pond  water', '  lily  plant',
                                         '  carp  fish')),
            ('tree.list garden depth:1 cell:?', ('shed', '', 'pond', 'water')),
            ('tree.list garden branch:2 column:Kind cell:?', ('plant', 'fish')),
            ('tree.list garden branch:pond line:?', ('lily  plant', 'carp  fish')),
            ('tree.list garden branch:2/0 row:?', ()),
            ('tree.list garden shown:true row:?', ('0', '0/0', '1', '2')),
            ('tree.list garden filter:i row:?', ('2/0',)),
            ('tree.list garden state:?', ('0: expanded', '0/0: leaf', '0/1: attribute leaf', '0/2: hidden leaf',
                                          '1: divider leaf', '2:', '2/0: leaf', '2/1: leaf')),
            ('tree.list garden option:?', ('filter', 'alternate')),
            ('tree.list garden primary:?', ()),
            ('tree.columns garden column:?', ('name', 'type')), ('tree.columns garden title:?', ('Plant', 'Kind')),
            ('tree.columns garden width:?', (-60, 80)), ('tree.columns garden icon:?', ('', 'kind.png')),
            ('tree.columns garden justification:?', ('left', 'right')), ('tree.columns garden primary:?', (1,)),
            ('tree.cell garden 2 name value:?', ('pond',)), ('tree.cell garden 2 value:?', ('row pond',)),
            ('tree.cell garden 2 name flag:?', ('editable', 'bold')), ('tree.cell garden 2 name icon:?', ('icon16',)),
            ('tree.cell garden 2 name room:9 icon:?', ('icon9',)), ('tree.cell garden 2 1 badge:?', ('badge0', 'badge1')),
            ('tree.cell garden lily tip:?', ('about lily',)), ('tree.cell garden 2 help:?', ()),
            ('tree.cell garden 2 menu:?', ('menu.form',)), ('tree.cell garden 2 span:?', (2,)),
            ('tree.cell garden 2 region:tree/name inside:?', (True,)), ('tree.cell garden 2 region:tree inside:?', (False,)),
            ('tree.cell garden 2 type command:?', ('user.value tree.clicked 1 type:integer',)),
            ('tree.list quiet shown:true row:?', ('0',)), ('tree.list quiet option:?', ('single',))):
        equal((query, result_of(asked, query)), (query, expected))
    for query, code in (('tree.list nowhere row:?', 'NOTFOUND'), ('tree.list garden branch:0/3 row:?', 'NOTFOUND'),
                        ('tree.list garden branch:2/0/0 row:?', 'NOTFOUND'), ('tree.list garden branch:oak row:?', 'NOTFOUND'),
                        ('tree.list garden branch:99999999999 row:?', 'NOTFOUND'), ('tree.list garden branch:0/ row:?', 'NOTFOUND'),
                        ('tree.list garden branch:{} row:?', 'INVALIDARG'), ('tree.list garden depth:0 row:?', 'INVALIDARG'),
                        ('tree.list garden column:size cell:?', 'NOTFOUND'), ('tree.list quiet filter:x row:?', 'NOTAVAILABLE'),
                        ('tree.cell garden 1 value:?', 'INVALIDARG'), ('tree.cell garden 2 room:-1 icon:?', 'INVALIDARG')):
        fails(code, (asked, query))


def check_rows_are_selected_and_expanded_and_the_state_is_kept():
    del TOLD[:]
    kz.eval('tree.select garden 2/1')
    kz.eval('tree.select garden lily mode:add')
    equal((asked('tree.select garden row:?'), asked('tree.list garden primary:?')), (('2/0', '2/1'), ('2/0',)))
    equal(asked('tree.list garden branch:2 state:?') + asked('tree.list garden depth:1 state:?')[2:],
          ('2/0: selected leaf', '2/1: selected leaf', '2: contains'))
    kz.eval('tree.select garden 2/0 mode:remove')
    equal(asked('tree.select garden row:?'), ('2/1',))
    kz.eval('tree.select garden mode:clear')
    equal(asked('tree.select garden row:?'), ())
    fails('CMD_MISSING_ARGS', (kz.eval, 'tree.select garden'))
    fails('INVALIDARG', (kz.eval, 'tree.select garden 1'), (kz.eval, 'tree.toggle garden 2/1'))
    equal(kz.eval('tree.toggle garden 2 state:?'), False)
    kz.eval('tree.toggle garden 2')
    kz.eval('tree.toggle garden 0 false')
    kz.eval('tree.toggle garden 0 true attributes:true')
    equal((kz.eval('tree.toggle garden 2 state:?'), asked('tree.list garden shown:1 row:?')),
          (True, ('0', '0/1', '1', '2', '2/0', '2/1')))
    equal('garden' in asked('tree.close name:?'), True)
    kz.eval('tree.close garden')
    fails('NOTFOUND', (kz.eval, 'tree.close garden'))
    equal((TOLD[-1], len(set(TOLD[:-1])), len(VIEWS[-1].ears)), ('let go', 1, 0))
    equal(asked('tree.list garden shown:1 row:?'), ('0', '0/0', '1', '2', '2/0', '2/1'))


def check_cells_are_edited_clicked_and_dragged():
    value = lambda name: kz.eval('user.value %s value:?' % name)
    kz.command('tree.cell', name='garden', row='2', column='name', value='a "new" ?name {')
    equal(value('tree.name'), 'a "new" ?name {')
    kz.eval('tree.cell garden 2 name {} batch:1')
    equal(value('tree.names'), '')
    kz.eval('tree.click garden 2/0 type')
    equal((value('tree.clicked'), asked('tree.select garden row:?')), (1, ('2/0',)))
    kz.bless(type('Pressed', (Plain,), {'treeview_CellFlags': lambda self, column: symbol.fTREE_CELL_BUTTON,
                                        'treeview_CellCommand': lambda self, column: 'user.value tree.clicked 2'}), 'pressed')
    kz.eval('tree.click pressed 0')
    equal(value('tree.clicked'), 2)
    fails('NOTIMPL', (kz.eval, 'tree.select pressed 0'))
    fails('NOTAVAILABLE', (kz.eval, 'tree.cell garden 2 type x'), (kz.eval, 'tree.cell quiet 0 value:x'))
    kz.eval('user.value tree.name delete:1')
    kz.eval('user.value tree.name 1 type:integer')
    fails('CMD_ERROR_SETTING_DATATYPE', (kz.eval, 'tree.cell garden 2 name x'))
    equal(asked('tree.drag garden 2/0 type:?'), ('text',))
    kz.service.Scene().Create('garden')
    del TOLD[:]
    equal(asked('tree.drag garden 2/0 0 action:?'), ('move',))
    kz.eval('tree.drag garden 2/0 0')
    kz.eval('tree.drag garden 2/1 shed type:text action:move targetTree:garden')
    equal([each for each in TOLD if each in ('lily', 'carp')], ['lily', 'carp'])
    for text, code in (('garden 2/0 2/1', 'NOTFOUND'), ('garden 2/0 0 type:items', 'NOTFOUND'),
                       ('garden 2/0 0 action:juggle', 'INVALIDARG'), ('garden 2/0 0 action:copy', 'NOTSUPPORTED'),
                       ('quiet 0 0', 'NOTAVAILABLE'), ('garden 2/0 0 targetTree:nowhere', 'NOTFOUND')):
        fails(code, (kz.eval, 'tree.drag ' + text))


def check_listeners_hear_of_trees():
    ear = kz.object.Unknown(Ear())
    port = LISTENER.PortByName('trees')
    port.AddListener(ear)
    fails('INVALIDARG', (port.AddListener, kz.object.Unknown(Soil())))
    del Ear.heard[:]
    kz.eval('tree.select garden 2')
    equal(Ear.heard, ['attributes', ('added', 3, 2), ('removed', 3)])
    hears = VIEWS[-1].ears[0]
    del Ear.heard[:]
    for call in hears.NewPosition, hears.ColumnsChanged, hears.NewShape:
        call()
    hears.NodeAdded(ear, 1)
    equal((Ear.heard, any('names a parent that is no Tree' in line for line in reasons())),
          (['position', 'columns', 'shape'], True))
    del Ear.heard[:]
    for flags in symbol.fNOTIFY_REFRESH, symbol.fNOTIFY_VALUE | symbol.fNOTIFY_LABEL:
        kz.service.NotifySys().Send('unit.system', '', flags)
    equal((Ear.heard, any('cannot follow the notifier "tree.none"' in line for line in reasons())), (['shape', 'attributes'], True))
    del Ear.heard[:]
    kz.eval('tree.toggle flat 0')  # such a tree tells nobody, so the host does
    LISTENER.FirePort('trees', kz.object.Unknown(Plain()))
    equal(Ear.heard, ['attributes', 'shape'])
    fails('NOTAVAILABLE', (LISTENER.FirePort, 'trees', ear))
    LISTENER.RemoveListener(ear)
    kz.eval('tree.select garden 0')
    equal(Ear.heard, ['attributes', 'shape'])
    port.AddListener(ear)
    kz.eval('tree.close garden')
    kz.service.NotifySys().Send('unit.system', '', symbol.fNOTIFY_REFRESH)
    equal(Ear.heard, ['attributes', 'shape'])
    port.RemoveListener(ear)


def reason_of(line):
    try:
        return 'nothing: %r' % (kz.eval(line),)
    except RuntimeError as error:
        return error.reason


def check_trees_that_are_wrong_are_named():
    raising = lambda self, *given: 1 / 0
    cases = (
        ('deep', {'tree_ChildIsLeaf': False}, 'row:?', 'more than 256 levels'),
        ('wide', {'tree_Count': 0xFFFFFFFF}, 'row:?', 'Count says that there are 4294967295 rows below the root'),
        ('striped', {'treeview_ColumnCount': 0xFFFFFFFF}, 'line:?', 'there are 4294967295 columns; 1000 is the most'),
        ('lost', {'tree_ChildIsLeaf': False, 'tree_ToParent': raising}, 'depth:2 row:?', 'ToParent at row 0 ended with'),
        ('stuck', {'tree_SetCurrent': raising}, 'row:?', 'SetCurrent at row 0 ended with'),
        ('rootless', {'tree_ToRoot': raising}, 'row:?', 'ToRoot at the root ended with'),
        ('nameless', {'treeview_ColumnCount': 1, 'treeview_Name': raising}, 'line:?', 'Name at row 0 ended with'),
        ('stateless', {'tree_ItemState': raising}, 'state:?', 'ItemState at row 0 ended with'),
        ('foreign', {'tree_Spawn': lambda self, mode: lent()}, 'row:?', 'what Spawn answers is no Tree'),
        ('adrift', {'treeview_ToPrimary': lambda self: None, 'tree_IsRoot': False}, 'primary:?', 'still no root'))
    for name, answers, query, why in cases:
        members = dict((key, each if callable(each) else (lambda self, each=each: each)) for key, each in answers.items())
        kz.bless(type(name, (Plain,), members), 'wrong.' + name)
        try:
            found = asked('tree.list wrong.%s %s' % (name, query))
        except RuntimeError as error:
            found = error.reason
        equal((name, found if why not in found else why), (name, why))
        equal('the tree "wrong.%s": ' % name in found, True)
    for verb in 'tree.cell', 'tree.click':  # a cell whose command is about the cell itself
        line = '%s wrong.%s 0 -1' % (verb, verb[5:]) + (' ?' if verb == 'tree.cell' else '')
        kz.bless(type('looping', (Plain,), {'treeview_CellCommand': lambda self, column, line=line: line,
                                            'treeview_CellFlags': lambda self, column: CLICKED}), 'wrong.' + verb[5:])
        line = line.replace('?', 'x')
        equal((verb, 'commands run inside one another' in reason_of(line)), (verb, True))
    kz.bless(type('badges', (Plain,), {'treeview_Badge': lambda self, column, index: 'more'}), 'wrong.badges')
    fails('OUTOFBOUNDS', (asked, 'tree.cell wrong.badges 0 badge:?'), (asked, 'tree.columns wrong.badges primary:?'))
    for path, code in (('/'.join(['0'] * 300), 'OUTOFBOUNDS'), ('1', 'NOTFOUND')):
        fails(code, (asked, 'tree.list wrong.deep branch:%s row:?' % path))
    while LENT:
        LENT.pop().set(None)
