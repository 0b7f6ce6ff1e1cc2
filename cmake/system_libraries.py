# What the system knows about files and libraries: who needs which, where it is, and which package it comes from.
import functools
import os
import re
import subprocess


def output(*command):
    """What a program prints; nothing if there is no such program."""
    try:
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    except FileNotFoundError:
        return ""


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def needed(path):
    return re.findall(r"\(NEEDED\).*\[(.+)\]", output("readelf", "-d", path))


@functools.cache
def _cached_libraries():
    rows = re.findall(r"^\s*(\S+) \(.*(?:x86-64|AArch64).*\) => (\S+)$", output("/sbin/ldconfig", "-p"), re.MULTILINE)
    return dict(reversed(rows))  # the first one counts


def library_path(name):
    """Where the system's loader finds a library; None if it does not."""
    return _cached_libraries().get(name)


def owners(paths):
    """A table of paths and the packages that they come from, as far as packages have them."""
    spellings = {}
    for path in paths:
        for each in (path, os.path.realpath(path)):
            spellings[each] = path
            # A merged system has the same files under two names, and packages are listed with either.
            spellings[each[4:] if each.startswith("/usr/lib") else "/usr" + each] = path
    table, names = {}, list(spellings)
    for start in range(0, len(names), 500):
        for line in output("dpkg-query", "-S", *names[start:start + 500]).splitlines():
            package, _, path = line.rpartition(": ")
            if path in spellings and not package.startswith("diversion"):
                table.setdefault(spellings[path], package.split(",")[0].split(":")[0])
    return table


def release():
    with open("/etc/os-release") as file:
        return dict(line.strip().split("=", 1) for line in file if "=" in line).get("VERSION_CODENAME", "")


def in_release(packages):
    """Those of the packages that this release of the system has, so that other machines of it can install them."""
    from_release = re.compile(r"\s%s(-\w+)*/" % re.escape(release()))
    found, package = set(), None
    for line in output("apt-cache", "policy", *sorted(packages)).splitlines():
        if not line.startswith(" "):
            package = line.rstrip(":")
        elif from_release.search(line):
            found.add(package)
    return found
