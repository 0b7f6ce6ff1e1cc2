"""A listener: whenever a scene is saved, the list of its lamps is written beside it."""

import kz
import kzifc
import lamps
from kzserv.servers import lamps_commands


class Saved(kzifc.SessionListener):
    def sesl_FileSaved(self, path):
        scene = kz.service.Scene().Current()
        if lamps_commands.lamps_of(scene):
            with open(path + '.txt', 'w') as stream:
                stream.write('\n'.join(lamps_commands.lines_of(scene)) + '\n')


kz.bless(Saved, 'lamps.saved', {kz.symbol.sSRV_VERSION: lamps.__version__})
