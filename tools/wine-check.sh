#!/bin/bash
# Checks that Wine runs both kinds of Windows program the project builds:
# a 32-bit (i686) and a 64-bit (x86_64) console program, each printing the
# size of a pointer. Exits non-zero, saying which, when either fails.
# It runs in a test environment of its own (tools/wine-env.sh, in
# build/wine-check); the first run also makes the template prefix that every
# test environment is linked from, later runs take a few seconds.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build/wine-check"
env_sh="$root/tools/wine-env.sh"
mkdir -p "$dir"
cat >"$dir/bits.c" <<'EOC'
#include <stdio.h>
int main(void) { printf("%d-bit\n", (int)(8 * sizeof(void*))); return 0; }
EOC
if ! bash "$env_sh" start "$dir" >"$dir/start.log" 2>&1; then
    cat "$dir/start.log" >&2
    echo "wine-check: Wine could not make a prefix" >&2; exit 1
fi
fail=0
for kind in "i686 32" "x86_64 64"; do
    set -- $kind
    if ! "$1-w64-mingw32-gcc" -O2 -o "$dir/bits$2.exe" "$dir/bits.c" 2>"$dir/gcc$2.log"; then
        echo "wine-check: $1-w64-mingw32-gcc cannot build a program (see $dir/gcc$2.log)" >&2; fail=1; continue
    fi
    TSL_WINE_TIMEOUT=180 bash "$env_sh" run "$dir" "$dir/bits$2.exe" >"$dir/out$2.txt" 2>"$dir/wine$2.log"
    got=$(tr -d '\r' <"$dir/out$2.txt")
    if [ "$got" = "$2-bit" ]; then
        echo "wine runs $2-bit programs"
    else
        echo "wine-check: Wine did not run a $2-bit program (printed \"$got\"; see $dir/wine$2.log)" >&2
        [ "$2" = 32 ] && echo "wine-check: 32-bit programs need wine32:i386 beside wine64 (tools/install-deps.sh)" >&2
        fail=1
    fi
done
bash "$env_sh" stop "$dir" >/dev/null 2>&1
exit $fail
