#!/bin/bash
# SPDX-License-Identifier: MIT
# Prints the symbols that a shared library exports, demangled, one a line, sorted. Usage: list_exports.sh LIBRARY
set -euo pipefail
export LC_ALL=C
nm --dynamic --defined-only --demangle "$1" | sed -E 's/^[0-9a-f]+ . //' | sort -u
