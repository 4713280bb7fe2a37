#!/usr/bin/env bash
# Runs every benchmark built in the given folder and prints their figures.
set -euo pipefail
bin=${1:?folder of the native binaries}
status=0
for b in "$bin"/bench_*; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" || status=1
done
exit $status
