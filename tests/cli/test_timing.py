# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Which frame of an input belongs to which frame of the output, and frames that are not there."""

import json
import os
import pty
import shutil
import subprocess
import unittest

import numpy as np

import pictures
from support import PROGRAM, WINDOWS, ProgramTest, posix_only

FAILED = 1
USAGE = 2
LINE = ("--start", "30%,50%", "--end", "70%,50%", "--degrees", "60")


class Timing(ProgramTest):
    """Frame n of a layer is an even grey of 10 n."""

    def setUp(self):
        super().setUp()
        pictures.write_png(self.path("f.png"), np.full((64, 128, 4), [9, 9, 9, 255], np.uint8))

    def write_layer(self, numbers=range(1, 6), first=1):
        for number in numbers:
            grey = 10 * (number - first + 1)
            pictures.write_png(self.path(f"l.{number}.png"),
                               np.full((8, 16, 4), [grey, grey, grey, 255], np.uint8))

    def shown(self, frames, *options, layer="l.#.png"):
        """The layer's frame that each frame shows, 0 where there is none."""
        self.run_well("render", "-f", "f.png", "--layer", layer, *LINE, "-o", "o.#.png", "--frames",
                      frames, "--quiet", *options)
        numbers = sorted(int(name.split(".")[1]) for name in self.files() if name[:2] == "o.")
        values = [int(pictures.read_png(self.path(f"o.{n}.png"))[32, 64, 0]) for n in numbers]
        for number in numbers:
            os.remove(self.path(f"o.{number}.png"))
        return [0 if value == 9 else (value + 5) // 10 for value in values]

    def test_layer_begins_where_it_is_told(self):
        self.write_layer()
        self.assertEqual(self.shown("1000-1007", "--layer-start", "1001"), [0, 1, 2, 3, 4, 5, 0, 0])
        self.write_layer(range(201, 206), first=201)
        for number in range(1, 6):
            os.remove(self.path(f"l.{number}.png"))
        self.assertEqual(self.shown("3-5", "--layer-start", "3"), [1, 2, 3])

    def test_what_follows_the_last_frame(self):
        self.write_layer(range(1, 4))
        for end, expected in (("none", [1, 2, 3, 0, 0, 0, 0]), ("hold", [1, 2, 3, 3, 3, 3, 3]),
                              ("loop", [1, 2, 3, 1, 2, 3, 1]), ("ping-pong", [1, 2, 3, 2, 1, 2, 3])):
            self.assertEqual(self.shown("1-7", "--layer-end", end), expected, end)
            # A part of the frames shows what the whole shows there.
            self.assertEqual(self.shown("5-7", "--layer-end", end), expected[4:], end)

    def test_speed(self):
        self.write_layer(range(1, 7))
        self.assertEqual(self.shown("1-6", "--layer-speed", "2", "--layer-end", "none"),
                         [1, 3, 5, 0, 0, 0])
        self.assertEqual(self.shown("1-6", "--layer-speed", "1/2"), [1, 1, 2, 2, 3, 3])

    @posix_only
    def test_frame_that_is_shown_again_is_read_once(self):
        self.write_layer(range(1, 4))
        os.rename(self.path("l.3.png"), self.path("three.png"))
        for options, expected in ((("--layer-end", "hold"), [1, 2, 3, 3, 3, 3]),
                                  (("--layer-speed", "1/2"), [1, 1, 2, 2, 3, 3])):
            os.mkfifo(self.path("l.3.png"))  # which a second reader would wait at for ever
            with subprocess.Popen(["cp", "three.png", "l.3.png"], cwd=self.folder):
                self.assertEqual(self.shown("1-6", *options), expected)
            os.remove(self.path("l.3.png"))

    def test_still_has_no_time(self):
        self.assert_fails(USAGE, "a still has no time", "render", "-f", "f.png", "--layer", "f.png",
                          "--layer-end", "hold", "-o", "o.#.png", "--frames", "1-2")

    def test_layer_that_does_not_show_is_a_warning(self):
        self.write_layer()
        render = ("render", "-f", "f.png", "--layer", "l.#.png", "-o", "o.#.png", "--frames", "1-8",
                  "--progress", "none", "--layer-start")
        self.assertIn("l.#.png: no layer in 1-2, 8", self.run_well(*render, "3").stderr)
        self.assertIn("shows in none of the frames", self.run_well(*render, "30").stderr)
        self.assertEqual(self.run_well(*render, "30", "--quiet").stderr, "")

    def test_list_of_frames(self):
        self.run_well("render", "-f", "f.png", "-o", "o.#.png", "--frames", "9,1,3-5,4-8x2,5")
        self.assertEqual([name for name in self.files() if name[:2] == "o."],
                         [f"o.{n}.png" for n in (1, 3, 4, 5, 6, 8, 9)])
        for wrong in ("1,", "1,x", "3-1,2", ",1"):
            self.assert_fails(USAGE, "is not a list of frames", "render", "-f", "f.png", "-o",
                              "o.#.png", "--frames", wrong)

    def test_every_frame_has_its_own_metadata_wherever_a_run_begins(self):
        for number in range(1, 4):
            pictures.write_png(self.path(f"in.{number}.png"), np.full(
                (8, 16, 4), 40 * number, np.uint8))
        straight = {}
        for frames in ("1-3", "2", "3"):
            self.run_well("render", "-f", "in.#.png", "-o", "o.#.png", "--frames", frames)
            for name in self.files():
                if name[:2] == "o.":
                    data = (self.folder / name).read_bytes()
                    self.assertEqual(straight.setdefault(name, data), data, name)
                    os.remove(self.path(name))

    def test_frames_of_different_depths_need_a_depth(self):
        for number, kind in ((1, np.uint8), (2, np.uint16)):
            pictures.write_png(self.path(f"in.{number}.png"), np.full((8, 16, 4), 99, kind))
        self.assert_fails(FAILED, "in.2.png: has depth 16 where the first frame has 8 (give --depth",
                          "render", "-f", "in.#.png", "-o", "o.#.png", "--quiet")
        self.run_well("render", "-f", "in.#.png", "-o", "o.#.png", "--depth", "16")
        for number in (1, 2):
            self.assertEqual(pictures.read_png(self.path(f"o.{number}.png")).dtype, np.uint16)


class FailingFrames(ProgramTest):

    def setUp(self):
        super().setUp()
        for number in range(1, 6):
            pictures.write_png(self.path(f"in.{number}.png"),
                               np.full((8, 16, 4), [number, 0, 0, 255], np.uint8))
        (self.folder / "in.2.png").write_bytes((self.folder / "in.2.png").read_bytes()[:60])
        (self.folder / "in.4.png").write_text("no picture")
        self.render = ("render", "-f", "in.#.png", "-o", "out.#.png")

    def outputs(self):
        return [name for name in self.files() if name.startswith("out")]

    def test_others_are_rendered_when_asked_for(self):
        process = self.run_program(*self.render, "--keep-going", "--progress", "none")
        self.assertEqual(process.returncode, FAILED)
        self.assertRegex(process.stderr, r"veltra: frame 2: in\.2\.png: ")
        self.assertRegex(process.stderr, r"veltra: out\.#\.png: 2 frames failed: 2, 4\n\Z")
        self.assertEqual(self.outputs(), ["out.1.png", "out.3.png", "out.5.png"])

    def test_programs_are_told(self):
        process = self.run_program(*self.render, "--keep-going", "--progress", "json")
        events = [json.loads(line) for line in process.stdout.splitlines()]
        errors = [event for event in events if event["event"] == "error"]
        self.assertEqual(sorted(event["frame"] for event in errors[:-1]), [2, 4])
        self.assertIn("2 frames failed: 2, 4", errors[-1]["message"])
        self.assertEqual(events[-1], errors[-1])
        process = self.run_program(*self.render, "--progress", "json")
        last = json.loads(process.stdout.splitlines()[-1])
        self.assertEqual((last["event"], process.returncode), ("error", FAILED))

    def test_dry_run_tells_the_plan_and_writes_nothing(self):
        pictures.write_png(self.path("l.1.png"), np.zeros((2, 2, 4), np.uint8))
        before = self.files()
        arguments = (*self.render, "--layer", "l.#.png", "--layer-end", "hold", "--frames", "1,3",
                     "--opacity", "40", "--dry-run")
        told = self.run_well(*arguments).stdout
        self.assertIn("2 frames to render: 16x8, depth 8, 24/1", told)
        self.assertIn("frame 3: in.3.png -> out.3.png\n  layer l.1.png, ", told)
        self.assertIn("opacity 40", told)
        plans = [json.loads(line)
                 for line in self.run_well(*arguments, "--progress", "json").stdout.splitlines()]
        self.assertEqual([(p["frame"], p["output"]) for p in plans],
                         [(1, "out.1.png"), (3, "out.3.png")])
        self.assertEqual(self.files(), before)


@unittest.skipIf(WINDOWS, "there is no ffmpeg for Windows here")
@unittest.skipUnless(shutil.which("ffmpeg") and shutil.which("ffprobe"), "ffmpeg is not installed")
class VideoTiming(ProgramTest):
    """Frame n of a video is a grey of about 10 n."""

    def ffmpeg(self, *arguments):
        subprocess.run(["ffmpeg", "-v", "error", "-y", *arguments], cwd=self.folder, check=True)

    def make_video(self, name="in.mp4", frames=10, rate=25, options=(), first=0):
        raw = np.zeros((frames, 64, 128, 3), np.uint8)
        raw[:] = (10 * (np.arange(frames) + 1)).reshape(-1, 1, 1, 1)
        raw.tofile(self.path("raw"))
        self.ffmpeg("-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "128x64", "-r", str(rate), "-i",
                    "raw", "-c:v", "libx264", "-crf", "1", "-pix_fmt", "yuv444p",
                    *(("-output_ts_offset", str(first)) if first else ()), *options, name)
        os.remove(self.path("raw"))

    def shown(self, *arguments):
        """Frame numbers of the output and the video's frame that each shows; 0 for none."""
        process = self.run_well("render", *arguments, "-o", "o.#.png")
        self.assertNotIn("error", process.stderr)
        result = {}
        for name in self.files():
            if name.startswith("o."):
                value = int(pictures.read_png(self.path(name))[32, 64, 0])
                result[int(name.split(".")[1])] = (value + 5) // 10
                os.remove(self.path(name))
        return dict(sorted(result.items()))

    def test_frame_depends_on_its_number_alone(self):
        self.make_video()
        straight = {n: n for n in range(1, 11)}
        self.assertEqual(self.shown("-f", "in.mp4"), straight)
        for frames in ("1-5", "6-10", "7", "2-10x4", "3,9"):
            part = self.shown("-f", "in.mp4", "--frames", frames)
            self.assertEqual(part, {n: straight[n] for n in part}, frames)
        (self.folder / "o.3.png").write_text("")
        rest = self.shown_rest("-f", "in.mp4", "--resume")
        self.assertEqual(rest, {n: n for n in straight if n != 3})

    def shown_rest(self, *arguments):
        self.run_well("render", *arguments, "-o", "o.#.png")
        os.remove(self.path("o.3.png"))
        return {int(name.split(".")[1]): (int(pictures.read_png(self.path(name))[32, 64, 0]) + 5)
                // 10 for name in self.files() if name.startswith("o.")}

    def test_layer_depends_on_the_number_alone(self):
        self.make_video()
        layer = ("--size", "128x64", "--layer", "in.mp4", *LINE)
        straight = self.shown(*layer, "--frames", "0-12")
        self.assertEqual(straight, {n: n if 1 <= n <= 10 else 0 for n in range(13)})
        for frames in ("0-4", "5-9", "8-12"):
            part = self.shown(*layer, "--frames", frames)
            self.assertEqual(part, {n: straight[n] for n in part}, frames)

    def test_layer_video_can_be_moved_and_continued(self):
        self.make_video(frames=4)
        for end, expected in (("hold", [1, 2, 3, 4, 4, 4, 4, 4]), ("loop", [1, 2, 3, 4, 1, 2, 3, 4]),
                              ("ping-pong", [1, 2, 3, 4, 3, 2, 1, 2])):
            shown = self.shown("--size", "128x64", "--layer", "in.mp4", *LINE, "--layer-start",
                               "1001", "--layer-end", end, "--frames", "1001-1008")
            self.assertEqual(list(shown.values()), expected, end)

    def test_first_time_stamp_does_not_matter(self):
        self.make_video("late.mkv", first=0.021)
        self.assertEqual(self.shown("-f", "late.mkv"), {n: n for n in range(1, 11)})

    def test_frames_that_are_not_there_are_refused_first(self):
        self.make_video()
        for frames, told in (("0-3", "has no frame 0 (its frames are 1-10"),
                             ("8-12", "has no frame 11-12")):
            self.assert_fails(FAILED, told, "render", "-f", "in.mp4", "-o", "o.#.png", "--frames",
                              frames, "--quiet")
        self.assertEqual(self.files(), ["in.mp4"])
        self.assertEqual(self.shown("-f", "in.mp4", "--frames", "8-12", "--skip-missing"),
                         {8: 8, 9: 9, 10: 10})

    def test_another_rate_repeats_or_drops_frames(self):
        self.make_video(frames=4)
        self.assertEqual(list(self.shown("-f", "in.mp4", "--rate", "50").values()),
                         [1, 1, 2, 2, 3, 3, 4, 4])
        self.assertEqual(list(self.shown("-f", "in.mp4", "--rate", "12.5").values()), [1, 3])

    def test_varying_rate_needs_a_rate(self):
        self.make_video(frames=6)
        self.ffmpeg("-i", "in.mp4", "-vf", "setpts='if(lt(N,3),N,3*N-6)/25/TB'", "-fps_mode", "vfr",
                    "-c:v", "libx264", "-crf", "1", "vary.mkv")
        self.assert_fails(USAGE, "its frames come at varying times (give --rate", "render", "-f",
                          "vary.mkv", "-o", "o.#.png")
        self.assertEqual(list(self.shown("-f", "vary.mkv", "--rate", "25").values()),
                         [1, 2, 3, 4, 4, 4, 5, 5, 5, 6])

    def test_video_cut_short_is_refused(self):
        for name, options in (("in.mp4", ("-movflags", "+faststart")), ("in.mkv", ())):
            self.make_video(name, frames=20, options=options)
            data = (self.folder / name).read_bytes()
            (self.folder / ("cut" + name)).write_bytes(data[:len(data) * 7 // 10])
            os.remove(self.path(name))
            before = self.files()
            self.assert_fails(FAILED, "(--keep-going renders the frames before)", "render", "-f",
                              "cut" + name, "-o", "o.#.png", "--quiet")
            self.assertEqual(self.files(), before)
            process = self.run_program("render", "-f", "cut" + name, "-o", "out.mp4",
                                       "--keep-going", "--quiet")
            self.assertEqual(process.returncode, FAILED, process.stderr)

    def test_damaged_frame_is_an_error(self):
        self.make_video(frames=20, options=("-g", "5", "-bf", "0"))
        data = bytearray((self.folder / "in.mp4").read_bytes())
        middle = data.index(b"mdat") + (len(data) - data.index(b"mdat")) // 3
        for at in range(middle, middle + 120):
            data[at] ^= 0x5A
        (self.folder / "in.mp4").write_bytes(data)
        process = self.run_program("render", "-f", "in.mp4", "-o", "out.mp4", "--quiet")
        self.assertEqual(process.returncode, FAILED)
        self.assertEqual(self.files(), ["in.mp4"])

    def test_total_is_known_for_containers_without_a_count(self):
        self.make_video("n.mkv")
        process = self.run_well("render", "-f", "n.mkv", "-o", "q.mp4", "--progress", "json")
        totals = {json.loads(line)["total"] for line in process.stdout.splitlines()}
        self.assertEqual(totals, {10})
        master, slave = pty.openpty()
        bar = subprocess.run([PROGRAM, "render", "-f", "n.mkv", "-o", "q.mp4", "--progress", "bar",
                              "--video-options", "-preset veryslow -vf scale=2048:1024"],
                             cwd=self.folder, stderr=slave, timeout=120, check=False)
        os.close(slave)
        os.close(master)
        self.assertEqual(bar.returncode, 0)


class Layers(ProgramTest):
    """Several layers in one pass of a scene."""

    def setUp(self):
        super().setUp()
        pictures.write_png(self.path("f.png"), np.full((64, 128, 4), [9, 9, 9, 255], np.uint8))
        for name, colour in (("red", [255, 0, 0, 255]), ("blue", [0, 0, 255, 255])):
            pictures.write_png(self.path(name + ".png"), np.full((8, 16, 4), colour, np.uint8))
        self.left = {"start": "20%,50%", "end": "60%,50%", "degrees": 40}
        self.right = {"start": "40%,50%", "end": "80%,50%", "degrees": 40}

    def write_scene(self, **scene):
        (self.folder / "scene.json").write_text(json.dumps({"version": 1, **scene}))

    def test_layers_are_applied_in_order_as_through_files(self):
        self.write_scene(frame="f.png", output="out.png", layers=[
            {"controls": {"layer": "red.png", "opacity": 50, **self.left}},
            {"controls": {"layer": "blue.png", "opacity": 70, **self.right}}])
        self.run_well("render", "scene.json")
        steps = (("red", self.left, 50, "f.png", "one.png"),
                 ("blue", self.right, 70, "one.png", "two.png"))
        for name, line, opacity, source, target in steps:
            self.run_well("render", "-f", source, "--layer", name + ".png", "--start",
                          line["start"], "--end", line["end"], "--degrees", "40", "--opacity",
                          opacity, "-o", target)
        self.assertEqual((self.folder / "out.png").read_bytes(),
                         (self.folder / "two.png").read_bytes())

    def test_each_has_its_own_keyframes_and_time(self):
        for number in (1, 2):
            pictures.write_png(self.path(f"l.{number}.png"),
                               np.full((8, 16, 4), [0, 100 * number, 0, 255], np.uint8))
        self.write_scene(frame="f.png", output="o.#.png", frames="1-4", layers=[
            {"controls": {"layer": "red.png", **self.left, "opacity": {"keys": [
                {"frame": 1, "value": 100, "interpolation": "hold"}, {"frame": 3, "value": 0}]}}},
            {"layer-start": 2, "layer-end": "hold", "controls": {"layer": "l.#.png",
                                                                 **self.right}}])
        self.run_well("render", "scene.json")
        left = [pictures.read_png(self.path(f"o.{n}.png"))[32, 40, 0] for n in range(1, 5)]
        right = [pictures.read_png(self.path(f"o.{n}.png"))[32, 90, 1] for n in range(1, 5)]
        self.assertEqual((left, right), ([255, 255, 9, 9], [9, 100, 200, 200]))

    def test_region_is_that_part(self):
        self.write_scene(frame="f.png", output="out.png", layers=[
            {"controls": {"layer": "red.png", "opacity": 50, **self.left}},
            {"controls": {"layer": "blue.png", "opacity": 70, **self.right}}])
        self.run_well("render", "scene.json")
        self.run_well("render", "scene.json", "--region", "40,20,30,20", "-o", "part.png")
        np.testing.assert_array_equal(pictures.read_png(self.path("part.png")),
                                      pictures.read_png(self.path("out.png"))[20:40, 40:70])

    def test_scene_comes_back_as_saved(self):
        self.write_scene(frame="f.png", output="out.png", layers=[
            {"controls": {"layer": "red.png", **self.left}},
            {"layer-end": "loop", "layer-speed": "1/2", "controls": {"layer": "none"}}])
        (self.folder / "sub").mkdir()
        self.run_well("render", "scene.json", "--save-scene", "sub/again.json")
        first = (self.folder / "out.png").read_bytes()
        os.remove(self.path("out.png"))
        self.run_well("render", "sub/again.json")
        self.assertEqual((self.folder / "out.png").read_bytes(), first)
        saved = json.loads((self.folder / "sub" / "again.json").read_text())
        self.assertEqual(saved["layers"][0]["controls"]["layer"], "../red.png")
        self.assertEqual(saved["layers"][1]["layer-speed"], "1/2")

    def test_mistakes_name_their_place(self):
        for message, scene in (
                ("layers: must be a list", {"layers": {}}),
                ("layers[0]: a layer must be an object with controls", {"layers": [{}]}),
                ("layers[0].frames: unknown key", {"layers": [{"controls": {}, "frames": "1"}]}),
                ("layers[0].controls.nix: no such control", {"layers": [{"controls": {"nix": 1}}]}),
                ("controls: belong to the layers", {"layers": [{"controls": {}}],
                                                    "controls": {"opacity": 1}}),
                ("which controls.start sets already",
                 {"controls": {"start": "1,1", "start-point": "1,1"}})):
            self.write_scene(frame="f.png", output="out.png", **scene)
            self.assert_fails(USAGE, message, "render", "scene.json")
        self.write_scene(frame="f.png", output="out.png", layers=[{"controls": {}},
                                                                  {"controls": {}}])
        self.assert_fails(USAGE, "--opacity: the scene has 2 layers", "render", "scene.json",
                          "--opacity", "3")
