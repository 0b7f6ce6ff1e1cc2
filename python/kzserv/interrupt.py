"""Ctrl-C in a host that runs in a terminal.

The module restores every signal's disposition to the host's. A host that wants Ctrl-C to stop a running script with
KeyboardInterrupt sets its property "script.interrupt" to "signal", and then Python's own handler is installed.
"""

import signal

import kz


def wanted():
    try:
        return kz.service.Application().Property("script.interrupt") == "signal"
    except (LookupError, RuntimeError, NotImplementedError):
        return False  # a host without such properties


def install():
    if not wanted():
        return
    try:
        signal.signal(signal.SIGINT, signal.default_int_handler)
    except ValueError:
        pass  # Python was started on another thread than the process's main one, where it cannot handle signals
