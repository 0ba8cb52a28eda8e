#!/usr/bin/env python3
"""A client in another language: it knows the wire and none of this project's code. It starts the
server, loads a series and a text file, and checks values it gets against those in the text file.

Usage: foreign_client.py SERVER DATA_FOLDER
"""

import os
import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile

DOUBLE_KEYS = {"SOLUTIONTIME"}
TEXT_KEYS = {"NAME", "TITLE", "SECTIONCELLS", "SECTIONSHAPES", "SECTIONORDERS"}
TEXT_LIST_KEYS = {"VARNAMES"}
INT_ARRAY_KEYS = {"VARDATATYPE", "VALUELOCATION", "SHAREVARFROMZONE", "ISPASSIVEVAR"}
VALUE_FORMATS = {1: "f", 2: "d", 3: "i", 4: "h", 5: "B"}


class Connection:
    def __init__(self, stream):
        self.stream = stream

    def send(self, *items):
        self.stream.write(b"".join(items))
        self.stream.flush()

    def read(self, code):
        size = struct.calcsize("<" + code)
        data = self.stream.read(size)
        if len(data) != size:
            raise EOFError("the server hung up")
        return struct.unpack("<" + code, data)[0]

    def text(self):
        return self.stream.read(self.read("Q")).decode("utf-8")

    def vector(self, code):
        count = self.read("Q")
        data = self.stream.read(count * struct.calcsize("<" + code))
        return list(struct.unpack(f"<{count}{code}", data))


def text(value):
    return struct.pack("<Q", len(value.encode())) + value.encode()


def number(code, value):
    return struct.pack("<" + code, value)


def vector(code, values):
    return struct.pack(f"<Q{len(values)}{code}", len(values), *values)


class Engine:
    """Keeps the data set that the server's add-on builds."""

    def __init__(self, connection):
        self.wire = connection
        self.names = []
        self.zones = []
        self.title = ""
        self.types = {}
        self.ranges = {}
        self.on_demand = set()
        self.connectivity = set()
        self.messages = []
        self.field = {}

    def arguments(self):
        result = {}
        for _ in range(self.wire.read("i")):
            key = self.wire.text().upper()
            if key in DOUBLE_KEYS:
                result[key] = self.wire.read("d")
            elif key in TEXT_KEYS:
                result[key] = self.wire.text()
            elif key in TEXT_LIST_KEYS:
                result[key] = [self.wire.text() for _ in range(self.wire.read("Q"))]
            elif key in INT_ARRAY_KEYS:
                result[key] = self.wire.vector("i")
            else:
                result[key] = self.wire.read("q")
        return result

    def done(self, *items):
        self.wire.send(text("command finished"), *items)

    def serve(self):
        """Serves the server's commands until it has finished ours; gives its result."""
        while True:
            command = self.wire.text()
            if command == "command finished":
                return self.wire.read("I") != 0
            handler = getattr(self, "on_" + command, None)
            if handler is None:
                raise ValueError(f"unknown command {command!r}")
            handler()

    def on_VnxUtilDataLoadStart(self):
        self.zones = []

    def on_VnxUtilDataSetCreateX(self):
        arguments = self.arguments()
        self.title = arguments["TITLE"]
        self.names = arguments["VARNAMES"]
        self.done(number("I", 1))

    def on_VnxUtilDataSetAddZoneX(self):
        self.zones.append(self.arguments())
        self.done(number("I", 1))

    def on_VnxUtilDataValueSetMinMaxByZoneVar(self):
        zone, var = self.wire.read("i"), self.wire.read("i")
        self.ranges[zone, var] = (self.wire.read("d"), self.wire.read("d"))

    def on_VnxUtilDataValueCustomLOD(self):
        self.on_demand.add((self.wire.read("i"), self.wire.read("i")))
        for _ in range(5):
            self.wire.read("I")
        self.wire.send(number("I", 1))

    def on_VnxUtilDataNodeCustomLOD(self):
        self.wire.read("i")
        for _ in range(3):
            self.wire.read("I")
        self.done(number("I", 1))

    def on_registerLoaderQueryService(self):
        for _ in range(4):
            self.wire.read("I")
        num_zones = len(self.wire.vector("i"))
        for _ in range(num_zones):
            self.wire.vector("i")
        for _ in range(self.wire.read("I")):
            self.wire.read("I"), self.wire.read("i"), self.wire.read("i")
        self.wire.vector("i")
        self.wire.vector("I")

    def on_registerFEConnectivityQueryServices(self):
        self.connectivity.add(self.wire.read("i"))

    on_registerCellConnectivityQueryServices = on_registerFEConnectivityQueryServices

    def on_registerVarQueryServices(self):
        zone, var = self.wire.read("i"), self.wire.read("i")
        for _ in range(4):
            self.wire.read("d")
        self.types[zone, var] = self.zones[zone]["VARDATATYPE"][var]
        self.wire.send(number("i", self.types[zone, var]))

    def on_VnxUtilDataLoadFinishX(self):
        self.arguments()
        self.done(number("i", 1), vector("q", [1] * len(self.zones)))

    def on_VnxUtilDialogErrMsg(self):
        self.messages.append(self.wire.text())

    def on_VnxUtilDataValueArraySetByRef(self):
        offset, count = self.wire.read("q"), self.wire.read("q")
        values = self.wire.vector(VALUE_FORMATS[self.requested])
        assert len(values) == count
        for place, value in enumerate(values, offset):
            self.field[place] = value

    def load(self, *paths):
        self.wire.send(text("load dataset"), text("\n".join(map(str, paths))))
        return self.serve()

    def whole_variable(self, zone, var):
        self.requested = self.zones[zone - 1]["VARDATATYPE"][var - 1]
        self.field = {}
        self.wire.send(text("load field data"), number("i", zone), number("i", var))
        if not self.serve():
            raise RuntimeError(self.messages[-1])
        return [self.field[place] for place in range(1, len(self.field) + 1)]

    def nodal_subzones(self, zone, var, addresses):
        self.wire.send(text("NodalVarQuery"), number("i", zone), number("i", var), text("checkout"),
                       vector("Q", addresses))
        code = VALUE_FORMATS[self.types[zone, var]]
        return [self.wire.vector(code) for _ in addresses]


