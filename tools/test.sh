#!/usr/bin/env bash
# ./dev test [PRESET] [CTEST ARGUMENT...]: builds a preset and runs its tests, ending with ctest's own summary. With
# "-L FOLDER", only the tests of tests/FOLDER are built.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=release
if [ $# -gt 0 ] && is_preset "$1"; then preset=$1; shift; fi
targets=() previous=
for argument; do
    [ "$previous" != -L ] || targets+=("kz_tests_$argument")
    previous=$argument
done
build_preset "$preset" "${targets[@]}"
cd "$root"
exec ctest --preset "$preset" --parallel "$(jobs_wanted)" "$@"
