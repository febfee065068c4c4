#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Writes the bill of materials of built Debian packages as SPDX 2.3 (JSON) to standard output.

    packaging/bill_of_materials.py FOLDER

FOLDER holds the packages of one build. Each package stands there with its SHA-256, and with all packages that it depends
on, in the versions that the build linked. Header-only libraries, whose code is inside the packages, are those of
EMBEDDED. Licences of Debian's packages are what their machine-readable copyright files say of all files; where they
say nothing that SPDX knows, it is NOASSERTION. The same packages give the same bytes.
"""

import datetime
import hashlib
import json
import pathlib
import re
import subprocess
import sys

# Debian package of the headers, and the packages of ours that hold code of them.
EMBEDDED = {
    "libcli11-dev": ["narvo-tools"],
    "libhwy-dev": ["libnarvoassem1", "libnarvohost1", "narvo-tools", "python3-narvoassem"],
    "nlohmann-json3-dev": ["libnarvohost1", "narvo-tools", "python3-narvoassem"],
    "pybind11-dev": ["python3-narvoassem"],
}
# Names of licences in Debian's copyright files, where SPDX has other ones.
SPDX_NAMES = {"Expat": "MIT", "Apache-2": "Apache-2.0", "Apache-2.0": "Apache-2.0", "BSD-3-clause": "BSD-3-Clause",
              "BSD-3-Clause": "BSD-3-Clause", "MIT": "MIT", "MIT/X11": "MIT", "LGPL-2.1+": "LGPL-2.1-or-later",
              "GPL-2+": "GPL-2.0-or-later", "GPL-3+": "GPL-3.0-or-later", "Zlib": "Zlib", "zlib": "Zlib"}


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def field(package_file, name):
    return output_of("dpkg-deb", "--field", package_file, name).strip()


def dependency_names(package_file):
    """The first of the alternatives of each dependency, by name."""
    for dependency in field(package_file, "Depends").split(","):
        name = re.match(r"[a-z0-9][a-z0-9+.-]*", dependency.strip())
        if name:
            yield name.group()


def installed_version(name):
    """Of a package, or of the one that provides it; None where neither is installed."""
    found = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", name], capture_output=True, text=True)
    return found.stdout.strip() if found.returncode == 0 and found.stdout.strip() else None


def debian_licence(name):
    copyright_file = pathlib.Path("/usr/share/doc") / name / "copyright"
    if not copyright_file.exists():
        return "NOASSERTION"
    text = copyright_file.read_text(encoding="utf-8", errors="replace")
    for paragraph in re.split(r"\n\s*\n", text):
        if re.search(r"^Files:\s*\*\s*$", paragraph, re.MULTILINE):
            licence = re.search(r"^License:\s*(\S+)\s*$", paragraph, re.MULTILINE)
            return SPDX_NAMES.get(licence.group(1), "NOASSERTION") if licence else "NOASSERTION"
    return "NOASSERTION"


def identifier(name):
    return "SPDXRef-Package-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)


def entry(name, version, licence, **more):
    return {"SPDXID": identifier(name), "name": name, "versionInfo": version, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:deb/debian/{name.replace('+', '%2B')}@{version}"}], **more}


def bill_of_materials(folder, epoch):
    ours = {}
    for package_file in sorted(folder.glob("*.deb")):
        name = field(package_file, "Package")
        if not name.endswith("-dbgsym"):
            ours[name] = package_file
    packages, relationships, foreign = [], [], {}

    def relate(source, kind, target):
        relationships.append({"spdxElementId": source, "relationshipType": kind, "relatedSpdxElement": target})

    digests = hashlib.sha256()
    for name, package_file in ours.items():
        digest = hashlib.sha256(package_file.read_bytes()).hexdigest()
        digests.update(digest.encode())
        packages.append(entry(name, field(package_file, "Version"), "MIT", packageFileName=package_file.name,
                              supplier="Organization: The narvoassem authors",
                              checksums=[{"algorithm": "SHA256", "checksumValue": digest}]))
        relate("SPDXRef-DOCUMENT", "DESCRIBES", identifier(name))
        for dependency in dependency_names(package_file):
            if dependency not in ours:
                foreign[dependency] = installed_version(dependency)
            relate(identifier(name), "DEPENDS_ON", identifier(dependency))
    for header_package, users in EMBEDDED.items():
        version = installed_version(header_package)
        if version is None:
            sys.exit(f"{header_package}, whose code is in the packages, is not installed")
        foreign[header_package] = version
        for user in users:
            if user in ours:
                relate(identifier(user), "CONTAINS", identifier(header_package))
    for name, version in sorted(foreign.items()):
        packages.append(entry(name, version or "NOASSERTION", debian_licence(name),
                              supplier="Organization: Debian"))
    created = datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": "narvoassem", "documentNamespace": f"https://example.org/spdx/narvoassem-{digests.hexdigest()}",
            "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                             "creators": ["Tool: bill_of_materials.py"]},
            "packages": packages, "relationships": relationships}


def problems(document):
    """What the SPDX 2.3 rules forbid: names given twice, relationships to nothing, missing fields."""
    known = [package["SPDXID"] for package in document["packages"]] + ["SPDXRef-DOCUMENT"]
    for name in sorted(set(known)):
        if known.count(name) > 1:
            yield f"{name} stands there {known.count(name)} times"
        if not re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", name):
            yield f"{name} is no SPDX identifier"
    for relationship in document["relationships"]:
        for end in ("spdxElementId", "relatedSpdxElement"):
            if relationship[end] not in known:
                yield f"{relationship[end]} is named and not described"
    for package in document["packages"]:
        if package["versionInfo"] == "NOASSERTION" and package["supplier"].endswith("narvoassem authors"):
            yield f"{package['name']} has no version"
    if not any(r["relationshipType"] == "DESCRIBES" for r in document["relationships"]):
        yield "no package of ours is described"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    if not any(folder.glob("*.deb")):
        sys.exit(f"{folder}: no package; run scripts/package first")
    changelog = pathlib.Path(__file__).parent / "debian" / "changelog"
    document = bill_of_materials(folder, int(output_of("dpkg-parsechangelog", "-l", changelog, "-S", "Timestamp")))
    found = list(problems(document))
    if found:
        sys.exit("\n".join(found))
    json.dump(document, sys.stdout, indent=1)
    print()


if __name__ == "__main__":
    main()
