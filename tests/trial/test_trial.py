# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The trial kit: its script sets in After Effects what its scenes set in the program, under the names
that are compared, and its report tells the pictures that differ from those that do not."""

import html.parser
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.environ["VELTRA"]
NODE = os.environ["NODE"]
HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "trial"))
import make_kit  # noqa: E402


def run(*arguments, **options):
    return subprocess.run([str(argument) for argument in arguments], capture_output=True, text=True,
                          timeout=120, check=False, **options)


class KitTest(unittest.TestCase):
    """A kit, and the controls that the effect declares by the names that scenes have for them."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltra-trial-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.kit = cls.folder / "trial"
        done = run(sys.executable, "-B", make_kit.TRIAL / "make_kit.py", PROGRAM, cls.kit)
        if done.returncode != 0:
            raise AssertionError(done.stderr)
        cls.table = make_kit.read_table()
        cls.declared = run(PROGRAM, "controls", "--json").stdout
        cls.controls = {option: control for control in json.loads(cls.declared)["controls"]
                        for option in control["options"]}

    def scene(self, setting):
        return json.loads((self.kit / "scenes" / f"{setting['name']}.json").read_text())


class Script(KitTest):
    def run_script(self, case="nothing"):
        done = run(NODE, HERE / "after_effects.js", self.kit, case, input=self.declared)
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(done.stdout)

    def value_in_after_effects(self, name, value):
        control = self.controls[name]
        if isinstance(value, dict):
            return {"keys": [{"time": key["frame"] / 24, "value": key["value"], "linear": True}
                             for key in value["keys"]]}
        if control["type"] == "popup":
            return [choice.lower() for choice in control["choices"]].index(value) + 1
        return int(value) if isinstance(value, bool) else value

    def test_every_setting_is_what_its_scene_is(self):
        rendered = {item["name"]: item for item in self.run_script()["rendered"]}
        self.assertEqual(len(rendered), 20)
        for setting in self.table["settings"]:
            with self.subTest(setting=setting["name"]):
                item, scene = rendered[setting["name"]], self.scene(setting)
                frame, layer = item["layers"]
                self.assertEqual((frame["source"], frame["enabled"]), ("frame.png", True))
                self.assertEqual((layer["source"], layer["enabled"]), ("layer.png", False))
                self.assertTrue(frame["best"] and layer["best"])
                values, = frame["effects"]
                self.assertEqual(values.pop("Layer"), 2)
                self.assertEqual(scene["controls"].pop("layer"), "../layer.png")
                self.assertEqual(values, {
                    self.controls[name]["name"]: self.value_in_after_effects(name, value)
                    for name, value in scene["controls"].items()})
                self.assertEqual({"Layer", *values},
                                 {control["name"] for control in self.controls.values()})
                self.compare_rendering(item, scene, frame)

    def compare_rendering(self, item, scene, frame):
        self.assertEqual({"8": 8, "16": 16, "float": 32}[scene["depth"]], item["bits"])
        self.assertEqual(item["resolution"], [scene.get("downsample", 1)] * 2)
        x, y, width, height = map(int, scene.get("region", "0,0,2048,1024").split(","))
        self.assertEqual((item["size"], frame["position"]), ([width, height], [1024 - x, 512 - y]))
        last = int(scene["frames"].split("-")[-1])
        self.assertEqual((round(item["frames"], 9), item["rate"], scene["rate"]),
                         (last + 1, 24, "24"))
        self.assertEqual((item["pixelAspect"], item["workingSpace"], item["linearBlending"]),
                         (1, "", False))
        self.assertEqual(item["settings"], "Current Settings")
        self.assertEqual(item["module"], {8: "Veltra PNG 8", 16: "Veltra PNG 16",
                                          32: "Veltra OpenEXR"}[item["bits"]])
        self.assertEqual(item["multiFrame"], last > 0)

    def test_it_writes_where_the_comparison_looks(self):
        files = {str(pathlib.Path(item["file"]).relative_to(self.kit)).replace("[####]", "####")
                 for item in self.run_script()["rendered"]}
        batch = (self.kit / "compare.bat").read_bytes().decode()
        calls = re.findall(r"^call :compare (\S+) (\S+) \S+\r$", batch, flags=re.M)
        self.assertEqual(files, {f"after-effects/{name}.####{ending}" for name, ending in calls})
        self.assertIn(" compare after-effects/%1.####%2 headless/%1.####%2 ", batch)

    def test_the_settings_are_every_kind_that_matters(self):
        controls = [setting["controls"] for setting in self.table["settings"]]
        for name, expected in (("placement", {"stretch", "tile", "solo"}),
                               ("filtering", {True, False}), ("composite", {True, False})):
            self.assertEqual({values[name] for values in controls}, expected)
        for name, expected in (("depth", {8, 16, 32}), ("resolution", {1, 2}),
                               ("multiFrame", {True, False})):
            self.assertEqual({setting[name] for setting in self.table["settings"]}, expected)
        self.assertTrue(any(values["opacity"] < 100 for values in controls))
        self.assertTrue(any(setting["region"] for setting in self.table["settings"]))
        for values in controls:
            self.assertTrue(all(isinstance(part, int) for part in values["start"] + values["end"]))
        for setting in self.table["settings"]:
            for (first, start), (last, end) in setting["keys"].values():
                self.assertEqual((end - start) % (last - first), 0)

    def test_pictures_of_an_earlier_run_go_once_nothing_is_missing(self):
        self.assertEqual(self.run_script()["removed"], ["02-tile.0000.png"])
        for case, word in (("effect", "is not installed"), ("newproject", "is still open"),
                           ("templates", "no output module template called 'Veltra PNG 8'"),
                           ("folder", "cannot make the folder")):
            with self.subTest(missing=case):
                told = self.run_script(case)
                self.assertEqual((told["rendered"], told["removed"]), ([], []))
                self.assertIn(word, told["alerts"][0])
                self.assertIn("stopped: ", told["log"][-1])

    def test_the_log_tells_what_could_not_be_done(self):
        self.assertIn("20-moving: rendered", self.run_script()["log"])
        self.assertIn("20-moving: not rendered", self.run_script("disk")["log"])
        self.assertIn("this version renders one frame at a time", self.run_script("multiframe")["log"])


