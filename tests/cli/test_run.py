# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""A run from outside: progress, silence, and being stopped."""

import json
import os
import pathlib
import pty
import re
import resource
import signal
import subprocess
import time

import numpy as np

import pictures
from support import PROGRAM, WINDOWS, ProgramTest, catches, posix_only, wait_until

INTERRUPTED = 130


class Runs(ProgramTest):

    def setUp(self):
        super().setUp()
        for number in range(1, 21):
            pictures.write_png(self.path(f"in.{number}.png"), np.zeros((4, 8, 4), np.uint8))
        self.sequence = ("render", "-f", "in.#.png", "-o", "out.#.png", "--frames", "1-20")

    def test_a_line_per_ten_percent(self):
        lines = self.run_well(*self.sequence).stderr.splitlines()
        self.assertEqual([line.split("%")[0].strip() for line in lines[:-1]],
                         [str(tenth) for tenth in range(10, 101, 10)])
        self.assertRegex(lines[-1], r"^out\.#\.png: 20 frames in ")

    def test_quiet_says_nothing(self):
        process = self.run_well(*self.sequence, "--quiet")
        self.assertEqual((process.stdout, process.stderr), ("", ""))

    def test_json_is_an_object_per_line(self):
        process = self.run_well(*self.sequence, "--progress", "json")
        events = [json.loads(line) for line in process.stdout.splitlines()]
        self.assertEqual(sorted(event["frame"] for event in events[:-1]), list(range(1, 21)))
        self.assertEqual([event["done"] for event in events[:-1]], list(range(1, 21)))
        self.assertEqual(events[-1]["event"], "done")
        self.assertTrue(all(event["total"] == 20 for event in events))

    def test_bar_on_a_terminal(self):
        master, slave = pty.openpty()
        process = subprocess.Popen([PROGRAM, "render", "--size", "3000x1500", "--frames", "1-40",
                                    "-o", "big.#.png"], cwd=self.folder, stderr=slave)
        os.close(slave)
        shown = b""
        try:
            while chunk := os.read(master, 4096):
                shown += chunk
        except OSError:
            pass  # the terminal goes with its last user
        self.assertEqual(process.wait(), 0)
        os.close(master)
        if WINDOWS:  # whose console draws letter by letter, blanks by moving on
            shown = re.sub(rb"\x1b\[\?25[lh]", b"", shown).replace(b"\x1b[K\x1b[1C", b" ")
        self.assertRegex(shown, rb"\r\[#*\.*\] \d+/40  [\d.]+ fps  [\d.:]+ ?s? left")
        self.assertIn(b"big.#.png: 40 frames in", shown)

    def test_fewer_threads_than_wanted_are_enough(self):
        def limit():
            # A stack of 256 MiB per thread: the memory is at its end after a few.
            resource.setrlimit(resource.RLIMIT_STACK, (256 << 20, 256 << 20))
            resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))
        if not os.environ.get("VELTRA_SANITIZE"):
            self.run_well(*self.sequence, "--threads", "20", "--concurrent-frames", "20",
                          preexec_fn=limit)
            self.assertEqual(len([name for name in self.files() if name.startswith("out")]), 20)

    def stop(self, number, *arguments):
        """Starts a long run, stops it once there is work in progress, and returns how it ended
        and how long that took."""
        process = subprocess.Popen([PROGRAM, *arguments], cwd=self.folder,
                                   stderr=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True)
        wait_until(lambda: catches(process, number), "catching the signal")
        time.sleep(1.5 if WINDOWS else 0.5)  # under Wine everybody catches signals from the start
        self.assertIsNone(process.poll(), "the run was over before it could be stopped")
        asked = time.monotonic()
        process.send_signal(number)
        _, errors = process.communicate(timeout=60)
        return process.returncode, time.monotonic() - asked, errors

    def assert_clean(self):
        for name in self.files():
            self.assertFalse(name.startswith("."), name)
            if name.startswith("out."):
                pictures.read_png(self.path(name))  # whole, or it would not be there

    def test_ctrl_c_in_a_long_frame_ends_soon_and_leaves_nothing(self):
        pictures.write_png(self.path("layer.png"), np.full((500, 500, 4), 255, np.uint8))
        code, seconds, errors = self.stop(
            signal.SIGINT, "render", "--size", "8000x4000", "--layer", "layer.png", "--degrees",
            "120", "--filtering", "--placement", "tile", "--depth", "float", "--quiet", "-o",
            "out.1.exr")
        self.assertEqual((code, errors), (INTERRUPTED, "veltra: interrupted\n"))
        self.assertLess(seconds, 10)
        self.assertNotIn("out.1.exr", self.files())
        self.assert_clean()

    def test_ctrl_c_in_a_sequence_leaves_whole_frames_only(self):
        code, _, errors = self.stop(signal.SIGINT, "render", "--size", "1500x1500", "--frames",
                                    "1-5000", "--quiet", "-o", "out.#.png")
        self.assertEqual((code, errors), (INTERRUPTED, "veltra: interrupted\n"))
        self.assert_clean()

    def test_what_a_killed_run_left_goes_with_the_next_one(self):
        process = subprocess.Popen([PROGRAM, "render", "--size", "1500x1500", "--frames", "1-5000",
                                    "--quiet", "-o", "out.#.png"], cwd=self.folder)
        def left():
            return [name for name in self.files() if name.startswith(".")]
        stopped = []
        deadline = time.monotonic() + 60
        while not stopped and time.monotonic() < deadline:
            time.sleep(0.01)
            os.kill(process.pid, signal.SIGSTOP)  # so that what is there now stays
            while not all(status.read_text().rsplit(")", 1)[1].split()[0] == "T" for status in
                          pathlib.Path(f"/proc/{process.pid}/task").glob("*/stat")):
                time.sleep(0.001)
            stopped = left()
            os.kill(process.pid, signal.SIGSTOP if stopped else signal.SIGCONT)
        self.assertNotEqual(stopped, [])
        self.run_well(*self.sequence)
        self.assertEqual(left(), stopped, "another run's files are its own as long as it lives")
        process.kill()
        process.wait()
        self.run_well(*self.sequence)
        self.assertEqual(left(), [])

    @posix_only
    def test_being_asked_to_end_is_like_ctrl_c(self):
        code, _, _ = self.stop(signal.SIGTERM, "render", "--size", "1500x1500", "--frames",
                               "1-5000", "--quiet", "-o", "out.#.png")
        self.assertEqual(code, 128 + signal.SIGTERM)
        self.assert_clean()
