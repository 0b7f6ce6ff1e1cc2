# PySide2 and Shiboken2 for Python 2.7: wheels from the package index that this machine's pip is set up for.

readonly KZ_PYSIDE2_VERSION='5.14.*'

# A python3 with pip; the distribution's own is tried after whatever comes first on the path.
python_with_pip() {
    local candidate
    for candidate in python3 /usr/bin/python3; do
        "$candidate" -m pip --version >/dev/null 2>&1 && { echo "$candidate"; return; }
    done
    return 1
}

pyside2_present() { [ -e "$1/PySide2/QtWidgets.so" ] && compgen -G "$1/shiboken2/shiboken2*.so" >/dev/null; }

download_wheels() {
    "$1" -m pip download --quiet --disable-pip-version-check --no-deps --dest "$2" --only-binary=:all: \
        --implementation cp --python-version 27 --abi cp27mu --platform manylinux1_x86_64 \
        "PySide2==$KZ_PYSIDE2_VERSION" "shiboken2==$KZ_PYSIDE2_VERSION"
}

# The wheels are large: a further working tree of the same repository links to what the first one has.
share_pyside2() {
    local first
    first=$(cd "$(dirname "$1")/.." && cd "$(git rev-parse --git-common-dir 2>/dev/null)/.." 2>/dev/null && pwd) || return 1
    pyside2_present "$first/build/pyside2" || return 1
    rm -rf "$1"
    ln -s "$first/build/pyside2" "$1"
}

# Unpacks the wheels into TARGET; it appears there whole or not at all.
fetch_pyside2() {
    local target=$1 python wheels wheel
    python=$(python_with_pip) || { install_packages python3-pip && python=$(python_with_pip); } || return 1
    wheels=$(mktemp -d)
    say "fetching PySide2 and Shiboken2 $KZ_PYSIDE2_VERSION"
    if ! download_wheels "$python" "$wheels"; then rm -rf "$wheels"; return 1; fi
    rm -rf "$target" "$target.new"
    mkdir -p "$target.new"
    for wheel in "$wheels"/*.whl; do "$python" -m zipfile -e "$wheel" "$target.new" || return 1; done
    rm -rf "$wheels"
    mv "$target.new" "$target"
}
