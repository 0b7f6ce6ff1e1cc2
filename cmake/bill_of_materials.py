# Writes the bill of materials of an installation as an SPDX 2.3 document: every installed file with its checksums, and
# the packages that files of it come from, are linked with, or need at run time, with the versions and licences that the
# system's package database has. The licence texts of what is shipped or linked are copied beside it.
import argparse
import datetime
import hashlib
import json
import os
import re
import shutil

from system_libraries import is_elf, library_path, needed, output, owners

# The short names in Debian's copyright files that are called otherwise in SPDX, or the same.
SPDX = {"expat": "MIT", "mit": "MIT", "x11": "X11", "isc": "ISC", "zlib": "Zlib", "openssl": "OpenSSL",
        "apache-2.0": "Apache-2.0", "bsd-2-clause": "BSD-2-Clause", "bsd-3-clause": "BSD-3-Clause",
        "bsd-4-clause": "BSD-4-Clause", "boost-1.0": "BSL-1.0", "psf-2": "PSF-2.0", "python-2.0": "Python-2.0",
        "gpl-2": "GPL-2.0-only", "gpl-2+": "GPL-2.0-or-later", "gpl-3": "GPL-3.0-only", "gpl-3+": "GPL-3.0-or-later",
        "lgpl-2": "LGPL-2.0-only", "lgpl-2+": "LGPL-2.0-or-later", "lgpl-2.1": "LGPL-2.1-only",
        "lgpl-2.1+": "LGPL-2.1-or-later", "lgpl-3": "LGPL-3.0-only", "lgpl-3+": "LGPL-3.0-or-later"}


def spdx_id(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]+", "-", text)


def checksums(path):
    with open(path, "rb") as file:
        data = file.read()
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, data).hexdigest()}
            for name in ("sha1", "sha256")]


