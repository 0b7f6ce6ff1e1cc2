"""Writes the pages of the site: the reference, from the description as data, and the documents of the tree.

    generate.py TREE MODEL COMMANDS PAGES

MODEL is what "kzgen emit --part model" writes and COMMANDS what list_commands.py prints. PAGES is made anew; it gets the
pages and, beside itself, the mkdocs.yml that names them. docs/coverage.json is shown where it is there.
"""
import ast
import html
import json
import pathlib
import re
import shutil
import sys

import jinja2
import yaml

from reference import Reference

HERE = pathlib.Path(__file__).parent
DOCUMENTS = ['README.md', 'CHANGELOG.md', 'CONTRIBUTING.md', 'SECURITY.md', 'examples/README.md', 'sdk/README.md']
ROW = re.compile(r'^\|.*$', re.MULTILINE)
CODE = re.compile(r'`([^`]*\\\|[^`]*)`')
LINK = re.compile(r'(!?\[[^\]]*\])\(([^)#\s]+)(#[^)\s]*)?\)')


def signature(function):
    """The parameters of a function in a stub as a caller sees them; two underscores begin a positional one."""
    arguments = function.args
    for each in arguments.args + arguments.kwonlyargs + [a for a in (arguments.vararg, arguments.kwarg) if a]:
        each.arg = each.arg.lstrip('_')
    arguments.args = [each for each in arguments.args if each.arg != 'self']
    text = '(%s)' % ast.unparse(arguments)
    returned = ast.unparse(function.returns) if function.returns else 'None'
    return text if returned == 'None' else '%s -> %s' % (text, returned)


def described(functions):
    """Functions of a stub by name: the signatures of one with overloads stand together."""
    entries = {}
    for each in functions:
        entry = entries.setdefault(each.name, {'name': each.name, 'signatures': [], 'doc': ''})
        entry['signatures'].append(signature(each))
        entry['doc'] = entry['doc'] or ast.get_docstring(each) or ''
    return list(entries.values())


def stub_entries(path):
    """The functions and the classes, with their methods, of a stub."""
    functions, classes = [], []
    for node in ast.parse(path.read_text()).body:
        if isinstance(node, ast.FunctionDef):
            functions.append(node)
        elif isinstance(node, ast.ClassDef):
            members = [each for each in node.body if isinstance(each, ast.FunctionDef)]
            data = [each for each in node.body if isinstance(each, ast.AnnAssign)]
            classes.append({
                'name': node.name, 'doc': ast.get_docstring(node) or '',
                'bases': [ast.unparse(base) for base in node.bases],
                'data': [(each.target.id, ast.unparse(each.annotation)) for each in data],
                'methods': described(members)})
    return {'functions': described(functions), 'classes': classes}


