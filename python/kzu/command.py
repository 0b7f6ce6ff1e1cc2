"""A base class for commands in Python, which need not know the interfaces behind them.

    class Repeat(kzu.command.Command):
        arguments = [Argument('text', 'string'), Argument('count', 'integer', default=1)]

        def execute(self, text, count):
            print text * count

    kz.bless(Repeat, 'text.repeat')

The host then has a command "text.repeat", which kz.eval("text.repeat hello count:3") executes as any other.
"""

import kz
import kzifc
from kzu import object as wrappers


class Argument(object):
    """One argument of a command: its name, its value type, and its properties.

    default    the value if the caller passes none; an argument with a default is optional
    optional   the caller may omit it; without a default it is None then
    toggle     kz.queryToggle queries this argument
    query      the argument can be queried, which calls the command's query()
    choices    the words that an argument of the type "choice" can be; execute gets one of them, and query returns one
    password   its value is neither shown nor kept in the history or the log
    read_only  it can be queried but not set
    label      the name that users see
    desc       what it is for

    An argument does not change once it is made: `flags` has what its properties mean to the host.
    """

    def __init__(self, name, kind, default=None, optional=False, toggle=False, query=False, label=None, desc=None,
                 choices=(), password=False, read_only=False):
        if choices and kind != kz.symbol.sTYPE_CHOICE:
            raise ValueError('argument "%s": choices are for the type "choice", not "%s"' % (name, kind))
        if choices and default is not None and default not in choices:
            raise ValueError('argument "%s": the default %r is not one of %s' % (name, default, ', '.join(choices)))
        self.choices = list(choices)
        self.name, self.kind, self.default = name, kind, default
        self.optional = optional or read_only or default is not None
        self.password, self.read_only = password, read_only
        self.toggle, self.query, self.label, self.desc = toggle, query, label, desc
        symbol = kz.symbol
        self.flags = ((symbol.fCMDARG_OPTIONAL if self.optional else 0) | (symbol.fCMDARG_QUERY if query else 0) |
                      (symbol.fCMDARG_TOGGLE if toggle else 0) | (symbol.fCMDARG_PASSWORD if password else 0) |
                      (symbol.fCMDARG_READONLY if read_only else 0))


_VALUE_SET = kz.symbol.fCMDARG_VALUE_SET
_TOGGLE = kz.symbol.fCMD_TOGGLE
_STRING = kz.symbol.sTYPE_STRING


def _refuse(code):
    kz.throw(code, True)  # quiet: it is up to the caller to report it


