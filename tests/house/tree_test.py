"""The tree's own order: every test file is built, sources keep to the format, no file is too long."""

import concurrent.futures

from house import ROOT, finish, run, sources

lists = "\n".join(p.read_text() for folder in ("tests", "sweep") for p in ROOT.glob(folder + "/**/CMakeLists.txt"))
findings = [f"{p.relative_to(ROOT)} is in no CMakeLists.txt"
            for p in sources(".cpp", ".c", ".py", ".sh", folders=("tests", "sweep"))
            if ("_test." in p.name or "_sweep." in p.name) and p.name not in lists]

for path in sources(".cpp", ".h", ".c"):
    count = len(path.read_text().splitlines())
    if count > 800:
        findings.append(f"{path.relative_to(ROOT)} has {count} lines")


def badly_formatted(path):
    result = run("clang-format", "--dry-run", "-Werror", path)
    return f"{path.relative_to(ROOT)}: not formatted; run clang-format -i" if result.returncode else None


with concurrent.futures.ThreadPoolExecutor(2) as pool:
    findings += [f for f in pool.map(badly_formatted, sources(".cpp", ".h", ".c")) if f]
finish(findings)
