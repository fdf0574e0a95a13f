"""docs/conformance.md lists the requirements of `fihost check`: id, sentence, reason."""

import json
import re
import sys

from house import ROOT, finish, run

document = (ROOT / "docs/conformance.md").read_text()
documented = re.findall(r"^\| `([\w.]+)` \| (.*) \| (.*) \|$", document, re.M)
listed = [(row["id"], row["sentence"], row["reason"])
          for row in json.loads(run(sys.argv[1], "check", "--list", "--json").stdout)["requirements"]]
findings = [f"conformance.md does not say of {row[0]}: {row[1]} {row[2]}" for row in listed if row not in documented]
findings += [f"conformance.md says of {row[0]} what the program does not" for row in documented if row not in listed]
known = {part for row in listed for part in (row[0], row[0].partition(".")[0])}
findings += [f"conformance.md asks for {name}, which is not there"
             for names in re.findall(r"--only (\S+)", document) for name in names.split(",") if name not in known]
if not findings and documented != listed:
    findings.append("conformance.md has another order")
if not listed:
    findings.append("the program lists no requirement")
finish(findings)
