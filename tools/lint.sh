#!/usr/bin/env bash
# ./dev lint [--fix] [--all]: holds the tree against its rules, and says what it checked. --fix rewrites what
# clang-format would change; --all analyses every source instead of those that differ from the main branch. A missing
# tool is a failure, not a pass.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

readonly pyflakes=$root/build/pyflakes
# All other Python code is Python 2.7.
readonly python3_files=('tools/*.py' cmake/{bill_of_materials,carry_libraries,system_libraries}.py 'examples/farm/r*.py' 'tests/models/*_*.py' 'tests/objects/pictures/*.py' 'tests/tables/*.py' 'tests/stubs/check_*.py' 'docs/site/[gr]*.py')

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
checked() { printf 'lint: %s\n' "$*"; }

has_tool() { command -v "$1" >/dev/null || { fail "$1 is not installed, so $2 was not checked"; return 1; }; }

check_format() {
    local sources source
    mapfile -t sources < <(git ls-files '*.h' '*.cpp')
    has_tool clang-format formatting || return 0
    if [ "$fix" = 1 ]; then clang-format -i "${sources[@]}"; fi
    for source in "${sources[@]}"; do
        clang-format "$source" | cmp --silent - "$source" || fail "$source is formatted otherwise (./dev lint --fix)"
    done
    checked "formatting of ${#sources[@]} sources"
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
analyse() {
    local sources database=$root/build/debug/compile_commands.json
    build_quietly debug kz_generated
    mapfile -t sources < <(printf '%s\n' "$@" | while read -r file; do
        if grep -qF "\"$root/$file\"" "$database"; then echo "$file"; fi
    done)
    [ ${#sources[@]} -gt 0 ] || return 0
    printf '%s\n' "${sources[@]}" | xargs -P "$(jobs_wanted)" -n 1 clang-tidy --quiet -p build/debug \
        2> >(grep -v ' warnings\? generated' >&2) ||
        fail "static analysis found something"
}

check_analysis() {
    local sources
    mapfile -t sources < <(sources_to_analyse)
    has_tool clang-tidy 'static analysis' || return 0
    [ ${#sources[@]} -eq 0 ] || analyse "${sources[@]}"
    checked "static analysis of ${#sources[@]} sources$([ "$all" = 1 ] || echo ' that differ from main; --all analyses every one')"
}

check_floors() { python3 tools/check_includes.py || fail "an include goes against tools/floors.txt"; }

check_description() {
    build_quietly release kzgen
    build/release/bin/kzgen check --unused-families sdk/idl || fail "the description of the SDK has errors"
    checked "the description of the SDK"
}

# The interpreter's own version reads the Python sources; the tools are for the system's. An unused local variable is
# no fault: tests keep objects alive with them.
check_python() {
    local sources tools found
    mapfile -t sources < <(git ls-files '*.py' "${python3_files[@]/#/:!}" ':!fuzz/seeds/*')
    mapfile -t tools < <(git ls-files "${python3_files[@]}")
    [ -d "$pyflakes/pyflakes" ] || { fail "pyflakes is not installed, so the Python code was not checked"; return 0; }
    found=$({ PYTHONPATH=$pyflakes "${KZ_PYTHON2:-python2.7}" -m pyflakes "${sources[@]}"
        PYTHONPATH=$pyflakes python3 -m pyflakes "${tools[@]}"; } 2>&1 | grep -v 'is assigned to but never used') || true
    [ -z "$found" ] || fail "pyflakes found something:"$'\n'"$found"
    checked "$((${#sources[@]} + ${#tools[@]})) Python files"
}

check_scripts() {
    local scripts
    mapfile -t scripts < <(git ls-files dev .ci/run '*.sh')
    has_tool shellcheck 'the shell code' || return 0
    shellcheck --shell=bash --external-sources --source-path=SCRIPTDIR "${scripts[@]}" || fail "shellcheck found something"
    checked "${#scripts[@]} shell scripts"
}

# Two classes of one name in different headers are taken for one when a program is linked, and each gets functions of the
# other. Compilers cannot tell.
check_names() {
    local twice
    twice=$(git ls-files '*.h' | xargs grep -hoP '^(template <.*> )?(class|struct) \K\w+(::\w+)*(?=[^;]*\{)' | sort | uniq -d)
    [ -z "$twice" ] || fail "defined in more than one header: ${twice//$'\n'/ }"
}

# The changes of every version are told.
check_version() {
    local version
    version=$(sed -n 's/^project(kzPython2 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    grep -qE "^## (Unreleased|$version)" CHANGELOG.md || fail "CHANGELOG.md knows no version $version"
    checked "version $version"
}

check_format
check_names
check_version
check_floors
check_description
check_scripts
check_python
check_analysis
exit "$failed"
