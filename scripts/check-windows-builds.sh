#!/usr/bin/env bash
# Checks the cross-built Windows binaries: the machine type of each build, that nothing imports
# a DLL that Windows does not ship (the runtime and zlib are linked in statically), and the
# i686 build's floating-point unit.
set -euo pipefail
cd "$(dirname "$0")/.."
system_dlls='^(kernel32|user32|gdi32|comdlg32|comctl32|ole32|oleaut32|shell32|shlwapi|advapi32|imm32|uxtheme|msvcrt|ucrtbase|api-ms-win-[a-z0-9-]+)\.dll$'
failures=0 checked=0

check() {   # check FILE OBJDUMP EXPECTED-FORMAT
  local file=$1 objdump=$2 format=$3
  [ -f "$file" ] || { echo "FAIL missing $file"; failures=$((failures + 1)); return; }
  local header; header=$($objdump -f "$file")
  if ! grep -q "file format $format" <<<"$header"; then
    echo "FAIL $file is not $format"; failures=$((failures + 1)); return
  fi
  local bad; bad=$($objdump -p "$file" | awk '/DLL Name:/ {print tolower($3)}' | grep -Ev "$system_dlls" || true)
  if [ -n "$bad" ]; then
    echo "FAIL $file imports $(tr '\n' ' ' <<<"$bad")"; failures=$((failures + 1)); return
  fi
  checked=$((checked + 1))
}

for binary in KesDataPrint.dll KesHost.exe kesprint.exe; do
  check "build/win32/bin/$binary" i686-w64-mingw32-objdump pei-i386
  check "build/win64/bin/$binary" x86_64-w64-mingw32-objdump pei-x86-64
done

# The host finds the entry by its plain name, so the i686 build must export it without the
# cdecl underscore or any decoration.
for pair in "build/win32/bin/KesDataPrint.dll i686-w64-mingw32-objdump" "build/win64/bin/KesDataPrint.dll x86_64-w64-mingw32-objdump"; do
  set -- $pair
  if [ -f "$1" ] && $2 -p "$1" | awk '/\[Ordinal\/Name Pointer\] Table/ {on=1; next} on && NF==0 {on=0} on' | grep -qw 'SetDllFormPRec'; then
    checked=$((checked + 1))
  else
    echo "FAIL $1 does not export SetDllFormPRec by that name"; failures=$((failures + 1))
  fi
done
# The i686 build does its floating-point arithmetic in SSE2 registers, as the x86_64 build does:
# the x87 unit's excess precision could round a 15-digit text otherwise. Our own code may keep
# the x87 loads and stores that the 32-bit calling convention needs for returned doubles, and
# `fadds`, the exact correction of GCC's unsigned 64-bit conversion, and the complex cosecant
# computes in long double on purpose; any other x87 arithmetic means a part was built without
# -mfpmath=sse.
extended_precision='__ZN3kes4calc12_GLOBAL__N_18cosecantERKNS0_7ComplexE'   # the cosecant itself, no caller
mnemonics=$(for library in build/win32/lib/libkes_*.a; do i686-w64-mingw32-objdump -d --no-show-raw-insn "$library"; done |
  awk -v allowed="$extended_precision" '/^[0-9a-f]+ <.*>:$/ {skip = $2 == "<" allowed ">:"}
                                        $1 ~ /^[0-9a-f]+:$/ && !skip {print $2}')
x87=$(grep -E '^(f(add|sub|subr|mul|div|divr)[lp]?|fsqrt|fprem1?|fscale|frndint|fi(add|sub|subr|mul|div|divr)[ls]?)$' <<<"$mnemonics" |
  sort | uniq -c | tr -s ' \n' ' ' || true)
if [ -n "$x87" ]; then
  echo "FAIL the i686 build has x87 arithmetic:$x87"; failures=$((failures + 1))
elif ! grep -qE '^(add|sub|mul|div)sd$' <<<"$mnemonics"; then
  echo "FAIL the i686 build has no SSE2 arithmetic"; failures=$((failures + 1))
else
  checked=$((checked + 1))
fi
echo "windows builds: $checked passed, $failures failed"
[ "$failures" -eq 0 ]
