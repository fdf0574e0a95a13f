"""The documents keep up with the tree: every operation is in the guide, every result code and message
id in errors.md, every header in a family of the reference, and links lead somewhere."""

import re

from house import ROOT, finish

guide = (ROOT / "docs/provider-guide.md").read_text()
errors = (ROOT / "docs/errors.md").read_text()
table = (ROOT / "pdk/include/cfioperationtable.h").read_text()
codes = (ROOT / "pdk/include/cfitypes.h").read_text()

findings = [f"provider-guide.md says nothing of {name}" for name in re.findall(r'^ *"(\w+)"', table, re.M)
            if f"`{name}`" not in guide]
findings += [f"errors.md says nothing of {name}" for name in re.findall(r"^  (FI_\w+) = \d+,? +//", codes, re.M)
             if not re.search("_(TRACE|CONFIG|OBJID)_", name) and f"`{name}`" not in errors]
families = (ROOT / "docs/api/filter.py").read_text()
findings += [f"docs/api/filter.py names no family of {header.name}" for header in ROOT.glob("pdk/include/cfi*.h")
             if not re.search(rf"\b{header.stem}\b", families)]
for catalog in sorted(ROOT.glob("examples/*/messages/*.txt")):
    ids = re.findall(r"^ +([A-Z]+_\w+) *\{", catalog.read_text(), re.M)
    findings += [f"errors.md says nothing of {name}" for name in ids if f"`{name}`" not in errors]
    others = {i for c in catalog.parent.glob("*.txt") for i in re.findall(r"^ +([A-Z]+_\w+) *\{", c.read_text(), re.M)}
    findings += [f"{catalog.relative_to(ROOT)} lacks {name}" for name in sorted(others - set(ids))]
for document in [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("examples/*/*.md")]:
    for link in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
        if not (document.parent / link).exists():
            findings.append(f"{document.relative_to(ROOT)} links to {link}, which is not there")
finish(findings)
