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
  # A lot in result files and, where stores are built in, in a store; a watch with rules; golden images; exports.
  store=()
  if "$narvo" inspect panel.png --recipe panel.recipe.json --output result --quiet --store probe.sqlite; then
    store=(--store lot.sqlite)
  fi
  rm -f probe.*
  mkdir lot
  cp --preserve=timestamps panel.png lot/a.png
  touch --date='2024-01-02 03:04:05.678' lot/a.png
  "$narvo" inspect lot --recipe panel.recipe.json --output lot --quiet "${store[@]}"
  "$narvo" watch folder:lot --existing --images 1 --recipe panel.recipe.json --output watch.jsonl --json watch.json \
    --pixel-size 2.5x0.25 --fail 'density>0.5' --quiet
  "$narvo" golden panel.png lot --output golden --threshold 5 --max-rotation 0.5 --quiet
  for form in klarf-1.2 klarf-1.8 coco voc yolo csv; do
    "$narvo" export lot.jsonl --format "$form" --output "lot.$form" --pixel-size 2.5 --time '2024-01-02 03:04:05'
  done
  if [[ ${#store[@]} -gt 0 ]]; then
    "$narvo" report "${store[@]}" --output store.html --quiet
    rm lot.sqlite
  fi
  # A host that has set its process to the locale, as programs with a surface do.
  "$python" -B -c 'import locale, runpy, sys; locale.setlocale(locale.LC_ALL, "")
sys.argv = sys.argv[1:]; runpy.run_path(sys.argv[0], run_name="__main__")' "$host" "$library" > ctypes.txt
  cd ..
done
export LC_ALL=C
[[ -s run-C/pitch.txt && -s run-C/ctypes.txt && -s run-C/result.blobs.json && -s run-C/result.blobs.csv ]]
# Durations and moments differ from run to run.
plain() {
  sed -E 's/"(inspect|blobs|total|seconds|median|percentile_99|worst)": ?[0-9]+[.][0-9e-]+/"\1": 0/g; s/[0-9.]+ ms//g
    s/"acquired":[0-9]+/"acquired":0/g; s/"made":"[^"]*"/"made":""/' "$1"
}
while read -r file; do
  cmp <(plain "$file") <(plain "run-de_DE.UTF-8/${file#run-C/}") || { echo "$file differs"; exit 1; }
done < <(find run-C -type f)
echo "$(find run-C -type f | wc -l) files are the same"
