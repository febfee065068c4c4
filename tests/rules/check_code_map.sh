#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the code map leaves out a folder of the tree, or a source of the library, the host layer, Python, the program or
# the bench, or names a source that does not exist. Usage: check_code_map.sh SOURCE_FOLDER
set -euo pipefail
export LC_ALL=C
cd "$1"
map=docs/code-map.md

if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t files < <(git ls-files --cached --others --exclude-standard)
else
  mapfile -t files < <(find . -type f -not -path './build/*' -not -path './out/*' | sed 's|^\./||')
fi

faults=0
fault() { echo "$1"; faults=$((faults + 1)); }

declare -A stems
for file in "${files[@]}"; do
  [[ -f $file ]] || continue
  folder=${file%/*}
  [[ $folder == "$file" ]] || grep -qF "$folder/" $map || fault "$map does not name $folder/"
  case $file in
    narvoassem/*.h | narvoassem/*.c* | host/*.h | host/*.c* | python/*.h | python/*.c* | sources/*.h | sources/*.c* | tools/*.h | tools/*.c* | measure/*.h | measure/*.c* | bench/*.h | bench/*.c*)
      name=${file##*/}
      stem=${name%.*}
      stems[$stem]=1
      grep -qF "\`$stem\`" $map || fault "$map does not name $file" ;;
    include/*.h)
      name=${file##*/}
      grep -qF "\`$name\`" $map || fault "$map does not name $file" ;;
  esac
done

# Rows of the tables of sources: every name in the first column is a file.
while read -r stem; do
  [[ -n ${stems[$stem]:-} ]] || fault "$map names $stem, which is no source"
done < <(sed -n '/^## narvoassem/,/^## tests/p' $map | grep -E '^\| `' | cut -d'|' -f2 | grep -oE '`[^`]+`' | tr -d '`')
(( faults == 0 ))
