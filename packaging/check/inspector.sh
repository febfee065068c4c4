# SPDX-License-Identifier: MIT
# An inspection engineer: makes a panel, finds its pitch, inspects, scores and reports it, has one pixel explained, and
# finds the manual page.
cd "$(mktemp -d)"
narvo --version
narvo synth --width 1024 --height 1024 --defects 20 --output panel
narvo pitch panel.png --recipe found.json
narvo inspect panel.png --recipe panel.recipe.json --truth panel.truth.json
narvo report panel.png --recipe panel.recipe.json --output panel.html
if ldd /usr/bin/narvo | grep -q libsqlite3; then
  narvo inspect panel.png --recipe panel.recipe.json --store results.sqlite
  narvo report --store results.sqlite --output stored.html
fi
narvo explain panel.png --recipe panel.recipe.json --at 500,500
grep -q '<html' panel.html
test -s panel.overlay.png
test -f /usr/share/man/man1/narvo.1.gz