class Bill:
    def __init__(self, options):
        self.options = options
        self.root = spdx_id("Package-" + self.name())
        self.packages, self.licences, self.files = {}, {}, []
        self.relations = {("SPDXRef-DOCUMENT", "DESCRIBES", self.root)}

    def name(self):
        return "-".join(filter(None, (self.options.name, self.options.component)))

    def relate(self, one, relation, other):
        self.relations.add((one, relation, other))

    def licence_of(self, package):
        """An SPDX expression where the package's file is machine-readable and says nothing else, or a reference to it."""
        path = "/usr/share/doc/%s/copyright" % package
        if not os.path.exists(path):
            return "NOASSERTION"
        with open(path, encoding="utf-8", errors="replace") as file:
            text = file.read()
        names = {word.strip().lower() for line in re.findall(r"^License:[ \t]*(.*)$", text, re.MULTILINE)
                 for word in re.split(r"\s+(?:and|or)\s+|,", line)}
        if text.startswith("Format:") and names and names <= set(SPDX):
            return " AND ".join(sorted({SPDX[name] for name in names}))
        reference = "LicenseRef-" + re.sub(r"[^A-Za-z0-9.-]+", "-", package)
        self.licences[reference] = {"licenseId": reference, "name": "the copyright file of " + package,
                                    "extractedText": text}
        return reference

    def package(self, name):
        reference = spdx_id("Package-" + name)
        if name not in self.packages:
            version, architecture, home = output(
                "dpkg-query", "-W", "-f", "${Version}\n${Architecture}\n${Homepage}\n", name).split("\n")[:3]
            self.packages[name] = {
                "SPDXID": reference, "name": name, "versionInfo": version, "downloadLocation": "NOASSERTION",
                "filesAnalyzed": False, "licenseConcluded": "NOASSERTION", "licenseDeclared": self.licence_of(name),
                "copyrightText": "NOASSERTION", **({"homepage": home} if home else {}),
                "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator":
                                  "pkg:deb/debian/%s@%s?arch=%s" % (name, version.replace(":", "%3A"), architecture)}]}
        return reference

    def origin_of(self, file):
        """The file of the system that an installed one was copied from or compiled from; None for our own."""
        for place, source in self.options.origin:
            if file.startswith(place):
                file = source + file[len(place):]
                return file[:-1] if file.endswith(".pyc") else file
        name = os.path.basename(file)
        return library_path(name) if re.match(r"lib.*\.so\.", name) else None

    def add_files(self, files):
        origins = {file: self.origin_of(file) for file in files}
        owner = owners([origin for origin in origins.values() if origin])
        libraries = {os.path.basename(file): file for file in files}
        for file in files:
            path, reference = os.path.join(self.options.folder, file), spdx_id("File-" + file)
            self.files.append({"SPDXID": reference, "fileName": "./" + file, "checksums": checksums(path),
                               "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"})
            if package := owner.get(origins[file]):
                self.relate(self.root, "CONTAINS", self.package(package))
                self.relate(reference, "GENERATED_FROM", self.package(package))
            if not is_elf(path):
                continue
            wanted = [name for name in needed(path)]
            paths = [library_path(name) for name in wanted if name not in libraries]
            for package in owners(filter(None, paths)).values():
                self.relate(reference, "DYNAMIC_LINK", self.package(package))
            for name in set(wanted) & set(libraries):
                self.relate(reference, "DYNAMIC_LINK", spdx_id("File-" + libraries[name]))

    def add_linked(self, files):
        for file, sources in self.options.linked:
            if file in files:
                for package in owners(sources.split(";")).values():
                    self.relate(spdx_id("File-" + file), "STATIC_LINK", self.package(package))

    def document(self):
        verification = hashlib.sha1("".join(sorted(
            file["checksums"][0]["checksumValue"] for file in self.files)).encode()).hexdigest()
        moment = datetime.datetime.fromtimestamp(
            int(os.environ.get("SOURCE_DATE_EPOCH", datetime.datetime.now().timestamp())), datetime.timezone.utc)
        name = "%s-%s" % (self.name(), self.options.version)
        own = {"SPDXID": self.root, "name": self.name(), "versionInfo": self.options.version,
               "downloadLocation": "NOASSERTION", "filesAnalyzed": True, "licenseConcluded": "NOASSERTION",
               "licenseDeclared": "NOASSERTION", "licenseInfoFromFiles": ["NOASSERTION"],
               "copyrightText": "NOASSERTION", "hasFiles": [file["SPDXID"] for file in self.files],
               "packageVerificationCode": {"packageVerificationCodeValue": verification}}
        for file in self.files:
            file["licenseInfoInFiles"] = ["NOASSERTION"]
        return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": name,
                "documentNamespace": "https://spdx.org/spdxdocs/%s-%s" % (name, verification),
                "creationInfo": {"created": moment.strftime("%Y-%m-%dT%H:%M:%SZ"),
                                 "creators": ["Tool: %s-bill-of-materials" % self.options.name]},
                "packages": [own] + [self.packages[name] for name in sorted(self.packages)], "files": self.files,
                "hasExtractedLicensingInfos": [self.licences[name] for name in sorted(self.licences)],
                "relationships": [{"spdxElementId": one, "relationshipType": relation, "relatedSpdxElement": other}
                                  for one, relation, other in sorted(self.relations)]}

    def shipped(self):
        """The packages whose parts are in the files, for their licences have to be, too."""
        references = {other for _, relation, other in self.relations if relation in ("CONTAINS", "STATIC_LINK")}
        return [name for name, row in self.packages.items() if row["SPDXID"] in references]


def pair(text):
    return tuple(text.split("=", 1))


def main():
    parser = argparse.ArgumentParser()
    for name in ("name", "version", "component", "prefix", "folder", "files", "documents"):
        parser.add_argument("--" + name)
    for name in ("linked", "origin"):
        parser.add_argument("--" + name, action="append", type=pair)
    options = parser.parse_args()
    with open(options.files) as file:
        installed = sorted({os.path.relpath(path, options.prefix) for path in file.read().split(";") if path})
    documents = os.path.join(options.folder, options.documents)
    bill = Bill(options)
    bill.add_files(installed)
    bill.add_linked(installed)
    licences = os.path.join(documents, "licences", options.component or "all")  # two packages may not have one file
    os.makedirs(licences, exist_ok=True)
    for package in bill.shipped():
        shutil.copyfile("/usr/share/doc/%s/copyright" % package, os.path.join(licences, package))
    with open(os.path.join(documents, bill.name().lower() + ".spdx.json"), "w") as file:
        json.dump(bill.document(), file, indent=1)


main()
