#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads a PNG file of 8-bit RGBA, without interlacing, by the format's description alone.

Usage: png.py FILE     prints "WIDTH HEIGHT" and the pixels in hexadecimal
"""
import struct
import sys
import zlib

data = open(sys.argv[1], "rb").read()
assert data[:8] == b"\x89PNG\r\n\x1a\n"
place, packed, header = 8, b"", None
while place < len(data):
    length, kind = struct.unpack(">I4s", data[place:place + 8])
    body = data[place + 8:place + 8 + length]
    assert zlib.crc32(kind + body) == struct.unpack(">I", data[place + 8 + length:place + 12 + length])[0]
    if kind == b"IHDR":
        header = struct.unpack(">IIBBBBB", body)
    if kind == b"IDAT":
        packed += body
    place += 12 + length
width, height, depth, colour, _, _, interlaced = header
assert (depth, colour, interlaced) == (8, 6, 0), header
raw = zlib.decompress(packed)
stride = width * 4
above, pixels = bytearray(stride), bytearray()
for row in range(height):
    kind = raw[row * (stride + 1)]
    line = bytearray(raw[row * (stride + 1) + 1:(row + 1) * (stride + 1)])
    for i in range(stride):
        left = line[i - 4] if i >= 4 else 0
        up = above[i]
        corner = above[i - 4] if i >= 4 else 0
        guess = left + up - corner
        paeth = min((left, up, corner), key=lambda c: abs(guess - c))
        line[i] = (line[i] + (0, left, up, (left + up) // 2, paeth)[kind]) & 255
    pixels += line
    above = line
print(width, height)
print(pixels.hex())
