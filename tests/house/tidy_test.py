"""tidy_test.py BUILD_FOLDER: clang-tidy, and with it clang's own warnings, over every source."""

import concurrent.futures
import json
import os
import sys

from house import ROOT, finish, run

FOLDERS = tuple(str(ROOT / f) + "/" for f in ("vtools", "common", "fiutil", "pdk", "host", "examples"))
build = sys.argv[1]
entries = json.load(open(os.path.join(build, "compile_commands.json")))
files = sorted({e["file"] for e in entries if e["file"].startswith(FOLDERS)})


def check(path):
    result = run("clang-tidy", "--quiet", "--extra-arg=-Wno-unknown-warning-option", "-p", build, path)
    return f"{os.path.relpath(path, ROOT)}:\n{result.stdout}{result.stderr}" if result.returncode else None


if not files:
    finish(["no sources in the compilation database"])
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    finish([f for f in pool.map(check, files) if f])
