#!/usr/bin/env bash
# Opens KesHost with the library under Wine. Without a display it runs a scripted session
# under Xvfb instead: types three label rows, prints the page and one row, imports a workbook of
# two sheets and prints its second sheet, closes the window, saves screenshots to
# build/demo/*.png and prints what the host received.
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
# A workbook as a print room keeps it: two sheets of labels with a styled header row.
/usr/bin/python3 - "$out/labels-demo.xlsx" <<'PYTHON'
import sys, xlsxwriter
book = xlsxwriter.Workbook(sys.argv[1])
header = book.add_format({"bold": True, "bg_color": "#DDEBF7", "border": 1, "align": "center"})
cell = book.add_format({"border": 1})
count = book.add_format({"border": 1, "num_format": "#,##0"})
fields = ["\u54c1\u540d", "\u89c4\u683c", "\u578b\u53f7", "\u6570\u91cf", "\u6761\u7801", "\u751f\u4ea7\u65e5\u671f"]
sheets = {
    "\u87ba\u6813": [["\u5916\u516d\u89d2\u87ba\u6813", "M8\u00d730", "GB/T 5783", 1200, "6901234567920", "2026-11-20"],
               ["\u5185\u516d\u89d2\u87ba\u6813", "M6\u00d720", "GB/T 70.1", 200, "6901234567890", "2026-11-22"]],
    "\u57ab\u5708": [["\u5e73\u57ab\u5708", "\u03a68", "GB/T 97.1", 1000, "6901234567906", "2026-11-23"],
               ["\u5f39\u7c27\u57ab\u5708", "\u03a610", "GB/T 93", 500, "6901234567913", "2026-12-01"],
               ["\u5927\u57ab\u5708", "\u03a612", "GB/T 96.1", 300, "6901234567937", "2026-12-02"]],
}
for name, rows in sheets.items():
    sheet = book.add_worksheet(name)
    sheet.write_row(0, 0, fields, header)
    for r, row in enumerate(rows):
        for c, value in enumerate(row):
            sheet.write(r + 1, c, value, count if c == 3 else cell)
    sheet.set_column(0, 0, 14)
    sheet.set_column(4, 4, 16)
    sheet.set_column(5, 5, 12)
book.close()
PYTHON
folder=$(winepath -w "$out")
run_with_screenshots "$out" kes_wine explorer /desktop=KesDemo,1280x800 "$bin/KesHost.exe" --demo "$folder" \
  >"$out/host.log" 2>/dev/null || true
rm -f "$out"/*.done
echo "What the host received:"
cat "$out/host.log"
echo
echo "Screenshots:"
ls -1 "$out"/*.png
