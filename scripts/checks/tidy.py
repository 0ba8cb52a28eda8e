#!/usr/bin/env python3
"""Runs clang-tidy over all sources but the tests: scripts/checks/tidy.py BUILD [TARGET...]

BUILD is the folder of the preset tidy, in which the sources of a target are one translation unit. Most of the
time goes into headers, and so they are read once for each target and not for each source. If sources of a target
can't be read together, for they use a local name twice, they are read one by one, which takes longer and is said.
"""
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

TIDY = "clang-tidy-14"

# The static analyzer takes longer than all the rest. It looks at what reads foreign bytes: sockets, greetings,
# messages and files.
ANALYZED = ["vnx_socketutil", "vnx_token", "vnx_payloads", "vnx_filedata", "vnx_datafile", "vnxdataserver"]
ANALYZER = "clang-analyzer-*,-clang-analyzer-optin.performance.Padding"

# What is GCC's alone. Nothing else: what Clang 14 can't compile as it comes must be said here.
CLANG = ["-Wno-unknown-warning-option"]

UNREADABLE = "[clang-diagnostic-error"


def target_of(entry):
    return re.search(r"CMakeFiles/([^/]+?)(?:\.dir)?/Unity/", entry["file"]).group(1)


def sources_of(unity):
    return re.findall(r'^#include "(.*)"', pathlib.Path(unity).read_text(), re.MULTILINE)


def flags_of(entry):
    words = shlex.split(entry["command"])[1:]
    output = words.index("-o")
    del words[output:output + 2]
    return [word for word in words if word not in ("-c", "-Werror", entry["file"])]


def tidy(entry, file):
    command = [TIDY, "--quiet"]
    if target_of(entry) in ANALYZED:
        command.append("--checks=" + ANALYZER)
    command += [file, "--"] + flags_of(entry) + CLANG
    done = subprocess.run(command, cwd=entry["directory"], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    crashed = done.returncode not in (0, 1)
    return done.returncode == 0, done.stdout + (done.stderr if crashed or not done.stdout else "")


def check(entry):
    """Whether a target is clean, and what is to be said of it."""
    clean, text = tidy(entry, entry["file"])
    if clean or UNREADABLE not in text:
        return clean, "" if clean else text
    reasons = [line for line in text.splitlines() if UNREADABLE in line]
    said = f"The sources of {target_of(entry)} can't be read together and are read one by one: {reasons[0]}\n"
    results = [tidy(entry, source) for source in sources_of(entry["file"])]
    said += "".join(text for clean, text in results if not clean)
    return all(clean for clean, _ in results), said


def main():
    build = pathlib.Path(sys.argv[1])
    wanted = set(sys.argv[2:])
    entries = [e for e in json.loads((build / "compile_commands.json").read_text()) if "/Unity/" in e["file"]]
    unknown = wanted - {target_of(e) for e in entries}
    if unknown or not entries:
        sys.exit(f"{build} has no target {', '.join(sorted(unknown))}" if unknown else f"{build} has nothing to read")
    entries = [e for e in entries if not wanted or target_of(e) in wanted]
    # What takes longest begins first.
    entries.sort(key=lambda e: sum(os.path.getsize(s) for s in sources_of(e["file"])) * (2 if target_of(e) in ANALYZED else 1),
                 reverse=True)
    failed = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for entry, (clean, text) in zip(entries, pool.map(check, entries)):
            print(text, end="", flush=True)
            if not clean:
                failed.append(target_of(entry))
    sources = sum(len(sources_of(e["file"])) for e in entries)
    print(f"{sources} sources of {len(entries)} targets read" + (f"; findings in {', '.join(failed)}" if failed else ""))
    sys.exit(1 if failed else 0)


main()
