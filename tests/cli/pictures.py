# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Image files for the program's tests, read and written without any image library.

Pictures are numpy arrays of height x width x channels: uint8, uint16, float16 or float32.
"""

import struct
import zlib

import numpy as np


# ---- PNG ----

def png_chunk(kind, data):
    return (struct.pack(">I", len(data)) + kind + data +
            struct.pack(">I", zlib.crc32(kind + data)))


def write_png(path, pixels, extra=b""):
    """Grey, grey and alpha, RGB or RGBA by the number of channels; `extra` are whole chunks."""
    height, width, channels = pixels.shape
    bits = pixels.dtype.itemsize * 8
    colour = {1: 0, 2: 4, 3: 2, 4: 6}[channels]
    rows = pixels.astype(pixels.dtype.newbyteorder(">")).reshape(height, -1).view(np.uint8)
    data = np.hstack([np.zeros((height, 1), np.uint8), rows]).tobytes()
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n")
        file.write(png_chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, bits, colour, 0, 0,
                                                   0)))
        file.write(extra)
        file.write(png_chunk(b"IDAT", zlib.compress(data)))
        file.write(png_chunk(b"IEND", b""))


def png_chunks(path):
    with open(path, "rb") as file:
        data = file.read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG"
    at = 8
    while at < len(data):
        size = struct.unpack(">I", data[at:at + 4])[0]
        body = data[at + 8:at + 8 + size]
        assert struct.unpack(">I", data[at + 8 + size:at + 12 + size])[0] == zlib.crc32(
            data[at + 4:at + 8 + size]), "wrong checksum"
        yield data[at + 4:at + 8], body
        at += 12 + size


def read_png(path):
    idat = b""
    for kind, body in png_chunks(path):
        if kind == b"IHDR":
            width, height, bits, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
    assert interlace == 0
    channels = {0: 1, 4: 2, 2: 3, 6: 4}[colour]
    step = channels * bits // 8
    row_bytes = width * step
    raw = np.frombuffer(zlib.decompress(idat), np.uint8).reshape(height, row_bytes + 1)
    out = np.zeros((height, row_bytes), np.uint8)
    above = np.zeros(row_bytes, np.uint8)
    for y in range(height):
        kind, row = raw[y, 0], raw[y, 1:]
        out[y] = above = _png_unfilter(kind, row, above, step)
    dtype = np.dtype(np.uint8) if bits == 8 else np.dtype(">u2")
    return out.view(dtype).astype(dtype.newbyteorder("=")).reshape(height, width, channels)


def _png_unfilter(kind, row, above, step):
    if kind == 0:
        return row.copy()
    if kind == 1:
        steps = row.reshape(-1, step).astype(np.uint32)
        return (np.cumsum(steps, axis=0) & 255).astype(np.uint8).reshape(-1)
    if kind == 2:
        return row + above
    result = np.zeros(len(row), np.int32)
    for i in range(len(row)):
        left = result[i - step] if i >= step else 0
        up = int(above[i])
        corner = int(above[i - step]) if i >= step else 0
        if kind == 3:
            guess = (left + up) // 2
        else:
            estimate = left + up - corner
            distances = [abs(estimate - left), abs(estimate - up), abs(estimate - corner)]
            guess = [left, up, corner][distances.index(min(distances))]
        result[i] = (int(row[i]) + guess) & 255
    return result.astype(np.uint8)


# ---- TIFF ----

_TIFF_SIZES = {3: 2, 4: 4}


def write_tiff(path, pixels, alpha_kind=2, rows_per_strip=None, planar=1, byte_order="<",
               photometric=None, tile=None):
    """Uncompressed. `alpha_kind`: 1 multiplied, 2 straight. `planar` 2 keeps channels apart."""
    height, width, channels = pixels.shape
    order = {"<": b"II", ">": b"MM"}[byte_order]
    rows_per_strip = rows_per_strip or height
    stored = pixels.astype(pixels.dtype.newbyteorder(byte_order))
    planes = [stored] if planar == 1 else [stored[:, :, c:c + 1] for c in range(channels)]
    if tile:
        parts = []
        for y in range(0, height, tile):
            for x in range(0, width, tile):
                block = np.zeros((tile, tile, channels), stored.dtype)
                cut = stored[y:y + tile, x:x + tile]
                block[:cut.shape[0], :cut.shape[1]] = cut
                parts.append(block.tobytes())
    else:
        parts = [plane[y:y + rows_per_strip].tobytes()
                 for plane in planes for y in range(0, height, rows_per_strip)]
    entries = {
        256: (4, [width]), 257: (4, [height]),
        258: (3, [pixels.dtype.itemsize * 8] * channels), 259: (3, [1]),
        262: (3, [photometric if photometric is not None else 1 if channels < 3 else 2]),
        277: (3, [channels]), 284: (3, [planar]),
        339: (3, [3 if pixels.dtype.kind == "f" else 1] * channels),
    }
    if channels in (2, 4):
        entries[338] = (3, [alpha_kind])
    offsets_tag, counts_tag = (324, 325) if tile else (273, 279)
    if tile:
        entries[322] = entries[323] = (4, [tile])
    else:
        entries[278] = (4, [rows_per_strip])
    offset = 8
    offsets = []
    for part in parts:
        offsets.append(offset)
        offset += len(part) + len(part) % 2
    entries[offsets_tag] = (4, offsets)
    entries[counts_tag] = (4, [len(part) for part in parts])
    directory = struct.pack(byte_order + "H", len(entries))
    extra = b""
    extra_at = offset + 2 + 12 * len(entries) + 4
    for tag in sorted(entries):
        kind, values = entries[tag]
        data = struct.pack(byte_order + "HI"[kind - 3] * len(values), *values)
        head = struct.pack(byte_order + "HHI", tag, kind, len(values))
        if len(data) <= 4:
            directory += head + data.ljust(4, b"\0")
        else:
            directory += head + struct.pack(byte_order + "I", extra_at + len(extra))
            extra += data
    with open(path, "wb") as file:
        file.write(order + struct.pack(byte_order + "HI", 42, offset))
        for part in parts:
            file.write(part + b"\0" * (len(part) % 2))
        file.write(directory + b"\0\0\0\0" + extra)


def read_tiff(path):
    """Uncompressed or deflated, in strips, as the program writes them. Returns pixels, tags."""
    with open(path, "rb") as file:
        data = file.read()
    assert data[:4] == b"II*\0", "not a little-endian TIFF"
    at = struct.unpack("<I", data[4:8])[0]
    tags = {}
    for i in range(struct.unpack("<H", data[at:at + 2])[0]):
        tag, kind, count = struct.unpack("<HHI", data[at + 2 + 12 * i:at + 10 + 12 * i])
        value = data[at + 10 + 12 * i:at + 14 + 12 * i]
        if kind not in _TIFF_SIZES:
            continue
        size = _TIFF_SIZES[kind] * count
        if size > 4:
            start = struct.unpack("<I", value)[0]
            value = data[start:start + size]
        tags[tag] = struct.unpack("<" + "HI"[kind - 3] * count, value[:size])
    width, height, channels = tags[256][0], tags[257][0], tags[277][0]
    bits, is_float = tags[258][0], tags.get(339, (1,))[0] == 3
    dtype = {8: np.uint8, 16: np.uint16, 32: np.float32}[bits]
    assert is_float == (dtype == np.float32)
    raw = b""
    for offset, count in zip(tags[273], tags[279]):
        strip = data[offset:offset + count]
        raw += zlib.decompress(strip) if tags[259][0] == 8 else strip
    pixels = np.frombuffer(raw, dtype).reshape(height, width, channels).copy()
    if tags.get(317, (1,))[0] == 2:
        pixels = np.cumsum(pixels, axis=1, dtype=np.uint64).astype(dtype)
    return pixels, tags


# ---- OpenEXR ----

def _exr_attribute(name, kind, data):
    return name.encode() + b"\0" + kind.encode() + b"\0" + struct.pack("<I", len(data)) + data


def write_exr(path, pixels, names=None, data_window=None, display_window=None, attributes=(),
              aspect=1):
    """Uncompressed scan lines; channels named R, G, B, A or Y (and A) unless told. Attributes are
    (name, type, bytes)."""
    height, width, channels = pixels.shape
    names = names or {1: "Y", 2: "YA", 3: "RGB", 4: "RGBA"}[channels]
    kind = {np.dtype(np.uint32): 0, np.dtype(np.float16): 1, np.dtype(np.float32): 2}[pixels.dtype]
    order = sorted(range(channels), key=lambda c: names[c])
    channel_list = b"".join(
        names[c].encode() + b"\0" + struct.pack("<IIII", kind, 0, 1, 1) for c in order) + b"\0"
    data_window = data_window or (0, 0, width - 1, height - 1)
    display_window = display_window or data_window
    header = b"\x76\x2f\x31\x01" + struct.pack("<I", 2)
    header += _exr_attribute("channels", "chlist", channel_list)
    header += _exr_attribute("compression", "compression", b"\0")
    header += _exr_attribute("dataWindow", "box2i", struct.pack("<4i", *data_window))
    header += _exr_attribute("displayWindow", "box2i", struct.pack("<4i", *display_window))
    header += _exr_attribute("lineOrder", "lineOrder", b"\0")
    header += _exr_attribute("pixelAspectRatio", "float", struct.pack("<f", aspect))
    header += b"".join(_exr_attribute(*attribute) for attribute in attributes)
    header += _exr_attribute("screenWindowCenter", "v2f", struct.pack("<2f", 0, 0))
    header += _exr_attribute("screenWindowWidth", "float", struct.pack("<f", 1)) + b"\0"
    line_bytes = width * channels * pixels.dtype.itemsize
    start = len(header) + 8 * height
    with open(path, "wb") as file:
        file.write(header)
        for y in range(height):
            file.write(struct.pack("<Q", start + y * (line_bytes + 8)))
        for y in range(height):
            file.write(struct.pack("<iI", data_window[1] + y, line_bytes))
            for c in order:
                file.write(pixels[y, :, c].tobytes())


def write_exr_parts(path, parts):
    """Several parts of uncompressed scan lines: (name, channel names, float32 pixels) each."""
    headers, chunks = [], []
    for number, (name, names, pixels) in enumerate(parts):
        height, width, _ = pixels.shape
        order = sorted(range(len(names)), key=lambda c: names[c])
        window = struct.pack("<4i", 0, 0, width - 1, height - 1)
        headers.append(b"".join(_exr_attribute(*attribute) for attribute in (
            ("channels", "chlist", b"".join(
                names[c].encode() + b"\0" + struct.pack("<IIII", 2, 0, 1, 1) for c in order) + b"\0"),
            ("chunkCount", "int", struct.pack("<i", height)),
            ("compression", "compression", b"\0"), ("dataWindow", "box2i", window),
            ("displayWindow", "box2i", window), ("lineOrder", "lineOrder", b"\0"),
            ("name", "string", name.encode()),
            ("pixelAspectRatio", "float", struct.pack("<f", 1)),
            ("screenWindowCenter", "v2f", struct.pack("<2f", 0, 0)),
            ("screenWindowWidth", "float", struct.pack("<f", 1)),
            ("type", "string", b"scanlineimage"))) + b"\0")
        chunks.append([struct.pack("<iiI", number, y, width * len(names) * 4) +
                       b"".join(pixels[y, :, c].astype("<f4").tobytes() for c in order)
                       for y in range(height)])
    several_parts = 0x1000
    head = b"\x76\x2f\x31\x01" + struct.pack("<I", 2 | several_parts) + b"".join(headers) + b"\0"
    at = len(head) + 8 * sum(map(len, chunks))
    offsets = []
    for chunk in (chunk for part in chunks for chunk in part):
        offsets.append(at)
        at += len(chunk)
    with open(path, "wb") as file:
        file.write(head + struct.pack(f"<{len(offsets)}Q", *offsets))
        file.write(b"".join(chunk for part in chunks for chunk in part))


def read_exr_header(path):
    """The header's attributes by name."""
    with open(path, "rb") as file:
        return _exr_header(file.read())[0]


