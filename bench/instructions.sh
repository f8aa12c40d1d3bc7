#!/bin/bash
# Counts the instructions each workload takes in tslrun-native (the portable
# core, optimised, no sanitizers) and in Regina REXX, with valgrind's
# callgrind. Unlike seconds, the counts repeat exactly from run to run and do
# not depend on what else the machine is doing. Each figure is less the
# count of an empty script in the same interpreter.
#
#   bash bench/instructions.sh [WORKLOAD...]   (default: a b c)
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
native=$root/build/native-release/tslrun-native
[ -x "$native" ] || { echo "bench: build the native-release preset first" >&2; exit 2; }
command -v valgrind >/dev/null || { echo "bench: valgrind is needed" >&2; exit 2; }

count() {  # count COMMAND...: instructions executed
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$@" 2>&1 >/dev/null \
        | sed -n 's/.*Collected : \([0-9]*\).*/\1/p' | tail -n 1
}

base_tsl=$(count "$native" --console "$here/empty.tsl")
base_rexx=$(count regina "$here/empty.rexx")
workloads=("$@")
[ ${#workloads[@]} -gt 0 ] || workloads=(a b c)
printf '%-9s %16s %16s %8s\n' workload tsl-native rexx "tsl/rexx"
for w in "${workloads[@]}"; do
    t=$(( $(count "$native" --console "$here/workload_$w.tsl") - base_tsl ))
    r=$(( $(count regina "$here/workload_$w.rexx") - base_rexx ))
    printf '%-9s %16d %16d %8s\n' "$w" "$t" "$r" "$(echo "scale=2; $t / $r" | bc -l)"
done
