# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Views out of 360-degree frames, and comparisons of pictures."""

import shutil
import subprocess
import unittest

import numpy as np

import pictures
from support import WINDOWS, ProgramTest, gradient


def sphere(width, height):
    """Every pixel's colour is its direction: red right, green up, blue to the frame's centre."""
    longitude = ((np.arange(width) + 0.5) / width - 0.5) * 2 * np.pi
    latitude = (0.5 - (np.arange(height) + 0.5) / height) * np.pi
    longitude, latitude = np.meshgrid(longitude, latitude)
    return np.stack([np.sin(longitude) * np.cos(latitude), np.sin(latitude),
                     np.cos(longitude) * np.cos(latitude)], axis=2).astype(np.float32)


def camera(width, height, yaw, pitch, fov):
    """The directions of a view's pixels, worked out by turning vectors."""
    step = 2 * np.tan(np.radians(fov) / 2) / width
    x, y = np.meshgrid((np.arange(width) + 0.5 - width / 2) * step,
                       (height / 2 - np.arange(height) - 0.5) * step)
    rays = np.stack([x, y, np.ones_like(x)], axis=2)
    yaw, pitch = np.radians([yaw, pitch])
    up = np.array([[1, 0, 0], [0, np.cos(pitch), np.sin(pitch)],
                   [0, -np.sin(pitch), np.cos(pitch)]])
    right = np.array([[np.cos(yaw), 0, np.sin(yaw)], [0, 1, 0], [-np.sin(yaw), 0, np.cos(yaw)]])
    rays = rays @ up.T @ right.T
    return rays / np.linalg.norm(rays, axis=2, keepdims=True)


