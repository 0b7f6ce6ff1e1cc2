#!/usr/bin/env bash
# ./dev docs [--check]: builds the reference and the guides as one site, which opens from disk; --check then tries it in a
# browser: links, search, accessibility, and the keyboard alone.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

check=0
case ${1:-} in
    '') ;;
    --check) check=1 ;;
    *) die "usage: ./dev docs [--check]" ;;
esac

readonly site=$root/build/release/docs work=$root/build/release/site tools=$root/build/site
[ -x "$tools/bin/python" ] || die "MkDocs is not installed; ./dev setup docs says why"
build_preset release kzhost kz_run_time kz_generated_model
mkdir -p "$work"
"$root/build/release/bin/kzhost" --quiet run "$root/docs/site/list_commands.py" >"$work/commands.json"
"$tools/bin/python" "$root/docs/site/generate.py" "$root" "$root/build/release/model/model.json" "$work/commands.json" \
    "$work/pages"
NO_MKDOCS_2_WARNING=1 "$tools/bin/python" -m mkdocs build --quiet --config-file "$work/mkdocs.yml" --site-dir "$site"
printf 'written to build/release/docs/index.html\n'
[ "$check" = 1 ] || exit 0

[ -d "$root/build/site-check/node_modules/axe-core" ] || die "axe-core is not installed; ./dev setup docs --check says why"
node "$root/docs/site/check.mjs" "$site" "$root/build/site-check" "$(command -v chromium)"
