# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Every format and depth, in and out. Without a layer the picture is the frame."""

import pathlib
import shutil
import struct
import subprocess
import unittest
import zlib

import numpy as np

import pictures
from support import ProgramTest, gradient


def _small_profile():
    """A small RGB profile that libpng takes: a header and one tag."""
    header = bytearray(128)
    header[8:12] = b"\2\x10\0\0"
    header[12:24] = b"mntrRGB XYZ "
    header[36:40] = b"acsp"
    header[68:80] = bytes.fromhex("0000f6d6000100000000d32d")
    text = b"text\0\0\0\0" + b"not a real profile".ljust(64, b"\0")
    profile = bytes(header) + struct.pack(">I4sII", 1, b"cprt", 144, len(text)) + text
    return len(profile).to_bytes(4, "big") + profile[4:]


class Formats(ProgramTest):

    def through(self, source, target, *options):
        self.run_well("render", "-f", source, "-o", target, *options)
        return self.path(target)

    def test_png_of_8_bits_comes_back_as_it_was(self):
        frame = gradient(33, 17, 4, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        for compression in ("none", "fast", "best", "6"):
            out = pictures.read_png(self.through("in.png", "out.png", "--compression",
                                                 compression))
            np.testing.assert_array_equal(out, frame)

    def test_png_of_16_bits_comes_back_within_one_step(self):
        frame = gradient(64, 64, 4, np.uint16)
        frame[0, :5, 0] = [0, 1, 32767, 32768, 65535]
        pictures.write_png(self.path("in.png"), frame)
        out = pictures.read_png(self.through("in.png", "out.png"))
        self.assertEqual(out.dtype, np.uint16)
        self.assertLessEqual(np.abs(out.astype(int) - frame).max(), 1)
        np.testing.assert_array_equal(out[0, [0, 4], 0], [0, 65535])

    def test_8_bits_survive_a_render_in_16_bits(self):
        frame = np.arange(256, dtype=np.uint8).reshape(16, 16, 1).repeat(4, axis=2)
        pictures.write_png(self.path("in.png"), frame)
        out = pictures.read_png(self.through("in.png", "mid.png", "--depth", "16"))
        self.assertEqual(out.dtype, np.uint16)
        np.testing.assert_allclose(out, frame.astype(int) * 257, atol=1)
        back = pictures.read_png(self.through("mid.png", "back.png", "--depth", "8"))
        np.testing.assert_array_equal(back, frame)

    def test_integers_become_float_by_their_full_scale(self):
        for dtype, full in ((np.uint8, 255), (np.uint16, 65535)):
            frame = gradient(16, 16, 4, dtype, alpha=1)
            pictures.write_png(self.path("in.png"), frame)
            out, _ = pictures.read_tiff(self.through("in.png", "out.tif", "--depth", "float"))
            np.testing.assert_allclose(out, frame / np.float32(full), rtol=1e-6)

    def test_float_becomes_integers_clamped_and_rounded(self):
        values = np.array([-1, 0, 0.1, 0.4999, 0.5, 1, 7, np.inf, -np.inf, np.nan], np.float32)
        frame = np.ones((1, len(values), 4), np.float32)
        frame[0, :, 0] = values
        pictures.write_tiff(self.path("in.tif"), frame)
        out = pictures.read_png(self.through("in.tif", "out.png", "--output-depth", "8"))
        np.testing.assert_array_equal(out[0, :, 0], [0, 0, 26, 127, 128, 255, 255, 255, 0, 0])
        deep = pictures.read_png(self.through("in.tif", "deep.png"))
        self.assertEqual(deep.dtype, np.uint16)
        np.testing.assert_array_equal(deep[0, :4, 0], [0, 0, 6554, 32761])

    def test_grey_and_missing_alpha_are_filled_in(self):
        for channels in (1, 2, 3, 4):
            frame = gradient(9, 7, channels, np.uint8)
            pictures.write_png(self.path("in.png"), frame)
            out = pictures.read_png(self.through("in.png", "out.png"))
            colour = frame[:, :, :3] if channels >= 3 else frame[:, :, :1].repeat(3, axis=2)
            np.testing.assert_array_equal(out[:, :, :3], colour)
            alpha = frame[:, :, -1] if channels in (2, 4) else 255
            np.testing.assert_array_equal(out[:, :, 3], np.broadcast_to(alpha, out.shape[:2]))

    def test_tiff_comes_in_every_layout(self):
        for dtype in (np.uint8, np.uint16, np.float32):
            frame = gradient(37, 21, 4, dtype)
            for layout in ({}, {"rows_per_strip": 4}, {"planar": 2}, {"byte_order": ">"},
                           {"tile": 16}, {"planar": 2, "rows_per_strip": 5}):
                with self.subTest(dtype=dtype, **layout):
                    pictures.write_tiff(self.path("in.tif"), frame, **layout)
                    out, tags = pictures.read_tiff(self.through("in.tif", "out.tif"))
                    self.assertEqual(out.dtype, dtype)
                    self.assertEqual(tags[338], (2,))  # straight alpha
                    tolerance = 1 if dtype == np.uint16 else 0
                    np.testing.assert_allclose(out.astype(float), frame.astype(float),
                                               atol=tolerance)

    def test_tiff_compressions_all_hold_the_same_picture(self):
        frame = gradient(40, 30, 4, np.uint8)
        pictures.write_tiff(self.path("in.tif"), frame)
        for name in ("none", "lzw", "deflate", "packbits", "fast", "best"):
            self.through("in.tif", name + ".tif", "--compression", name)
            out = pictures.read_png(self.through(name + ".tif", name + ".png"))
            np.testing.assert_array_equal(out, frame)

    def test_tiff_that_counts_down_to_black_is_turned_round(self):
        frame = gradient(8, 8, 1, np.uint8)
        pictures.write_tiff(self.path("in.tif"), frame, photometric=0)
        out = pictures.read_png(self.through("in.tif", "out.png"))
        np.testing.assert_array_equal(out[:, :, 0], 255 - frame[:, :, 0])

    def test_multiplied_tiff_is_divided(self):
        frame = np.array([[[64, 32, 0, 128], [10, 20, 30, 0], [9, 9, 9, 255]]], np.uint8)
        pictures.write_tiff(self.path("in.tif"), frame, alpha_kind=1)
        out = pictures.read_png(self.through("in.tif", "out.png"))
        np.testing.assert_array_equal(out[0, 0], [128, 64, 0, 128])
        np.testing.assert_array_equal(out[0, 1], [10, 20, 30, 0])  # nothing to divide by

    def test_exr_is_divided_on_reading_and_multiplied_on_writing(self):
        for dtype in (np.float16, np.float32):
            frame = np.zeros((4, 4, 4), dtype)
            frame[:, :] = [0.25, 0.125, 2.0, 0.5]
            frame[0, 0] = 0
            pictures.write_exr(self.path("in.exr"), frame)
            straight, _ = pictures.read_tiff(self.through("in.exr", "straight.tif"))
            np.testing.assert_array_equal(straight[1, 1], [0.5, 0.25, 4.0, 0.5])
            np.testing.assert_array_equal(straight[0, 0], [0, 0, 0, 0])
            back, _ = pictures.read_exr(self.through("in.exr", "out.exr"))
            self.assertEqual(back.dtype, dtype)  # half stays half
            np.testing.assert_array_equal(back, frame)

    def test_straight_colour_under_zero_alpha_does_not_glow_in_exr(self):
        frame = np.array([[[255, 128, 0, 0], [255, 128, 0, 255]]], np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        out, _ = pictures.read_exr(self.through("in.png", "out.exr"))
        np.testing.assert_array_equal(out[0, 0], [0, 0, 0, 0])
        np.testing.assert_allclose(out[0, 1], [1, 128 / 255, 0, 1], rtol=1e-3)

    def test_light_without_coverage_stays_where_nothing_covers_it(self):
        frame = np.zeros((8, 8, 4), np.float32)
        frame[:, :, 0] = 2.5
        frame[:4, :, 3] = 0.5
        pictures.write_exr(self.path("in.exr"), frame)
        process = self.run_well("render", "-f", "in.exr", "-o", "out.exr")
        self.assertNotIn("alpha", process.stderr)
        out, _ = pictures.read_exr(self.path("out.exr"))
        np.testing.assert_array_equal(out, frame)
        self.assertFalse(np.signbit(out).any())
        told = "in.exr: its light without coverage (alpha 0) is left out at reduced resolution"
        self.assertNotIn(told, process.stderr)
        process = self.run_well("render", "-f", "in.exr", "-o", "out.exr", "--downsample", "2")
        self.assertEqual(process.stderr.count(told), 1)

    def test_alpha_of_zero_everywhere_is_told_once(self):
        frame = np.zeros((8, 8, 4), np.float16)
        frame[:, :, 1] = 0.75
        for number in (1, 2, 3):
            pictures.write_exr(self.path(f"in.{number}.exr"), frame)
        process = self.run_well("render", "-f", "in.#.exr", "-o", "out.#.exr")
        self.assertEqual(process.stderr.count("alpha is 0 everywhere"), 1, process.stderr)
        np.testing.assert_array_equal(pictures.read_exr(self.path("out.2.exr"))[0], frame)

    def test_exr_attributes_go_along(self):
        frame = gradient(9, 7, 4, np.float32, alpha=1)
        attributes = [("timeCode", "timecode", struct.pack("<II", 0x01020304, 7)),
                      ("chromaticities", "chromaticities", struct.pack("<8f", *range(1, 9))),
                      ("framesPerSecond", "rational", struct.pack("<iI", 24000, 1001)),
                      ("studio/shot", "string", b"A 12"),
                      ("studio/own", "studioKind", b"\0\1\2")]
        pictures.write_exr(self.path("in.exr"), frame, data_window=(3, -2, 11, 4),
                           attributes=attributes, aspect=2)
        process = self.run_well("render", "-f", "in.exr", "-o", "out.exr")
        self.assertIn("in.exr: its pixel aspect ratio of 2 counts as 1", process.stderr)
        out, header = pictures.read_exr(self.path("out.exr"))
        np.testing.assert_array_equal(out, frame)
        for name, _, value in attributes:
            self.assertEqual(header.get(name), value, name)
        self.assertEqual(struct.unpack("<f", header["pixelAspectRatio"])[0], 2)
        for window in ("dataWindow", "displayWindow"):
            self.assertEqual(struct.unpack("<4i", header[window]), (3, -2, 11, 4))
        self.run_well("render", "-f", "in.exr", "-o", "part.exr", "--region", "1,1,4,4",
                      "--pixel-aspect", "3/2")
        _, header = pictures.read_exr(self.path("part.exr"))
        self.assertEqual(struct.unpack("<4i", header["displayWindow"]), (0, 0, 3, 3))
        self.assertEqual(struct.unpack("<f", header["pixelAspectRatio"])[0], 1.5)
        self.assertEqual(header["studio/shot"], b"A 12")

    def test_exr_parts_are_chosen_by_name(self):
        left = gradient(6, 5, 4, np.float32, alpha=1)
        right = left * np.array([2, 3, 4, 1], np.float32)
        depth = gradient(6, 5, 1, np.float32) * 9
        pictures.write_exr_parts(self.path("in.exr"), [("left", "RGBA", left),
                                                       ("right", "RGBA", right),
                                                       ("far", "Z", depth)])

        def rendered(*options):
            process = self.run_well("render", "-f", "in.exr", "-o", "out.exr", *options)
            return pictures.read_exr(self.path("out.exr"))[0], process.stderr

        out, told = rendered()
        np.testing.assert_array_equal(out, left)
        self.assertIn("in.exr: left out: part right, part far", told)
        _, told = rendered("--layer", "in.exr", "--channels", "right")
        self.assertIn("in.exr: left out: part right, part far", told)  # of the layer
        np.testing.assert_array_equal(rendered("--channels", "right")[0], right)
        np.testing.assert_array_equal(rendered("--channels", "right:G,R,B,A")[0],
                                      right[:, :, [1, 0, 2, 3]])
        out, _ = rendered("--channels", "far:Z", "--no-alpha")
        np.testing.assert_array_equal(out, depth.repeat(3, axis=2))
        self.assert_fails(1, "in.exr: no channels 'near:Z' (expected some of ", "render", "-f",
                          "in.exr", "-o", "out.exr", "--channels", "near:Z")

    def test_exr_channels_are_chosen_by_name(self):
        names = ["A", "B", "G", "R", "left.B", "left.G", "left.R", "depth.Z"]
        pixels = gradient(6, 5, 4, np.float32, alpha=1).repeat(2, axis=2)
        pixels *= np.arange(1, 9, dtype=np.float32)
        pictures.write_exr(self.path("in.exr"), pixels, names=names)

        def rendered(*options):
            process = self.run_well("render", "-f", "in.exr", "-o", "out.exr", "--no-alpha",
                                    *options)
            out, header = pictures.read_exr(self.path("out.exr"))
            self.assertEqual(out.shape[2], 3)
            return out, process.stderr

        out, told = rendered("--channels", "left")
        np.testing.assert_array_equal(out, pixels[:, :, [6, 5, 4]])
        self.assertIn("left out: A, B, G, R, depth.Z", told)
        out, _ = rendered("--channels", "depth.Z")
        np.testing.assert_array_equal(out, pixels[:, :, [7, 7, 7]])
        out, _ = rendered("--channels", "left.B,R,G")
        np.testing.assert_array_equal(out, pixels[:, :, [4, 3, 2]])
        self.assert_fails(1, "in.exr: no channels 'right' (expected some of A, B, G, R, depth.Z, ",
                          "render", "-f", "in.exr", "-o", "out.exr", "--channels", "right")
        pictures.write_png(self.path("in.png"), gradient(4, 4, 4, np.uint8))
        self.assert_fails(1, "in.png: has no named channels", "render", "-f", "in.png", "-o",
                          "out.exr", "--channels", "left")

    def test_exr_of_whole_numbers_is_refused(self):
        pictures.write_exr(self.path("in.exr"), np.full((4, 4, 3), 7, np.uint32))
        self.assert_fails(1, "whole numbers in channel R", "render", "-f", "in.exr", "-o",
                          "out.exr")

    def test_dwa_is_close_and_small(self):
        frame = gradient(128, 96, 3, np.float32)
        pictures.write_exr(self.path("in.exr"), frame)
        self.through("in.exr", "a.exr", "--compression", "dwaa")
        self.assertEqual(pictures.read_exr_header(self.path("a.exr"))["compression"], b"\x08")
        back, _ = pictures.read_exr(self.through("a.exr", "b.exr"))
        self.assertLess(np.abs(back[:, :, :3] - frame).max(), 0.02)

    def test_half_tiff_goes_out_when_asked_for(self):
        frame = gradient(17, 9, 4, np.float16)
        pictures.write_tiff(self.path("in.tif"), frame)
        for compression in ("none", "deflate"):
            self.through("in.tif", "half.tif", "--output-depth", "half", "--compression",
                         compression)
            out, tags = pictures.read_tiff(self.through("half.tif", "out.tif"))
            self.assertEqual(out.dtype, np.float32)
            np.testing.assert_array_equal(out, frame.astype(np.float32))

    @unittest.skipUnless(shutil.which("ffmpeg"), "needs ffmpeg")
    def test_webp_comes_in(self):
        frame = gradient(40, 24, 4, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        subprocess.run(["ffmpeg", "-v", "error", "-i", self.path("in.png"), "-c:v", "libwebp",
                        "-lossless", "1", self.path("in.webp")], check=True)
        np.testing.assert_array_equal(pictures.read_png(self.through("in.webp", "out.png")), frame)
        whole = pathlib.Path(self.path("in.webp")).read_bytes()
        pathlib.Path(self.path("cut.webp")).write_bytes(whole[:len(whole) // 2])
        self.assert_fails(1, "cut.webp: damaged or cut short WebP file", "render", "-f", "cut.webp",
                          "-o", "cut.png")
        self.assertFalse(pathlib.Path(self.path("cut.png")).exists())

    def test_print_colours_are_refused(self):
        pictures.write_tiff(self.path("in.tif"), gradient(8, 8, 4, np.uint8), photometric=5)
        self.assert_fails(1, "a TIFF in print colours (CMYK)", "render", "-f", "in.tif", "-o",
                          "out.png")

    def test_half_stays_finite(self):
        frame = np.ones((2, 2, 4), np.float32)
        frame[0, 0, 0] = 1e9
        pictures.write_exr(self.path("in.exr"), frame)
        out, _ = pictures.read_exr(self.through("in.exr", "out.exr", "--output-depth", "half"))
        self.assertEqual(out[0, 0, 0], np.float16(65504))

    def test_exr_compressions_all_hold_the_same_picture(self):
        frame = gradient(50, 40, 4, np.float32, alpha=1)
        pictures.write_exr(self.path("in.exr"), frame)
        for name in ("none", "zip", "zips", "rle", "piz"):
            self.through("in.exr", name + ".exr", "--compression", name)
            out, _ = pictures.read_tiff(self.through(name + ".exr", name + ".tif"))
            np.testing.assert_array_equal(out, frame)
        out, _ = pictures.read_exr(self.path("zip.exr"))
        np.testing.assert_array_equal(out, frame)

    def test_exr_shows_its_display_window(self):
        data = np.ones((2, 3, 4), np.float32)
        pictures.write_exr(self.path("in.exr"), data, data_window=(4, 1, 6, 2),
                           display_window=(1, 0, 5, 3))
        out, _ = pictures.read_exr(self.through("in.exr", "out.exr"))
        expected = np.zeros((4, 5, 4), np.float32)
        expected[1:3, 3:5] = 1
        np.testing.assert_array_equal(out, expected)

    def test_exr_luminance_and_colour_without_alpha_come_in(self):
        grey = gradient(6, 5, 1, np.float32)
        pictures.write_exr(self.path("grey.exr"), grey)
        out, _ = pictures.read_exr(self.through("grey.exr", "out.exr"))
        np.testing.assert_array_equal(out, np.dstack([grey, grey, grey, np.ones_like(grey)]))

    def test_hdr_comes_in_as_float(self):
        frame = np.array([[[0.5, 0.25, 0.125], [8, 2, 1]], [[0, 0, 0], [1.5, 1, 0.75]]],
                         np.float32)
        pictures.write_hdr(self.path("in.hdr"), frame)
        out, _ = pictures.read_tiff(self.through("in.hdr", "out.tif"))
        self.assertEqual(out.dtype, np.float32)
        np.testing.assert_allclose(out[:, :, :3], frame, rtol=0.01)
        np.testing.assert_array_equal(out[:, :, 3], 1)

    def test_jpeg_goes_out_without_alpha_and_comes_in(self):
        frame = np.full((16, 16, 4), [200, 100, 50, 255], np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        process = self.run_well("render", "-f", "in.png", "-o", "out.jpg")
        self.assertNotIn("alpha", process.stderr)  # there is none to lose
        back = pictures.read_png(self.through("out.jpg", "back.png"))
        np.testing.assert_allclose(back.astype(int), frame, atol=3)
        frame[3, 4, 3] = 254
        pictures.write_png(self.path("in.png"), frame)
        process = self.run_well("render", "-f", "in.png", "-o", "out.jpg")
        self.assertIn("JPEG has no alpha; it is left out", process.stderr)

    def test_colour_profile_goes_along(self):
        profile = _small_profile()
        chunk = b"icc\0\0" + zlib.compress(profile)
        frame = gradient(8, 8, 3, np.uint8)
        pictures.write_png(self.path("in.png"), frame, extra=pictures.png_chunk(b"iCCP", chunk))
        for name in ("out.png", "back.png"):
            self.through("in.png", "mid.tif")
            out = self.through("in.png" if name == "out.png" else "mid.tif", name)
            kept = dict(pictures.png_chunks(out))[b"iCCP"]
            self.assertEqual(zlib.decompress(kept[kept.index(b"\0") + 2:]), profile)

    def test_panorama_tags_go_along_with_the_whole_picture(self):
        xmp = b"<x:xmpmeta xmlns:x='adobe:ns:meta/'>GPano equirectangular</x:xmpmeta>"
        chunk = pictures.png_chunk(b"iTXt", b"XML:com.adobe.xmp\0\0\0\0\0" + xmp)
        pictures.write_png(self.path("in.png"), gradient(16, 8, 3, np.uint8), extra=chunk)
        for step in (("in.png", "a.tif"), ("a.tif", "b.jpg"), ("b.jpg", "c.png")):
            self.through(*step)
            self.assertIn(xmp, (self.folder / step[1]).read_bytes())
        for part in (("--region", "0,0,8,8"), ("--downsample", "2")):
            self.through("in.png", "d.png", *part)
            self.assertNotIn(xmp, (self.folder / "d.png").read_bytes())

    def test_float_png_and_8_bit_exr_take_what_the_format_has(self):
        frame = gradient(8, 8, 4, np.uint8, alpha=1)
        pictures.write_png(self.path("in.png"), frame)
        out, _ = pictures.read_exr(self.through("in.png", "out.exr"))
        self.assertEqual(out.dtype, np.float16)
        deep, _ = pictures.read_exr(self.through("in.png", "deep.exr", "--depth", "16"))
        self.assertEqual(deep.dtype, np.float32)

    def test_png_of_many_blocks_is_one_stream(self):
        rng = np.random.default_rng(3)
        for dtype, top in ((np.uint8, 256), (np.uint16, 65536)):
            frame = rng.integers(0, top, (600, 500, 4)).astype(dtype)
            frame[100:400] //= 64  # some of it compresses, some does not
            pictures.write_png(self.path("in.png"), frame)
            for threads in ("1", "3"):
                out = pictures.read_png(self.through("in.png", "out.png", "--threads", threads))
                np.testing.assert_allclose(out.astype(int), frame, atol=dtype == np.uint16)

    def test_threads_do_not_change_a_byte_of_any_format(self):
        rng = np.random.default_rng(4)
        frame = rng.integers(0, 256, (500, 300, 4)).astype(np.uint8)
        frame[100:400] //= 64
        pictures.write_png(self.path("in.png"), frame)
        self.through("in.png", "in.exr")
        for source in ("in.png", "in.exr"):
            for ending in ("png", "tif", "exr"):
                written = []
                for threads in ("1", "4"):
                    out = self.through(source, f"out{threads}.{ending}", "--threads", threads)
                    written.append(pathlib.Path(out).read_bytes())
                self.assertEqual(written[0], written[1], ending)

    def test_one_pixel_is_a_picture(self):
        frame = np.array([[[1, 2, 3, 4]]], np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        for name in ("out.png", "out.tif"):
            read = pictures.read_png if name.endswith("png") else \
                lambda path: pictures.read_tiff(path)[0]
            np.testing.assert_array_equal(read(self.through("in.png", name)), frame)

    @unittest.skipUnless(shutil.which("ffmpeg"), "ffmpeg is not installed")
    def test_interlaced_palette_and_small_png_come_in(self):
        frame = gradient(20, 20, 3, np.uint8)
        pictures.write_png(self.path("in.png"), frame)
        for form in ("pal8", "monob", "gray", "rgb48be"):
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", "in.png", "-pix_fmt", form,
                            "form.png"], cwd=self.folder, check=True)
            subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", "form.png", "-f", "rawvideo",
                            "-pix_fmt", "rgba", "form.raw"], cwd=self.folder, check=True)
            expected = np.fromfile(self.path("form.raw"), np.uint8).reshape(20, 20, 4)
            out = pictures.read_png(self.through("form.png", "out.png", "--depth", "8",
                                                 "--output-depth", "8"))
            np.testing.assert_allclose(out.astype(int), expected, atol=1)
