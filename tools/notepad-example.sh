#!/bin/bash
# Runs examples/notepad.tsl under Wine with the 32-bit DLL and host: notepad
# is started, typed into, saved through its "Save As" dialog and closed, and
# the saved file is printed.
#   bash tools/notepad-example.sh [--screenshot FILE.png]
# With --screenshot, FILE.png shows the typed text just before Ctrl+S, and
# FILE-save-as.png the "Save As" dialog a second after it opened.
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
    # Frames are taken until the "Save As" dialog appears: the last one shows
    # the typed text; one more, a second later, the dialog being filled in.
    display=":$(head -n1 "$state/display")"
    frames=$(mktemp -d)
    for i in $(seq 1 200); do
        xwininfo -display "$display" -root -tree 2>/dev/null | grep -q '"Save As"' && break
        import -display "$display" -window root "$frames/$i.png" 2>/dev/null && last="$frames/$i.png"
        sleep 0.2
    done
    sleep 1
    [ -n "${last:-}" ] && cp "$last" "$shot" && echo "screenshot: $shot"
    import -display "$display" -window root "${shot%.png}-save-as.png" && echo "screenshot: ${shot%.png}-save-as.png"
    rm -rf "$frames"
fi
wait $runner
status=$?
set -e
echo "---- exit status $status"
exit $status
