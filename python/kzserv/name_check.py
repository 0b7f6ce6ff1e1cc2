"""Names in a file's code that the SDK does not have. Importing a file runs what stands outside its functions; a name that
is misspelt in a method would show only when the host calls it."""

import ast
import pkgutil
import sys
import types

import kz
import kzu.object

from kzserv.methods import nearest

_MODULES = ('kz', 'kzifc', 'kzu')
_TYPES = ('kz.object', 'kz.service')  # the types whose objects have no attributes of their own


class _Instance(object):
    """What is known of an expression: its type."""

    def __init__(self, cls):
        self.cls = cls


def _known(value):
    """The value if it is a module or a type of the SDK, its type if it is an object of one, or else None."""
    if isinstance(value, types.ModuleType):
        return value if value.__name__.partition('.')[0] in _MODULES else None
    if isinstance(value, type):
        return value if value.__module__ in _TYPES else None
    return _Instance(type(value)) if type(value).__module__ in _TYPES else None


def _all_methods():
    owners = [getattr(module, name) for module in (kz.object, kz.service, kzu.object) for name in dir(module)]
    return set(name for owner in owners if isinstance(owner, type) for name in dir(owner))


def _names_in(tree):
    """All that the file may define or ask for by name: it knows best what these are."""
    names = set()
    for node in ast.walk(tree):
        names.update(getattr(node, key) for key in ('name', 'id', 's', 'arg') if isinstance(getattr(node, key, None), str))
        if isinstance(node, ast.Attribute) and not isinstance(node.ctx, ast.Load):
            names.add(node.attr)
    return names


class NameCheck(ast.NodeVisitor):
    """Calls `tell` with a line, a text, and whether it is but a note. What follows from the code is an error; a method of
    an object whose type is not known here is noted if it looks like a misspelling of one of the SDK's."""

    def __init__(self, module, tell):
        self.module, self.tell = module, tell
        self.scopes = []  # of the functions around: their variables, each with what it is set to if that is one thing
        self.methods = None

    def run(self, tree):
        self.own = _names_in(tree)
        self.visit(tree)

    # What expressions are

    def visit_FunctionDef(self, node):
        variables = {}
        bound = [each.id for each in ast.walk(node) if isinstance(each, ast.Name) and not isinstance(each.ctx, ast.Load)]
        variables.update((name, None) for name in bound)
        for each in ast.walk(node):
            if isinstance(each, ast.Assign) and len(each.targets) == 1 and isinstance(each.targets[0], ast.Name):
                name = each.targets[0].id
                variables[name] = each.value if bound.count(name) == 1 else None
        self.scopes.append(variables)
        self.generic_visit(node)
        self.scopes.pop()

    visit_Lambda = visit_FunctionDef

    def value(self, node):
        if isinstance(node, ast.Name):
            scope = next((each for each in reversed(self.scopes) if node.id in each), None)
            if scope is None:
                return _known(getattr(self.module, node.id, None))
            expression, scope[node.id] = scope[node.id], None  # a variable that is set to itself is not known
            found = self.value(expression)
            scope[node.id] = expression
            return found
        if isinstance(node, ast.Attribute):
            owner = self.value(node.value)
            return _known(getattr(owner, node.attr, None)) if isinstance(owner, types.ModuleType) else None
        if isinstance(node, ast.Call):
            made = self.value(node.func)
            return _Instance(made) if isinstance(made, type) else None
        return None

    # What is wrong with them

    def visit_TryExcept(self, node):
        """Who expects that a name is missing asks for it."""
        caught = set(each.id for handler in node.handlers if handler.type is not None
                     for each in ast.walk(handler.type) if isinstance(each, ast.Name))
        for each in node.handlers + node.orelse + ([] if caught & {'AttributeError', 'ImportError'} else node.body):
            self.visit(each)

    def visit_Attribute(self, node):
        self.generic_visit(node)
        if isinstance(node.ctx, ast.Load) and node.attr not in self.own:
            self.look_up(node.lineno, self.value(node.value), node.attr)

    def visit_ImportFrom(self, node):
        owner = None if node.level else _known(sys.modules.get(node.module))
        for each in node.names if owner else []:
            if each.name != '*':
                self.look_up(node.lineno, owner, each.name)

    def look_up(self, line, owner, name):
        if isinstance(owner, types.ModuleType):
            names = dir(owner) + [each[1] for each in pkgutil.iter_modules(getattr(owner, '__path__', None) or [])]
            title = owner.__name__
        elif isinstance(owner, _Instance):
            names, title = dir(owner.cls), '%s.%s' % (owner.cls.__module__, owner.cls.__name__)
        else:
            return
        if name not in names:
            near = nearest(name, names)
            self.tell(line, '%s has no %s%s' % (title, name, '; did you mean %s?' % near if near else ''))

    def visit_Call(self, node):
        self.generic_visit(node)
        called = node.func
        if not isinstance(called, ast.Attribute) or not called.attr[:1].isupper() or called.attr in self.own:
            return
        if self.value(called.value) is not None or self.is_module(called.value):
            return
        self.methods = self.methods or _all_methods()
        near = None if called.attr in self.methods else nearest(called.attr, self.methods)
        if near:
            self.tell(node.lineno, 'nothing in the SDK has a method %s; did you mean %s?' % (called.attr, near), True)

    def is_module(self, node):
        while isinstance(node, ast.Attribute):
            node = node.value
        return isinstance(node, ast.Name) and isinstance(getattr(self.module, node.id, None), types.ModuleType)
