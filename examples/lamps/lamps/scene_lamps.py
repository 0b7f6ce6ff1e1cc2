"""The lamps of a scene."""

import kz
import lamps


def lamps_of(scene):
    kind = kz.service.Scene().ItemTypeLookup(lamps.TYPE)
    return [scene.ItemByIndex(kind, index) for index in range(scene.ItemCount(kind))]


def lines_of(scene):
    found = [(item.UniqueName(), lamps.of(item)) for item in lamps_of(scene)]
    return ['%s: %g W, %g h' % (name, lamp.watts(), lamp.hours) for name, lamp in found] + [
        'together: %g W' % sum(lamp.watts() for _, lamp in found)]
