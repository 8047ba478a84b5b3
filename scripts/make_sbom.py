#!/usr/bin/python3
"""Lists what the packages in a folder consist of, as SPDX 2.3 in JSON: the packages, their files with checksums, the
packages that they need, and those whose headers are compiled in, each with the version that they were built with.
Ends with 1 when these are not the ones that debian/copyright names.

usage: make_sbom.py FOLDER >annomend.spdx.json

FOLDER holds what dpkg-buildpackage made: the packages, their debug symbols, which name the headers, and one .buildinfo,
whose date is that of the list.
"""

import hashlib
import json
import pathlib
import re
import subprocess
import sys
import tempfile

# Libraries of which code is compiled in, by their folder in /usr/include: package and licence.
HEADER_LIBRARIES = {
    "CLI": ("libcli11-dev", "BSD-3-Clause"),
    "cereal": ("libcereal-dev", "BSD-3-Clause"),
    "fmt": ("libfmt-dev", "MIT"),
    "nlohmann": ("nlohmann-json3-dev", "MIT"),
    "rapidjson": ("rapidjson-dev", "MIT"),
    "spdlog": ("libspdlog-dev", "MIT"),
}
# The folders there of the system and of shared libraries.
SHARED = re.compile(r"c\+\+|.*-linux-gnu.*|arpa|asm-generic|linux|net|netinet|sys|dcmtk|mariadb|openjpeg-.*|openssl")
LICENCE = "BSD-3-Clause"


def identifier(name):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)


def package(name, version, licence, architecture):
    return {
        "SPDXID": identifier("Package-" + name),
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
        "filesAnalyzed": False,
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{name}@{version}?arch={architecture}",
        }],
    }


def paragraph(text):
    """The fields of a paragraph of control data."""
    fields = {}
    for line in text.splitlines():
        if line[:1] not in " \t" and ":" in line:
            name, _, value = line.partition(":")
            fields[name] = value.strip()
        elif line.startswith(" "):
            fields[name] += "\n" + line.strip()
    return fields


def checksums(content):
    return [{"algorithm": name, "checksumValue": hashlib.new(name, content).hexdigest()} for name in ("SHA1", "SHA256")]


def contents(deb):
    """Each file in a package: its path there, and the unpacked file, which is there until the next one is asked for."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["dpkg-deb", "-x", deb, folder], check=True)
        for path in sorted(pathlib.Path(folder).rglob("*")):
            if path.is_file() and not path.is_symlink():
                yield "./" + str(path.relative_to(folder)), path


def compiled_in(symbols):
    """Packages and licences of the header libraries that a package of debug symbols names."""
    folders = set()
    for _, file in contents(symbols):
        strings = subprocess.run(["readelf", "--decompress", "--string-dump=.debug_line_str", file], check=True,
                                 capture_output=True, text=True).stdout
        folders.update(re.findall(r" /usr/include/([^/\s]+)", strings))
    if not folders:
        sys.exit(f"make_sbom: no header is named in {symbols}")
    unknown = [folder for folder in folders - HEADER_LIBRARIES.keys() if not SHARED.fullmatch(folder)]
    if unknown:
        sys.exit(f"make_sbom: of what package is the code from {', '.join(unknown)} in {symbols}?")
    return [HEADER_LIBRARIES[folder] for folder in sorted(folders & HEADER_LIBRARIES.keys())]


def check_copyright(names):
    """Holds the packages of which code is compiled in or linked against the tables at the head of debian/copyright."""
    head = (pathlib.Path(__file__).parent / "../debian/copyright").read_text().partition("\nFiles:")[0]
    rows = re.findall(r"^  ([a-z0-9][^ ]+) ", head, re.MULTILINE)
    wrong = [name for name in names if not name.startswith(tuple(rows))]
    wrong += [row for row in rows if not any(name.startswith(row) for name in names)]
    if wrong:
        sys.exit(f"make_sbom: debian/copyright and the packages differ: {', '.join(wrong)}")


class Document:
    def __init__(self, built):
        self.versions = dict(re.findall(r"^(\S+) \(= ([^)]+)\)", built["Installed-Build-Depends"], re.MULTILINE))
        self.architecture = built["Build-Architecture"]
        self.packages, self.files, self.relations = {}, [], []

    def relate(self, source, kind, target):
        self.relations.append({"spdxElementId": source, "relationshipType": kind, "relatedSpdxElement": target})

    def need(self, source, kind, name, licence="NOASSERTION"):
        if name in self.versions and name not in self.packages:
            self.packages[name] = package(name, self.versions[name], licence, self.architecture)
        if name in self.packages:
            self.relate(source, kind, self.packages[name]["SPDXID"])

    def add(self, deb, fields):
        name = fields["Package"]
        entry = self.packages[name] = package(name, fields["Version"], LICENCE, fields["Architecture"])
        entry["checksums"] = checksums(deb.read_bytes())
        self.relate("SPDXRef-DOCUMENT", "DESCRIBES", entry["SPDXID"])
        for path, file_there in contents(deb):
            file = {"SPDXID": identifier(f"File-{name}-{path}"), "fileName": path,
                    "checksums": checksums(file_there.read_bytes()),
                    "licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"}
            self.files.append(file)
            self.relate(entry["SPDXID"], "CONTAINS", file["SPDXID"])

    def connect(self, fields, symbols):
        """Relates a package to those that it needs, and to those whose headers its packages of debug symbols name."""
        source = self.packages[fields["Package"]]["SPDXID"]
        for name in re.findall(r"(?:^|[,|])\s*([a-z0-9][a-z0-9.+-]+)", fields.get("Depends", "")):
            self.need(source, "DEPENDS_ON", name)
        for deb in symbols:
            for name, licence in compiled_in(deb):
                self.need(source, "STATIC_LINK", name, licence)


def main():
    folder = pathlib.Path(sys.argv[1])
    (buildinfo,) = folder.glob("*.buildinfo")
    built = paragraph(buildinfo.read_text())
    document = Document(built)
    debs = [(deb, paragraph(subprocess.run(["dpkg-deb", "-f", deb], check=True, capture_output=True, text=True).stdout))
            for deb in sorted(folder.glob("*.deb")) if "-dbgsym_" not in deb.name]
    for deb, fields in debs:
        document.add(deb, fields)
    for _, fields in debs:
        document.connect(fields, folder.glob(fields["Package"] + "-dbgsym_*.deb"))
    check_copyright(document.packages.keys() - {fields["Package"] for _, fields in debs})

    name = f"annomend-{built['Version']}"
    date = subprocess.run(["date", "-u", "-d", built["Build-Date"], "+%Y-%m-%dT%H:%M:%SZ"], check=True,
                          capture_output=True, text=True).stdout.strip()
    json.dump({
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": name,
        "documentNamespace": f"https://annomend.example.org/spdx/{name}-{hashlib.sha256(buildinfo.read_bytes()).hexdigest()}",
        "creationInfo": {"created": date, "creators": ["Organization: annomend developers"]},
        "packages": list(document.packages.values()),
        "files": document.files,
        "relationships": document.relations,
    }, sys.stdout, indent=1)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main()
