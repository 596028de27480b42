#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Installs, uses and removes the Windows packages under Wine, and looks at everything in dist/.

usage: test_windows_packages.py --dist DIR --effect VELTRA.aex --program LINUX_VELTRA [Files | Installer | Trial | Zip]

What is installed has to be the effect of the build, which the conformance tests have run under Wine,
and render what the program for Linux renders.
"""

import argparse
import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

OPTIONS = None
FOLDERS = os.environ["PATH"] + ":/usr/lib/wine"
WINE = shutil.which("wine64", path=FOLDERS)
WINESERVER = shutil.which("wineserver64", path=FOLDERS)
REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
PLUGINS = "Program Files/Adobe/Common/Plug-ins/7.0/MediaCore"
REFUSED = 1603  # what msiexec answers when a condition of the package fails


def package(pattern):
    found, = OPTIONS.dist.glob(pattern)
    return found


def run_well(*arguments, **options):
    process = subprocess.run([str(argument) for argument in arguments], capture_output=True,
                             timeout=240, **options)
    if process.returncode != 0:
        raise AssertionError(f"{arguments[0]}: {process.returncode}: "
                             f"{process.stdout[-1500:]} {process.stderr[-1500:]}")
    return process.stdout


class WineTest(unittest.TestCase):
    """A Windows of its own, made once."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltra-packages-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.environment = dict(os.environ, WINEPREFIX=str(cls.folder / "wine"), WINEDEBUG="-all",
                               WINEDLLOVERRIDES="mscoree=,mshtml=", LC_ALL="C.UTF-8")
        cls.wine("wineboot", "-i")
        cls.drive = cls.folder / "wine/drive_c"
        cls.addClassCleanup(subprocess.run, [WINESERVER, "-k"], check=False,
                            env=cls.environment)
        run_well(OPTIONS.program, "sample", cls.folder / "s", "--size", "512x256")

    @classmethod
    def wine(cls, *arguments, expected=0, **options):
        """Runs a Windows program; answers what it printed."""
        # Not through pipes: the services that the first program starts would hold them open.
        with tempfile.TemporaryFile() as output:
            process = subprocess.run([WINE, *map(str, arguments)], env=cls.environment,
                                     timeout=240, stdin=subprocess.DEVNULL, stdout=output,
                                     stderr=output, check=False, **options)
            output.seek(0)
            text = output.read().decode(errors="replace").replace("\r", "")
        if (process.returncode == 0) != (expected == 0):
            raise AssertionError(f"{arguments}: {process.returncode} {text[-1500:]}")
        return text

    def install(self, msi, *properties, expected=0):
        self.wine("msiexec", "/i", msi, "/qn", *properties, expected=expected)

    def remove(self, msi):
        self.wine("msiexec", "/x", msi, "/qn")

    def ours(self):
        """Every file and folder that an installation may have made."""
        return sorted(str(path.relative_to(self.drive)) for top in ("Veltra", "Adobe")
                      for path in [self.drive / "Program Files" / top,
                                   *(self.drive / "Program Files" / top).rglob("*")]
                      if path.exists())

    def assert_renders(self, program):
        """The program with the effect that it finds, against the program for Linux."""
        render = ("render", "scene.json", "--frames", "1-2", "--quiet")
        sample = self.folder / "s"
        results = []
        for run in (lambda: self.wine(program, *render, cwd=sample),
                    lambda: run_well(OPTIONS.program, *render, cwd=sample)):
            for old in sample.glob("travel.*"):
                old.unlink()
            run()
            results.append([path.read_bytes() for path in sorted(sample.glob("travel.*"))])
        self.assertEqual(len(results[0]), 2)
        self.assertEqual(*results)

    def other_version(self, version, folder):
        """An installer of another version, of the files of this one."""
        with zipfile.ZipFile(package("*-windows-x64.zip")) as archive:
            archive.extractall(folder)
        unpacked, = folder.iterdir()
        shutil.rmtree(unpacked / "trial")
        files = self.folder / ("files" + version)
        (files / "effect").mkdir(parents=True)
        (unpacked / "Veltra.aex").rename(files / "effect/Veltra.aex")
        unpacked.rename(files / "program")
        msi = self.folder / f"{version}.msi"
        run_well(sys.executable, REPOSITORY / "packaging/windows/make_msi.py", "--version", version,
                 "--files", files, "--epoch", "1700000000", "--output", msi)
        return msi


