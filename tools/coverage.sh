#!/usr/bin/env bash
# ./dev coverage [CTEST ARGUMENT...]: runs the tests of a build that counts what they execute. The totals of each folder
# are printed; build/coverage/index.html shows every line. Tests that crash on purpose do not count what they ran.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

command -v gcovr >/dev/null || die "gcovr is not installed, so coverage cannot be reported"
build_preset coverage
cd "$root"
find build/coverage -name '*.gcda' -delete
status=0
ctest --preset coverage --parallel "$(jobs_wanted)" "$@" || status=$?
gcovr --root . --object-directory build/coverage --exclude 'build/|tests/|bench/|fuzz/' --exclude-throw-branches \
    --gcov-ignore-parse-errors --html-details build/coverage/index.html --json-summary build/coverage/summary.json >/dev/null
python3 tools/coverage_by_folder.py build/coverage/summary.json
exit "$status"
