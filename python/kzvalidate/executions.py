"""Commands with values for their arguments: ordinary ones, odd ones, or a random mix."""

import kz
import kz.service as service
from kz import symbol

from kzvalidate import shapes

_WORDS = {'integer': '1', 'float': '1.5', 'string': 'text', 'boolean': 'true'}
_SETTERS = {symbol.iVALUE_TYPE_INTEGER: ('int', 'SetInt'), symbol.iVALUE_TYPE_FLOAT: ('double', 'SetFlt')}


def attempt(call, *given):
    try:
        return call(*given)
    except (Exception, KeyboardInterrupt):
        return None


class Argument(object):
    """One argument of a command: its name, its number, and how a value of its type is set."""

    def __init__(self, attributes, index):
        self.index, self.name = index, attributes.Name(index)
        kind = attempt(attributes.TypeName, index) or 'string'
        values, hints = service.Value(), attempt(attributes.Hints, index)
        value = attempt(values.CreateValue, kind)
        self.word = hints[0][1] if hints else _WORDS.get(kind) or (
            attempt(values.EncodeText, value, 0) if value is not None else None) or '1'
        base = attempt(value.Type) if value is not None else None
        self.kind, self.setter = _SETTERS.get(base, ('string', 'SetString'))


def arguments_of(attributes):
    return [Argument(attributes, index) for index in range(attributes.Count())]


def is_command(target):
    return 'Command' in target.kinds and 'Attributes' in target.kinds


class Executions(object):
    """Executes new objects of a command directly, so that an endless one is found in its method."""

    def __init__(self, stage):
        self.stage = stage
        self.method = next(each for each in shapes.methods('Command') if each.name == 'cmd_Execute')
        object = stage.new()
        self.arguments = attempt(arguments_of, kz.object.Attributes(object)) or []

    def odd(self):
        """Each argument gets each odd value, once beside ordinary values for the others and once beside none. All get
        their first ones before any gets its limits, with which honest work takes long as well."""
        rows = [self.stage.supply.odd_values(each.kind) for each in self.arguments]
        for turn in range(max(map(len, rows)) if rows else 0):
            for chosen, row in zip(self.arguments, rows):
                for others in (self.arguments, [chosen]) if turn < len(row) else ():
                    yield [(each, each.setter, row[turn]) if each is chosen else (each, 'SetString', each.word)
                           for each in others]

    def random(self, random):
        """Any of the arguments, of which a third get odd values."""
        given = []
        for each in self.arguments:
            if random.random() < .35:
                given.append((each, each.setter, random.choice(self.stage.supply.odd_values(each.kind))))
            elif random.random() < .8:
                given.append((each, 'SetString', each.word))
        return given

    def execute(self, given):
        """Does nothing if an argument refuses its value: no host would execute the command then."""
        object = self.stage.new()
        attributes = kz.object.Attributes(object)
        try:
            for argument, setter, value in given:
                getattr(attributes, setter)(argument.index, value)
        except (Exception, KeyboardInterrupt):
            return
        recorder = self.stage.recorder
        recorder.situation = ''.join(' %s:%s' % (each.name, value if value == each.word else shapes.shown(value))
                                     for each, _, value in given)
        self.stage.call(self.stage.view(object, 'Command'), self.method, [0])
        recorder.situation = ''
