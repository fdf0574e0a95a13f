"""The tree's own order: every test file is built, sources keep to the format, no file is too long."""

import re

from house import ROOT, finish, run, sources

lists = "\n".join(p.read_text() for folder in ("tests", "sweep") for p in ROOT.glob(folder + "/**/CMakeLists.txt"))
findings = [f"{p.relative_to(ROOT)} is in no CMakeLists.txt"
            for p in sources(".cpp", ".c", ".py", ".sh", folders=("tests", "sweep"))
            if ("_test." in p.name or "_sweep." in p.name) and p.name not in lists]

for path in sources(".cpp", ".h", ".c"):
    count = len(path.read_text().splitlines())
    if count > 800:
        findings.append(f"{path.relative_to(ROOT)} has {count} lines")

formatted = run("clang-format", "--dry-run", "-Werror", *sources(".cpp", ".h", ".c"))
findings += [f"{path}: not formatted; run clang-format -i"
             for path in sorted(set(re.findall(r"^(\S+?):\d+:\d+: error: ", formatted.stderr, re.M)))]
finish(findings)
