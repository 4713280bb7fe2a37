#!/usr/bin/env bash
# The end-to-end tests: the x86_64 library under Wine and Xvfb, driven by tests/e2e's host.
# Screenshots of the window with data are kept in build/e2e/*.png.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/wine-env.sh
out=build/e2e
rm -rf "$out" && mkdir -p "$out"
wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT

folder=$(winepath -w "$out")
KES_WINE_TIMEOUT=300 run_with_screenshots "$out" kes_wine explorer /desktop=KesE2E,1280x800 build/win64/bin/e2e_host.exe "$folder" \
  >"$out/e2e.log" 2>/dev/null || true
rm -f "$out"/*.done
tr -d '\r' <"$out/e2e.log" >"$out/e2e.txt"
cat "$out/e2e.txt"
grep -Eq '^[0-9]+ passed, 0 failed$' "$out/e2e.txt"
