#!/usr/bin/env bash
# Builds a variant of the interpreter's library from the distribution's own source package and prints the folder that has
# it, to stand in LD_LIBRARY_PATH in front of the distribution's. VARIANT is one of
#   nopool  every object has memory of its own from malloc, so that allocators and checkers see each one
#   tsan    the same, and instrumented for the thread sanitizer. Which thread holds the lock is stored as one word there, as it
#           is on every machine that the interpreter runs on and as it relies on itself; the checker has to be told so
# It is kept in build/interpreter/VARIANT. Where it cannot be built, the reason is the last line of the error output, and
# the status is 3. The system's package lists stay as they are: the sources' are fetched into a folder of their own.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../common.sh"

variant=${1:-}
base=$root/build/interpreter
library=libpython2.7.so.1.0
cannot() { printf 'the interpreter cannot be built: %s\n' "$*" >&2; exit 3; }

case $variant in
    nopool) flags='-g1 -O1 -fno-omit-frame-pointer' ;;
    tsan) flags='-g1 -O1 -fno-omit-frame-pointer -fsanitize=thread' ;;
    *) die 'usage: interpreter.sh nopool|tsan' ;;
esac
if [ -f "$base/$variant/$library" ]; then echo "$base/$variant"; exit; fi
for program in apt-get dpkg-query patch cpp make; do
    command -v "$program" >/dev/null || cannot "$program is not installed"
done

fetch() {
    local version lists=$base/lists options
    version=$(dpkg-query -W -f '${source:Version}' libpython2.7 2>/dev/null) || cannot 'libpython2.7 is no package here'
    mkdir -p "$lists/parts" "$lists/state/partial" "$lists/cache/archives/partial" "$base/source"
    grep -lE '^Types:.*\bdeb\b' /etc/apt/sources.list.d/*.sources 2>/dev/null | while read -r file; do
        sed 's/^Types:.*/Types: deb-src/' "$file" >"$lists/parts/${file##*/}"
    done
    sed -n 's/^deb /deb-src /p' /etc/apt/sources.list 2>/dev/null >"$lists/parts/more.list" || true
    options=(-o "Dir::Etc::SourceList=/dev/null" -o "Dir::Etc::SourceParts=$lists/parts" -o "Dir::State::Lists=$lists/state"
             -o "Dir::Cache=$lists/cache" -o APT::Sandbox::User=root)
    apt-get "${options[@]}" update >&2 || cannot 'the lists of source packages cannot be fetched'
    (cd "$base/source" && apt-get "${options[@]}" source --download-only "python2.7=$version" >&2) ||
        cannot "the source package python2.7 $version cannot be fetched"
}

# As the package's own rules do it, without their tools for documents and packages.
unpack() {
    cd "$base/source"
    rm -rf tree
    mkdir tree
    tar xzf python2.7_*.orig.tar.gz -C tree --strip-components=1
    cd tree
    zcat ../python2.7_*.diff.gz | patch -p1 -s
    sed '/^# /d' debian/patches/series.in | cpp -E -Darch_os_linux "-Darch_$(dpkg --print-architecture)" -DDebian |
        grep -vE '^(#.*|)$' >series
    local each
    while read -r each; do patch -p1 -s -f <"debian/patches/$each" || cannot "$each does not apply"; done <series
}

# The places that write it, and the one that reads it without the lock.
make_holder_atomic() {
    local holder=_PyThreadState_Current
    sed -i -e "s/^\( *\)$holder = \([A-Za-z]*\);/\1__atomic_store_n(\&$holder, \2, __ATOMIC_RELAXED);/" \
        -e "s/return tstate == $holder;/return tstate == __atomic_load_n(\&$holder, __ATOMIC_RELAXED);/" "$1"
    [ "$(grep -c "__atomic_.*&$holder" "$1")" = 3 ]
}

# Built into the library are the modules that the distribution has there.
build() {
    local tree=$base/source/tree into=$base/$variant-build extensions platform
    rm -rf "$into"
    mkdir -p "$into"
    cd "$into"
    "$tree/configure" --enable-shared --prefix=/usr --enable-ipv6 --enable-unicode=ucs4 --with-system-expat \
        --with-computed-gotos --with-system-ffi --without-pymalloc CFLAGS="$flags" LDFLAGS="$flags" CC=gcc
    # shellcheck disable=SC2016 # awk's own
    extensions=$(awk -v ORS='|' '$2 ~ /^extension$/ {print $1}' "$tree/debian/PVER-minimal.README.Debian.in")
    grep -E "^#(${extensions}XX)" "$tree/Modules/Setup.dist" | sed -e 's/^#//' -e 's/-Wl,-B[a-z]*//g' >>Modules/Setup.local
    "$tree/Modules/makesetup" -c "$tree/Modules/config.c.in" -s Modules Modules/Setup.config Modules/Setup.local Modules/Setup
    mv config.c Modules/
    # The patches change configure.ac, too, but all that the library needs of that is this name.
    # The other says where the distribution has the modules of one platform, without which `sysconfig` fails.
    platform=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
    make_holder_atomic "$tree/Python/pystate.c"
    make -j"$(jobs_wanted)" MULTIARCH="$platform" MACHDEPPATH=":plat-$platform" DEBUG_EXT= libpython2.7.so
}

# In a process of its own, where an error ends it, which it would not within a condition.
run() {
    local status=0
    set +e
    (set -e; "$1") >>"$log" 2>&1
    status=$?
    set -e
    [ "$status" = 0 ] || cannot "see ${log#"$root/"}"
}

mkdir -p "$base"
ls "$base"/source/python2.7_*.dsc >/dev/null 2>&1 || fetch
log=$base/$variant.log
: >"$log"
if [ ! -f "$base/source/tree/configure" ] || [ ! -f "$base/source/tree/series" ]; then run unpack; fi
run build
mkdir -p "$base/$variant"
cp "$base/$variant-build/$library" "$base/$variant/"
rm -rf "$base/$variant-build"
echo "$base/$variant"
