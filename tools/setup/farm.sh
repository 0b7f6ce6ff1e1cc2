# What the tests of examples/farm need: GNU parallel, and Dask's distributed in an environment of its own for Python 3,
# from the package index that this machine's pip is set up for.

readonly KZ_DASK_VERSION='>=2024.1,<2027'

dask_present() { [ -x "$1/bin/python" ] && "$1/bin/python" -c 'import distributed' 2>/dev/null; }

# Makes the environment in TARGET; it appears there whole or not at all.
fetch_dask() {
    local target=$1
    python3 -c 'import ensurepip' 2>/dev/null || install_packages python3-venv || return 1
    say "fetching Dask's distributed"
    rm -rf "$target" "$target.new"
    python3 -m venv "$target.new" &&
        "$target.new/bin/python" -m pip install --quiet --disable-pip-version-check "distributed$KZ_DASK_VERSION" || return 1
    mv "$target.new" "$target"
}

# Installs both; the environment goes to TARGET.
install_farm() {
    local target=$1
    install_optional "checks of farms with GNU parallel are skipped" parallel
    dask_present "$target" || fetch_dask "$target" ||
        say "not available: Dask's distributed for Python 3 - checks of farms with it are skipped"
}
