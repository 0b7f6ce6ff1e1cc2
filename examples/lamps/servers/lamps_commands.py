"""Commands for the lamps of the current scene: one prints them, the other changes the data of their instances."""

import kz
import lamps
from kz import symbol
from kzu.command import Argument, Command
from lamps import scene_lamps


class List(Command):
    label = 'List Lamps'
    description = 'Prints the lamps of the current scene, and what they need together.'

    def execute(self):
        kz.out('\n'.join(scene_lamps.lines_of(kz.service.Scene().Current())))


class Burn(Command):
    label = 'Burn Lamps'
    description = 'Lets all lamps of the current scene burn for some hours.'
    arguments = [Argument('hours', 'float', desc='How long')]
    flags = symbol.fCMD_MODEL

    def execute(self, hours):
        scene = kz.service.Scene().Current()
        for item in scene_lamps.lamps_of(scene):
            lamps.of(item).hours += hours
        scene.SetModified(1)


TAGS = {symbol.sSRV_VERSION: lamps.__version__}
kz.bless(List, 'lamps.list', TAGS)
kz.bless(Burn, 'lamps.burn', TAGS)
