#!/bin/bash
# Runs the interpreter benchmarks and prints their figures.
#
#   bash bench/run.sh [WORKLOAD...]     (default: every bench/workload_*.tsl)
#
# Each workload runs in tslrun.exe under Wine, built for 32-bit (win32, the
# product's own form) and for 64-bit (win64), in tslrun-native (the portable
# core built for Linux without sanitizers) and, when it has a twin
# workload_X.rexx, in Regina REXX. Every figure is the best of three, less
# the best of three of an empty script in the same interpreter: for TSL the
# run's own time as the host reports it (--time), so that neither Wine's
# start-up nor its noise is counted; for REXX the time of the whole process. Printed:
# seconds, statements per second (workload A), peak memory of the process
# and the ratio to REXX (below 1 means faster than REXX). Both answers must
# agree. Expects build/win32, build/win64 and build/native-release to be built.
set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
win32=$root/build/win32
win64=$root/build/win64
native=$root/build/native-release
state=$root/build/bench-wine
out=$root/build/bench-out
mkdir -p "$out"

[ -x "$native/tslrun-native" ] || { echo "bench: build the native-release preset first" >&2; exit 2; }
[ -f "$win32/tslrun.exe" ] || { echo "bench: build the win32 preset first" >&2; exit 2; }
[ -f "$win64/tslrun.exe" ] || { echo "bench: build the win64 preset first" >&2; exit 2; }

bash "$root/tools/wine-env.sh" start "$state" > "$out/wine-start.log" 2>&1 || { cat "$out/wine-start.log"; exit 1; }
trap 'bash "$root/tools/wine-env.sh" stop "$state" > /dev/null 2>&1' EXIT

# best_of3 KIND SCRIPT: prints "seconds peak_kb" of the fastest of three runs.
best_of3() {
    local kind=$1 script=$2 best="" mem=0
    for _ in 1 2 3; do
        local t0 t1 el
        t0=$(date +%s.%N)
        case $kind in
        win32|win64)
                local build=$win64; [ $kind = win32 ] && build=$win32
                (cd "$(dirname "$script")" && /usr/bin/time -f %M -o "$out/mem" \
                    bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" --console --time \
                    "$(basename "$script")" > "$out/stdout" 2> "$out/stderr") ;;
        native) /usr/bin/time -f %M -o "$out/mem" "$native/tslrun-native" --console --time "$script" \
                    > "$out/stdout" 2> "$out/stderr" ;;
        rexx)   /usr/bin/time -f %M -o "$out/mem" regina "$script" > "$out/stdout" 2> "$out/stderr" ;;
        esac
        t1=$(date +%s.%N)
        el=$(echo "$t1 - $t0" | bc -l)
        [ $kind = rexx ] || el=$(tr -d '\r' < "$out/stderr" | sed -n 's/^run time: \([0-9.]*\) s$/\1/p' | tail -n 1)
        if [ -z "$best" ] || [ "$(echo "$el < $best" | bc -l)" = 1 ]; then best=$el; fi
        local m; m=$(tail -n 1 "$out/mem"); [ "$m" -gt "$mem" ] 2>/dev/null && mem=$m
    done
    echo "$best $mem"
}

answer() { tr -d '\r' < "$out/stdout" | tail -n 1; }

base_win32=$(best_of3 win32 "$here/empty.tsl" | cut -d' ' -f1)
base_win64=$(best_of3 win64 "$here/empty.tsl" | cut -d' ' -f1)
base_native=$(best_of3 native "$here/empty.tsl" | cut -d' ' -f1)
base_rexx=$(best_of3 rexx "$here/empty.rexx" | cut -d' ' -f1)

# Statements executed per workload, for the statements-per-second figure.
declare -A statements=([a]=2000000)

workloads=("$@")
[ ${#workloads[@]} -gt 0 ] || workloads=($(cd "$here" && ls workload_*.tsl | sed 's/workload_\(.*\)\.tsl/\1/'))

printf '%-10s %-8s %10s %14s %10s %12s  %s\n' workload runner seconds statements/s peak-KB "vs REXX" answer
for w in "${workloads[@]}"; do
    tsl=$here/workload_$w.tsl rexx=$here/workload_$w.rexx
    rx_secs=""
    if [ -f "$rexx" ]; then
        read -r s m < <(best_of3 rexx "$rexx"); ans=$(answer)
        rx_secs=$(echo "$s - $base_rexx" | bc -l)
        rx_ans=$ans
        sps=-; [ -n "${statements[$w]:-}" ] && sps=$(printf '%.0f' "$(echo "${statements[$w]} / $rx_secs" | bc -l)")
        printf '%-10s %-8s %10.3f %14s %10s %12s  %s\n' "$w" rexx "$rx_secs" "$sps" "$m" 1.00 "$ans"
    fi
    for kind in win32 win64 native; do
        read -r s m < <(best_of3 $kind "$tsl"); ans=$(answer)
        case $kind in win32) base=$base_win32 ;; win64) base=$base_win64 ;; *) base=$base_native ;; esac
        secs=$(echo "$s - $base" | bc -l)
        sps=-; [ -n "${statements[$w]:-}" ] && sps=$(printf '%.0f' "$(echo "${statements[$w]} / $secs" | bc -l)")
        ratio=-; [ -n "$rx_secs" ] && ratio=$(printf '%.2f' "$(echo "$secs / $rx_secs" | bc -l)")
        note=""; [ -n "$rx_secs" ] && [ "$ans" != "$rx_ans" ] && note="  (answers differ!)"
        printf '%-10s %-8s %10.3f %14s %10s %12s  %s%s\n' "$w" "tsl-$kind" "$secs" "$sps" "$m" "$ratio" "$ans" "$note"
    done
done
