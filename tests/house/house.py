"""What the checks of this folder share."""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
CODE_FOLDERS = ("vtools", "common", "fiutil", "pdk", "host", "examples", "tests", "bench", "fuzz", "sweep")


def sources(*endings, folders=CODE_FOLDERS):
    """Files of the tree with one of the endings, build folders left out."""
    found = []
    for folder in folders:
        found += [p for p in sorted((ROOT / folder).rglob("*")) if p.suffix in endings and p.is_file()]
    return found


def run(*command, **options):
    return subprocess.run([str(c) for c in command], capture_output=True, text=True, **options)


def finish(findings):
    """Prints the findings and ends with 1 when there are any."""
    for line in findings:
        print(line)
    print(f"{len(findings)} finding(s)")
    sys.exit(1 if findings else 0)
