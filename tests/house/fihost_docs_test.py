"""docs/fihost.md names the verbs of `fihost --help`, the options of each, and the lines of session files."""

import re
import sys

from helps import differences, helped, verbs_of
from house import ROOT, finish

program = sys.argv[1]
document = (ROOT / "docs/fihost.md").read_text()


def documented(section):
    """Options in the table of a section."""
    return set(re.findall(r"^\| `([\w-]+)`", section, re.M)) - {"--help"}


verbs = verbs_of(program)
general = document.partition("## For every verb\n")[2].partition("\n## ")[0]
sections = dict(re.findall(r"^### (\w+)\n(.*?)(?=^##)", document, re.M | re.S))
findings = differences("fihost.md", "fihost", helped(program), documented(general))
findings += differences("fihost.md", "verbs", verbs, set(sections))
for verb in sorted(verbs & set(sections)):
    findings += differences("fihost.md", verb, helped(program, verb), documented(sections[verb]))
if not verbs:
    findings.append("--help names no verb")


def line(operation, arguments):
    """The line of an operation as the guide shows it; the modes of config are operations of their own."""
    mode = operation.removeprefix("Config")
    name = operation[0].lower() + operation[1:] if mode == operation else f"config {mode.lower()}"
    return f"{name} {arguments}".strip()


forms = re.findall(r'\{Op::(\w+), "([^"]*)"', (ROOT / "host/trace/forms.cpp").read_text())
for form in forms:
    if f"\n{line(*form)}\n" not in document.replace("config document", "config set"):
        findings.append(f"fihost.md does not say: {line(*form)}")
if not forms:
    findings.append("there are no forms")
finish(findings)
