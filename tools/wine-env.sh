#!/bin/bash
# The Wine test environment: a prefix of our own, an Xvfb display and one
# persistent wineserver, shared by all Windows tests of one ctest run.
#
#   wine-env.sh start STATE [LOCALE]   fresh prefix STATE/prefix, Xvfb, wineserver -p
#   wine-env.sh run STATE PROGRAM ARGS  runs one Windows program in that environment
#   wine-env.sh stop STATE             stops the wineserver and Xvfb
#
# A prefix is about 1.3 GB of DLL copies that no program changes. One
# template prefix is made by wineboot (build/wine-template, or
# $TSL_WINE_TEMPLATE) and every fresh prefix is hard-linked from it: the
# binaries are shared, every other file (registry, .ini files, the users'
# folders) is a copy of its own. A prefix then costs a few megabytes and a
# second instead of 1.3 GB and half a minute. The template is made again
# when the installed Wine changes; on another file system, or when linking
# fails, the prefix is made by wineboot as before.
#
# Several test runs may share one STATE (developers running ctest in the
# same build tree): start joins an environment that is up, and stop ends it
# only when the last run that joined has stopped. A run is known by the
# process id of its caller (ctest); runs that died without stopping are
# forgotten at the next start or stop.
#
# Wine's helper processes (the server, services, the desktop) outlive the
# program and keep every descriptor they inherit, so nothing of Wine is
# ever attached to a pipe of ours: programs write to files that are copied
# to our own output once the program has ended. The debugger is switched
# off (winedbg.exe=d): a crashing program ends at once with its status
# instead of waiting in the debugger until the time-out.
set -u
cmd=${1:-}; state=${2:-}
[ -n "$cmd" ] && [ -n "$state" ] || { echo "usage: $0 start|run|stop STATE ..." >&2; exit 2; }
shift 2
state=$(mkdir -p "$state" && cd "$state" && pwd)

common_env() {
    export WINEPREFIX="$state/prefix"
    export WINEDEBUG=-all
    export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
    unset WINEARCH WINESERVER
}

# The runs using the environment: one file per caller's process id.
join_env() { mkdir -p "$state/users"; : >"$state/users/${TSL_WINE_USER:-$PPID}"; }
leave_env() { rm -f "$state/users/${TSL_WINE_USER:-$PPID}"; }
users_alive() {
    local n=0 f
    for f in "$state"/users/*; do
        [ -e "$f" ] || continue
        if kill -0 "$(basename "$f")" 2>/dev/null; then n=$((n + 1)); else rm -f "$f"; fi
    done
    echo $n
}
env_up() {
    [ -f "$state/env" ] || return 1
    local TSL_XVFB_PID=""
    # shellcheck disable=SC1091
    . "$state/env"
    [ -n "$TSL_XVFB_PID" ] && kill -0 "$TSL_XVFB_PID" 2>/dev/null
}

stop_env() {
    if [ -f "$state/env" ]; then
        # shellcheck disable=SC1091
        . "$state/env"
        common_env
        wineserver -k >/dev/null 2>&1 </dev/null
        timeout 20 wineserver -w >/dev/null 2>&1 </dev/null
        if [ -n "${TSL_XVFB_PID:-}" ]; then
            kill "$TSL_XVFB_PID" 2>/dev/null
            for _ in 1 2 3 4 5 6 7 8 9 10; do kill -0 "$TSL_XVFB_PID" 2>/dev/null || break; sleep 0.2; done
            kill -9 "$TSL_XVFB_PID" 2>/dev/null
        fi
        rm -f "$state/env"
    fi
}

# What identifies the installed Wine: its version and whether its 32-bit half is there.
wine_identity() { echo "$(wine --version 2>&1) $(ls -d /usr/lib/*/wine/i386-windows 2>/dev/null | tr '\n' ' ')"; }

# Makes the template prefix unless one for this Wine is there. Runs with its
# own wineserver, which is waited for so that the registry is on disk.
ensure_template() {
    local tdir=$1 id
    id=$(wine_identity)
    mkdir -p "$tdir" || return 1
    (
        exec 8>"$tdir/.lock"
        flock 8
        [ -d "$tdir/prefix/drive_c/windows" ] && [ "$(cat "$tdir/identity" 2>/dev/null)" = "$id" ] && exit 0
        rm -rf "$tdir/prefix" "$tdir/identity"
        export WINEPREFIX="$tdir/prefix"
        unset LC_ALL
        timeout 150 wine wineboot -i 8>&- 9>&- </dev/null >"$tdir/wineboot.log" 2>&1 || exit 1
        timeout 30 wineserver -w 8>&- 9>&- </dev/null >/dev/null 2>&1
        echo "$id" >"$tdir/identity"
    )
}

