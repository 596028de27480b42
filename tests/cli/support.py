# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Runs the program in a folder of its own for each test."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import time
import unittest

import numpy as np

PROGRAM = os.path.abspath(os.environ["VELTRA"])
WINDOWS = os.environ.get("VELTRA_SYSTEM") == "Windows"

# For what Windows does not have, such as links and limits for one process.
posix_only = unittest.skipIf(WINDOWS, "Windows does not have it")


class ProgramTest(unittest.TestCase):
    """Each test works in an empty folder; `self.folder` is its path."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltra-test-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path(self, name):
        return str(self.folder / name)

    def run_program(self, *arguments, **options):
        """The finished process, whatever its exit code."""
        options.setdefault("text", True)
        return subprocess.run([PROGRAM, *map(str, arguments)], cwd=self.folder,
                              capture_output=True, timeout=120, **options)

    def run_well(self, *arguments, **options):
        process = self.run_program(*arguments, **options)
        self.assertEqual(process.returncode, 0, process.stderr)
        return process

    def assert_fails(self, exit_code, message, *arguments, **options):
        """One line on standard error that starts with the program's name and has `message`."""
        process = self.run_program(*arguments, **options)
        self.assertEqual(process.returncode, exit_code, process.stderr)
        self.assertRegex(process.stderr, r"\Aveltra: [^\n]*\n\Z")
        self.assertIn(message, process.stderr)
        return process

    def files(self):
        """Everything in the folder, hidden files too."""
        return sorted(str(path.relative_to(self.folder)) for path in self.folder.rglob("*"))


def wait_until(condition, what, seconds=60):
    """Waits until `condition()` is true, however slow the machine is."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} did not happen within {seconds} s")
        time.sleep(0.01)


def catches(process, number):
    """Whether a running process has a handler of its own for that signal."""
    if WINDOWS and pathlib.Path(f"/proc/{process.pid}/comm").read_text() != "veltra.exe\n":
        return False  # it is still the shell that starts it
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    caught = next(line for line in status.splitlines() if line.startswith("SigCgt:"))
    return int(caught.split()[1], 16) >> (number - 1) & 1 == 1


def gradient(width, height, channels, dtype, alpha=None):
    """A picture in which every pixel differs from its neighbours in every channel."""
    full = {"u": np.iinfo(dtype).max if np.dtype(dtype).kind == "u" else 1, "f": 1}[
        np.dtype(dtype).kind]
    y, x = np.mgrid[0:height, 0:width]
    parts = [(x + 1) / (width + 1), (y + 1) / (height + 1), (x + y + 1) / (width + height),
             0.25 + 0.5 * (x + 1) / (width + 1)]
    pixels = np.stack(parts[:channels] if channels >= 3 else [parts[0], parts[3]][:channels],
                      axis=2) * full
    if alpha is not None:
        pixels[:, :, -1] = alpha * full
    return (np.round(pixels) if np.dtype(dtype).kind == "u" else pixels).astype(dtype)
