#!/usr/bin/env bash
# ./dev lint [--fix] [--all]: formatting of every tracked source, names of classes, static analysis of the changed ones,
# script checks.
# --fix rewrites what clang-format would change; --all analyses every source. A missing tool is a failure, not a pass.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

fix=0 all=0 failed=0
for argument in "$@"; do
    case $argument in
        --fix) fix=1 ;;
        --all) all=1 ;;
        *) die "usage: ./dev lint [--fix] [--all]" ;;
    esac
done
cd "$root"

fail() { printf 'lint: %s\n' "$*" >&2; failed=1; }

has_tool() { command -v "$1" >/dev/null || { fail "$1 is not installed, so $2 was not checked"; return 1; }; }

check_format() {
    local sources source
    mapfile -t sources < <(git ls-files '*.h' '*.cpp')
    [ ${#sources[@]} -gt 0 ] && has_tool clang-format formatting || return 0
    if [ "$fix" = 1 ]; then clang-format -i "${sources[@]}"; return; fi
    for source in "${sources[@]}"; do
        clang-format "$source" | cmp --silent - "$source" || fail "$source is formatted otherwise (./dev lint --fix)"
    done
}

# Sources that differ from the main branch, committed or not; all tracked ones with --all.
sources_to_analyse() {
    if [ "$all" = 1 ]; then git ls-files '*.cpp'
    else
        local base
        base=$(git merge-base main HEAD 2>/dev/null || git rev-parse HEAD)
        { git diff --name-only --diff-filter=d "$base" -- '*.cpp'; git ls-files --others --exclude-standard '*.cpp'; } | sort -u
    fi
}

# Only what the debug build compiles can be analysed, and only once the generated headers are there.
check_analysis() {
    local sources database=$root/build/debug/compile_commands.json
    mapfile -t sources < <(sources_to_analyse)
    [ ${#sources[@]} -gt 0 ] && has_tool clang-tidy 'static analysis' || return 0
    build_quietly debug kz_generated
    mapfile -t sources < <(printf '%s\n' "${sources[@]}" | while read -r file; do
        if grep -qF "\"$root/$file\"" "$database"; then echo "$file"; fi
    done)
    [ ${#sources[@]} -gt 0 ] || return 0
    printf '%s\n' "${sources[@]}" | xargs -P "$(jobs_wanted)" -n 1 clang-tidy --quiet -p build/debug \
        2> >(grep -v ' warnings\? generated' >&2) ||
        fail "static analysis found something"
}

# Two classes of one name in different headers are taken for one when a program is linked, and each gets functions of the
# other. Compilers cannot tell.
check_names() {
    local twice
    twice=$(git ls-files '*.h' | xargs grep -hoP '^(template <.*> )?(class|struct) \K\w+(?=[^;]*\{)' | sort | uniq -d)
    [ -z "$twice" ] || fail "defined in more than one header: ${twice//$'\n'/ }"
}

check_scripts() {
    local scripts
    mapfile -t scripts < <(git ls-files dev .ci/run '*.sh')
    [ ${#scripts[@]} -gt 0 ] && has_tool shellcheck 'the shell code' || return 0
    shellcheck --shell=bash --external-sources --source-path=SCRIPTDIR "${scripts[@]}" || fail "shellcheck found something"
}

check_format
check_names
check_scripts
check_analysis
exit "$failed"