class Installer(WineTest):
    def assert_effect(self, path):
        self.assertEqual(path.read_bytes(), OPTIONS.effect.read_bytes())

    def test_a_life_from_installation_to_removal(self):
        msi = package("*.msi")
        installed = self.drive / "Program Files/Veltra"
        program = installed / "veltra.exe"
        effect = self.drive / PLUGINS / "Veltra/Veltra.aex"
        self.assertEqual(self.ours(), [])
        self.install(msi)
        self.assert_effect(effect)
        self.assertIn("MediaCore\\Veltra\\Veltra.aex", self.wine(program, "about"))
        self.assert_renders(program)
        whole = (installed / "README.md").read_bytes()
        before = self.ours()

        (installed / "README.md").unlink()
        program.unlink()
        effect.write_bytes(b"damaged")
        self.install(msi, "REINSTALL=ALL", "REINSTALLMODE=amus")
        self.assertEqual((installed / "README.md").read_bytes(), whole)
        self.assert_effect(effect)
        self.assertEqual(self.ours(), before)

        newer = self.other_version("99.0.0", self.folder / "newer")
        self.install(newer)
        self.assertEqual(self.ours(), before)
        self.install(msi, expected=REFUSED)
        self.assertEqual(self.ours(), before)
        self.assert_effect(effect)
        self.assert_renders(program)
        self.remove(newer)
        self.assertEqual(self.ours(), [])

    def test_folders_that_were_there_before_stay(self):
        (self.drive / PLUGINS).mkdir(parents=True)
        before = self.ours()
        self.install(package("*.msi"))
        self.remove(package("*.msi"))
        self.assertEqual(self.ours(), before)
        shutil.rmtree(self.drive / "Program Files/Adobe")

    def test_the_effect_alone_in_another_folder_that_an_upgrade_remembers(self):
        msi = package("*.msi")
        place = self.drive / "My Plug-ins/V"
        self.install(msi, "ADDLOCAL=Effect", "PLUGINFOLDER=C:\\My Plug-ins\\V")
        self.assert_effect(place / "Veltra.aex")
        self.assertEqual(self.ours(), [])
        newer = self.other_version("99.0.1", self.folder / "another")
        self.install(newer, "ADDLOCAL=Effect")
        self.assert_effect(place / "Veltra.aex")
        self.assertEqual(self.ours(), [])
        # The program finds the effect there, and goes onto the path where that is asked for.
        self.install(newer, "ADDLOCAL=Program,Path")
        program = self.drive / "Program Files/Veltra/veltra.exe"
        self.assertIn("My Plug-ins\\V\\Veltra.aex", self.wine(program, "about"))
        query = ("reg", "query",
                 "HKLM\\System\\CurrentControlSet\\Control\\Session Manager\\Environment",
                 "/v", "PATH")
        self.assertIn("C:\\Program Files\\Veltra\\", self.wine(*query))
        self.remove(newer)
        self.assertFalse(place.exists())
        self.assertEqual(self.ours(), [])
        self.assertNotIn("Veltra", self.wine(*query))


class Zip(WineTest):
    def test_it_renders_where_it_is_unpacked(self):
        with zipfile.ZipFile(package("*-windows-x64.zip")) as archive:
            archive.extractall(self.folder)
        folder, = self.folder.glob("Veltra-*-windows-x64")
        self.assert_renders(folder / "veltra.exe")


