# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures from and to pipes and devices."""

import contextlib
import os
import pathlib
import signal
import subprocess
import time
import unittest

import numpy as np

import pictures
from support import PROGRAM, ProgramTest, catches, gradient, wait_until


class Pipes(ProgramTest):

    def test_what_is_no_picture_is_noticed_by_its_first_bytes(self):
        process = self.assert_fails(1, "/dev/zero: not a readable image", "render", "-f",
                                    "/dev/zero", "-o", "out.png")
        self.assertNotIn("memory", process.stderr)
        self.assert_fails(1, "/dev/null: empty file", "render", "-f", "/dev/null", "-o", "out.png")

    def test_the_first_signal_ends_the_wait_for_a_pipe(self):
        os.mkfifo(self.path("pipe.png"))
        for written in (b"", pictures.png_chunk(b"IHDR", b"")):
            process = subprocess.Popen(
                [PROGRAM, "render", "-f", "pipe.png", "-o", "out.png"], cwd=self.folder,
                stderr=subprocess.PIPE, text=True)
            wait_until(lambda: catches(process, signal.SIGINT), "catching Ctrl-C")
            with contextlib.ExitStack() as ends:
                if written:  # opening waits for the reader
                    end = ends.enter_context(open(self.path("pipe.png"), "wb", buffering=0))
                    end.write(b"\x89PNG\r\n\x1a\n" + written)
                time.sleep(0.3)  # so that it waits, for the pipe or for more of it
                process.send_signal(signal.SIGINT)
                _, errors = process.communicate(timeout=20)
            self.assertEqual(process.returncode, 130, errors)
        self.assertEqual(self.files(), ["pipe.png"])

    def test_a_picture_comes_through_a_pipe(self):
        frame = gradient(33, 17, 4, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        os.mkfifo(self.path("pipe"))
        with subprocess.Popen(["cp", self.path("in.png"), self.path("pipe")]):
            self.run_well("render", "-f", "pipe", "-o", "out.png")
        np.testing.assert_array_equal(pictures.read_png(self.path("out.png")), frame)

    def test_standard_input_and_output_take_pictures(self):
        frame = gradient(33, 17, 4, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        data = pathlib.Path(self.path("in.png")).read_bytes()
        for ending in ("png", "tif", "exr"):
            process = self.run_well("render", "-f", "-", "-o", "-", "--format", ending, text=False,
                                    input=data)
            self.run_well("render", "-f", "in.png", "-o", "file." + ending)
            self.assertEqual(process.stdout,
                             pathlib.Path(self.path("file." + ending)).read_bytes())
        self.assert_fails(2, "standard output needs a format", "render", "-f", "in.png", "-o", "-")
        self.assertEqual(self.files(), ["file.exr", "file.png", "file.tif", "in.png"])

    def test_raw_frames_go_through_pipes(self):
        def pam(pixels, kind):
            height, width, channels = pixels.shape
            most = np.iinfo(pixels.dtype).max
            return (f"P7\nWIDTH {width}\nHEIGHT {height}\nDEPTH {channels}\nMAXVAL {most}\n"
                    f"TUPLTYPE {kind}\nENDHDR\n").encode() + pixels.astype(
                        pixels.dtype.newbyteorder(">")).tobytes()

        def through(data, *arguments):
            return self.run_program("render", "-f", "-", "-o", "-", "--format", "pam", *arguments,
                                    text=False, input=data)

        for sample in (np.uint8, np.uint16):
            # Values that 16 bits of After Effects, 0 to 32768, can hold.
            pictures.write_png(self.path("in.png"), gradient(33, 17, 4, sample))
            self.run_well("render", "-f", "in.png", "-o", "held.png")
            frame = pictures.read_png(self.path("held.png"))
            process = through(pam(frame, "RGB_ALPHA"))
            self.assertEqual(process.stdout, pam(frame, "RGB_ALPHA"), process.stderr)
            opaque = pam(frame[..., :3], "RGB")
            self.assertEqual(through(opaque, "--no-alpha").stdout, opaque)
            grey = through(pam(frame[..., :1], "GRAYSCALE"), "--no-alpha").stdout
            self.assertEqual(grey, pam(np.repeat(frame[..., :1], 3, axis=2), "RGB"))
        whole = pam(gradient(33, 17, 4, np.uint8), "RGB_ALPHA")
        for data, message in ((whole[:-1], b"-: damaged or cut short PAM file (the file ends early)"),
                              (whole + whole, b"-: more follows the PAM frame (expected one frame)"),
                              (whole[:30], b"-: damaged or cut short PAM file (no usable header)"),
                              (whole.replace(b"L 255", b"L 100"),
                               b"-: a PAM file with MAXVAL 100 (expected 255 or 65535)")):
            process = through(data)
            self.assertEqual((process.returncode, process.stdout), (1, b""))
            self.assertIn(message, process.stderr)

    def test_nothing_of_a_failed_picture_goes_into_a_pipe(self):
        pictures.write_png(self.path("in.png"), gradient(33, 17, 4, np.uint8))
        data = pathlib.Path(self.path("in.png")).read_bytes()
        process = self.run_program("render", "-f", "-", "-o", "-", "--format", "png", text=False,
                                   input=data[:len(data) // 2])
        self.assertEqual(process.returncode, 1)
        self.assertEqual(process.stdout, b"")


if __name__ == "__main__":
    unittest.main()
