#!/bin/bash
# SPDX-License-Identifier: MIT
# check_decimal_comma.sh NARVO HOST_LIBRARY PYTHON CTYPES_HOST: the program, and a Python host of the library, where
# decimals have a comma: recipes are read and results written as everywhere else. The locale is built here from the
# descriptions of the package locales; without them the code is 77.
set -euo pipefail
narvo=$1 library=$2 python=$3 host=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir locales
if [[ ! -f /usr/share/i18n/locales/de_DE ]] || ! command -v localedef >/dev/null; then
  echo "no description of the locale de_DE: the package locales is not installed"
  exit 77
fi
# A warning about a missing name is no failure; the comma below is what counts.
localedef -i de_DE -f UTF-8 "$work/locales/de_DE.UTF-8" 2>/dev/null || true
export LOCPATH=$work/locales
comma=$(LC_ALL=de_DE.UTF-8 "$python" -c 'import locale; locale.setlocale(locale.LC_ALL, ""); print(locale.localeconv()["decimal_point"])')
[[ $comma == , ]] || { echo "the locale has no decimal comma: $comma"; exit 1; }

# The same steps in both, in folders of their own; the pitch has decimals.
for place in C de_DE.UTF-8; do
  mkdir "run-$place"
  cd "run-$place"
  export LC_ALL=$place
  "$narvo" synth --width 512 --height 640 --pitch-x 40.5 --pitch-y 48.25 --defects 8 --seed 3 --quiet
  "$narvo" inspect panel.png --recipe panel.recipe.json --output result --quiet || [[ $? -le 1 ]]
  "$narvo" pitch panel.png > pitch.txt
  # A host that has set its process to the locale, as programs with a surface do.
  "$python" -B -c 'import locale, runpy, sys; locale.setlocale(locale.LC_ALL, "")
sys.argv = sys.argv[1:]; runpy.run_path(sys.argv[0], run_name="__main__")' "$host" "$library" > ctypes.txt
  cd ..
done
export LC_ALL=C
[[ -s run-C/pitch.txt && -s run-C/ctypes.txt && -s run-C/result.blobs.json && -s run-C/result.blobs.csv ]]
# Durations differ from run to run.
plain() { sed -E 's/"(inspect|blobs|total)": [0-9.e-]+/"\1": 0/; s/[0-9.]+ ms//g' "$1"; }
for file in run-C/*; do
  cmp <(plain "$file") <(plain "run-de_DE.UTF-8/${file#run-C/}") || { echo "$file differs"; exit 1; }
done
echo "$(ls run-C | wc -l) files are the same"
