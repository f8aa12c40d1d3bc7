#!/bin/bash
# The window benchmark: builds bench/window_host.cpp with the build's
# compiler, opens 50 windows with it and runs windows_bench.tsl in tslrun
# under Wine (an environment of its own); prints the times the script measured.
#   bench/windows_bench.sh [BUILD_DIR]     (default build/win64; build/win32 for 32-bit)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$build/bench-windows-wine
work=$build/bench-windows
[ -f "$build/tslrun.exe" ] || { echo "no $build/tslrun.exe: build the preset first" >&2; exit 2; }
case $(grep -a -c 'PE32+' <(file "$build/tslrun.exe")) in
1) cxx=x86_64-w64-mingw32-g++-posix ;;
*) cxx=i686-w64-mingw32-g++-posix ;;
esac

rm -rf "$work"
mkdir -p "$work"
$cxx -O2 -static -o "$work/window_host.exe" "$root/bench/window_host.cpp" -luser32
cp "$root/bench/windows_bench.tsl" "$work/"
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
cd "$work"
status=0
bash "$root/tools/wine-env.sh" run "$state" "$work/window_host.exe" 50 "$build/tslrun.exe" --console windows_bench.tsl \
    || status=$?
bash "$root/tools/wine-env.sh" stop "$state"
rm -rf "$work"
exit $status
