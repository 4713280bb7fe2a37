#!/usr/bin/env bash
# Sets up 32-bit Wine in build/wine32 when it is not there yet, for the tests of the i686 build.
# This machine runs no 32-bit x86 code, so Debian's i386 Wine runs under qemu-i386's user-mode
# emulation: Debian bookworm's wine32 with its whole i386 dependency closure, and qemu-user from
# bookworm-backports (bookworm's own qemu hangs while Wine makes its prefix). Both come through
# a private apt configuration under build/, which leaves the system's sources and packages as
# they are, and are unpacked into build/wine32/root.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$PWD/build/wine32
root=$dir/root
stamp="$(sha256sum scripts/wine32-setup.sh | cut -c1-16)"
[ "$(cat "$dir/ready" 2>/dev/null)" = "$stamp" ] && exit 0

started=$SECONDS
echo "setting up 32-bit Wine under qemu-i386 in build/wine32"
rm -rf "$dir"
apt=$dir/apt
mkdir -p "$root" "$dir/bin" "$apt"

# fetch ARCH SOURCE-LINE COMMAND...: an apt-get of its own: lists, cache and an empty package
# status under build/wine32/apt, the one source given, the architecture given as the native one.
fetch() {
  local arch=$1 source=$2; shift 2
  mkdir -p "$apt/$arch/lists/partial" "$apt/$arch/archives/partial"
  echo "$source" >"$apt/$arch/sources.list"
  : >"$apt/$arch/status"
  apt-get -qq -o Dir::Etc::SourceList="$apt/$arch/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::Etc::Preferences=/dev/null -o Dir::Etc::PreferencesParts=/dev/null \
    -o Dir::State::Lists="$apt/$arch/lists" -o Dir::State::status="$apt/$arch/status" \
    -o Dir::Cache="$apt/$arch" -o Dir::Cache::archives="$apt/$arch/archives" \
    -o APT::Architecture="$arch" -o APT::Architectures="$arch" -o APT::Install-Recommends=false \
    -o APT::Sandbox::User=root -o Debug::NoLocking=1 "$@"
}

# bookworm main only: its i386 security index is not served whole by the mirror, and wine32
# there is the very Wine 8.0 of the 64-bit one the other tests use.
i386='deb [arch=i386] http://deb.debian.org/debian bookworm main'
fetch i386 "$i386" update
fetch i386 "$i386" -y --download-only install wine32
backports='deb [arch=amd64] http://deb.debian.org/debian bookworm-backports main'
fetch amd64 "$backports" update
(cd "$apt/amd64/archives" && fetch amd64 "$backports" download qemu-user)

for deb in "$apt"/i386/archives/*.deb; do dpkg-deb -x "$deb" "$root"; done
# Static binaries, one per guest architecture: only the i386 one is kept.
dpkg-deb --fsys-tarfile "$apt"/amd64/archives/qemu-user_*.deb | tar -x -O ./usr/bin/qemu-i386 >"$dir/bin/qemu-i386"
chmod +x "$dir/bin/qemu-i386"
rm -rf "$apt"

# What the packages' install scripts would do. libwine's: Wine's builtin zlib1.dll is the
# mingw one marked as a builtin. libc6's: the cache of the i386 libraries, so that the
# emulated loader never reads the host's.
windows=$root/usr/lib/i386-linux-gnu/wine/i386-windows
zlib=$root/usr/i686-w64-mingw32/lib/zlib1.dll
{ head -c 64 "$zlib"; printf 'Wine builtin DLL'; head -c 16 /dev/zero; tail -c +97 "$zlib"; } >"$windows/zlib1.dll"
echo 'include /etc/ld.so.conf.d/*.conf' >"$root/etc/ld.so.conf"
ldconfig -r "$root"
# Their debug information is most of the Windows DLLs' size.
find "$windows" -type f -exec i686-w64-mingw32-strip --strip-debug {} + 2>/dev/null || true
# The emulator looks in the root first and falls back to the host's files: without fonts of
# its own the root shows the host's, the CJK font among them. A file that does not exist yet is
# made on the host, so the i386 fontconfig gets a cache folder of its own under build/.
rm -rf "$root/usr/share/fonts" "$root/usr/share/doc" "$root/usr/share/man" "$root/usr/share/locale"
mkdir -p "$dir/fontconfig-cache"
sed -i "s|<cachedir>/var/cache/fontconfig</cachedir>|<cachedir>$dir/fontconfig-cache</cachedir>|" "$root/etc/fonts/fonts.conf"

# Wine starts every Windows process as <its loader's folder>/wine, with the loader's name as
# argv[0], and the server as <that folder>/wineserver: both become scripts that run the i386
# binaries under the emulator. WINELOADERNOEXEC keeps the loader from re-executing itself
# through the preloader, which cannot run emulated.
mv "$root/usr/lib/wine/wine" "$root/usr/lib/wine/wine.i386"
cat >"$root/usr/lib/wine/wine" <<'SCRIPT'
#!/bin/sh
root=$(cd "$(dirname "$0")/../../.." && pwd)
export WINELOADERNOEXEC=1
exec "$root/../bin/qemu-i386" -L "$root" -0 "$0" "$root/usr/lib/wine/wine.i386" "$@"
SCRIPT
cat >"$root/usr/lib/wine/wineserver" <<'SCRIPT'
#!/bin/sh
root=$(cd "$(dirname "$0")/../../.." && pwd)
exec "$root/../bin/qemu-i386" -L "$root" "$root/usr/lib/wine/wineserver32" "$@"
SCRIPT
chmod +x "$root/usr/lib/wine/wine" "$root/usr/lib/wine/wineserver"

source scripts/wine32-env.sh
wine wineboot -i >/dev/null 2>&1
wineserver -w
# The prefix holds copies of the builtin DLLs; the same files are linked instead of copied.
for copy in "$WINEPREFIX"/drive_c/windows/system32/*; do
  builtin=$windows/$(basename "$copy")
  [ -f "$builtin" ] && cmp -s "$copy" "$builtin" && ln -f "$builtin" "$copy"
done
echo "$stamp" >"$dir/ready"
echo "32-bit Wine ready in $((SECONDS - started)) s, $(du -sh "$dir" | cut -f1) on disk"
