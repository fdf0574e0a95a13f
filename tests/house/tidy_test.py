"""tidy_test.py BUILD_FOLDER: clang-tidy, and with it clang's own warnings, over every source.

Most of the time goes into headers of others, so what the build joined is looked at as one. Only where
something is found, be it by the joining, each source is looked at alone, and that counts."""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import sys

from house import ROOT, finish, run

FOLDERS = tuple(str(ROOT / f) + "/" for f in ("vtools", "common", "fiutil", "pdk", "host", "examples"))
WARNINGS = ("-Wno-unknown-warning-option", "-Wzero-as-null-pointer-constant")


def sources_of(file):
    """What a file of the compilation database is made of."""
    path = pathlib.Path(file)
    return re.findall(r'#include "(.*)"', path.read_text()) if path.parent.name == "Unity" else [file]


def units_of(build):
    """What is compiled, with its sources and flags, what takes longest first."""
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    units = [(entry["command"].split(" -o ")[0], entry["file"], sources_of(entry["file"])) for entry in entries]
    return sorted((u for u in units if u[2][0].startswith(FOLDERS)), key=lambda unit: -len(unit[2]))


def tidy(flags, path, *options):
    result = run("clang-tidy", "--quiet", f"--config-file={ROOT / '.clang-tidy'}", *options,
                 *(f"--extra-arg={w}" for w in WARNINGS), path, "--", *shlex.split(flags)[1:])
    return f"{os.path.relpath(path, ROOT)}:\n{result.stdout}{result.stderr}" if result.returncode else None


def check(flags, unit, sources):
    if tidy(flags, unit, "--checks=-bugprone-suspicious-include") is None:
        return []
    return [finding for finding in (tidy(flags, source) for source in sources) if finding]


units = units_of(sys.argv[1])
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    findings = [f for found in pool.map(lambda unit: check(*unit), units) for f in found]
finish(findings if units else ["no sources in the compilation database"])
