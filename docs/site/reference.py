"""The SDK description as the pages of the reference need it: who links to what, and signatures with links."""
import collections
import html
import posixpath
import re

from markupsafe import Markup

WORD = re.compile(r'\b[A-Z][A-Z0-9]*(?:_[A-Z0-9]+)*\b')


class Reference:
    def __init__(self, model, coverage):
        self.hash, self.headers, self.uses = model['hash'], model['headers'], model['objects']
        self.coverage = coverage
        self.pages = {}         # the page of each interface and service, by stem
        self.codes = {}         # by name
        self.mentions = collections.defaultdict(list)  # the methods that mention a code, by its name
        for header in self.headers:
            for code in header['codes']:
                self.codes[code['name']] = code
                code['success'] = code['value'] < 0x80000000
            for each in header['interfaces']:
                each['stem'] = each['name'] + ('Service' if each['service'] else '')
                each['initial'] = each['name'][0]
                if each['stem'] in self.pages:
                    raise ValueError('two interfaces would share the page of ' + each['stem'])
                self.pages[each['stem']] = 'reference/%s/%s.html' % (header['name'], each['stem'])
        for each in self.interfaces():
            for method in each['methods']:
                for code in self.codes_of(method):
                    self.mentions[code['name']].append(each['stem'] + '.' + method['name'])
        self.families = Families(self.headers, model['families'])

    def interfaces(self):
        return [each for header in self.headers for each in header['interfaces']]

    def services(self):
        return [each for each in self.interfaces() if each['service']]

    def codes_of(self, method):
        """The result codes that the words about a method name, in their order."""
        words = WORD.findall(method.get('summary', ''))
        return [self.codes[word] for word in dict.fromkeys(words) if word in self.codes]

    # In the reference host

    def state(self, each, method):
        """What the method does in the reference host, or None where nobody has recorded it."""
        if not self.coverage:
            return None
        table = self.coverage['services' if each['service'] else 'objects']
        name = '%s.%s' % (each.get('type', each['name']), method['name'])
        if name in self.coverage.get('needs a window or a renderer', ()):
            return 'needs a window or a renderer'
        return 'works' if method['name'] in table.get(each['name'], ()) else 'answers NOTIMPL'

    def is_called(self, each, method):
        """Whether the reference host calls the operation of servers written in Python."""
        return method['served']['name'] in self.coverage['servers'].get(each['name'], ())

    # Links

    def filters(self):
        return {'link': self.link, 'method_links': self.method_links, 'signature': self.signature,
                'prose': self.prose, 'sentence': self.sentence, 'family_link': self.family_link,
                'code_link': self.code_link, 'heading': self.heading}

    @staticmethod
    def heading(name, owner=''):
        """The attributes of a heading: its anchor, and what the table of contents shows. Markdown would take two
        underscores among them for emphasis, and show all of it."""
        if '__' in name:
            return Markup('{ #%s%s }') % (owner, name.replace('__', '-'))
        return Markup('{ #%s%s data-toc-label="%s" }') % (owner, name, name)

    @staticmethod
    def anchor(here, target, text):
        relative = posixpath.relpath(target, posixpath.dirname(here))
        return Markup('<a href="%s">%s</a>') % (relative, text)

    def link(self, stem, here, text=None):
        if stem not in self.pages:
            return Markup.escape(text or stem)
        return self.anchor(here, self.pages[stem], text or stem)

    def method_links(self, names, here):
        """Links to methods, such as "Mesh.Merge"."""
        links = []
        for name in names:
            stem, method = name.split('.')
            links.append(self.anchor(here, '%s#%s' % (self.pages[stem], method), name))
        return Markup(', ').join(links)

    def family_link(self, name, here):
        target = self.families.places.get(name)
        if not target:
            return Markup.escape(name)
        return self.anchor(here, 'reference/%s/index.html#%s' % (target, name), name)

    def code_link(self, name, here):
        return self.anchor(here, 'reference/codes.html#' + name, name)

    def prose(self, text, here):
        """A text of the description: names of codes are linked, and what stands in backticks is code."""
        text = re.sub(r'`([^`]+)`', r'<code>\1</code>', html.escape(text, quote=False))
        return Markup(WORD.sub(
            lambda match: self.code_link(match.group(), here) if match.group() in self.codes else match.group(), text))

    def sentence(self, text, here):
        """A remark, which may be a few words, as a sentence."""
        first = text.split(None, 1)[0]
        if first.islower() and not first.startswith('`'):
            text = text[0].upper() + text[1:]
        return self.prose(text if text[-1] in '.:!?' else text + '.', here)

    # Signatures

    def type(self, typed, here):
        if 'interface' in typed:
            return self.link(typed['interface'], here)
        text = self.anchor(here, 'reference/types.html#' + typed['kind'].replace('[]', '-array'), typed['kind'])
        if typed.get('families'):
            text += Markup(' of ') + Markup(' | ').join(self.family_link(name, here) for name in typed['families'])
        return text

    def signature(self, method, here):
        def listed(parameters):
            return Markup(', ').join(Markup('%s: %s') % (each['name'], self.type(each, here)) for each in parameters)
        text = Markup('<b>%s</b>(%s)') % (method['name'], listed(method['inputs']))
        outputs = listed(method['outputs'])
        if 'returns' in method:
            outputs = self.type(method['returns'], here) + (Markup(', ') + outputs if outputs else '')
        return text + (Markup(' → ') + outputs if outputs else '')

    def nulls(self, method):
        """What becomes of a null pointer among the outputs: (name, sentence) for each that may be one."""
        sentences = []
        outputs = method['outputs'] + ([dict(method['returns'], name='the result')] if 'returns' in method else [])
        for each in outputs:
            if each['kind'] == 'object' and 'interface' in each and each['name'] != 'the result':
                sentences.append((each['name'], 'never None: without an object the call fails with NOTFOUND'))
            elif each['kind'] in ('object', 'string'):
                sentences.append((each['name'], 'None for a null %s' % ('text' if each['kind'] == 'string' else 'object')))
            elif each['kind'] == 'pointer':
                sentences.append((each['name'], '0 for a null pointer'))
        return sentences


