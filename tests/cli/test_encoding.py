# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What videos are written as: encoders, depth, colour, alpha and sound of each container."""

import json
import os
import shutil
import subprocess
import unittest

import numpy as np

import pictures
from support import ProgramTest

FAILED = 1
KINDS = (".mp4", ".mov", ".m4v", ".mkv", ".webm", ".avi", ".mpg", ".mxf")
WIDTH, HEIGHT = 256, 128


@unittest.skipUnless(shutil.which("ffmpeg") and shutil.which("ffprobe"), "ffmpeg is not installed")
class Encodings(ProgramTest):

    def ffmpeg(self, *arguments):
        subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments], cwd=self.folder, check=True)

    def make_video(self, name, *options, sound=None, frames=5):
        source = ["-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=25:d={frames / 25}"]
        if sound is not None:
            source += ["-f", "lavfi", "-t", str(frames / 25), "-i", "sine=440", "-c:a", *sound]
        self.ffmpeg(*source, *options, name)

    def make_pictures(self, rgba, frames=2, dtype=np.uint8):
        for number in range(1, frames + 1):
            pictures.write_png(self.path(f"in.{number}.png"),
                               np.full((HEIGHT, WIDTH, len(rgba)), rgba, dtype))

    def streams(self, name):
        out = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_streams", "-of",
                              "json", name], cwd=self.folder, check=True, capture_output=True)
        return {s["codec_type"]: s for s in json.loads(out.stdout)["streams"]}

    def decoded(self, name, *options, pixel="rgba64le"):
        self.ffmpeg(*options, "-i", name, "-f", "rawvideo", "-pix_fmt", pixel, "raw")
        data = np.fromfile(self.path("raw"), np.uint16 if pixel == "rgba64le" else np.uint8)
        os.remove(self.path("raw"))
        return data.reshape(-1, HEIGHT, WIDTH, 4)

    def test_every_container_keeps_the_picture_closely_and_has_sound(self):
        self.make_video("in.mov", "-c:v", "libx264", "-crf", "1", "-pix_fmt", "yuv420p",
                        sound=("pcm_s16le",))
        before = self.decoded("in.mov", pixel="rgba").astype(float).mean(axis=3)
        for kind in KINDS:
            with self.subTest(kind=kind):
                done = self.run_well("render", "-f", "in.mov", "-o", "out" + kind)
                after = self.decoded("out" + kind, pixel="rgba").astype(float).mean(axis=3)
                self.assertEqual(after.shape, before.shape)
                noise = 10 * np.log10(255 ** 2 / np.mean((after - before) ** 2))
                self.assertGreater(noise, 34, kind)
                self.assertIn("audio", self.streams("out" + kind))
                fits = kind in (".mov", ".mkv", ".avi")
                self.assertEqual("the sound is converted from pcm_s16le to" in done.stderr,
                                 not fits, done.stderr)

    def test_sound_that_fits_is_copied_even_beside_sound_that_does_not(self):
        self.make_video("in.mkv", "-c:v", "libx264", sound=("libopus",))
        self.run_well("render", "-f", "in.mkv", "-o", "out.webm")
        for name in ("in.mkv", "out.webm"):
            self.ffmpeg("-i", name, "-map", "0:a", "-c", "copy", "-f", "data", name + ".sound")
        self.assertEqual((self.folder / "in.mkv.sound").read_bytes(),
                         (self.folder / "out.webm.sound").read_bytes())
        done = self.run_well("render", "-f", "in.mkv", "-o", "own.mov", "--video-options",
                             "-c:a aac")
        self.assertEqual(self.streams("own.mov")["audio"]["codec_name"], "aac")
        self.assertNotIn("converted", done.stderr)

    def test_fine_colour_and_depth_are_kept_or_their_loss_is_said(self):
        keeps = {"yuv422p": KINDS, "yuv444p10le": [k for k in KINDS if k != ".mpg"],
                 "yuv444p12le": [".webm"]}
        for source, keeping in keeps.items():
            encoder = "ffv1" if "12" in source else "libx264"
            self.make_video("in.mkv", "-c:v", encoder, "-pix_fmt", source)
            for kind in (".mp4", ".webm", ".avi", ".mpg", ".mxf"):
                with self.subTest(source=source, kind=kind):
                    done = self.run_well("render", "-f", "in.mkv", "-o", "out" + kind)
                    written = self.streams("out" + kind)["video"]["pix_fmt"]
                    if kind in keeping:
                        self.assertIn(written, (source, source + "10le"))
                        self.assertNotIn("less than", done.stderr)
                    else:
                        self.assertIn("less than the frames'", done.stderr, written)

    def test_video_without_tags_counts_as_players_count_it_and_stays_without(self):
        for size, matrix in (("256x128", "bt601"), ("1440x720", "bt709")):
            self.ffmpeg("-f", "lavfi", "-i", f"color=0xC83C1E:s={size}:d=0.08", "-vf",
                        f"scale=out_color_matrix={matrix}", "-c:v", "libx264", "-crf", "1",
                        "-pix_fmt", "yuv420p", "in.mp4")
            self.run_well("render", "-f", "in.mp4", "--frames", "1", "-o", "out.png")
            red = pictures.read_png(self.path("out.png"))[60, 100, :3].astype(int)
            np.testing.assert_allclose(red, (200, 60, 30), atol=5)
            self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", "--video-options", "-crf 1")
            self.assertNotIn("color_space", self.streams("out.mp4")["video"])
            planes = []
            for name in ("in.mp4", "out.mp4"):
                self.ffmpeg("-i", name, "-f", "rawvideo", "-pix_fmt", "yuv420p", "raw")
                planes.append(np.fromfile(self.path("raw"), np.uint8).astype(int))
            np.testing.assert_allclose(planes[0], planes[1], atol=2)

    def test_the_rate_that_is_asked_for_is_the_only_one(self):
        """An encoder that is told two ways to choose a rate takes one, and not the later one."""
        self.ffmpeg("-f", "lavfi", "-i", "testsrc2=s=256x128:d=0.2", "-pix_fmt", "yuv420p",
                    "in.mp4")
        planes = []
        for output, options in (("out.mkv", "-c:v ffv1"), ("out.mp4", "-qp 0")):
            self.run_well("render", "-f", "in.mp4", "-o", output, "--video-options", options)
            self.ffmpeg("-i", output, "-f", "rawvideo", "-pix_fmt", "yuv420p", "raw")
            planes.append(np.fromfile(self.path("raw"), np.uint8))
        np.testing.assert_array_equal(planes[0], planes[1])
        self.run_well("render", "-f", "in.mp4", "-o", "small.mp4", "--video-options", "-b:v 50k")
        self.run_well("render", "-f", "in.mp4", "-o", "large.mp4")
        self.assertLess(2 * os.path.getsize(self.path("small.mp4")),
                        os.path.getsize(self.path("large.mp4")))

    def test_pictures_become_bt709_in_limited_range_and_say_so(self):
        self.make_pictures((200, 60, 30))
        for kind in (".mp4", ".mov", ".webm", ".avi", ".mpg", ".mxf"):
            with self.subTest(kind=kind):
                self.run_well("render", "-f", "in.#.png", "-o", "out" + kind)
                video = self.streams("out" + kind)["video"]
                self.assertEqual([video.get(tag) for tag in ("color_space", "color_primaries",
                                                             "color_transfer", "color_range")],
                                 ["bt709", "bt709", "bt709", "tv"])
                after = self.decoded("out" + kind, pixel="rgba")[0, 60, 100, :3]
                np.testing.assert_allclose(after.astype(int), (200, 60, 30), atol=3)
                self.ffmpeg("-i", "out" + kind, "-f", "rawvideo", "-pix_fmt", "yuv444p", "raw")
                luma = np.fromfile(self.path("raw"), np.uint8)[60 * WIDTH + 100]
                self.assertAlmostEqual(luma, 16 + 219 * (0.2126 * 200 + 0.7152 * 60 + 0.0722 * 30)
                                       / 255, delta=2)

    def test_full_range_and_other_colours_only_when_asked_for(self):
        self.make_pictures((255, 255, 255))
        self.run_well("render", "-f", "in.#.png", "-o", "out.mp4", "--video-options",
                      "-color_range pc -colorspace bt2020nc")
        video = self.streams("out.mp4")["video"]
        self.assertEqual((video["color_range"], video["color_space"]), ("pc", "bt2020nc"))
        self.ffmpeg("-i", "out.mp4", "-vf", "extractplanes=y", "-f", "rawvideo", "raw")
        self.assertGreater(np.fromfile(self.path("raw"), np.uint8).min(), 252)

    def test_alpha_is_kept_where_the_container_can_and_its_loss_is_said(self):
        self.make_pictures((200, 60, 30, 100))
        for kind in (".mp4", ".mov", ".mkv", ".webm", ".mpg"):
            with self.subTest(kind=kind):
                done = self.run_well("render", "-f", "in.#.png", "-o", "out" + kind)
                if kind in (".mov", ".webm"):
                    self.assertNotIn("alpha", done.stderr)
                    self.run_well("render", "-f", "out" + kind, "--frames", "2", "-o", "back.png")
                    back = pictures.read_png(self.path("back.png"))
                    back = back // 257 if back.dtype == np.uint16 else back
                    np.testing.assert_allclose(back[60, 100].astype(int), (200, 60, 30, 100),
                                               atol=3)
                else:
                    self.assertIn("the alpha is left out (.mov and .webm keep it)", done.stderr)
        self.make_pictures((200, 60, 30, 255))
        for kind in (".mp4", ".mkv"):
            done = self.run_well("render", "-f", "in.#.png", "-o", "out" + kind)
            self.assertNotIn("alpha", done.stderr)

    def test_alpha_of_a_layer_alone_is_kept(self):
        self.make_pictures((9, 9, 9))
        pictures.write_png(self.path("layer.png"), np.full((8, 8, 3), 255, np.uint8))
        self.run_well("render", "-f", "in.#.png", "--layer", "layer.png", "--no-composite",
                      "-o", "out.mov")
        alpha = self.decoded("out.mov")[..., 3]
        self.assertEqual((alpha.min(), alpha.max() >> 8), (0, 255))

    def test_alpha_goes_from_video_to_video(self):
        self.make_pictures((200, 60, 30, 100))
        self.run_well("render", "-f", "in.#.png", "-o", "a.webm")
        self.run_well("render", "-f", "a.webm", "-o", "b.mov")
        self.run_well("render", "-f", "b.mov", "-o", "c.webm")
        picture = self.decoded("c.webm", "-c:v", "libvpx-vp9", pixel="rgba")[1, 60, 100]
        np.testing.assert_allclose(picture.astype(int), (200, 60, 30, 100), atol=4)
        done = self.run_well("render", "-f", "b.mov", "-o", "d.mp4")
        self.assertIn("the alpha is left out", done.stderr)

    def test_what_a_container_cannot_hold_is_refused_before_anything_is_written(self):
        pictures.write_png(self.path("in.1.png"), np.zeros((64, 128, 3), np.uint8))
        self.assert_fails(FAILED, "out.mxf: frames of 128x64 are too small", "render", "-f",
                          "in.#.png", "-o", "out.mxf", "--quiet")
        self.assertEqual(self.files(), ["in.1.png"])


if __name__ == "__main__":
    unittest.main()
