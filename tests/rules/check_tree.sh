#!/bin/bash
# SPDX-License-Identifier: MIT
# Fails when the source tree breaks its format rules: file names that are not unique over the tree, code that is not ASCII,
# text that is not UTF-8, blanks at line ends, tabs in code, a missing final newline.
# Usage: check_tree.sh SOURCE_FOLDER
set -euo pipefail
export LC_ALL=C
cd "$1"

if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t files < <(git ls-files --cached --others --exclude-standard)
else
  mapfile -t files < <(find . -type f -not -path './build/*' -not -path './out/*' | sed 's|^\./||')
fi
(( ${#files[@]} > 50 )) || { echo "only ${#files[@]} files found in $1"; exit 1; }

faults=0
fault() { echo "$1"; faults=$((faults + 1)); }

declare -A seen
for file in "${files[@]}"; do
  [[ -f $file && $file != tests/fuzz/corpus/* ]] || continue # inputs of the fuzz targets are bytes of any kind
  name=${file##*/}
  case $name in
    *.h | *.cpp | *.cc | *.inc | *.in | *.py | *.sh)
      [[ -z ${seen[$name]:-} ]] || fault "$file: the name is taken by ${seen[$name]}"
      seen[$name]=$file ;;
  esac
  case $name in
    *.h | *.cpp | *.cc | *.inc | *.in | *.cmake | CMakeLists.txt | *.json | *.py | *.sh)
      ! grep -nP '[^\x00-\x7F]' "$file" /dev/null || fault "$file: not ASCII"
      ! grep -nP '\t' "$file" /dev/null || fault "$file: a tab" ;;&
    *.png | *.jpg | *.tif | *.tiff | *.bmp | *.pgm | *.gif) ;;
    *)
      iconv -f UTF-8 -t UTF-8 "$file" >/dev/null 2>&1 || fault "$file: not UTF-8"
      ! grep -nP '[ \t\r]+$' "$file" /dev/null || fault "$file: blanks at a line's end"
      [[ ! -s $file || -z $(tail -c 1 "$file") ]] || fault "$file: no newline at the end" ;;
  esac
done
(( faults == 0 ))
