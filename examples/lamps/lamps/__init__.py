"""Lists of lamps: what they are called, what they need, and where they hang. Nothing here needs the host."""

import collections

__version__ = '1.0.0'
TYPE = 'lamps.lamp'  # of the items

Lamp = collections.namedtuple('Lamp', 'name watts place')


def read(lines):
    """The lamps of a list: a name without blanks, watts and a place in metres on each line; # begins a remark."""
    lamps = []
    for number, line in enumerate(lines, 1):
        words = line.partition('#')[0].split()
        if not words:
            continue
        try:
            name, watts, x, y, z = words
            lamps.append(Lamp(name, float(watts), (float(x), float(y), float(z))))
        except ValueError:
            raise ValueError('line %d: "%s" is no lamp, as "Key 40 0 2 1"' % (number, line.strip()))
    return lamps


# The instances that are in scenes now, by the addresses of their items.
_living = {}


def enter(item, instance):
    _living[item.__peekobj__()] = instance


def leave(item):
    _living.pop(item.__peekobj__(), None)


def of(item):
    return _living[item.__peekobj__()]
