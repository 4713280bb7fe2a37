# Sourced by the scripts that run the Windows build under Wine: a prefix of the project's own
# under build/, the Chinese ANSI code page (936) that the product's users have, no debug noise.
export WINEPREFIX="$PWD/build/wine"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
mkdir -p build

# wine with the Chinese locale for the program only (the shell has no such locale installed).
kes_wine() { env LC_ALL=zh_CN.UTF-8 wine "$@"; }

# start_xvfb: runs a virtual X server on a free display and exports DISPLAY; stop_xvfb ends it.
start_xvfb() {
  local n
  for n in $(seq 90 120); do
    [ -e "/tmp/.X$n-lock" ] && continue
    Xvfb ":$n" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
    XVFB_PID=$!
    export DISPLAY=":$n"
    sleep 1
    kill -0 "$XVFB_PID" 2>/dev/null && return 0
  done
  echo "no free display for Xvfb" >&2
  return 1
}
stop_xvfb() { [ -n "${XVFB_PID:-}" ] && kill "$XVFB_PID" 2>/dev/null; wait "$XVFB_PID" 2>/dev/null || true; }

# run_with_screenshots OUT COMMAND...: runs a Windows program that asks for screenshots by
# creating OUT/NAME.request; each is answered with OUT/NAME.png and OUT/NAME.done. Returns the
# program's exit code; gives up after KES_WINE_TIMEOUT seconds (default 300).
run_with_screenshots() {
  local out=$1; shift
  "$@" &
  local program=$! deadline=$((SECONDS + ${KES_WINE_TIMEOUT:-300})) request name
  while kill -0 "$program" 2>/dev/null; do
    if [ $SECONDS -ge $deadline ]; then
      echo "timed out after ${KES_WINE_TIMEOUT:-300} s: $*" >&2
      kill "$program" 2>/dev/null || true
      wineserver -k 2>/dev/null || true
      return 124
    fi
    for request in "$out"/*.request; do
      [ -e "$request" ] || continue
      name=$(basename "$request" .request)
      xwd -root -silent -out "$out/$name.xwd"
      scripts/xwd_to_png.py "$out/$name.xwd" "$out/$name.png"
      rm -f "$out/$name.xwd" "$request"
      touch "$out/$name.done"
    done
    sleep 0.2
  done
  wait "$program"
}