class Command(kzifc.Command, kzifc.Attributes):
    """The base class of commands. Override execute, and as needed query, enabled, argument_enabled, prepare and
    argument_changed.
    """

    arguments = ()
    label = None
    description = None
    flags = 0
    _passed_values = {}  # until the instance has any, so that derived classes need not call __init__ of this class

    def execute(self, **values):
        """Does the work. Called with the value of each argument as a keyword argument."""
        raise NotImplementedError

    def query(self, name):
        """Returns the current value of the argument, or a list of values."""
        raise NotImplementedError

    def enabled(self):
        """Returns None, or a text that says why the command cannot be used at the moment."""

    def argument_enabled(self, name):
        """Returns None, or a text that says why the argument cannot be used."""

    def prepare(self):
        """Returns a dictionary of initial values for a dialog, in addition to the defaults."""
        return {}

    def argument_changed(self, name):
        """Called when the user has entered the argument. Returns None, or a dictionary of new values of others."""

    def value(self, name):
        """The argument's value: the one that was passed, or else its default, or None."""
        index = self.attr_Lookup(name)
        return self._python_value(index) if self._is_set(index) else self.arguments[index].default

    # The description of the command.

    def cmd_UserName(self):
        return self.label or _refuse(kz.symbol.e_NOTIMPL)

    def cmd_Desc(self):
        return self.description or _refuse(kz.symbol.e_NOTIMPL)

    def cmd_Flags(self):
        for each in self.arguments:
            if each.toggle:
                return self.flags | _TOGGLE
        return self.flags

    def cmd_Enable(self, message):
        reason = self.enabled()
        if reason is None:
            return
        message = kz.object.Message(message)
        message.SetCode(kz.symbol.e_CMD_DISABLED)
        message.SetMessage('commands', 'failed', 0)
        message.SetArgumentString(1, self.label or type(self).__name__)
        message.SetArgumentString(2, str(reason))
        _refuse(kz.symbol.e_CMD_DISABLED)

    def cmd_ToggleArg(self):
        for index, each in enumerate(self.arguments):
            if each.toggle:
                return index
        _refuse(kz.symbol.e_NOTFOUND)

    # Executing and querying it. The host asks some of these for every execution, so they are kept short.

    def cmd_Execute(self, flags):
        values, index, passed = {}, 0, self._passed_values
        for each in self.arguments:
            if index in passed:
                value = passed[index]
                values[each.name] = value if type(value) is str else self._python_value(index)
            elif each.optional:
                values[each.name] = each.default
            else:
                _refuse(kz.symbol.e_CMD_MISSING_ARGS)
            index += 1
        self.__dict__.pop('cmd_Message', None)
        try:
            self.execute(**values)
        except Exception as error:
            self._explain(error)
            raise

    def cmd_Query(self, index, values):
        if not self._argument(index).query:
            _refuse(kz.symbol.e_CMD_ARGUMENT_NOT_QUERYABLE)
        self.__dict__.pop('cmd_Message', None)
        try:
            answer = self.query(self.arguments[index].name)
        except Exception as error:
            self._explain(error)
            raise
        values = wrappers.ValueArray(values)
        for value in answer if isinstance(answer, (list, tuple)) else [answer]:
            values.append(self._number(index, value))

    def _explain(self, error):
        """Gives the command a message that says what was raised; a code speaks for itself. Without a failure there is no
        cmd_Message but that of kzifc, which the host need not call.
        """
        if not str(error).startswith('bad result: ') and not isinstance(error, NotImplementedError):
            failure = kz.service.Message().Allocate()
            failure.SetCode(kz.excResult())
            failure.SetMessage('commands', 'failed', 0)  # with a first argument the host fills in
            failure.SetArgumentString(2, '%s: %s' % (type(error).__name__, error))
            self.cmd_Message = lambda: failure  # only now, since other threads may execute this object

    # Dialogs. What the caller has passed stays; the initial values of other arguments are up to the command.

    def cmd_DialogInit(self):
        values = dict((each.name, each.default) for each in self.arguments if each.default is not None)
        values.update(self.prepare())
        self._assign(dict((name, value) for name, value in values.items()
                          if not self._is_set(self.attr_Lookup(name))))

    def cmd_DialogArgChange(self, index):
        self._assign(self.argument_changed(self._argument(index).name) or {})

    # The arguments.

    def cmd_ArgFlags(self, index):
        try:
            flags = self.arguments[index].flags
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)
        return flags | _VALUE_SET if index in self._passed_values else flags

    def cmd_ArgEnable(self, index):
        try:
            name = self.arguments[index].name
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)
        if self.argument_enabled(name) is not None:
            _refuse(kz.symbol.e_DISABLED)

    def cmd_ArgUserName(self, index):
        return self._argument(index).label or self._argument(index).name

    def cmd_ArgDesc(self, index):
        return self._argument(index).desc or _refuse(kz.symbol.e_NOTIMPL)

    def cmd_ArgType(self, index):
        return self._argument(index).kind

    def cmd_ArgClear(self, index):
        self._argument(index)
        self._values().pop(index, None)

    def cmd_ArgResetAll(self):
        self._values().clear()

    def cmd_ArgParseString(self, index, text):
        self.attr_SetString(index, text)

    def attr_Count(self):
        return len(self.arguments)

    def attr_Name(self, index):
        try:
            return self.arguments[index].name
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)

    def attr_Lookup(self, name):
        for index, each in enumerate(self.arguments):
            if each.name == name:
                return index
        _refuse(kz.symbol.e_NOTFOUND)

    def attr_Type(self, index):
        return kz.service.Value().ValueType(self._argument(index).kind)

    def attr_TypeName(self, index):
        try:
            return self.arguments[index].kind
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)

    def attr_Hints(self, index):
        return list(enumerate(self._argument(index).choices)) or _refuse(kz.symbol.e_NOTFOUND)

    def attr_Value(self, index, create):
        return self._value_object(index) if create else self._passed(index)

    def attr_GetInt(self, index):
        return self._passed(index).GetInt()

    def attr_GetFlt(self, index):
        return self._passed(index).GetFlt()

    def attr_GetString(self, index):
        value = self._passed_values.get(index)
        return value if type(value) is str else kz.service.Value().EncodeText(self._passed(index), 0)

    def attr_SetInt(self, index, value):
        self._set(index, 'SetInt', value)

    def attr_SetFlt(self, index, value):
        self._set(index, 'SetFlt', value)

    def attr_SetString(self, index, value):
        try:
            argument = self.arguments[index]
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)
        if argument.kind == _STRING:
            self.__dict__.setdefault('_passed_values', {})[index] = value
        elif value in argument.choices:
            self._set(index, 'SetInt', argument.choices.index(value))
        else:
            self._set(index, 'SetString', value)

    # Values are kept as objects of the host, which converts them as it does everywhere, but for texts, which need no
    # conversion until somebody asks for the object.

    def _values(self):
        return self.__dict__.setdefault('_passed_values', {})

    def _argument(self, index):
        try:
            return self.arguments[index]
        except IndexError:
            _refuse(kz.symbol.e_OUTOFBOUNDS)

    def _is_set(self, index):
        return index in self._passed_values

    def _passed(self, index):
        self._argument(index)
        value = self._passed_values.get(index)
        if value is None:
            _refuse(kz.symbol.e_NOTAVAILABLE)
        if type(value) is str:
            value = self._set(index, 'SetString', value)  # not what another thread may have set meanwhile
        return value

    def _value_object(self, index):
        if not self._is_set(index):
            self._values()[index] = kz.service.Value().CreateValue(self._argument(index).kind)
        return self._passed(index)

    def _set(self, index, method, value):
        service = kz.service.Value()
        target = service.CreateValue(self._argument(index).kind)
        try:
            if method == 'SetString':
                service.DecodeText(value, 0, target)
            else:
                getattr(target, method)(value)
        except Exception:
            _refuse(kz.symbol.e_INVALIDARG)
        self._values()[index] = target
        return target

    def _assign(self, values):
        for name, value in values.items():
            value = self._number(self.attr_Lookup(name), value)
            kind = 'SetInt' if isinstance(value, (int, long)) else 'SetFlt' if isinstance(value, float) else 'SetString'
            self._set(self.attr_Lookup(name), kind, value)

    def _number(self, index, value):
        """A word of a choice as the number that the host has for it; every other value as it is."""
        choices = self._argument(index).choices
        return choices.index(value) if value in choices else value

    def _python_value(self, index):
        value, argument = self._passed_values[index], self.arguments[index]
        if type(value) is str:
            return value
        if argument.choices:
            number = value.GetInt()
            return argument.choices[number] if 0 <= number < len(argument.choices) else _refuse(kz.symbol.e_OUTOFBOUNDS)
        if argument.kind == kz.symbol.sTYPE_BOOLEAN:
            return bool(value.GetInt())
        return wrappers.Value(value).get()
