#!/bin/bash
# Screenshots of the command extender's boxes under Xvfb, for docs/:
# the "COMDLL Definition Error" box that the tests' extender provokes at
# start-up and the "Command Extender Error" box of a negative answer.
#   tools/shot-extender.sh [BUILD_DIR]     (default build/win64)
# Uses an environment of its own (its own prefix and TSLPROCS.INI).
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$(mktemp -d /tmp/tsl-shot.XXXXXX)
export TSL_WINE_USER=$$
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
trap 'bash "$root/tools/wine-env.sh" stop "$state" >/dev/null 2>&1; rm -rf "$state"' EXIT
display=":$(head -n1 "$state/display")"
ini="$state/prefix/drive_c/windows/TSLPROCS.INI"
printf '[MAIN]\r\nCMDEXTDLL=Z:%s\r\nSounds=0\r\n' "$(echo "$build/tsltestext.dll" | tr / '\\')" >"$ini"
printf 'extfail(-2, "The extender could not finish: disk full")\r\n' >"$state/neg.tsl"

# Waits (at most 20 s) for a top-level window titled $1, then shoots it.
shoot() {
    for _ in $(seq 200); do
        id=$(xwininfo -display "$display" -root -tree 2>/dev/null | grep -F "\"$1\"" | awk '{print $1}' | head -n1)
        [ -n "$id" ] && break
        sleep 0.1
    done
    [ -n "$id" ] || { echo "no window \"$1\"" >&2; return 1; }
    sleep 0.5  # the box paints its text after it maps
    import -display "$display" -window "$id" "$2"
    echo "$2"
}
(cd "$state" && bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" neg.tsl >/dev/null 2>&1 &)
shoot "COMDLL Definition Error" "$root/docs/extender-definition-box.png"
# The first box answered by Enter would need a key: the Wine server stop
# at the end ends the program. Shoot the second box from a second run.
bash "$root/tools/wine-env.sh" stop "$state" >/dev/null 2>&1 || true
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
display=":$(head -n1 "$state/display")"
printf '[MAIN]\r\nCMDEXTDLL=Z:%s\r\nSounds=0\r\n' "$(echo "$build/TSLSAMPLE.dll" | tr / '\\')" >"$ini"
printf 'FileLines("C:\\no such file.txt")\r\n' >"$state/neg.tsl"
(cd "$state" && bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" neg.tsl >/dev/null 2>&1 &)
shoot "Command Extender Error" "$root/docs/extender-error-box.png"
