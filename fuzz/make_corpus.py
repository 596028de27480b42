#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Writes the hand-made part of the fuzz targets' corpora.

    fuzz/make_corpus.py PROGRAM [FOLDER]

PROGRAM is a built veltra (with its effect beside it), which writes the compressed pictures; those
that it cannot write are put together here. FOLDER is fuzz/corpus by default.
"""

import itertools
import pathlib
import struct
import subprocess
import sys
import tempfile
import zlib

WIDTH, HEIGHT = 5, 4


# ---- PNG ----

def png_chunk(kind, data):
    return (struct.pack(">I", len(data)) + kind + data +
            struct.pack(">I", zlib.crc32(kind + data)))


def png(bits, colour, interlaced=0, extra=()):
    """Any colour type and bit depth, with a ramp of bytes for pixels."""
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colour]
    passes = [(0, 0, 1, 1)] if not interlaced else [
        (0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2),
        (0, 1, 1, 2)]
    rows = bytearray()
    for left, top, right, down in passes:
        columns = len(range(left, WIDTH, right))
        for y in range(top, HEIGHT, down):
            if columns:
                size = (columns * channels * bits + 7) // 8
                rows.append(y % 5)
                rows += bytes((37 * (y * size + i)) % (4 if colour == 3 else 256)
                              for i in range(size))
    body = png_chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, bits, colour, 0, 0,
                                          interlaced))
    if colour == 3:
        body += png_chunk(b"PLTE", bytes(range(12)))
    for kind, data in extra:
        body += png_chunk(kind, data)
    body += png_chunk(b"IDAT", zlib.compress(bytes(rows))) + png_chunk(b"IEND", b"")
    return b"\x89PNG\r\n\x1a\n" + body


def pngs():
    for colour, depths in {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 2, 4, 8), 4: (8, 16),
                           6: (8, 16)}.items():
        for bits in depths:
            yield f"colour{colour}_{bits}", png(bits, colour)
    yield "interlaced_8", png(8, 6, interlaced=1)
    yield "interlaced_16", png(16, 2, interlaced=1)
    yield "palette_with_alpha", png(8, 3, extra=[(b"tRNS", b"\x00\x80\xff")])
    yield "grey_with_key", png(16, 0, extra=[(b"tRNS", b"\x00\x25")])
    yield "profile_and_text", png(8, 2, extra=[
        (b"iCCP", b"p\0\0" + zlib.compress(b"profile")),
        (b"iTXt", b"XML:com.adobe.xmp\0\0\0\0\0<x/>"), (b"pHYs", struct.pack(">IIB", 2, 1, 0))])


# ---- TIFF ----

def tiff(tags, pixels, order="<"):
    """One directory; tags are (number, type, values), the strip's offset is filled in."""
    sizes = {1: 1, 3: 2, 4: 4, 5: 8}
    codes = {1: "B", 3: "H", 4: "I"}
    entries, extra = b"", b""
    after = 8 + 2 + 12 * len(tags) + 4
    total_extra = sum(len(values) * sizes[kind] for _, kind, values in tags
                      if len(values) * sizes[kind] > 4)
    start = after + total_extra
    for number, kind, values in sorted(tags):
        values = [start + v if number in (273, 324) else v for v in values]
        data = struct.pack(order + codes[kind] * len(values), *values)
        if len(data) > 4:
            entries += struct.pack(order + "HHII", number, kind, len(values), after + len(extra))
            extra += data
        else:
            entries += struct.pack(order + "HHI", number, kind, len(values)) + data.ljust(4, b"\0")
    mark = b"II*\0" if order == "<" else b"MM\0*"
    return (mark + struct.pack(order + "I", 8) + struct.pack(order + "H", len(tags)) + entries +
            struct.pack(order + "I", 0) + extra + pixels)


def simple_tiff(bits, channels, photometric, order="<", fmt=1, more=(), planar=1):
    row = (WIDTH * bits * (1 if planar == 2 else channels) + 7) // 8
    size = row * HEIGHT
    planes = channels if planar == 2 else 1
    pixels = bytes((29 * i) % 256 for i in range(size * planes))
    tags = [(256, 3, [WIDTH]), (257, 3, [HEIGHT]), (258, 3, [bits] * channels), (259, 3, [1]),
            (262, 3, [photometric]), (273, 4, [size * i for i in range(planes)]),
            (277, 3, [channels]), (278, 3, [HEIGHT]), (279, 4, [size] * planes),
            (284, 3, [planar]), (339, 3, [fmt] * channels)] + list(more)
    return tiff(tags, pixels, order)


def tiled_tiff(bits):
    tile = 16
    size = tile * tile * 3 * bits // 8
    tags = [(256, 3, [WIDTH + tile]), (257, 3, [HEIGHT]), (258, 3, [bits] * 3), (259, 3, [1]),
            (262, 3, [2]), (277, 3, [3]), (284, 3, [1]), (322, 3, [tile]), (323, 3, [tile]),
            (324, 4, [0, size]), (325, 4, [size, size])]
    return tiff(tags, bytes((29 * i) % 256 for i in range(size * 2)))


