# SPDX-License-Identifier: MIT
# Someone with a camera: the module is found and loaded, and says which cameras it sees.
cd "$(mktemp -d)"
narvo synth --width 512 --height 512 --defects 2 --output panel
if narvo watch aravis:Nobody-1 --recipe panel.recipe.json 2>problem; then exit 1; fi
cat problem
grep -q "a camera that is seen" problem
if ldd /usr/bin/narvo | grep -q aravis; then exit 1; fi
