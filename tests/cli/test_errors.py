# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Bad input: one clear line, the right exit code, and nothing touched."""

import ctypes
import os
import struct
import unittest
import zlib

import numpy as np

import pictures
from support import WINDOWS, ProgramTest, gradient, posix_only

FAILED = 1
USAGE = 2


class Errors(ProgramTest):

    def setUp(self):
        super().setUp()
        pictures.write_png(self.path("frame.png"), gradient(16, 8, 4, np.uint8))
        pictures.write_png(self.path("layer.png"), gradient(8, 8, 4, np.uint8))
        (self.folder / "out.png").write_text("precious")

    def tearDown(self):
        self.assertEqual((self.folder / "out.png").read_text(), "precious")
        self.assertEqual([name for name in self.files() if name.startswith(".")], [])

    def refuse(self, exit_code, message, *options, frame="frame.png"):
        self.assert_fails(exit_code, message, "render", "-f", frame, "--layer", "layer.png",
                          *options, "-o", "out.png")

    # ---- The command line ----

    def test_unknown_commands_and_options(self):
        self.assert_fails(USAGE, "did you mean render?", "rendr")
        self.refuse(USAGE, "unknown option --travle (did you mean --travel?)", "--travle", "3")

    def test_short_option_with_an_equals_sign(self):
        self.assert_fails(USAGE, "'-o=x.png': a short option takes its value without = (-o x.png, "
                          "or --output=x.png)", "render", "-f", "frame.png", "-o=x.png")

    def test_options_that_do_not_apply_to_the_output(self):
        for name, options in (("x.png", ("--jpeg-quality", "90")),
                              ("x.png", ("--video-options", "-crf 3")),
                              ("x.jpg", ("--compression", "best")),
                              ("x.jpg", ("--output-depth", "16")),
                              ("x.mp4", ("--jpeg-quality", "90")),
                              ("x.mp4", ("--compression", "best")),
                              ("x.mp4", ("--output-depth", "16"))):
            self.assert_fails(USAGE, options[0] + ": ", "render", "-f", "frame.png", "-o", name,
                              *options)

    def test_numbers_are_refused_alike_by_every_command(self):
        for command in (("render", "--downsample=X"), ("check", "--strictness=X"),
                        ("check", "--seed=X"), ("render", "--jpeg-quality=X")):
            for value, message in (("many", "'many' is not a whole number (expected "),
                                   ("-1", "'-1' is not in range (expected "),
                                   ("99999999999999999999", "' is not in range (expected ")):
                option = command[1].replace("X", value)
                self.assert_fails(USAGE, option.split("=")[0] + ": '" + value + message[
                    message.index("' is"):], command[0], option)
        self.assert_fails(USAGE, "--timeout: 'soon' is not a number", "check", "--timeout", "soon")
        self.assert_fails(USAGE, "--timeout: '0' is not in range", "check", "--timeout", "0")

    def test_option_without_its_value(self):
        self.assert_fails(USAGE, "--travel needs a value", "render", "-f", "frame.png", "-o",
                          "out.png", "--travel")

    def test_value_that_is_missing_takes_no_neighbour(self):
        self.assert_fails(USAGE, "--yaw needs a value", "view", "-f", "frame.png", "-o", "out.png",
                          "--yaw=", "3")

    def test_options_that_may_be_given_once(self):
        self.assert_fails(USAGE, "--yaw was given more than once (give it once)", "view", "-f",
                          "frame.png", "-o", "out.png", "--yaw", "1", "--yaw", "2")

    def test_flags_with_a_value(self):
        for option in ("--json=x", "--json=false", "--json="):  # a flag of its own variable
            self.assert_fails(USAGE, "--json takes no value", "check", option)
        for option in ("--quiet=x", "--quiet=on", "--no-composite=x", "--help=x"):
            self.refuse(USAGE, option.split("=")[0] + " takes no value", option)
        self.refuse(USAGE, "-n takes no value", "-n=x")
        # Not where it is another option's value.
        self.refuse(USAGE, "'--quiet=x' is not a button", "--press", "--quiet=x")

    def test_unknown_option_is_told_before_what_is_missing_for_it(self):
        self.assert_fails(USAGE, "unknown option --hlep (did you mean --help?)", "submit", "--hlep")
        self.assert_fails(USAGE, "scene is required", "submit")

    def test_after_two_dashes_nothing_is_an_option(self):
        self.run_well("sample", "--size", "16x8", "--", "-f=x")
        self.run_well("compare", "--threshold", "1", "--", "-f=x/frame.png", "./-f=x/frame.png")
        os.rename(self.path("-f=x/layer.png"), self.path("-x.png"))
        self.run_well("compare", "--", "-x.png", "./-x.png")
        os.rename(self.path("-f=x/scene.json"), self.path("-x.json"))
        self.run_well("render", "--frames", "1", "--", "-x.json")
        self.assert_fails(USAGE, "unexpected argument '-h'", "sample", "out.png", "--", "-h")
        self.assert_fails(USAGE, "unexpected argument '--'", "sample", "--", "--", "--")
        self.assert_fails(USAGE, "'--help' is not a scene file", "render", "--", "--help")
        self.assert_fails(USAGE, "unknown option --wat", "sample", "--wat", "--", "out.png")

    @posix_only
    def test_scenes_and_submissions_may_begin_with_a_dash(self):
        self.run_well("sample", "--size", "16x8", ".")
        os.rename(self.path("scene.json"), self.path("-x.json"))
        self.run_well("submit", "--scheduler", "list", "--chunk", "48", "--", "-x.json")
        submission = next(self.folder.glob("-x.farm/*"))
        self.run_well("task", "--", submission.relative_to(self.folder), "0")
        self.run_well("verify", "--", "-x.json")

    def test_values_outside_the_declared_range_name_the_range(self):
        self.refuse(USAGE, "--travel: '10001' is not in range (expected -10000 to 10000)", "--travel", "10001")
        self.refuse(USAGE, "--degrees: '121' is not in range (expected 0 to 120)", "--degrees", "121")
        self.refuse(USAGE, "--opacity: '-1' is not in range (expected 0 to 100)", "--opacity", "-1")

    def test_values_that_are_none(self):
        for option, value, message in (
                ("--start", "left", "is not a point"), ("--start", "1,2,3", "is not a point"),
                ("--start", "1%", "is not a point"), ("--start", "nan,1", "is not a point"),
                ("--end", "99999,1", "cannot be expressed"), ("--travel", "1e999", "not a number"),
                ("--travel", "fast", "not a number"), ("--placement", "round", "stretch, tile"),
                ("--depth", "32", "8, 16 or float"), ("--quality", "good", "best or draft"),
                ("--region", "1,2,3", "is not a region"), ("--region", "1,2,0,4", "anything in"),
                ("--region", "16,0,4,4", "outside the frame"), ("--downsample", "0", "in range"),
                ("--pixel-aspect", "0/1", "not a ratio"), ("--threads", "many", "whole number"),
                ("--frames", "5-1", "not a list of frames"),
                ("--rate", "-1", "not a frame rate (expected frames per second, such as 25"),
                ("--rate", "90000", "not a frame rate"), ("--threads", "99999999999", "in range"),
                ("--compression", "zip", "PNG has no 'zip'"), ("--output-depth", "half", "PNG"),
                ("--jpeg-quality", "101", "in range"), ("--progress", "dots", "progress")):
            with self.subTest(option=option, value=value):
                self.refuse(USAGE, message, f"{option}={value}")

    def test_options_that_the_output_does_not_know(self):
        self.refuse(USAGE, "--jpeg-quality: PNG has none", "--jpeg-quality", "90")
        self.refuse(USAGE, "--video-options: out.png is no video", "--video-options", "-crf 3")
        self.refuse(USAGE, "'-j=2': a short option takes its value without = (-j 2", "-j=2")

    def test_switch_with_a_wrong_value(self):
        self.refuse(USAGE, "--filtering: 'maybe' is not a switch", "--filtering=maybe")

    def test_size_and_frame_exclude_each_other_and_one_is_needed(self):
        self.refuse(USAGE, "exclude each other", "--size", "8x8")
        self.assert_fails(USAGE, "nothing to render on", "render", "-o", "out.png")
        self.assert_fails(USAGE, "nothing to write", "render", "-f", "frame.png")
        for size in ("8", "0x8", "30001x1", "8x8x8", "axb"):
            self.assert_fails(USAGE, "--size", "render", "--size", size, "-o", "out.png")

    def test_formats_that_cannot_be_written(self):
        for name in ("out.gif", "out.ts"):
            self.assert_fails(USAGE, "is no kind of video that is taken (expected .mp4", "render",
                              "-f", "frame.png", "-o", name)
            self.refuse(USAGE, "in" + name[3:] + ": ", frame="in" + name[3:])
        for name in ("out.hdr", "out"):
            self.assert_fails(USAGE, "cannot tell the format", "render", "-f", "frame.png", "-o",
                              name)

    def test_classic_has_no_float(self):
        self.refuse(USAGE, "8 and 16 bit only", "--classic", "--depth", "float")

    # ---- Pictures ----

    def test_missing_and_unreadable_pictures(self):
        self.refuse(FAILED, "gone.png: no such file", frame="gone.png")
        os.mkdir(self.path("folder.png"))
        self.refuse(FAILED, "folder.png: is a directory", frame="folder.png")
        for content in (b"x", b"hello, this is text", bytes(range(256))):
            (self.folder / "bad.png").write_bytes(content)
            self.refuse(FAILED, "bad.png: not a readable image (expected PNG, TIFF, JPEG, EXR, HDR, "
                        "WebP or PAM)", frame="bad.png")
        (self.folder / "bad.png").write_bytes(b"")
        self.refuse(FAILED, "bad.png: empty file", frame="bad.png")

    def test_truncated_pictures_of_every_format(self):
        frame = gradient(64, 32, 4, np.uint8)
        pictures.write_png(self.path("whole.png"), frame)
        pictures.write_tiff(self.path("whole.tif"), frame)
        pictures.write_exr(self.path("whole.exr"), gradient(64, 32, 4, np.float32))
        pictures.write_hdr(self.path("whole.hdr"), gradient(64, 32, 3, np.float32))
        self.run_well("render", "-f", "whole.png", "-o", "whole.jpg")
        self.run_well("render", "-f", "whole.png", "-o", "zip.exr")
        self.run_well("render", "-f", "whole.png", "-o", "lzw.tif", "--compression", "lzw")
        for name in ("whole.png", "whole.tif", "whole.exr", "whole.hdr", "whole.jpg", "zip.exr",
                     "lzw.tif"):
            data = (self.folder / name).read_bytes()
            for share in (0.05, 0.4, 0.9, 0.98):
                with self.subTest(name=name, share=share):
                    (self.folder / ("cut-" + name)).write_bytes(data[:int(len(data) * share)])
                    self.refuse(FAILED, "cut-" + name, frame="cut-" + name)

    def test_damaged_picture_does_not_crash(self):
        rng = np.random.default_rng(7)
        for name, write in (("d.png", pictures.write_png), ("d.tif", pictures.write_tiff)):
            write(self.path(name), gradient(32, 16, 4, np.uint8))
            data = np.frombuffer((self.folder / name).read_bytes(), np.uint8)
            for _ in range(25):
                broken = data.copy()
                broken[rng.integers(8, len(data), 6)] = rng.integers(0, 256, 6)
                (self.folder / name).write_bytes(broken.tobytes())
                process = self.run_program("render", "-f", name, "-o", "other.png")
                self.assertIn(process.returncode, (0, FAILED), process.stderr)

    def test_absurdly_large_pictures_take_no_memory(self):
        huge = struct.pack(">IIBBBBB", 2000000000, 2000000000, 8, 6, 0, 0, 0)
        (self.folder / "huge.png").write_bytes(
            b"\x89PNG\r\n\x1a\n" + pictures.png_chunk(b"IHDR", huge) +
            pictures.png_chunk(b"IDAT", b"\0") + pictures.png_chunk(b"IEND", b""))
        self.refuse(FAILED, "huge.png: a picture of 2000000000x2000000000 pixels is too large",
                    frame="huge.png")
        for name, data in (("huge.hdr", b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 99999 +X "
                            b"99999\n"),):
            (self.folder / name).write_bytes(data)
            self.refuse(FAILED, name, frame=name)
        pictures.write_exr(self.path("huge.exr"), gradient(4, 4, 4, np.float32),
                           display_window=(0, 0, 2000000000, 2000000000))
        self.refuse(FAILED, "huge.exr", frame="huge.exr")

    def refuse_early(self, name, data, message):
        """One line, without the memory that the file asks for."""
        def limit():
            import resource
            resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30))

        (self.folder / name).write_bytes(data)
        with self.subTest(name=name):
            unlimited = WINDOWS or os.environ.get("VELTRA_SANITIZE")
            self.assert_fails(FAILED, f"{name}: damaged or cut short {message}", "render", "-f",
                              name, "-o", "out.png", preexec_fn=None if unlimited else limit)

    def png(self, width, height, depth, interlaced, chunk, data):
        head = struct.pack(">IIBBBBB", width, height, depth, 6, 0, 0, interlaced)
        return (b"\x89PNG\r\n\x1a\n" + pictures.png_chunk(b"IHDR", head) + chunk +
                pictures.png_chunk(b"IDAT", data) + pictures.png_chunk(b"IEND", b""))

    def test_png_that_claims_more_than_it_has_is_left_at_once(self):
        self.refuse_early("interlaced.png", self.png(8000, 8000, 16, 1, b"", b"\0"),
                          "PNG file (the file ends early)")
        self.refuse_early("chunk.png", self.png(8, 8, 8, 0, b"\x7f\xff\xff\xf0tEXtabc", b"\0"),
                          "PNG file (the file ends early)")

    def test_png_with_a_profile_that_unpacks_without_end_is_only_a_picture(self):
        packer = zlib.compressobj(9)
        profile = b"icc\0\0" + b"".join(packer.compress(bytes(1 << 24)) for _ in range(16))
        chunk = pictures.png_chunk(b"iCCP", profile + packer.flush())
        (self.folder / "bomb.png").write_bytes(
            self.png(1, 1, 8, 0, chunk, zlib.compress(bytes([0, 1, 2, 3, 4]))))
        self.run_well("render", "-f", "bomb.png", "-o", "small.png")
        np.testing.assert_array_equal(pictures.read_png(self.path("small.png")), [[[1, 2, 3, 4]]])
        self.assertLess(os.path.getsize(self.path("small.png")), 1000)

    def test_hdr_without_an_end_ends(self):
        start = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe"
        self.refuse_early("header.hdr", start, "Radiance HDR file")
        self.refuse_early("large.hdr", start + b"\n\n-Y 30000 +X 30000\n\2\2\x75\x30",
                          "Radiance HDR file (the file ends early)")
        self.refuse_early("ends_in_a_run.hdr", start + b"\n\n-Y 1 +X 16\n\2\2\0\x10\x8f",
                          "Radiance HDR file")
        # A run of none, over and over, in a row of sixteen.
        self.refuse_early("run.hdr", start + b"\n\n-Y 1 +X 16\n\2\2\0\x10" + bytes(40),
                          "Radiance HDR file")

    def test_tiff_of_one_huge_tile_takes_no_memory(self):
        pictures.write_tiff(self.path("tile.tif"), gradient(16, 16, 4, np.float32), tile=16)
        whole = (self.folder / "tile.tif").read_bytes()
        self.run_well("render", "-f", "tile.tif", "-o", "other.png")
        for compression in (1, 8):
            data = whole
            for tag, kind, value in ((322, 4, 29984), (323, 4, 29984), (259, 3, compression)):
                at = data.index(struct.pack("<HHI", tag, kind, 1)) + 8
                data = data[:at] + struct.pack("<I", value) + data[at + 4:]
            self.refuse_early("tile.tif", data, "TIFF file (inconsistent sizes)")

    def test_one_failing_picture_spoils_no_other_output(self):
        for number in (1, 2, 3):
            pictures.write_png(self.path(f"in.{number}.png"), gradient(8, 8, 4, np.uint8))
        (self.folder / "in.2.png").write_bytes(b"broken")
        self.assertEqual(self.run_program("render", "-f", "in.#.png", "-o", "seq.#.png",
                                          "--quiet").returncode, FAILED)
        for name in ("seq.1.png", "seq.3.png"):
            if os.path.exists(self.path(name)):
                pictures.read_png(self.path(name))
        self.assertFalse(os.path.exists(self.path("seq.2.png")))

    # ---- The effect ----

    def test_libraries_that_are_no_effects(self):
        (self.folder / "text.so").write_text("not a library")
        self.refuse(FAILED, "gone.so", "--effect", "gone.so")
        self.refuse(FAILED, "text.so", "--effect", "text.so")
        self.refuse(FAILED, "libc.so.6", "--effect", "/lib/x86_64-linux-gnu/libc.so.6")

    # ---- Outputs ----

    def test_no_clobber_refuses(self):
        self.refuse(FAILED, "out.png: already there", "--no-clobber")

    def test_output_folder_that_is_not_there_or_not_a_folder(self):
        for name in ("gone/out.png", "frame.png/out.png"):
            self.assert_fails(FAILED, name.split("/")[0], "render", "-f", "frame.png", "-o", name)
        os.mkdir(self.path("dir.png"))
        self.assert_fails(FAILED, "dir.png: is a directory", "render", "-f", "frame.png", "-o",
                          "dir.png")

    @posix_only
    def test_unwritable_folder_and_file(self):
        def obey_permissions():
            # Root writes anywhere until it gives up the right to.
            drop_from_bounding_set, override = 24, 1
            libc = ctypes.CDLL(None, use_errno=True)
            if os.geteuid() == 0 and libc.prctl(drop_from_bounding_set, override, 0, 0, 0) != 0:
                raise OSError(ctypes.get_errno(), "prctl")

        os.mkdir(self.path("locked"), 0o500)
        self.assert_fails(FAILED, "locked/out.png: permission denied", "render", "-f", "frame.png",
                          "-o", "locked/out.png", preexec_fn=obey_permissions)
        os.chmod(self.path("out.png"), 0o400)
        self.assert_fails(FAILED, "out.png: permission denied", "render", "-f", "frame.png", "-o",
                          "out.png", preexec_fn=obey_permissions)

    @unittest.skipUnless(os.path.exists("/dev/full"), "no full device here")
    @posix_only
    def test_full_disk_is_reported_for_every_format(self):
        pictures.write_png(self.path("noise.png"), np.random.default_rng(1).integers(
            0, 256, (256, 256, 4), dtype=np.uint8))
        for name in ("full.png", "full.jpg"):
            os.symlink("/dev/full", self.path(name))
            self.assert_fails(FAILED, "no space left", "render", "-f", "noise.png", "-o", name,
                              "--quiet")

    @posix_only
    def test_output_larger_than_the_limit_leaves_the_old_one(self):
        pictures.write_png(self.path("noise.png"), np.random.default_rng(1).integers(
            0, 256, (256, 256, 4), dtype=np.uint8))

        def limit():
            import resource
            import signal
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))

        for name in ("out.png", "new.tif", "new.exr", "new.jpg"):
            quality = ("--jpeg-quality", "100") if name.endswith(".jpg") else ()
            process = self.run_program("render", "-f", "noise.png", "-o", name, "--quiet",
                                       *quality, preexec_fn=limit)
            self.assertEqual(process.returncode, FAILED, process.stderr)
            self.assertIn("file too large", process.stderr)
            self.assertFalse(name != "out.png" and os.path.exists(self.path(name)))

    @unittest.skipIf(os.environ.get("VELTRA_SANITIZE"), "a sanitizer needs memory of its own")
    @posix_only
    def test_memory_that_is_not_there_is_one_line(self):
        def limit():
            import resource
            resource.setrlimit(resource.RLIMIT_AS, (1 << 30, 1 << 30))

        self.assert_fails(FAILED, "memory", "render", "--size", "30000x30000", "--depth", "float",
                          "-o", "out.png", preexec_fn=limit)
