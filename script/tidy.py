"""tidy.py BUILD_FOLDER: clang-tidy, and with it clang's own warnings, over every source of the kit, the host and
the samples.

Most of the time goes into headers of others, so what the build joined is looked at as one. Only where
something is found, be it by the joining, each source is looked at alone, and that counts."""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
FOLDERS = tuple(str(ROOT / f) + "/" for f in ("vtools", "common", "fiutil", "pdk", "host", "examples"))
WARNINGS = ("-Wno-unknown-warning-option", "-Wzero-as-null-pointer-constant")


def sources_of(file):
    """What a file of the compilation database is made of."""
    path = pathlib.Path(file)
    return re.findall(r'#include "(.*)"', path.read_text()) if path.parent.name == "Unity" else [file]


def units_of(build):
    """What is compiled, with its sources and flags, what takes longest first."""
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    found = [(entry["command"].split(" -o ")[0], entry["file"], sources_of(entry["file"])) for entry in entries]
    return sorted((u for u in found if u[2][0].startswith(FOLDERS)), key=lambda unit: -len(unit[2]))


def tidy(flags, path, *options):
    command = ["clang-tidy", "--quiet", f"--config-file={ROOT / '.clang-tidy'}", *options,
               *(f"--extra-arg={w}" for w in WARNINGS), path, "--", *shlex.split(flags)[1:]]
    result = subprocess.run(command, capture_output=True, text=True)
    return f"{os.path.relpath(path, ROOT)}:\n{result.stdout}{result.stderr}" if result.returncode else None


def check(flags, unit, sources):
    if tidy(flags, unit, "--checks=-bugprone-suspicious-include") is None:
        return []
    return [finding for finding in (tidy(flags, source) for source in sources) if finding]


units = units_of(sys.argv[1])
if not units:
    sys.exit("no sources in the compilation database")
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    findings = [f for found in pool.map(lambda unit: check(*unit), units) for f in found]
print(*findings, f"{len(findings)} finding(s)", sep="\n")
sys.exit(1 if findings else 0)
