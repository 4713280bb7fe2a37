#!/usr/bin/env bash
# The end-to-end tests under Wine and Xvfb, driven by tests/e2e's host: `e2e.sh` runs the x86_64
# build under 64-bit Wine, `e2e.sh win32` the i686 build (host and library) under the 32-bit
# Wine of scripts/wine32-setup.sh. Screenshots of the window with data are kept in
# build/e2e/*.png (build/e2e-win32/*.png).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-win64}
case "$build" in
  win64) source scripts/wine-env.sh; out=build/e2e; timeout=300 ;;
  win32) scripts/wine32-setup.sh; source scripts/wine32-env.sh; out=build/e2e-win32; timeout=900 ;;
  *) echo "usage: e2e.sh [win64|win32]" >&2; exit 2 ;;
esac
rm -rf "$out" && mkdir -p "$out"
wine wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT

# Workbooks for the import case: label rows under their field names, a merged area among them,
# and the same file cut short.
/usr/bin/python3 - "$out" <<'PYTHON'
import sys, xlsxwriter
book = xlsxwriter.Workbook(sys.argv[1] + "/labels.xlsx")
sheet = book.add_worksheet("\u6807\u7b7e")
sheet.write_row(0, 0, ["\u54c1\u540d", "\u6570\u91cf", "\u6761\u7801"])
sheet.write_row(1, 0, ["\u5185\u516d\u89d2\u87ba\u6813", 200, "6901234567890"])
sheet.merge_range("A3:B3", "\u5e73\u57ab\u5708")
sheet.write_string(2, 2, "0012345")
sheet.merge_range("E2:G5", "\u5907\u6ce8\uff1a\u5408\u5e76\u5355\u5143\u683c")
sheet.set_column(0, 0, 16)
sheet.set_column(2, 2, 18)
book.close()
# Three sheets: the second is active when the file opens, as its author left it.
book = xlsxwriter.Workbook(sys.argv[1] + "/sheets.xlsx")
for name, rows in [("\u87ba\u4e1d", [["M6", 10, "S1"]]),
                   ("\u87ba\u6bcd", [["M8", 20, "N1"], ["M10", 30, "N2"]]),
                   ("\u57ab\u5708", [])]:
    sheet = book.add_worksheet(name)
    sheet.write_row(0, 0, ["\u54c1\u540d", "\u6570\u91cf", "\u6761\u7801"])
    for r, row in enumerate(rows):
        sheet.write_row(r + 1, 0, row)
    if name == "\u87ba\u6bcd":
        sheet.activate()
book.close()
data = open(sys.argv[1] + "/labels.xlsx", "rb").read()
open(sys.argv[1] + "/damaged.xlsx", "wb").write(data[: len(data) // 2])
PYTHON
# The 32-bit host's out-of-memory case imports, prints and exports a large sheet.
if [ "$build" = win32 ]; then
  /usr/bin/python3 bench/make_label_workbook.py "$out/labels-100k.xlsx" 100000
fi
folder=$(wine winepath -w "$out" 2>/dev/null | tr -d '\r')
echo "== end-to-end tests, $build build"
started=$SECONDS
KES_WINE_TIMEOUT=$timeout run_with_screenshots "$out" kes_wine explorer /desktop=KesE2E,1280x800 "build/$build/bin/e2e_host.exe" "$folder" \
  >"$out/e2e.log" 2>/dev/null || true
rm -f "$out"/*.done
tr -d '\r' <"$out/e2e.log" >"$out/e2e.txt"
cat "$out/e2e.txt"
echo "($((SECONDS - started)) s)"
grep -Eq '^[0-9]+ passed, 0 failed$' "$out/e2e.txt"
