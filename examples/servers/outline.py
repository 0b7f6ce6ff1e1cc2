"""A tree with two columns. A tree object is a position in the tree, and moves when it is walked.

    kzhost --import-path examples tree outline
"""

import kz
import kzifc

CONTENT = ('', '', [
    ('house', 'building', [
        ('kitchen', 'room', [('table', 'furniture', []), ('stove', 'appliance', [])]),
        ('hall', 'room', []),
    ]),
    ('garden', 'ground', [('pond', 'water', [])]),
])


class Outline(kzifc.Tree, kzifc.TreeView):
    COLUMNS = [('name', -60), ('type', -40)]

    def __init__(self):
        self.path = [CONTENT]  # from the root to the node at which it stands
        self.current = 0

    def child(self):
        return self.path[-1][2][self.current]

    def tree_Spawn(self, mode):
        other = Outline()
        if mode != kz.symbol.iTREE_SPAWN_ROOT:
            other.path, other.current = list(self.path), self.current
        if mode == kz.symbol.iTREE_SPAWN_PARENT:
            other.tree_ToParent()
        elif mode == kz.symbol.iTREE_SPAWN_CHILD:
            other.tree_ToChild()
        return other

    def tree_ToParent(self):
        if len(self.path) == 1:
            kz.throw(kz.symbol.e_NOTFOUND, True)
        gone = self.path.pop()
        self.current = self.path[-1][2].index(gone)

    def tree_ToChild(self):
        self.path.append(self.child())
        self.current = 0

    def tree_ToRoot(self):
        del self.path[1:]
        self.current = 0

    def tree_IsRoot(self):
        return len(self.path) == 1

    def tree_ChildIsLeaf(self):
        return not self.child()[2]

    def tree_Count(self):
        return len(self.path[-1][2])

    def tree_Current(self):
        return self.current

    def tree_SetCurrent(self, index):
        if index >= self.tree_Count():
            kz.throw(kz.symbol.e_OUTOFBOUNDS, True)
        self.current = index

    def treeview_ColumnCount(self):
        return len(self.COLUMNS)

    def treeview_ColumnByIndex(self, index):
        return self.COLUMNS[index]

    def treeview_Name(self, column):
        if not 0 <= column < len(self.COLUMNS):
            kz.throw(kz.symbol.e_OUTOFBOUNDS, True)
        return self.child()[column]


kz.bless(Outline, 'outline', {'treeview.type': 'outline'})
