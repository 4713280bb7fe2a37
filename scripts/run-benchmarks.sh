#!/usr/bin/env bash
# Runs every benchmark: the native ones, the grid painting under Wine and Xvfb, then the largest
# label sheet that the i686 build holds under 32-bit Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
workbook=build/bench/labels-100k.xlsx
if [ ! -f "$workbook" ]; then
  mkdir -p build/bench
  /usr/bin/python3 bench/make_label_workbook.py "$workbook"
fi
# Excel's whole sheet of the same label data: 1,048,575 rows below the header.
whole=build/bench/labels-1m.xlsx
if [ ! -f "$whole" ]; then
  /usr/bin/python3 bench/make_label_workbook.py "$whole" 1048575
fi
# The same workbook as LibreOffice saves it in OpenDocument, for the .ods reader's figure.
ods=build/bench/labels-100k.ods
if [ ! -f "$ods" ] && command -v soffice >/dev/null; then
  soffice -env:UserInstallation=file://$PWD/build/bench/profile --headless --convert-to ods --outdir build/bench "$workbook" \
    >/dev/null 2>&1 || true
fi
for b in build/native/bin/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  case "$b" in
    *bench_workbook_files) "$b" "$workbook" $([ -f "$ods" ] && echo "$ods") || status=1 ;;
    *bench_xlsx_writer_peer) "$b" "$workbook" || status=1 ;;
    *bench_whole_sheet) "$b" "$whole" "$workbook" || status=1 ;;
    *) "$b" || status=1 ;;
  esac
done
echo "== inflate floor: unzip -p"
if command -v unzip >/dev/null; then
  /usr/bin/time -f "  unzip -p of the same workbook                    %e s" unzip -p "$workbook" >/dev/null
fi
echo "== peers loading the same workbook (converted to CSV, which needs every cell read)"
peers=$(mktemp -d)
if command -v soffice >/dev/null; then
  /usr/bin/time -f "  LibreOffice headless                             %e s" \
    soffice -env:UserInstallation=file://$peers/profile --headless --convert-to csv --outdir "$peers" "$workbook" \
    >/dev/null 2>"$peers/soffice.err" || true
  grep "LibreOffice" "$peers/soffice.err" || true
fi
if command -v ssconvert >/dev/null; then
  /usr/bin/time -f "  Gnumeric ssconvert                               %e s" \
    ssconvert "$workbook" "$peers/gnumeric.csv" >/dev/null 2>"$peers/ssconvert.err" || true
  grep "Gnumeric" "$peers/ssconvert.err" || true
fi
/usr/bin/time -f "  openpyxl read-only                               %e s" /usr/bin/python3 -c "
import openpyxl, sys
book = openpyxl.load_workbook(sys.argv[1], read_only=True)
sum(1 for sheet in book for row in sheet.iter_rows(values_only=True))" "$workbook" 2>&1 | grep openpyxl || true
rm -rf "$peers"
echo "== bench_grid_paint (x86_64 under Wine)"
source scripts/wine-env.sh
wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT
kes_wine explorer /desktop=KesBench,1280x800 build/win64/bin/bench_grid_paint.exe 2>/dev/null | tr -d '\r' || status=1
scripts/label-capacity-i686.sh || status=1
exit $status
