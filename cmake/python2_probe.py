# Run by an interpreter: prints its prefix, header folder, shared library and standard library, one per line.
# Fails when it is not a Python 2.7, or when one of them is not where the interpreter says.
from __future__ import print_function

import os
import sys
import sysconfig
from distutils.sysconfig import get_python_inc


def shared_library():
    var = sysconfig.get_config_var
    folders = [var("LIBDIR"), os.path.join(var("LIBDIR") or "", var("MULTIARCH") or ""),
               os.path.join(sys.prefix, "lib"), var("LIBPL")]
    names = [name for name in (var("LDLIBRARY"), var("INSTSONAME")) if name and ".so" in name]
    paths = [os.path.join(folder, name) for folder in folders if folder for name in names]
    return next((path for path in paths if os.path.exists(path)), None)


def main():
    if sys.version_info[:2] != (2, 7):
        sys.exit("not a Python 2.7: %s" % sys.executable)
    library = shared_library()
    if library is None:
        sys.exit("no shared library beside %s" % sys.executable)
    headers = get_python_inc()
    if not os.path.exists(os.path.join(headers, "Python.h")):
        sys.exit("no Python.h in %s" % headers)
    print(sys.prefix, headers, library, os.path.dirname(os.path.abspath(os.__file__)), sep="\n")


main()
