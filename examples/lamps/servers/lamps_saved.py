"""A listener: whenever a scene is saved, the list of its lamps is written beside it."""

import kz
import kzifc
import lamps
from lamps import scene_lamps


class Saved(kzifc.SessionListener):
    def sesl_FileSaved(self, path):
        scene = kz.service.Scene().Current()
        if scene_lamps.lamps_of(scene):
            with open(path + '.txt', 'w') as stream:
                stream.write('\n'.join(scene_lamps.lines_of(scene)) + '\n')


kz.bless(Saved, 'lamps.saved', {kz.symbol.sSRV_VERSION: lamps.__version__})
