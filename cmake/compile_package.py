# Compiles Python files, each into one beside it. A file that is no Python ends the build.
import py_compile
import sys

for path in sys.argv[1:]:
    py_compile.compile(path, doraise=True)
