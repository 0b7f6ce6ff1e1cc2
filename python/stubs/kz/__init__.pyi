# The functions and types of the module kz itself.
from typing import Any, Callable, Dict, Iterator, List, Optional, Sequence, Tuple, Union, overload
from kz import ifc as ifc, object as object, result as result, service as service, symbol as symbol
from kz._kinds import Text

__version__: str
__description__: str

def out(*values: Any) -> None:
    """Writes the values to the event log."""
def eval(__command: str, __flags: int = ...) -> Any:
    """Executes a command string, or evaluates a query: None, one value, or a tuple of values."""
def eval1(__command: str, __flags: int = ...) -> Any:
    """As eval; a query gives the first of its values alone."""
def evalN(__command: str, __flags: int = ...) -> Tuple[Any, ...]:
    """As eval; a query gives a tuple however many values there are."""
def queryToggle(__command: str) -> Any:
    """Queries the toggle argument of a command."""
def command(__name: str, **arguments: Any) -> Any:
    """Executes a command whose arguments are given by keywords."""
def test(__command: str) -> bool:
    """True if the toggle command is on."""
def arg() -> str:
    """The script's arguments as one text."""
def args() -> Tuple[str, ...]:
    """The script's arguments."""
def setOption(__name: str, __value: str) -> None:
    """Sets an option, such as "queryAnglesAs" to "degrees"."""
def option(__name: str) -> str:
    """The value of an option."""
def trace(__on: Any = ...) -> bool:
    """Switches the log of every call on or off. Without an argument it tells how that stands."""
def bless(__cls: type, __name: str, __tags: Optional[Dict[str, str]] = ..., __meta: Any = ...) -> None:
    """Makes a class, derived from classes of kzifc, a server of the host."""
def testifc(__cls: type, __guid: str, __meta: Any = ...) -> bool:
    """True if servers of the class have the interface with that identity."""
def throw(__code: int, __quiet: int = ...) -> Any:
    """Raises the exception for a result code. A quiet one is not logged when it reaches the host."""
def notimpl() -> Any:
    """Raises NotImplementedError."""
def excResult() -> int:
    """The result code for the exception that is being handled."""
def outEx(__heading: str = ...) -> None:
    """Writes the exception that is being handled to the log."""
def lastResult() -> int:
    """The result code of the last method call of a wrapper."""
def extract(__source: Any) -> Any:
    """The Python object behind a host object that a Python class implements."""
def getQWidget(__pointer: int) -> Any:
    """The PySide widget at an address."""

class Service:
    """A service of the host as scripts query it."""
    def __init__(self, __name: str) -> None: ...
    def name(self) -> Optional[str]:
        """Return the name of the script service."""
    def select(self, __attribute: str = ..., __which: str = ...) -> None:
        """Selects what the next queries are about."""
    def query(self, __attribute: str = ...) -> Any:
        """Queries an attribute: None, one value, or a tuple of values."""
    def query1(self, __attribute: str = ...) -> Any: ...
    def queryN(self, __attribute: str = ...) -> Tuple[Any, ...]: ...

class Monitor:
    """A progress bar."""
    def __init__(self, __steps: int = ...) -> None: ...
    def init(self, __steps: int = ...) -> None:
        """Sets the number of steps."""
    def step(self, __count: int = ...) -> None:
        """Goes on by one step, or by several."""

class Storage:
    """An array of plain values in memory, which methods of the host read and write."""
    def __init__(self, __type: str = ..., __size: int = ...) -> None: ...
    def setType(self, __type: str) -> None:
        """Sets the type of the elements: float, double, int, byte, unsigned, pointer."""
    def setSize(self, __size: int) -> None:
        """Sets the number of elements. New ones are zero; BufferError when the memory is in use."""
    def set(self, __values: Sequence[float]) -> None:
        """Fills the storage from its offset on."""
    def get(self, __count: int = ...) -> Tuple[Any, ...]:
        """The elements from the offset on, or so many of them."""
    def string(self) -> str:
        """The contents as bytes."""
    def size(self) -> int:
        """The number of elements, wherever the offset is."""
    @overload
    def offset(self) -> int:
        """The place from which get, set, indices, slices and iteration count; with an argument, moves it."""
    @overload
    def offset(self, __offset: int) -> None: ...
    def __len__(self) -> int: ...
    def __getitem__(self, __index: Any) -> Any: ...
    def __setitem__(self, __index: Any, __value: Any) -> None: ...
    def __iadd__(self, __values: Sequence[float]) -> Storage: ...
    def __iter__(self) -> Iterator[Any]: ...
    def __reversed__(self) -> Iterator[Any]: ...
