"""A command: typed arguments, a query, a toggle, and a state in which it cannot be used.

    kzhost --import-path examples cmd "text.repeat hello count:3"
    kzhost --import-path examples cmd "text.repeat count:?"
"""

import kz
from kzu.command import Argument, Command


class Repeat(Command):
    label = 'Repeat Text'
    description = 'Prints a text several times.'
    arguments = [
        Argument('text', 'string', desc='What to print'),
        Argument('count', 'integer', default=1, query=True, desc='How often'),
        Argument('loud', 'boolean', default=False, toggle=True, query=True),
    ]
    last_count = 1
    is_loud = False

    def execute(self, text, count, loud):
        Repeat.last_count, Repeat.is_loud = count, loud
        line = ' '.join([text] * count)
        kz.out(line.upper() if loud else line)

    def query(self, name):
        return {'count': Repeat.last_count, 'loud': Repeat.is_loud}[name]

    def argument_enabled(self, name):
        return 'set a count first' if name == 'loud' and Repeat.last_count == 0 else None

    def prepare(self):
        return {'count': Repeat.last_count}


class Never(Command):
    def enabled(self):
        return 'there is nothing to do'


kz.bless(Repeat, 'text.repeat', {'command.category': 'text', 'server.username': 'Repeat Text'})
kz.bless(Never, 'text.never')
