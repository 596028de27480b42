# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""One frame: the controls, the ways of rendering, regions and resolutions."""

import numpy as np

import pictures
from support import ProgramTest, gradient, posix_only

LINE = ("--start", "30%,50%", "--end", "70%,50%", "--degrees", "40")


class Still(ProgramTest):

    def setUp(self):
        super().setUp()
        self.frame = gradient(128, 64, 4, np.uint8, alpha=1)
        layer = np.zeros((16, 64, 4), np.uint8)
        layer[:, :32] = [255, 0, 0, 255]
        layer[:, 32:] = [0, 0, 255, 255]
        self.layer = layer
        pictures.write_png(self.path("frame.png"), self.frame)
        pictures.write_png(self.path("layer.png"), layer)

    def render(self, *options, output="out.png", frame=("-f", "frame.png")):
        self.run_well("render", *frame, "--layer", "layer.png", *LINE, *options, "-o", output)
        return pictures.read_png(self.path(output))

    def test_layer_lies_between_the_points(self):
        out = self.render()
        np.testing.assert_array_equal(out[32, 45], [255, 0, 0, 255])
        np.testing.assert_array_equal(out[32, 83], [0, 0, 255, 255])
        np.testing.assert_array_equal(out[:20], self.frame[:20])  # off the strip
        np.testing.assert_array_equal(out[:, :34], self.frame[:, :34])

    def test_without_a_layer_the_frame_stays(self):
        self.run_well("render", "-f", "frame.png", "-o", "out.png")
        np.testing.assert_array_equal(pictures.read_png(self.path("out.png")), self.frame)

    def test_transparent_frame_has_the_size_asked_for(self):
        out = self.render(frame=("--size", "128x64"))
        self.assertEqual(out.shape, (64, 128, 4))
        np.testing.assert_array_equal(out[32, 45], [255, 0, 0, 255])
        self.assertFalse(out[:20].any())

    def test_compositing_can_be_turned_off(self):
        for option in ("--no-composite", "--composite=off", "--no-composite-with-original"):
            out = self.render(option)
            self.assertFalse(out[:20].any())
            np.testing.assert_array_equal(out[32, 45], [255, 0, 0, 255])

    def test_opacity_fades_the_layer(self):
        out = self.render("--opacity", "50", frame=("--size", "128x64"))
        self.assertAlmostEqual(int(out[32, 45, 3]), 127, delta=1)
        gone = self.render("--opacity", "0")
        np.testing.assert_array_equal(gone, self.frame)

    def test_long_and_short_names_are_the_same_control(self):
        short = self.render("--placement", "solo", "--travel", "30")
        long = self.render("--layer-placement", "Solo", "--travel", "30")
        number = self.render("--placement=3", "--travel=30")
        np.testing.assert_array_equal(short, long)
        np.testing.assert_array_equal(short, number)

    def test_negative_numbers_are_values(self):
        back = self.render("--travel", "-25")
        forth = self.render("--travel", "25")
        self.assertEqual(back[32, 30, 0], 255)
        self.assertEqual(forth[32, 98, 2], 255)

    def test_points_in_percent_are_points_in_pixels(self):
        percent = self.render("--start", "25%,50%", "--end", "62.5%,25%")
        pixels = self.render("--start", "32,32", "--end", "80,16")
        mixed = self.render("--start", "25%,32", "--end", "80,25%")
        np.testing.assert_array_equal(percent, pixels)
        np.testing.assert_array_equal(percent, mixed)

    def test_smart_and_classic_agree(self):
        for depth in ("8", "16"):
            for options in ((), ("--filtering",), ("--placement", "tile"), ("--no-composite",)):
                smart = self.render("--depth", depth, *options)
                classic = self.render("--depth", depth, "--classic", *options)
                np.testing.assert_array_equal(smart, classic)

    def test_depths_agree(self):
        eight = self.render("--output-depth", "8")
        for depth in ("16", "float"):
            deep = self.render("--depth", depth, "--output-depth", "8")
            self.assertLessEqual(np.abs(deep.astype(int) - eight).max(), 1)

    def test_region_is_that_part_of_the_frame(self):
        whole = self.render()
        for options in ((), ("--classic",), ("--no-composite",)):
            whole = self.render(*options)
            part = self.render("--region", "30,20,50,30", *options)
            np.testing.assert_array_equal(part, whole[20:50, 30:80])

    def test_region_with_filtering_is_that_part_of_the_frame(self):
        noise = np.random.default_rng(5).integers(0, 256, (40, 200, 4), dtype=np.uint8)
        pictures.write_png(self.path("layer.png"), noise)
        for options in (("--filtering",), ("--filtering", "--downsample", "2"),
                        ("--filtering", "--classic"), ("--filtering", "--depth", "float",
                                                       "--output-depth", "16")):
            whole = self.render(*options)
            scale = 2 if "--downsample" in options else 1
            for left, top, width, height in ((40, 24, 40, 20), (44, 0, 8, 64), (0, 30, 128, 2),
                                             (60, 32, 2, 2)):
                part = self.render("--region", f"{left},{top},{width},{height}", *options)
                np.testing.assert_array_equal(
                    part, whole[top // scale:(top + height) // scale,
                                left // scale:(left + width) // scale])

    def test_region_is_cut_at_the_frame(self):
        part = self.render("--region", "100,-10,100,30")
        np.testing.assert_array_equal(part, self.render()[:20, 100:])

    def test_downsampled_frame_is_the_box_average_with_the_layer_in_place(self):
        out = self.render("--downsample", "2")
        self.assertEqual(out.shape, (32, 64, 4))
        boxes = self.frame.reshape(32, 2, 64, 2, 4).mean(axis=(1, 3))
        np.testing.assert_allclose(out[:10].astype(float), boxes[:10], atol=0.51)
        np.testing.assert_array_equal(out[16, 23], [255, 0, 0, 255])
        np.testing.assert_array_equal(out[16, 41], [0, 0, 255, 255])

    def test_sides_that_do_not_divide_are_rounded(self):
        self.assertEqual(self.render("--downsample", "3").shape, (21, 43, 4))

    def test_region_counts_in_full_resolution_pixels(self):
        whole = self.render("--downsample", "2")
        part = self.render("--downsample", "2", "--region", "30,20,50,30")
        np.testing.assert_array_equal(part, whole[10:25, 15:40])

    def test_draft_takes_the_nearest_pixel(self):
        best = self.render()
        draft = self.render("--quality", "draft")
        self.assertEqual(set(map(tuple, draft[32, 44:84])) - {(255, 0, 0, 255), (0, 0, 255, 255)},
                         set())
        self.assertFalse((best == draft).all())

    def test_layer_pixel_aspect_makes_it_wider(self):
        square = self.render("--placement", "solo", "--travel", "50", "--degrees", "10")
        wide = self.render("--placement", "solo", "--travel", "50", "--degrees", "10",
                           "--layer-pixel-aspect", "2/1")

        def length(picture):
            row = picture[32]
            return int(((row[:, 1] == 0) & (row[:, 3] == 255)).sum())

        self.assertGreater(length(wide), 1.7 * length(square))
        self.assertLess(length(wide), 2.3 * length(square))

    def test_frame_pixel_aspect_is_the_effect_s_to_use(self):
        self.render("--pixel-aspect", "10/11")
        self.render("--pixel-aspect", "0.9091")

    def test_nothing_but_the_output_appears(self):
        self.render()
        self.assertEqual(self.files(), ["frame.png", "layer.png", "out.png"])

    @posix_only
    def test_output_replaces_what_was_there_and_keeps_its_rights(self):
        (self.folder / "out.png").write_text("old")
        (self.folder / "out.png").chmod(0o600)
        self.render()
        self.assertEqual((self.folder / "out.png").stat().st_mode & 0o777, 0o600)

    @posix_only
    def test_output_through_a_link_replaces_the_file_and_not_the_link(self):
        (self.folder / "real.png").write_text("old")
        (self.folder / "out.png").symlink_to("real.png")
        self.render()
        self.assertTrue((self.folder / "out.png").is_symlink())
        pictures.read_png(self.path("real.png"))

    def test_input_can_be_its_own_output(self):
        out = self.render(output="frame.png")
        np.testing.assert_array_equal(out[32, 45], [255, 0, 0, 255])

    @posix_only
    def test_picture_comes_through_a_pipe(self):
        data = (self.folder / "frame.png").read_bytes()
        self.run_well("render", "-f", "/dev/stdin", "-o", "out.png", text=False, input=data)
        np.testing.assert_array_equal(pictures.read_png(self.path("out.png")), self.frame)

    def test_threads_do_not_change_the_picture(self):
        for options in ((), ("--filtering",)):
            one = self.render("--threads", "1", *options)
            many = self.render("--threads", "7", *options)
            np.testing.assert_array_equal(one, many)
