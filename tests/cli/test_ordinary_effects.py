# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Effects of other makers: controls of every type, no smart render, output of another size."""

import json
import os
import re

import numpy as np

import pictures
from support import ProgramTest

EFFECT = os.path.abspath(os.environ["VELTRA_ORDINARY"])
GROWING = os.path.abspath(os.environ["VELTRA_GROWING"])
ECHO = os.path.abspath(os.environ["VELTRA_ECHO"])
FAILED = 1
USAGE = 2


class OrdinaryEffects(ProgramTest):

    def setUp(self):
        super().setUp()
        pictures.write_png(self.path("f.png"), np.zeros((4, 8, 4), np.uint8))

    def render(self, *arguments, out="o.png"):
        """What the effect says of what it was handed."""
        process = self.run_well("render", "--effect", EFFECT, "-f", "f.png", "-o", out, *arguments)
        return re.findall(r"the effect says: (.*)", process.stderr)

    def test_defaults_reach_the_effect(self):
        self.assertEqual(self.render(), [
            "count 3 gain 0.10000000149011612 turn 45 tint 255,128,0 mode 1 where 4,2,0 numbers 5 "
            "preset 0 frame 1 of the sequence"])

    def test_every_type_is_set_on_the_command_line_and_in_scenes_alike(self):
        expected = ["count 7 gain 0.75 turn -800.5 tint 1,2,255 mode 4 where 2,-1.5,100 numbers 12 "
                    "preset 0 frame 1 of the sequence"]
        self.assertEqual(self.render(
            "--count", "7", "--gain", "0.75", "--turn", "-800.5", "--tint", "#0102ff", "--mode", "2",
            "--where", "25%,-1.5,100", "--numbers", "number 12"), expected)
        scene = {"version": 1, "controls": {
            "count": 7, "gain": 0.75, "turn": "-800.5deg", "tint": [1, 2, 255], "mode": "2",
            "where": ["25%", -1.5, 100], "numbers": "number 12"}}
        (self.folder / "s.json").write_text(json.dumps(scene))
        self.assertEqual(self.render("s.json"), expected)
        self.run_well("render", "--effect", EFFECT, "s.json", "-f", "f.png", "--save-scene",
                      "again.json")
        self.assertEqual(self.render("again.json"), expected)

    def test_wrong_values_are_refused_with_what_would_be_right(self):
        for option, value, message in (
                ("--count", "7.5", "'7.5' is not a whole number (expected 0 to 100, whole)"),
                ("--count", "101", "'101' is not in range (expected 0 to 100, whole)"),
                ("--gain", "0.09", "'0.09' is not in range (expected 0.1 to 10)"),
                ("--turn", "north", "'north' is not a number"),
                ("--tint", "#12345", "'#12345' is not a colour"),
                ("--tint", "1,2,256", "'1,2,256' is not a colour"),
                ("--mode", "3", "'3' is not a choice (expected 8, 4, 2 or wide-open)"),
                ("--where", "1,2", "'1,2' is not a point in space"),
                ("--numbers", "twelve", "PF_Err_CANNOT_PARSE_KEYFRAME_TEXT")):
            with self.subTest(option=option, value=value):
                self.assert_fails(USAGE, message, "render", "--effect", EFFECT, "-f", "f.png",
                                  option, value, "-o", "o.png")
        self.assertEqual(self.files(), ["f.png"])

    def test_keyframes_lie_between_their_values(self):
        def keys(first, last):
            return {"keys": [{"frame": 1, "value": first}, {"frame": 5, "value": last}]}
        scene = {"version": 1, "controls": {
            "count": keys(0, 10), "gain": keys(1, 2), "turn": keys(0, 720),
            "tint": keys("#000000", "#ff0064"), "where": keys("0,0,0", "4,8,-4"),
            "numbers": keys("number 0", "number 100"), "mode": keys("8", "wide-open")}}
        (self.folder / "s.json").write_text(json.dumps(scene))
        self.assertEqual(self.render("s.json", "--frames", "2", out="o.#.png"), [
            "count 3 gain 1.25 turn 180 tint 64,0,25 mode 1 where 1,2,-1 numbers 25 preset 0 "
            "frame 1 of the sequence"])

    def test_controls_lists_every_type(self):
        listed = json.loads(self.run_well("controls", "--effect", EFFECT, "--json").stdout)
        kinds = {c["name"]: (c["type"], c["default"] if "default" in c else None, c["options"])
                 for c in listed["controls"]}
        self.assertEqual(kinds["Looks"], ("group", None, []))
        self.assertEqual(kinds["Tint"], ("colour", "#ff8000", ["tint"]))
        self.assertEqual(kinds["Gain"][0], "float slider")
        self.assertEqual(kinds["Numbers"], ("data", "number 5", ["numbers"]))
        self.assertEqual(kinds["Press"], ("button", None, []))
        self.assertEqual([c["press"] for c in listed["controls"] if "press" in c], ["press"])
        self.assertEqual(kinds["Mask"], ("path", None, []))
        table = self.run_well("controls", "--effect", EFFECT).stdout
        self.assertRegex(table, r"\nTurn +angle +45 +degrees +--turn\n")
        self.assertRegex(table, r"\nMode +popup +8 +8, 4, 2 or wide-open +--mode\n")
        self.assertIn("version       9.1.2", self.run_well("about", "--effect", EFFECT).stdout)

    def test_output_that_grows_keeps_its_border_and_shrunken_output_its_size(self):
        for border in (2, -1):
            self.render("--border", str(border))
            picture = pictures.read_png(self.path("o.png"))
            self.assertEqual(picture.shape, (4 + 2 * border, 8 + 2 * border, 4))
            white = np.argwhere((picture == 255).all(axis=2))
            self.assertEqual(white.tolist(), [[border, border]] if border > 0 else [])
        self.render("--border", "2", "--region", "0,0,3,2")
        picture = pictures.read_png(self.path("o.png"))
        self.assertEqual(picture.shape, (2, 3, 4))
        self.assertEqual(picture[0, 0].tolist(), [255, 255, 255, 255])

    def test_a_sequence_lasts_over_all_frames_in_their_order(self):
        said = self.render("--frames", "1-3", "--threads", "4", out="o.#.png")
        self.assertEqual([s[-len("frame 1 of the sequence"):] for s in said],
                         [f"frame {n} of the sequence" for n in (1, 2, 3)])

    def test_the_effect_hears_of_supervised_controls_and_may_set_others(self):
        said = self.render("--preset", "4")[0]
        self.assertIn("count 40 gain 7 turn 45 ", said)
        self.assertIn("count 9 gain 7 ", self.render("--preset", "4", "--count", "9")[0])

    def test_pressed_buttons_do_their_work_once_before_the_frames_wherever_they_are_named(self):
        # Pressed at frame 2, the run's first; what was set before is the press's to change.
        expected = [f"count 59 gain 0.10000000149011612 turn 2 tint 255,128,0 mode 1 where 4,2,0 "
                    f"numbers 5 preset 0 frame {100 + n} of the sequence" for n in (1, 2)]
        numbers = ("--frames", "2-3", "--rate", "24", "--threads", "1")
        self.assertEqual(self.render("--press", "press", "--count", "9", *numbers, out="o.#.png"),
                         expected)
        self.assertIn("turn 2 ", self.render("--press", "press", *numbers, "--part", "3",
                                             out="p.#.png")[0])
        scene = {"version": 1, "press": ["press"], "controls": {"count": 9}}
        (self.folder / "s.json").write_text(json.dumps(scene))
        self.assertEqual(self.render("s.json", *numbers, out="o.#.png"), expected)
        self.run_well("render", "--effect", EFFECT, "s.json", "-f", "f.png", "--save-scene",
                      "again.json")
        self.assertEqual(self.render("again.json", *numbers, out="o.#.png"), expected)
        layers = {"version": 1, "layers": [{"press": "press,press", "controls": {"count": 9}}]}
        (self.folder / "l.json").write_text(json.dumps(layers))
        twice = self.render("l.json")[0]
        self.assertIn("count 109 ", twice)
        self.assertIn("frame 201 ", twice)
        self.assertEqual(self.render("--press", "press", "--press", "press", "--count", "9"),
                         [twice])

    def test_a_press_of_what_cannot_be_pressed_is_refused(self):
        for name, message in (
                ("bake", "--press: 'bake' is not a button of the effect (expected press)"),
                ("deaf", "--press: 'deaf' is a button that the effect does not listen to")):
            self.assert_fails(USAGE, message, "render", "--effect", EFFECT, "-f", "f.png", "--press",
                              name, "-o", "o.png")
        self.assert_fails(USAGE, "(expected none: it has no buttons to press)", "render", "-f", "f.png",
                          "--press", "bake", "-o", "o.png")
        keys = [{"frame": 1, "value": 1}, {"frame": 5, "value": 5}]
        scene = {"version": 1, "press": "press", "controls": {"count": {"keys": keys}}}
        (self.folder / "s.json").write_text(json.dumps(scene))
        self.assert_fails(FAILED, "changes 'Count', which has keyframes", "render", "--effect",
                          EFFECT, "s.json", "-f", "f.png", "--frames", "1-2", "-o", "o.#.png")
        self.assertEqual(self.files(), ["f.png", "s.json"])

    def test_the_effect_is_told_of_the_host_that_was_asked_for(self):
        hosts = self.run_well("render", "--host", "help").stdout
        self.assertEqual(hosts, self.run_well("check", "--host", "help").stdout)
        self.assertIn("oldest-interface", hosts)
        told = "it is built for interface 13.28, and this host has 12.0"
        for command in (("render", "-f", "f.png", "-o", "o.png"), ("controls",), ("about",)):
            with self.subTest(command=command[0]):
                self.assert_fails(FAILED, told, *command, "--host", "oldest-interface")
                self.assert_fails(USAGE, "--host: there is no host 'other' (expected after-effects",
                                  *command, "--host", "other")
                self.run_well(*command, "--host=no-project")
        scene = {"version": 1, "host": "oldest-interface", "layers": [{"controls": {}}]}
        (self.folder / "s.json").write_text(json.dumps(scene))
        self.assert_fails(FAILED, told, "render", "s.json", "-f", "f.png", "-o", "o.png")
        self.run_well("render", "s.json", "--host", "after-effects", "-f", "f.png", "-o", "o.png")

    def test_a_border_around_the_frame_is_kept_or_its_loss_is_told(self):
        pictures.write_png(self.path("f.png"), np.full((4, 8, 4), 255, np.uint8))
        grown = ("render", "--effect", GROWING, "-f", "f.png", "-o", "o.png")
        self.run_well(*grown)
        self.assertEqual(pictures.read_png(self.path("o.png")).shape, (10, 14, 4))
        self.run_well(*grown, "--region", "0,0,8,4")
        self.assertEqual(pictures.read_png(self.path("o.png")).shape, (4, 8, 4))
        lost = "draws beyond the frame is left out (14x10 pixels at most, from -3,-3)"
        layers = {"version": 1, "layers": [{"effect": GROWING, "controls": {}},
                                           {"effect": EFFECT, "controls": {}}]}
        (self.folder / "l.json").write_text(json.dumps(layers))
        process = self.run_well("render", "l.json", "-f", "f.png", "-o", "o.png")
        self.assertIn(lost, process.stderr)
        self.assertEqual(pictures.read_png(self.path("o.png")).shape, (4, 8, 4))
        process = self.run_well(*grown, "--stereo", "top-bottom")
        self.assertIn("draws beyond the frame is left out (14x8 pixels", process.stderr)
        self.assertEqual(pictures.read_png(self.path("o.png")).shape, (4, 8, 4))

    def test_a_farm_takes_no_frames_that_grow(self):
        (self.folder / "s.json").write_text(json.dumps({
            "version": 1, "effect": GROWING, "frame": "f.png", "frames": "1-4",
            "output": "o.#.png", "controls": {}}))
        before = self.files()
        self.assert_fails(USAGE, "pixels (expected 8 x 4); what changes a frame's size is for",
                          "submit", "s.json", "--scheduler", "list", "--chunk", "2")
        self.assertEqual(self.files(), before)

    def test_deeper_pictures_render_at_the_effect_s_depth_with_a_word(self):
        pictures.write_png(self.path("f.png"), np.zeros((4, 8, 4), np.uint16))
        process = self.run_well("render", "--effect", EFFECT, "-f", "f.png", "-o", "o.png")
        self.assertIn("the effect has no depth 16: renders at depth 8", process.stderr)
        self.assert_fails(USAGE, "does not render at depth 16", "render", "--effect", EFFECT, "-f",
                          "f.png", "-o", "o.png", "--depth", "16")

    def write_moving(self):
        """Frames 1 to 5 of a white pixel that moves on by one column each."""
        for number in range(1, 6):
            frame = np.zeros((1, 6, 4), np.uint8)
            frame[0, number] = (10 * number, 0, 0, 255)
            pictures.write_png(self.path(f"m.{number}.png"), frame)

    def echo(self, *arguments):
        return ("render", "--effect", ECHO, "--echoes", "2", "--spacing", "1", "--decay", "0", "-f",
                "m.#.png", "-o", "o.#.png", *arguments)

    def test_effects_get_earlier_frames_of_a_sequence(self):
        self.write_moving()
        self.run_well(*self.echo("--threads", "3"))
        for number in range(1, 6):
            red = pictures.read_png(self.path(f"o.{number}.png"))[0, :, 0].tolist()
            shown = range(max(1, number - 2), number + 1)  # none before the first
            self.assertEqual(red, [10 * x if x in shown else 0 for x in range(6)])

    def test_an_earlier_frame_that_is_missing_is_an_error(self):
        self.write_moving()
        (self.folder / "m.2.png").unlink()
        self.assert_fails(FAILED, "m.2.png: no such file", *self.echo("--frames", "4"))
        self.assertNotIn("o.4.png", self.files())
        self.run_well(*self.echo("--frames", "5"))
