#!/bin/bash
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# Veltra beside other ways to lay a picture onto a 360-degree frame, with equal work: a 1024 x 512
# layer, 60 degrees wide, over a 4096 x 2048 frame, 8 bit RGBA, uncompressed TIFF in and out, whole
# processes on all cores. One frame, and ten in which the layer moves.
#
# usage: bench/peers.sh [RUNS]     RUNS of each, 5 by default; VELTRA=PATH for another program
#
# What each peer does: nona warps the layer alone, without the frame; OpenCV makes its map, remaps
# and composites, in Python with NumPy; ffmpeg warps with v360 and lays over; oiiotool warps by a
# map of positions that is made beforehand and not counted, and lays over.

set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-5}

install() {
  local missing=()
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
install ffmpeg hugin-tools hyperfine openimageio-tools python3-numpy python3-opencv

if [ -z "${VELTRA:-}" ]; then
  "$root/scripts/install-packages" build
  cmake --preset release -S "$root" >/dev/null
  cmake --build "$root/build/release" --target veltra veltra_effect >/dev/null
  VELTRA=$root/build/release/bin/veltra
fi
VELTRA=$(realpath "$VELTRA")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp "$root/bench/peers_opencv.py" .

# ---- The pictures ----

"$VELTRA" sample --size 4096x2048 sample >/dev/null
oiiotool sample/frame.png --compression none -d uint8 -o frame.tif
oiiotool sample/layer.png --resize 1024x512 --compression none -d uint8 -o layer.tif
/usr/bin/python3 peers_opencv.py map st.tif

# ---- One frame ----

place=(--layer layer.tif --start 41.6667%,50% --end 58.3333%,50% --degrees 30 --compression none
  --quiet)
cat >one.pto <<'PTO'
p f2 w4096 h2048 v360 n"TIFF c:NONE"
i w1024 h512 f0 v60 r0 p0 y0 n"layer.tif"
PTO
warp="v360=input=flat:output=equirect:ih_fov=60:iv_fov=32:w=4096:h=2048:alpha_mask=1:interp=linear"

veltra_one="$VELTRA render --frame frame.tif ${place[*]} -o veltra.tif"
nona_one="nona -z NONE -m TIFF -o nona one.pto"
opencv_one="/usr/bin/python3 peers_opencv.py render 1"
ffmpeg_one="ffmpeg -y -loglevel error -i frame.tif -i layer.tif -filter_complex \
'[1]format=rgba,$warp[l];[0]format=rgba[f];[f][l]overlay=format=rgb,format=rgba' \
-compression_algo raw -frames:v 1 ffmpeg.tif"
oiio_one="oiiotool layer.tif st.tif --st_warp frame.tif --over --compression none -d uint8 \
-o oiio.tif"

# ---- Ten frames ----

cat >ten.json <<'JSON'
{
  "version": 1,
  "frame": "frame.tif",
  "output": "veltra.####.tif",
  "frames": "1-10",
  "controls": {
    "layer": "layer.tif",
    "start": ["41.6667%", "50%"],
    "end": ["58.3333%", "50%"],
    "degrees": 30,
    "travel": {"keys": [{"frame": 1, "value": 0}, {"frame": 10, "value": 90}]}
  }
}
JSON
for i in 0 1 2 3 4 5 6 7 8 9; do
  sed "s/ y0 / y$((i * 6)) /" one.pto >"ten$i.pto"
  printf '%s v360 yaw %d;\n' "$(printf '0.%03d' $((i * 40)))" $((i * 6)) >>yaw.txt
done
cat >nona_ten.sh <<'SH'
for i in 0 1 2 3 4 5 6 7 8 9; do nona -z NONE -m TIFF -o nona$i ten$i.pto; done
SH
cat >oiio_ten.sh <<'SH'
for i in 0 1 2 3 4 5 6 7 8 9; do
  oiiotool layer.tif st.tif --st_warp frame.tif --over --compression none -d uint8 -o oiio$i.tif
done
SH
veltra_ten="$VELTRA render ten.json --compression none --quiet"
opencv_ten="/usr/bin/python3 peers_opencv.py render 10"
ffmpeg_ten="ffmpeg -y -loglevel error -framerate 25 -loop 1 -i frame.tif -framerate 25 -loop 1 \
-i layer.tif -filter_complex \
'[1]format=rgba,sendcmd=f=yaw.txt,$warp[l];[0]format=rgba[f];[f][l]overlay=format=rgb,format=rgba' \
-compression_algo raw -frames:v 10 ffmpeg%02d.tif"

# ---- The table ----

compare() {
  local title=$1
  shift
  echo
  echo "$title"
  echo
  hyperfine --style none --warmup 1 --runs "$runs" --export-json table.json "$@" >/dev/null
  /usr/bin/python3 - <<'PYTHON'
import json
results = json.load(open("table.json"))["results"]
ours = results[0]
print("| | wall s, median | fastest | to veltra | processor s | to veltra |")
print("| --- | --- | --- | --- | --- | --- |")
work = lambda r: r["user"] + r["system"]
for r in results:
    print(f"| {r['command']} | {r['median']:.3f} | {r['min']:.3f} | {r['median'] / ours['median']:.2f} x "
          f"| {work(r):.3f} | {work(r) / work(ours):.2f} x |")
PYTHON
}

compare "One frame" -n veltra "$veltra_one" -n "nona, layer alone" "$nona_one" \
  -n "OpenCV" "$opencv_one" -n "ffmpeg v360 + overlay" "$ffmpeg_one" \
  -n "oiiotool --st_warp --over" "$oiio_one"
compare "Ten frames, the layer moving" -n veltra "$veltra_ten" -n "nona, layer alone" \
  "sh nona_ten.sh" -n "OpenCV" "$opencv_ten" -n "ffmpeg v360 + overlay" "$ffmpeg_ten" \
  -n "oiiotool --st_warp --over" "sh oiio_ten.sh"
echo
hyperfine --style none -N --warmup 2 --runs 30 --export-json table.json "$VELTRA --version" >/dev/null
/usr/bin/python3 -c 'import json; r = json.load(open("table.json"))["results"][0]
print("veltra --version: %.1f ms, fastest %.1f ms" % (1000 * r["median"], 1000 * r["min"]))'

[ -z "${KEEP:-}" ] || cp veltra.tif nona*.tif opencv0.tif ffmpeg.tif oiio.tif "$KEEP"/
