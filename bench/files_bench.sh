#!/bin/bash
# The file benchmark: prepares 10,000 empty files, 1,000 small files and a
# 10 MB text file, then runs files_bench.tsl with tslrun under Wine (a Wine
# environment of its own) and prints the times the script measured.
#   bench/files_bench.sh [BUILD_DIR]     (default build/win64)
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$build/bench-files-wine
work=$build/bench-files
[ -f "$build/tslrun.exe" ] || { echo "no $build/tslrun.exe: build the win64 preset first" >&2; exit 2; }

rm -rf "$work"
mkdir -p "$work/many" "$work/src" "$work/dst"
(cd "$work/many" && seq -w 0 9999 | xargs touch)
(cd "$work/src" && for i in $(seq -w 0 999); do printf 'file %s\r\n' "$i" > "f$i.txt"; done)
# 100,000 lines of 98 digits and CR LF: 10,000,000 bytes
awk 'BEGIN { for (i = 0; i < 100000; i++) printf "%098d\r\n", i }' > "$work/big.txt"
cp "$root/bench/files_bench.tsl" "$work/"

bash "$root/tools/wine-env.sh" start "$state" >/dev/null
cd "$work"
status=0
TSL_BENCH_DIR="Z:$(echo "$work" | tr / '\\')" \
    bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" --console files_bench.tsl || status=$?
bash "$root/tools/wine-env.sh" stop "$state"
rm -rf "$work"
exit $status
