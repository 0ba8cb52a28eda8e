#!/usr/bin/env python3
"""Writes libFuzzer's dictionaries from the sources' own tables: make_dictionaries.py FOLDER"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def words(table, pattern):
    return re.findall(pattern, (ROOT / table).read_text(), re.MULTILINE)


def literal(data):
    return '"' + "".join(f"\\x{byte:02x}" for byte in data) + '"'


def number(value, size):
    return value.to_bytes(size, "little")


def file_words():
    tags = words("filedata/DataSetHeaderTags.def", r'^TAG\((\d+), \w+, "(\w+)"')
    tags += words("filedata/ZoneHeaderTags.def", r'^TAG\((\d+), \w+, "(\w+)"')
    result = [name.encode() for _, name in tags] + [number(int(tag), 2) for tag, _ in tags]
    fields = words("filedata/TextFields.def", r"^(?:VALUE\([^,]+, |STRING\()(\w+)\)")
    fields += words("filedata/GeomFields.def", r"^(?:VALUE\([^,]+, |STRING\()(\w+)\)")
    result += [name.encode() for name in fields]
    result += [b"#!HDQFS ", b"104B\n", b"105BF\n", b"106TG\n", b"231BS\n", b"232TF\n", b"\xff" * 8]
    return result


def commands():
    literals = words("command/LoaderCommands.def", r'^COMMAND\(\w+, "([^"]*)"\)')
    return [number(len(text), 8) + text.encode() for text in literals] + [text.encode() for text in literals]


def formula_words():
    names = words("expressions/Functions.def", r'"(\w+)"')
    return [name.encode() for name in names] + [b"plane(", b"<=", b">=", b"==", b"!=", b"{", b"}", b"^", b"1e-3"]


def wire_numbers():
    return [number(value, 8) for value in (0, 1, 2, 8, 255, 256, 65536, 1 << 28, 1 << 31, 1 << 60, (1 << 64) - 1)]


DICTIONARIES = {
    "dataSetHeader": file_words,
    "zoneHeader": file_words,
    "connectivity": file_words,
    "check": file_words,
    "file": file_words,
    "changingFile": file_words,
    "formula": formula_words,
    "payloads": wire_numbers,
    "expression": wire_numbers,
    "zoneMetadata": wire_numbers,
    "greeting": lambda: [b"VNXDATASERVER 1", number(15, 8)] + wire_numbers(),
    "server": commands,
    "session": commands,
    "client": commands,
}


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for target, entries in DICTIONARIES.items():
        lines = sorted({literal(entry) for entry in entries() if entry})
        (folder / f"{target}.dict").write_text("\n".join(lines) + "\n")


main()
