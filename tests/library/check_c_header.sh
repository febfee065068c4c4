#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the header of the C interface, alone and twice, does not compile without a warning in a standard of C or C++.
# Usage: check_c_header.sh INCLUDE_FOLDER COMPILER...    compilers of C that are not installed are left out, and named
set -euo pipefail
include=$1
shift
tried=0
for compiler in "$@"; do
  command -v "$compiler" >/dev/null || { echo "$compiler is not installed"; continue; }
  for language in c/c99 c/c11 c/c17 c/gnu17 c++/c++17 c++/c++20; do
    printf '#include <narvo/narvo_c.h>\n#include <narvo/narvo_c.h>\nint main(void) { return narvo_c_version(); }\n' |
      "$compiler" -x "${language%/*}" -std="${language#*/}" -Wall -Wextra -pedantic -Werror -I"$include" -fsyntax-only - ||
      { echo "$compiler, $language"; exit 1; }
    tried=$((tried + 1))
  done
done
echo "$tried compilations"
(( tried > 0 ))
