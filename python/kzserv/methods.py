"""How the methods of a class can be called, and which names look like misspellings of others."""

import difflib
import inspect

CLOSE = 0.75  # names at least this similar count as misspellings of each other


def function_of(value):
    """The function behind a method, and how many arguments are passed implicitly; None for other callables."""
    if isinstance(value, staticmethod):
        function = value.__get__(None, object)
        return (function, 0) if inspect.isfunction(function) else (None, 0)
    if isinstance(value, classmethod):
        function = value.__get__(None, object).im_func
        return (function, 1) if inspect.isfunction(function) else (None, 0)
    return (value, 1) if inspect.isfunction(value) else (None, 0)


def is_method(value):
    """Whether a class attribute can be called as a method. A property counts, since its value is not known."""
    if isinstance(value, staticmethod):
        return callable(value.__get__(None, object))
    if isinstance(value, classmethod):
        return callable(value.__get__(None, object).im_func)
    if isinstance(value, property):
        return value.fget is not None
    return callable(value) or hasattr(value, '__get__')


def likeness(name, other):
    """How similar two names are, from 0 to 1."""
    return difflib.SequenceMatcher(None, name, other).ratio()


def nearest(name, known):
    """The known name that was probably meant: it differs in letter case or by a misspelling. None if there is none."""
    by_case = dict((each.lower(), each) for each in known)
    likely = difflib.get_close_matches(name, known, 1, CLOSE)
    return by_case.get(name.lower()) or (likely[0] if likely else None)


def takes(value, count):
    """Whether a method can be called with that many arguments, and how many it takes, as a text."""
    function, bound = function_of(value)
    if function is None:
        return True, ''
    names, rest, _, defaults = inspect.getargspec(function)
    most = len(names) - bound
    least = most - len(defaults or ())
    fits = least <= count and (rest is not None or count <= most)
    return fits, '%d' % most if least == most else '%d to %d' % (least, most)


def line_of(value, path, otherwise):
    """The line of a method's definition if that is in the file, or else the given line."""
    function = function_of(value)[0]
    code = getattr(function, '__code__', None)
    return code.co_firstlineno if code is not None and code.co_filename == path else otherwise


def plural(count):
    return '%d argument%s' % (count, '' if count == 1 else 's')
