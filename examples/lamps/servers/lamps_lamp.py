"""An item type: a lamp with channels, a name for those without one, and the hours that it has burned as data of its own.

    kzhost --import-path examples/lamps cmd "item.create lamps.lamp"
"""

import kz
import kzifc
import lamps
from kz import symbol


class Lamp(kzifc.PackageInstance, kzifc.StreamIO):
    """One lamp. The hours go with the scene and with what undoing brings back; a copy is a new lamp."""
    hours = 0.0

    def pins_Initialize(self, item, source):
        self.item = kz.object.Item(item)
        lamps.enter(self.item, self)

    def pins_Newborn(self, original, flags):
        if flags & symbol.fNEWBORN_COPY:
            self.hours = 0.0

    def pins_Cleanup(self):
        lamps.leave(self.item)
        del self.item  # a method's result lives as long as Python, and would keep the item

    def pins_SynthName(self):
        return '%g W lamp' % self.watts()

    def pins_AllowRemove(self):
        return self.hours < 1000  # a used lamp is counted before it goes

    def io_Write(self, stream):
        kz.object.BlockWrite(stream).WriteDouble(self.hours)

    def io_Read(self, stream):
        self.hours = kz.object.BlockRead(stream).ReadDouble()

    def watts(self):
        return kz.object.Scene(self.item.Scene()).Channels(None, 0.0).DoubleByName(self.item, 'watts')


class Package(kzifc.Package):
    def pkg_SetupChannels(self, channels):
        channels = kz.object.AddChannel(channels)
        channels.NewChannel('watts', 'float')
        channels.SetDefault(40.0, 0)
        channels.SetRange(0.0, 2000.0)
        channels.NewChannel('tint', 'percent')
        channels.SetVector(symbol.iCHANVEC_RGB)
        channels.SetDefaultVector((1.0, 1.0, 1.0))

    def pkg_Attach(self):
        return Lamp()


kz.bless(Package, lamps.TYPE, {symbol.s_PKGTAG_SUPERTYPE: symbol.sITYPE_LOCATOR, symbol.s_PKGTAG_VERSION: '1',
                               symbol.sSRV_VERSION: lamps.__version__})
