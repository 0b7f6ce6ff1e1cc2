"""Extensions of the wrapper types of kz.object.

Each class here derives from the wrapper type of the same name and adds what Python code expects of such an object: a
length, indexing, iteration, a readable repr. The wrapper's own methods are unchanged. Objects that the host returns
have these types, and a script can convert any wrapper: kzu.object.ValueArray(wrapper).
"""

import time

import kz


def _pointer(other):
    peek = getattr(other, '__peekobj__', None)
    try:
        return peek() if peek is not None else None
    except (TypeError, RuntimeError):
        return None  # an empty wrapper


class _Object(object):
    """Two wrappers are equal if they hold the same interface. A wrapper never equals any other kind of object."""

    def __eq__(self, other):
        mine = _pointer(self)
        return self is other or (bool(mine) and mine == _pointer(other))

    def __ne__(self, other):
        return not self == other

    def __hash__(self):
        return hash(_pointer(self) or 0)

    def __nonzero__(self):
        return self.test()

    def __repr__(self):
        return '<%s%s>' % (type(self).__name__, self._shown() if self.test() else ' (empty)')

    def _shown(self):
        return ''


class _Sequence(_Object):
    """Access to elements by index. A negative index counts from the end, and a slice returns a list."""

    def __getitem__(self, index):
        if isinstance(index, slice):
            return [self._element(each) for each in range(*index.indices(len(self)))]
        count = len(self)
        if index < 0:
            index += count
        if not 0 <= index < count:
            raise IndexError('index %d of %d' % (index, count))
        return self._element(index)

    def __iter__(self):
        index = 0
        while index < len(self):  # evaluated each time, because the loop's body may change it
            yield self._element(index)
            index += 1

    def _shown(self):
        return ' of %d' % len(self)


class ValueArray(_Sequence, kz.object.ValueArray):
    def __len__(self):
        return self.Count()

    def _element(self, index):
        kind = self.Type()
        if kind == kz.symbol.iVALUE_TYPE_INTEGER:
            return int(self.GetInt(index))
        if kind == kz.symbol.iVALUE_TYPE_FLOAT:
            return self.GetFloat(index)
        if kind == kz.symbol.iVALUE_TYPE_STRING:
            return self.GetString(index)
        return Value(self.GetValue(index))

    def append(self, value):
        if isinstance(value, (int, long)):
            self.AddInt(value)
        elif isinstance(value, float):
            self.AddFloat(value)
        elif isinstance(value, basestring):
            self.AddString(value)
        else:
            self.AddValue(value)

    def _shown(self):
        return ' %s %r' % (self.TypeName(), list(self))


class Value(_Object, kz.object.Value):
    def get(self):
        """The value as a Python object; one that is neither a number nor a text as its text."""
        kind = self.Type()
        if kind == kz.symbol.iVALUE_TYPE_INTEGER:
            return int(self.GetInt())
        if kind == kz.symbol.iVALUE_TYPE_FLOAT:
            return self.GetFlt()
        return kz.service.Value().EncodeText(self, 0)

    def _shown(self):
        return ' %s %r' % (self.TypeName(), self.get())


class Attributes(_Object, kz.object.Attributes):
    """Access to attributes by name, as texts. The wrapper's own methods access them by number."""

    def __len__(self):
        return self.Count()

    def __iter__(self):
        return iter(self.keys())

    def __contains__(self, name):
        return name in self.keys()

    def keys(self):
        return [self.Name(index) for index in range(self.Count())]

    def __getitem__(self, name):
        return self.GetString(self._find(name))

    def __setitem__(self, name, text):
        self.SetString(self._find(name), str(text))

    def _find(self, name):
        try:
            return self.keys().index(name)
        except ValueError:
            raise KeyError(name)

    def _shown(self):
        return ' ' + ', '.join(self.keys())


class Log(_Sequence, kz.object.Log):
    def __len__(self):
        return self.EntryCount()

    def _element(self, index):
        return LogEntry(self.EntryByIndex(index))

    def _shown(self):
        return ' %s of %d' % (self.Name(), len(self))


class LogEntry(_Sequence, kz.object.LogEntry):
    """Its elements are the entries below it."""

    def __len__(self):
        return self.ChildCount()

    def _element(self, index):
        return LogEntry(self.ChildByIndex(index))

    def _shown(self):
        return ' %08x %r' % (self.Type(), self.Desc())


class Tree(_Object, kz.object.Tree):
    """Iterating yields a new tree position for each child; the tree's own position does not change."""

    def __len__(self):
        return self.Count()

    def __iter__(self):
        for index in range(self.Count()):
            child = Tree(self.Spawn(kz.symbol.iTREE_SPAWN_SAME))
            child.SetCurrent(index)
            child.ToChild()
            yield child


class Monitor(_Object, kz.object.Monitor):
    """As a context manager, it returns the monitor to the host at the end in any case."""

    def __enter__(self):
        return self

    def __exit__(self, *raised):
        kz.service.StdDialog().MonitorReleaseObj(self)
        return False


class StringTag(_Object, kz.object.StringTag):
    def __len__(self):
        return self.Count()

    def __iter__(self):
        for index in range(self.Count()):
            yield self.ByIndex(index)


def _wait(is_over):
    """Returns once is_over() is true. It polls, because a waiting host call would keep the interpreter lock."""
    pause = 0
    while not is_over():
        time.sleep(pause)
        pause = min(pause + 0.0005, 0.005)


class ThreadGroup(_Object, kz.object.ThreadGroup):
    """Waiting lets jobs that run Python code proceed. A job must not wait for its own group."""

    def Wait(self):
        _wait(lambda: not self.Running())
        kz.object.ThreadGroup.Wait(self)

    def Kill(self):
        """Waits for all jobs. Those that have not begun are not dropped: the host would wait with the lock held."""
        self.Wait()
        kz.object.ThreadGroup.Kill(self)

    def _shown(self):
        return ' of %d' % self.JobCount()


class ThreadMutex(_Object, kz.object.ThreadMutex):
    """As a context manager, it owns the mutex from beginning to end."""

    def Enter(self):
        _wait(self.TryEnter)

    def __enter__(self):
        self.Enter()
        return self

    def __exit__(self, *raised):
        self.Leave()
        return False
