"""Ctrl-C in a host that runs in a terminal.

The module leaves every signal as the host had it. A host that wants a running script to stop with KeyboardInterrupt
says so by the environment variable KZHOST_INTERRUPT, and then Python's own handler takes the signal.
"""

import os
import signal


def install():
    if os.environ.get("KZHOST_INTERRUPT") != "signal":
        return
    try:
        signal.signal(signal.SIGINT, signal.default_int_handler)
    except ValueError:
        pass  # Python was first entered off the main thread, where it cannot take signals
