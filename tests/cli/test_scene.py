# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Scene files: what they can say, how they are checked, and that they come back as saved."""

import json

import numpy as np

import pictures
from support import ProgramTest, gradient

USAGE = 2
LINE = {"start": ["30%", "50%"], "end": ["70%", "50%"], "degrees": 40, "layer": "layer.png"}


class Scenes(ProgramTest):

    def setUp(self):
        super().setUp()
        pictures.write_png(self.path("frame.png"), gradient(64, 32, 4, np.uint8, alpha=1))
        pictures.write_png(self.path("layer.png"),
                           np.full((8, 16, 4), [255, 0, 0, 255], np.uint8))

    def write_scene(self, name="scene.json", **scene):
        (self.folder / name).write_text(json.dumps({"version": 1, **scene}))

    def out(self, name="out.png"):
        return (self.folder / name).read_bytes()

    def test_scene_is_the_same_as_the_options(self):
        self.write_scene(frame="frame.png", output="out.png", depth=16, classic=True,
                         controls={**LINE, "filtering": True, "opacity": 62.5,
                                   "placement": "tile"})
        self.run_well("render", "scene.json")
        from_scene = self.out()
        self.run_well("render", "-f", "frame.png", "--layer", "layer.png", "--start", "30%,50%",
                      "--end", "70%,50%", "--degrees", "40", "--filtering", "--opacity", "62.5",
                      "--placement", "tile", "--depth", "16", "--classic", "-o", "out.png")
        self.assertEqual(self.out(), from_scene)

    def test_options_override_the_scene(self):
        self.write_scene(frame="frame.png", output="out.png", controls={**LINE, "opacity": 10})
        self.run_well("render", "--opacity", "100", "scene.json", "-o", "other.png")
        self.assertFalse((self.folder / "out.png").exists())
        self.run_well("render", "scene.json", "--opacity=100")
        self.assertEqual(self.out(), self.out("other.png"))

    def test_paths_are_relative_to_the_scene(self):
        (self.folder / "sub").mkdir()
        self.write_scene("sub/scene.json", frame="../frame.png", output="out.png",
                         controls={**LINE, "layer": "../layer.png"})
        self.run_well("render", "sub/scene.json")
        self.assertTrue((self.folder / "sub" / "out.png").exists())

    def travel(self, frames, keys):
        self.write_scene(size="128x64", frames=frames, output="out.#.png",
                         controls={**LINE, "placement": "solo", "degrees": 10,
                                   "travel": {"keys": keys}})
        self.run_well("render", "scene.json")

    def same_as_travel(self, frame, travel):
        self.run_well("render", "--size", "128x64", "--layer", "layer.png", "--start", "30%,50%",
                      "--end", "70%,50%", "--degrees", "10", "--placement", "solo", "--travel",
                      travel, "-o", "still.png")
        self.assertEqual(self.out(f"out.{frame}.png"), self.out("still.png"),
                         f"frame {frame} is not at travel {travel}")

    def test_keyframes_hold_go_straight_and_go_softly(self):
        self.travel("1-13", [{"frame": 3, "value": 10},
                             {"frame": 5, "value": 30, "interpolation": "smooth"},
                             {"frame": 9, "value": 70, "interpolation": "hold"},
                             {"frame": 12, "value": 90}])
        for frame, travel in ((1, 10), (3, 10), (4, 20), (5, 30), (6, 30 + 40 * 0.15625), (7, 50),
                              (9, 70), (11, 70), (12, 90), (13, 90)):
            self.same_as_travel(frame, travel)

    def test_points_and_choices_move_too(self):
        self.write_scene(size="128x64", frames="1-3", output="out.#.png", controls={
            **LINE, "start": {"keys": [{"frame": 1, "value": "12.5%,50%"},
                                       {"frame": 3, "value": [48, 32]}]},
            "placement": {"keys": [{"frame": 1, "value": "tile"}, {"frame": 3, "value": 1}]}})
        self.run_well("render", "scene.json")
        for frame, start, placement in ((1, "16,32", "tile"), (2, "25%,50%", "tile"),
                                        (3, "48,32", "stretch")):
            self.run_well("render", "--size", "128x64", "--layer", "layer.png", "--start", start,
                          "--end", "70%,50%", "--degrees", "40", "--placement", placement, "-o",
                          "still.png")
            self.assertEqual(self.out(f"out.{frame}.png"), self.out("still.png"))

    def test_saved_scene_renders_the_same(self):
        options = ("-f", "frame.png", "--layer", "layer.png", "--start", "20,16", "--end",
                   "70%,50%", "--travel", "-3.25", "--no-composite", "--depth", "float",
                   "--region", "0,0,32,16")
        (self.folder / "scenes").mkdir()
        self.run_well("render", *options, "--save-scene", "scenes/saved.json", "-o", "out.png")
        saved = json.loads((self.folder / "scenes" / "saved.json").read_text())
        self.assertEqual(saved["version"], 1)
        self.assertEqual(saved["controls"]["layer"], "../layer.png")
        self.assertEqual(saved["controls"]["travel"], -3.25)
        first = self.out()
        (self.folder / "out.png").unlink()
        self.run_well("render", "scenes/saved.json")
        self.assertEqual(self.out(), first)

    def test_saving_alone_renders_nothing(self):
        self.run_well("render", "-f", "frame.png", "--save-scene", "saved.json")
        self.assertEqual(self.files(), ["frame.png", "layer.png", "saved.json"])

    def test_keyframes_survive_saving(self):
        keys = {"keys": [{"frame": 1, "value": 0, "interpolation": "smooth"},
                         {"frame": 9, "value": 50.5, "interpolation": "linear"}]}
        self.write_scene(frame="frame.png", controls={"travel": keys})
        self.run_well("render", "scene.json", "--save-scene", "saved.json")
        saved = json.loads((self.folder / "saved.json").read_text())
        self.assertEqual(saved["controls"]["travel"], keys)

    def test_mistakes_name_their_line_or_key(self):
        def refuse(message, text=None, **scene):
            with self.subTest(message=message):
                (self.folder / "bad.json").write_text(
                    text if text is not None else json.dumps({"version": 1, **scene}))
                self.assert_fails(USAGE, "bad.json: " + message, "render", "bad.json", "-f",
                                  "frame.png", "-o", "out.png")

        refuse("line 3: not valid JSON", '{\n  "version": 1,\n  "frame": oops\n}')
        refuse("line 1: not valid JSON", "")
        refuse("not a scene", "[]")
        refuse("not a scene (nested too deeply)", '{"a":' + "[" * 100000 + "]" * 100000 + "}")
        refuse("version: is missing", "{}")
        refuse("version: 2 is not known", '{"version": 2}')
        refuse("not a scene (a number in it is too large)", '{"version": 1, "rate": 1e999}')
        refuse("frame: stands twice", '{"version": 1, "frame": "a", "frame": "b"}')
        refuse("fraem: unknown key", fraem="x.png")
        refuse("resume: belongs on the command line", resume=True)
        refuse("depth: '12' is not a depth", depth=12)
        refuse("depth: a value cannot be null", depth=None)
        refuse("frame: a value cannot be a list", frame=["a"])
        refuse("controls: must be an object", controls=[])
        refuse("controls.speed: no such control (expected layer, start", controls={"speed": 1})
        refuse("controls.travel: '20000' is not in range (expected -10000 to 10000)", controls={"travel": 20000})
        refuse("controls.start: '[1' is not a point", controls={"start": "[1"})
        refuse("controls.travel: must be a value", controls={"travel": {"keys": []}})
        refuse("controls.travel.speed: unknown key", controls={"travel": {"speed": 1}})
        refuse("controls.travel.keys[0].frame: must be a whole number",
               controls={"travel": {"keys": [{"value": 1}]}})
        refuse("controls.travel.keys[0].value: is missing",
               controls={"travel": {"keys": [{"frame": 1}]}})
        refuse("controls.travel.keys[1].frame: must be later",
               controls={"travel": {"keys": [{"frame": 4, "value": 1}, {"frame": 4, "value": 2}]}})
        refuse("controls.travel.keys[0].interpolation: must be hold, linear or smooth",
               controls={"travel": {"keys": [{"frame": 4, "value": 1, "interpolation": "ease"}]}})
        refuse("controls.travel: keys[0].value: 'x' is not a number",
               controls={"travel": {"keys": [{"frame": 4, "value": "x"}]}})
        refuse("controls.layer: a layer has no keyframes",
               controls={"layer": {"keys": [{"frame": 4, "value": "x"}]}})
        self.assert_fails(USAGE, "gone.json: no such file", "render", "gone.json", "-o", "o.png")

    def test_points_in_degrees_are_the_same_place_and_may_go_along_the_great_circle(self):
        same = set()
        for start, end in (("54%,50%", "75%,25%"), ("14.4deg,0deg", "90deg,45deg"),
                           (["14.4deg", 16], "90\u00b0,45\u00b0")):
            self.write_scene(frame="frame.png", output="out.png",
                             controls={**LINE, "start": start, "end": end})
            self.run_well("render", "scene.json")
            same.add(self.out())
        self.assertEqual(len(same), 1)
        keys = [{"frame": 1, "value": "-45deg,45deg", "path": "great-circle"},
                {"frame": 3, "value": "45deg,45deg"}]
        self.write_scene(frame="frame.png", output="o.#.png", frames="1-3",
                         controls={**LINE, "start": {"keys": keys}})
        self.run_well("render", "scene.json", "--save-scene", "again.json")
        saved = json.loads((self.folder / "again.json").read_text())
        self.assertEqual(saved["controls"]["start"]["keys"][0]["path"], "great-circle")
        self.run_well("render", "-f", "frame.png", "--layer", "layer.png", "--start",
                      "0deg,54.73561deg", "--end", "70%,50%", "--degrees", "40", "-o", "still.png")
        self.assertEqual(self.out("o.2.png"), self.out("still.png"))

    def test_wrong_paths_and_controls_set_twice_are_refused(self):
        for controls, message in (
                ({"start": {"keys": [{"frame": 1, "value": "0,0", "path": "round"}]}},
                 "controls.start.keys[0].path: must be straight or great-circle"),
                ({"travel": {"keys": [{"frame": 1, "value": 1, "path": "great-circle"}]}},
                 "keys[0].path: only points go along a great circle"),
                ({"degrees": 10, "size-degrees": 20}, "which controls.degrees sets already"),
                ({"start": "0deg,95deg"}, "-90deg to 90deg")):
            self.write_scene(frame="frame.png", output="out.png", controls=controls)
            self.assert_fails(USAGE, message, "render", "scene.json")
