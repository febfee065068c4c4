# SPDX-License-Identifier: MIT
"""Follows a page to the letter in a folder of its own: runs its commands and programs from top to bottom, and compares
what they print with what the page says.

A block without a language holds commands, and below them lines that are parts of what they print. A JSON block is the
file whose name ends the paragraph above it, or "name" with .json. Python blocks together are one program, as are a C++ block
and the block of text after it.

Usage: walk_page.py PAGE FOLDER        NARVO_BUILD_DIR names the build whose program and package are used
"""

import json
import os
import pathlib
import re
import subprocess
import sys
from typing import List

import pages

COMMANDS = ("narvo", "mkdir", "cp", "python3")


def run(command: str, folder: pathlib.Path) -> str:
    outcome = subprocess.run(command, shell=True, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if outcome.returncode:
        raise SystemExit(f"{command}\nfailed with code {outcome.returncode}:\n{outcome.stdout}")
    return outcome.stdout


def run_commands(text: str, folder: pathlib.Path) -> None:
    printed: List[str] = []
    for line in text.splitlines():
        if line.split(" ")[0] in COMMANDS:
            printed = run(line, folder).splitlines()
        elif not any(line in each for each in printed):
            raise SystemExit(f"not printed: {line}\nprinted:\n" + "\n".join(printed))


def run_cpp(text: str, folder: pathlib.Path) -> str:
    build = os.environ["NARVO_BUILD_DIR"]
    (folder / "program.cpp").write_text(text)
    folders = {"narvoassem": f"{build}/narvoassem", "narvohost": f"{build}/host/library"}
    libraries = " ".join(f"-L{path} -Wl,-rpath,{path} -l{name}" for name, path in folders.items())
    run(f"c++ -std=c++17 program.cpp -I{pages.ROOT}/include {libraries} -o program", folder)
    return run("./program", folder)


def walk(page: pathlib.Path, folder: pathlib.Path) -> int:
    names: dict = {}
    printed = None
    count = 0
    text = page.read_text().splitlines()
    for block in pages.blocks(page):
        count += 1
        if block.language == "":
            run_commands(block.text, folder)
        elif block.language == "json":
            above = [re.findall(r"`([\w.-]+\.json)`", line) for line in text[max(0, block.line - 5) : block.line - 2]]
            name = next((found[-1] for found in reversed(above) if found), None)
            (folder / (name or json.loads(block.text)["name"] + ".json")).write_text(block.text)
        elif block.language == "python":
            exec(compile("\n" * (block.line - 1) + block.text, str(page), "exec"), names)
        elif block.language == "cpp":
            printed = run_cpp(block.text, folder)
        elif block.language == "text":
            if printed != block.text:
                raise SystemExit(f"{page}:{block.line}: printed instead:\n{printed}")
        elif block.language != "cmake":
            raise SystemExit(f"{page}:{block.line}: no way to follow a block of {block.language}")
    return count


def main() -> None:
    page, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    os.chdir(folder)
    os.environ["PATH"] = os.environ["NARVO_BUILD_DIR"] + "/tools:" + os.environ["PATH"]
    print(f"{walk(page, folder)} blocks of {page.name}")


if __name__ == "__main__":
    main()
