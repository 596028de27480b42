# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Whole renders with the system's calls failing one at a time, and killed at random moments: never
a crash, a partial output under its final name, a lost older file, or another picture than the
straight run's. VELTRA_FAULTS=N tries up to N calls of each kind and N kills (20 without it)."""

import os
import pathlib
import random
import shutil
import subprocess
import sys
import time
import unittest

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "cli"))
import pictures
from support import PROGRAM, ProgramTest

LIBRARY = os.path.abspath(os.environ["VELTRA_FAILING_CALLS"])
MOST = int(os.environ.get("VELTRA_FAULTS", "20"))
KINDS = ("malloc", "open", "read", "pread", "write", "fsync", "rename", "pipe2", "spawn", "thread")
OLD = b"older output"


class Faults(ProgramTest):

    def setUp(self):
        super().setUp()
        random_pixels = np.random.default_rng(7)
        for number in range(1, 5):
            pictures.write_png(self.path(f"in.{number}.png"),
                               random_pixels.integers(0, 256, (40, 80, 4), np.uint8))
        pictures.write_png(self.path("layer.png"), np.full((8, 16, 4), 200, np.uint8))
        self.inputs = set(self.files())
        self.layer = ("--layer", "layer.png", "--start", "30%,50%", "--end", "70%,50%")

    def outputs(self):
        return {name: (self.folder / name).read_bytes() for name in self.files()
                if name not in self.inputs and name != "calls"}

    def clear(self):
        for name in self.outputs():
            os.remove(self.path(name))

    def run_failing(self, kind, number, arguments):
        environment = {**os.environ, "LD_PRELOAD": LIBRARY, "VELTRA_FAIL": f"{kind}:{number}",
                       "VELTRA_CALLS": self.path("calls")}
        return self.run_program(*arguments, env=environment)

    def calls(self, kind, arguments):
        process = self.run_failing(kind, 0, arguments)
        self.assertEqual(process.returncode, 0, process.stderr)
        return int((self.folder / "calls").read_text())

    def check_end(self, process, what):
        self.assertIn(process.returncode, (0, 1), f"{what}: {process.stderr}")
        if process.returncode == 1:
            self.assertRegex(process.stderr, r"(?:\A|\n)veltra: [^\n]*\n\Z", what)

    def try_all(self, arguments, may_differ=(), most=MOST):
        self.run_well(*arguments)
        straight = self.outputs()
        for kind in ("malloc", "open", "write", "rename"):
            self.assertGreater(self.calls(kind, arguments), 0, f"no {kind} was seen to fail it")
        tried = 0
        for kind in KINDS:
            self.clear()
            count = self.calls(kind, arguments)
            numbers = range(1, count + 1)
            if count > most:
                numbers = sorted({1 + i * (count - 1) // (most - 1) for i in range(most)})
            for number in numbers:
                what = f"{kind} {number} of {count}"
                self.clear()
                for name in straight:
                    (self.folder / name).write_bytes(OLD)
                process = self.run_failing(kind, number, arguments)
                self.check_end(process, what)
                after = self.outputs()
                self.assertEqual(set(after), set(straight), what)
                for name, data in after.items():
                    whole = data == straight[name] or name in may_differ
                    self.assertTrue(whole or (data == OLD and process.returncode != 0),
                                    f"{what}: {name} is neither whole nor as before")
                tried += 1
        print(f"{self.id()}: {tried} failing calls", file=sys.stderr)

    def test_still(self):
        self.try_all(("render", "-f", "in.1.png", *self.layer, "-o", "out.png", "--quiet"))

    def test_every_call_of_a_still_in_float(self):
        """The effect asks for a suite to tell float frames: without it, it takes them for others."""
        self.try_all(("render", "-f", "in.1.png", *self.layer, "--depth", "float", "-o", "out.tif",
                      "--quiet"), most=1000)

    def test_still_as_openexr(self):
        self.try_all(("render", "-f", "in.1.png", *self.layer, "--depth", "float", "-o", "out.exr",
                      "--quiet"))

    def test_sequence(self):
        self.try_all(("render", "-f", "in.#.png", *self.layer, "-o", "out.#.png", "--quiet",
                      "--threads", "2"))

    @unittest.skipUnless(shutil.which("ffmpeg"), "ffmpeg is not installed")
    def test_video(self):
        subprocess.run(["ffmpeg", "-v", "error", "-i", "in.%d.png", "-c:v", "ffv1", "in.mkv"],
                       cwd=self.folder, check=True)
        self.inputs.add("in.mkv")
        self.try_all(("render", "-f", "in.mkv", *self.layer, "-o", "out.mp4", "--quiet",
                      "--threads", "2", "--video-options", "-threads 1"))

    def test_killed_at_random_moments_and_resumed(self):
        arguments = ("render", "-f", "in.1.png", *self.layer, "--frames", "1-40", "-o", "o.#.png",
                     "--quiet")
        started = time.monotonic()
        self.run_well(*arguments)
        seconds = time.monotonic() - started
        straight = self.outputs()
        moments = random.Random(11)
        for attempt in range(MOST):
            self.clear()
            moment = moments.uniform(0, seconds)
            process = subprocess.Popen([PROGRAM, *arguments], cwd=self.folder)
            time.sleep(moment)
            process.kill()
            process.wait()
            what = f"kill {attempt} after {moment:.3f} s"
            for name, data in self.outputs().items():
                self.assertTrue(name.startswith(".") or data == straight[name], f"{what}: {name}")
            self.run_well(*arguments, "--resume")
            self.assertEqual(self.outputs(), straight, what)
        print(f"{self.id()}: {MOST} kills", file=sys.stderr)
