#!/usr/bin/env bash
# Compares what the generator makes of a tiny description, what it says about a faulty one, and the census of the SDK
# description with files that show every change in review.
#   ./dev golden                    writes those files anew
#   tools/golden.sh --check KZGEN   compares, and fails where they differ
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

start_golden kzgen "${1:-}"
kzgen=${2:-$root/build/release/bin/kzgen}
for part in sdk wrap serve kzifc; do
    "$kzgen" emit "$root/tests/gen/tiny" "$work/$part" --part $part
done
"$kzgen" stats "$root/sdk/idl" >"$work/census"
(cd "$root/tests/gen" && "$kzgen" check --unused-families faulty) 2>"$work/errors" &&
    die "kzgen finds no fault in tests/gen/faulty"

settle_golden sdk/kz/tiny.h tests/gen/tiny/tiny.h.expected
settle_golden wrap/tiny.cpp tests/gen/tiny/wrapper.cpp.expected
settle_golden serve/tiny.cpp tests/gen/tiny/adapter.cpp.expected
settle_golden kzifc/_tiny.py tests/gen/tiny/kzifc.py.expected
settle_golden errors tests/gen/faulty/errors.expected
settle_golden census tests/sdk/census.expected
end_golden
[ "$check" = --check ] || "$root/tools/host_coverage.sh"
