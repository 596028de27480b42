# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The documents say what the program does: their commands run, their scenes are taken, and their
tables are what the program prints."""

import json
import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

import numpy as np

import pictures
from support import WINDOWS, ProgramTest

DOCUMENTS = pathlib.Path(__file__).resolve().parents[2] / "docs"
FRAMES = {"-f", "--frame", "--layer"}
# What would take long, and the same in small.
SMALLER = {"8192x4096": "256x128", "1920x1080": "320x180", "800x800": "80x80"}


def text_of(name):
    return (DOCUMENTS / name).read_text()


def commands_in(text):
    """The lines that begin with the program's name, as words; those cut by a backslash whole. In a
    list of commands their explanations stand apart."""
    text = text.replace("\\\n", " ")
    for line in re.findall(r"^ *(?:\$ )?veltra (\S.*)$", text, flags=re.M):
        line = re.sub(r" +# .*", "", line)
        if not re.match(r"\w+ {2,}", line):
            yield shlex.split(line)


class Documents(ProgramTest):
    def make_picture(self, path, width=64, height=32):
        pixels = np.zeros((height, width, 4), dtype=np.uint8)
        pixels[..., 0] = np.arange(width) * 3
        pixels[..., 1:] = 200
        path.parent.mkdir(parents=True, exist_ok=True)
        if path.suffix == ".png":
            pictures.write_png(str(path), pixels)
            return
        made = self.folder / "made.png"
        pictures.write_png(str(made), pixels)
        self.run_well("render", "-f", made, "-o", path, "--quiet")
        made.unlink()

    def make_video(self, path):
        subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i",
                        "testsrc=size=128x64:rate=25:duration=0.2", "-pix_fmt", "yuv420p", path],
                       check=True)

    def make_input(self, name, numbers=(1, 2)):
        """A file of this name, or some of a sequence, where there is none."""
        path = self.folder / name
        if path.suffix == ".mp4":
            if not path.exists():
                self.make_video(path)
        elif "####" in name:
            names = [name.replace("####", f"{number:04}") for number in numbers]
            self.make_input(names[0])
            for other in names[1:]:
                if not (self.folder / other).exists():
                    shutil.copy(self.folder / names[0], self.folder / other)
        elif not path.exists():
            self.make_picture(path)

    def run_words(self, words):
        if WINDOWS and any(word.endswith(".mp4") for word in words):
            return  # there is no ffmpeg for Windows here
        words = [SMALLER.get(word, word) for word in words]
        for option, value in zip(words, words[1:]):
            if option in FRAMES and value != "none":
                self.make_input(value)
        if words[0] == "compare":
            self.make_input(words[1])
            if not (self.folder / words[2]).exists() and "####" not in words[2]:
                shutil.copy(self.folder / words[1], self.folder / words[2])
            self.make_input(words[2])
        if words[0] == "sample" and "--size" not in words:
            words += ["--size", "256x128"]
        if "--frames" in words:  # as many of the documents' frames as have been made
            words[words.index("--frames") + 1] = "1-2"
        self.run_well(*words)

    def test_the_commands_run(self):
        for name in ("cli.md", "scene.md", "guide/without-after-effects.md"):
            commands = list(commands_in(text_of(name)))
            self.assertGreater(len(commands), 2, name)
            self.make_input("a.png")
            self.run_well("render", "-f", "a.png", "--save-scene", "scene.json", "-o", "out.png")
            for words in commands:
                with self.subTest(document=name, command=words):
                    self.run_words(words)

    def test_the_examples_of_the_help_run(self):
        self.run_well("sample", "s", "--size", "128x64")
        for command in ("render", "view", "compare"):
            text = self.run_well(command, "--help").stdout
            examples = [words for words in commands_in(text[text.find("examples:"):])]
            for words in examples:
                if "scene.json" in words:
                    self.run_well("render", "-f", "s/frame.png", "--save-scene", "scene.json",
                                  "--frames", "1-2", "-o", "scene.####.png")
                with self.subTest(command=words):
                    self.run_words(words)

    def test_the_scenes_are_taken(self):
        blocks = re.findall(r"^```json\n(.*?)^```", text_of("scene.md"), flags=re.M | re.S)
        scenes = [block for block in blocks if '"version"' in block]
        self.assertGreaterEqual(len(scenes), 2)
        for number, block in enumerate(scenes):
            with self.subTest(scene=number):
                scene = json.loads(block)
                first, last = map(int, scene["frames"].split("-"))
                self.make_input(scene["frame"], range(first, last + 1))
                for layer in scene.get("layers", [scene]):
                    self.make_input(layer["controls"]["layer"], range(1, 4))
                (self.folder / "renders").mkdir(exist_ok=True)
                (self.folder / "scene.json").write_text(block)
                told = self.run_well("render", "scene.json", "--dry-run").stdout
                self.assertIn(f"{last:04}", told)

    def test_the_lists_are_what_the_program_prints(self):
        text = text_of("cli.md")
        self.assertIn(self.run_well("controls").stdout.strip(), text)
        listed = dict(re.findall(r"^veltra (\w+) {2,}(.+?)(?: \(docs/.*\))?$", text, flags=re.M))
        told = dict(re.findall(r"^  (\w+) {2,}(.+)$", self.run_well("--help").stdout, flags=re.M))
        self.assertEqual(listed, told)

    def test_every_option_is_explained(self):
        text = text_of("cli.md")
        for command in ("render", "view", "compare", "sample"):
            shown = re.findall(r"(?<![\w-])--[a-z][a-z-]+",
                               self.run_well(command, "--help").stdout.split("Controls of")[0])
            shown += re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", self.run_well(command, "--help").stdout,
                                flags=re.M)
            for option in set(shown) - {"--help"}:
                if not option.startswith("--no-") or option in ("--no-alpha", "--no-clobber"):
                    self.assertIn(option, text, command)


if __name__ == "__main__":
    unittest.main()
