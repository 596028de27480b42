# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Videos on veltra.exe, and its end by keys. There is no ffmpeg for Windows here: a program of the
tests that knows its options and pipes stands in, with a video format of its own."""

import os
import pathlib
import pty
import shutil
import subprocess
import sys
import threading
import unittest

import numpy as np

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "cli"))
import pictures
from support import PROGRAM, ProgramTest, gradient, wait_until

RUN = os.environ["VELTRA_RUN"]
FILE = os.environ["VELTRA_FILE"]
HELPER = os.environ["VELTRA_HELPER"]
PRESS_KEY = os.environ["VELTRA_PRESS_KEY"]
STAND_IN = pathlib.Path(os.environ["VELTRA_STAND_IN"])
WITH_FFMPEG = {**os.environ, "WINEPATH": str(STAND_IN)}
FAILED = 1
INTERRUPTED = 130
HUNG_UP = 129
SIZE = (64, 32)


def frame(number, dtype=np.uint8):
    """Opaque, and of no other number."""
    picture = gradient(*SIZE, 4, dtype, alpha=1)
    picture[:8, :4 * number] = 0
    picture[..., 3] = np.iinfo(dtype).max
    return picture


class VideoTest(ProgramTest):

    def make_video(self, name="in.mp4", frames=6, dtype=np.uint8, sound=b""):
        width, height = SIZE
        form = "rgba64le" if dtype == np.uint16 else "rgba"
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(
            f"stand-in video {form:>15} {width} {height} 25 1 {frames:10} {len(sound):10}\n".encode()
            + sound + b"".join(frame(n + 1, dtype).tobytes() for n in range(frames)))

    def read_video(self, name):
        """The frames and the sound."""
        header, rest = (self.folder / name).read_bytes().split(b"\n", 1)
        _, _, form, width, height, rate, below, frames, sound = header.split()
        self.assertEqual((rate, below), (b"25", b"1"))
        shape = (int(frames), int(height), int(width), 4)
        dtype = np.uint16 if form == b"rgba64le" else np.uint8
        sound = int(sound)
        return np.frombuffer(rest[sound:], dtype).reshape(shape), rest[:sound]

    def run_program(self, *arguments, **options):
        options.setdefault("env", WITH_FFMPEG)
        return super().run_program(*arguments, **options)

    def make_layer(self):
        pictures.write_png(self.path("layer.png"), gradient(40, 20, 4, np.uint8))


class Videos(VideoTest):

    def test_a_video_has_the_frames_that_stills_have(self):
        self.make_layer()
        options = ("--layer", "layer.png", "--degrees", "70", "--filtering", "--quiet")
        for dtype in (np.uint8, np.uint16):
            with self.subTest(dtype=dtype):
                self.make_video(dtype=dtype, sound=b"\0\x1a\r\n" * 50)
                for number in range(1, 7):
                    pictures.write_png(self.path(f"in.{number}.png"), frame(number, dtype))
                self.run_well("render", "-f", "in.mp4", "-o", "out.mp4", *options)
                self.run_well("render", "-f", "in.#.png", "-o", "still.#.png", *options)
                after, sound = self.read_video("out.mp4")
                self.assertEqual(sound, b"\0\x1a\r\n" * 50)
                for number, picture in enumerate(after, 1):
                    np.testing.assert_array_equal(
                        picture, pictures.read_png(self.path(f"still.{number}.png")))
                self.assertFalse(np.array_equal(after[0], frame(1, dtype)))

    def test_a_video_is_read_from_its_middle(self):
        self.make_video()
        self.run_well("render", "-f", "in.mp4", "--frames", "4-5", "-o", "o.#.png", "--quiet")
        for number in (4, 5):
            np.testing.assert_array_equal(pictures.read_png(self.path(f"o.{number}.png")),
                                          frame(number))

    def test_names_of_every_script_reach_ffmpeg(self):
        name = '測試 éß/in & 100% äö.mp4'
        self.make_video(name, sound=b"sound")
        target = "Z:" + self.path("測試 éß/Ω out.mp4").replace("/", "\\")
        self.run_well("render", "-f", name, "-o", target, "--quiet")
        after, sound = self.read_video("測試 éß/Ω out.mp4")
        self.assertEqual((len(after), sound), (6, b"sound"))
        np.testing.assert_array_equal(after[5], frame(6))

    def test_ffmpeg_is_found_beside_the_program(self):
        beside = self.folder / "program"
        beside.mkdir()
        for source in (FILE, os.environ["VELTRA_EFFECT"], STAND_IN / "ffmpeg.exe",
                       STAND_IN / "ffprobe.exe"):
            shutil.copy(source, beside)
        self.make_video()
        subprocess.run([RUN, beside / "veltra.exe", "render", "-f", "in.mp4", "-o", "out.mp4",
                        "--quiet"], cwd=self.folder, check=True, timeout=120)
        self.assertEqual(len(self.read_video("out.mp4")[0]), 6)

    def test_a_cut_video_is_an_error_and_what_was_there_stays(self):
        self.make_video()
        data = (self.folder / "in.mp4").read_bytes()
        (self.folder / "in.mp4").write_bytes(data[:len(data) * 6 // 10])
        (self.folder / "out.mp4").write_text("precious")
        self.assert_fails(FAILED, "in.mp4: tells of 6 frames but has 3 (cut short or damaged)",
                          "render", "-f", "in.mp4", "-o", "out.mp4", "--quiet")
        self.assertEqual((self.folder / "out.mp4").read_text(), "precious")
        self.assertEqual(self.files(), ["in.mp4", "out.mp4"])

    def test_what_is_no_video_is_one_line(self):
        (self.folder / "bad.mp4").write_text("no video")
        self.assert_fails(FAILED, "bad.mp4: not a readable video (bad.mp4: Invalid data", "render",
                          "-f", "bad.mp4", "-o", "out.mp4")
        self.assertEqual(self.files(), ["bad.mp4"])

    def test_an_encoder_that_fails_or_dies_is_an_error_and_leaves_no_file(self):
        self.make_video(frames=40)
        for encoder, message in (("nonsense", "out.mp4: Unknown encoder 'nonsense'"),
                                 ("dies", "out.mp4: ffmpeg could not write the video")):
            self.assert_fails(FAILED, message, "render", "-f", "in.mp4", "-o", "out.mp4", "--quiet",
                              "--video-options", "-c:v " + encoder)
            self.assertEqual(self.files(), ["in.mp4"])

    def test_a_video_that_is_open_elsewhere_stays_and_is_told_of(self):
        self.make_video()
        (self.folder / "out.mp4").write_text("precious")
        with subprocess.Popen([RUN, HELPER, "hold", "out.mp4"], cwd=self.folder,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as viewer:
            self.assertEqual(viewer.stdout.readline().strip(), "held")
            self.assert_fails(FAILED, "out.mp4: in use by another program", "render", "-f",
                              "in.mp4", "-o", "out.mp4", "--quiet")
            self.assertEqual((self.folder / "out.mp4").read_text(), "precious")
            self.assertEqual(self.files(), ["in.mp4", "out.mp4"])
            viewer.stdin.close()

    def test_without_ffmpeg_videos_are_refused_in_one_line(self):
        self.make_video()
        self.assert_fails(FAILED, "not found (videos need ffmpeg)", "render", "-f", "in.mp4", "-o",
                          "out.mp4", env=os.environ)


class Keys(VideoTest):

    def press(self, keys, is_going, *arguments):
        """Presses keys in a console once the run is going; its exit code and last words."""
        master, console = pty.openpty()
        with subprocess.Popen([RUN, PRESS_KEY, keys, "press", FILE, *arguments], cwd=self.folder,
                              stdin=console, stdout=console, stderr=subprocess.PIPE,
                              start_new_session=True, env=WITH_FFMPEG) as process:
            os.close(console)
            threading.Thread(target=self.drain, args=(master,), daemon=True).start()
            wait_until(is_going, "a run with work in progress")
            self.assertIsNone(process.poll(), "the run was over before it could be stopped")
            (self.folder / "press").touch()
            try:
                errors = process.communicate(timeout=60)[1].decode()
            finally:
                process.kill()
        (self.folder / "press").unlink()
        return process.returncode, errors

    @staticmethod
    def drain(terminal):
        try:
            while os.read(terminal, 4096):
                pass
        except OSError:
            pass  # the terminal goes with its last user
        os.close(terminal)

    def test_ctrl_c_and_ctrl_break_and_a_closed_console_end_a_sequence_between_frames(self):
        for key, code, errors in (("c", INTERRUPTED, "veltra: interrupted\n"),
                                  ("b", INTERRUPTED, "veltra: interrupted\n"),
                                  ("x", HUNG_UP, None)):
            with self.subTest(key=key):
                ended = self.press(key, lambda: (self.folder / "out.2.png").exists(), "render",
                                   "--size", "1500x1500", "--frames", "1-5000", "--quiet", "-o",
                                   "out.#.png")
                self.assertEqual(ended[0], code)
                if errors is not None:
                    self.assertEqual(ended[1], errors)
                for name in self.files():
                    self.assertRegex(name, r"^out\.\d+\.png$")
                    pictures.read_png(self.path(name))
                    (self.folder / name).unlink()

    def test_once_or_twice_they_end_a_video_and_the_encoder_and_leave_nothing(self):
        self.make_video()

        def encodes():
            # Its header is written once the first frame has come.
            return any(name.startswith(".out") for name in self.files())

        for keys in ("c", "b", "bb"):
            with self.subTest(keys=keys):
                code, _ = self.press(keys, encodes, "render", "-f", "in.mp4", "-o", "out.mp4",
                                     "--quiet", "--video-options", "-c:v slow")
                self.assertEqual(code, INTERRUPTED)
                self.assertEqual(self.files(), ["in.mp4"])


if __name__ == "__main__":
    unittest.main()