def values_in_text_file(path, var_number):
    """The numbers of one variable, as they stand in the file."""
    lines = path.read_bytes().decode("latin-1").split("\n")
    start = next(n for n, line in enumerate(lines)
                 if re.match(rf"valuesForVar{var_number}\s", line)) + 1
    numbers = []
    for line in lines[start:]:
        if not re.match(r"\s*[-+0-9]", line):
            break
        numbers += line.split()
    return numbers


def check(condition, what):
    if not condition:
        sys.exit(f"foreign_client: {what}")
    print("ok:", what)


def main():
    server, data = sys.argv[1], pathlib.Path(sys.argv[2])
    folder = tempfile.mkdtemp()
    address = f"{folder}/socket"
    process = subprocess.Popen([server, "--listen", f"unix:{address}", "--once",
                                "--address-file", f"{folder}/address", "--log-level", "error"])
    try:
        while not os.path.exists(f"{folder}/address"):
            if process.poll() is not None:
                sys.exit("foreign_client: the server ended")
        channel = socket.socket(socket.AF_UNIX)
        channel.connect(address)
        channel.settimeout(60)
        wire = Connection(channel.makefile("rwb"))
        wire.send(text("VNXDATASERVER 1"), text(""))
        check(wire.read("B") == 1 and wire.text() == "", "the greeting is accepted")

        engine = Engine(wire)
        grid, step = data / "tjunction_ascii_grid.hdqfs", data / "tjunction_ascii_t05.hdqfs"
        check(engine.load(grid, step), "a grid and its solution load")
        check(engine.names == ["X", "Y", "Z", "U", "V", "W", "p"], "the variables have their names")
        check(len(engine.zones) == 1 and engine.zones[0]["IMAX"] == 5616, "the zone has its nodes")
        check(engine.connectivity == {0}, "the zone is served by subzone")

        expected = values_in_text_file(step, 4)
        check(len(expected) == 5616, "the text file has a value for each node")
        whole = engine.whole_variable(1, 7)
        check([f"{value:.7e}" for value in whole] == expected,
              "the whole variable has the numbers of the file")
        pieces = engine.nodal_subzones(0, 6, [number_of << 28 for number_of in range(22)])
        check([len(piece) for piece in pieces] == [256] * 21 + [240], "the subzones have their sizes")
        check([value for piece in pieces for value in piece] == whole,
              "the subzones together are the variable")

        check(not engine.load(data / "nothing.hdqfs") and engine.messages
              and "nothing.hdqfs" in engine.messages[-1],
              "a missing file is a false and a message")
    finally:
        process.terminate()
        process.wait()
    print("all is well")


if __name__ == "__main__":
    main()
