#!/usr/bin/env bash
# ./dev docs: writes the reference documentation that the SDK description yields into the build tree,
# and the description as data.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

grep -qs 'kz_docs' "$root"/*/CMakeLists.txt || die "there is no documentation to generate in this tree"
build_preset release kz_docs kz_generated_model
printf 'written to build/release/docs, and as data to build/release/model/model.json\n'
