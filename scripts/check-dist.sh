#!/usr/bin/env bash
# The release package as a host's developer gets it. Builds the zip (scripts/make-dist.sh), then:
#  - tests/dist/check_package.py: its listing, the version in the zip's name, in both DLLs'
#    version resources and in `kesprint --version`, the DLLs' machines and exports, what the
#    import libraries define and import, the C# sample's declarations against the header, and
#    the same code in the English and Chinese guides;
#  - the header and the guides' C code compiled as C and C++ for both machines, and
#    tests/dist/header_use.c linked against each of the four import libraries and run beside the
#    packaged DLL (MinGW's ld reads MSVC's import libraries too);
#  - the C# sample compiled with mono's mcs;
#  - the C sample host (linked against MinGW's import library in the build) worked by
#    tests/dist/sample_driver_win32.c under Wine with the packaged DLL: x86_64 under 64-bit Wine,
#    i686 under the 32-bit Wine of scripts/wine32-setup.sh. Screenshots in build/dist-check/*.png.
set -euo pipefail
cd "$(dirname "$0")/.."
out=build/dist-check
rm -rf "$out" && mkdir -p "$out/blocks"
failures=0
fail() { echo "FAIL $*"; failures=$((failures + 1)); }
started=$SECONDS
echo "== release package"

zip=$(scripts/make-dist.sh | tail -1)
/usr/bin/python3 -m zipfile -e "$zip" "$out"
package=$out/$(basename "$zip" .zip)

source scripts/wine-env.sh
wine wineboot -i >/dev/null 2>&1 || true
version_line=$(kes_wine build/win64/bin/kesprint.exe --version | tr -d '\r')
/usr/bin/python3 tests/dist/check_package.py "$zip" "$version_line" "$out/blocks" || failures=$((failures + 1))

# compile_and_link MACHINE PREFIX: the guides' code and header_use.c, as C and C++, the latter
# linked once per import library into $package/MACHINE/header-use-*.exe.
compile_and_link() {
  local machine=$1 prefix=$2 language compiler standard block library
  for language in c c++; do
    if [ $language = c ]; then compiler=$prefix-gcc standard=-std=c99; else compiler=$prefix-g++ standard=-std=c++20; fi
    for block in "$out"/blocks/*.c; do
      $compiler -x $language $standard -Wall -Wextra -Werror -I"$package/include" -c "$block" -o "$out/block.o" ||
        fail "the guides' $(basename "$block") does not compile as $language for $machine"
    done
    for library in KesDataPrint.lib libKesDataPrint.dll.a; do
      $compiler -x $language $standard -Wall -Wextra -pedantic -Werror -I"$package/include" tests/dist/header_use.c \
        -x none -static "$package/lib/$machine/$library" -o "$package/$machine/header-use-$language-${library%%.*}.exe" ||
        fail "header_use.c as $language does not link against lib/$machine/$library"
    done
  done
}
compile_and_link x86 i686-w64-mingw32
compile_and_link x64 x86_64-w64-mingw32

if command -v mcs >/dev/null; then
  mcs -target:winexe -platform:x86 -warnaserror -r:System.Windows.Forms.dll -r:System.Drawing.dll \
    -out:"$out/KesHostSample.exe" "$package/samples/csharp/KesHostSample.cs" >"$out/mcs.txt" 2>&1 ||
    { cat "$out/mcs.txt"; fail "the C# sample does not compile"; }
else
  echo "note: no mcs (mono-mcs), the C# sample is checked by its declarations only"
fi

# run_package MACHINE BUILD PACE-MS: every header-use program, then the C sample worked by the driver.
run_package() {
  local machine=$1 build=$2 pace=$3 program shots
  for program in "$package/$machine"/header-use-*.exe; do
    [ "$(kes_wine "$program" 2>/dev/null | tr -d '\r')" = "import resolved" ] ||
      fail "$machine/$(basename "$program") does not reach the DLL's export"
  done
  cp "build/$build/bin/sample_host_c.exe" "build/$build/bin/sample_driver.exe" "$package/$machine/"
  shots=$(wine winepath -w "$out" 2>/dev/null | tr -d '\r')
  KES_WINE_TIMEOUT=600 run_with_screenshots "$out" kes_wine explorer /desktop=KesDist,1024x700 \
    "$package/$machine/sample_driver.exe" "$(wine winepath -w "$package/$machine/sample_host_c.exe" 2>/dev/null | tr -d '\r')" \
    "$pace" "$shots" >"$out/sample-$machine.log" 2>/dev/null || true
  rm -f "$out"/*.done
  for shot in sample-rows sample-host-log; do
    if [ -e "$out/$shot.png" ]; then mv "$out/$shot.png" "$out/$shot-$machine.png"; fi
  done
  tr -d '\r' <"$out/sample-$machine.log" >"$out/sample-$machine.txt"
  /usr/bin/python3 - "$out/sample-$machine.txt" <<'PYTHON' || fail "the $machine C sample's session, see $out/sample-$machine.txt"
import sys
def message(payload):
    return "WM_COPYDATA dwData=1 cbData=%d preview=yes\n%s\n" % (len(payload.encode()), payload)
page = '[{"品名":"内六角螺栓","数量":"200"},{"品名":"平垫圈","数量":"1000"}]'
row = '[{"品名":"平垫圈","数量":"1000"}]'
expected = ("driver: the quick print window is owned by the host\n"
            + message(page) + message(row)
            + "SetDllFormPRec returned 0\n"
            "driver: the host exited with 0\n")
# The host's timer hands over the atom while the driver types: its line may come anywhere.
atom = "atom message: the window took the atom\n"
got = open(sys.argv[1], encoding="utf-8", errors="replace").read()
if got.count(atom) != 1 or got.replace(atom, "") != expected:
    print("expected, and once anywhere %sgot:\n%s" % (atom + expected, got))
    sys.exit(1)
PYTHON
}
start_xvfb
trap stop_xvfb EXIT
run_package x64 win64 60
echo "x86_64: $((SECONDS - started)) s"
stop_xvfb
trap - EXIT

scripts/wine32-setup.sh
source scripts/wine32-env.sh
wine wineboot -i >/dev/null 2>&1 || true
start_xvfb
trap stop_xvfb EXIT
run_package x86 win32 500

echo "release package $(basename "$zip"): $failures failed ($((SECONDS - started)) s)"
[ "$failures" -eq 0 ]
