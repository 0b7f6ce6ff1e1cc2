#!/usr/bin/env bash
# ./dev bench [ARG...]: runs every benchmark of the release build, one after the other; arguments go to each.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f "$root/bench/CMakeLists.txt" ] || die "there are no benchmarks in this tree"
build_quietly release
shopt -s nullglob
programs=("$root"/build/release/bench/bench_*)
[ ${#programs[@]} -gt 0 ] || die "the build made no benchmark"
failed=0
for program in "${programs[@]}"; do
    if [ -f "$program" ] && [ -x "$program" ]; then "$program" "$@" || failed=1; fi
done
[ $failed -eq 0 ] || die "a target was missed, or a benchmark failed"
