#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the symbols that the shared library exports differ from the committed list. scripts/update-symbols
# rewrites the list; a changed list is a change of the library's minor version.
# Usage: check_exports.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C

if ! diff -u "$2" <(bash "$(dirname "$0")/list_exports.sh" "$1"); then
  echo "the exported symbols differ from $2; if that is intended, run scripts/update-symbols"
  exit 1
fi
