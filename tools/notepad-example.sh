#!/bin/bash
# Runs examples/notepad.tsl under Wine with the 32-bit DLL and host: notepad
# is started, typed into, saved through its "Save As" dialog and closed, and
# the saved file is printed.
#   bash tools/notepad-example.sh [--screenshot FILE.png]
# With --screenshot, the screen is taken once the "Save As" dialog is up.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
shot=""
if [ "${1:-}" = "--screenshot" ]; then shot=$(realpath -m "$2"); fi
bash tools/install-deps.sh
cmake --preset win32 </dev/null >/dev/null
cmake --build --preset win32 --target tslpr32i tslrun </dev/null
state="$root/build/win32/wine-notepad"
echo "starting Wine (a fresh prefix takes a few seconds)..."
bash tools/wine-env.sh start "$state" >/dev/null
trap 'bash tools/wine-env.sh stop "$state"' EXIT
echo "---- 32-bit tslrun (build/win32) --console examples/notepad.tsl"
set +e
(cd examples && bash "$root/tools/wine-env.sh" run "$state" "$root/build/win32/tslrun.exe" --console notepad.tsl) &
runner=$!
if [ -n "$shot" ]; then
    display=":$(head -n1 "$state/display")"
    for _ in $(seq 1 300); do
        xwininfo -display "$display" -root -tree 2>/dev/null | grep -q '"Save As"' && break
        sleep 0.1
    done
    sleep 1   # the file name is being typed
    import -display "$display" -window root "$shot" && echo "screenshot: $shot"
fi
wait $runner
status=$?
set -e
echo "---- exit status $status"
exit $status
