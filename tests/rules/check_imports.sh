#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the shared library refers to anything that the list does not allow. Usage: check_imports.sh LIBRARY LIST
set -euo pipefail
export LC_ALL=C

mapfile -t imports < <(nm --dynamic --undefined-only "$1" | sed -E 's/^ *[A-Za-z] //; s/@.*//' | sort -u)
mapfile -t allowed < <(sed -E 's/[[:space:]]*#.*//; /^[[:space:]]*$/d' "$2")
# Every shared library refers to something.
(( ${#imports[@]} > 3 )) || { echo "only ${#imports[@]} imported symbols in $1: nothing was looked at"; exit 1; }

faults=0
for import in "${imports[@]}"; do
  for pattern in "${allowed[@]}"; do
    # shellcheck disable=SC2053 # patterns are meant
    [[ $import == $pattern ]] && continue 2
  done
  echo "not allowed: $import ($(c++filt "$import"))"
  faults=$((faults + 1))
done
(( faults == 0 )) || { echo "$2 says what the library may refer to"; exit 1; }
