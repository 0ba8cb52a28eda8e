#!/usr/bin/env python3
"""Every word of the conversation is said in some test, by the side that says it.

    check_vocabulary.py SOURCE_FOLDER SERVER_TEST... --client CLIENT_TEST...

Runs the test programs and looks for the words of LoaderCommands.def in what their sockets carried. Who
says a word is what docs/wire.md tells of it.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

root = pathlib.Path(sys.argv[1])
split = sys.argv.index("--client")
SERVER_TESTS, CLIENT_TESTS = sys.argv[2:split], sys.argv[split + 1 :]

# Words that the server's side has no sender for. What a test says is that the client meets them.
ONLY_TO_THE_CLIENT = {
    "file link",
    "directory link",
    "VnxUtilDataNodeGetRawPtrByRef",
    "VnxUtilDataValueGetRawPtrByRef",
}


def traffic_of(programs):
    """What server and client have said in all tests of the programs."""
    said = {"S": [], "C": []}
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder) / "traffic"
        for program in programs:
            done = subprocess.run([program, "--gtest_brief=1"], capture_output=True, text=True,
                                  env=os.environ | {"VNX_TRAFFIC": str(path)})
            if done.returncode != 0:
                sys.exit(f"{program} failed:\n{done.stdout[-3000:]}{done.stderr[-3000:]}")
        records = path.read_bytes()
    at = 0
    while at < len(records):
        end = records.index(b"\n", at)
        begin = end + 1
        size = int(records[at + 1 : end])
        said[chr(records[at])].append(records[begin : begin + size])
        at = begin + size
    # One speech, in which no word arises from the end of one record and the start of another.
    return {speaker: (b"\xff" * 16).join(speeches) for speaker, speeches in said.items()}


def as_string(word):
    return len(word).to_bytes(8, "little") + word.encode()


def was_said(word, speaker):
    if speaker == "nobody":
        # An instruction of the loader: the test add-on tells its instructions, each with a bar behind it.
        return b"|" + word.encode() + b"|" in server["S"].replace(b"STANDARDSYNTAX|", b"|STANDARDSYNTAX|")
    if word in ONLY_TO_THE_CLIENT:
        return as_string(word) in client["S"]
    if speaker == "both":
        return all(as_string(word) in server[side] for side in "SC")
    return as_string(word) in server["S" if speaker == "server" else "C"]


words = re.findall(r'^COMMAND\(\w+, "(.*)"\)$', (root / "command/LoaderCommands.def").read_text(encoding="utf-8"),
                   flags=re.MULTILINE)
if len(words) != 149 or len(set(words)) != 149:
    sys.exit(f"the vocabulary has {len(words)} words, {len(set(words))} different ones, and not 149")
wire = (root / "docs/wire.md").read_text(encoding="utf-8")
table = wire.partition("## All words of the conversation")[2].partition("\n## ")[0]
speakers = dict(re.findall(r"^\| `([^`]+)` \| (nobody|server|client|method|both) \|", table, flags=re.MULTILINE))
server = traffic_of(SERVER_TESTS)
client = traffic_of(CLIENT_TESTS)
problems = [f"docs/wire.md doesn't tell who says '{word}'" for word in words if word not in speakers]
problems += [f"no test says '{word}', a word of: {speakers[word]}"
             for word in words if word in speakers and not was_said(word, speakers[word])]
print(f"{len(words)} words looked for in {len(server['S'])} bytes of servers and {len(server['C'])} of clients")
print(*problems, sep="\n")
sys.exit(1 if problems else 0)