def tiffs():
    yield "grey_8", simple_tiff(8, 1, 1)
    yield "white_is_zero_16", simple_tiff(16, 1, 0, order=">")
    yield "bilevel", simple_tiff(1, 1, 1)
    yield "palette", simple_tiff(4, 1, 3, more=[(320, 3, list(range(48)))])
    yield "rgb_16_big_endian", simple_tiff(16, 3, 2, order=">")
    yield "rgba_8_straight", simple_tiff(8, 4, 2, more=[(338, 3, [2])])
    yield "rgba_8_premultiplied", simple_tiff(8, 4, 2, more=[(338, 3, [1])])
    yield "rgb_8_planes", simple_tiff(8, 3, 2, planar=2)
    yield "rgba_float", simple_tiff(32, 4, 2, fmt=3, more=[(338, 3, [1])])
    yield "rgb_half", simple_tiff(16, 3, 2, fmt=3)
    yield "cmyk", simple_tiff(8, 4, 5)
    yield "tiled_8", tiled_tiff(8)
    yield "tiled_16", tiled_tiff(16)


# ---- Radiance ----

def hdrs():
    head = b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n"
    yield "flat", head + b"-Y 2 +X 3\n" + bytes(range(100, 124))
    scan = b"\x02\x02\x00\x08" + b"".join(b"\x88" + bytes([value]) for value in (90, 120, 7, 129))
    yield "runs", head + b"-Y 2 +X 8\n" + scan * 2
    literal = b"\x02\x02\x00\x08" + (b"\x08" + bytes(range(60, 68))) * 4
    yield "literals", b"#?RGBE\nFORMAT=32-bit_rle_rgbe\nEXPOSURE=2\n\n-Y 1 +X 8\n" + literal


# ---- Scenes and values ----

SCENES = {
    "whole": """{
  "version": 1,
  "frame": "room.####.exr",
  "output": "out.####.exr",
  "frames": "1-48x2",
  "rate": "30000/1001",
  "depth": "float",
  "classic": false,
  "downsample": 2,
  "region": "0,0,64,32",
  "controls": {
    "layer": "title.png",
    "start": "54%,17%",
    "end": [1800.5, 640],
    "placement": "tile",
    "travel": {"keys": [
      {"frame": 1, "value": 0},
      {"frame": 24, "value": 12.5, "interpolation": "smooth"},
      {"frame": 48, "value": "-100", "interpolation": "hold"}]},
    "filtering": true
  }
}
""",
    "least": '{"version": 1}',
    "other_version": '{"version": 2, "frame": "a.png"}',
    "twice": '{"version": 1, "depth": "8", "depth": "16"}',
    "not_json": '{"version": 1,\n "frame": }',
    "deep": '{"version": 1, "controls": {"a": [[[[[[[[[[1]]]]]]]]]]}}',
    "huge_number": '{"version": 1, "jpeg-quality": 1e999}',
    "escapes": '{"version": 1, "frame": "\\u00e9\\n\\ud83d\\ude00.png", "quality": "draft"}',
}

# By the number of their reader in values_fuzz.cpp.
VALUES = {
    0: ["3", "-5", "99999999999"], 1: ["12.5", "-32767.99999", "1e-9", "32768"],
    2: ["4096x2048", "0x5", "30001x1"], 3: ["0,512,1024,256", "-5,-5,1,1"],
    4: ["10/11", "2", "0.9091", "1e-7", "0/0"], 5: ["54%,17%", "-1e9%,4", "1024,512.5"],
    6: ["7", "1-240", "1-240x2", "0-9999999x9999999"], 7: ["a.####.exr", "a.%04d.exr", "100%%.png"],
    8: ["on", "no"], 9: ["+1.5", "inf", "nan", "1e308"],
    10: ["tile", "3", "-10000", "54%,17%", "off", "none"],
    11: ["1x1", "8", "half", "30000/1001", "best", "json", "0"],
}


# ---- Pictures that the program writes ----

ENCODED = {
    "exr": [("exr", depth, compression)
            for depth, compression in itertools.product(("half", "float"),
                                                        ("none", "zip", "zips", "piz", "rle"))],
    "jpeg": [("jpg", "8", None)],
    "tiff": [("tif", depth, compression)
             for depth, compression in itertools.product(("8", "16", "float"),
                                                         ("lzw", "deflate", "packbits"))],
}


def encode(program, ending, depth, compression):
    with tempfile.TemporaryDirectory() as folder:
        frame = pathlib.Path(folder, "frame.png")
        frame.write_bytes(png(16, 6))
        output = pathlib.Path(folder, "out." + ending)
        command = [program, "render", "--quiet", "--frame", frame, "-o", output,
                   "--output-depth", depth]
        if compression:
            command += ["--compression", compression]
        subprocess.run(command, check=True)
        return output.read_bytes()


def main():
    program = sys.argv[1]
    root = pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else pathlib.Path(__file__).parent /
                        "corpus")

    def write(target, name, data):
        folder = root / target
        folder.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(data)

    for target, pictures in (("png", pngs()), ("tiff", tiffs()), ("hdr", hdrs())):
        for name, data in pictures:
            write(target, name, data)
    for target, variants in ENCODED.items():
        for ending, depth, compression in variants:
            name = "_".join(part for part in ("program", depth, compression) if part)
            write(target, name, encode(program, ending, depth, compression))
    for name, text in SCENES.items():
        write("scene", name, text.encode())
    for reader, texts in VALUES.items():
        for number, text in enumerate(texts):
            write("values", f"reader{reader}_{number}", bytes([reader]) + text.encode())


main()
