# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""What the program tells: help, version, controls, about, completion, sample."""

import json
import os
import re
import subprocess
import unittest

import numpy as np

import pictures
from support import PROGRAM, WINDOWS, ProgramTest

FAILED = 1
USAGE = 2
COMPILER = "x86_64-w64-mingw32-gcc" if WINDOWS else "cc"
ABORTED = "aborted" if WINDOWS else "aborted (SIGABRT)"
# Windows' own loader survives that.
ADDRESSED = ("not a library this system can load" if WINDOWS else
             "crashed: segmentation fault (SIGSEGV)")


class Info(ProgramTest):

    def test_version(self):
        for option in ("--version", "-V", "version"):
            self.assertRegex(self.run_well(option).stdout, r"\Aveltra \d+\.\d+\.\d+\n\Z")

    def test_help_lists_the_commands(self):
        out = self.run_well("help").stdout
        for command in ("render", "controls", "about", "sample", "completion",
                        "manual"):
            self.assertIn("\n  " + command, out)
        self.assertEqual(self.run_well("--help").stdout, out)
        self.assertEqual(self.run_program().returncode, USAGE)

    def test_render_help_has_groups_examples_and_the_effect_s_controls(self):
        out = self.run_well("render", "--help").stdout
        for part in ("Controls of the effect", "Rendering", "examples:", "--travel",
                     "-10000 to 10000", "(default 54%,17%)", "--region"):
            self.assertIn(part, out)
        self.assertEqual(self.run_well("help", "render").stdout, out)

    def test_controls_are_those_the_effect_declares(self):
        controls = json.loads(self.run_well("controls", "--json").stdout)["controls"]
        self.assertEqual([c["name"] for c in controls],
                         ["Layer", "Start Point", "End Point", "Layer Placement", "Travel",
                          "Size (Degrees)", "Spherical Filtering", "Opacity",
                          "Composite with Original"])
        travel = controls[4]
        self.assertEqual((travel["type"], travel["default"], travel["minimum"], travel["maximum"],
                          travel["slider_minimum"], travel["slider_maximum"]),
                         ("slider", 0, -10000, 10000, 0, 100))
        self.assertEqual(controls[1]["default_percent"], [54, 17])
        self.assertEqual(controls[3]["choices"], ["Stretch", "Tile", "Solo"])
        self.assertIs(controls[8]["default"], True)
        table = self.run_well("controls").stdout.splitlines()
        self.assertEqual(len(table), 10)
        self.assertRegex(table[6], r"^Size \(Degrees\) +slider +30 +0 to 120 +--size-degrees, "
                                   r"--degrees$")

    def test_every_name_of_a_control_works(self):
        pictures.write_png(self.path("f.png"), np.zeros((4, 8, 4), np.uint8))
        values = {"layer": "f.png", "point": "1,1", "popup": "tile", "slider": "5"}
        for control in json.loads(self.run_well("controls", "--json").stdout)["controls"]:
            for name in control["options"]:
                if control["type"] == "checkbox":
                    self.run_well("render", "-f", "f.png", "--" + name, "-o", "o.png")
                    self.run_well("render", "-f", "f.png", "--no-" + name, "-o", "o.png")
                else:
                    self.run_well("render", "-f", "f.png", "--" + name, values[control["type"]],
                                  "-o", "o.png")

    def test_about_and_identity(self):
        about = self.run_well("about").stdout
        self.assertIn("NVT Veltra, v1.5", about)
        self.assertIn("Place selected layer along spherical line.", about)
        identity = json.loads(self.run_well("about", "--json").stdout)
        self.assertEqual(identity["match_name"], "NSVeltra")
        self.assertEqual(identity["version"], "1.5")

    def make_library(self, name, on_load):
        """A library that does this in C as soon as it is loaded."""
        headers = ("windows.h",) if WINDOWS else ("sys/syscall.h", "unistd.h")
        source = "".join(f"#include <{name}>\n" for name in ("stdio.h", "stdlib.h", *headers)) + \
                 f"__attribute__((constructor)) static void Load(void) {{ {on_load} }}\n"
        subprocess.run([COMPILER, "-shared", "-fPIC", "-x", "c", "-", "-o", name], cwd=self.folder,
                       input=source, text=True, check=True)

    def test_a_library_that_crashes_or_ends_the_process_is_an_error_of_one_line(self):
        self.make_library("crash.so", "puts(\"noise\"); fflush(stdout); abort();")
        # Not by _exit, where the thread sanitizer would complain of leaving in mid-load.
        self.make_library("leave.so", "TerminateProcess(GetCurrentProcess(), 0);" if WINDOWS else
                          "syscall(SYS_exit_group, 0);")
        for command in ("about", "controls"):
            done = self.assert_fails(FAILED, "crash.so: crashed", command, "--effect", "crash.so")
            self.assertIn(ABORTED, done.stderr)
            self.assertEqual(done.stdout, "")
            self.assert_fails(FAILED, "leave.so: ended the program with exit status 0", command,
                              "--json", "--effect", "leave.so")
        self.assert_fails(FAILED, "nothing.so", "about", "--effect", "nothing.so")

    @unittest.skipIf(os.environ.get("VELTRA_SANITIZE"), "sanitizers tell of crashes themselves")
    def test_a_render_ends_with_a_word_when_its_effect_crashes(self):
        pictures.write_png(self.path("f.png"), np.zeros((4, 8, 4), np.uint8))
        for how, words in (("abort();", "crashed: " + ABORTED),
                           ("*(volatile int*)16 = 1;", ADDRESSED)):
            self.make_library("crash.so", how)
            self.assert_fails(FAILED, f"crash.so: {words}", "render", "--effect",
                              "crash.so", "-f", "f.png", "-o", "o.png")
            self.assertEqual(self.files(), ["crash.so", "f.png"])

    def test_completion_is_a_bash_script_that_completes(self):
        script = self.run_well("completion").stdout
        (self.folder / "completion.sh").write_text(script)

        def complete(*words):
            line = (f"source ./completion.sh; COMP_WORDS=({' '.join(words)}); "
                    f"COMP_CWORD={len(words) - 1}; _veltra; echo \"${{COMPREPLY[@]}}\"")
            return subprocess.run(["bash", "-c", line], cwd=self.folder, check=True,
                                  capture_output=True, text=True).stdout.split()

        self.assertEqual(complete("veltra", "ren"), ["render"])
        self.assertEqual(complete("veltra", "render", "--trav"), ["--travel"])
        self.assertEqual(complete("veltra", "render", "--placement", "s"), ["stretch", "solo"])
        self.assertEqual(complete("veltra", "render", "--depth", "fl"), ["float"])
        self.assertEqual(complete("veltra", "render", "--depth", "=", "fl"), ["float"])
        self.assertEqual(complete("veltra", "render", "--depth", "="), ["8", "16", "float"])
        self.assertEqual(complete("veltra", "render", "--layer", "=", "comp"), ["completion.sh"])
        self.assertEqual(complete("veltra", "render", "--layer", "comp"), ["completion.sh"])
        self.assertEqual(complete("veltra", "check", "--only", "reg"), ["registration", "regions"])
        self.assertEqual(complete("veltra", "submit", "--sched"), ["--scheduler"])
        self.assertEqual(complete("veltra", "submit", "--scheduler", "l"), ["list"])
        self.assertEqual(complete("veltra", "compare", "--difference", "comp"), ["completion.sh"])
        self.assertEqual(complete("veltra", "render", "--join", "comp"), ["completion.sh"])
        self.assertEqual(complete("veltra", "compare", "--threshold", ""), [])
        for command in ("render", "view", "compare", "controls", "about", "check", "sample",
                        "submit", "verify", "task"):
            options = re.findall(r"(?<![\w-])--[a-z-]+", self.run_well(command, "--help").stdout)
            self.assertGreater(len(options), 1)
            self.assertEqual(set(options) - set(complete("veltra", command, "--")), set())
        self.assert_fails(USAGE, "expected bash", "completion", "fish")

    def test_the_manual_page_has_every_command_and_option(self):
        page = self.run_well("manual").stdout.replace("\\-", "-")
        self.assertTrue(page.startswith(".TH VELTRA 1 "))
        self.assertIn("Opacity: 0 to 100 (default 100)", page)
        for command in ("render", "view", "compare", "controls", "about", "check", "sample",
                        "submit", "verify", "task", "completion"):
            self.assertIn(f".SH VELTRA {command.upper()}\n", page)
            shown = self.run_well(command, "--help").stdout
            for option in re.findall(r"(?<![\w-])--[a-z-]+", shown):
                self.assertIn(option, page)

    def test_sample_draws_a_scene_that_renders(self):
        self.run_well("sample", "s", "--size", "256x128")
        self.assertEqual(pictures.read_png(self.path("s/frame.png")).shape, (128, 256, 4))
        layer = pictures.read_png(self.path("s/layer.png"))
        self.assertEqual(layer[0, 0, 3], 0)  # soft edges: from nothing through everything between
        self.assertGreater(len(np.unique(layer[:, :, 3])), 100)
        self.run_well("render", "s/scene.json", "--frames", "1-2")
        self.assertTrue((self.folder / "s" / "travel.0002.png").exists())
        self.assert_fails(USAGE, "give a folder", "sample")

    def test_output_that_nobody_reads_is_an_error(self):
        with open("/dev/full", "w") as full:
            process = subprocess.run([PROGRAM, "controls"], stdout=full, stderr=subprocess.PIPE,
                                     text=True)
        self.assertEqual(process.returncode, 1)
        self.assertIn("standard output", process.stderr)
