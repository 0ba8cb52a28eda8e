#!/usr/bin/env python3
"""Each manual page names the options and commands of its program, and no others.

    check_man.py FOLDER PROGRAM...
"""

import pathlib
import re
import subprocess
import sys

folder, programs = pathlib.Path(sys.argv[1]), [pathlib.Path(path) for path in sys.argv[2:]]
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*[a-z]|(?<![\w-])--[ijk]\b")


def help_of(*words):
    return subprocess.run([*map(str, words), "--help"], capture_output=True, text=True, check=True).stdout


problems = [] if programs else ["no programs: this check looks in the wrong place"]
for program in programs:
    said = help_of(program)
    subcommands = re.findall(r"^  ([a-z]+) ", said.partition("Subcommands:")[2], re.MULTILINE)
    said += "".join(help_of(program, command) for command in subcommands)
    options = set(OPTION.findall(said)) - {"--help"}
    page = (folder / f"{program.name}.1").read_text().replace("\\-", "-")
    named = set(OPTION.findall(page)) - {"--help"}
    problems += [f"{program.name}: {option} isn't on its page" for option in sorted(options - named)]
    problems += [f"{program.name}: {option} is on its page alone" for option in sorted(named - options)]
    problems += [f"{program.name}: the command {command} isn't on its page" for command in subcommands
                 if not re.search(rf"^\.BI? {command}\b", page, re.MULTILINE)]
    if len(options) < 5:
        problems.append(f"{program.name}: {len(options)} options: this check looks in the wrong place")

print("\n".join(problems))
sys.exit(1 if problems else 0)
