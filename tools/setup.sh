#!/usr/bin/env bash
# ./dev setup [--if-needed] [VERB [ARGUMENT]]: makes this machine able to do what a verb of ./dev does, or everything. Asks
# nothing, may be run again, is quiet when all is there. With --if-needed it leaves alone what an earlier run has set up.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$root/tools/setup/apt.sh"
. "$root/tools/setup/debugger.sh"
. "$root/tools/setup/farm.sh"
. "$root/tools/setup/models.sh"
. "$root/tools/setup/pictures.sh"
. "$root/tools/setup/previous_release.sh"
. "$root/tools/setup/python3.sh"
. "$root/tools/setup/pyflakes.sh"
. "$root/tools/setup/site.sh"
. "$root/tools/setup/wheels.sh"

readonly stamps=$root/build/setup
readonly pyflakes=$root/build/pyflakes

readonly groups='build test package gnu symbols lint fuzz coverage site'
readonly build_packages=(ca-certificates clang cmake ninja-build ccache pkg-config python3
    libfmt-dev libcli11-dev nlohmann-json3-dev libreadline-dev libgtest-dev)
readonly python_packages=(python2.7 libpython2.7-dev)

# The groups that a verb of ./dev with its arguments needs: what a script runs with comes without what checks the tree.
groups_for() {
    case $1 in
        run | console | build | bench) echo build ;;
        docs) echo build site ;;
        debugger) echo debugger ;;
        test) echo build test ;;
        lint) echo build lint ;;
        package) echo build package ;;
        fuzz) echo build symbols fuzz ;;
        coverage) echo build test gnu coverage ;;
        *) echo "$groups" ;;
    esac
    case ${2:-} in
        asan | tsan) echo gnu symbols ;;
        pydebug) echo symbols ;;
        --check) [ "$1" != docs ] || echo site_check ;;
    esac
}

# What a finished set-up depends on: these scripts and the interpreter that was asked for.
fingerprint() {
    { cat "$root/tools/setup.sh" "$root"/tools/setup/*.sh; echo "python2=${KZ_PYTHON2:-}"; } | sha256sum | cut -d' ' -f1
}

still_holds() {
    [ "$(cat "$stamps/$1" 2>/dev/null)" = "$fingerprint" ] || return 1
    [ "$1" = build ] || return 0
    command -v clang++ cmake ninja ccache >/dev/null && [ -f /usr/include/CLI/CLI.hpp ] || return 1
    [ -n "${KZ_PYTHON2:-}" ] || [ -f /usr/include/python2.7/Python.h ]
}

# A given interpreter is usable if it is a 2.7 whose shared library and headers are where it says.
check_given_python() {
    "$KZ_PYTHON2" "$root/cmake/python2_probe.py" >/dev/null || die "KZ_PYTHON2=$KZ_PYTHON2 cannot be embedded"
}

# Without a previous release there is no Python 2.7: everything else is worthless, so this one is fatal.
install_python2() {
    [ -z "$(missing_packages "${python_packages[@]}")" ] && return
    has_candidate libpython2.7-dev || { apt_update; has_candidate libpython2.7-dev; } || add_previous_release
    install_packages "${python_packages[@]}" || die "Python 2.7 could not be installed; set KZ_PYTHON2=/path/to/python2.7"
}

set_up_build() {
    install_packages "${build_packages[@]}" || die "the build tools could not be installed"
    if [ -n "${KZ_PYTHON2:-}" ]; then check_given_python; else install_python2; fi
}

set_up_test() {
    [ -n "${KZ_PYTHON2:-}" ] ||
        install_optional "checks that use Python's own test-suite are skipped" libpython2.7-testsuite
    install_optional "PySide2 cannot be imported" libgl1 libglib2.0-0 libfontconfig1 libfreetype6 libx11-6 libxext6
    install_optional "the test 'package' fails" patchelf
    install_pictures
    install_models
    install_model_checks "$root/build/models"
    install_farm "$root/build/dask"
    install_checkers "$root/build/checkers"
    install_debugger "$root/build/data/kzhost/debugger" ||
        say "not available: debugpy for Python 2.7 - the test 'KzHostTest.ObeysStopsAndDebuggers' fails"
    install_trace_processor "$root/build/trace-processor"
    install_wheels "$root/build/pyside2" PySide2/QtWidgets.so "checks of kz.getQWidget with real widgets are skipped" \
        'PySide2==5.14.*' 'shiboken2==5.14.*'
    install_wheels "$root/build/numpy" numpy/__init__.py "the example with numpy is not checked" 'numpy==1.16.*'
}

set_up_debugger() { install_debugger "$(debugger_folder)" || die "debugpy could not be fetched"; }

set_up_package() {
    install_packages patchelf dpkg-dev file mmdebstrap || die "what makes packages could not be installed"
    install_pictures
    install_models
}

# The compiler of the presets that check memory and threads, and that count what runs: all code is read by two compilers.
set_up_gnu() { install_packages g++ || die "g++ could not be installed"; }

set_up_symbols() {
    [ -n "${KZ_PYTHON2:-}" ] || install_optional "the preset 'pydebug' cannot be built, and the leak checker does not \
know the interpreter's functions" python2.7-dbg libpython2.7-dbg
}

set_up_lint() {
    install_optional "'./dev lint' cannot check formatting" clang-format
    install_optional "'./dev lint' cannot analyse sources" clang-tidy
    install_optional "'./dev lint' cannot check scripts" shellcheck
    pyflakes_present "$pyflakes" || fetch_pyflakes "$pyflakes" ||
        say "not available: pyflakes for Python 2.7 - './dev lint' cannot check the Python code"
}

set_up_fuzz() { install_optional "'./dev fuzz' is not guided by coverage" libclang-rt-dev; }
set_up_site() { install_site "$root/build/site" || die "MkDocs, which makes the documentation, could not be installed"; }

set_up_site_check() {
    install_site_check "$root/build/site-check" || die "what checks the documentation could not be installed"
}

set_up_coverage() { install_optional "coverage cannot be reported" gcovr; }

# With --if-needed, groups that an earlier run has set up are left alone.
main() {
    local group if_needed=0
    if [ "${1:-}" = --if-needed ]; then if_needed=1; shift; fi
    fingerprint=$(fingerprint)
    for group in $(groups_for "${1:-all}" "${2:-}"); do
        if [ "$if_needed" = 1 ] && still_holds "$group"; then continue; fi
        command -v apt-get >/dev/null ||
            die "this system has no apt; install by hand: ${build_packages[*]} ${python_packages[*]}"
        mkdir -p "$stamps"
        "set_up_$group"
        echo "$fingerprint" >"$stamps/$group"
    done
}

main "$@"
