#!/usr/bin/env python3
"""Prints a bill of materials (SPDX 2.3) of a folder of packages: scripts/make_sbom.py FOLDER

FOLDER has the source archive and the Debian packages. The bill lists them with their SHA-256, and with what
they need from each other and from the system. The licence is that of the file LICENSE; without the file,
the bill says that none is stated. The same folder produces the same bytes: the time is SOURCE_DATE_EPOCH,
by default that of the archive.
"""

import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

LICENCE = pathlib.Path(__file__).resolve().parents[1] / "LICENSE"
LICENCE_ID = "LicenseRef-libwyx-commlib"


def id_of(name):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]", "-", name)


def relationship(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def fields_of(package):
    lines = subprocess.run(["dpkg-deb", "-f", package, "Package", "Version", "Depends"],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    return dict(line.split(": ", 1) for line in lines)


def entry(path, name, version, purpose):
    return {
        "SPDXID": id_of(name), "name": name, "versionInfo": version, "packageFileName": path.name,
        "primaryPackagePurpose": purpose, "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
        "checksums": [{"algorithm": "SHA256",
                       "checksumValue": hashlib.sha256(path.read_bytes()).hexdigest()}],
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": LICENCE_ID if LICENCE.exists() else "NONE",
        "copyrightText": "NOASSERTION",
    }


def main():
    folder = pathlib.Path(sys.argv[1])
    archive, = folder.glob("libwyx_commlib-*.tar.xz")
    name, version = archive.name.removesuffix(".tar.xz").split("-", 1)
    source = entry(archive, name, version, "SOURCE")
    packages = {name: source}
    links = [relationship("SPDXRef-DOCUMENT", "DESCRIBES", source["SPDXID"])]
    needs = {}
    for path in sorted(folder.glob("*.deb")):
        fields = fields_of(path)
        package = entry(path, fields["Package"], fields["Version"], "INSTALL")
        packages[package["name"]] = package
        links += [relationship("SPDXRef-DOCUMENT", "DESCRIBES", package["SPDXID"]),
                  relationship(package["SPDXID"], "GENERATED_FROM", source["SPDXID"])]
        # "libc6 (>= 2.34), libstdc++6 (>= 11)"
        needs[package["SPDXID"]] = re.findall(r"([^\s,|]+)(?: \(([^)]*)\))?", fields.get("Depends", ""))
    for one, others in needs.items():
        for other, bound in others:
            # A package of the system: this bill does not state its licence.
            packages.setdefault(other, {
                "SPDXID": id_of(other), "name": other, "primaryPackagePurpose": "LIBRARY",
                "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
                "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION",
                "copyrightText": "NOASSERTION"})
            links.append(relationship(one, "DEPENDS_ON", id_of(other)) |
                         ({"comment": bound} if bound else {}))
    time = int(os.environ.get("SOURCE_DATE_EPOCH") or archive.stat().st_mtime)
    bill = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{name}-{version}",
        "documentNamespace": f"https://packages.invalid/spdx/{name}-{version}-"
                             + source["checksums"][0]["checksumValue"],
        "creationInfo": {
            "created": datetime.datetime.fromtimestamp(time, datetime.timezone.utc)
                       .strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": [f"Tool: make_sbom.py-{version}"]},
        "packages": list(packages.values()),
        "relationships": links,
    }
    if LICENCE.exists():
        bill["hasExtractedLicensingInfos"] = [
            {"licenseId": LICENCE_ID, "name": "Licence of libwyx_commlib",
             "extractedText": LICENCE.read_text()}]
    else:
        bill["comment"] = "libwyx_commlib states no licence. Ask its owner before you use or pass on any of it."
    print(json.dumps(bill, indent=2))


if __name__ == "__main__":
    main()
