#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the pictures that stand in for the system's icons where the root folder holds none.

Usage: tools/draw-icons.py FOLDER        writes GenericFolder.png and the others into FOLDER (resources)
"""
import struct
import sys
import zlib
from pathlib import Path

SIDE = 128
SAMPLES = 4


def rounded(x0, y0, x1, y1, radius):
    def inside(x, y):
        if not (x0 <= x <= x1 and y0 <= y <= y1):
            return False
        dx = max(x0 + radius - x, 0, x - (x1 - radius))
        dy = max(y0 + radius - y, 0, y - (y1 - radius))
        return dx * dx + dy * dy <= radius * radius
    return inside


def disc(cx, cy, radius):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= radius ** 2


def polygon(*points):
    def inside(x, y):
        odd = False
        for (ax, ay), (bx, by) in zip(points, points[1:] + points[:1]):
            if (ay > y) != (by > y) and x < (bx - ax) * (y - ay) / (by - ay) + ax:
                odd = not odd
        return odd
    return inside


def union(*shapes):
    return lambda x, y: any(shape(x, y) for shape in shapes)


def without(shape, hole):
    return lambda x, y: shape(x, y) and not hole(x, y)


def shaded(top, bottom, y0, y1):
    """A colour that goes from top to bottom between two heights."""
    def colour(y):
        t = min(max((y - y0) / (y1 - y0), 0), 1)
        return tuple(a + (b - a) * t for a, b in zip(top, bottom))
    return colour


def plain(*rgb):
    return lambda y: rgb


FOLDER_BACK = shaded((86, 156, 214), (66, 134, 196), 20, 60)
FOLDER_FRONT = shaded((142, 200, 246), (98, 168, 228), 40, 112)
PAPER = shaded((255, 255, 255), (236, 238, 242), 8, 120)
GREY = plain(168, 174, 184)

PICTURES = {
    "GenericFolder": [
        (union(rounded(8, 22, 58, 60, 7), rounded(8, 32, 120, 70, 7)), FOLDER_BACK),
        (rounded(8, 42, 120, 112, 7), FOLDER_FRONT),
    ],
    "GenericDocument": [
        (polygon((22, 6), (78, 6), (108, 36), (108, 122), (22, 122)), GREY),
        (polygon((24, 8), (77, 8), (106, 37), (106, 120), (24, 120)), PAPER),
        (polygon((77, 8), (77, 37), (106, 37)), plain(205, 210, 218)),
    ],
    "GenericApplication": [
        (rounded(8, 8, 120, 120, 24), shaded((122, 132, 148), (88, 96, 112), 8, 120)),
        (rounded(12, 12, 116, 116, 21), shaded((238, 241, 246), (206, 212, 222), 12, 116)),
        (without(disc(64, 64, 38), disc(64, 64, 30)), plain(98, 168, 228)),
        (union(polygon((61, 36), (67, 36), (67, 64), (61, 64)), polygon((64, 61), (84, 78), (80, 83), (61, 67))),
         plain(88, 96, 112)),
    ],
    "Computer": [
        (rounded(6, 12, 122, 92, 8), plain(72, 78, 90)),
        (rounded(12, 18, 116, 80, 3), shaded((120, 182, 236), (64, 112, 176), 18, 80)),
        (polygon((52, 92), (76, 92), (80, 110), (48, 110)), plain(178, 184, 194)),
        (rounded(38, 108, 90, 114, 3), plain(150, 156, 168)),
    ],
    "iCloud": [
        (union(disc(38, 78, 24), disc(66, 58, 32), disc(94, 80, 22), rounded(38, 72, 94, 102, 4)),
         shaded((126, 190, 244), (72, 142, 214), 26, 102)),
    ],
}


def pixel(layers, px, py):
    total = [0.0, 0.0, 0.0, 0.0]
    for sample in range(SAMPLES * SAMPLES):
        x = px + (sample % SAMPLES + 0.5) / SAMPLES
        y = py + (sample // SAMPLES + 0.5) / SAMPLES
        for shape, colour in reversed(layers):
            if shape(x, y):
                for i, part in enumerate(colour(y)):
                    total[i] += part
                total[3] += 1
                break
    covered = total[3]
    if covered == 0:
        return bytes(4)
    return bytes(round(part / covered) for part in total[:3]) + bytes([round(255 * covered / SAMPLES ** 2)])


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png(layers):
    rows = b"".join(b"\0" + b"".join(pixel(layers, x, y) for x in range(SIDE)) for y in range(SIDE))
    header = struct.pack(">IIBBBBB", SIDE, SIDE, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"tEXt", b"Software\0tools/draw-icons.py") +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


for name, layers in PICTURES.items():
    (Path(sys.argv[1]) / f"{name}.png").write_bytes(png(layers))
