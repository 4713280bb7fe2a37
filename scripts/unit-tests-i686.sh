#!/usr/bin/env bash
# The unit tests built for i686 (build/win32/bin/test_*.exe) under the 32-bit Wine of
# scripts/wine32-setup.sh: the product's arithmetic, layouts and code page as the 32-bit DLL
# has them. Each executable runs once, all its tests in one process, as emulated processes
# start slowly. Prints one line per executable and "N passed, N failed".
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/wine32-setup.sh
source scripts/wine32-env.sh
out=build/unit-tests-i686
rm -rf "$out" && mkdir -p "$out"
wine wineboot -i >/dev/null 2>&1 || true
passed=0 failed=0
started=$SECONDS
echo "== unit tests, i686 build under 32-bit Wine"
for test in build/win32/bin/test_*.exe; do
  name=$(basename "$test" .exe)
  kes_wine "$test" >"$out/$name.log" 2>&1 || true
  tr -d '\r' <"$out/$name.log" >"$out/$name.txt"
  ok=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\?\.$/\1/p' "$out/$name.txt")
  bad=$(sed -n 's/^\[  FAILED  \] \([0-9]*\) tests\?, listed below:$/\1/p' "$out/$name.txt")
  if [ -z "$ok" ] && [ -z "$bad" ]; then
    echo "FAIL $name: no result (crashed?), see $out/$name.txt"; failed=$((failed + 1)); continue
  fi
  passed=$((passed + ${ok:-0})); failed=$((failed + ${bad:-0}))
  skipped=$(sed -n 's/^\[  SKIPPED \] \([0-9]*\) tests\?, listed below:$/\1/p' "$out/$name.txt")
  echo "$name: ${ok:-0} passed, ${bad:-0} failed${skipped:+, $skipped skipped}"
  sed -n "s/^\[  FAILED  \] \([A-Za-z_][^ ]*\)$/       \1/p" "$out/$name.txt"
done
echo "($((SECONDS - started)) s)"
echo "i686 unit tests: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
