# The types of the objects that host calls return: classes of kzu.object where it has one of the name, otherwise wrappers.
# There is no such module at run time.
from kzu.object import (
    Attributes as Attributes, Log as Log, LogEntry as LogEntry, Monitor as Monitor, StringTag as StringTag,
    ThreadGroup as ThreadGroup, ThreadMutex as ThreadMutex, Tree as Tree, Value as Value, ValueArray as ValueArray)
from kz.object import *  # type: ignore  # for the names that are not above
