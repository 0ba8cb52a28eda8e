#!/usr/bin/env python3
"""Makes the two small files that docs/file-format.md takes apart, and the annotated dump of one.

    smallest.py write       smallest.hdqfs and smallest_ascii.hdqfs, beside this script
    smallest.py dump        the annotated bytes of smallest.hdqfs

Both hold the same data set: an ordered zone of 3 x 2 x 1 nodes in one subzone, with a float at its
nodes and a 16-bit integer at its cells.
"""

import pathlib
import struct
import sys

FOLDER = pathlib.Path(__file__).resolve().parent

# Type: format in a binary file, text of a value, columns of a value in a text file.
TYPES = {
    "char": ("<c", lambda v: v.decode(), 1),
    "uint8": ("<B", lambda v: f"{v:d}", 3),
    "uint16": ("<H", lambda v: f"{v:d}", 5),
    "int16": ("<h", lambda v: f"{v:d}", 6),
    "int32": ("<i", lambda v: f"{v:d}", 11),
    "uint32": ("<I", lambda v: f"{v:d}", 10),
    "uint64": ("<Q", lambda v: f"{v:d}", 19),
    "hex64": ("<Q", lambda v: f"{v:016x}", 16),
    "float": ("<f", lambda v: f"{v:.7e}", 15),
    "double": ("<d", lambda v: f"{v:.15e}", 23),
}
DESCRIPTION_COLUMNS = 40
ABSENT = 0xFFFFFFFFFFFFFFFF


class Writer:
    """Writes a file field by field. Locations that come later are known in the second pass."""

    def __init__(self, is_ascii, places):
        self.is_ascii = is_ascii
        self.known = places
        self.places = {}
        self.fields = []  # (bytes, what they are)
        self.size = 0

    def raw(self, data, comment):
        self.fields.append((data, comment))
        self.size += len(data)

    def title(self, text):
        self.fields.append((b"", text))

    def here(self, name):
        self.places[name] = self.size

    def place(self, name):
        return self.known.get(name, 0)

    def text(self, value, type_name):
        _, form, width = TYPES[type_name]
        return form(value).ljust(width)

    def array(self, word, type_name, values, per_line=10, comments=None):
        if not self.is_ascii:
            for i, value in enumerate(values):
                number = f"[{i}]" if len(values) > 1 else ""
                note = f"  {comments[i]}" if comments else ""
                self.raw(struct.pack(TYPES[type_name][0], value), f"{word}{number}{note}")
            return
        self._lines(word, [self.text(value, type_name) for value in values], per_line)

    def value(self, word, type_name, value, comment=""):
        self.array(word, type_name, [value], 1, [comment] if comment else None)

    def pairs(self, word, type_name, values):
        if not self.is_ascii:
            for low, high in values:
                self.raw(struct.pack(TYPES[type_name][0], low), f"{word}  smallest")
                self.raw(struct.pack(TYPES[type_name][0], high), f"{word}  largest")
            return
        self._lines(word, [f"{self.text(a, type_name)} {self.text(b, type_name)}" for a, b in values], 3)

    def strings(self, word, values):
        end = "\r\n" if self.is_ascii else "\r"
        lines = [value + end for value in values]
        self.value(word + "TotalSize", "uint64", sum(map(len, lines)))
        if self.is_ascii:
            self.raw(word.ljust(DESCRIPTION_COLUMNS).encode() + b"\r\n", word)
        for value, line in zip(values, lines):
            self.raw(line.encode(), f'{word}  "{value}" and what ends it')

    def string(self, word, text):
        self.value(word + "Length", "uint32", len(text))
        if self.is_ascii:
            self.raw(word.ljust(DESCRIPTION_COLUMNS).encode() + b"\r\n", word)
            self.raw(text.encode() + b"\r\n", word)
        else:
            self.raw(text.encode(), f'{word}  "{text}"')

    def tags(self, rows):
        self.value("numTags", "uint16", len(rows))
        self.array("tags", "uint16", [number for number, _, _ in rows], 10, [name for _, name, _ in rows])
        for number, name, value in rows:
            self.value(name, "hex64", value)

    def marker(self, word, value):
        if self.is_ascii:
            self.value(word, "uint32", value)

    def _lines(self, word, texts, per_line):
        result = word.ljust(DESCRIPTION_COLUMNS) + ("  " if len(texts) == 1 else "\r\n")
        for n, text in enumerate(texts, 1):
            result += text + ("\r\n" if n % per_line == 0 or n == len(texts) else "  ")
        self.raw(result.encode(), word)


P = [1.0, 1.5, 2.0, 2.5, 3.0, 3.5]  # at the nodes, I fastest
Q = [-7, 300]  # at the cells


