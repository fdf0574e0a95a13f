"""What the help of a program says, for the checks that hold documents against it."""

import re

from house import run


def section(text, title):
    """The lines of a part of a help, without those that go on."""
    return re.findall(r"^  (\S.*)", text.partition(f"\n{title}:\n")[2].partition("\n\n")[0], re.M)


def helped(program, *verb):
    """Options that the help of the program or a verb names, and words without an option's name."""
    text = run(program, *verb, "--help").stdout
    options = re.findall(r"^(?:-\w,)?(--[\w-]+)", "\n".join(section(text, "Options")), re.M)
    return {*options, *(line.split()[0] for line in section(text, "Positionals"))} - {"--help"}


def verbs_of(program):
    return {line.split()[0] for line in section(run(program, "--help").stdout, "Subcommands")
            if re.match(r"[a-z-]+ {2,}", line)}


def differences(document, where, in_help, in_document):
    return [f"{where}: {document} says nothing of {name}" for name in sorted(in_help - in_document)] + [
        f"{where}: --help says nothing of {name}" for name in sorted(in_document - in_help)]
