#!/usr/bin/python3
"""check_conformance.py STATEMENT STATES OUTPUTS COPIES: compares what the sample states become with the tables of the
conformance statement, as pydicom reads both.

The outputs of STATES/NAME.dcm lie in OUTPUTS/NAME/, its copy made with -i -x is COPIES/NAME/NAME.dcm. Each attribute,
at any depth, is as its row says (VR, fixed value, presence by type) or that of the input; nothing else is there, what
the statement removes is gone and nothing else. Each row occurs in some sample. Prints one line for each thing that is
not so. Exit status: 0 all is so, 1 it is not.
"""
import pathlib
import re
import sys

import pydicom

sys.path.append(str(pathlib.Path(__file__).parents[1]))
from checking import conclude

ROW = re.compile(r"\| \(([\dA-F]{4},[\dA-Fx]{4})\) \| ((?:>* )?)(.+?) \| (\w+) \| (\S+) \| (.*?) ?\| (.*?) ?\|$")


class Row:
    def __init__(self, match, module):
        tag, _, name, self.vr, self.type, self.value, self.source = match.groups()
        self.name, self.module, self.children, self.seen = f"({tag}) {name}", module, [], False
        self.pattern, self.is_range = re.compile(tag.replace("x", "[0-9A-F]")), "x" in tag
        fixed = re.fullmatch(r"`[^`]*`(, `[^`]*`)*", self.value)
        self.allowed = re.findall(r"`([^`]*)`", self.value) if fixed else [""] if self.value == "empty" else None

    def matches(self, tag):
        return self.pattern.fullmatch("%04X,%04X" % (tag.group, tag.element))


def read_tables(path):
    """Title of a section to its rows, each with the rows of its items as children; and all rows."""
    tables, every, module = {}, [], ""
    for line in path.read_text().splitlines():
        if line.startswith("#"):
            module = line.lstrip("# ")
        if line.startswith("## "):
            stack = [tables.setdefault(module, [])]
        if match := ROW.match(line):
            every.append(Row(match, module))
            del stack[match[2].count(">") + 1:]
            stack[-1].append(every[-1])
            stack.append(every[-1].children)
    return tables, every


def text(element):
    values = element.value if element.VM > 1 else [] if element.is_empty else [element.value]
    return "\\".join(f"{value:g}" if element.VR == "FL" else str(value) for value in values)


def faults(element, row, is_the_inputs):
    """What is wrong with the element as its row has it."""
    if row.vr not in ("any", element.VR):
        yield f"VR {element.VR}, not {row.vr}"
    if row.type.startswith("1") and element.is_empty:
        yield f"empty, but of type {row.type}"
    if row.allowed is not None and text(element) not in row.allowed:
        yield f"{text(element)!r}, not {row.value}"
    if row.source == "copied" and not is_the_inputs:
        yield "not the input's"


def check(where, dataset, rows, original=pydicom.Dataset()):
    """One line for each difference; `original` is what the dataset may have been copied from."""
    rows = sorted(rows, key=lambda row: row.module != "Removed")
    for element in dataset:
        row = next((row for row in rows if row.matches(element.tag)), None)
        same = element.tag in original and original[element.tag] == element
        name = f"{where}{element.tag} {element.name}: "
        if row and row.module == "Removed":
            yield name + "not removed"
        elif not same and row is None:
            yield name + "not in the statement, and not the input's"
        elif row and not (same and row.is_range):
            row.seen = True
            yield from (name + fault for fault in faults(element, row, same))
            for number, item in enumerate(element.value if element.VR == "SQ" else [], 1):
                yield from check(f"{where}{element.name}[{number}] > ", item, row.children)
    present = {row for row in rows if any(map(row.matches, dataset.keys()))}
    modules = {row.module for row in present}
    for row in rows:
        if row.type in "12" and row not in present and (row.module in modules or "(C," not in row.module or where):
            yield f"{where}{row.name}: missing, but of type {row.type}"
    for element in original:
        if element.tag not in dataset and not any(row.module == "Removed" and row.matches(element.tag) for row in rows):
            yield f"{element.tag} {element.name}: of the input, gone"


def main():
    statement, states, outputs, copies = map(pathlib.Path, sys.argv[1:])
    (tables, every), problems, count = read_tables(statement), [], 0
    for state in sorted(states.glob("*.dcm")):
        original = pydicom.dcmread(state)
        made = [(path, "Outputs") for path in sorted((outputs / state.stem).glob("PR.*"))]
        for path, section in made + [(copies / state.stem / state.name, "The copy of the input")]:
            dataset = pydicom.dcmread(path)
            syntax = original.file_meta[0x20010:0x20011]
            found = [*check("", dataset, tables[section], original),
                     *check("", dataset.file_meta, tables["File meta information"], syntax)]
            problems += [f"{state.stem}/{path.name}: {problem}" for problem in found]
            count += 1
    problems += [f"{row.name}: in no sample" for row in every if not row.seen and row.module != "Removed"]
    return conclude(problems, f"{len(problems)} differences from the conformance statement in {count} objects")


sys.exit(main())
