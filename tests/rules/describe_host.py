#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Describes the binary interface of the host library's headers: every record with its size and its members' places and
types, every enumeration with its values, every function of the C header with its types. Exported functions of C++ and
their argument types are in host_symbols.txt.

    describe_host.py SOURCE_FOLDER

needs clang++, which lays the records out. Members of members are not described: those of the C++ library are its own,
and those of ours have entries of their own.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

NAME = r"[A-Za-z_][A-Za-z0-9_]*"


def without_comments(text):
    """Nor the preprocessor's lines."""
    return re.sub(r"//[^\n]*|/\*.*?\*/|^\s*#[^\n]*", "", text, flags=re.DOTALL | re.MULTILINE)


def enumerations(text):
    """Each enumeration's name and type with its enumerators, in order."""
    for match in re.finditer(rf"\benum(?: class)? ({NAME})\s*(?::\s*([\w:]+))?\s*\{{(.*?)\}}", text, re.DOTALL):
        values = []
        for enumerator in filter(None, (part.strip() for part in match[3].split(","))):
            name, _, value = (part.strip() for part in enumerator.partition("="))
            values.append((name, int(value, 0) if value else (values[-1][1] + 1 if values else 0)))
        yield f"enum {match[1]} : {match[2] or 'int'}\n" + "".join(f"  {name} = {value}\n" for name, value in values)


def functions(text):
    """The C header's functions, each on a line without names of arguments."""
    for match in re.finditer(rf"NARVO_C_API\s+([^;#]*?)\b({NAME})\(([^;]*?)\);", text):
        arguments = [re.sub(rf"\b{NAME}(\[\])?$", r"\1", part.strip()) for part in match[3].split(",")]
        words = f"{match[1]} {match[2]}({', '.join(arguments) if match[3].strip() != 'void' else 'void'})"
        yield re.sub(r"\s+", " ", words).replace("* ", "*").replace(" )", ")").replace(" ,", ",") + "\n"


def layouts(folder, names, language):
    """The records that clang lays out, by name."""
    spaces = "narvo::" if language == "c++" else ""
    header = "narvohost.h" if language == "c++" else "narvo_c.h"
    check = "static_assert(sizeof({0}) > 0, \"\");\n" if language == "c++" else "int size_of_{0}[sizeof({0})];\n"
    with tempfile.TemporaryDirectory() as place:
        source = pathlib.Path(place) / ("all.cpp" if language == "c++" else "all.c")
        source.write_text(f"#include <narvo/{header}>\n" + "".join(check.format(spaces + name) for name in names))
        standard = "-std=c++17" if language == "c++" else "-std=c99"
        dump = subprocess.run(["clang++" if language == "c++" else "clang", standard, "-I", str(folder / "include"),
                               "-Xclang", "-fdump-record-layouts", "-fsyntax-only", str(source)],
                              check=True, capture_output=True, text=True).stdout
    found = {}
    for record in dump.split("*** Dumping AST Record Layout")[1:]:
        lines = record.split("\n")
        head = re.match(rf"\s*0 \| (?:struct|class) (?:narvo::(?:v1::)?)?({NAME}(?:::{NAME})*)(?: \(empty\))?$", lines[1])
        if not head or head[1] not in names:
            continue
        text = f"record {head[1]}\n"
        for line in lines[2:]:
            if member := re.match(r"\s*(\d+) \|   (\S.*)$", line):
                text += f"  {member[1]}: {member[2]}\n"
            elif size := re.match(r"\s*\| \[sizeof=(\d+),.* align=(\d+)", line):
                text += f"  size {size[1]}, alignment {size[2]}\n"
        found[head[1]] = text
    return found


def describe(folder):
    headers = sorted((folder / "include" / "narvo").glob("*.h"))
    parts = []
    for language in ("c++", "c"):
        texts = [without_comments(header.read_text()) for header in headers
                 if (header.name == "narvo_c.h") == (language == "c")]
        whole = "\n".join(texts)
        # Definitions at the top of the namespace; C has only the ones that are not handles.
        indent = "" if language == "c++" else "(?:    typedef )"
        names = re.findall(rf"^{indent}(?:struct|class) (?:NARVOHOST_API )?({NAME})(?: final)?(?: : [^\n{{]*)?\s*\{{",
                           whole, re.MULTILINE)
        found = layouts(folder, names, language)
        missing = sorted(set(names) - set(found))
        if missing or not found:
            sys.exit(f"not laid out: {', '.join(missing) or 'all'}")
        parts += [found[name] for name in sorted(found)]
        parts += sorted(enumerations(whole))
        parts.append("".join(sorted(functions(whole))))
    return "\n".join(part for part in parts if part)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.stdout.write(describe(pathlib.Path(sys.argv[1])))
