#!/usr/bin/env bash
# ./dev package: makes the Debian packages in build/release/packages.
# ./dev package PREFIX: installs into a folder, which may be moved afterwards.
# ./dev package --check: makes the packages and tries them in a clean Debian of this release: installs them, runs a script,
# paints a picture, reads a model, and builds the host and the plug-in of sdk/example there.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

readonly build=$root/build/release
readonly packages=$build/packages

# The sources that this machine's apt reads, as far as they are of the release itself.
sources() {
    local codename=$1
    apt-get indextargets --format "deb \$(REPO_URI) \$(RELEASE) \$(COMPONENT)" "Identifier: Packages" |
        awk -v release="$codename" '$3 ~ "^" release "(-|$)" && $4 == "main"' | sort -u
}

# What is done in the clean system.
trial() {
    cat <<'TRIAL'
set -e
cd /packages
export DEBIAN_FRONTEND=noninteractive
install() { apt-get -qq install -y --no-install-recommends "$@" >log 2>&1 || { cat log; exit 1; }; }
install ./kzpython2_*.deb
env -i kzhost run /usr/share/doc/kzpython2/examples/hello.py
env -i kzhost -c 'import ctypes, curses, readline, sqlite3, ssl; print ssl.OPENSSL_VERSION'
stubs=/usr/lib/kzPython2/kit/Python2_7/extra64/Python/stubs
for name in kz kz-stubs; do grep -q 'def Create' $stubs/$name/service.pyi; done
install ./kzpython2-pictures_*.deb ./kzpython2-models_*.deb
env -i kzhost run /usr/share/doc/kzpython2/examples/image.py painted.png
printf 'o Triangle\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n' >triangle.obj
env -i kzhost scene info triangle.obj
install ./kzpython2-dev_*.deb ./kzpython2-dbg_*.deb g++ cmake make
cmake -S /usr/share/kzPython2/sdk/example -B /built >log
cmake --build /built >log
home=/usr/lib/kzPython2
env -i /built/host $home/kit/Python2_7 /usr/share/kzPython2/sdk/example/script.py $home/plugins/kzPython2.so \
    /built/greeter.so
apt-get -qq purge -y 'kzpython2*' >log
! find /usr /etc /var/lib/dpkg/info -iname '*kzpython2*' | grep .
TRIAL
}

check() {
    local codename here
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    here=$(sources "$codename")
    [ -n "$here" ] || die "apt has no package lists; run apt-get update"
    trial >"$packages/trial"
    # shellcheck disable=SC2016 # "$1" is the folder of the clean system, which mmdebstrap gives to its hooks
    mmdebstrap --quiet --variant=apt --aptopt='Acquire::Languages "none"' \
        --customize-hook='mkdir "$1/packages"' \
        --customize-hook="copy-in $packages/trial $(printf '%s ' "$packages"/*.deb) /packages" \
        --customize-hook='chroot "$1" bash /packages/trial' "$codename" /dev/null - <<<"$here"
    printf 'the packages install, run and go in a clean %s\n' "$codename"
}

case ${1:-} in
    '' | --check) ;;
    -*) die "usage: ./dev package [PREFIX | --check]" ;;
esac
build_preset release kzhost kzgen kz_sdk kz_run_time
case ${1:-} in
    '' | --check)
        rm -rf "$packages"
        (cd "$build" && cpack)
        [ -z "${1:-}" ] || check ;;
    *) cmake --install "$build" --prefix "$(realpath -m "$1")" ;;
esac