class Families:
    """The constants by families. A constant is listed once, under the longest family that the description names."""

    def __init__(self, headers, families):
        self.all = families
        self.places = {}     # the header whose page has the family's list, by family
        longest = {}
        for name in sorted(families, key=len):
            for symbol in families[name]['symbols']:
                longest[symbol] = name
        for header in headers:
            header['lists'] = self.lists(header, longest)
            for each in header['lists']:
                if each['family']:
                    self.places.setdefault(each['family'], header['name'])
                each['here'] = self.places.get(each['family']) == header['name']
        self.place_the_rest(headers)

    @staticmethod
    def lists(header, longest):
        """The constants of a header, as [{family or None, title, rows: [(comment of the group, symbols)]}]."""
        lists = {}
        for number, group in enumerate(header['groups']):
            for symbol in group['symbols']:
                family = longest.get(symbol['name'])
                if family is not None and re.match(r'^[uae]_$', family):
                    family = None
                key = family or number
                entry = lists.setdefault(key, {'family': family, 'groups': {}})
                part = entry['groups'].setdefault(
                    number, {'summary': group.get('summary', ''), 'used': group.get('used', ''), 'symbols': []})
                part['symbols'].append(symbol)
        for entry in lists.values():
            entry['groups'] = list(entry['groups'].values())
            names = [each['name'] for group in entry['groups'] for each in group['symbols']]
            entry['title'] = entry['family'] or Families.common(names)
        return list(lists.values())

    @staticmethod
    def common(names):
        """What the names of a group have in common: "sTAG_..." of several, a name that stands alone."""
        if all(re.match('[ua]_', name) for name in names):
            return 'Identities and server types'
        if all(re.match('e_?[A-Z]', name) for name in names):
            return 'Result codes by their other names'
        if len(names) == 1:
            return names[0]
        beginning = posixpath.commonprefix(names)
        stem = beginning[:beginning.rfind('_') + 1]
        if len(stem) > 2:
            return stem + '...'
        return names[0] + ' and others'

    def place_the_rest(self, headers):
        """Families without constants of their own, which longer ones divide among themselves, stand beside those."""
        homes = {symbol['name']: header for header in headers for group in header['groups']
                 for symbol in group['symbols']}
        for name, family in self.all.items():
            if name in self.places or not family['symbols']:
                continue
            header = homes[family['symbols'][0]]
            self.places[name] = header['name']
            header['lists'].append({'family': name, 'title': name, 'groups': [], 'here': True})

    def others(self, name):
        """The further families whose constants a family takes in."""
        mine = set(self.all[name]['symbols'])
        return sorted(other for other, family in self.all.items()
                      if other != name and set(family['symbols']) < mine and other in self.places)

    def elsewhere(self, name, header, headers):
        """The other headers that have constants of the family."""
        return [each['name'] for each in headers if each is not header
                and any(entry['family'] == name for entry in each['lists'])]
