#!/usr/bin/env bash
# ./dev run FILE [ARG...]: runs a Python script in the reference host; standard output is the script's alone.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/kzhost.sh"

[ $# -gt 0 ] || die "usage: ./dev run FILE [ARG...]"
start_kzhost run "$@"
