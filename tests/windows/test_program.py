# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""veltra.exe under Wine: what it is made of, the names it takes, and pictures like everywhere."""

import hashlib
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import unittest

import numpy as np
import pefile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "cli"))
import pictures
from support import ProgramTest, gradient

FILE = os.environ["VELTRA_FILE"]
NATIVE = os.environ["VELTRA_NATIVE"]
RUN = os.environ["VELTRA_RUN"]
HELPER = os.environ["VELTRA_HELPER"]
EFFECT = os.environ["VELTRA_EFFECT"]
FAILED = 1
USAGE = 2

SYSTEM = {"KERNEL32.DLL", "MSVCRT.DLL", "ADVAPI32.DLL", "SHELL32.DLL"}
DYNAMIC_BASE, NO_EXECUTE, HIGH_ENTROPY = 0x40, 0x100, 0x20


class TheFile(unittest.TestCase):

    def setUp(self):
        self.file = pefile.PE(FILE)
        self.addCleanup(self.file.close)

    def resource(self, kind):
        """The bytes of the first resource of that type."""
        for entry in self.file.DIRECTORY_ENTRY_RESOURCE.entries:
            if entry.id == pefile.RESOURCE_TYPE[kind]:
                data = entry.directory.entries[0].directory.entries[0].data.struct
                return self.file.get_data(data.OffsetToData, data.Size)
        self.fail(f"no {kind}")

    def test_it_needs_the_system_s_libraries_only(self):
        names = {entry.dll.decode().upper() for entry in self.file.DIRECTORY_ENTRY_IMPORT}
        self.assertEqual(names - SYSTEM, set())

    def test_it_is_hardened(self):
        flags = self.file.OPTIONAL_HEADER.DllCharacteristics
        for flag in (DYNAMIC_BASE, NO_EXECUTE, HIGH_ENTROPY):
            self.assertTrue(flags & flag, hex(flag))
        self.assertTrue(hasattr(self.file, "DIRECTORY_ENTRY_BASERELOC"))

    def test_it_tells_windows_what_it_is(self):
        manifest = self.resource("RT_MANIFEST").decode()
        self.assertIn(">UTF-8</activeCodePage>", manifest)
        self.assertIn(">true</longPathAware>", manifest)
        self.resource("RT_GROUP_ICON")
        version = self.file.VS_FIXEDFILEINFO[0].FileVersionMS
        shown = subprocess.run([NATIVE, "--version"], check=True, capture_output=True, text=True)
        self.assertEqual(shown.stdout.split()[1].split(".")[:2],
                         [str(version >> 16), str(version & 0xFFFF)])


class Pictures(ProgramTest):

    def make(self, folder, program):
        """What a program makes of one scene in every format, by file name."""
        where = self.folder / folder
        where.mkdir()

        def run(*arguments):
            subprocess.run([program, *arguments], cwd=where, check=True, capture_output=True,
                           timeout=120)

        run("sample", "s", "--size", "512x256")
        run("render", "s/scene.json", "--frames", "1-2")
        for name, options in (("eight.png", ()), ("deep.png", ("--depth", "16")),
                              ("float.exr", ("--depth", "float")),
                              ("deep.tif", ("--depth", "16", "--filtering")),
                              ("eight.jpg", ("--placement", "tile"))):
            run("render", "-f", "s/frame.png", "--layer", "s/layer.png", "--quiet", *options, "-o",
                name)
        for name in ("float.exr", "deep.tif", "eight.jpg"):
            run("render", "-f", name, "--quiet", "-o", name + ".png", "--output-depth", "16")
        return {str(path.relative_to(where)): hashlib.sha256(path.read_bytes()).hexdigest()
                for path in where.rglob("*") if path.is_file()}

    def test_they_have_the_same_bytes_as_those_of_the_program_for_this_machine(self):
        here = self.make("here", NATIVE)
        self.assertEqual(len(here), 13)
        self.assertEqual(self.make("windows", os.environ["VELTRA"]), here)


