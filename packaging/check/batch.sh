# SPDX-License-Identifier: MIT
# A batch: four panels over two worker processes, the same table as over one.
cd "$(mktemp -d)"
for seed in 1 2 3 4; do narvo synth --width 512 --height 512 --defects 5 --seed $seed --output panel$seed; done
python3 -m narvoassem.batch panel?.png --recipe panel1.recipe.json --workers 2 --output two.csv
python3 -m narvoassem.batch panel?.png --recipe panel1.recipe.json --workers 1 --output one.csv
cmp one.csv two.csv
wc -l two.csv
