"""Servers of the host that are written in Python. The module imports this package once, when Python starts.

The package then imports every *.py in a folder named "servers" below one of the folders of sys.path; see kzserv.files
and kzserv.loading. It also lets help() tell what the SDK's description says; see kzserv.description.
"""

import sys
import __builtin__

from kzserv import interrupt, loading

servers = sys.modules['kzserv.servers']


def _with_description(helper):
    class Helper(helper):
        def __call__(self, *args, **keywords):
            from kzserv import description
            description.extend_help()
            return helper.__call__(self, *args, **keywords)
    return Helper()


if hasattr(__builtin__, 'help'):  # there is none without the module site
    __builtin__.help = _with_description(type(__builtin__.help))
interrupt.install()
loading.import_all()
