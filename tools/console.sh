#!/usr/bin/env bash
# ./dev console: Python lines, one after the other, in the reference host.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/kzhost.sh"

start_kzhost console "$@"
