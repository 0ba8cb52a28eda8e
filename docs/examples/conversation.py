#!/usr/bin/env python3
"""A client in its smallest form: it plays the conversations that docs/wire.md takes apart.

    conversation.py PROGRAM ADDON                  plays them and prints the annotated bytes
    conversation.py PROGRAM ADDON --check WIRE.MD  plays them and compares the bytes with the document

PROGRAM is vnxdataserver, ADDON the HDQFS loader. Nothing of the project's code is used here: this is
what docs/wire.md says, in another language.
"""

import os
import pathlib
import re
import struct
import subprocess
import sys

FOLDER = pathlib.Path(__file__).resolve().parent
DATA_FILE = "smallest.hdqfs"
TEXT_FILE = "smallest_ascii.hdqfs"  # the same data set in the text form

# A value of an argument list travels without its type: the key tells it.
KEY_TYPES = {
    "TITLE": "string",
    "VARNAMES": "strings",
    "NAME": "string",
    "ZONE": "int64",
    "ZONETYPE": "int64",
    "ISHDQ": "int64",
    "IMAX": "int64",
    "JMAX": "int64",
    "KMAX": "int64",
    "SOLUTIONTIME": "double",
    "STRANDID": "int64",
    "PARENTZONE": "int64",
    "CONNECTSHAREZONE": "int64",
    "FACENEIGHBORMODE": "int64",
    "VARDATATYPE": "ints",
    "VALUELOCATION": "ints",
    "SHAREVARFROMZONE": "ints",
    "ISPASSIVEVAR": "ints",
    "NUMSECTIONS": "int64",
    "SECTIONCELLS": "string",
    "SECTIONSHAPES": "string",
    "SECTIONORDERS": "string",
}
VALUE_FORMS = {1: "f", 2: "d", 3: "i", 4: "h", 5: "B"}
NUMBERS = {"uint8": "B", "uint16": "H", "int": "i", "int32": "i", "uint32": "I", "int64": "q",
           "uint64": "Q", "double": "d"}


class Wire:
    """Both directions of a connection, with a record of every item."""

    def __init__(self, process):
        self.process = process
        self.record = []  # (">" to the server or "<" from it, bytes, what they are)

    def title(self, text):
        self.record.append(("#", b"", text))

    def note(self, text):
        """Puts a remark behind the last item."""
        arrow, data, what = self.record[-1]
        self.record[-1] = (arrow, data, f"{what}: {text}")

    def _send(self, data, what):
        self.record.append((">", data, what))
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def send(self, kind, value, what=""):
        data = struct.pack("<" + NUMBERS[kind], value)
        self._send(data, f"{kind} {value}" + (f"  {what}" if what else ""))

    def send_string(self, text, what=""):
        data = struct.pack("<Q", len(text)) + text.encode()
        self._send(data, f'string "{text}"' + (f"  {what}" if what else ""))

    def send_words(self, words, what=""):
        data = struct.pack(f"<Q{len(words)}Q", len(words), *words)
        self._send(data, f"uint64 vector {words}" + (f"  {what}" if what else ""))

    def send_doubles(self, values, what=""):
        data = struct.pack(f"<Q{len(values)}d", len(values), *values)
        self._send(data, f"double vector {values}" + (f"  {what}" if what else ""))

    def _read(self, count):
        data = self.process.stdout.read(count)
        if len(data) != count:
            raise EOFError("the server has hung up")
        return data

    def receive(self, kind, what=""):
        form = "<" + NUMBERS[kind]
        data = self._read(struct.calcsize(form))
        (value,) = struct.unpack(form, data)
        shown = f"{value:#x}" if kind == "uint64" else value
        self.record.append(("<", data, f"{kind} {shown}" + (f"  {what}" if what else "")))
        return value

    def receive_string(self, what=""):
        head = self._read(8)
        data = self._read(*struct.unpack("<Q", head))
        self.record.append(("<", head + data, f'string "{data.decode()}"' + (f"  {what}" if what else "")))
        return data.decode()

    def receive_vector(self, form, name, what=""):
        head = self._read(8)
        (count,) = struct.unpack("<Q", head)
        data = self._read(count * struct.calcsize("<" + form))
        values = list(struct.unpack(f"<{count}{form}", data))
        self.record.append(("<", head + data, f"{name} vector {values}" + (f"  {what}" if what else "")))
        return values

    def receive_strings(self, what=""):
        head = self._read(8)
        data, values = head, []
        for _ in range(struct.unpack("<Q", head)[0]):
            size = self._read(8)
            text = self._read(*struct.unpack("<Q", size))
            data += size + text
            values.append(text.decode())
        self.record.append(("<", data, f"string vector {values}" + (f"  {what}" if what else "")))
        return values


