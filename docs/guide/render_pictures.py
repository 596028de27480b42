#!/usr/bin/python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Renders the guide's pictures with the program, from the list in pictures.txt.

usage: render_pictures.py PROGRAM FOLDER [NAME...]
"""

import argparse
import pathlib
import shlex
import subprocess
import tempfile

GUIDE = pathlib.Path(__file__).resolve().parent
FRAME_SIZE = "1200x600"
JPEG_QUALITY = "88"


def read_list():
    """The pictures' names and the words that make them, in order."""
    pictures = {}
    for line in (GUIDE / "pictures.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            name, words = line.split(":", 1)
            if name in pictures:
                raise SystemExit(f"pictures.txt: {name} is there twice")
            pictures[name] = shlex.split(words)
    return pictures


class Renderer:
    """Keeps every picture without loss in a work folder, since views look at others."""

    def __init__(self, program, work):
        self.program = program
        self.work = pathlib.Path(work)
        self.pictures = read_list()
        self.run("sample", self.work, "--size", FRAME_SIZE)

    def run(self, *words):
        done = subprocess.run([self.program, *map(str, words)], cwd=GUIDE, capture_output=True,
                              text=True)
        if done.returncode != 0:
            raise SystemExit(f"veltra {' '.join(map(str, words))}\n{done.stderr}")

    def exact(self, name):
        """The picture as PNG; made when it is not there yet."""
        path = self.work / f"{name}.png"
        if path.exists():
            return path
        words = [self.work / "layer.png" if word == "sample" else word
                 for word in self.pictures[name]]
        if words[0] == "view":
            self.run("view", "-f", self.exact(words[1]), *words[2:], "-o", path, "--quiet")
        elif words[0] == "on":
            self.run("render", "-f", self.exact(words[1]), *words[2:], "-o", path, "--quiet")
        else:
            self.run("render", "-f", self.work / "frame.png", *words, "-o", path, "--quiet")
        return path

    def shown(self):
        """The names of the pictures that the pages show."""
        return [name for name in self.pictures if not name.endswith("-frame")]

    def extension(self, name):
        """What is transparent stays PNG."""
        words = self.pictures[name]
        return ".png" if "--globe" in words or "--no-composite" in words else ".jpg"

    def publish(self, name, folder):
        """Writes the picture as the pages show it; returns its path."""
        target = pathlib.Path(folder).resolve() / (name + self.extension(name))
        source = self.exact(name)
        if target.suffix == ".png":
            target.write_bytes(source.read_bytes())
        else:
            self.run("render", "-f", source, "--no-alpha", "--jpeg-quality", JPEG_QUALITY, "-o",
                     target, "--quiet")
        return target


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program")
    parser.add_argument("folder")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as work:
        renderer = Renderer(str(pathlib.Path(options.program).resolve()), work)
        for name in options.names or renderer.shown():
            if name not in renderer.pictures:
                raise SystemExit(f"{name}: not in pictures.txt")
            renderer.publish(name, options.folder)


if __name__ == "__main__":
    main()