def _exr_header(data):
    assert data[:4] == b"\x76\x2f\x31\x01", "not an OpenEXR file"
    at = 8
    header = {}
    while data[at]:
        end = data.index(b"\0", at)
        name = data[at:end].decode()
        kind_end = data.index(b"\0", end + 1)
        size = struct.unpack("<I", data[kind_end + 1:kind_end + 5])[0]
        header[name] = data[kind_end + 5:kind_end + 5 + size]
        at = kind_end + 5 + size
    return header, at + 1


def read_exr(path):
    """Returns RGBA (or what is there, in that order) as stored, and the header's attributes."""
    with open(path, "rb") as file:
        data = file.read()
    header, at = _exr_header(data)
    channels = []
    chlist = header["channels"]
    position = 0
    while chlist[position]:
        end = chlist.index(b"\0", position)
        channels.append((chlist[position:end].decode(),
                         struct.unpack("<I", chlist[end + 1:end + 5])[0]))
        position = end + 17
    left, top, right, bottom = struct.unpack("<4i", header["dataWindow"])
    width, height = right - left + 1, bottom - top + 1
    dtype = np.dtype({1: np.float16, 2: np.float32}[channels[0][1]])
    compression = header["compression"][0]
    lines = {0: 1, 2: 1, 3: 16}[compression]
    out = {name: np.zeros((height, width), dtype) for name, _ in channels}
    blocks = (height + lines - 1) // lines
    for offset in struct.unpack(f"<{blocks}Q", data[at:at + 8 * blocks]):
        first, size = struct.unpack("<iI", data[offset:offset + 8])
        block = data[offset + 8:offset + 8 + size]
        count = min(lines, bottom - first + 1)
        expected = count * width * len(channels) * dtype.itemsize
        if compression and size < expected:
            block = _exr_unzip(block)
        values = np.frombuffer(block, dtype).reshape(count, len(channels), width)
        for i, (name, _) in enumerate(channels):
            out[name][first - top:first - top + count] = values[:, i]
    names = [name for name in "RGBAY" if name in out]
    return np.stack([out[name] for name in names], axis=2), header


def _exr_unzip(block):
    raw = np.frombuffer(zlib.decompress(block), np.uint8).astype(np.int64)
    raw[1:] -= 128
    raw = (np.cumsum(raw) & 255).astype(np.uint8)
    half = (len(raw) + 1) // 2
    out = np.empty(len(raw), np.uint8)
    out[0::2], out[1::2] = raw[:half], raw[half:]
    return out.tobytes()


# ---- Radiance HDR ----

def write_hdr(path, pixels):
    """RGBE without runs from float RGB; values must be exact in that form."""
    height, width, _ = pixels.shape
    rgbe = np.zeros((height, width, 4), np.uint8)
    top = pixels.max(axis=2)
    mantissa, exponent = np.frexp(top)
    scale = np.where(top > 0, mantissa * 256.0 / np.where(top > 0, top, 1), 0)
    rgbe[:, :, :3] = (pixels * scale[:, :, None]).astype(np.uint8)
    rgbe[:, :, 3] = np.where(top > 0, exponent + 128, 0)
    with open(path, "wb") as file:
        file.write(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n" +
                   f"-Y {height} +X {width}\n".encode() + rgbe.tobytes())
