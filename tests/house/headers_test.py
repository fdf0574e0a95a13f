"""Every public header compiles alone, and names the kit by `orca_pdk`: with g++ as C++20, C ones also as C of
1989 and of 2011."""

import concurrent.futures
import sys

from house import ROOT, finish, run

FOLDERS = ("pdk/include", "fiutil/include", "vtools/vstring", "common/lib")
C_FOLDERS = ("fiutil/include", "vtools/vstring", "common/lib")
INCLUDES = [f"-I{ROOT / folder}" for folder in FOLDERS]


def compile_alone(job):
    header, compiler = job
    known = "using namespace orca_pdk;\n" if header.parent.parent.name == "pdk" else ""
    result = run(*compiler, "-Wall", "-Wextra", "-Werror", "-fsyntax-only", *INCLUDES, "-",
                 input=f'#include "{header.name}"\n#include "{header.name}"\nextern int notEmpty;\n' + known)
    return f"{header.relative_to(ROOT)} ({' '.join(compiler)}):\n{result.stderr}" if result.returncode else None


jobs = []
for folder in FOLDERS:
    for header in sorted((ROOT / folder).glob("*.h")):
        jobs.append((header, ["g++", "-std=c++20", "-x", "c++"]))
        if folder in C_FOLDERS and header.name != "V_integer.h":
            jobs += [(header, ["gcc", std, "-pedantic", "-x", "c"]) for std in ("-std=gnu89", "-std=c11")]
umbrella = (ROOT / "pdk/include/orca_pdk.h").read_text()
findings = [f"{h.name} is not in orca_pdk.h" for h in sorted((ROOT / "pdk/include").glob("*.h"))
            if h.name != "orca_pdk.h" and f'"{h.name}"' not in umbrella]
with concurrent.futures.ThreadPoolExecutor(int(sys.argv[1]) if len(sys.argv) > 1 else 2) as pool:
    findings += [f for f in pool.map(compile_alone, jobs) if f]
finish(findings)
