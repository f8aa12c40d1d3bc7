#!/bin/bash
# Screenshot of the window functions at work: starts four notepads under
# Wine on a display of its own, runs examples/arrange.tsl (which names and
# tiles them) and saves the screen as docs/windows-arrange.png.
#   tools/windows-shot.sh [BUILD_DIR]     (default build/win64)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$build/shot-windows-wine
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
trap 'bash "$root/tools/wine-env.sh" stop "$state" >/dev/null' EXIT
for _ in 1 2 3 4; do
    bash "$root/tools/wine-env.sh" run "$state" cmd.exe /c start notepad.exe
done
# The notepads open in the background: wait until four are listed.
for _ in $(seq 1 50); do
    n=$(bash "$root/tools/wine-env.sh" run "$state" cmd.exe /c tasklist 2>/dev/null | grep -ci notepad || true)
    [ "$n" -ge 4 ] && break
    sleep 0.2
done
cd "$root/examples"
bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" --console arrange.tsl
. "$state/env"
import -display "$DISPLAY" -window root "$root/docs/windows-arrange.png"
echo "saved docs/windows-arrange.png"
