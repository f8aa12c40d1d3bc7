#!/bin/bash
# Takes docs/tslmenu.png: tslmenu.exe on the example menus with the Diary
# menu open and an entry highlighted, on a Wine display of its own.
#
#   bash tools/menu-screenshot.sh [BUILD_DIR]    (default build/win64, built first)
#
# The host is started and its menu opened by the program test_menu_host.exe
# (its disabled test MenuHost.DISABLED_OpenMenuForScreenshot), which
# signals through a file when the menu shows and waits for the picture.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build/win64}
state=$build/shot
out=$root/docs/tslmenu.png
command -v import >/dev/null || { echo "ImageMagick's import is needed" >&2; exit 2; }
[ -x "$build/test_menu_host.exe" ] || { echo "build $build first (target test_menu_host)" >&2; exit 2; }

mkdir -p "$state"
rm -f "$state/ready" "$state/done"
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
trap 'touch "$state/done"; bash "$root/tools/wine-env.sh" stop "$state" >/dev/null' EXIT
winpath() { echo "Z:${1//\//\\}"; }
export TSL_SHOT_MENUS="$(winpath "$root/examples/menus/everyday.mnu");$(winpath "$root/examples/menus/tools.mnu")"
export TSL_SHOT_READY=$(winpath "$state/ready") TSL_SHOT_DONE=$(winpath "$state/done")
export WINEDEBUG=-all
bash "$root/tools/wine-env.sh" run "$state" "$build/test_menu_host.exe" \
    --gtest_also_run_disabled_tests --gtest_filter=MenuHost.DISABLED_OpenMenuForScreenshot \
    >"$state/run.log" 2>&1 &
for _ in $(seq 1 300); do [ -f "$state/ready" ] && break; sleep 0.1; done
[ -f "$state/ready" ] || { echo "the menu did not open (see $state/run.log)" >&2; exit 1; }
. "$state/env"
import -display "$DISPLAY" -window root -crop 640x420+0+0 +repage "$out"
touch "$state/done"
wait
echo "wrote $out"
