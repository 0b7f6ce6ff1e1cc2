# Compiles Python files, each into one beside it: BASE FILE... A file that is no Python ends the build. The compiled files
# name their sources relative to BASE, so that no path of the machine that builds them is in what is installed.
import os
import py_compile
import sys

base = sys.argv[1]
for path in sys.argv[2:]:
    py_compile.compile(path, dfile=os.path.relpath(path, base), doraise=True)