# A fresh prefix at $WINEPREFIX from the template: binaries linked, the rest copied.
prefix_from_template() {
    local tdir=${TSL_WINE_TEMPLATE:-$(cd "$(dirname "$0")/.." && pwd)/build/wine-template}
    ensure_template "$tdir" || return 1
    cp -al "$tdir/prefix" "$WINEPREFIX" 2>/dev/null || { rm -rf "$WINEPREFIX"; return 1; }
    find "$WINEPREFIX" -type f ! \( -iname '*.dll' -o -iname '*.exe' -o -iname '*.drv' -o -iname '*.sys' \
        -o -iname '*.ocx' -o -iname '*.cpl' -o -iname '*.acm' -o -iname '*.ax' -o -iname '*.tlb' \
        -o -iname '*.nls' -o -iname '*.ttf' -o -iname '*.fon' -o -iname '*.ds' -o -iname '*.vxd' \
        -o -iname '*.dll16' -o -iname '*.exe16' -o -iname '*.mod16' -o -iname '*.drv16' \) \
        -exec sh -c 'for f; do cp -p "$f" "$f.own" && mv -f "$f.own" "$f" || exit 1; done' sh {} + \
        || { rm -rf "$WINEPREFIX"; return 1; }
}

case "$cmd" in
start)
    locale=${1:-default}
    # Descriptor 9 holds the lock; no Wine or X process may inherit it.
    exec 9>"$state/.lock"
    flock 9
    if [ "$(users_alive)" -gt 0 ] && env_up; then
        join_env
        echo "joined the running Wine environment in $state"
        exit 0
    fi
    stop_env 9>&-
    rm -rf "$state/prefix" "$state/tmp"
    mkdir -p "$state/tmp"
    common_env
    if [ "$locale" != default ] && [ "$locale" != C ]; then export LC_ALL="$locale"; fi
    # A display of our own: Xvfb reports the number it took on descriptor 3.
    rm -f "$state/display"
    setsid Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 \
        3>"$state/display" 9>&- </dev/null >"$state/xvfb.log" 2>&1 &
    xpid=$!
    for _ in $(seq 1 100); do [ -s "$state/display" ] && break; sleep 0.1; done
    if ! [ -s "$state/display" ]; then
        echo "Xvfb did not start (see $state/xvfb.log)" >&2; kill "$xpid" 2>/dev/null; exit 1
    fi
    export DISPLAY=":$(head -n1 "$state/display")"
    {
        echo "export DISPLAY='$DISPLAY'"
        echo "TSL_XVFB_PID=$xpid"
        if [ -n "${LC_ALL:-}" ]; then echo "export LC_ALL='$LC_ALL'"; fi
    } >"$state/env"
    start=$(date +%s)
    rc=0
    if prefix_from_template 9>&-; then
        setsid wineserver -p 9>&- </dev/null >"$state/wineserver.log" 2>&1
    else
        setsid wineserver -p 9>&- </dev/null >"$state/wineserver.log" 2>&1
        timeout 150 wine wineboot -i 9>&- </dev/null >"$state/wineboot.log" 2>&1
        rc=$?
    fi
    # The first program starts the desktop process; let that happen here.
    timeout 60 wine cmd.exe /c exit 0 9>&- </dev/null >>"$state/wineboot.log" 2>&1
    echo "Wine prefix $WINEPREFIX ready on display $DISPLAY (locale $locale) in $(( $(date +%s) - start )) s"
    if [ $rc -ne 0 ]; then echo "wineboot failed ($rc), see $state/wineboot.log" >&2; stop_env 9>&-; exit 1; fi
    join_env
    exit 0
    ;;
run)
    [ $# -ge 1 ] || { echo "run: no program" >&2; exit 2; }
    common_env
    mkdir -p "$state/tmp"
    out=$(mktemp "$state/tmp/out.XXXXXX"); err=$(mktemp "$state/tmp/err.XXXXXX")
    if [ -f "$state/env" ]; then
        # shellcheck disable=SC1091
        . "$state/env"
        timeout -k 5 "${TSL_WINE_TIMEOUT:-100}" wine "$@" </dev/null >"$out" 2>"$err"
        rc=$?
    else
        # No environment started: a temporary display; the server ends by itself.
        [ -d "$WINEPREFIX" ] || wine wineboot -i </dev/null >/dev/null 2>&1
        timeout -k 5 "${TSL_WINE_TIMEOUT:-100}" xvfb-run -a wine "$@" </dev/null >"$out" 2>"$err"
        rc=$?
    fi
    cat "$out"; cat "$err" >&2
    rm -f "$out" "$err"
    exit $rc
    ;;
stop)
    exec 9>"$state/.lock"
    flock 9
    leave_env
    if [ "$(users_alive)" -eq 0 ]; then stop_env 9>&-; else echo "Wine environment left running for other runs"; fi
    exit 0
    ;;
*)
    echo "unknown command $cmd" >&2; exit 2
    ;;
esac
