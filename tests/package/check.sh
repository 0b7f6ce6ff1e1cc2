#!/usr/bin/env bash
# check.sh CMAKE BUILD SOURCE: installs the build, moves what was installed, and has it do what its users do with it.
set -euo pipefail

cmake=$1 build=$2 source=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/'moved here'

fail() { printf 'package: %s\n' "$*" >&2; exit 1; }

# Standard input is what a command is to print.
prints() {
    local expected actual
    expected=$(cat)
    actual=$("$@" 2>&1) || fail "$* ended with $?: $actual"
    [ "$actual" = "$expected" ] || fail "$* printed: $actual"
}

"$cmake" --install "$build" --prefix "$work/first" >"$work/log" 2>&1 || fail "$(tail -n 20 "$work/log")"
mv "$work/first" "$prefix"
found=$(grep -rlF -e "$build" -e "$source" -e "$work/first" "$prefix") && fail "a path of the build is in: $found"
found=$(find "$prefix" -type l) && [ -n "$found" ] && fail "links: $found"

# Everything that the interpreter loads comes from the prefix or from this release of the system.
cat >"$work/whole.py" <<'PYTHON'
import bz2, ctypes, curses, glob, hashlib, os, readline, sqlite3, ssl, sys, sysconfig
import kz, kzifc, kzserv, kzu
home = sys.prefix[:sys.prefix.index('/lib/kzPython2/')]
print all(path.startswith(home) for path in (sys.executable, ssl.__file__, kzifc.__file__, sysconfig.get_config_h_filename()))
loaded = {os.path.basename(path): path for path in (line[73:].strip() for line in open('/proc/self/maps'))}
carried = glob.glob(home + '/lib/kzPython2/plugins/*.so*') + glob.glob(sys.prefix + '/lib/*.so*')
print [path for path in carried if loaded.get(os.path.basename(path)) != path], len(carried) > 1
print ssl.__file__.endswith('.pyc'), kzifc.__file__.endswith('.pyc'), kz.__version__ in open(sys.argv[1]).read()
PYTHON
prints env -i "$prefix/bin/kzhost" run "$work/whole.py" "$prefix/lib/cmake/kzPython2/kzPython2ConfigVersion.cmake" <<'END'
True
[] True
True True True
END
# The stubs are whole, and an editor completes with them and kzhost.
python=lib/kzPython2/kit/Python2_7/extra64/Python
for name in kz kzifc kzu; do
    diff -r -x '*.pyc' "$build/${python#lib/kzPython2/}/stubs/$name" "$prefix/$python/stubs/$name" ||
        fail "stubs are missing"
done
"$source/tests/stubs/with_checkers.sh" "$source/build/checkers" check_completion.py "$prefix/$python/stubs" \
    "$prefix/bin/kzhost" || [ $? -eq 77 ] || fail "kzhost and its stubs complete nothing"
grep -roP --include='*.md' '\]\(\K[^)#: ]+(?=[)#])' "$prefix/share/doc/kzpython2" | while IFS=: read -r page link; do
    [ -e "$(dirname "$page")/$link" ] || fail "$page: $link leads nowhere"
done
env -i "$prefix/bin/kzgen" check "$prefix/share/kzPython2/idl" || fail "the installed description is not whole"

# A host and a plug-in outside the tree, which know the prefix alone.
cp -r "$prefix/share/kzPython2/sdk/example" "$work/example"
{ "$cmake" -S "$work/example" -B "$work/built" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_COMPILE_WARNING_AS_ERROR=ON \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic" && "$cmake" --build "$work/built"; } >"$work/log" ||
    fail "$(cat "$work/log")"
home=$prefix/lib/kzPython2
hello=$'Hello from C++\nPython 2.7.18\nHello from a Python server'
ordered() { "$@" 2>&1 | sort; }
prints ordered env -i "$work/built/host" "$home/kit/Python2_7" "$work/example/script.py" "$home/plugins/kzPython2.so" \
    "$work/built/greeter.so" <<<"$(sort <<<"$hello")"
prints ordered env -i "$prefix/bin/kzhost" --module "$work/built/greeter.so" run "$work/example/script.py" \
    <<<"$(sort <<<"${hello/Hello from C++/greeter: Hello from C++}")"
cat >"$work/version.cmake" <<'CMAKE'
find_package(kzPython2 99 CONFIG)
message("${kzPython2_FOUND} ${kzPython2_CONSIDERED_VERSIONS}")
CMAKE
"$cmake" -DCMAKE_PREFIX_PATH="$prefix" -P "$work/version.cmake" 2>&1 | grep -qE '^0 [0-9.]+$' ||
    fail "the installed version counts as version 99"

mv "$home/plugins" "$work/plugins"
echo 'find_package(kzPython2 CONFIG REQUIRED COMPONENTS runtime)' >>"$work/example/CMakeLists.txt"
[[ $("$cmake" "$work/built" 2>&1) == *"the component runtime is not installed there"* ]] ||
    fail "a missing component is found"
mv "$work/plugins" "$home/plugins"

# Symbols stand apart, under the build ID.
id=$(readelf -n "$prefix/bin/kzhost" | sed -n 's/.*Build ID: //p')
[ -z "$(nm "$prefix/bin/kzhost" 2>/dev/null)" ] || fail "kzhost has its symbols"
[[ $(nm "$prefix/lib/debug/.build-id/${id::2}/${id:2}.debug") == *' T main'* ]] || fail "kzhost has its symbols nowhere"

python3 - "$prefix" <<'PYTHON' || fail "the bill of materials is wrong"
import hashlib, json, os, sys

folder = sys.argv[1]
with open(folder + "/share/doc/kzpython2/kzpython2.spdx.json") as file:
    bill = json.load(file)
billed = {row["fileName"][2:]: row["checksums"][0]["checksumValue"] for row in bill["files"]}
paths = {os.path.relpath(os.path.join(place, name), folder) for place, _, names in os.walk(folder) for name in names}
paths = {path for path in paths if not path.startswith("share/doc/kzpython2/licences/") and ".spdx." not in path}
assert paths == set(billed), paths ^ set(billed)
for path, digest in billed.items():
    with open(os.path.join(folder, path), "rb") as file:
        assert hashlib.sha1(file.read()).hexdigest() == digest, path
ids = [row["SPDXID"] for row in bill["files"] + bill["packages"]]
assert len(ids) == len(set(ids))
named = {row["licenseId"] for row in bill["hasExtractedLicensingInfos"]}
used = {row["licenseDeclared"] for row in bill["packages"] if row["licenseDeclared"].startswith("LicenseRef-")}
assert named == used, named ^ used
relations = {(row["relationshipType"], row["relatedSpdxElement"]) for row in bill["relationships"]}
assert {other for _, other in relations} <= set(ids) | {"SPDXRef-DOCUMENT"}
for relation, package in (("DYNAMIC_LINK", "libfmt9"), ("DYNAMIC_LINK", "libreadline8"), ("STATIC_LINK", "libcli11-dev")):
    assert (relation, "SPDXRef-Package-" + package) in relations, package
copied = {row["spdxElementId"] for row in bill["relationships"] if row["relationshipType"] == "GENERATED_FROM"}
for row in bill["files"]:
    assert "Python/lib/lib" not in row["fileName"] or row["SPDXID"] in copied, row["fileName"]
assert all(row["versionInfo"] for row in bill["packages"])
PYTHON
