#!/usr/bin/env bash
# Compares what the generator makes of a tiny description, what it says about a faulty one, and the census of the SDK
# description with files that show every change in review.
#   ./dev golden                    writes those files anew
#   tools/golden.sh --check KZGEN   compares, and fails where they differ
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

check=${1:-}
kzgen=${2:-$root/build/release/bin/kzgen}
[ "$check" = --check ] || build_preset release kzgen

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for part in sdk wrap serve kzifc; do
    "$kzgen" emit "$root/tests/gen/tiny" "$work/$part" --part $part
done
"$kzgen" stats "$root/sdk/idl" >"$work/census"
(cd "$root/tests/gen" && "$kzgen" check --unused-families faulty) 2>"$work/errors" &&
    die "kzgen finds no fault in tests/gen/faulty"

differs=
while read -r output expected; do
    if [ "$check" != --check ]; then
        cp "$work/$output" "$root/$expected"
    else
        diff -u --label "$expected" --label "as kzgen writes it now" "$root/$expected" "$work/$output" || differs=yes
    fi
done <<'FILES'
sdk/kz/tiny.h       tests/gen/tiny/tiny.h.expected
wrap/tiny.cpp       tests/gen/tiny/wrapper.cpp.expected
serve/tiny.cpp      tests/gen/tiny/adapter.cpp.expected
kzifc/_tiny.py      tests/gen/tiny/kzifc.py.expected
errors              tests/gen/faulty/errors.expected
census              tests/sdk/census.expected
FILES
[ -z "$differs" ] || die "if each of these differences is meant, run './dev golden' and commit the files that it writes"
[ "$check" = --check ] || "$root/tools/host_coverage.sh"
