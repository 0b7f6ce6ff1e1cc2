#!/usr/bin/env bash
# ./dev fuzz [TARGET] [SECONDS]: runs one fuzzer, or all, under the address sanitizer, each for so many seconds.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f "$root/fuzz/CMakeLists.txt" ] || die "there are no fuzzers in this tree"
target=${1:-*}
seconds=${2:-30}
build_quietly asan
shopt -s nullglob
# shellcheck disable=SC2206 # the target may be a pattern
programs=("$root"/build/asan/fuzz/fuzz_$target)
[ ${#programs[@]} -gt 0 ] || die "no such fuzzer: $target"
for program in "${programs[@]}"; do
    if [ -f "$program" ] && [ -x "$program" ]; then "$program" "-max_total_time=$seconds"; fi
done
