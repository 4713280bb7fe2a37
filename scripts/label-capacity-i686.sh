#!/usr/bin/env bash
# The largest label sheet (rows x 12 columns, bench/make_label_workbook.py) that the i686 build
# imports and prints under 32-bit Wine, in a host without the large-address-aware flag, and the
# largest that it also exports, with their peak memory; past each, what ran out of memory. Each
# try runs bench_label_capacity.exe in a fresh process; the workbooks stay in
# build/bench/capacity for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/wine32-setup.sh
source scripts/wine32-env.sh
dir=build/bench/capacity
mkdir -p "$dir"
wine wineboot -i >/dev/null 2>&1 || true
started=$SECONDS
max_rows=1048575   # the sheet's rows below its header

# book ROWS: the workbook of ROWS label rows, made once.
book() {
  [ -f "$dir/labels-$1.xlsx" ] && return
  /usr/bin/python3 bench/make_label_workbook.py "$dir/labels-$1.part.xlsx" "$1"
  mv "$dir/labels-$1.part.xlsx" "$dir/labels-$1.xlsx"
}

# try ROWS: runs the import, print page and export of a ROWS-row sheet in a fresh process; its
# report is left in $dir/ROWS.txt.
try() {
  local rows=$1
  book "$rows"
  kes_wine build/win32/bin/bench_label_capacity.exe "$(wine winepath -w "$dir/labels-$rows.xlsx" | tr -d '\r')" \
    "$(wine winepath -w "$dir/export.xlsx" | tr -d '\r')" 2>/dev/null | tr -d '\r' >"$dir/$rows.txt" || true
  rm -f "$dir/export.xlsx"
  echo "  tried $rows rows: $(grep -E ' (ok|out of memory|failed)' "$dir/$rows.txt" | tr '\n' ' ')"
}

# completes ROWS STEP...: whether the sheet of ROWS rows completed every STEP; tried once a run.
completes() {
  local rows=$1 step; shift
  [ -f "$dir/$rows.txt" ] || try "$rows"
  for step; do grep -q "^$step ok" "$dir/$rows.txt" || return 1; done
}

# next GOOD BAD: the row count to try next, 0 when the search is done. The count doubles until
# a sheet fails, then the gap is halved down to 1/4 of the largest that worked, at whole
# thousands (1,024 rows) so that later runs find their workbooks made.
next() {
  local good=$1 bad=$2
  if [ "$bad" -eq 0 ]; then
    [ "$good" -ge "$max_rows" ] && echo 0 || echo $((good * 2 > max_rows ? max_rows : good * 2))
  elif [ $((bad - good)) -gt $((good / 4)) ]; then
    echo $(((good + bad) / 2 / 1024 * 1024))
  else
    echo 0
  fi
}

# largest STEP...: sets `good` to the largest row count whose sheet completes every STEP and
# `bad` to the smallest that did not (0: none up to the sheet's limit).
largest() {
  local rows=131072 ahead behind
  good=0 bad=0
  while [ "$rows" -ne 0 ]; do
    # While a try runs on one core, the workbooks of both outcomes' next tries are made on the other.
    wait
    ahead=$(next "$rows" "$bad") behind=$(next "$good" "$rows")
    { [ "$ahead" -eq 0 ] || book "$ahead"; [ "$behind" -eq 0 ] || book "$behind"; } >/dev/null &
    if completes "$rows" "$@"; then good=$rows; else bad=$rows; fi
    [ "$good" -gt 0 ] || break
    rows=$(next "$good" "$bad")
  done
  wait
}

field() { sed -n "s/^$1 //p" "$dir/$2.txt"; }

# report WHAT: the figures of the last search.
report() {
  if [ "$good" -eq 0 ]; then
    printf '  %-44s %s\n' "no sheet $1" "$(grep -E ' (out of memory|failed)' "$dir/$bad.txt" | head -1)"
    status=1
    return
  fi
  local limit=""
  [ "$good" -eq "$max_rows" ] && limit=" (the sheet's row limit)"
  printf '  %-44s %10d rows%s\n' "largest sheet that $1" "$good" "$limit"
  printf '  %-44s %10s\n' "  peak memory at that size" "$(field peak "$good")"
  if [ "$bad" -ne 0 ]; then
    printf '  %-44s %s, then the process went on (%s held)\n' "  at $bad rows" \
      "$(grep -E ' (out of memory|failed)' "$dir/$bad.txt" | head -1)" "$(field after "$bad")"
  fi
}

echo "== label sheet capacity, i686 build under 32-bit Wine (12 columns, a 2 GB host)"
rm -f "$dir"/*.txt
status=0
largest import print-page
report "imports and prints"
largest import print-page export
report "imports, prints and exports"
printf '  %-44s %10d s\n' "search time" $((SECONDS - started))
exit $status
