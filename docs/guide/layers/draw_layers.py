#!/usr/bin/python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Draws the layers that the guide's pictures show, beside this file. Needs python3-pil and the
DejaVu fonts; run by hand when a drawing is to change."""

import pathlib

from PIL import Image, ImageDraw, ImageFont

FOLDER = pathlib.Path(__file__).parent
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"
WHITE = (255, 255, 255, 255)
ORANGE = (255, 140, 40, 255)
INK = (24, 28, 60, 255)
FINE = 4  # drawn this much larger and reduced, for smooth edges


def new(width, height):
    picture = Image.new("RGBA", (width * FINE, height * FINE), (255, 255, 255, 0))
    return picture, ImageDraw.Draw(picture)


def save(picture, name):
    picture.resize((picture.width // FINE, picture.height // FINE), Image.LANCZOS).save(
        FOLDER / name, optimize=True)


def text(draw, place, words, size, fill):
    draw.text((place[0] * FINE, place[1] * FINE), words, fill=fill, anchor="mm",
              font=ImageFont.truetype(FONT, size * FINE))


def title():
    picture, draw = new(900, 160)
    text(draw, (450, 80), "NORTH STATION", 92, WHITE)
    save(picture, "title.png")


def ticker():
    """Ends where it begins, so that tiles join."""
    picture, draw = new(640, 80)
    draw.rectangle((0, 0, 640 * FINE, 80 * FINE), fill=INK)
    text(draw, (295, 40), "LIVE FROM THE ROOF", 46, WHITE)
    draw.ellipse([edge * FINE for edge in (590, 26, 618, 54)], fill=ORANGE)
    save(picture, "ticker.png")


def arrow():
    picture, draw = new(900, 160)
    points = [(0, 50), (740, 50), (740, 0), (900, 80), (740, 160), (740, 110), (0, 110), (60, 80)]
    draw.polygon([(x * FINE, y * FINE) for x, y in points], fill=ORANGE)
    save(picture, "arrow.png")


def logo():
    picture, draw = new(400, 400)
    draw.ellipse([edge * FINE for edge in (0, 0, 400, 400)], fill=INK)
    draw.ellipse([edge * FINE for edge in (18, 18, 382, 382)], outline=WHITE, width=10 * FINE)
    draw.arc([edge * FINE for edge in (-60, 150, 460, 520)], 226, 314, fill=ORANGE, width=34 * FINE)
    text(draw, (200, 165), "N", 190, WHITE)
    save(picture, "logo.png")


if __name__ == "__main__":
    for draw_one in (title, ticker, arrow, logo):
        draw_one()
