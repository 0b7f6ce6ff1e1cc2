# Shared by the scripts behind ./dev: where things are, and building a preset.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly root
readonly presets='release debug asan tsan pydebug coverage'

die() { printf './dev: %s\n' "$*" >&2; exit 2; }

is_preset() { [[ " $presets " == *" $1 "* ]]; }

# How many compilers may run at once: all cores, unless KZ_JOBS says otherwise.
jobs_wanted() { echo "${KZ_JOBS:-$(nproc)}"; }

# Configures a preset when there is no build tree yet, or when OpenImageIO or Assimp has come since; ninja notices other
# changes by itself.
configure() {
    local ninja=$root/build/$1/build.ninja
    [ -f "$ninja" ] && { grep -q kzPictures "$ninja" || ! pkg-config --exists OpenImageIO; } &&
        { grep -q kzModels "$ninja" || ! pkg-config --exists assimp; } && return
    (cd "$root" && cmake --preset "$1")
}

# Builds TARGETs (default: everything) of a preset. One at a time: two builds in one folder write and remove each other's files.
build_preset() (
    preset=$1
    shift
    mkdir -p "$root/build/$preset"
    exec 9>"$root/build/$preset/lock"
    flock 9
    configure "$preset"
    cmake --build "$root/build/$preset" --parallel "$(jobs_wanted)" ${1:+--target "$@"} 9>&-
)

# Builds with the output kept in a log, for verbs whose standard output belongs to what they run.
build_quietly() {
    local log=$root/build/$1.log
    mkdir -p "$root/build"
    build_preset "$@" >"$log" 2>&1 && return
    tail -n 40 "$log" >&2
    printf './dev: the build failed; all of its output is in build/%s.log\n' "$1" >&2
    exit 2
}

# For scripts that keep golden files of what PROGRAM makes: with "--check" behind it they compare, otherwise the program is
# built and the files are written anew.
start_golden() {
    check=${2:-} differs=
    [ "$check" = --check ] || build_preset release "$1"
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
}

# Compares a file in $work with the golden FILE, or replaces that.
settle_golden() {
    if [ "$check" != --check ]; then cp "$work/$1" "$root/$2"
    else diff -u --label "$2" --label "as it is now" "$root/$2" "$work/$1" || differs=yes; fi
}

end_golden() {
    [ -z "$differs" ] || die "if each of these differences is meant, run './dev golden' and commit the files that it writes"
}
