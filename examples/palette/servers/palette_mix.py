"""A command with two arguments and a choice.

    kzhost --import-path examples/palette cmd "palette.mix ff0000 0000ff mode:lighter"
    kzhost --import-path examples/palette cmd "palette.mix mode:?"
"""

import kz
import palette
from kzu.command import Argument, Command


class Mix(Command):
    label = 'Mix Colours'
    description = 'Mixes two colours and prints the result.'
    arguments = [
        Argument('first', 'string', desc='A colour, as ff8000'),
        Argument('second', 'string', desc='Another one'),
        Argument('mode', 'integer', default=0, query=True, desc='How they are mixed'),
    ]
    last_mode = 0

    def execute(self, first, second, mode):
        Mix.last_mode = mode
        kz.out(palette.format(palette.mix(palette.parse(first), palette.parse(second), palette.MODES[mode])))

    def query(self, name):
        return self.last_mode

    def attr_Hints(self, index):
        """The words of the choice: callers use them, and execute gets their numbers."""
        if self.attr_Name(index) != 'mode':
            kz.throw(kz.symbol.e_NOTFOUND, True)
        return list(enumerate(palette.MODES))


kz.bless(Mix, 'palette.mix', {kz.symbol.sSRV_VERSION: palette.__version__, 'command.category': 'palette'})
