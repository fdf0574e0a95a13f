"""tidy_test.py BUILD_FOLDER: clang-tidy, and with it clang's own warnings, over every source, without
the precompiled headers."""

import concurrent.futures
import json
import os
import pathlib
import re
import sys
import tempfile

from house import ROOT, finish, run

FOLDERS = tuple(str(ROOT / f) + "/" for f in ("vtools", "common", "fiutil", "pdk", "host", "examples"))
WARNINGS = ("-Wno-unknown-warning-option", "-Wzero-as-null-pointer-constant")


def sources_of(build, folder):
    """Writes a compilation database of our sources, and lists them, the largest first."""
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    entries = [entry for entry in entries if entry["file"].startswith(FOLDERS)]
    for entry in entries:
        entry["command"] = re.sub(r"(-Winvalid-pch|(-Xclang )?-include(-pch)?( -Xclang)? \S*cmake_pch\S*) ", "",
                                  entry["command"])
    pathlib.Path(folder, "compile_commands.json").write_text(json.dumps(entries))
    return sorted({entry["file"] for entry in entries}, key=os.path.getsize, reverse=True)


def check(folder, path):
    result = run("clang-tidy", "--quiet", *(f"--extra-arg={w}" for w in WARNINGS), "-p", folder, path)
    return f"{os.path.relpath(path, ROOT)}:\n{result.stdout}{result.stderr}" if result.returncode else None


with tempfile.TemporaryDirectory() as database:
    files = sources_of(sys.argv[1], database)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        findings = [f for f in pool.map(lambda path: check(database, path), files) if f]
finish(findings if files else ["no sources in the compilation database"])
