#!/bin/sh
# with_checkers.sh ENVIRONMENT SCRIPT ARG...: runs a script of this folder with mypy and Jedi for Python 2, which set-up
# puts into ENVIRONMENT. Where they could not be had the test is skipped.
python=$1/bin/python
script=$(dirname "$0")/$2
shift 2
"$python" -c 'import jedi, mypy, typed_ast' 2>/dev/null ||
    { echo "skipped: no mypy 0.971 and Jedi 0.17 in $python; set-up says why"; exit 77; }
exec "$python" "$script" "$@"
