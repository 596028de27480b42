# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The guide says what the program does: its pictures are what is rendered today, and the values and
commands of its recipes are those of its pictures."""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.environ["VELTRA"]
GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "guide"
sys.path.insert(0, str(GUIDE))
import render_pictures  # noqa: E402

# Other versions of the JPEG library round a little differently.
THRESHOLD = "6/255"
FRAME_WIDTH = 3840
PLACES = {"Start Point": "--start", "End Point": "--end", "Layer Placement": "--placement",
          "Travel": "--travel", "Size (Degrees)": "--degrees"}


def pages():
    return sorted(GUIDE.glob("*.md"))


class Pictures(unittest.TestCase):
    def test_what_the_pages_show_is_what_the_list_makes(self):
        shown = set()
        for page in pages():
            for name in re.findall(r"\(pictures/([^)]+)\)", page.read_text()):
                self.assertTrue((GUIDE / "pictures" / name).exists(), f"{page.name}: {name}")
                shown.add(pathlib.Path(name).stem)
        with tempfile.TemporaryDirectory() as work:
            renderer = render_pictures.Renderer(PROGRAM, work)
            self.assertEqual(shown, set(renderer.shown()))

    def test_the_program_renders_these_pictures(self):
        with tempfile.TemporaryDirectory() as work, tempfile.TemporaryDirectory() as folder:
            renderer = render_pictures.Renderer(PROGRAM, work)
            for name in renderer.shown():
                with self.subTest(picture=name):
                    new = renderer.publish(name, folder)
                    done = subprocess.run([PROGRAM, "compare", "--threshold", THRESHOLD,
                                           GUIDE / "pictures" / new.name, new],
                                          capture_output=True, text=True)
                    self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


def recipes():
    """Title, rows of the table of values, and commands of each recipe that has some."""
    for recipe in (GUIDE / "recipes.md").read_text().split("\n## ")[1:]:
        commands = re.findall(r"^    veltra (.*)$", recipe, flags=re.M)
        rows = {cells[0]: cells[1:] for cells in
                ([cell.strip() for cell in line.strip("|").split("|")]
                 for line in recipe.splitlines() if line.startswith("| "))}
        if commands:
            yield recipe.splitlines()[0], rows, [shlex.split(command) for command in commands]


class Recipes(unittest.TestCase):
    def test_their_commands_make_their_pictures(self):
        made = {tuple(words[words.index("--layer"):])
                for words in render_pictures.read_list().values() if "--layer" in words}
        for title, _, commands in recipes():
            for words in commands:
                with self.subTest(recipe=title, command=words):
                    self.assertEqual(words[0], "render")
                    self.assertIn(tuple(words[words.index("--layer"):words.index("-o")]), made)

    def test_the_values_to_type_are_those_of_the_commands(self):
        titles = []
        for title, rows, commands in recipes():
            titles.append(title)
            for column, words in enumerate(commands):
                for control, option in PLACES.items():
                    with self.subTest(recipe=title, control=control):
                        self.compare(rows.get(control), column, words, option)
        self.assertGreaterEqual(len(titles), 6)

    def compare(self, cells, column, words, option):
        if cells is None:
            self.assertNotIn(option, words)
            return
        typed = cells[column]
        if option not in words:
            self.assertEqual(typed, "Stretch", "only the default may be left out")
            return
        given = words[words.index(option) + 1]
        if option not in ("--start", "--end"):
            self.assertEqual(typed.lower(), given)
            return
        yaw, pitch = (float(part.removesuffix("deg")) for part in given.split(","))
        x, y = (float(part) for part in typed.split(","))
        self.assertLessEqual(abs(x - (yaw / 360 + 0.5) * FRAME_WIDTH), 0.5)
        self.assertLessEqual(abs(y - (0.5 - pitch / 180) * FRAME_WIDTH / 2), 0.5)


if __name__ == "__main__":
    unittest.main()
