#!/bin/bash
# The editor support's test: installs vscode-textmate and vscode-oniguruma
# (the versions of editors/vscode/test/package-lock.json) into
# build/editor-test and runs editors/vscode/test/*.test.js with Node's test
# runner. Its last lines are the runner's counts ("# pass N", "# fail N").
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
work="$root/build/editor-test"
mkdir -p "$work"
if ! cmp -s editors/vscode/test/package-lock.json "$work/package-lock.json" || [ ! -d "$work/node_modules" ]; then
    cp editors/vscode/test/package.json editors/vscode/test/package-lock.json "$work/"
    (cd "$work" && npm ci --no-audit --no-fund --loglevel=error </dev/null)
fi
NODE_PATH="$work/node_modules" node --test editors/vscode/test/
