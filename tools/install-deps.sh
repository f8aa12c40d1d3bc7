#!/bin/bash
# Installs everything the build and the tests need on Debian 12 (run as root).
# Idempotent: a second run finds everything in place and only checks that
# Wine runs a 32-bit and a 64-bit program.
#
# The product is a 32-bit DLL, so Wine must run i386 programs beside amd64
# ones: wine32:i386 next to wine64. On Debian 12 that takes care:
# - once i386 is added, the archive's i386 index of security updates fails
#   to download ("File has unexpected size") and `apt-get update` exits 100;
# - without that index, the amd64 and i386 halves of a multi-arch library
#   cannot always be given the same version, and apt then offers to remove
#   wine64 to install wine32.
# So Wine's packages come from the main suites alone (an apt source list
# without the security stanza), in one `apt-get install --no-remove`; on a
# machine where an earlier install took amd64 libraries from the security
# suite, those libraries go back to the main suite's version in the same call.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive

packages=(cmake ninja-build g++ gcc make g++-mingw-w64-x86-64 g++-mingw-w64-i686
          binutils-mingw-w64-x86-64 binutils-mingw-w64-i686 xvfb xauth imagemagick
          googletest clang libclang-rt-14-dev regina-rexx locales nsis)
wine_packages=(wine wine64 wine32:i386)

installed() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }

missing=()
for p in "${packages[@]}" "${wine_packages[@]}"; do installed "$p" || missing+=("$p"); done
# Node and npm run the editor grammar's test. A machine may have them from
# another Node package (npm inside it): Debian's are asked for only when
# the commands are missing.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then missing+=(nodejs npm); fi

# An apt source list of the main suites only: every stanza of the system's
# lists except those of the security suite.
main_only=/etc/apt/tsl-main-only
make_main_only_sources() {
    rm -rf "$main_only"; mkdir -p "$main_only"
    local f
    for f in /etc/apt/sources.list.d/*.sources; do
        [ -e "$f" ] || continue
        awk 'BEGIN { RS = ""; ORS = "\n\n" } !/Suites:[^\n]*-security/' "$f" >"$main_only/$(basename "$f")"
    done
    for f in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -e "$f" ] || continue
        grep -v -E '^\s*deb.*-security' "$f" >"$main_only/$(basename "$f").list" || true
    done
}
apt_main=(-o "Dir::Etc::SourceParts=$main_only" -o "Dir::Etc::SourceList=/dev/null")

# The amd64 packages that must return to the main suite's version so that
# their i386 halves can match: installed, "Multi-Arch: same", needed by
# wine32:i386, and at a version other than the i386 candidate.
matching_downgrades() {
    local name have want
    apt-cache "${apt_main[@]}" depends --recurse --no-recommends --no-suggests --no-conflicts \
            --no-breaks --no-replaces --no-enhances wine32:i386 2>/dev/null |
        grep -E '^[a-z0-9]' | sed 's/:i386$//' | sort -u |
    while read -r name; do
        [ "$(dpkg-query -W -f='${Multi-Arch}' "$name:amd64" 2>/dev/null)" = same ] || continue
        have=$(dpkg-query -W -f='${Version}' "$name:amd64" 2>/dev/null) || continue
        want=$(apt-cache "${apt_main[@]}" policy "$name:i386" | sed -n 's/^ *Candidate: //p')
        [ -n "$want" ] && [ "$want" != "(none)" ] && [ "$want" != "$have" ] && echo "$name:amd64=$want"
    done
}

if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    dpkg --print-foreign-architectures | grep -qx i386 || dpkg --add-architecture i386
    make_main_only_sources
    apt-get "${apt_main[@]}" update -q </dev/null
    install=(apt-get "${apt_main[@]}" install -y -q --no-install-recommends --no-remove)
    if ! "${install[@]}" "${missing[@]}" </dev/null; then
        mapfile -t pins < <(matching_downgrades)
        echo "the i386 halves need these amd64 libraries at the main suite's version: ${pins[*]:-(none found)}"
        [ ${#pins[@]} -gt 0 ] || { echo "install-deps: apt could not install ${missing[*]}" >&2; exit 1; }
        "${install[@]}" --allow-downgrades "${missing[@]}" "${pins[@]}" </dev/null
    fi
    # The downloaded packages are not needed again (Wine's alone are about 2 GB).
    apt-get clean
fi

# Code page 932 under Wine needs a Japanese locale on the Linux side.
if ! locale -a 2>/dev/null | grep -qi '^ja_JP\.utf-\?8$'; then
    sed -i 's/^# *\(ja_JP.UTF-8 UTF-8\)/\1/' /etc/locale.gen
    grep -q '^ja_JP.UTF-8 UTF-8' /etc/locale.gen || echo 'ja_JP.UTF-8 UTF-8' >>/etc/locale.gen
    locale-gen </dev/null
fi

# The proof: Wine runs a 32-bit and a 64-bit program in one prefix.
bash "$(dirname "$0")/wine-check.sh"
echo "dependencies ready"
