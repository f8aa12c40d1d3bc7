#!/bin/bash
# Screenshot of the debug-trace dialog (docs/debug-trace.png): runs a traced
# script with the real dialog (no console mode) in a started Wine test
# environment, photographs the display, then closes the dialog (Cancel) with
# a second run that posts WM_CLOSE to it, so the traced run ends by itself.
#   bash tools/wine-env.sh start build/win64/wine
#   tools/shot-debug-trace.sh build/win64 docs/debug-trace.png
set -eu
tools=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd); out=$(realpath -m "$2")
state=$build/wine
. "$state/env"
work=$(mktemp -d)
printf 'name = "report.txt"\r\nsize = StrLen(name) * 100\r\nx = Debug(@on)\r\nEcho(StrCat(name, " ", size))\r\n' > "$work/trace.tsl"
printf 'h = IntControl(21, "Debug", "", "", "")\r\nIntControl(23, h, "16", "0", "0")\r\n' > "$work/close.tsl"
(cd "$work" && bash "$tools/wine-env.sh" run "$state" "$build/tslrun.exe" trace.tsl >/dev/null 2>&1) &
for t in $(seq 100); do
    xwininfo -display "$DISPLAY" -root -tree 2>/dev/null | grep -q '"Debug"' && break
    sleep 0.1
done
sleep 0.5   # let the dialog paint
import -display "$DISPLAY" -window root "$out"
convert "$out" -trim +repage "$out"   # the dialog alone (no window manager draws a frame)
(cd "$work" && bash "$tools/wine-env.sh" run "$state" "$build/tslrun.exe" --console close.tsl >/dev/null 2>&1)
wait
rm -rf "$work"
