"""The host's servers that are written in Python. The module imports this package once, when Python starts."""

from kzserv import interrupt

interrupt.install()
