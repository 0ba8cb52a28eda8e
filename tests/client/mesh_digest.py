#!/usr/bin/env python3
"""Prints the number of cells of a VTU file and a digest of its mesh: the sum of the 64-bit FNV-1a hashes of
all cells, each of the coordinates of its nodes as little-endian floats. The order of cells and of nodes in the
file doesn't matter, the order of nodes in a cell does. LoaderCellsTest holds the sample against it.

Usage: mesh_digest.py FILE.vtu"""

import base64
import re
import struct
import sys
import zlib

FORMATS = {"Float32": "f", "Float64": "d", "Int64": "q", "Int32": "i", "UInt8": "B"}


class VtuFile:
    """Appended arrays, compressed in blocks, with 32-bit headers."""

    def __init__(self, path):
        with open(path, "rb") as file:
            contents = file.read()
        begin = contents.index(b"<AppendedData")
        self.head = contents[:begin].decode("latin1")
        self.is_raw = b'encoding="raw"' in contents[begin:begin + 200]
        self.data = contents[contents.index(b"_", begin) + 1:]

    def bytes_at(self, offset, count):
        """The bytes of a part that is encoded by itself, and where the next one begins."""
        if self.is_raw:
            return self.data[offset:offset + count], offset + count
        encoded = (count + 2) // 3 * 4
        return base64.b64decode(self.data[offset:offset + encoded])[:count], offset + encoded

    def array(self, name):
        tag = next(m for m in re.findall(r"<DataArray ([^>]*)", self.head) if f'Name="{name}"' in m)
        offset = int(re.search(r'offset="(\d+)"', tag).group(1))
        number = FORMATS[re.search(r'type="(\w+)"', tag).group(1)]
        blocks = struct.unpack("<I", self.bytes_at(offset, 12)[0][:4])[0]
        header, begin = self.bytes_at(offset, 12 + 4 * blocks)
        sizes = struct.unpack(f"<{blocks}I", header[12:])
        packed, _ = self.bytes_at(begin, sum(sizes))
        values = b""
        for size in sizes:
            values += zlib.decompress(packed[:size])
            packed = packed[size:]
        return struct.unpack(f"<{len(values) // struct.calcsize(number)}{number}", values)


def fnv1a(data):
    result = 0xCBF29CE484222325
    for byte in data:
        result = (result ^ byte) * 0x100000001B3 & 0xFFFFFFFFFFFFFFFF
    return result


def main():
    file = VtuFile(sys.argv[1])
    points, nodes, ends = file.array("Points"), file.array("connectivity"), file.array("offsets")
    digest = 0
    begin = 0
    for end in ends:
        cell = b"".join(struct.pack("<3f", *points[3 * n:3 * n + 3]) for n in nodes[begin:end])
        digest = (digest + fnv1a(cell)) & 0xFFFFFFFFFFFFFFFF
        begin = end
    print(f"{len(ends)} cells, digest {digest:#018x}")


main()
