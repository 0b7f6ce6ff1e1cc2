# pyflakes for Python 2.7: a wheel from the package index that this machine's pip is set up for.

readonly KZ_PYFLAKES_VERSION='2.4.*'

pyflakes_present() { [ -e "$1/pyflakes/api.py" ]; }

# Unpacks the wheel into TARGET; it appears there whole or not at all.
fetch_pyflakes() {
    local target=$1 python wheels
    python=$(python_with_pip) || { install_packages python3-pip && python=$(python_with_pip); } || return 1
    wheels=$(mktemp -d)
    if ! "$python" -m pip download --quiet --disable-pip-version-check --no-deps --dest "$wheels" \
        --only-binary=:all: --python-version 27 "pyflakes==$KZ_PYFLAKES_VERSION"; then rm -rf "$wheels"; return 1; fi
    rm -rf "$target" "$target.new"
    "$python" -m zipfile -e "$wheels"/*.whl "$target.new" || return 1
    rm -rf "$wheels"
    mv "$target.new" "$target"
}
