#!/bin/bash
# A first look: installs the dependencies, builds the DLL, the
# command-line host and the installer in the product's own form (32-bit),
# and runs examples/tour.tsl with them under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
bash tools/install-deps.sh
cmake --preset win32 </dev/null >/dev/null
cmake --build --preset win32 --target tslpr32i tslrun tsl_setup </dev/null
state="$root/build/win32/wine-tour"
echo "starting Wine (a fresh prefix takes a few seconds)..."
bash tools/wine-env.sh start "$state" >/dev/null
trap 'bash tools/wine-env.sh stop "$state"' EXIT
echo "---- 32-bit tslrun (build/win32) --console examples/tour.tsl"
set +e
(cd examples && bash "$root/tools/wine-env.sh" run "$state" "$root/build/win32/tslrun.exe" --console tour.tsl)
status=$?
set -e
echo "---- exit status $status"
echo "the installer: $(ls "$root"/build/win32/TSL-*-win32-setup.exe)"
exit $status
