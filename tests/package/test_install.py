#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What is installed works by itself, wherever it is moved to; what cannot be built says so early.

usage: test_install.py --cmake CMAKE --source DIR --build DIR --compiler CXX
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

OPTIONS = None


def run(*arguments, **options):
    options.setdefault("text", True)
    return subprocess.run([str(argument) for argument in arguments], capture_output=True,
                          timeout=250, **options)


class FolderTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltra-install-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def run_well(self, *arguments, **options):
        process = run(*arguments, **options)
        self.assertEqual(process.returncode, 0, process.stdout[-2000:] + process.stderr[-2000:])
        return process.stdout


class Installation(FolderTest):
    def setUp(self):
        super().setUp()
        first = self.folder / "first"
        self.run_well(OPTIONS.cmake, "--install", OPTIONS.build, "--prefix", first)
        self.prefix = self.folder / "moved"
        first.rename(self.prefix)
        self.program = self.prefix / "bin/veltra"

    def test_everything_is_below_the_prefix_and_no_file_names_it(self):
        self.assertEqual([entry.name for entry in self.folder.iterdir()], ["moved"])
        for path in self.prefix.rglob("*"):
            if path.is_file():
                self.assertNotIn(str(self.folder).encode(), path.read_bytes(), path)

    def test_a_moved_program_renders_what_the_build_renders(self):
        self.run_well(self.program, "sample", self.folder / "s", "--size", "512x256")
        pictures = []
        for name, program in (("a", self.program), ("b", OPTIONS.build / "bin/veltra")):
            output = self.folder / f"{name}.png"
            self.run_well(program, "render", "-f", self.folder / "s/frame.png", "--layer",
                          self.folder / "s/layer.png", "-o", output, "--quiet")
            pictures.append(output.read_bytes())
        self.assertEqual(*pictures)
        self.assertIn(str(self.prefix), self.run_well(self.program, "about"))

    def test_a_program_without_its_effect_names_every_place_it_looked_in(self):
        effect, = self.prefix.glob("lib*/**/libveltra.so")
        effect.unlink()
        process = run(self.program, "about")
        self.assertEqual(process.returncode, 1)
        self.assertEqual(process.stderr,
                         f"veltra: no effect library found (looked for {self.program.parent}/"
                         f"libveltra.so and {effect}; give --effect FILE)\n")

    def test_the_manual_page_and_the_completion_are_whole(self):
        page = self.prefix / "share/man/man1/veltra.1.gz"
        text = subprocess.run(["zcat", page], check=True, capture_output=True).stdout
        for word in (rb"\-\-travel", rb"\-\-jpeg\-quality", rb"\-\-strictness", b"EXIT STATUS"):
            self.assertIn(word, text)
        if shutil.which("groff"):
            shown = subprocess.run(["groff", "-man", "-Tutf8", "-ww"], input=text,
                                   capture_output=True, check=True)
            self.assertEqual(shown.stderr, b"")
        completion = self.prefix / "share/bash-completion/completions/veltra"
        self.run_well("bash", "-n", completion)
        self.assertIn("--travel", completion.read_text())

    def test_a_program_is_built_on_the_installed_host_and_renders(self):
        example = self.folder / "example"
        shutil.copytree(self.prefix / "share/doc/veltra/docs/host-example", example)
        build = self.folder / "build"
        self.run_well(OPTIONS.cmake, "-S", example, "-B", build, "-DCMAKE_BUILD_TYPE=Release",
                      f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DCMAKE_CXX_FLAGS=-Wall -Werror",
                      f"-DCMAKE_CXX_COMPILER={OPTIONS.compiler}")
        self.run_well(OPTIONS.cmake, "--build", build)
        effect, = self.prefix.glob("lib*/**/libveltra.so")
        self.assertEqual(self.run_well(build / "host_example", effect), "NVT Veltra: rendered\n")


class MissingLibrary(FolderTest):
    """CMAKE_IGNORE_PATH makes this machine one where the library is not installed."""

    def configure(self, *arguments):
        process = run(OPTIONS.cmake, "-S", OPTIONS.source, "-B", self.folder / "build",
                      f"-DCMAKE_CXX_COMPILER={OPTIONS.compiler}", *arguments)
        self.assertNotEqual(process.returncode, 0)
        return " ".join(process.stderr.split())

    def test_stb_is_missed_when_configuring(self):
        message = self.configure("-DCMAKE_IGNORE_PATH=/usr/include/stb")
        self.assertIn("stb_image.h was not found", message)
        self.assertIn("libstb-dev", message)

    def test_mpfr_is_missed_when_configuring(self):
        message = self.configure("-DVELTRA_PROGRAM=OFF", "-DCMAKE_IGNORE_PATH=/usr/include")
        self.assertIn("MPFR was not found", message)
        self.assertIn("libmpfr-dev", message)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for name in ("cmake", "source", "build", "compiler"):
        parser.add_argument(f"--{name}", required=True, type=pathlib.Path)
    OPTIONS, rest = parser.parse_known_args()
    # The tests start programs by their absolute paths only.
    os.environ.pop("VELTRA", None)
    unittest.main(argv=[sys.argv[0], *rest])
