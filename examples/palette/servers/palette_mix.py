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
        Argument('mode', 'choice', choices=palette.MODES, default='average', query=True, desc='How they are mixed'),
    ]
    last_mode = 'average'

    def execute(self, first, second, mode):
        Mix.last_mode = mode
        kz.out(palette.format(palette.mix(palette.parse(first), palette.parse(second), mode)))

    def query(self, name):
        return self.last_mode


kz.bless(Mix, 'palette.mix', {kz.symbol.sSRV_VERSION: palette.__version__, 'command.category': 'palette'})