class Client:
    def __init__(self, wire):
        self.wire = wire
        self.types = {}  # (zone, variable), both from 0
        self.values = {}
        self.num_zones = 0
        self.num_vars = 0
        self.shares = []

    def greet(self):
        self.wire.title("Greeting")
        self.wire.send_string("VNXDATASERVER 1")
        self.wire.send_string("", "no token is needed")
        accepted = self.wire.receive("uint8", "accepted")
        reason = self.wire.receive_string("no reason to refuse")
        if not accepted:
            raise RuntimeError(reason)

    def finish(self, *result):
        """The answer to a command that may be nested."""
        self.wire.send_string("command finished")
        for kind, value in result:
            self.wire.send(kind, value)

    def serve_until_finished(self):
        """Serves what the server asks for meanwhile, until it has finished what we asked it."""
        while True:
            self.wire.title(None)
            command = self.wire.receive_string()
            if command.lower() == "command finished":
                return
            getattr(self, "on_" + command)()

    def arg_list(self):
        result = {}
        for _ in range(self.wire.receive("int", "entries of the argument list")):
            key = self.wire.receive_string()
            kind = KEY_TYPES[key]
            if kind == "string":
                result[key] = self.wire.receive_string()
            elif kind == "strings":
                result[key] = self.wire.receive_strings()
            elif kind == "ints":
                result[key] = self.wire.receive_vector("i", "int")
            else:
                result[key] = self.wire.receive(kind)
        return result

    def on_VnxUtilDataLoadStart(self):
        pass

    def on_VnxUtilDataSetCreateX(self):
        self.num_vars = len(self.arg_list()["VARNAMES"])
        self.finish(("uint32", 1))

    def on_VnxUtilVarGetUniqueID(self):
        var = self.wire.receive("int32", "variable, from 1")
        self.wire.send("uint64", 100 + var, "the reply: our name of it in searches")

    def on_VnxUtilDataSetAddZoneX(self):
        types = self.arg_list()["VARDATATYPE"]
        for var, value_type in enumerate(types):
            self.types[self.num_zones, var] = value_type
        self.num_zones += 1
        self.finish(("uint32", 1))

    def on_VnxUtilDataValueSetMinMaxByZoneVar(self):
        self.wire.receive("int", "zone, from 1")
        self.wire.receive("int", "variable, from 1")
        self.wire.receive("double", "smallest")
        self.wire.receive("double", "largest; this command has no reply")

    def on_VnxUtilDataValueCustomLOD(self):
        self.wire.receive("int32", "zone, from 1")
        self.wire.receive("int32", "variable, from 1")
        for what in ("load", "unload", "clean up", "get value", "set value"):
            self.wire.receive("uint32", what)
        self.wire.send("uint32", 1, "the reply: no service here")

    def on_registerLoaderQueryService(self):
        self.wire.receive("uint32", "largest finite-element subzone")
        for axis in "IJK":
            self.wire.receive("uint32", f"largest subzone along {axis}")
        shares = self.wire.receive_vector("i", "int32", "whose connectivity each zone has")
        for zone in range(len(shares)):
            self.wire.receive_vector("i", "int32", f"whose values the variables of zone {zone} have")
        for number in range(self.wire.receive("uint32", "file sets")):
            self.wire.receive("uint32", f"files in set {number}")
            self.wire.receive("int32", "zones in its first file")
            self.wire.receive("int32", "variables in its first file")
        self.wire.receive_vector("i", "int32", "first zone of each set, and the end")
        self.wire.receive_vector("I", "uint32", "set of each zone")

    def on_registerCellConnectivityQueryServices(self):
        self.wire.receive("int", "zone, from 0; no reply")

    on_registerFEConnectivityQueryServices = on_registerCellConnectivityQueryServices
    on_registerZoneVarIDQueryServices = on_registerCellConnectivityQueryServices

    def on_registerVarQueryServices(self):
        zone = self.wire.receive("int", "zone, from 0")
        var = self.wire.receive("int", "variable, from 0")
        for what in ("smallest, nodal", "largest, nodal", "smallest, cell-centred", "largest, cell-centred"):
            self.wire.receive("double", what)
        self.wire.send("int32", self.types[zone, var], "the reply: the variable's type")

    def on_VnxUtilDataLoadFinishX(self):
        self.arg_list()
        self.wire.send_string("command finished")
        self.wire.send("int", 1, "success")
        self.wire._send(struct.pack("<Qq", 1, 1), "int64 vector [1]  unique ids of the new zones")

    def on_VnxUtilDialogErrMsg(self):
        self.wire.receive_string("for the user")

    def on_VnxUtilDataValueArraySetByRef(self):
        first = self.wire.receive("int64", "first item, from 1")
        self.wire.receive("int64", "number of items")
        zone, var = self.loading
        form = VALUE_FORMS[self.types[zone - 1, var - 1]]
        name = {"f": "float", "d": "double", "i": "int32", "h": "int16", "B": "uint8"}[form]
        for i, value in enumerate(self.wire.receive_vector(form, name, "no reply")):
            self.values[zone, var, first + i] = value

    def load(self, path):
        self.wire.title("Loading")
        self.wire.send_string("load dataset")
        self.wire.send_string(path, "paths, with line feeds between them")
        self.serve_until_finished()
        self.wire.note("our command is done")
        return self.wire.receive("uint32", "loaded")

    def load_field_data(self, zone, var):
        self.loading = zone, var
        self.wire.title("Loading all values of a variable")
        self.wire.send_string("load field data")
        self.wire.send("int32", zone, "zone, from 1")
        self.wire.send("int32", var, "variable, from 1")
        self.serve_until_finished()
        return self.wire.receive("uint32", "loaded")

    def checkout(self, service, zone, var, subzones):
        self.wire.title("Values of subzones")
        self.wire.send_string(service)
        self.wire.send("int", zone, "zone, from 0")
        self.wire.send("int", var, "variable, from 0")
        self.wire.send_string("checkout")
        self.wire.send_words(subzones, "subzone addresses")
        form = VALUE_FORMS[self.types[zone, var]]
        name = {"f": "float", "d": "double", "i": "int32", "h": "int16", "B": "uint8"}[form]
        return [self.wire.receive_vector(form, name) for _ in subzones]

    def ranges(self, zone, var):
        self.wire.title("Ranges of a variable in the cell subzones of a partition")
        self.wire.send_string("VarSubzoneQuery")
        self.wire.send("int", zone, "zone, from 0")
        self.wire.send("int", var, "variable, from 0")
        self.wire.send_string("cellSubzoneMinMaxes")
        self.wire.send("uint32", 0, "partition")
        return self.wire.receive_vector("d", "double", "smallest and largest, subzone after subzone")

    def find_subzones(self, method, zone, wanted):
        """wanted: values by our names of the variables."""
        self.wire.title("Cell subzones that may hold a value" if method == "findCellSubzones"
                        else "Node subzones that may hold a value")
        self.wire.send_string("ZoneVarIDQuery")
        self.wire.send("int", zone, "zone, from 0")
        self.wire.send_string(method)
        self.wire.send_doubles(list(wanted.values()))
        self.wire.send_words(list(wanted), "our names of the variables, one for each value")
        return self.wire.receive_vector("Q", "uint64", "subzone addresses")

    def find_plane(self, zone, axis, index):
        self.wire.title("Node subzones on a plane")
        self.wire.send_string("OrderedSubzoneQuery")
        self.wire.send("int", zone, "zone, from 0")
        self.wire.send_string("findIJKPlaneNodeSubzones")
        self.wire.send("int32", axis, "of constant " + "IJK"[axis])
        self.wire.send("int64", index, "which, from 0")
        return self.wire.receive_vector("Q", "uint64", "subzone addresses")

    def duplicate(self, zone):
        self.wire.title("Duplicating a zone")
        self.wire.send_string("ZoneVarIDQuery")
        self.wire.send("int", zone, "zone, from 0")
        self.wire.send_string("duplicate")
        copy = self.wire.receive("int", "the new zone, from 0")
        for var in range(self.num_vars):
            self.types[copy, var] = self.types[zone, var]
        return copy

    def zone_metadata(self):
        w = self.wire
        w.title("Metadata of a zone")
        w.send_string("loaderQuery")
        w.send_string("zoneMetadata")
        w.send("uint32", 0, "file set")
        w.send("uint32", 0, "file in the set")
        w.send("int32", 0, "zone in the file")
        w.receive("int32", "zone type: ordered")
        w.receive("uint8", "in subzones")
        for axis in "IJK":
            w.receive("int64", axis)
        for _ in range(w.receive("uint32", "partitions")):
            pass
        w.receive_vector("q", "int64", "cells of each partition, one vector for each section")
        w.receive_vector("q", "int64", "nodes of each partition")
        for corner in ("first", "last"):
            for axis in "IJK":
                w.receive("uint32", f"{corner} {axis} of the partition")
        w.receive_vector("I", "uint32", "cell subzones of each partition, one vector for each section")
        w.receive_vector("I", "uint32", "node subzones of each partition")
        for _ in range(w.receive("int32", "variables with ranges")):
            w.receive("double", "smallest in the partition")
            w.receive("double", "largest in the partition")

    def list_file_types(self):
        self.wire.title("What the server can load")
        self.wire.send_string("list file types")
        self.wire.receive_string("name of the loader")
        self.wire.receive_string("extensions of its files")
        self.wire.receive_string()

    def close(self):
        self.wire.title("End")
        self.wire.send_string("close data server")


