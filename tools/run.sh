#!/usr/bin/env bash
# ./dev run [OPTION...] FILE [ARG...]: runs a Python script in the reference host; standard output is the script's alone.
# The options are kzhost's; what follows the file belongs to the script.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/kzhost.sh"

[ $# -gt 0 ] || die "usage: ./dev run [OPTION...] FILE [ARG...]"
start_kzhost run "$@"
