# Packages for Python 2.7 that the tests use, PySide2 and numpy: wheels from the package index that this machine's pip is
# set up for, unpacked into folders of the build tree.

# A python3 with pip; the distribution's own is tried after whatever comes first on the path.
python_with_pip() {
    local candidate
    for candidate in python3 /usr/bin/python3; do
        "$candidate" -m pip --version >/dev/null 2>&1 && { echo "$candidate"; return; }
    done
    return 1
}

# The wheels are large: a further working tree of the same repository links to what the first one has.
share_wheels() {
    local target=$1 part=$2 first
    first=$(cd "$(dirname "$target")/.." && cd "$(git rev-parse --git-common-dir 2>/dev/null)/.." 2>/dev/null && pwd) || return 1
    [ -e "$first/build/${target##*/}/$part" ] || return 1
    rm -rf "$target"
    ln -s "$first/build/${target##*/}" "$target"
}

# Unpacks the wheels into TARGET; it appears there whole or not at all.
fetch_wheels() {
    local target=$1 python wheels wheel
    shift
    python=$(python_with_pip) || { install_packages python3-pip && python=$(python_with_pip); } || return 1
    wheels=$(mktemp -d)
    say "fetching $* for Python 2.7"
    if ! "$python" -m pip download --quiet --disable-pip-version-check --no-deps --dest "$wheels" --only-binary=:all: \
        --implementation cp --python-version 27 --abi cp27mu --platform manylinux1_x86_64 "$@"; then
        rm -rf "$wheels"
        return 1
    fi
    rm -rf "$target" "$target.new"
    mkdir -p "$target.new"
    for wheel in "$wheels"/*.whl; do "$python" -m zipfile -e "$wheel" "$target.new" || return 1; done
    rm -rf "$wheels"
    mv "$target.new" "$target"
}

# Sees to it that TARGET has the wheels, of which PART is a file. COST says what is lost if they cannot be had.
install_wheels() {
    local target=$1 part=$2 cost=$3
    shift 3
    [ -e "$target/$part" ] || share_wheels "$target" "$part" || fetch_wheels "$target" "$@" ||
        say "not available: $* for Python 2.7 - $cost"
}
