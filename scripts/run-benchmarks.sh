#!/usr/bin/env bash
# Runs every benchmark: the native ones, then the grid painting under Wine and Xvfb.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
for b in build/native/bin/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" || status=1
done
echo "== bench_grid_paint (x86_64 under Wine)"
source scripts/wine-env.sh
wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT
kes_wine explorer /desktop=KesBench,1280x800 build/win64/bin/bench_grid_paint.exe 2>/dev/null | tr -d '\r' || status=1
exit $status
