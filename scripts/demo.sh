#!/usr/bin/env bash
# Opens KesHost with the library under Wine. Without a display it runs a scripted session
# under Xvfb instead: types three label rows, prints the page and one row, closes the window,
# saves screenshots to build/demo/*.png and prints what the host received.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/wine-env.sh
bin=build/win64/bin
wineboot -i >/dev/null 2>&1 || true

if [ -n "${DISPLAY:-}" ]; then
  exec env LC_ALL=zh_CN.UTF-8 wine "$bin/KesHost.exe"
fi

out=build/demo
rm -rf "$out" && mkdir -p "$out"
start_xvfb
trap stop_xvfb EXIT
folder=$(winepath -w "$out")
run_with_screenshots "$out" kes_wine explorer /desktop=KesDemo,1280x800 "$bin/KesHost.exe" --demo "$folder" \
  >"$out/host.log" 2>/dev/null || true
rm -f "$out"/*.done
echo "What the host received:"
cat "$out/host.log"
echo
echo "Screenshots:"
ls -1 "$out"/*.png
