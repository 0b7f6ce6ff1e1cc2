"""Colours and lists of colours. Nothing here needs the host, so that it can be used and tested anywhere."""

__version__ = '1.2.0'

MODES = ('average', 'lighter', 'darker')


def parse(text):
    """The three components, from 0 to 255, of a colour such as "ff8000" or "#ff8000"."""
    digits = text.lstrip('#')
    try:
        if len(digits) != 6:
            raise ValueError
        return tuple(int(digits[at:at + 2], 16) for at in (0, 2, 4))
    except ValueError:
        raise ValueError('"%s" is not a colour, as ff8000' % text)


def format(color):
    return '#%02x%02x%02x' % tuple(color)


def mix(first, second, mode):
    rules = {'average': lambda a, b: (a + b) // 2, 'lighter': max, 'darker': min}  # type: dict
    return tuple(rules[mode](a, b) for a, b in zip(first, second))


def read(lines):
    """The colours of a palette file: one on each line, then a name if you like; empty lines do not count."""
    return [parse(line.split()[0]) for line in lines if line.strip()]
