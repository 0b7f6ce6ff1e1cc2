"""Servers of the host that are written in Python. The module imports this package once, when Python starts.

The package then imports every *.py in a folder named "servers" below one of the folders of sys.path; see kzserv.files
and kzserv.loading.
"""

import sys

from kzserv import interrupt, loading

servers = sys.modules['kzserv.servers']

interrupt.install()
loading.import_all()
