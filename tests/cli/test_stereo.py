# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Frames of two eyes: each eye is what a frame of its own would be."""

import json
import unittest

import numpy as np

import pictures
from support import ProgramTest

USAGE = 2


class Stereo(ProgramTest):
    def setUp(self):
        super().setUp()
        noise = np.random.default_rng(3)
        self.eyes = [noise.integers(0, 256, (32, 64, 4), dtype=np.uint8) for _ in range(2)]
        for eye in self.eyes:
            eye[..., 3] = 255
        pictures.write_png(self.path("both.png"), np.concatenate(self.eyes, axis=0))
        pictures.write_png(self.path("beside.png"), np.concatenate(self.eyes, axis=1))
        for name, eye in zip(("left.png", "right.png"), self.eyes):
            pictures.write_png(self.path(name), eye)
        pictures.write_png(self.path("layer.png"),
                           noise.integers(0, 256, (20, 50, 4), dtype=np.uint8))

    def render(self, frame, *options, start="-50deg,-10deg", end="70deg,30deg"):
        self.run_well("render", "-f", frame, "--layer", "layer.png", "--start", start, "--end", end,
                      *options, "-o", "out.png", "--quiet")
        return pictures.read_png(self.path("out.png"))

    def test_each_eye_is_what_a_frame_of_its_own_would_be(self):
        for options in ((), ("--placement", "tile", "--filtering"), ("--depth", "16"),
                        ("--downsample", "2"), ("--classic",), ("--no-composite",)):
            with self.subTest(options=options):
                left, right = (self.render(name, *options) for name in ("left.png", "right.png"))
                stacked = self.render("both.png", "--stereo", "top-bottom", *options)
                np.testing.assert_array_equal(stacked, np.concatenate((left, right), axis=0))
                beside = self.render("beside.png", "--stereo", "left-right", *options)
                np.testing.assert_array_equal(beside, np.concatenate((left, right), axis=1))

    def test_disparity_turns_the_eyes_points_to_each_other(self):
        near = self.render("both.png", "--stereo", "top-bottom", "--disparity", "4.5")
        left = self.render("left.png", start="-45.5deg,-10deg", end="74.5deg,30deg")
        right = self.render("right.png", start="-54.5deg,-10deg", end="65.5deg,30deg")
        np.testing.assert_array_equal(near, np.concatenate((left, right), axis=0))

    def test_points_that_nobody_set_are_turned_too(self):
        self.run_well("render", "-f", "both.png", "--layer", "layer.png", "--stereo", "top-bottom",
                      "--disparity", "9", "-o", "out.png")
        near = pictures.read_png(self.path("out.png"))
        x = (54 + 2.5, 91 + 2.5)
        left = self.render("left.png", start=f"{x[0]}%,17%", end=f"{x[1]}%,67%")
        # A percentage rounds to the host's fixed point before and not after the turn.
        np.testing.assert_allclose(near[:32].astype(int), left.astype(int), atol=1)
        self.assertGreater(np.count_nonzero(near[:32] != near[32:]), 100)

    def test_sequences_layers_in_a_list_and_keyframes(self):
        for number in (1, 2):
            pictures.write_png(self.path(f"s.{number}.png"), np.concatenate(self.eyes, axis=0))
        controls = {"layer": "layer.png", "placement": "solo", "start": "-50deg,-10deg",
                    "travel": {"keys": [{"frame": 1, "value": 10}, {"frame": 2, "value": 80}]}}
        scene = {"version": 1, "layers": [{"controls": controls},
                                          {"controls": dict(controls, degrees=60)}]}
        (self.folder / "scene.json").write_text(json.dumps(scene))
        run = ("render", "scene.json", "--frames", "1-2")
        self.run_well(*run, "-f", "s.#.png", "-o", "two.#.png", "--stereo", "top-bottom",
                      "--disparity", "3", "--concurrent-frames", "2")
        for number in (1, 2):
            both = pictures.read_png(self.path(f"two.{number}.png"))
            for turn, name, part in ((3, "left.png", both[:32]), (-3, "right.png", both[32:])):
                turned = json.loads(json.dumps(scene))
                for layer in turned["layers"]:
                    layer["controls"]["start"] = f"{-50 + turn}deg,-10deg"
                    layer["controls"]["end"] = [f"{91 + turn / 3.6}%", "67%"]
                (self.folder / "one.json").write_text(json.dumps(turned))
                self.run_well("render", "one.json", "-f", name, "--frames", number, "-o", "e.#.png")
                np.testing.assert_allclose(part.astype(int), pictures.read_png(
                    self.path(f"e.{number}.png")).astype(int), atol=1)

    def test_what_cannot_be_is_refused(self):
        def refuse(message, *options):
            self.assert_fails(USAGE, message, "render", "--layer", "layer.png", "-o", "x.png",
                              *options)
        pictures.write_png(self.path("odd.png"), np.zeros((31, 63, 4), dtype=np.uint8))
        refuse("a frame of 63x31 has no two equal halves above each other (expected a height that "
               "2 divides)", "-f", "odd.png", "--stereo", "top-bottom")
        refuse("beside each other (expected a width", "-f", "odd.png", "--stereo", "left-right")
        refuse("at 1/48 of its resolution", "-f", "both.png", "--stereo", "left-right", "--downsample",
               "48")
        refuse("leave --region out", "-f", "both.png", "--stereo", "top-bottom", "--region",
               "0,0,8,8")
        refuse("add --stereo", "-f", "both.png", "--disparity", "1")
        refuse("--disparity: '46' is not in range", "-f", "both.png", "--disparity", "46")
        refuse("half a sphere", "-f", "both.png", "--stereo", "vr180")
        refuse("'sbs' is not a layout of two eyes (expected top-bottom or left-right)", "-f",
               "both.png", "--stereo", "sbs")
        self.assertFalse((self.folder / "x.png").exists())


if __name__ == "__main__":
    unittest.main()
