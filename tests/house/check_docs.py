#!/usr/bin/env python3
"""The documents name what the code has: commands, tags, value formats, fields, targets, bytes.

    check_docs.py SOURCE_FOLDER
"""

import pathlib
import re
import subprocess
import sys

root = pathlib.Path(sys.argv[1])
wire = (root / "docs/wire.md").read_text(encoding="utf-8")
file_format = (root / "docs/file-format.md").read_text(encoding="utf-8")
architecture = (root / "docs/architecture.md").read_text(encoding="utf-8")
problems = []
checked = 0


def check(holds, problem):
    global checked
    checked += 1
    if not holds:
        problems.append(problem)


def rows(path, pattern):
    found = re.findall(pattern, (root / path).read_text(encoding="utf-8"), flags=re.MULTILINE)
    check(found, f"{path} has no rows: this check looks in the wrong place")
    return found


# Every word of the conversation stands in the list of all words.
all_words = wire.partition("## All words of the conversation")[2].partition("\n## ")[0]
for word in rows("command/LoaderCommands.def", r'^COMMAND\(\w+, "(.*)"\)$'):
    check(f"`{word}`" in all_words, f"docs/wire.md: `{word}` isn't among all words")

# Every tag is a row of a table, with its number and its name.
for path in ("filedata/DataSetHeaderTags.def", "filedata/ZoneHeaderTags.def"):
    for number, name in rows(path, r'^TAG\((\d+), \w+, "(\w+)"'):
        check(f"\n| {number} | `{name}` |" in file_format, f"docs/file-format.md: no row of tag {number}, {name}")
for number, name, presence in rows("filedata/DataSetHeaderTags.def", r'^TAG\((\d+), \w+, "(\w+)", (\w+)\)'):
    said = "yes" if presence == "RequiredBefore106" else "no"
    check(f"| {number} | `{name}` | {said} |" in file_format, f"docs/file-format.md: is tag {number} required?")

# Every value format is a row with its columns.
for kind, is_hex, width in rows("filedata/ValueFormats.def", r"^VALUE_FORMAT\(([\w:]+),\s*(\w+),.*?(-\d+),"):
    name = re.sub(r"std::|_t$", "", kind)
    label = f"`{name}` hex" if is_hex == "true" else f"`{name}`"
    columns = -int(width)
    row = rf"\n\| {re.escape(label)} \| \d+ \| {columns} \| {columns + 2} \| {columns + 44} \|"
    check(re.search(row, file_format), f"docs/file-format.md: no row of {label} with {columns} columns")

# Fields of texts and geometries, where the reader has tables of them.
for path in sorted((root / "filedata").glob("*Fields.def")):
    for name in rows(path.relative_to(root), r"^(?:VALUE|STRING)\((?:[^,]+, )?(\w+)\)"):
        check(f"`{name}`" in file_format, f"docs/file-format.md: no field {name}")

# The small files are what their maker makes, and the dump is the file.
small = root / "docs/examples/smallest.hdqfs"
maker = root / "docs/examples/smallest.py"
dump = subprocess.run([sys.executable, maker, "dump"], capture_output=True, text=True, check=True).stdout
check(f"```dump\n{dump}```" in file_format, "docs/file-format.md: the dump isn't that of docs/examples/smallest.py")
shown = re.findall(r"^[0-9a-f]{4}  ((?:[0-9a-f]{2} ?)+)", dump, flags=re.MULTILINE)
check(bytes.fromhex("".join(shown)) == small.read_bytes(), "docs/examples/smallest.hdqfs isn't what smallest.py dumps")

# Every target of the folders has its row, with exactly the targets that it uses.
libraries = {}
for path in sorted(root.glob("*/**/CMakeLists.txt")):
    folder = path.parent.relative_to(root)
    if folder.parts[0] in ("build", "install", "tests", "bench", "fuzz"):
        continue
    text = re.sub(r"#[^\n]*", "", path.read_text(encoding="utf-8"))
    for body in re.findall(r"\bvnx_(?:library|program|addon)\(([^()]*)\)", text):
        name = re.search(r"\bNAME\s+(\S+)", body)[1]
        uses = re.search(r"\bUSES\s+(.*)", body, flags=re.DOTALL)
        libraries[name] = (folder, {u.removeprefix("varnox::") for u in uses[1].replace("${CMAKE_DL_LIBS}", "dl").split()} if uses else set())
check(libraries, "there are no targets: this check looks in the wrong place")
table = {}
for name, folder, uses in re.findall(r"^\| `(\w+)` \| `([\w/]+)/` \| ([^|]*) \|", architecture, flags=re.MULTILINE):
    table[name] = (pathlib.Path(folder), set(re.findall(r"`([^`]+)`", uses)))
for name, (folder, uses) in libraries.items():
    check(table.get(name) == (folder, uses),
          f"docs/architecture.md: the row of {name} must say {folder}/ and {', '.join(sorted(uses)) or 'nothing'}")
for name, (folder, _) in table.items():
    check(name in libraries or not (root / folder / "CMakeLists.txt").exists(),
          f"docs/architecture.md: there is no target {name} in {folder}/")

# Tests that are named exist.
tests = "".join(path.read_text(encoding="utf-8") for path in (root / "tests").rglob("*.cpp"))
for document in ["docs/data-server.md", "docs/reliability.md"]:
    named = re.findall(r"`(?:\w+/)?([A-Z]\w+)\.([A-Z]\w+)`", (root / document).read_text(encoding="utf-8"))
    check(named, f"{document} names no tests: this check looks in the wrong place")
    for suite, name in named:
        check(re.search(rf"TEST(?:_[FP])?\(\s*{suite},\s*{name}\)", tests),
              f"{document}: there is no test {suite}.{name}")

# Links inside the documents lead somewhere.
for page in ("wire.md", "file-format.md", "architecture.md", "data-server.md"):
    text = (root / "docs" / page).read_text(encoding="utf-8")
    for target in re.findall(r"\]\(([^)#\s]*)(?:#[^)]*)?\)", text):
        check(not target or (root / "docs" / target).exists(), f"docs/{page}: there is no {target}")
    for other, anchor in re.findall(r"\]\(([\w.-]*)#([^)]*)\)", text):
        headings = re.findall(r"^#+ (.*)$", (root / "docs" / (other or page)).read_text(encoding="utf-8"),
                              flags=re.MULTILINE)
        anchors = {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}
        check(anchor in anchors, f"docs/{page}: there is no heading for {other}#{anchor}")

print(f"{checked} things checked")
print("\n".join(problems))
sys.exit(1 if problems else 0)
