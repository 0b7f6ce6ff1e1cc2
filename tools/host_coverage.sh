#!/usr/bin/env bash
# What works in the reference host, and what it calls of Python servers: the latter is recorded with spies (tools/spies).
#   tools/host_coverage.sh                  writes the tables anew; ./dev golden does so
#   tools/host_coverage.sh --check KZHOST   compares, and fails where they differ
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

start_golden kzhost "${1:-}"
kzhost=${2:-$root/build/release/bin/kzhost}
export KZ_SPIES=$work/noted KZ_PREFERENCES='' XDG_CONFIG_HOME=$work/config

# Spies that answer little make many calls fail, and the log says so; whether the host works is for other tests.
spied() {
    timeout 100 "$kzhost" --import-path "$root/tools/spies" "$@" >>"$work/said" 2>&1 || [ $? -le 2 ] ||
        { cat "$work/said" >&2 && die "kzhost $* failed"; }
}
printf '# spied\n' | tee "$work/script.spied" >"$work/a.spied"
spied run "$root/tools/spies/drive.py" "$work"
spied tree spied
spied convert "$work/a.spied" "$work/b.spied"
spied cmd '??spied.command' <<<$'a\n\n1\n1\none\n'
spied commands

{
    printf '// What the host calls of Python servers: a row for each kind. ./dev golden records it anew.\n'
    LC_ALL=C sort -u "$KZ_SPIES" | awk '
        $1 != kind { if (kind) print "\"},"; printf "{\"%s\", \"%s", $1, $2; kind = $1; next }
        { printf " %s", $2 }
        END { print "\"}," }'
} >"$work/driven"
settle_golden driven host/state/driven_servers.def
[ "$check" = --check ] || build_preset release kzhost
"$kzhost" coverage --json >"$work/coverage"
settle_golden coverage docs/coverage.json
end_golden
