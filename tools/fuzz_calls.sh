#!/usr/bin/env bash
# ./dev fuzz calls [SECONDS] [PRESET] [SEED]: random calls of everything that a script can reach, in the reference host,
# from two threads and from jobs of the host. It ends well when the process does and no sanitizer has anything to say.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-30}
preset=${2:-${KZ_PRESET:-asan}}
seed=${3:-$RANDOM$RANDOM}
is_preset "$preset" || die "no such preset: $preset; there are $presets"

found=$root/build/fuzz-found
mkdir -p "$found"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A script may ask for any amount of memory, and must be told that there is not that much.
limit_memory() { if [ "$preset" = release ] || [ "$preset" = debug ]; then ulimit -v 6000000; fi; }
export ASAN_OPTIONS=detect_leaks=1:intercept_tls_get_addr=0:allocator_may_return_null=1:max_allocation_size_mb=1000
export LSAN_OPTIONS=suppressions=$work/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=suppressions=$root/tools/sanitizers/tsan.supp:print_suppressions=0:allocator_may_return_null=1
cat "$root"/tools/sanitizers/lsan*.supp >"$work/lsan.supp"

build_quietly "$preset" kzhost
printf 'calls: %s seconds with the preset %s, seed %s\n' "$seconds" "$preset" "$seed" >&2
cd "$work"
status=0
# What scripts and the log say without end is looked at only when something went wrong, and then only its last part.
(limit_memory
 exec timeout --signal=ABRT "$((seconds * 2 + 300))" "$root/build/$preset/bin/kzhost" --quiet \
     run "$root/fuzz/calls.py" "$seconds" "$seed" "$work/report" </dev/null >/dev/null \
     2> >(tail -c 200000 >"$work/errors")) ||
    status=$?
wait
if [ "$status" = 0 ] && ! grep -qaE '(ERROR|WARNING): [A-Za-z]*Sanitizer|runtime error: ' "$work/errors"; then
    head -n 1 "$work/report" | sed 's/ *$//' >&2
    exit 0
fi
cp "$work/errors" "$found/calls-$seed.errors"
cp "$work/report" "$found/calls-$seed.report"
printf 'calls: status %s; what each thread did last:\n' "$status" >&2
grep -av '^ *$' "$work/report" | sed 's/ *$//' >&2
die "what was said last is in build/fuzz-found/calls-$seed.errors"
