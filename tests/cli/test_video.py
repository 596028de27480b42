# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Videos through ffmpeg: frames, sound, colours and projection."""

import json
import os
import shutil
import signal
import struct
import subprocess
import time
import unittest

import numpy as np

import pictures
from support import PROGRAM, ProgramTest, catches, wait_until

FAILED = 1
USAGE = 2


# ---- The boxes of an MP4 ----

def box(kind, content):
    return struct.pack(">I", 8 + len(content)) + kind + content


def boxes(data):
    at = 0
    while at + 8 <= len(data):
        size = struct.unpack(">I", data[at:at + 4])[0] or len(data) - at
        yield data[at + 4:at + 8], data[at + 8:at + size]
        at += size


def changed(data, path, change):
    """The boxes with the first one along the path changed; of tracks the one with video."""
    out = b""
    done = False
    for kind, content in boxes(data):
        if kind == path[0] and not done and (kind != b"trak" or b"vide" in content):
            done = True
            content = change(content) if len(path) == 1 else changed(content, path[1:], change)
        out += box(kind, content)
    return out


def add_projection(source, target, uuid=False):
    """Tags a video whose index is at its end: top and bottom, turned by 10 and 20 degrees."""
    version = b"\0\0\0\0"
    pose = struct.pack(">iii", 10 << 16, 20 << 16, 0)
    addition = box(b"st3d", version + b"\1") + box(b"sv3d", box(b"svhd", version + b"test\0") + box(
        b"proj", box(b"prhd", version + pose) + box(b"equi", version + b"\0" * 16)))

    def describe(content):
        entry = content[8:]
        return content[:8] + box(entry[4:8], entry[8:] + addition)

    with open(source, "rb") as file:
        data = file.read()
    if uuid:
        xml = (b"\xff\xcc\x82\x63\xf8\x55\x4a\x93\x88\x14\x58\x7a\x02\x52\x1f\xdd"
               b"<?xml version=\"1.0\"?><rdf:SphericalVideo "
               b"xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\" "
               b"xmlns:GSpherical=\"http://ns.google.com/videos/1.0/spherical/\">"
               b"<GSpherical:Spherical>true</GSpherical:Spherical>"
               b"<GSpherical:StitchingSoftware>test</GSpherical:StitchingSoftware>"
               b"<GSpherical:Stitched>true</GSpherical:Stitched>"
               b"<GSpherical:ProjectionType>equirectangular</GSpherical:ProjectionType>"
               b"</rdf:SphericalVideo>")
        data = changed(data, [b"moov", b"trak"], lambda content: content + box(b"uuid", xml))
    else:
        data = changed(data, [b"moov", b"trak", b"mdia", b"minf", b"stbl", b"stsd"], describe)
    with open(target, "wb") as file:
        file.write(data)


def turn(source, target, matrix):
    """Tags a video to be shown turned: the first four entries of its track's matrix."""
    a, b, c, d = matrix
    entries = struct.pack(">9i", a << 16, b << 16, 0, c << 16, d << 16, 0, 0, 0, 1 << 30)

    def tag(content):
        return content[:40] + entries + content[76:]

    with open(source, "rb") as file:
        data = file.read()
    with open(target, "wb") as file:
        file.write(changed(data, [b"moov", b"trak", b"tkhd"], tag))