def write(w):
    w.title("The first line, and where the data set header is")
    w.raw(f"#!HDQFS 105{'T' if w.is_ascii else 'B'}F\n".encode(), "version 105, binary, full file")
    w.value("fileByteOrderIndicator", "hex64", 1)
    w.value("dataSetHeaderFileLoc", "hex64", w.place("header"))

    w.here("header")
    w.title("Data set header: a tag list")
    w.tags([
        (1, "numberOfZones", 1),
        (2, "numberOfVars", 2),
        (3, "subzoneMaxISize", 8),
        (4, "subzoneMaxJSize", 8),
        (5, "subzoneMaxKSize", 4),
        (6, "subzoneMaxFESize", 256),
        (7, "auxDataFileLoc", w.place("auxData")),
        (8, "geometry", w.place("geometry")),
        (9, "customLabels", w.place("customLabels")),
        (10, "text", w.place("text")),
        (12, "dataSetTitle", w.place("title")),
        (256, "zoneNames", w.place("zoneNames")),
        (257, "zoneTypes", w.place("zoneTypes")),
        (258, "zoneHeaderFileLocs", w.place("zoneHeaderFileLocs")),
        (259, "zoneFaceNbrModes", w.place("zoneFaceNbrModes")),
        (260, "zoneSolutionTimes", w.place("zoneSolutionTimes")),
        (261, "zoneStrandIDs", w.place("zoneStrandIDs")),
        (262, "zoneParentZones", w.place("zoneParentZones")),
        (263, "zoneIMaxOrNumNodes", w.place("zoneIMaxOrNumNodes")),
        (264, "zoneJMaxOrNumCells", w.place("zoneJMaxOrNumCells")),
        (265, "zoneKMaxOrNumFaces", w.place("zoneKMaxOrNumFaces")),
        (268, "zoneShareConnectivity", w.place("zoneShareConnectivity")),
        (512, "varNames", w.place("varNames")),
        (768, "zoneMinMaxes", w.place("zoneMinMaxes")),
        (769, "valueLocations", w.place("valueLocations")),
        (770, "fieldDataTypes", w.place("fieldDataTypes")),
        (771, "passiveVar", w.place("passiveVar")),
        (772, "shareVar", w.place("shareVar")),
    ])

    w.title("What the tags of the data set lead to")
    w.here("title")
    w.string("dataSetTitle", "box")
    w.here("varNames")
    w.strings("varNamesArray", ["p", "q"])
    w.here("zoneNames")
    w.strings("zoneNamesArray", ["all"])
    for place, type_name, value, comment in [
        ("zoneTypes", "char", b"O", "ordered; the capital letter: in subzones"),
        ("zoneHeaderFileLocs", "hex64", w.place("zoneHeader"), ""),
        ("zoneFaceNbrModes", "uint8", 0, ""),
        ("zoneSolutionTimes", "double", 0.5, "0.5"),
        ("zoneStrandIDs", "uint32", 1, ""),
        ("zoneParentZones", "int32", -1, "none"),
        ("zoneIMaxOrNumNodes", "uint64", 3, ""),
        ("zoneJMaxOrNumCells", "uint64", 2, ""),
        ("zoneKMaxOrNumFaces", "uint64", 1, ""),
        ("zoneShareConnectivity", "int32", -1, "none"),
    ]:
        w.here(place)
        w.value(place + "Array", type_name, value, comment)
    w.here("fieldDataTypes")
    w.value("fieldDataTypesForVar1", "uint8", 1, "float")
    w.value("fieldDataTypesForVar2", "uint8", 4, "int16")
    w.here("zoneMinMaxes")
    w.pairs("zoneMinMaxesForVar1", "float", [(1.0, 3.5)])
    w.pairs("zoneMinMaxesForVar2", "float", [(-7.0, 300.0)])
    w.here("valueLocations")
    w.value("valueLocationsForVar1", "uint8", 1, "nodal")
    w.value("valueLocationsForVar2", "uint8", 0, "cell-centred")
    w.here("passiveVar")
    w.value("passiveVarForVar1", "uint8", 0)
    w.value("passiveVarForVar2", "uint8", 0)
    w.here("shareVar")
    w.value("shareVarForVar1", "int32", -1, "none")
    w.value("shareVarForVar2", "int32", -1, "none")

    w.title("Groups, all of them empty")
    for place, marker, value, count in [
        ("auxData", "auxData*", 0x11121314, "numAuxData"),
        ("geometry", "geometry*", 0x12131415, "numGeometries"),
        ("customLabels", "customLabels*", 0x14151617, "numCustomLabelSets"),
        ("text", "text*", 0x13141516, "numTexts"),
    ]:
        w.here(place)
        w.marker(marker, value)
        w.value(count, "uint32", 0)

    w.here("zoneHeader")
    w.title("Zone header of zone 1: a tag list, and what it leads to")
    w.marker("zoneMarker*", 0x02030405)
    w.marker("zoneNum*", 1)
    w.tags([(1536, "varFileLocs", w.place("varFileLocs"))])
    w.here("varFileLocs")
    w.array("varFileLocsForZone1", "hex64", [w.place("block1"), w.place("block2")], 3)

    w.here("block1")
    w.title("Block of variable 1 in zone 1")
    w.pairs("nszMinMaxesForVar1", "float", [(1.0, 3.5)])
    w.pairs("cszMinMaxesForVar1", "float", [(1.0, 3.5)])
    w.array("valuesForVar1", "float", P, 6, [str(v) for v in P])
    w.here("block2")
    w.title("Block of variable 2 in zone 1")
    w.pairs("nszMinMaxesForVar2", "int16", [(-7, 300)])
    w.pairs("cszMinMaxesForVar2", "int16", [(-7, 300)])
    w.array("valuesForVar2", "int16", Q, 6, [str(v) for v in Q])
    return w


def build(is_ascii):
    first = write(Writer(is_ascii, {}))
    return write(Writer(is_ascii, first.places))


def contents(writer):
    return b"".join(data for data, _ in writer.fields)


def dump(writer):
    lines = []
    offset = 0
    for data, comment in writer.fields:
        if not data:
            lines += ["", f"# {comment}"]
        for start in range(0, len(data), 16):
            part = data[start : start + 16]
            text = comment if start == 0 else ""
            lines.append(f"{offset + start:04x}  {part.hex(' '):<47}  {text}".rstrip())
        offset += len(data)
    return "\n".join(lines[1:])


if __name__ == "__main__":
    if sys.argv[1:] == ["write"]:
        (FOLDER / "smallest.hdqfs").write_bytes(contents(build(False)))
        (FOLDER / "smallest_ascii.hdqfs").write_bytes(contents(build(True)))
    elif sys.argv[1:] == ["dump"]:
        print(dump(build(False)))
    else:
        sys.exit(__doc__)
