"""Lets a debugger attach, as `kzhost --debug PORT` asks for it before anything runs."""

import functools
import os
import subprocess
import sys

MISSING = ("debugpy, which debuggers attach to, is not there (%s): \"./dev setup debugger\" fetches it, "
           "and --import-path can name a folder that has it")


def folder():
    data = os.environ.get("XDG_DATA_HOME") or os.path.expanduser("~/.local/share")
    return os.path.join(data, "kzhost", "debugger")


def listen(port):
    """The port that waits for a debugger, and what is wrong or an empty text."""
    sys.path.append(folder())
    try:
        import debugpy
    except ImportError as error:
        return 0, MISSING % error
    # The process that speaks with the debugger outlives this one. Whoever reads what the script prints through a pipe
    # would wait for that process if it kept the pipe open.
    start = subprocess.Popen
    try:
        with open(os.devnull, "r+") as nowhere:
            subprocess.Popen = functools.partial(start, stdin=nowhere, stdout=nowhere, stderr=nowhere)
            return debugpy.listen(("127.0.0.1", port))[1], ""
    except (RuntimeError, EnvironmentError) as error:
        return 0, "no debugger can attach at port %d: %s" % (port, error)
    finally:
        subprocess.Popen = start


def wait():
    import debugpy
    debugpy.wait_for_client()
