#!/bin/bash
# Installs everything the build and the tests need on Debian 12 (run as root).
# Idempotent: a second run finds everything in place and returns quickly.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
packages=(cmake ninja-build g++ gcc make g++-mingw-w64-x86-64 g++-mingw-w64-i686
          binutils-mingw-w64-x86-64 binutils-mingw-w64-i686 wine wine64 xvfb xauth
          googletest clang libclang-rt-14-dev regina-rexx locales)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    apt-get update -q
    apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
fi
# Code page 932 under Wine needs a Japanese locale on the Linux side.
if ! locale -a 2>/dev/null | grep -qi '^ja_JP\.utf-\?8$'; then
    sed -i 's/^# *\(ja_JP.UTF-8 UTF-8\)/\1/' /etc/locale.gen
    grep -q '^ja_JP.UTF-8 UTF-8' /etc/locale.gen || echo 'ja_JP.UTF-8 UTF-8' >>/etc/locale.gen
    locale-gen </dev/null
fi
echo "dependencies ready"
