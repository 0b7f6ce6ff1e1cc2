"""The host's servers that are written in Python. The module imports this package once, when Python starts.

Every *.py in a folder named "servers" below one of the host's script folders (the folders of sys.path) is imported
then; see kzserv.files and kzserv.loading.
"""

import sys

from kzserv import interrupt, loading

servers = sys.modules['kzserv.servers']

interrupt.install()
loading.import_all()
