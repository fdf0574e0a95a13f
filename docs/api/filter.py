"""filter.py HEADER: the header as Doxygen wants it, on standard output. Its comments become those that
Doxygen reads, and what it declares joins the page of its family."""

import pathlib
import re
import sys

FAMILIES = {
    "providers": "cfipluginbase cfiplugininterposer cfiproviderentry cfioperationtable cfitypes cfiexport",
    "helpers": "cfiprovidersetup cfiproviderarguments cfifailure cfiparameters cfiobjidlist cfifilelock",
    "nodes": "cfiprivatedata cfiprivatedatamgr cfisession cfiudid",
    "documents": "cficonfig cficonfighandler cfiformatoption cfiformatoptionhandler cfisaxparser cfisaxhandler",
    "diagnostics": "cfitracelog cfitraceable cfilasterror cfierrormgr cfimsgcatalogmgr cfiicucatalog",
    "store": "cficonfiguration cficredentials",
    "commands": "cficommand cfiexecpipebase cfiexecpipe",
    "luns": "cfipblm",
    "lifetime": "cfirefcount cfismartptr",
    "text": "cfistringtool cfixstringtool cfiutf8string cfimsgdgst5 cfistoragestacktool",
    "framework": "fiutil fiutil_accounting fiutil_faults",
    "portable": "V_export V_integer V_sscanf V_strings V_strtoimax V_strtoumax V_vfscanf vtime",
}
COMMENT = re.compile(r"^(?P<code>(?:[^/\"]|\"(?:\\.|[^\"\\])*\"|/(?![/*]))*?)//(?: |$)(?P<text>.*)$")


def literal(text):
    """Text in which Doxygen finds no command, no tag and no link."""
    return re.sub(r"([\\@<>#%&$*_`\[\]~|])", r"\\\1", text).replace("\\_", "_")


def of_cpp(lines):
    """Turns // into /// and /// <; what is indented inside a comment is code."""
    column, is_code = None, False
    for line in lines:
        match = COMMENT.match(line)
        if not match or line.lstrip().startswith("#"):
            if is_code:
                yield "/// \\endcode"
            column, is_code = None, False
            yield line
            continue
        code, text = match["code"], match["text"]
        if code.strip():
            column = len(code)
            yield f"{code}///< {literal(text)}"
        elif column == len(code):
            yield f"{code}///< {literal(text)}"
        else:
            column = None
            starts = text.startswith("  ")
            if starts != is_code and (starts or text.strip()):
                yield f"{code}/// \\{'code' if starts else 'endcode'}"
                is_code = starts
            yield f"{code}/// {text if is_code else literal(text)}"


def of_c(text):
    """Turns /* into /** and, behind code, /**<."""
    def comment(match):
        mark = "/**<" if match[1].strip() else "/**"
        return match[1] + mark + literal(match[2]).replace("\n \\* ", "\n * ").replace("\n \\*\n", "\n *\n") + "*/"
    return re.sub(r"^([^\n]*?)/\*(.*?)\*/", comment, text, flags=re.M | re.S)


def grouped(text, family):
    begin = re.search(r'^namespace orca_pdk_4_4 \{$|^extern "C" \{\n#endif$', text, re.M)
    end = re.search(r'^\}  // namespace orca_pdk_4_4$|^#ifdef __cplusplus\n\}', text, re.M)
    if not begin or not end or begin.end() > end.start():
        return text
    return (f"{text[:begin.end()]}\n/// \\addtogroup {family}\n/// \\{{\n{text[begin.end():end.start()]}"
            f"/// \\}}\n{text[end.start():]}")


path = pathlib.Path(sys.argv[1])
family = next((name for name, stems in FAMILIES.items() if path.stem in stems.split()), None)
if not family:
    sys.exit(f"filter.py: {path} belongs to no family")
text = grouped(path.read_text(), family)
print("\n".join(of_cpp(text.split("\n"))) if path.stem.startswith("cfi") else of_c(text))
