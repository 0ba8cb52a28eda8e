#!/usr/bin/env python3
"""systemd understands every line of the units, and the program every option in them.

    check_units.py FOLDER PROGRAM

Ends with 77 where there is no systemd-analyze.
"""

import pathlib
import re
import shutil
import subprocess
import sys

folder, program = pathlib.Path(sys.argv[1]), sys.argv[2]
if shutil.which("systemd-analyze") is None:
    print("there is no systemd-analyze")
    sys.exit(77)

units = sorted(folder.glob("vnxdataserver*"))
problems = [] if len(units) == 3 else [f"{len(units)} units in {folder}: this check looks in the wrong place"]

# An instance of the template is what a connection starts.
shutil.copy(folder / "vnxdataserver@.service", folder / "vnxdataserver@one.service")
verified = subprocess.run(["systemd-analyze", "verify", "--man=no", "--recursive-errors=no", *map(str, units),
                           str(folder / "vnxdataserver@one.service")], capture_output=True, text=True)
(folder / "vnxdataserver@one.service").unlink()
said = verified.stdout + verified.stderr
problems += [line for line in said.splitlines() if "vnxdataserver" in line]
if verified.returncode != 0 and not problems:
    problems.append(f"systemd-analyze ended with {verified.returncode}: {said}")

help_text = subprocess.run([program, "--help"], capture_output=True, text=True, check=True).stdout
options = set()
for unit in units:
    commands = re.findall(r"^ExecStart=((?:.*\\\n)*.*)", unit.read_text(encoding="utf-8"), flags=re.MULTILINE)
    for command in commands:
        options |= set(re.findall(r"--[\w-]+", command))
if len(options) < 5:
    problems.append(f"only the options {options}: this check looks in the wrong place")
problems += [f"the program has no {option}" for option in sorted(options) if f"{option} " not in help_text]

print("\n".join(problems) or f"{len(units)} units, {len(options)} options")
sys.exit(1 if problems else 0)
