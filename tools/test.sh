#!/usr/bin/env bash
# ./dev test [PRESET] [CTEST ARGUMENT...]: builds a preset and runs its tests, ending with ctest's own summary.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=release
if [ $# -gt 0 ] && is_preset "$1"; then preset=$1; shift; fi
build_preset "$preset"
cd "$root"
exec ctest --preset "$preset" --parallel "$(jobs_wanted)" "$@"
