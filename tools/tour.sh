#!/bin/bash
# A first look: installs the dependencies, builds the 64-bit DLL and the
# command-line host, and runs examples/tour.tsl under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
bash tools/install-deps.sh
cmake --preset win64 </dev/null >/dev/null
cmake --build --preset win64 --target tslpr32i tslrun </dev/null
state="$root/build/win64/wine-tour"
echo "starting Wine (a fresh prefix takes a few seconds)..."
bash tools/wine-env.sh start "$state" >/dev/null
trap 'bash tools/wine-env.sh stop "$state"' EXIT
echo "---- tslrun --console examples/tour.tsl"
set +e
(cd examples && bash "$root/tools/wine-env.sh" run "$state" "$root/build/win64/tslrun.exe" --console tour.tsl)
status=$?
set -e
echo "---- exit status $status"
exit $status
