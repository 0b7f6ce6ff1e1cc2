# Shared by ./dev run and ./dev console: an up-to-date reference host, started with the given command.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

start_kzhost() {
    [ -f "$root/host/CMakeLists.txt" ] || die "there is no reference host in this tree"
    build_quietly release kzhost
    exec "$root/build/release/bin/kzhost" "$@"
}
