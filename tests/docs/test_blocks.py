# SPDX-License-Identifier: MIT
"""Blocks of code on every page: commands have options that exist, JSON and Python can be read, C++ compiles."""

import ast
import json
import os
import re
import shlex
import subprocess

import pages
import pytest

BUILD = os.environ["NARVO_BUILD_DIR"]
NARVO = f"{BUILD}/tools/narvo"
ALL = [block for page in pages.pages() for block in pages.blocks(page)]

NOT_COMPILED = {"docs/dispatch.md"}  # a sketch of the vector code


def compile_text(text, *compiler):
    outcome = subprocess.run(
        [*compiler, "-fsyntax-only", f"-I{pages.ROOT}/include", f"-I{pages.ROOT}", "-"],
        input=text,
        capture_output=True,
        text=True,
    )
    assert outcome.returncode == 0, outcome.stderr


def of_language(*languages):
    found = [block for block in ALL if block.language in languages]
    return pytest.mark.parametrize("block", found, ids=lambda block: f"{block.page}:{block.line}")


def commands(text):
    """Every command of the program in a block, as its words; a line that ends in a backslash goes on."""
    for line in text.replace("\\\n", " ").splitlines():
        for found in re.finditer(r"(?:^|\s|/)narvo ([a-z]+)((?: [^|&;]*)?)", line.split("  #")[0]):
            if line.lstrip().startswith(("narvo ", "build/release/tools/narvo ")):
                yield found[1], found[2]


def known_options():
    def help_of(*words):
        return subprocess.run([NARVO, *words, "--help"], capture_output=True, text=True, check=True).stdout

    def options_in(text):
        return set(re.findall(r"(?<![\w-])--?[A-Za-z][\w-]*", text))

    everywhere = help_of()  # among others how images are read
    names = re.findall(r"^  ([a-z]+) ", everywhere, re.M)
    return {name: options_in(everywhere) | options_in(help_of(name)) for name in names}


OPTIONS = known_options()


@of_language("")
def test_options_of_commands_exist(block):
    for name, rest in commands(block.text):
        assert name in OPTIONS, f"narvo {name}"
        for word in shlex.split(rest):
            option = word.split("=")[0]
            if re.fullmatch(r"--[a-z][\w-]*|-[A-Za-z]", option):
                assert option in OPTIONS[name], f"narvo {name} {option}"


def test_commands_are_seen():
    seen = [name for block in ALL if not block.language for name, _ in commands(block.text)]
    assert len(seen) >= 60 and {"inspect", "learn", "golden", "tune", "synth"} <= set(seen)


@of_language("json")
def test_json_can_be_read(block):
    json.loads(block.text)


@of_language("python")
def test_python_can_be_read(block):
    ast.parse(block.text)


@of_language("c")
def test_c_compiles(block):
    compile_text(block.text, "cc", "-std=c99", "-x", "c")


@of_language("cpp")
def test_cpp_compiles(block):
    if block.page in NOT_COMPILED:
        return
    source = block.text
    if not re.search(r"^[\w:]+ \w+\(", source, re.M):  # no functions of its own
        lines = source.splitlines()
        includes = [line for line in lines if line.startswith("#")]
        body = [line for line in lines if not line.startswith("#")]
        source = "\n".join([*includes, "void Block() {", *body, "}"])
    compile_text(source, "c++", "-std=c++20", "-x", "c++")
