#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Writes the bill of materials (CycloneDX 1.4): what is linked into the files for Windows.

usage: bill_of_materials.py --version 1.2.3 --epoch SECONDS --licences FOLDER --output FILE.json

FOLDER has NAME.version for each library, as scripts/build-windows-libraries leaves it. The files
for Linux hold none of them: their libraries are the system's.
"""

import argparse
import datetime
import json
import pathlib
import subprocess
import uuid

NAMESPACE = uuid.UUID("6f0c1d52-7c0e-4a53-b1a4-3f6f0a1e8c77")

# What the compiler links in, by Debian package.
RUN_TIME = {
    "GCC run-time libraries": ("gcc-mingw-w64-x86-64-posix-runtime",
                               "GPL-3.0-or-later WITH GCC-exception-3.1"),
    "mingw-w64 run-time libraries": ("mingw-w64-x86-64-dev", "MIT AND ZPL-2.1"),
}


def component(name, version, licence):
    return {"type": "library", "bom-ref": f"{name}@{version}", "name": name, "version": version,
            "licenses": [{"expression": licence}]}


def components(folder):
    found = []
    for path in sorted(folder.glob("*.version")):
        version, licence = path.read_text().strip().split("|")
        found.append(component(path.stem, version, licence))
    for name, (package, licence) in RUN_TIME.items():
        version = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True,
                                 capture_output=True, text=True).stdout
        found.append(component(name, version, licence))
    return found


def document(version, epoch, folder):
    parts = components(folder)
    moment = datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc)
    text = json.dumps([version, epoch, parts])
    return {
        "bomFormat": "CycloneDX",
        "specVersion": "1.4",
        "serialNumber": f"urn:uuid:{uuid.uuid5(NAMESPACE, text)}",
        "version": 1,
        "metadata": {
            "timestamp": moment.strftime("%Y-%m-%dT%H:%M:%SZ"),
            "component": {"type": "application", "bom-ref": f"veltra@{version}", "name": "veltra",
                          "version": version, "licenses": [{"expression": "BSD-3-Clause"}]},
        },
        "components": parts,
        "dependencies": [{"ref": f"veltra@{version}",
                          "dependsOn": [part["bom-ref"] for part in parts]}],
    }


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", required=True)
    parser.add_argument("--epoch", required=True, type=int)
    parser.add_argument("--licences", required=True, type=pathlib.Path)
    parser.add_argument("--output", required=True, type=pathlib.Path)
    options = parser.parse_args()
    bill = document(options.version, options.epoch, options.licences)
    options.output.write_text(json.dumps(bill, indent=2) + "\n", encoding="utf-8")
