"""A command with a dialog: it begins with what was used last, an answer changes another one, and one argument can be
answered only when it matters. Two question marks ask for everything, one only if something is missing.

    kzhost --import-path examples cmd "??text.banner hello"
    kzhost --import-path examples cmd "text.banner hello frame:true mark:+"
"""

import kz
from kzu.command import Argument, Command


class Banner(Command):
    label = 'Banner'
    description = 'Prints a text in the middle of a line.'
    arguments = [
        Argument('text', 'string', desc='What to print'),
        Argument('width', 'integer', default=20, desc='How long the line is'),
        Argument('frame', 'boolean', default=False, desc='Whether there is a frame'),
        Argument('mark', 'string', default='*', desc='What the frame is made of'),
    ]
    last_mark = '*'

    def execute(self, text, width, frame, mark):
        line = text.center(width)
        if frame:
            Banner.last_mark = mark
            line = '\n'.join([mark * (width + 4), '%s %s %s' % (mark, line, mark), mark * (width + 4)])
        kz.out(line)

    def prepare(self):
        return {'mark': Banner.last_mark}

    def argument_changed(self, name):
        if name == 'text':
            return {'width': max(len(self.value('text') or ''), self.value('width'))}

    def argument_enabled(self, name):
        return 'there is no frame' if name == 'mark' and not self.value('frame') else None


kz.bless(Banner, 'text.banner', {'command.category': 'text'})
