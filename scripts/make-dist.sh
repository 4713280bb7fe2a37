#!/usr/bin/env bash
# Packs what a host's developers get into build/dist/KesDataPrint-VERSION.zip, from the i686 and
# x86_64 builds (`make dist` builds them first). The version is the project's, read from the
# header that CMake generates from CMakeLists.txt; both builds must have been made from it.
set -euo pipefail
cd "$(dirname "$0")/.."

version_of() { sed -n 's/^#define KES_VERSION_TEXT "\(.*\)"$/\1/p' "build/$1/generated/kes_version.h" 2>/dev/null; }
version=$(version_of win32)
[ -n "$version" ] || { echo "make-dist: build/win32 has no generated version: run make win32" >&2; exit 1; }
[ "$(version_of win64)" = "$version" ] || { echo "make-dist: build/win64 is not at version $version: run make win64" >&2; exit 1; }

name=KesDataPrint-$version
stage=build/dist/$name
rm -rf build/dist   # one package at a time: a zip of another version would be stale
mkdir -p "$stage"

put() {   # put SOURCE DEST-IN-PACKAGE
  [ -f "$1" ] || { echo "make-dist: missing $1" >&2; exit 1; }
  mkdir -p "$(dirname "$stage/$2")"
  cp "$1" "$stage/$2"
}
for pair in "win32 x86" "win64 x64"; do
  set -- $pair
  put "build/$1/bin/KesDataPrint.dll" "$2/KesDataPrint.dll"
  put "build/$1/bin/KesHost.exe" "$2/KesHost.exe"
  put "build/$1/lib/KesDataPrint.lib" "lib/$2/KesDataPrint.lib"
  put "build/$1/lib/libKesDataPrint.dll.a" "lib/$2/libKesDataPrint.dll.a"
done
put include/KesDataPrint.h include/KesDataPrint.h
put src/host/KesDataPrint.def lib/KesDataPrint.def
put samples/c/host.c samples/c/host.c
put samples/csharp/KesHostSample.cs samples/csharp/KesHostSample.cs
put docs/integration-guide.en.md docs/integration-guide.en.md
put docs/integration-guide.zh.md docs/integration-guide.zh.md

# Entries in a fixed order with the time of the last commit, so that one source gives one zip.
/usr/bin/python3 - "$stage" "build/dist/$name.zip" "$(git log -1 --format=%ct 2>/dev/null || echo 315532800)" <<'PYTHON'
import os, sys, time, zipfile
stage, target, stamp = sys.argv[1], sys.argv[2], time.gmtime(int(sys.argv[3]))[:6]
top = os.path.basename(stage)
with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:
    for folder, dirs, files in os.walk(stage):
        dirs.sort()
        for file in sorted(files):
            path = os.path.join(folder, file)
            entry = zipfile.ZipInfo(os.path.join(top, os.path.relpath(path, stage)), stamp)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            with open(path, "rb") as source:
                archive.writestr(entry, source.read())
PYTHON
echo "build/dist/$name.zip"
