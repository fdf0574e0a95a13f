"""tidy_test.py BUILD_FOLDER: clang-tidy, and with it clang's own warnings, over every source, without
the precompiled headers.

Most of the time goes into headers of others, so the sources of a folder are looked at as one. Only
where something is found, be it two names that clash, each is looked at alone, and that counts."""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import sys
import tempfile

from house import ROOT, finish, run

FOLDERS = tuple(str(ROOT / f) + "/" for f in ("vtools", "common", "fiutil", "pdk", "host", "examples"))
WARNINGS = ("-Wno-unknown-warning-option", "-Wzero-as-null-pointer-constant")
MOST = 12  # sources at a time, so that no processor waits for the largest folder


def groups_of(build):
    """Lists of sources of one folder with the flags that they share."""
    groups = collections.defaultdict(list)
    for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text()):
        if entry["file"].startswith(FOLDERS):
            flags = re.sub(r"(-Winvalid-pch|(-Xclang )?-include(-pch)?( -Xclang)? \S*cmake_pch\S*)( |$)", "",
                           entry["command"].split(" -o ")[0])
            groups[os.path.dirname(entry["file"]), flags].append(entry["file"])
    return [(flags, sorted(files)[i:i + MOST])
            for (_, flags), files in groups.items() for i in range(0, len(files), MOST)]


def tidy(flags, path, *options):
    result = run("clang-tidy", "--quiet", f"--config-file={ROOT / '.clang-tidy'}", *options,
                 *(f"--extra-arg={w}" for w in WARNINGS), path, "--", *shlex.split(flags)[1:])
    return f"{os.path.relpath(path, ROOT)}:\n{result.stdout}{result.stderr}" if result.returncode else None


def check(flags, files):
    with tempfile.NamedTemporaryFile("w", suffix=os.path.splitext(files[0])[1]) as together:
        together.writelines(f'#include "{file}"\n' for file in files)
        together.flush()
        here = f"{flags} -I{os.path.dirname(files[0])}"
        if tidy(here, together.name, "--checks=-bugprone-suspicious-include") is None:
            return []
    return [finding for finding in (tidy(flags, file) for file in files) if finding]


groups = groups_of(sys.argv[1])
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    findings = [f for found in pool.map(lambda group: check(*group), groups) for f in found]
finish(findings if groups else ["no sources in the compilation database"])
