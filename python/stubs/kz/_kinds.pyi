# The types that the generated stubs give to values. There is no such module at run time.
import typing
from typing import Dict, List, Optional, Sequence, Tuple, Union

Text = Optional[Union[str, typing.Text]]  # None is a null text
Vector2 = Tuple[float, float]
Vector3 = Tuple[float, float, float]
Vector4 = Tuple[float, float, float, float]
Matrix = Sequence[Sequence[float]]
Matrix3 = Tuple[Vector3, Vector3, Vector3]
Matrix4 = Tuple[Vector4, Vector4, Vector4, Vector4]
Bounds = Tuple[Vector3, Vector3]
HintPairs = List[Tuple[int, str]]
Hints = Union[Dict[int, str], Sequence[Tuple[int, str]]]

class Wrapper:
    """A host object, held by the interface that its type is named after."""
    def __init__(self, __source: object = ...) -> None:
        """Holds the source by this type's interface. Without a source it is empty."""
    def set(self, __source: object) -> bool:
        """Holds another object. True if it has the interface."""
    def test(self) -> bool:
        """True if an object is held."""
    def __peekobj__(self) -> int: ...

class Service:
    """A service of the host."""
    def __init__(self) -> None: ...
