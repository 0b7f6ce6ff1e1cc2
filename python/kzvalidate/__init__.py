"""Puts servers through what hosts do: `kzhost validate FILE|NAME...`.

`__main__` is the parent. It never touches a host: for each server and each level it starts a child (`child.py`), which
is a host of its own, gives it a time limit, and gathers the findings that it has written line by line, so that a crash
loses nothing. In a child, `recorder.py` stands between the host and the author's methods, and sees what comes in, what
goes back and how long that takes; `levels.py` makes the calls, with the arguments that `arguments.py` has.
"""
