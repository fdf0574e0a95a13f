"""man_test.py PROGRAM...: the manual page of each program has the options of its help, those of each verb in
a section of the verb's name, and no others."""

import pathlib
import re
import sys

from helps import differences, helped, verbs_of
from house import ROOT, finish


def documented(section):
    """Options, and words in capital letters or of a command, that begin an entry."""
    found = set()
    for line in re.findall(r"^([*_].*)\n\t", section, re.M):
        found |= set(re.findall(r"\*(--[\w-]+)\*" if line.startswith("*") else r"\b_([\w-]+)_", line))
    return found - {"--help"}


def sections_of(text, mark):
    """The sections of a page by their headings."""
    return dict(re.findall(rf"^{mark} (\S+)\n(.*?)(?=^{mark} |\Z)", text, re.M | re.S))


findings = []
for program in sys.argv[1:]:
    name = pathlib.Path(program).name
    page = f"{name}.1.scd"
    parts = sections_of((ROOT / "docs/man" / page).read_text(), "#")
    verbs = verbs_of(program)
    sections = sections_of(parts.get("VERBS", parts.get("COMMANDS", "")), "##")
    findings += differences(page, name, helped(program), documented(parts["OPTIONS"]))
    findings += differences(page, f"{name}'s verbs", verbs, set(sections))
    for verb in sorted(verbs & set(sections)):
        findings += differences(page, f"{name} {verb}", helped(program, verb), documented(sections[verb]))
finish(findings if len(sys.argv) > 1 else ["no program was named"])
