# SPDX-License-Identifier: MIT
# Someone at a line: watches a folder with the page and the results in a database, where the program has them, until
# SIGTERM, and starts again behind what was inspected.
cd "$(mktemp -d)"
narvo synth --width 512 --height 512 --defects 2 --output panel
mkdir in
options=
if ldd /usr/bin/narvo | grep -q libcpp-httplib; then options="--listen 127.0.0.1:0"; fi
if ldd /usr/bin/narvo | grep -q libsqlite3; then options="$options --store results.sqlite"; fi
narvo watch folder:in --recipe panel.recipe.json $options >told &
watcher=$!
until grep -q '^watching' told; do sleep 0.1; done
cp panel.png in/one.png
cp panel.png in/two.png
until [ "$(cat watch.jsonl | wc -l)" -eq 2 ]; do sleep 0.1; done
kill "$watcher"
code=0
wait "$watcher" || code=$?
cat told
test "$code" -eq 6
grep -q '^fail: in/two.png' told
case $options in *listen*) grep -q '^live page: http://127.0.0.1:' told ;; esac
cp panel.png in/three.png
code=0
narvo watch folder:in --recipe panel.recipe.json $options --existing --resume --images 1 >told || code=$?
test "$code" -eq 0
test "$(cat watch.jsonl | wc -l)" -eq 3
case $options in *store*) narvo report --store results.sqlite --output stored.html && test -s stored.html ;; esac
