# Sourced instead of wine-env.sh by the scripts that run the i686 build: the same helpers, with
# the 32-bit Wine of build/wine32 (scripts/wine32-setup.sh) as `wine` and `wineserver`, and a
# 32-bit prefix of its own.
source "$(dirname "${BASH_SOURCE[0]}")/wine-env.sh"
export WINEPREFIX="$PWD/build/wine32/prefix"
export WINEARCH=win32
export PATH="$PWD/build/wine32/root/usr/lib/wine:$PATH"
