#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Draws the program's icon: a globe with a strip along a great circle.

usage: draw_icon.py FILE.ico
"""

import math
import struct
import sys

SIZES = (16, 24, 32, 48, 64, 128)
SAMPLES = 4  # along each side of a pixel
RADIUS = 0.94
TILT = math.radians(28)  # of the strip's axis, in the picture
LEAN = math.radians(32)  # of the strip's axis, towards the viewer
HALF_BAND = math.radians(15)
DEEP, SKY, STRIP, LINE = (24, 52, 92), (96, 152, 204), (250, 176, 60), (16, 32, 56)


def shade(colour, light):
    return [channel * (0.55 + 0.45 * light) for channel in colour]


def sample(x, y):
    """Colour and coverage at a place from -1 to 1, y upwards."""
    distance = x * x + y * y
    if distance > RADIUS * RADIUS:
        return (0, 0, 0), 0
    if distance > (RADIUS - 0.05) ** 2:
        return LINE, 1
    z = math.sqrt(RADIUS * RADIUS - distance)
    light = max(0.0, (-0.45 * x + 0.6 * y + 0.66 * z) / RADIUS)
    axis = (math.sin(TILT) * math.cos(LEAN), math.cos(TILT) * math.cos(LEAN), math.sin(LEAN))
    from_circle = math.asin((x * axis[0] + y * axis[1] + z * axis[2]) / RADIUS)
    if abs(from_circle) < HALF_BAND:
        return shade(STRIP, light), 1
    # Meridians, so that it is seen to be a globe.
    longitude = math.degrees(math.atan2(x, z)) % 30
    near = min(longitude, 30 - longitude) < 1.6
    base = [d + (s - d) * (y / RADIUS + 1) / 2 for d, s in zip(DEEP, SKY)]
    return shade(SKY if near else base, light), 1


def draw(size):
    """Rows from the bottom, each pixel blue, green, red and alpha: as icons hold them."""
    rows = []
    for row in range(size):
        for column in range(size):
            total, covered = [0.0, 0.0, 0.0], 0
            for part in range(SAMPLES * SAMPLES):
                x = (column + (part % SAMPLES + 0.5) / SAMPLES) / size * 2 - 1
                y = (row + (part // SAMPLES + 0.5) / SAMPLES) / size * 2 - 1
                colour, coverage = sample(x, y)
                covered += coverage
                total = [t + c * coverage for t, c in zip(total, colour)]
            red, green, blue = (round(t / covered) if covered else 0 for t in total)
            rows.append(bytes((blue, green, red, round(255 * covered / SAMPLES**2))))
    return b"".join(rows)


def image(size):
    mask = bytes((size + 31) // 32 * 4 * size)
    pixels = draw(size)
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(pixels) + len(mask),
                         0, 0, 0, 0)
    return header + pixels + mask


def main(path):
    images = [image(size) for size in SIZES]
    offset = 6 + 16 * len(images)
    entries = b""
    for size, data in zip(SIZES, images):
        entries += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    with open(path, "wb") as file:
        file.write(struct.pack("<HHH", 0, 1, len(images)) + entries + b"".join(images))


if __name__ == "__main__":
    main(sys.argv[1])
