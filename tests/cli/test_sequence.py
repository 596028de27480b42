# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Many frames: numbering, what is missing, what is there already, and how many at once."""

import os

import numpy as np

import pictures
from support import ProgramTest

FAILED = 1
USAGE = 2


class Sequences(ProgramTest):

    def write_frames(self, pattern, numbers):
        for number in numbers:
            pixels = np.full((8, 16, 4), [number, 0, 0, 255], np.uint8)
            pictures.write_png(self.path(pattern % number), pixels)

    def outputs(self):
        return [name for name in self.files() if name.startswith("out")]

    def test_frames_of_both_patterns_are_those_on_disk(self):
        self.write_frames("in.%04d.png", (1, 2, 5))
        self.write_frames("in.%05d.png", (7,))  # another sequence
        for pattern in ("in.####.png", "in.%04d.png"):
            self.run_well("render", "-f", pattern, "-o", "out.%02d.png", "--skip-missing")
            self.assertEqual(self.outputs(), ["out.01.png", "out.02.png", "out.05.png"])
            for number in (1, 2, 5):
                out = pictures.read_png(self.path(f"out.{number:02}.png"))
                self.assertEqual(out[0, 0, 0], number)
                os.remove(self.path(f"out.{number:02}.png"))

    def test_range_and_step(self):
        self.write_frames("in.%d.png", range(1, 12))
        self.run_well("render", "-f", "in.#.png", "-o", "out.#.png", "--frames", "2-11x3")
        self.assertEqual(self.outputs(), ["out.11.png", "out.2.png", "out.5.png", "out.8.png"])

    def test_still_frame_with_a_sequence_as_layer(self):
        pictures.write_png(self.path("frame.png"), np.zeros((32, 64, 4), np.uint8))
        self.write_frames("layer.%d.png", (10, 20))
        self.run_well("render", "-f", "frame.png", "--layer", "layer.#.png", "--start", "30%,50%",
                      "--end", "70%,50%", "-o", "out.#.png", "--frames", "10-20x10")
        for number in (10, 20):
            out = pictures.read_png(self.path(f"out.{number}.png"))
            self.assertEqual(out[16, 32, 0], number)

    def test_one_frame_of_a_sequence_into_a_still(self):
        self.write_frames("in.%d.png", (1, 2, 3))
        self.run_well("render", "-f", "in.#.png", "-o", "out.png", "--frames", "2")
        self.assertEqual(pictures.read_png(self.path("out.png"))[0, 0, 0], 2)
        self.assert_fails(USAGE, "needs a place for the frame number", "render", "-f", "in.#.png",
                          "-o", "out.png", "--frames", "1-3")
        self.assert_fails(USAGE, "which frame?", "render", "-f", "in.#.png", "-o", "out.png")

    def test_missing_frames_are_listed_or_skipped(self):
        self.write_frames("in.%d.png", (1, 2, 6, 8))
        self.assert_fails(FAILED, "in.#.png: 5 frames missing: 3-5, 7, 9", "render", "-f",
                          "in.#.png", "-o", "out.#.png", "--frames", "1-9")
        self.assertEqual(self.outputs(), [])
        process = self.run_well("render", "-f", "in.#.png", "-o", "out.#.png", "--frames", "1-9",
                                "--skip-missing")
        self.assertIn("left out 3-5, 7, 9", process.stderr)
        self.assertEqual(len(self.outputs()), 4)
        self.assert_fails(FAILED, "no such files", "render", "-f", "gone.#.png", "-o", "out.#.png")

    def test_hole_in_what_is_on_disk_is_missing_too(self):
        self.write_frames("in.%d.png", (1, 2, 6, 8))
        self.assert_fails(FAILED, "in.#.png: 4 frames missing: 3-5, 7 (", "render", "-f",
                          "in.#.png", "-o", "out.#.png")
        self.assertEqual(self.outputs(), [])
        self.write_frames("every_third.%d.png", (1, 4, 10, 7))
        self.run_well("render", "-f", "every_third.#.png", "-o", "out.#.png")
        self.assertEqual(len(self.outputs()), 4)

    def test_resume_renders_only_what_is_not_there(self):
        self.write_frames("in.%d.png", (1, 2, 3))
        (self.folder / "out.2.png").write_text("kept")
        self.run_well("render", "-f", "in.#.png", "-o", "out.#.png", "--resume")
        self.assertEqual(len(self.outputs()), 3)
        self.assertEqual((self.folder / "out.2.png").read_text(), "kept")
        self.run_well("render", "-f", "in.#.png", "-o", "out.#.png", "--resume")

    def test_no_clobber_lists_what_is_there(self):
        self.write_frames("in.%d.png", (1, 2, 3))
        (self.folder / "out.2.png").write_text("kept")
        self.assert_fails(FAILED, "out.#.png: already there: 2", "render", "-f", "in.#.png", "-o",
                          "out.#.png", "--no-clobber")
        self.assertEqual(self.outputs(), ["out.2.png"])

    def test_file_that_looks_like_a_pattern_is_taken_as_it_is(self):
        self.write_frames("take #%d.png", (4,))
        self.run_well("render", "-f", "take #4.png", "-o", "out.png")
        self.assertEqual(pictures.read_png(self.path("out.png"))[0, 0, 0], 4)

    def test_number_of_frames_in_flight_does_not_change_the_pictures(self):
        self.write_frames("in.%d.png", range(1, 9))
        self.write_frames("layer.%d.png", range(1, 9))
        results = []
        for at_once, threads in ((1, 1), (1, 4), (3, 2), (8, 8)):
            self.run_well("render", "-f", "in.#.png", "--layer", "layer.#.png", "-o", "out.#.png",
                          "--concurrent-frames", at_once, "--threads", threads)
            results.append([(self.folder / f"out.{n}.png").read_bytes() for n in range(1, 9)])
        for result in results[1:]:
            self.assertEqual(result, results[0])

    def test_frames_needed_are_asked_for(self):
        self.write_frames("in.%d.png", (1,))
        self.assert_fails(USAGE, "which frames?", "render", "-f", "in.1.png", "-o", "out.#.png")
        self.assert_fails(USAGE, "more than one place", "render", "-f", "in.1.png", "-o",
                          "out.#.#.png", "--frames", "1-2")