class View(ProgramTest):

    def test_every_pixel_shows_its_direction(self):
        pictures.write_exr(self.path("in.exr"), sphere(720, 360))
        for yaw, pitch, fov in ((0, 0, 90), (180, 0, 60), (-75, 35, 110), (20, 90, 100),
                                (300, -88, 40)):
            self.run_well("view", "-f", "in.exr", "-o", "out.exr", "--size", "64x40", "--yaw", yaw,
                          "--pitch", pitch, "--fov", fov, "--output-depth", "float")
            out, _ = pictures.read_exr(self.path("out.exr"))
            np.testing.assert_allclose(out[:, :, :3], camera(64, 40, yaw, pitch, fov), atol=2e-3)
            np.testing.assert_array_equal(out[:, :, 3], 1)

    def test_a_small_view_averages_and_a_large_one_has_no_new_values(self):
        frame = np.zeros((256, 512, 4), np.uint8)
        frame[:, ::2] = 255  # one column black, one white: grey from afar
        frame[:, :, 3] = 255
        pictures.write_png(self.path("in.png"), frame)
        self.run_well("view", "-f", "in.png", "-o", "small.png", "--size", "16x16")
        small = pictures.read_png(self.path("small.png"))
        self.assertLess(np.abs(small[:, :, :3].astype(int) - 128).max(), 40)
        frame[:, :, :3] = 100
        frame[:, 200:300, :3] = 180
        pictures.write_png(self.path("in.png"), frame)
        self.run_well("view", "-f", "in.png", "-o", "large.png", "--size", "400x300", "--fov", "40")
        large = pictures.read_png(self.path("large.png"))[:, :, :3]
        self.assertGreaterEqual(large.min(), 100)
        self.assertLessEqual(large.max(), 180)

    def test_the_globe_shows_the_near_half_and_nothing_beside(self):
        pictures.write_exr(self.path("in.exr"), sphere(720, 360))
        self.run_well("view", "-f", "in.exr", "-o", "out.exr", "--globe", "--size", "61x41",
                      "--output-depth", "float")
        out, _ = pictures.read_exr(self.path("out.exr"))
        np.testing.assert_allclose(out[20, 30], [0, 0, 1, 1], atol=5e-3)
        self.assertGreater(out[20, 40, 0], 0.4)  # right is right, as on a printed ball
        np.testing.assert_array_equal(out[0, 0], 0)
        self.assertTrue(((out[:, :, 3] > 0) & (out[:, :, 3] < 1)).any())  # a smooth edge

    def test_alpha_weighs_colour(self):
        frame = np.zeros((32, 64, 4), np.uint8)
        frame[:, :, 0] = 255  # red, but nothing of it is there
        frame[:, 32:] = (0, 0, 200, 255)
        pictures.write_png(self.path("in.png"), frame)
        self.run_well("view", "-f", "in.png", "-o", "out.png", "--size", "50x50")
        out = pictures.read_png(self.path("out.png"))
        seen = out[:, :, 3] > 0
        self.assertTrue(seen.any() and not seen.all())
        np.testing.assert_array_equal(out[seen][:, 0], 0)

    def test_sequences_come_out_as_sequences(self):
        for number in (3, 4):
            pictures.write_png(self.path(f"in.{number}.png"), np.full((8, 16, 4), 40 * number,
                                                                      np.uint8))
        self.run_well("view", "-f", "in.#.png", "-o", "out.##.png", "--size", "6x4")
        for number in (3, 4):
            np.testing.assert_array_equal(pictures.read_png(self.path(f"out.0{number}.png")),
                                          np.full((4, 6, 4), 40 * number))

    @unittest.skipUnless(shutil.which("ffmpeg"), "needs ffmpeg")
    @unittest.skipIf(WINDOWS, "there is no ffmpeg for Windows here")
    def test_videos_come_out_flat(self):
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=128x64:d=0.2",
                        self.path("in.mp4")], check=True)
        self.run_well("view", "-f", "in.mp4", "-o", "out.mp4", "--size", "96x54")
        told = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_entries",
                               "stream=width,height,nb_read_frames", "-of", "csv=p=0",
                               self.path("out.mp4")], check=True, capture_output=True, text=True)
        self.assertEqual(told.stdout.strip(), "96,54,5")

    def test_wrong_values_are_told(self):
        pictures.write_png(self.path("in.png"), gradient(8, 4, 4, np.uint8))
        for message, options in (("--fov: '180' is out of range", ["--fov", "180"]),
                                 ("--pitch: '-91' is out of range", ["--pitch", "-91"]),
                                 ("--size: ", ["--size", "4k"]),
                                 ("--fov: a globe", ["--globe", "--fov", "60"])):
            self.assert_fails(2, message, "view", "-f", "in.png", "-o", "out.png", *options)
        self.assert_fails(2, "give --output", "view", "-f", "in.png")
        self.assertEqual(self.files(), ["in.png"])


