"""A loader: a list of lamps is a scene.

    kzhost --import-path examples/lamps scene convert examples/lamps/house.lamps house.kzscene
"""

import kz
import kzifc
import lamps
from kz import symbol


class Loader(kzifc.Loader):
    def load_Recognize(self, path, info):
        if not path.endswith('.lamps'):
            kz.throw(symbol.e_NOTFOUND, True)  # another loader may know the file
        info = kz.object.LoaderInfo(info)
        info.SetClass(symbol.sFILECLASS_SCENE)
        info.SetFormat('lamps')

    def load_LoadObject(self, path, info, monitor, target):
        with open(path) as stream:
            wanted = lamps.read(stream)
        scenes, scene = kz.service.Scene(), kz.object.Scene(kz.object.SceneLoaderTarget(target).Scene())
        write = scene.WriteChannels(None, 0.0)
        for lamp in wanted:
            item = scene.ItemAdd(scenes.ItemTypeLookup(lamps.TYPE))
            item.SetName(lamp.name)
            write.DoubleByName(item, 'watts', lamp.watts)
            scenes.SetLocatorPosition(item, lamp.place, 0.0, None)


kz.bless(Loader, 'lamps', {'loader.dosPattern': '*.lamps', 'file.class': 'scene',
                           symbol.sSRV_VERSION: lamps.__version__})