class Page(html.parser.HTMLParser):
    """What a reader finds: texts by section, and the sources of pictures."""

    def __init__(self, text):
        super().__init__()
        self.sections, self.pictures, self.open = [""], [], []
        self.feed(text)
        self.close()

    def handle_starttag(self, tag, attributes):
        if tag == "section":
            self.sections.append("")
        if tag == "img":
            self.pictures.append(dict(attributes)["src"])
        elif tag != "meta":
            self.open.append(tag)

    def handle_endtag(self, tag):
        if self.open.pop() != tag:
            raise AssertionError(f"</{tag}> closes something else")

    def handle_data(self, data):
        self.sections[-1] += data


class Report(KitTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        (cls.kit / "headless").mkdir()
        for setting in cls.table["settings"]:
            done = run(PROGRAM, *make_kit.render_arguments(setting["name"]), cwd=cls.kit)
            if done.returncode != 0:
                raise AssertionError(done.stderr)
        # After Effects' pictures: the same, but for one that differs and one that is missing.
        theirs = cls.kit / "after-effects"
        shutil.copytree(cls.kit / "headless", theirs)
        shutil.copy(theirs / "03-solo.0000.png", theirs / "02-tile.0000.png")
        (theirs / "20-moving.0005.png").unlink()
        (theirs / "log.txt").write_text("After Effects 24\n")
        cls.page = cls.write_report()

    @classmethod
    def write_report(cls):
        """What compare.bat does."""
        report = cls.kit / "report"
        report.mkdir()
        (report / "program.txt").write_text(run(PROGRAM, "--version").stdout)
        verdicts = {}
        for setting in cls.table["settings"]:
            name = setting["name"]
            done = run(PROGRAM, *make_kit.compare_arguments(name, setting["ending"],
                                                            setting["tolerance"]), cwd=cls.kit)
            (report / f"{name}.txt").write_text(done.stdout + done.stderr)
            verdicts[name] = "pass" if done.returncode == 0 else "FAIL"
        passed = str(list(verdicts.values()).count("pass"))
        lines = []
        for kind, *rest in make_kit.page_parts(cls.table):
            if kind == "file":
                lines.append((cls.kit / rest[0]).read_text())
            else:
                word = verdicts[rest[0]] if kind == "verdict" else passed
                lines.append(rest[-1] if kind == "text" else rest[-1].replace("{}", word))
        text = "\n".join(lines)
        (cls.kit / "report.html").write_text(text)
        return Page(text)

    def section(self, name):
        found, = [text for text in self.page.sections if name in text.split("\n")[0]]
        return found

    def test_it_counts_those_that_pass(self):
        self.assertEqual(self.page.open, [])
        self.assertIn("18 of 20 settings pass.", self.page.sections[0])
        told = [text.split(":")[0].strip() for text in self.page.sections[1:-1]]
        self.assertEqual([place for place, word in enumerate(told) if word != "pass"], [1, 19])

    def test_an_equal_picture_passes(self):
        self.assertIn("pass: 01-stretch, ", self.section("01-stretch"))
        self.assertIn("01-stretch.0000.png: equal", self.section("01-stretch"))

    def test_a_different_one_fails_with_its_worst_pixel(self):
        found = self.section("02-tile")
        self.assertIn("FAIL: 02-tile, ", found)
        self.assertRegex(found, r"worst 0\.\d+ at \d+,\d+ \(\d+ \d+ \d+ \d+ and \d+")
        again = run(PROGRAM, "compare", self.kit / "report/02-tile.0000.png",
                    self.kit / "report/01-stretch.0000.png")
        self.assertEqual(again.returncode, 1, "its difference is as black as that of equals")

    def test_a_missing_one_fails_and_says_so(self):
        self.assertIn("FAIL: 20-moving, ", self.section("20-moving"))
        self.assertIn("veltra: after-effects/20-moving.0005.png: ", self.section("20-moving"))

    def test_it_shows_pictures_that_are_there(self):
        missing = {source for source in self.page.pictures if not (self.kit / source).exists()}
        self.assertEqual({source for source in missing if "20-moving" not in source}, set())
        self.assertIn("headless/01-stretch.0000.png", self.page.pictures)
        self.assertIn("report/17-float-filtered.0000.png", self.page.pictures)

    def test_one_step_of_a_depth_passes(self):
        # A float's 1/255 may lie a little above the number.
        for bits, step in ((8, 1 / 255), (16, 1 / 65535)):
            number, full = self.table["tolerances"][str(bits)].split("/")
            self.assertGreater(float(number) / float(full), step * 1.001)
            self.assertLess(float(number) / float(full), step * 3)


if __name__ == "__main__":
    unittest.main()
