"""The rows of the table: what each shows, the figure to reach, and how it is found."""

import dataclasses
import typing

from bench import told

ROWS = []


@dataclasses.dataclass(frozen=True)
class Row:
    """A row; `minutes` is about how long it takes, to begin with the longest."""

    number: int
    name: str
    minutes: int
    what: str
    wanted: str
    function: typing.Callable
    control: typing.Optional[typing.Callable] = None


def row(number, name, minutes, what, wanted, plant=None):
    """Makes a row of a function that returns whether the figure is reached, and the figure. With a planted fault the
    same function must not reach it."""
    def planted(function):
        def control(work):
            reached, figure = function(work.planted(plant))
            return not reached, f"a planted fault gives {figure}" if not reached else "a planted fault was not found"
        return control

    def keep(function):
        ROWS.append(Row(number, name, minutes, what, wanted, function, plant and planted(function)))
        return function
    return keep


@row(8, "cycles", 1, "load, use and unload in one process, with RTLD_LOCAL, start and stop on different threads",
     "300 cycles, growth no more than a bare interpreter's")
def cycles(work):
    passed, figures = work.test("release", "prove/lifetime_test", "LifetimeTest.CostsNoMoreThanABareInterpreters")
    return passed, told(figures)


@row(9, "unload", 4, "unload while 32 threads call, add and drop references, with daemon and other Python threads",
     "1000 rounds, no crash, no wait over 10 s, late calls get a code",
     plant=("module/gate.cpp", "    if (theGateClosed) {", "    if (theGateClosed && what == nullptr) {"))
def unload(work):
    passed, figures = work.test("release", "prove/lifetime_test", "LifetimeTest.EndsUnderTheHandsOfManyThreads")
    return passed, told(figures)
