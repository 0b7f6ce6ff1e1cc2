#!/usr/bin/env bash
# ./dev prove [--scale SHARE] [--jobs COUNT] [ROW...]: shows by figures that the plug-in crashes no host, leaks nothing and
# loses nothing. A row is a number or a name; without one all are run. --scale 0.1 makes each a tenth as long, and its
# figures say so. The table goes to standard output, and to build/prove/table.json; what each row printed is beside it.
# Rows with a control also build the plug-in with a planted fault, in a copy of the tree, and fail if it is not found.
# The status is 0 if every row is reached, 1 if one is not, and 2 if none failed but some could not be run.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

exec python3 "$root/tools/prove/prove.py" "$@"
