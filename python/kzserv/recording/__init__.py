"""Recordings: what a host answers to a script, and playing them in place of the host.

A recording is text. Its first two lines say what it is; after that each call stands on a line of its own, and how it ended
on another, below what happened in between:

    kz.service.Mesh.__new__()
    = service.Mesh(1)
    service.Mesh(1).Create()
    = Mesh(2)
    Mesh(2).PointByIndex(7)
    ! IndexError('out of bounds')
    kz.eval('text.repeat a')
      > instance(3, 'repeat.Repeat').cmd_Execute(0)
        kz.lastResult()
        = 0
      < None
    = None

    CALL            a call to the host
    = VALUE         its result
    ! EXCEPTION     or what it raised, with the exception's attributes if it has some
    > CALL          a call of the host to Python, while the call above it lasts; new(...) makes an object, release(...) gives
                    a reference back, script(...) runs another script
    < VALUE         what that returned; a method that raised is followed by "!" as well
    ~ INDEX VALUE   what the call has written to the storage that is its argument of that index
    & INDEX CONTENTS
                    the file that the argument of that index names, if the call has changed it
    | LEVEL ORIGIN SUBSYSTEM TEXT
                    a line that was written to the log meanwhile
    + instance(N)   the host has got a reference to a Python object
    @ N             before "> CALL" or "< VALUE": on a thread of the host, beside the script

Values are Python's own. Objects of the host are their type and a number, in the order in which they first appear. Storages
are their type, length and contents; as arguments, a checksum of the contents.
"""


def start(mode, path, script, argument, words, living):
    """The recorder or player for a script that is about to run; `living` are the Python objects that the host holds."""
    if mode == 'record':
        from kzserv.recording.recorder import Recorder
        return Recorder(path, script, argument, words)
    from kzserv.recording.player import Player
    return Player(path, script, living)