def play(program, addon, path):
    as_root = ["--allow-root"] if os.geteuid() == 0 else []
    with subprocess.Popen([program, "--addon", addon, "--listen", "stdio", *as_root], cwd=FOLDER,
                          stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL) as process:
        wire = Wire(process)
        client = Client(wire)
        client.greet()
        client.list_file_types()
        if client.load(path) != 1:
            raise RuntimeError("the file was not loaded")
        if client.checkout("NodalVarQuery", 0, 0, [0]) != [[1.0, 1.5, 2.0, 2.5, 3.0, 3.5]]:
            raise RuntimeError("wrong nodal values")
        if client.checkout("CellCenteredVarQuery", 0, 1, [0]) != [[-7, 300]]:
            raise RuntimeError("wrong cell-centred values")
        if client.ranges(0, 1) != [-7.0, 300.0]:
            raise RuntimeError("wrong ranges")
        if client.find_subzones("findNodeSubzones", 0, {101: 2.25}) != [0]:
            raise RuntimeError("a value between two nodes was not found")
        if client.find_subzones("findCellSubzones", 0, {102: 301.0}) != []:
            raise RuntimeError("a value that is nowhere was found")
        if client.find_plane(0, 0, 2) != [0]:
            raise RuntimeError("the last plane was not found")
        if client.duplicate(0) != 1:
            raise RuntimeError("the duplicate is not the next zone")
        if client.checkout("CellCenteredVarQuery", 1, 1, [0]) != [[-7, 300]]:
            raise RuntimeError("the duplicate has other values")
        client.zone_metadata()
        if client.load_field_data(1, 2) != 1 or client.values != {(1, 2, 1): -7, (1, 2, 2): 300}:
            raise RuntimeError("wrong values on demand")
        client.close()
        if process.wait(10) != 0:
            raise RuntimeError(f"the server ended with {process.returncode}")
    return wire.record


