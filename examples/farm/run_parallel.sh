#!/bin/sh
# Checks all assets (*.mesh) below a folder with GNU parallel, and reports.
#
#     run_parallel.sh FOLDER RESULTS [OPTION OF PARALLEL...]
#
# KZHOST names the program (kzhost), KZ_FARM_SECONDS the time limit of a job (60). Started again with the same RESULTS it
# checks what has no result yet.
set -eu
[ $# -ge 2 ] || { echo "usage: $0 FOLDER RESULTS [OPTION OF PARALLEL...]" >&2; exit 2; }

here=$(cd "$(dirname "$0")" && pwd)
folder=$(cd "$1" && pwd)
mkdir -p "$2"
results=$(cd "$2" && pwd)
shift 2
find "$folder" -name '*.mesh' -print0 | sort -z >"$results/files"

# The job fails only where there is no verdict, so that is what is tried again.
export KZHOST="${KZHOST:-kzhost}" CHECK="$here/check_asset.py" RESULTS="$results"
# shellcheck disable=SC2016 # the shell of each job puts in the variables
parallel --null --arg-file "$results/files" --joblog "$results/joblog" --retries 3 --timeout "${KZ_FARM_SECONDS:-60}" \
    "$@" '"$KZHOST" --quiet run "$CHECK" {} "$RESULTS" || [ $? -eq 10 ]' || true
exec python3 "$here/report.py" "$results"
