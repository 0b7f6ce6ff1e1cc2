#!/usr/bin/env bash
# ./dev test [PRESET] [CTEST ARGUMENT...]: builds a preset and runs its tests, ending with ctest's own summary. With
# "-L LABEL" first, only the tests with that label are built.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=release
if [ $# -gt 0 ] && is_preset "$1"; then preset=$1; shift; fi
if [ "${1:-}" = -L ] && [ $# -gt 1 ]; then build_preset "$preset" "kz_tests_$2"; else build_preset "$preset"; fi
cd "$root"
exec ctest --preset "$preset" --parallel "$(jobs_wanted)" "$@"
