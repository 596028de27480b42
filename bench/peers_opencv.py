# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""The layer onto the frame with OpenCV and NumPy, for bench/peers.sh.

usage: peers_opencv.py map FILE      writes the map of positions for oiiotool
       peers_opencv.py render N      renders N frames, the layer moving
"""
import sys

import cv2
import numpy as np

WIDTH, HEIGHT = 4096, 2048
SPAN, BAND = np.radians(60), np.radians(30)


def layer_positions(yaw, layer_width, layer_height):
    """Column and row of the layer under every pixel of the frame, outside where there is none."""
    longitude = ((np.arange(WIDTH, dtype=np.float32) * (2 / WIDTH) - 1) * np.pi - yaw).astype(np.float32)
    latitude = ((np.arange(HEIGHT, dtype=np.float32) * (2 / HEIGHT) - 1) * (np.pi / 2)).astype(np.float32)
    lon, lat = np.meshgrid(longitude, latitude)
    x, y, z = np.sin(lon) * np.cos(lat), np.sin(lat), np.cos(lon) * np.cos(lat)
    along, across = np.arctan2(x, z), np.arcsin(y)
    return ((along / SPAN + 0.5) * (layer_width - 1), (across / BAND + 0.5) * (layer_height - 1))


def write_map(path):
    column, row = layer_positions(0, 1024, 512)
    s, t = (column + 0.5) / 1024, (row + 0.5) / 512
    outside = (s < 0) | (s > 1) | (t < 0) | (t > 1)
    s[outside] = t[outside] = -1
    picture = np.zeros((HEIGHT, WIDTH, 3), np.float32)
    picture[..., 2], picture[..., 1] = s, t
    cv2.imwrite(path, picture, [cv2.IMWRITE_TIFF_COMPRESSION, 1])


def render(count):
    for i in range(count):
        frame = cv2.imread("frame.tif", cv2.IMREAD_UNCHANGED)
        layer = cv2.imread("layer.tif", cv2.IMREAD_UNCHANGED)
        column, row = layer_positions(np.radians(6 * i), layer.shape[1], layer.shape[0])
        warped = cv2.remap(layer, column.astype(np.float32), row.astype(np.float32),
                           cv2.INTER_LINEAR, borderMode=cv2.BORDER_CONSTANT, borderValue=(0, 0, 0, 0))
        alpha = warped[..., 3:4].astype(np.float32) / 255
        frame[..., :3] = warped[..., :3] * alpha + frame[..., :3] * (1 - alpha)
        cv2.imwrite(f"opencv{i}.tif", frame, [cv2.IMWRITE_TIFF_COMPRESSION, 1])


if sys.argv[1] == "map":
    write_map(sys.argv[2])
else:
    render(int(sys.argv[2]))
