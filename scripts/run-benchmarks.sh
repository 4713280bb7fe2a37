#!/usr/bin/env bash
# Runs every benchmark: the native ones, then the grid painting under Wine and Xvfb.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
workbook=build/bench/labels-100k.xlsx
if [ ! -f "$workbook" ]; then
  mkdir -p build/bench
  /usr/bin/python3 bench/make_label_workbook.py "$workbook"
fi
for b in build/native/bin/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  case "$b" in
    *bench_workbook_files) "$b" "$workbook" || status=1 ;;
    *) "$b" || status=1 ;;
  esac
done
echo "== inflate floor: unzip -p"
if command -v unzip >/dev/null; then
  /usr/bin/time -f "  unzip -p of the same workbook                    %e s" unzip -p "$workbook" >/dev/null
fi
echo "== bench_grid_paint (x86_64 under Wine)"
source scripts/wine-env.sh
wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT
kes_wine explorer /desktop=KesBench,1280x800 build/win64/bin/bench_grid_paint.exe 2>/dev/null | tr -d '\r' || status=1
exit $status