class Names(ProgramTest):

    def setUp(self):
        super().setUp()
        self.frame = gradient(16, 8, 4, np.uint8)

    def copy(self, source, target):
        self.run_well("render", "-f", source, "-o", target, "--quiet")

    def put(self, name):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        pictures.write_png(str(path), self.frame)

    def assert_frame(self, name):
        np.testing.assert_array_equal(pictures.read_png(self.path(name)), self.frame)

    def test_names_of_every_script_and_with_blanks(self):
        self.put("測試 éß/in äö.1.png")
        self.put("測試 éß/in äö.2.png")
        self.run_well("render", "-f", "測試 éß/in äö.#.png", "-o", "測試 éß/Ω.#.png",
                      "--quiet")
        self.assert_frame("測試 éß/Ω.2.png")
        self.assertEqual(sorted(os.listdir(self.folder / "測試 éß")),
                         ["in äö.1.png", "in äö.2.png", "Ω.1.png", "Ω.2.png"])
        self.assert_fails(FAILED, "測試 éß/weg.png: no such file", "render", "-f",
                          "測試 éß/weg.png", "-o", "x.png")

    def test_scenes_in_folders_of_every_script(self):
        self.put("日本/frame.png")
        self.run_well("render", "-f", "日本/frame.png", "-o", "日本/out.png", "--save-scene",
                      "日本/scène.json", "--quiet")
        (self.folder / "日本/out.png").unlink(missing_ok=True)
        self.run_well("render", "日本/scène.json", "--quiet")
        self.assert_frame("日本/out.png")

    def test_either_slash_and_names_that_look_like_patterns(self):
        self.put("a/b/in.png")
        self.copy("a\\b\\in.png", "a\\b/[out].png")
        self.assert_frame("a/b/[out].png")

    def test_full_names_with_their_drive(self):
        self.put("in.png")
        drive = "Z:" + str(self.folder).replace("/", "\\")
        self.copy(drive + "\\in.png", "\\\\?\\" + drive + "\\out.png")
        self.assert_frame("out.png")
        self.copy(f"{self.folder}/in.png", f"{self.folder}/again.png")  # of the current drive
        self.assert_frame("again.png")
        self.assert_fails(USAGE, "unexpected argument", "about", f"{self.folder}/in.png")

    def test_names_that_begin_with_dots_or_like_devices(self):
        self.put("in.png")
        drive = "Z:" + str(self.folder).replace("/", "\\")
        self.copy(f"/..{self.folder}/in.png", "\\\\.\\" + drive + "\\out.png")
        self.assert_frame("out.png")
        self.copy("//./" + drive + "/out.png", "out.png")  # over itself
        self.assert_frame("out.png")

    def test_names_on_a_file_server(self):
        # Wine looks for its servers there.
        server = pathlib.Path(RUN).parent / "wine/dosdevices/unc" / f"veltra-{os.getpid()}"
        server.mkdir(parents=True)
        self.addCleanup(shutil.rmtree, server)
        (server / "share").symlink_to(self.folder)
        share = f"\\\\{server.name}\\share"
        deep = "測試\\" + "\\".join(["d" * 120] * 2)
        self.put("in.png")
        self.put(deep.replace("\\", "/") + "/in.png")
        for source, target in ((f"{share}\\in.png", "o1.png"),
                               ("in.png", f"{share}\\o2.png"),
                               ("in.png", f"{share}\\o2.png"),
                               (f"//{server.name}/share/in.png", f"//{server.name}/share/o3.png"),
                               (f"\\\\?\\UNC{share[1:]}\\in.png",
                                f"\\\\?\\UNC{share[1:]}\\o4.png"),
                               (f"{share}\\{deep}\\in.png", f"{share}\\{deep}\\o5.png")):
            with self.subTest(source=source, target=target):
                self.copy(source, target)
        for name in ("o1.png", "o2.png", "o3.png", "o4.png"):
            self.assert_frame(name)
        self.assert_frame(deep.replace("\\", "/") + "/o5.png")
        self.assertFalse([name for name in self.files() if "/." in name or name.startswith(".")])
        self.assert_fails(FAILED, "gone.png: no such file", "render", "-f", f"{share}\\gone.png",
                          "-o", "x.png")

    def test_files_over_4_gigabytes(self):
        width, height, far = 16, 8, 5 << 30
        tags = [(256, 3, width), (257, 3, height), (258, 3, 8), (259, 3, 1), (262, 3, 1),
                (273, 16, far), (277, 3, 1), (278, 3, height), (279, 16, width * height)]
        grey = np.arange(width * height, dtype=np.uint8).reshape(height, width)
        with open(self.path("big.tif"), "wb") as file:
            file.write(struct.pack("<2sHHHQQ", b"II", 43, 8, 0, 16, len(tags)))
            for tag, kind, value in tags:
                file.write(struct.pack("<HHQQ", tag, kind, 1, value))
            file.write(struct.pack("<Q", 0))
            file.seek(far)
            file.write(grey.tobytes())
        self.copy("big.tif", "out.png")
        np.testing.assert_array_equal(pictures.read_png(self.path("out.png"))[..., 0], grey)

    def test_names_longer_than_260_characters(self):
        folder = "/".join(["d" * 120] * 3)
        self.put(folder + "/in.png")
        self.copy(folder + "/in.png", folder + "/out.png")
        self.assert_frame(folder + "/out.png")

    def test_a_file_that_is_open_elsewhere_stays_and_is_told_of(self):
        self.put("in.png")
        (self.folder / "out.png").write_text("precious")
        with subprocess.Popen([RUN, HELPER, "hold", "out.png"], cwd=self.folder,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as viewer:
            self.assertEqual(viewer.stdout.readline().strip(), "held")
            self.assert_fails(FAILED, "out.png: in use by another program", "render", "-f",
                              "in.png", "-o", "out.png", "--quiet")
            self.assertEqual((self.folder / "out.png").read_text(), "precious")
            self.assertEqual(self.files(), ["in.png", "out.png"])
            viewer.stdin.close()
        self.copy("in.png", "out.png")
        self.assert_frame("out.png")


class Runs(ProgramTest):

    def test_the_effect_is_found_beside_the_program(self):
        self.assertIn("NVT Veltra", self.run_well("about").stdout)

    def test_an_effect_lies_in_a_folder_of_any_script(self):
        (self.folder / "測試 éß").mkdir()
        shutil.copy(EFFECT, self.folder / "測試 éß/Effect.aex")
        effect = "測試 éß\\Effect.aex"
        self.assertIn("NVT Veltra", self.run_well("about", "--effect", effect).stdout)
        self.run_well("render", "--effect", effect + "::NSVeltra", "--size", "64x32", "-o",
                      "測試 éß/out.png", "--quiet")
        self.assertIn("測試 éß/out.png", self.files())
        self.assert_fails(FAILED, "測試 éß\\Effect.aex", "about", "--effect", effect + "::Other")
        self.run_well("check", "--strictness", "1", effect)
        self.assert_fails(USAGE, "測試 éß\\Gone.aex", "check", "測試 éß\\Gone.aex")

    def test_exit_codes(self):
        self.assert_fails(USAGE, "unknown option", "render", "--none")
        self.assert_fails(FAILED, "gone.png: no such file", "render", "-f", "gone.png", "-o",
                          "out.png")

    def test_a_picture_on_standard_output_is_whole(self):
        frame = gradient(64, 32, 4, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        process = self.run_well("render", "-f", "in.png", "-o", "-", "--format", "png", "--quiet",
                                text=False)
        (self.folder / "out.png").write_bytes(process.stdout)
        np.testing.assert_array_equal(pictures.read_png(self.path("out.png")), frame)

    def test_without_ffmpeg_videos_are_refused_in_one_line(self):
        (self.folder / "in.mp4").write_bytes(b"\0" * 4096)
        self.assert_fails(FAILED, "not found (videos need ", "render", "-f", "in.mp4", "-o",
                          "out.1.png", "--frames", "1")

    def test_a_farm_run_by_slurm_is_refused_in_one_line(self):
        self.run_well("sample", "s", "--size", "64x32")
        self.assert_fails(FAILED, "not found (is Slurm installed on this machine?)", "submit",
                          "s/scene.json")
