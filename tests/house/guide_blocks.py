"""guide_blocks.py GUIDE FOLDER: writes each code block of the guide that names a file into that file.

A block names its file in the line before it: **`CMakeLists.txt`**.
"""

import pathlib
import re
import sys

guide = pathlib.Path(sys.argv[1]).read_text()
folder = pathlib.Path(sys.argv[2])
blocks = re.findall(r"^\*\*`([^`]+)`\*\*\n+```\w*\n(.*?)^```", guide, re.M | re.S)
if not blocks:
    sys.exit("the guide names no file")
for name, text in blocks:
    path = folder / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    print(path)
