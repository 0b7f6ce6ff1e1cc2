#!/usr/bin/env bash
# ./dev build [PRESET] [TARGET...]: configures and builds one preset.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

preset=${1:-release}
is_preset "$preset" || die "no such preset: $preset (there are: $presets)"
[ $# -eq 0 ] || shift
build_preset "$preset" "$@"