@unittest.skipUnless(shutil.which("ffmpeg") and shutil.which("ffprobe"), "ffmpeg is not installed")
class Videos(ProgramTest):

    def ffmpeg(self, *arguments):
        subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments], cwd=self.folder, check=True)

    def make_video(self, name="in.mp4", frames=20, colour="0xB45A3C", sound=True, options=()):
        """Frames of one colour with a white bar that is as wide as the frame's number."""
        raw = np.zeros((frames, 64, 128, 3), np.uint8)
        raw[:] = [int(colour[i:i + 2], 16) for i in (2, 4, 6)]
        for number in range(frames):
            raw[number, :16, :4 * (number + 1)] = 255
        raw.tofile(self.path("raw"))
        source = ["-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "128x64", "-r", "25", "-i", "raw"]
        if sound:
            source += ["-f", "lavfi", "-t", str(frames / 25), "-i", "sine=440", "-c:a", "aac"]
        self.ffmpeg(*source, "-c:v", "libx264", "-crf", "1", "-pix_fmt", "yuv420p", *options, name)
        os.remove(self.path("raw"))

    def probe(self, name):
        out = subprocess.run(["ffprobe", "-v", "error", "-count_frames", "-show_streams", "-of",
                              "json", name], cwd=self.folder, check=True, capture_output=True)
        streams = json.loads(out.stdout)["streams"]
        return {stream["codec_type"]: stream for stream in streams}

    def frames(self, name):
        info = self.probe(name)["video"]
        return self.upright_frames(name, (info["height"], info["width"]))

    def upright_frames(self, name, size):
        """As they are shown, whatever way the camera was held."""
        self.ffmpeg("-i", name, "-f", "rawvideo", "-pix_fmt", "rgb24", "raw")
        data = np.fromfile(self.path("raw"), np.uint8)
        os.remove(self.path("raw"))
        return data.reshape(-1, *size, 3)

    def bar(self, picture):
        """The frame number that a picture's bar shows."""
        return int(round((picture[8, :, 2] > 200).sum() / 4))

    def test_every_frame_comes_out_in_order_with_its_sound(self):
        self.make_video()
        self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", "--concurrent-frames", "4")
        self.assertEqual([self.bar(f) for f in self.frames("out.mp4")], list(range(1, 21)))
        probe = self.probe("out.mp4")
        self.assertEqual(probe["video"]["r_frame_rate"], "25/1")
        for name in ("in.mp4", "out.mp4"):
            self.ffmpeg("-i", name, "-map", "0:a", "-c", "copy", name + ".aac")
        self.assertEqual((self.folder / "in.mp4.aac").read_bytes(),
                         (self.folder / "out.mp4.aac").read_bytes())
        self.assertEqual([name for name in self.files() if name.startswith(".")], [])

    def test_layer_is_placed_in_every_frame(self):
        self.make_video(frames=3)
        pictures.write_png(self.path("layer.png"),
                           np.full((16, 32, 4), [0, 0, 255, 255], np.uint8))
        self.run_well("render", "-f", "in.mp4", "--layer", "layer.png", "--start", "30%,50%",
                      "--end", "70%,50%", "-o", "out.mp4")
        for picture in self.frames("out.mp4"):
            self.assertGreater(picture[32, 64, 2], 200)
            self.assertLess(picture[32, 64, 0], 60)

    def test_range_of_frames_counts_from_one(self):
        self.make_video()
        self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", "--frames", "5-8")
        self.assertEqual([self.bar(f) for f in self.frames("out.mp4")], [5, 6, 7, 8])
        duration = float(self.probe("out.mp4")["audio"]["duration"])
        self.assertAlmostEqual(duration, 4 / 25, delta=0.06)
        self.assert_fails(FAILED, "has no frame 21", "render", "-f", "in.mp4", "-o", "out.mp4",
                          "--frames", "21-22", "--quiet")

    def test_video_to_sequence_and_back(self):
        self.make_video(frames=4, sound=False)
        self.run_well("render", "-f", "in.mp4", "-o", "s.#.png")
        for number in range(1, 5):
            self.assertEqual(self.bar(pictures.read_png(self.path(f"s.{number}.png"))), number)
        self.run_well("render", "-f", "s.#.png", "-o", "out.mov", "--rate", "30000/1001")
        self.assertEqual([self.bar(f) for f in self.frames("out.mov")], [1, 2, 3, 4])
        self.assertEqual(self.probe("out.mov")["video"]["r_frame_rate"], "30000/1001")

    def test_layer_can_be_a_video_that_ends_early(self):
        self.make_video(frames=3, sound=False)
        pictures.write_png(self.path("f.png"), np.full((64, 128, 4), [9, 9, 9, 255], np.uint8))
        self.run_well("render", "-f", "f.png", "--layer", "in.mp4", "--start", "30%,50%", "--end",
                      "70%,50%", "--frames", "1-5", "-o", "o.#.png")
        reds = [pictures.read_png(self.path(f"o.{n}.png"))[36, 64, 0] for n in range(1, 6)]
        self.assertTrue(all(red > 150 for red in reds[:3]) and reds[3:] == [9, 9], reds)

    def test_colours_come_back_as_they_were(self):
        for matrix, primaries in (("bt709", "bt709"), ("smpte170m", "smpte170m"),
                                  ("bt2020nc", "bt2020"), (None, None)):
            with self.subTest(matrix=matrix):
                tags = () if matrix is None else (
                    "-vf", f"scale=out_color_matrix={primaries}:out_range=tv", "-colorspace",
                    matrix, "-color_primaries", primaries, "-color_range", "tv")
                self.make_video(frames=2, sound=False, options=tags)
                self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", "--video-options",
                              "-crf 1")
                before, after = self.frames("in.mp4"), self.frames("out.mp4")
                np.testing.assert_allclose(after[:, 40, 64].astype(int), before[:, 40, 64], atol=2)
                for key in ("color_space", "color_primaries", "color_range"):
                    self.assertEqual(self.probe("out.mp4")["video"].get(key),
                                     self.probe("in.mp4")["video"].get(key))

    def test_ten_bits_stay_ten_bits(self):
        self.make_video(frames=2, sound=False, options=("-pix_fmt", "yuv420p10le"))
        self.run_well("render", "-f", "in.mp4", "-o", "out.mp4")
        self.assertEqual(self.probe("out.mp4")["video"]["pix_fmt"], "yuv420p10le")
        self.run_well("render", "-f", "in.mp4", "--frames", "1", "-o", "out.png")
        self.assertEqual(pictures.read_png(self.path("out.png")).dtype, np.uint16)

    def side_data(self, name):
        return {data["side_data_type"]: data
                for data in self.probe(name)["video"].get("side_data_list", [])}

    def test_projection_is_kept(self):
        self.make_video(frames=3)
        add_projection(self.path("in.mp4"), self.path("sphere.mp4"))
        add_projection(self.path("in.mp4"), self.path("older.mp4"), uuid=True)
        for source in ("sphere.mp4", "older.mp4"):
            for options in ((), ("--video-options", "-movflags +faststart")):
                for target in ("out.mp4", "out.mov"):
                    with self.subTest(source=source, options=options, target=target):
                        self.run_well("render", "-f", source, "-o", target, *options)
                        self.assertIn("Spherical Mapping", self.side_data(target))
                        self.assertEqual(self.side_data(target), self.side_data(source))
                        self.assertEqual(len(self.frames(target)), 3)
        process = self.run_well("render", "-f", "sphere.mp4", "-o", "out.mkv")
        self.assertIn("spherical metadata could not be kept", process.stderr)

    def test_part_of_a_sphere_is_not_tagged_as_the_whole(self):
        self.make_video(frames=2)
        add_projection(self.path("in.mp4"), self.path("sphere.mp4"))
        add_projection(self.path("in.mp4"), self.path("older.mp4"), uuid=True)
        for source in ("sphere.mp4", "older.mp4"):
            process = self.run_well("render", "-f", source, "-o", "out.mp4", "--region",
                                    "0,0,64,32")
            self.assertEqual(self.side_data("out.mp4"), {})
            self.assertIn("spherical metadata is left out, since a part", process.stderr)

    def test_video_without_projection_gets_none(self):
        self.make_video(frames=2)
        self.run_well("render", "-f", "in.mp4", "-o", "out.mp4")
        self.assertEqual(self.side_data("out.mp4"), {})

    def test_downsampled_odd_frames_can_be_encoded(self):
        self.make_video(frames=2)
        self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", "--region", "0,0,33,21")
        self.assertEqual(self.frames("out.mp4").shape[1:3], (21, 33))

    def test_turned_video_is_upright(self):
        self.make_video(frames=3)
        for matrix, size in (((0, 1, -1, 0), (128, 64)), ((0, -1, 1, 0), (128, 64)),
                             ((-1, 0, 0, -1), (64, 128))):
            with self.subTest(matrix=matrix):
                turn(self.path("in.mp4"), self.path("turned.mp4"), matrix)
                shown = self.upright_frames("turned.mp4", size)
                self.run_well("render", "-f", "turned.mp4", "-o", "out.mp4", "--video-options",
                              "-crf 1")
                self.assertEqual(self.side_data("out.mp4"), {})
                after = self.frames("out.mp4")
                self.assertEqual(after.shape[1:3], size)
                np.testing.assert_allclose(after.astype(int), shown, atol=24)

    def test_what_is_no_video_is_one_line(self):
        (self.folder / "bad.mp4").write_text("no video")
        self.assert_fails(FAILED, "bad.mp4: not a readable video", "render", "-f", "bad.mp4",
                          "-o", "out.mp4")
        self.assert_fails(FAILED, "gone.mp4: no such file", "render", "-f", "gone.mp4", "-o",
                          "out.mp4")
        self.make_video(frames=2)
        self.assert_fails(FAILED, "out.mp4: ", "render", "-f", "in.mp4", "-o", "out.mp4",
                          "--quiet", "--video-options", "-c:v nonsense")
        self.assert_fails(USAGE, "--resume: a video", "render", "-f", "in.mp4", "-o", "out.mp4",
                          "--resume")
        self.assertEqual(self.files(), ["bad.mp4", "in.mp4"])

    def test_video_cut_short_is_an_error_and_leaves_no_output(self):
        self.make_video(frames=20, options=("-movflags", "+faststart"))
        data = (self.folder / "in.mp4").read_bytes()
        (self.folder / "cut.mp4").write_bytes(data[:len(data) * 6 // 10])
        process = self.run_program("render", "-f", "cut.mp4", "-o", "out.mp4", "--quiet")
        self.assertIn(process.returncode, (0, FAILED))
        if process.returncode == FAILED:
            self.assertEqual(self.files(), ["cut.mp4", "in.mp4"])

    def test_missing_ffmpeg_is_said(self):
        self.make_video(frames=2)
        self.assert_fails(FAILED, "not found (videos need ffmpeg)", "render", "-f",
                          "in.mp4", "-o", "out.mp4", env={**os.environ, "PATH": "/nowhere"})

    def test_ctrl_c_leaves_no_video(self):
        self.make_video(frames=50)
        process = subprocess.Popen([PROGRAM, "render", "-f", "in.mp4", "-o", "out.mp4", "--quiet",
                                    "--video-options", "-preset veryslow -vf scale=4096:2048"],
                                   cwd=self.folder, stderr=subprocess.PIPE, text=True)
        wait_until(lambda: catches(process, signal.SIGINT), "catching Ctrl-C")
        time.sleep(0.5)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=30)
        self.assertEqual((process.returncode, errors), (130, "veltra: interrupted\n"))
        self.assertEqual(self.files(), ["in.mp4"])
