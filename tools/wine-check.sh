#!/bin/bash
# Checks that Wine runs both kinds of Windows program the project builds:
# a 32-bit (i686) and a 64-bit (x86_64) console program, each printing the
# size of a pointer. Exits non-zero, saying which, when either fails.
# The prefix is kept between runs (the first start takes a few seconds);
# one made while only 64-bit Wine was installed is made again.
set -u
dir=/var/cache/tsl-wine-check
mkdir -p "$dir"
export WINEPREFIX="$dir/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset WINEARCH WINESERVER DISPLAY
cat >"$dir/bits.c" <<'EOF'
#include <stdio.h>
int main(void) { printf("%d-bit\n", (int)(8 * sizeof(void*))); return 0; }
EOF
fail=0
[ -d "$WINEPREFIX/drive_c/windows/syswow64" ] || rm -rf "$WINEPREFIX"
for kind in "i686 32" "x86_64 64"; do
    set -- $kind
    if ! "$1-w64-mingw32-gcc" -O2 -o "$dir/bits$2.exe" "$dir/bits.c" 2>"$dir/gcc$2.log"; then
        echo "wine-check: $1-w64-mingw32-gcc cannot build a program (see $dir/gcc$2.log)" >&2; fail=1; continue
    fi
    # To a file, not a pipe: Wine's background processes keep inherited pipes open.
    timeout 180 wine "$dir/bits$2.exe" </dev/null >"$dir/out$2.txt" 2>"$dir/wine$2.log"
    got=$(tr -d '\r' <"$dir/out$2.txt")
    if [ "$got" = "$2-bit" ]; then
        echo "wine runs $2-bit programs"
    else
        echo "wine-check: Wine did not run a $2-bit program (printed \"$got\"; see $dir/wine$2.log)" >&2
        [ "$2" = 32 ] && echo "wine-check: 32-bit programs need wine32:i386 beside wine64 (tools/install-deps.sh)" >&2
        fail=1
    fi
done
timeout 20 wineserver -k >/dev/null 2>&1 </dev/null
exit $fail
