# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Does what docs/effects.md tells its readers to do, and gets what it shows them."""

import argparse
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

OPTIONS = None


def blocks():
    """The page's blocks of commands and output, as lists of lines."""
    page = (pathlib.Path(OPTIONS.source) / "docs" / "effects.md").read_text()
    return [block.splitlines() for block in re.findall(r"```\n(.*?)```", page, re.DOTALL)]


class Page(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="veltra-page-"))
        for name in ("examples", "host_api", "numerics"):
            shutil.copytree(pathlib.Path(OPTIONS.source) / name, cls.folder / name)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder, ignore_errors=True)

    def run_line(self, line):
        words = shlex.split(line)
        words[0] = {"veltra": OPTIONS.program, "g++": OPTIONS.compiler}.get(words[0], words[0])
        return subprocess.run(words, cwd=self.folder, capture_output=True, text=True, timeout=600)

    def test_the_commands_work_and_print_what_is_shown(self):
        shown = blocks()
        commands = [line for block in shown for line in block
                    if line.startswith(("g++ ", "veltra "))]
        self.assertGreaterEqual(len(commands), 6)
        printed = {}
        for line in commands:
            done = self.run_line(line)
            self.assertEqual(done.returncode, 0, line + "\n" + done.stderr + done.stdout)
            printed[line] = done.stdout
        table = next(block for block in shown if block[0].startswith("CONTROL "))
        self.assertEqual(printed["veltra controls --effect vignette.so"].splitlines(), table)
        check = next(text for line, text in printed.items() if line.startswith("veltra check"))
        summary = next(block[-1] for block in shown if block[-1].endswith(" not applicable"))
        self.assertIn(summary, check)

    def test_the_mistake_is_found_as_shown(self):
        source = self.folder / "examples" / "vignette" / "vignette.cpp"
        text = source.read_text()
        wrong = text.replace("shade.originX = output->origin_x;", "shade.originX = 0;")
        self.assertNotEqual(wrong, text)
        (self.folder / "wrong.cpp").write_text(wrong)
        build = next(line for block in blocks() for line in block if line.startswith("g++ "))
        build = build.replace("examples/vignette/vignette.cpp", "wrong.cpp").replace(
            "-o vignette.so", "-o wrong.so")
        self.assertEqual(self.run_line(build).returncode, 0)
        done = self.run_line("veltra check --only regions wrong.so")
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertRegex(done.stdout, r"FAILED  regions ")
        self.assertIn("the part is not the whole's", done.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", required=True)
    parser.add_argument("--program", required=True)
    parser.add_argument("--compiler", required=True)
    OPTIONS, remaining = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *remaining])
