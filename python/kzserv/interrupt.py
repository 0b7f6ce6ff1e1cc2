"""Ctrl-C in a host that runs in a terminal.

The module leaves every signal as the host had it. A host that wants a running script to stop with KeyboardInterrupt says
so by its property "script.interrupt", and then Python's own handler takes the signal.
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
        pass  # Python was first entered off the main thread, where it cannot take signals