class Trial(WineTest):
    """The trial kit, with the pictures of the program for Linux in the place of After Effects'."""

    def setUp(self):
        with zipfile.ZipFile(package("*-windows-x64.zip")) as archive:
            archive.extractall(self.folder / "my tries")
        self.kit, = self.folder.glob("my tries/*/trial")
        self.addCleanup(shutil.rmtree, self.folder / "my tries")

    def compare(self, expected):
        return self.wine("cmd", "/c", "compare.bat", "quiet", cwd=self.kit, expected=expected)

    def test_the_report_tells_what_differs(self):
        self.assertIn("run veltra-trial.jsx in After Effects first", self.compare(1))
        (self.kit / "headless").mkdir()
        for scene in (self.kit / "scenes").iterdir():
            run_well(OPTIONS.program, "render", scene, "--quiet")
        theirs = self.kit / "after-effects"
        (self.kit / "headless").rename(theirs)
        self.compare(0)
        report = (self.kit / "report.html").read_text()
        self.assertIn("<p>20 of 20 settings pass.</p>", report)
        self.assertEqual(report.count("<h2 class='pass'>pass: "), 20)

        shutil.copy(theirs / "03-solo.0000.png", theirs / "02-tile.0000.png")
        (theirs / "20-moving.0005.png").unlink()
        self.compare(1)
        report = (self.kit / "report.html").read_text()
        self.assertIn("<p>18 of 20 settings pass.</p>", report)
        self.assertIn("<h2 class='FAIL'>FAIL: 02-tile, ", report)
        self.assertRegex(report, r"02-tile\.0000\.png: worst 0\.\d+ at \d+,\d+")
        self.assertIn("veltra: after-effects/20-moving.0005.png: ", report)
        self.assertTrue((self.kit / "report/02-tile.0000.png").exists())


class Files(unittest.TestCase):
    def test_the_sums_are_those_of_every_file(self):
        lines = (OPTIONS.dist / "SHA256SUMS").read_text().splitlines()
        sums = dict(reversed(line.split("  ")) for line in lines)
        names = {path.name for path in OPTIONS.dist.iterdir()} - {"SHA256SUMS"}
        self.assertEqual(set(sums), names)
        for name, told in sums.items():
            self.assertEqual(hashlib.sha256((OPTIONS.dist / name).read_bytes()).hexdigest(), told)

    def test_the_zip_has_the_effect_and_the_licence_of_everything_in_the_bill(self):
        bill = json.loads(package("*.cdx.json").read_text())
        with zipfile.ZipFile(package("*-windows-x64.zip")) as archive:
            folder = archive.namelist()[0]
            self.assertEqual(archive.read(folder + "Veltra.aex"), OPTIONS.effect.read_bytes())
            self.assertIn(b"BSD", archive.read(folder + "LICENSE.txt"))
            for part in bill["components"]:
                text = archive.read(f"{folder}licences/{part['name']}.txt")
                self.assertGreater(len(text), 300)

    def test_the_zip_has_the_trial_kit(self):
        with zipfile.ZipFile(package("*-windows-x64.zip")) as archive:
            names = archive.namelist()
        kit = {name[len(names[0] + "trial/"):] for name in names
               if name.startswith(names[0] + "trial/")}
        self.assertLessEqual({"README.txt", "compare.bat", "frame.png", "layer.png",
                              "veltra-settings.jsxinc", "veltra-trial.jsx"}, kit)
        self.assertEqual(sum(name.endswith(".json") for name in kit), 20)

    def test_the_bill_tells_versions_and_licences(self):
        bill = json.loads(package("*.cdx.json").read_text())
        told = {part["name"] for part in bill["components"]}
        for line in (REPOSITORY / "packaging/windows-libraries.txt").read_text().splitlines():
            if line and not line.startswith("#"):
                self.assertIn(line.split("|")[0], told)
        self.assertEqual((bill["bomFormat"], bill["specVersion"]), ("CycloneDX", "1.4"))
        self.assertTrue(bill["components"])
        for part in bill["components"]:
            self.assertRegex(part["version"], r"^\d")
            self.assertTrue(part["licenses"][0]["expression"])

    def test_the_page_has_the_licences_of_what_is_in_it(self):
        with zipfile.ZipFile(package("*-web.zip")) as archive:
            folder = archive.namelist()[0]
            self.assertIn(folder + "index.html", archive.namelist())
            licences = archive.read(folder + "licences.txt").decode()
        parts = json.loads((REPOSITORY / "web/package.json").read_text())["dependencies"]
        for name, version in [("Veltra", ""), *parts.items(), ("emscripten", "")]:
            self.assertIn(f"{name} {version}".rstrip(), licences)

    def test_the_tarball_renders_where_it_is_unpacked(self):
        with tempfile.TemporaryDirectory() as folder:
            run_well("tar", "-C", folder, "-xf", package("*-linux-x86_64.tar.gz"))
            program, = pathlib.Path(folder).glob("*/bin/veltra")
            self.assertIn(folder, run_well(program, "about").decode())


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for name in ("dist", "effect", "program"):
        parser.add_argument(f"--{name}", required=True,
                            type=lambda text: pathlib.Path(text).resolve())
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
