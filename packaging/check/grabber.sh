# SPDX-License-Identifier: MIT
# Someone with a camera: the module is found and loaded, says which cameras it sees, and takes frames from the emulated
# one of the package aravis-tools.
cd "$(mktemp -d)"
narvo synth --width 512 --height 512 --defects 2 --output panel
if narvo watch aravis:Nobody-1 --recipe panel.recipe.json 2>problem; then exit 1; fi
cat problem
grep -q "a camera that is seen" problem
if ldd /usr/bin/narvo | grep -q aravis; then exit 1; fi
# Its picture is a ramp that repeats after 255 pixels.
cat >camera.json <<'RECIPE'
{"version": 1, "mode": "pixel", "pitch": {"x": 255, "y": 255}, "threshold": {"base": 20},
 "camera": {"features": [{"PixelFormat": "Mono8"}, {"Width": 1024}, {"Height": 1020}]}}
RECIPE
arv-fake-gv-camera-0.8 -i 127.0.0.1 &
camera=$!
trap 'kill "$camera"' EXIT
for i in 1 2 3 4 5 6 7 8 9 10; do
  if narvo watch aravis: --recipe camera.json 2>&1 | grep -q Aravis-Fake-GV01; then break; fi
  sleep 0.5
done
narvo watch aravis:Aravis-Fake-GV01 --recipe camera.json --images 10 --json summary.json || test "$?" -eq 7
grep -q '"inspected": 10' summary.json
grep -q '"pass": 10' summary.json
