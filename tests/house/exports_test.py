"""exports_test.py LIBRARY [--update]: the names that the library exports are the checked-in ones,
and what it imports comes from the C and C++ run times, its three libraries, and the framework's
utility library."""

import re
import sys

from house import ROOT, finish, run

LIST = ROOT / "tests/house/exports/liborca_pdk.txt"
FRAMEWORK = {"orca_alloc_buf", "orca_free_buf", "orca_get_objid", "orca_objidcmp", "orca_get_install_root",
             "orca_get_credential_blob", "orca_exec_cmd_in_child_context", "orca_is_child_context", "orca_free_objid"}
OUR_OWN = re.compile(r"orca_pdk_4_4::|Halcyon::Keystone::Framework::|^V_|^__V|^eofread$")
NEEDED = re.compile(r"lib(ACE|xerces-c|icui18n|icuuc|stdc\+\+|gcc_s|m|c|fiutil)[-.]")


def names(library, which):
    """(type, name) of the dynamic symbols; weak functions have type W."""
    lines = run("nm", "-D", "-C", which, library).stdout.splitlines()
    return [re.match(r"[0-9a-f ]{16} (\S) (.*)", re.sub(r"\bicu_\d+::", "icu::", line)).groups()
            for line in lines if line]


def mangled(library, which):
    """Dynamic symbols without their versions; weak imports need not be there."""
    lines = [line.split() for line in run("nm", "-D", which, library).stdout.splitlines()]
    return {words[-1].partition("@")[0] for words in lines if words[-2] not in "wv"}


library = sys.argv[1]
defined = names(library, "--defined-only")
# Inline functions are exported where the compiler chose to keep a copy, so they are not pinned.
exported = sorted({name for kind, name in defined if kind not in "W"})
if "--update" in sys.argv:
    LIST.parent.mkdir(exist_ok=True)
    LIST.write_text("\n".join(exported) + "\n")
pinned = set(LIST.read_text().splitlines())
findings = [f"exported, but not in the list: {n}" for n in exported if n not in pinned]
findings += [f"in the list, but not exported: {n}" for n in sorted(pinned - set(exported))]
findings += [f"not a name of ours: {n}" for _, n in defined if not OUR_OWN.search(n)]

needed = re.findall(r"^\s*(\S+) => (\S+) ", run("ldd", library).stdout, re.M)
direct = re.findall(r"NEEDED.*\[(.*)\]", run("readelf", "-d", library).stdout)
findings += [f"needs {name}" for name in direct if not NEEDED.match(name)]
offered = set().union(*(mangled(path, "--defined-only") for name, path in needed
                        if name in direct and "fiutil" not in name))
imported = mangled(library, "--undefined-only")
findings += [f"unexpected import: {n}" for n in sorted(imported - FRAMEWORK - offered)]
findings += [f"not imported: {n}" for n in sorted(FRAMEWORK - imported - {"orca_free_objid"})]
finish(findings)