class Site:
    def __init__(self, tree, model, commands, pages):
        self.tree, self.pages = pathlib.Path(tree), pathlib.Path(pages)
        coverage = self.tree / 'docs/coverage.json'
        self.reference = Reference(json.loads(pathlib.Path(model).read_text()),
                                   json.loads(coverage.read_text()) if coverage.exists() else None)
        self.commands = json.loads(pathlib.Path(commands).read_text())
        self.templates = jinja2.Environment(
            loader=jinja2.FileSystemLoader(HERE / 'templates'), trim_blocks=True, lstrip_blocks=True,
            autoescape=True, undefined=jinja2.StrictUndefined)
        self.templates.filters.update(self.reference.filters())

    def write(self, path, template, **values):
        target = self.pages / path
        target.parent.mkdir(parents=True, exist_ok=True)
        text = self.templates.get_template(template).render(here=path, reference=self.reference, **values)
        target.write_text(text)

    @staticmethod
    def with_bars(text):
        """Markdown's tables know a bar in code by its backslash, which only some of its readers take away again."""
        def bars(match):
            return '<code>%s</code>' % html.escape(match.group(1).replace('\\|', '|')).replace('|', '&#124;')
        return ROW.sub(lambda row: CODE.sub(bars, row.group()), text)

    def copy_document(self, name):
        """Copies a document with the files that it links to. A link to what is no file becomes plain text."""
        source = self.tree / name

        def resolve(match):
            text, link, anchor = match.groups()
            if re.match(r'[a-z]+:', link):
                return match.group()
            linked = (source.parent / link).resolve()
            if not linked.is_file():
                return text.strip('![]')
            if linked.suffix != '.md':
                copied = self.pages / linked.relative_to(self.tree.resolve())
                copied.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(linked, copied)
            return '%s(%s%s)' % (text, link, anchor or '')

        target = self.pages / name
        target.parent.mkdir(parents=True, exist_ok=True)
        weight = 0.5 if name == 'CHANGELOG.md' else 3
        text = self.with_bars(LINK.sub(resolve, source.read_text()))
        target.write_text('---\nsearch:\n  boost: %s\n---\n%s' % (weight, text))

    def documents(self):
        inside = [str(path.relative_to(self.tree)) for path in sorted((self.tree / 'docs').rglob('*.md'))]
        self.copied = DOCUMENTS + [each for each in inside if not each.startswith('docs/site/')]
        for name in self.copied:
            self.copy_document(name)
        for name in ('site.css', 'site.js', 'iframe-worker.js'):
            shutil.copyfile(HERE / name, self.pages / name)

    def written_reference(self):
        """The pages for what the description does not hold: the module kz itself, kzu, the host's commands."""
        stubs = self.tree / 'python/stubs'
        kz = stub_entries(stubs / 'kz/__init__.pyi')
        own = {each['name']: each for each in kz['classes']}
        self.write('reference/kz.md', 'module.md', name='kz', module=kz, classes=[own['Service'], own['Monitor']])
        self.write('reference/storage.md', 'storage.md', storage=own['Storage'])
        kinds = stub_entries(stubs / 'kz/_kinds.pyi')
        wrapper = [each for each in kinds['classes'] if each['name'] == 'Wrapper'][0]
        self.write('reference/wrappers.md', 'wrappers.md', wrapper=wrapper)
        for part in ('command', 'object'):
            module = stub_entries(stubs / ('kzu/%s.pyi' % part))
            self.write('reference/kzu.%s.md' % part, 'module.md', name='kzu.' + part, module=module,
                       classes=module['classes'])
        self.write('reference/commands.md', 'commands.md', commands=self.commands)
        self.write('reference/codes.md', 'codes.md')
        self.write('reference/types.md', 'types.md')
        self.write('reference/index.md', 'index.md')

    def described_reference(self):
        """A page for each header, interface and service. Returns what the navigation shows of them."""
        shown = []
        for header in self.reference.headers:
            folder = 'reference/%s/' % header['name']
            self.write(folder + 'index.md', 'header.md', header=header)
            below = [folder + 'index.md']
            for each in header['interfaces']:
                self.write(folder + each['stem'] + '.md', 'interface.md', each=each, header=header)
                below.append({each['name'] + (' (service)' if each['service'] else ''): folder + each['stem'] + '.md'})
            shown.append({header['name']: below})
        return shown

    def build(self):
        shutil.rmtree(self.pages, ignore_errors=True)
        self.documents()
        self.written_reference()
        configuration = yaml.safe_load((HERE / 'mkdocs.yml').read_text())
        named = set(re.findall(r"'([^']+\.md)'", str(configuration['nav'])))
        for section in configuration['nav']:
            for title, entries in section.items():
                if title == 'Guides':  # with the documents that no section names
                    entries.extend(name for name in self.copied if name not in named)
                if title == 'Reference':
                    entries.append({'Headers': self.described_reference()})
        configuration['docs_dir'] = self.pages.name
        (self.pages.parent / 'mkdocs.yml').write_text(yaml.safe_dump(configuration, sort_keys=False))


if __name__ == '__main__':
    Site(*sys.argv[1:5]).build()
