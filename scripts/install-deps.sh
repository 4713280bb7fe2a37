#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, only when some are missing.
set -euo pipefail
packages=(
  cmake g++ make libgtest-dev zlib1g-dev
  clang libclang-rt-14-dev llvm
  g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix
  gcc-mingw-w64-i686-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64
  libz-mingw-w64-dev
  wine wine64 xvfb xauth x11-apps fonts-wqy-microhei
  python3 python3-openpyxl python3-xlsxwriter
  libreoffice-calc-nogui gnumeric python3-xlrd
  libxlsxwriter-dev
  mono-mcs libmono-system-windows-forms4.0-cil
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing: ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "missing packages and not root: run as root, or install them: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
