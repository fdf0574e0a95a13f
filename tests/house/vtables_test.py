#!/usr/bin/env python3
"""Holds the virtual tables of the public classes, and the table of the operations' names, against the
lists in vtables/.

A list names a header and then, one slot a line, the position and the operation with its signature.
"after CLASS" continues the list of the class's first base. The compiler's class dump gives the
order of the slots; that the signatures are right is shown by pointers to members that compile.

usage: vtables_test.py COMPILER KIT_HEADERS INCLUDE_FOLDER...
"""
import pathlib
import re
import subprocess
import sys
import tempfile

LISTS = pathlib.Path(__file__).resolve().parent / "vtables"
SLOT = re.compile(r"(\d+) (?:(.+?) )?(~?\w+)(\(.*\))( const)?$")


def read_list(name):
    """The header of a class, its slots by position, and its own member pointers."""
    header, slots, pointers = "", {}, []
    for number, line in enumerate((LISTS / f"{name}.txt").read_text().splitlines(), 1):
        word, rest = line.split(" ", 1)
        if word == "header":
            header = rest
        elif word == "after":
            slots.update(read_list(rest)[1])
        else:
            position, result, operation, arguments, const = SLOT.match(line).groups()
            slots[int(position)] = "destructor" if result is None else operation
            if result is not None:
                kind = f"{result} ({name}::*){arguments}{const or ''}"
                pointers.append(f'#line {number} "{name}.txt"\n'
                                f"static_cast<void>(static_cast<{kind}>(&{name}::{operation}));")
    return header, slots, pointers


def dumped_slots(dump, name):
    """The slots of a class's own table, by position; those of its virtual bases follow in the dump."""
    table = re.search(rf"^Vtable for orca_pdk_4_4::{name}\n.*?& _ZTI.*?\n(.*?)\n\n", dump, re.S | re.M)
    slots = {}
    for line in table[1].splitlines() if table else ():
        operation = re.search(r"::(~?)(\w+)$", line)
        if not operation or "_ZT" in line:
            break
        slots[len(slots) + 1] = "destructor" if operation[1] else operation[2]
    return slots


def compile_dump(compiler, kit, includes, lists):
    """The class dump of all headers. Operations without a body have no name there, so they get one
    in a copy of the headers: their slots stay where they are."""
    with tempfile.TemporaryDirectory() as folder:
        for header in pathlib.Path(kit).glob("*.h"):
            text = re.sub(r"(\)\s*(?:const)?)\s*=\s*0;", r"\1;", header.read_text())
            pathlib.Path(folder, header.name).write_text(text)
        probe = pathlib.Path(folder, "probe.cpp")
        probe.write_text("".join(f'#include "{entry[0]}"\n' for entry in lists.values())
                         + "using namespace orca_pdk_4_4;\nvoid probe() {\n"
                         + "\n".join(p for entry in lists.values() for p in entry[2]) + "\n}\n")
        flags = ["-std=c++20", "-fno-access-control", *(f"-I{path}" for path in (folder, *includes))]
        return subprocess.run([compiler, *flags, "-c", "-o", "/dev/null", "-fdump-lang-class=-", probe],
                              capture_output=True, text=True)


def operation_names(kit):
    """What the table of names in the headers says, by position."""
    names = re.findall(r'"(~?)(\w+)"', pathlib.Path(kit, "cfioperationtable.h").read_text())
    return {i: "destructor" if tilde else name for i, (tilde, name) in enumerate(names, 1)}


def main(compiler, kit, *includes):
    lists = {path.stem: read_list(path.stem) for path in sorted(LISTS.glob("*.txt"))}
    result = compile_dump(compiler, kit, includes, lists)
    if result.returncode:
        return result.stderr.splitlines()
    tables = [(name, dumped_slots(result.stdout, name), wanted) for name, (_, wanted, _) in lists.items()]
    tables.append(("kProviderOperations", operation_names(kit), lists["CFiPluginBase"][1]))
    found = []
    for name, slots, wanted in tables:
        found += [f"{name}: slot {position} is {slots.get(position)}, expected {wanted.get(position)}"
                  for position in sorted({*slots, *wanted})
                  if slots.get(position) != wanted.get(position)]
    return found


if __name__ == "__main__":
    problems = main(*sys.argv[1:])
    print("\n".join(problems) or "all virtual tables as listed")
    sys.exit(bool(problems))
