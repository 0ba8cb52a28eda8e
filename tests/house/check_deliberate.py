#!/usr/bin/env python3
"""Every comment that marks a behaviour as deliberate names a test, and that test exists."""

import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1])
sources = [
    path
    for pattern in ("*.h", "*.cpp", "*.c", "*.def")
    for path in root.rglob(pattern)
    if "build" not in path.relative_to(root).parts[:1]
]
texts = {path: path.read_text(encoding="utf-8") for path in sources}

tests = set()
for path, text in texts.items():
    tests.update(re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)", text))
tests = {f"{suite}.{name}" for suite, name in tests}

problems = []
count = 0
for path, text in texts.items():
    # Comment blocks, with the marks at the starts of their lines taken out.
    for block in re.findall(r"(?:^[ \t]*//[^\n]*\n)+", text, flags=re.MULTILINE):
        words = " ".join(re.sub(r"^[ \t]*//[/<]*", "", line) for line in block.splitlines())
        marks = len(re.findall(r"\bDeliberate:", words))
        named = re.findall(r"\bTest:\s+(\w+)\.(\w+)", words)
        count += marks
        if marks > len(named):
            problems.append(f"{path}: a deliberate behaviour without a test")
        problems += [
            f"{path}: there is no test {suite}.{name}"
            for suite, name in named
            if f"{suite}.{name}" not in tests
        ]

if count == 0:
    problems.append("no deliberate behaviour was found at all: this check looks in the wrong place")
print(f"{count} deliberate behaviours, {len(tests)} tests")
print("\n".join(problems))
sys.exit(1 if problems else 0)
