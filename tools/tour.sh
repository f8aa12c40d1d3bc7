#!/bin/bash
# A first look: installs the dependencies, builds the DLL, the
# command-line host and the installer in the product's own form (32-bit),
# and runs examples/tour.tsl with them under Wine, then examples/extender.tsl
# with the kit's sample extender.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
bash tools/install-deps.sh
cmake --preset win32 </dev/null >/dev/null
cmake --build --preset win32 --target tslpr32i tslrun tsl_setup tslsample </dev/null
state="$root/build/win32/wine-tour"
echo "starting Wine (a fresh prefix takes a few seconds)..."
bash tools/wine-env.sh start "$state" >/dev/null
trap 'bash tools/wine-env.sh stop "$state"' EXIT
echo "---- 32-bit tslrun (build/win32) --console examples/tour.tsl"
set +e
(cd examples && bash "$root/tools/wine-env.sh" run "$state" "$root/build/win32/tslrun.exe" --console tour.tsl)
status=$?
# The sample command extender of the kit (sdk/extender), named in this
# prefix's fresh settings file, and the example that uses it.
printf '[MAIN]\r\nCMDEXTDLL=Z:%s\r\n' "$(echo "$root/build/win32/TSLSAMPLE.dll" | tr / '\\')" \
    >"$state/prefix/drive_c/windows/TSLPROCS.INI"
echo "---- 32-bit tslrun --console examples/extender.tsl (with TSLSAMPLE.dll)"
(cd examples && bash "$root/tools/wine-env.sh" run "$state" "$root/build/win32/tslrun.exe" --console extender.tsl)
[ $? -eq 0 ] || status=1
set -e
echo "---- exit status $status"
echo "the installer: $(ls "$root"/build/win32/TSL-*-win32-setup.exe)"
exit $status
