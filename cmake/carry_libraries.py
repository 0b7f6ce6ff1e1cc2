# Completes the interpreter's extension modules: FOLDER LIBRARIES. Libraries that they need, and that this release of the
# system does not have, are copied to LIBRARIES, and whoever needs one is told to look there ($ORIGIN/...).
import glob
import os
import shutil
import subprocess
import sys

from system_libraries import in_release, library_path, needed, owners, release


def missing_in_release(names):
    """Those of the libraries that other machines of this release cannot have, with the paths that they have here."""
    paths = {name: library_path(name) for name in names}
    for name, path in paths.items():
        if path is None:
            sys.exit("the interpreter needs %s, which is nowhere" % name)
    owner = owners(paths.values())
    had = in_release(set(owner.values()))
    return {name: path for name, path in paths.items() if owner.get(path) not in had}


def main(folder, libraries):
    if shutil.which("patchelf") is None:
        sys.exit("patchelf is not installed, without which the interpreter's modules find no library; install it")
    if missing_in_release(["libc.so.6"]):
        sys.exit("which libraries %s has cannot be told: apt has no package lists; run apt-get update"
                 % (release() or "this system"))
    users, known, carried = sorted(glob.glob(os.path.join(folder, "*.so"))), set(), set()
    while users:
        wanted = {user: needed(user) for user in users}
        names = {name for each in wanted.values() for name in each}
        missing = missing_in_release(names - known)
        known |= names
        carried |= set(missing)
        for name, path in missing.items():
            shutil.copyfile(path, os.path.join(libraries, name))
        for user in users:
            if carried.intersection(wanted[user]):
                place = os.path.relpath(libraries, os.path.dirname(user))
                subprocess.run(["patchelf", "--set-rpath", "$ORIGIN/" + place, user], check=True)
        users = [os.path.join(libraries, name) for name in sorted(missing)]


main(*sys.argv[1:])
