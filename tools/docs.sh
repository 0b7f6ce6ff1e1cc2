#!/usr/bin/env bash
# ./dev docs: writes the reference documentation that the SDK description yields into the build tree.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

grep -qs 'kz_docs' "$root"/*/CMakeLists.txt || die "there is no documentation to generate in this tree"
build_preset release kz_docs
printf 'written to build/release/docs\n'
