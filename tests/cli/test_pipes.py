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
from support import PROGRAM, ProgramTest, catches, gradient, posix_only, wait_until


def pam(pixels, kind="RGB_ALPHA"):
    """A raw frame."""
    height, width, channels = pixels.shape
    most = np.iinfo(pixels.dtype).max
    return (f"P7\nWIDTH {width}\nHEIGHT {height}\nDEPTH {channels}\nMAXVAL {most}\n"
            f"TUPLTYPE {kind}\nENDHDR\n").encode() + pixels.astype(
                pixels.dtype.newbyteorder(">")).tobytes()


class Pipes(ProgramTest):

    def test_what_is_no_picture_is_noticed_by_its_first_bytes(self):
        process = self.assert_fails(1, "/dev/zero: not a readable image", "render", "-f",
                                    "/dev/zero", "-o", "out.png")
        self.assertNotIn("memory", process.stderr)
        self.assert_fails(1, "/dev/null: empty file", "render", "-f", "/dev/null", "-o", "out.png")

    @posix_only
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

    @posix_only
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
                              (whole + whole, b"-: more follows the PAM frame (--stream takes frame after frame)"),
                              (whole[:30], b"-: damaged or cut short PAM file (no usable header)"),
                              (whole.replace(b"L 255", b"L 100"),
                               b"-: a PAM file with MAXVAL 100 (expected 255 or 65535)")):
            process = through(data)
            self.assertEqual((process.returncode, process.stdout), (1, b""))
            self.assertIn(message, process.stderr)

    def stream(self, data, *arguments):
        return self.run_program("render", "--stream", "--quiet", *arguments, text=False, input=data)

    def write_layer(self):
        pictures.write_png(self.path("layer.png"), np.full((8, 16, 4), [9, 9, 250, 255], np.uint8))
        return ("--layer", "layer.png", "--degrees", "60")

    def test_a_stream_is_rendered_frame_by_frame(self):
        layer = self.write_layer()
        frames = [gradient(64, 32, 4, np.uint8) // (n + 1) for n in range(12)]
        for number, frame in enumerate(frames, 1):
            pictures.write_png(self.path(f"in.{number}.png"), frame)
        travel = (*layer, "--travel", "30")
        self.run_well("render", "-f", "in.#.png", "-o", "out.#.png", *travel)
        expected = b"".join(pam(pictures.read_png(self.path(f"out.{n}.png"))) for n in range(1, 13))
        data = b"".join(map(pam, frames))
        process = self.stream(data, "-f", "-", "-o", "-", *travel)
        self.assertEqual((process.returncode, process.stderr), (0, b""))
        self.assertTrue(process.stdout == expected)
        # From files into a stream, from a stream into files, and a part of one.
        self.assertTrue(self.stream(b"", "-f", "in.#.png", "-o", "-", *travel).stdout == expected)
        self.assertEqual(self.stream(data, "-f", "-", "-o", "part.#.png", "--frames", "3,5-6",
                                     *travel).returncode, 0)
        for number in (3, 5, 6):
            np.testing.assert_array_equal(pictures.read_png(self.path(f"part.{number}.png")),
                                          pictures.read_png(self.path(f"out.{number}.png")))
        self.assertNotIn("part.4.png", self.files())

    def test_frames_leave_a_stream_before_it_ends(self):
        frame = pam(gradient(64, 32, 4, np.uint8))
        with subprocess.Popen([PROGRAM, "render", "--stream", "-f", "-", "-o", "-", "--quiet"],
                              cwd=self.folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as run:
            for _ in range(3):
                run.stdin.write(frame)
                run.stdin.flush()
                self.assertEqual(run.stdout.read(len(frame)), frame)
            run.stdin.close()
            self.assertEqual(run.stdout.read(), b"")
        self.assertEqual(run.returncode, 0)

    def test_a_broken_stream_is_told_after_its_whole_frames(self):
        frame = pam(gradient(64, 32, 4, np.uint8))
        for data, whole, message in (
                (frame * 2 + frame[:-1], 2, "PAM file (the stream ends within a frame)"),
                (frame * 2 + b"P7\nWIDTH 5\n", 2, "PAM file (no usable header)"),
                (frame * 2 + b"rubbish", 2, "-: not a PAM frame (expected raw frames, such as"),
                (b"", 0, "-: ends after 0 frames")):
            process = self.stream(data, "-f", "-", "-o", "-", "--concurrent-frames", "1")
            self.assertEqual(process.returncode, 1)
            self.assertEqual(process.stdout, frame * whole)
            self.assertRegex(process.stderr.decode(), r"\Aveltra: [^\n]*\n\Z")
            self.assertIn(message, process.stderr.decode())
        process = self.stream(frame * 2, "-f", "-", "-o", "out.#.png", "--frames", "1-3")
        self.assertEqual((process.returncode, process.stderr),
                         (1, b"veltra: -: has no frame 3\n"))
        for arguments, message in ((("-f", "in.png", "-o", "out.png"), "--stream: neither"),
                                   (("-f", "-", "-o", "out.png"), "which frame of the stream?"),
                                   (("-f", "-", "-o", "-", "--format", "png"), "as PAM"),
                                   (("-f", "-", "-o", "-", "--resume"), "--resume: ")):
            process = self.stream(frame, *arguments)
            self.assertEqual(process.returncode, 2, arguments)
            self.assertIn(message, process.stderr.decode())

    def test_what_other_processes_do_is_refused_for_pipes(self):
        (self.folder / "scene.json").write_text(
            '{"version": 1, "frame": "-", "output": "o.#.png", "stream": true, "frames": "1-4"}')
        for command in (("submit", "scene.json", "--scheduler", "list"), ("verify", "scene.json")):
            self.assert_fails(2, "scene.json: - is no file that others could", *command)

    def test_nothing_of_a_failed_picture_goes_into_a_pipe(self):
        pictures.write_png(self.path("in.png"), gradient(33, 17, 4, np.uint8))
        data = pathlib.Path(self.path("in.png")).read_bytes()
        process = self.run_program("render", "-f", "-", "-o", "-", "--format", "png", text=False,
                                   input=data[:len(data) // 2])
        self.assertEqual(process.returncode, 1)
        self.assertEqual(process.stdout, b"")


if __name__ == "__main__":
    unittest.main()