class Compare(ProgramTest):

    def setUp(self):
        super().setUp()
        self.frame = gradient(20, 10, 4, np.uint8)
        pictures.write_png(self.path("a.png"), self.frame)
        self.changed = self.frame.copy()
        self.changed[6, 13, 1] += 4
        self.changed[2, 3, 3] -= 1
        pictures.write_png(self.path("b.png"), self.changed)

    def test_equal_pictures_are_equal_in_every_format(self):
        self.run_well("render", "-f", "a.png", "-o", "a.tif")
        process = self.run_well("compare", "a.png", "a.tif")
        self.assertEqual(process.stdout, "a.png and a.tif: equal\n")

    def test_the_worst_pixel_is_told_with_its_place_and_values(self):
        process = self.run_program("compare", "a.png", "b.png")
        self.assertEqual(process.returncode, 1)
        a, b = (" ".join(map(str, picture[6, 13])) for picture in (self.frame, self.changed))
        self.assertIn(f"worst 0.0156863 at 13,6 ({a} and {b}), 2 pixels, PSNR ", process.stdout)
        psnr = -10 * np.log10(((4 / 255) ** 2 + (1 / 255) ** 2) / self.frame.size)
        self.assertIn(f"PSNR {psnr:.2f} dB", process.stdout)

    def test_the_threshold_decides(self):
        for threshold, code in (("0.015", 1), ("0.016", 0), ("3/255", 1), ("5/255", 0)):
            process = self.run_program("compare", "a.png", "b.png", "--threshold", threshold)
            self.assertEqual(process.returncode, code, process.stdout)

    def test_the_difference_is_a_picture(self):
        self.run_program("compare", "a.png", "b.png", "--difference", "d.png")
        out = pictures.read_png(self.path("d.png"))
        self.assertEqual(tuple(out[6, 13, :3]), (0, 255, 0))
        self.assertEqual(tuple(out[2, 3, :3]), (64, 64, 64))
        self.assertEqual(out[:, :, :3].sum(), 255 + 3 * 64)

    def test_nan_and_infinity_are_no_way_round(self):
        frame = np.zeros((4, 4, 3), np.float32)
        frame[0, 0] = np.nan
        frame[1, 1] = np.inf
        pictures.write_exr(self.path("a.exr"), frame)
        self.assertIn("equal", self.run_well("compare", "a.exr", "a.exr").stdout)
        frame[0, 0] = 0
        pictures.write_exr(self.path("b.exr"), frame)
        process = self.run_program("compare", "a.exr", "b.exr", "--threshold", "1000")
        self.assertEqual(process.returncode, 1)
        self.assertIn("worst inf at 0,0", process.stdout)

    def test_sequences_are_compared_frame_by_frame(self):
        for number in (1, 2, 3):
            shutil.copy(self.path("a.png"), self.path(f"x.{number}.png"))
            shutil.copy(self.path("b.png" if number == 2 else "a.png"), self.path(f"y.{number}.png"))
        process = self.run_program("compare", "x.#.png", "y.#.png", "--difference", "d.#.png")
        self.assertEqual(process.returncode, 1)
        self.assertIn("3 frames, 1 beyond the threshold, worst 0.0156863 in frame 2",
                      process.stdout)
        self.assertTrue((self.folder / "d.3.png").exists())
        self.run_well("compare", "x.#.png", "y.#.png", "--frames", "1-3x2")
        (self.folder / "y.3.png").unlink()
        self.assert_fails(1, "y.3.png: no such file", "compare", "x.#.png", "y.#.png", "--threshold",
                          "1")

    @unittest.skipUnless(shutil.which("ffmpeg"), "needs ffmpeg")
    @unittest.skipIf(WINDOWS, "there is no ffmpeg for Windows here")
    def test_videos_are_compared_frame_by_frame(self):
        for name, frames, filters in (("a", 3, "null"), ("same", 3, "null"), ("short", 2, "null"),
                                      ("b", 3, "drawbox=0:0:8:8:red:fill:enable='eq(n,1)'")):
            subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                            "testsrc=size=64x32:rate=24", "-vf", filters, "-frames:v", str(frames),
                            "-c:v", "ffv1", "-pix_fmt", "bgr0", self.path(name + ".mkv")], check=True)
        told = self.run_well("compare", "a.mkv", "same.mkv").stdout
        self.assertIn("3 frames, none beyond the threshold", told)
        process = self.run_program("compare", "a.mkv", "b.mkv")
        self.assertEqual(process.returncode, 1)
        self.assertIn("3 frames, 1 beyond the threshold", process.stdout)
        self.assertIn("in frame 2", process.stdout)
        for pair, missing in ((("a.mkv", "short.mkv"), "short.mkv"),
                              (("short.mkv", "a.mkv"), "short.mkv")):
            process = self.run_program("compare", *pair)
            self.assertEqual(process.returncode, 1)
            self.assertIn(f"{missing}: has no frame 3, which the other one has", process.stderr)

    def test_what_cannot_be_compared_is_told(self):
        pictures.write_png(self.path("small.png"), gradient(5, 5, 4, np.uint8))
        self.assert_fails(1, "small.png: 5x5, but a.png is 20x10", "compare", "a.png", "small.png")
        self.assert_fails(1, "none.png: ", "compare", "a.png", "none.png")
        self.assert_fails(2, "give two pictures", "compare", "a.png")


if __name__ == "__main__":
    unittest.main()
