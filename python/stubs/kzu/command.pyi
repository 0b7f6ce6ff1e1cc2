# A base class for commands in Python.
from typing import Any, Dict, Optional, Sequence
import kzifc

class Argument:
    """One argument of a command: its name, its value type, and its properties."""
    name: str
    kind: str
    default: Any
    optional: bool
    toggle: bool
    query: bool
    label: Optional[str]
    desc: Optional[str]
    def __init__(self, name: str, kind: str, default: Any = ..., optional: bool = ..., toggle: bool = ...,
                 query: bool = ..., label: Optional[str] = ..., desc: Optional[str] = ...,
                 choices: Optional[Sequence[str]] = ...) -> None: ...

class Command(kzifc.Command, kzifc.Attributes):
    """The base class of commands. Override execute, and as needed query, enabled, argument_enabled, prepare and
    argument_changed.
    """
    arguments: Sequence[Argument]
    label: Optional[str]
    description: Optional[str]
    flags: int
    execute: Any  # takes what `arguments` names
    def query(self, name: str) -> Any:
        """Returns the current value of the argument, or a list of values."""
    def enabled(self) -> Optional[str]:
        """Returns None, or a text that says why the command cannot be used at the moment."""
    def argument_enabled(self, name: str) -> Optional[str]:
        """Returns None, or a text that says why the argument cannot be used."""
    def prepare(self) -> Dict[str, Any]:
        """Returns a dictionary of initial values for a dialog, in addition to the defaults."""
    def argument_changed(self, name: str) -> Optional[Dict[str, Any]]:
        """Called when the user has entered the argument. Returns None, or a dictionary of new values of others."""
    def value(self, name: str) -> Any:
        """The argument's value: the one that was passed, or else its default, or None."""