def dump(record):
    lines = []
    for arrow, data, what in record:
        if arrow == "#":
            lines += [""] + ([f"# {what}"] if what else [])
        for start in range(0, len(data), 16):
            head = arrow if start == 0 else " "
            lines.append(f"{head} {data[start:start + 16].hex(' '):<47}  {what if start == 0 else ''}".rstrip())
    return "\n".join(lines[1:])


def documented(text):
    """The bytes of both directions in the dumps of a document."""
    result = {">": b"", "<": b""}
    arrow = ">"
    for block in re.findall(r"```conversation\n(.*?)```", text, flags=re.DOTALL):
        for line in block.splitlines():
            match = re.match(r"([<> ]) ((?:[0-9a-f]{2} ?)+)(?: |$)", line)
            if match:
                arrow = match[1] if match[1] != " " else arrow
                result[arrow] += bytes.fromhex(match[2])
    return result


def main():
    if len(sys.argv) not in (3, 5):
        sys.exit(__doc__)
    record = play(sys.argv[1], sys.argv[2], DATA_FILE)
    if len(sys.argv) == 3:
        print(dump(record))
        return
    spoken = {arrow: b"".join(data for a, data, _ in record if a == arrow) for arrow in "<>"}
    if spoken != documented(pathlib.Path(sys.argv[4]).read_text(encoding="utf-8")):
        sys.exit("The conversation isn't that of the document; it goes so:\n\n" + dump(record))
    play(sys.argv[1], sys.argv[2], TEXT_FILE)
    print(f"{len(spoken['>'])} bytes to the server and {len(spoken['<'])} from it, as documented")


if __name__ == "__main__":
    main()
