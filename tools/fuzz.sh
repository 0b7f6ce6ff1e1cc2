#!/usr/bin/env bash
# ./dev fuzz [TARGET] [SECONDS]: runs one fuzzer, or all, under the address sanitizer, each for so many seconds. What it
# learns stays in build/fuzz-corpus; an input that it fails on is left in build/fuzz-found, and can be given back to it.
# The target "calls" is a script instead of a program and has a file of its own.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

[ -f "$root/fuzz/CMakeLists.txt" ] || die "there are no fuzzers in this tree"
target=${1:-*}
seconds=${2:-30}
if [ "$target" = calls ]; then exec "$root/tools/fuzz_calls.sh" "${@:2}"; fi

# Guided by coverage where Clang and its fuzzer are there, otherwise driven by the plain loop.
has_libfuzzer() {
    command -v clang++ >/dev/null &&
        echo 'extern "C" int LLVMFuzzerTestOneInput(const char*, unsigned long) { return 0; }' |
        clang++ -x c++ -fsanitize=fuzzer -o /dev/null - 2>/dev/null
}

seeds_of() { if [ "$1" = idl ]; then echo "$root/sdk/idl"; else echo "$root/fuzz/seeds/$1"; fi; }

# The interpreter says by itself when brackets are nested too deep for it.
run_fuzzer() {
    local name=${1##*/fuzz_}
    local corpus=$root/build/fuzz-corpus/$name
    mkdir -p "$corpus" "$root/build/fuzz-found"
    (cd "$root/build/fuzz-found" && "$1" "-max_total_time=$seconds" -max_len=4096 -print_final_stats=1 -print_funcs=0 \
        -verbosity=0 "$corpus" "$(seeds_of "$name")" 2> >(grep -v '^s_push: parser stack overflow' >&2))
}

if has_libfuzzer; then preset=fuzz; else preset=asan; fi
build_quietly "$preset" kz_fuzzers
export LSAN_OPTIONS=suppressions=$root/tools/sanitizers/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1
shopt -s nullglob
# shellcheck disable=SC2206 # the target may be a pattern
programs=("$root"/build/"$preset"/fuzz/fuzz_$target)
failed=0 found=0
for program in "${programs[@]}"; do
    if [ ! -f "$program" ] || [ ! -x "$program" ]; then continue; fi
    found=1
    printf '%s, with the preset %s\n' "${program##*/}" "$preset" >&2
    run_fuzzer "$program" || failed=1
done
if [ "$target" = '*' ]; then "$root/tools/fuzz_calls.sh" "$seconds" || failed=1; fi
[ "$found" = 1 ] || die "no such fuzzer: $target"
exit "$failed"
