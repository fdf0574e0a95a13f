"""guide_blocks.py GUIDE FOLDER: writes the code blocks of a guide into files.

A block that names its file in the line before it becomes that file: **`CMakeLists.txt`**. The commands of a
section become SECTION.sh, its CMake lines SECTION.cmake. All pieces of C++ become functions of fragments.cpp;
what one of them takes as given stands before it: <!-- given: tstr udid, int count -->.
"""

import pathlib
import re
import sys

guide = pathlib.Path(sys.argv[1])
folder = pathlib.Path(sys.argv[2])
folder.mkdir(parents=True, exist_ok=True)
files = {}


def piece_of_cpp(before, text):
    given = re.search(r"<!-- given: (.*) -->\n$", before)
    number = files.get("fragments.cpp", "").count("void fragment")
    start = "" if number else "#include <orca_pdk.h>\nusing namespace orca_pdk;\n"
    return f"{start}void fragment{number}({given.group(1) if given else ''}) {{\n{text}}}\n"


for section in re.split(r"^(?=##? )", guide.read_text(), flags=re.M):
    slug = "_".join(re.findall(r"\w+", section.partition("\n")[0].replace("'", "").lower()))
    for block in re.finditer(r"^```(\w*)\n(.*?)^```$", section, re.M | re.S):
        before, (language, text) = section[:block.start()], block.groups()
        named = re.search(r"^\*\*`([^`]+)`\*\*\n+$", before[before.rfind("\n**"):].lstrip("\n"))
        if named:
            files[named.group(1)] = text
        elif language == "cpp":
            files["fragments.cpp"] = files.get("fragments.cpp", "") + piece_of_cpp(before, text)
        elif language in ("sh", "cmake"):
            files[f"{slug}.{language}"] = files.get(f"{slug}.{language}", "") + text
        else:
            sys.exit(f"{guide.name}, {slug}: nothing is known to do with a block of \"{language}\"")
for name, text in files.items():
    (folder / name).parent.mkdir(exist_ok=True)
    (folder / name).write_text(text)
    print(name)
