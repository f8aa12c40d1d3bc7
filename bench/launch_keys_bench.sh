#!/bin/bash
# The keystroke and launching benchmark: runs launch_keys_bench.tsl with
# tslrun under Wine (a Wine environment of its own) and prints the figures
# the script measured: SendKey of 1,000 characters into notepad, RunHideWait
# of a program that exits at once (tsl_args_log.exe, built with the tests)
# and of cmd.exe.
#   bench/launch_keys_bench.sh [BUILD_DIR]     (default build/win64)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$build/bench-keys-wine
for f in tslrun.exe tsl_args_log.exe; do
    [ -f "$build/$f" ] || { echo "no $build/$f: build tslrun and tsl_args_log first" >&2; exit 2; }
done
bash "$root/tools/wine-env.sh" start "$state" >/dev/null
status=0
(cd "$root/bench" && TSL_BENCH_APP="Z:$(echo "$build/tsl_args_log.exe" | tr / '\\')" \
    bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" --console launch_keys_bench.tsl) || status=$?
bash "$root/tools/wine-env.sh" stop "$state"
exit $status
