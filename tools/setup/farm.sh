# What the tests of examples/farm need: GNU parallel, and Dask's distributed in an environment of its own for Python 3.

readonly KZ_DASK_VERSION='>=2024.1,<2027'

# Installs both; the environment goes to TARGET.
install_farm() {
    local target=$1
    install_optional "checks of farms with GNU parallel are skipped" parallel
    has_modules "$target" distributed || fetch_environment "$target" "distributed$KZ_DASK_VERSION" ||
        say "not available: Dask's distributed for Python 3 - checks of farms with it are skipped"
}
