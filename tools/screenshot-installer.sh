#!/bin/bash
# Takes a screenshot of the installer's first page (interactive, not /S)
# under Xvfb and Wine: docs/installer.png. Needs a built win32 preset.
#   bash tools/screenshot-installer.sh [build/win32]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${1:-build/win32}
setup=$(ls "$root/$build"/TSL-*-setup.exe | head -n1)
state="$root/$build/wine-shot"
bash tools/wine-env.sh start "$state" >/dev/null
trap 'bash tools/wine-env.sh stop "$state" >/dev/null' EXIT
# shellcheck disable=SC1091
. "$state/env"
TSL_WINE_TIMEOUT=60 bash tools/wine-env.sh run "$state" "$setup" >/dev/null 2>&1 &
# Wait for the wizard's window (its title is "TSL <version> Setup").
for _ in $(seq 1 300); do
    xwininfo -display "$DISPLAY" -root -tree 2>/dev/null | grep -q '"TSL [^"]* Setup' && break
    sleep 0.1
done
xwininfo -display "$DISPLAY" -root -tree | grep -q '"TSL [^"]* Setup' || { echo "the installer showed no window" >&2; exit 1; }
sleep 1  # the page paints its controls after the window appears
id=$(xwininfo -display "$DISPLAY" -root -tree | grep '"TSL [^"]* Setup' | head -n1 | awk '{print $1}')
import -display "$DISPLAY" -window "$id" "$root/docs/installer.png"
echo "docs/installer.png"
