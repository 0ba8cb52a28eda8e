#!/usr/bin/env python3
"""Prints how much of each folder the tests run, from gcovr's summary, and holds the whole to its floor."""

import collections
import json
import sys

summary_path, floor_path = sys.argv[1:]
with open(summary_path, encoding="utf-8") as file:
    files = json.load(file)["files"]
floor = {}
with open(floor_path, encoding="utf-8") as file:
    for line in file:
        if line.strip() and not line.startswith("#"):
            kind, percent = line.split()
            floor[kind] = float(percent)
if set(floor) != {"lines", "branches"}:
    sys.exit(f"{floor_path}: a floor of lines and one of branches are wanted")

KEYS = {"lines": "line", "branches": "branch"}


class Count:
    def __init__(self):
        self.run = {"lines": 0, "branches": 0}
        self.all = {"lines": 0, "branches": 0}

    def add(self, entry):
        for kind, key in KEYS.items():
            self.run[kind] += entry[f"{key}_covered"]
            self.all[kind] += entry[f"{key}_total"]

    def percent(self, kind):
        return 100.0 * self.run[kind] / self.all[kind] if self.all[kind] else 100.0

    def row(self, name):
        cells = [f"{self.run[kind]:6} of {self.all[kind]:6} {self.percent(kind):6.1f} %" for kind in KEYS]
        return f"{name:22} " + "   ".join(cells)


folders = collections.defaultdict(Count)
total = Count()
for entry in files:
    folder = entry["filename"].split("/")[0]
    folders[folder].add(entry)
    total.add(entry)
if not total.all["lines"]:
    sys.exit(f"{summary_path}: nothing was counted")

print(f"{'':22} {'lines':>25}   {'branches':>25}")
for name in sorted(folders):
    print(folders[name].row(name))
print(total.row("the library"))

below = [kind for kind in KEYS if total.percent(kind) < floor[kind]]
for kind in below:
    key = KEYS[kind]
    missing = sorted(files, key=lambda e: e[f"{key}_covered"] - e[f"{key}_total"])
    print(f"\n{total.percent(kind):.2f} % of the {kind} are below the floor of {floor[kind]:g} %. Most are missing in")
    for entry in missing[:10]:
        print(f"  {entry[f'{key}_total'] - entry[f'{key}_covered']:5} of {entry[f'{key}_total']:5}  {entry['filename']}")
if below:
    sys.exit(1)
for kind in KEYS:
    if total.percent(kind) >= floor[kind] + 2:
        print(f"The floor of {kind} can rise from {floor[kind]:g} % ({floor_path}).")
