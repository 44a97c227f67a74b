#!/usr/bin/env python3
"""Compares a bill of materials with the folder it describes: check_sbom.py FOLDER LICENCE

LICENCE is the text of the licence, or NONE.
"""

import hashlib
import json
import pathlib
import sys

folder, licence = pathlib.Path(sys.argv[1]), sys.argv[2]
bill = json.loads(next(folder.glob("*.spdx.json")).read_text())
packages = {package["SPDXID"]: package for package in bill["packages"]}
assert bill["spdxVersion"] == "SPDX-2.3" and len(packages) == len(bill["packages"])
assert bill["creationInfo"]["created"] == "2023-11-14T22:13:20Z", bill["creationInfo"]

ours = {package["packageFileName"]: package for package in packages.values()
        if "packageFileName" in package}
files = [*folder.glob("*.deb"), *folder.glob("*.tar.xz")]
assert len(files) >= 5 and set(ours) == {file.name for file in files}, set(ours)
for file in files:
    (checksum,) = ours[file.name]["checksums"]
    assert checksum == {"algorithm": "SHA256",
                        "checksumValue": hashlib.sha256(file.read_bytes()).hexdigest()}, file

declared = {package["licenseDeclared"] for package in ours.values()}
assert len(declared) == 1, declared
if licence == "NONE":
    assert declared == {"NONE"} and "states no licence" in bill["comment"]
else:
    (extracted,) = bill["hasExtractedLicensingInfos"]
    assert declared == {extracted["licenseId"]} and licence in extracted["extractedText"]

links = {(packages.get(link["spdxElementId"], {"name": ""})["name"], link["relationshipType"],
          packages[link["relatedSpdxElement"]]["name"]) for link in bill["relationships"]}
library = "libwyx-commlib" + packages["SPDXRef-libwyx-commlib"]["versionInfo"].split(".")[0]
wanted = {(library, "DEPENDS_ON", "libc6"), (library, "GENERATED_FROM", "libwyx_commlib"),
          ("libwyx-commlib-dev", "DEPENDS_ON", library)}
if any(package["name"] == "wyx" for package in packages.values()):
    wanted |= {("wyx", "DEPENDS_ON", "libstdc++6"), ("wyx", "DEPENDS_ON", library)}
assert wanted <= links, wanted - links
