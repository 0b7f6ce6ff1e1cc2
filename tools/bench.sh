#!/usr/bin/env bash
# ./dev bench [ARG...]: runs every benchmark of the release build, one after the other; arguments go to each.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f "$root/bench/CMakeLists.txt" ] || die "there are no benchmarks in this tree"
build_quietly release
shopt -s nullglob
programs=("$root"/build/release/bench/bench_*)
[ ${#programs[@]} -gt 0 ] || die "the build made no benchmark"
for program in "${programs[@]}"; do
    if [ -f "$program" ] && [ -x "$program" ]; then "$program" "$@"; fi
done
