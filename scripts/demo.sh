#!/usr/bin/env bash
# Until the window exists, the demo shows the library's cell text path through kesprint:
# what a label prints for values typed into cells with various number formats.
set -euo pipefail
cd "$(dirname "$0")/.."
kesprint=build/native/bin/kesprint
show() { printf '  %-14s %-18s -> %s\n' "$1" "$2" "$("$kesprint" format "$1" "$2")"; }
echo "kesprint format CODE VALUE"
show General 6901234567890
show General 0.1
show General 2026-11-22
show General '¥12.5'
show General TRUE
show General '#n/a'
show @ 007
show General '=SUM(A1:A3)'
