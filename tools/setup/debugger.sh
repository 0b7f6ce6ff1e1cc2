# debugpy for Python 2.7, to which debuggers attach: the wheel of its last release for it, from the package index that this
# machine's pip is set up for, and of no other content than this.

readonly KZ_DEBUGPY='debugpy==1.5.1 --hash=sha256:194f95dd3e84568b5489aab5689a3a2c044e8fdc06f1890b8b4f70b6b89f2778'

# The user's folder for it, where kzhost --debug looks.
debugger_folder() { echo "${XDG_DATA_HOME:-$HOME/.local/share}/kzhost/debugger"; }

# Sees to it that TARGET has debugpy; it appears there whole or not at all.
install_debugger() {
    local target=$1 python wheels
    [ ! -e "$target/debugpy/__init__.py" ] || return 0
    python=$(python_with_pip) || { install_packages python3-pip && python=$(python_with_pip); } || return 1
    wheels=$(mktemp -d)
    say "fetching debugpy for Python 2.7"
    echo "$KZ_DEBUGPY" >"$wheels/requirements.txt"
    if ! "$python" -m pip download --quiet --disable-pip-version-check --no-deps --require-hashes --dest "$wheels" \
        --only-binary=:all: --implementation py --abi none --platform any --python-version 27 \
        --requirement "$wheels/requirements.txt"; then rm -rf "$wheels"; return 1; fi
    rm -rf "$target" "$target.new"
    mkdir -p "${target%/*}"
    "$python" -m zipfile -e "$wheels"/*.whl "$target.new" || return 1
    rm -rf "$wheels"
    mv "$target.new" "$target"
}
