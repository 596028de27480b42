#!/bin/bash
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
# Time per pixel and peak memory of the whole program over frame sizes: a frame from an
# uncompressed TIFF, a 1024 x 512 layer 60 degrees wide, composited, written as uncompressed TIFF.
#
# usage: bench/growth.sh [DEPTH]     8 (default), 16 or float; VELTRA=PATH for another program

set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
depth=${1:-8}
if [ -z "${VELTRA:-}" ]; then
  "$root/scripts/install-packages" build
  cmake --preset release -S "$root" >/dev/null
  cmake --build "$root/build/release" --target veltra veltra_effect >/dev/null
  VELTRA=$root/build/release/bin/veltra
fi
command -v /usr/bin/time >/dev/null || "$root/scripts/install-packages" test
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$VELTRA" sample --size 2048x1024 sample >/dev/null
echo "| frame, $depth | wall s | processor s | processor ns per pixel | peak MB | frame MB |"
echo "| --- | --- | --- | --- | --- | --- |"
case $depth in 8) bytes=4 ;; 16) bytes=8 ;; *) bytes=16 ;; esac
for width in 1024 2048 4096 8192 16384; do
  height=$((width / 2))
  "$VELTRA" render --size "${width}x$height" --depth "$depth" --layer sample/layer.png \
    --no-composite --placement tile --degrees 120 --compression none --quiet -o frame.tif
  for _ in 1 2 3; do
    /usr/bin/time -f '%e %U %S %M' -a -o times \
      "$VELTRA" render --frame frame.tif --layer sample/layer.png --start 41.6667%,50% \
      --end 58.3333%,50% --degrees 11 --compression none --quiet -o out.tif
  done
  sort -n times | awk -v w="$width" -v h="$height" -v bytes="$bytes" 'NR == 2 {
    printf "| %d x %d | %.2f | %.2f | %.1f | %.0f | %.0f |\n", w, h, $1, $2 + $3,
           ($2 + $3) * 1e9 / (w * h), $4 / 1024, w * h * bytes / 1048576 }'
  rm -f times frame.tif out.tif
done
