#!/bin/bash
# Everything, from a fresh Debian 12 machine: installs the dependencies,
# builds native, win64, win32 (and the fuzzer), runs the native unit and
# script tests, the Windows tests and script tests under Wine on both
# architectures (64-bit and the product's own 32-bit form), the editor
# grammar's test and a short fuzz run. The last line is "N passed, N
# failed"; the exit status is
# non-zero when anything failed. A build that fails counts as one failure.
set -u
cd "$(dirname "$0")/.."
root=$(pwd)
started=$(date +%s)
passed=0
failed=0
notes=()
log_dir="$root/build/test-all"

step() { echo; echo "==== $* ($(( $(date +%s) - started )) s)"; }

# Runs ctest for a preset and adds its counts.
run_ctest() {
    local preset=$1 log="$log_dir/ctest-$1.log"
    ctest --preset "$preset" </dev/null >"$log" 2>&1
    local rc=$?
    grep -E '^ *[0-9]+/[0-9]+ Test|tests passed|tests failed' "$log" | grep -v ' Passed ' || true
    local total fails
    total=$(sed -n 's/.*tests failed out of \([0-9]*\).*/\1/p' "$log" | tail -n1)
    fails=$(sed -n 's/.* \([0-9]*\) tests failed out of.*/\1/p' "$log" | tail -n1)
    if [ -z "$total" ]; then
        # No summary at all: no tests, or ctest itself failed.
        if [ $rc -ne 0 ]; then failed=$((failed + 1)); notes+=("ctest $preset did not run (see $log)"); fi
        return
    fi
    passed=$((passed + total - fails))
    failed=$((failed + fails))
    [ "$fails" = 0 ] || notes+=("$fails failed in ctest $preset (see $log)")
}

build() {
    local preset=$1 log="$log_dir/build-$1.log"
    if cmake --preset "$preset" </dev/null >"$log" 2>&1 && cmake --build --preset "$preset" </dev/null >>"$log" 2>&1; then
        echo "built $preset"
        return 0
    fi
    tail -n 30 "$log"
    failed=$((failed + 1))
    notes+=("build $preset failed (see $log)")
    return 1
}

step "dependencies"
if ! bash tools/install-deps.sh; then echo "installing the dependencies failed"; echo "0 passed, 1 failed"; exit 1; fi
mkdir -p "$log_dir"

step "native build and tests"
if build native; then run_ctest native; fi

step "win64 build and tests under Wine"
if build win64; then run_ctest win64; fi

# The product's own form: the same Windows tests on the 32-bit build.
step "win32 build and tests under Wine (32-bit)"
if build win32; then run_ctest win32; fi

# Both DLLs export every entry under its plain name (no @N decoration).
check_exports() {
    local objdump=$1 dll=$2 missing=""
    [ -f "$dll" ] || return 0
    local table
    table=$("$objdump" -p "$dll" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/p')
    for name in DoDaDllInit ProcessDaBatBuffer DLLServices ViperAnswer LibMain ProcessSubExpression \
                get_token find_var VMalloc VFree LoadStandardMenu ParseStandardMenu HotKeyCheck \
                MenuSelectProcessing GetVarBoxProc DisplayBoxProc ItemSelectDlg TextBoxDlg MyDialogWndProc2; do
        echo "$table" | grep -qE "\] $name\$" || missing="$missing $name"
    done
    if [ -z "$missing" ]; then passed=$((passed + 1)); echo "exports of $dll: plain names"
    else failed=$((failed + 1)); notes+=("$dll lacks plain exports:$missing"); fi
}
check_exports x86_64-w64-mingw32-objdump build/win64/TSLPR32I.dll
check_exports i686-w64-mingw32-objdump build/win32/TSLPR32I.dll

# The editor grammar: example scripts tokenized as the editor does (Node).
step "editor grammar"
if bash tools/editor-test.sh </dev/null >"$log_dir/editor-test.log" 2>&1; then
    passed=$((passed + 1)); echo "editor grammar: $(grep -E '^# pass' "$log_dir/editor-test.log")"
else
    failed=$((failed + 1)); notes+=("the editor grammar test failed (see $log_dir/editor-test.log)")
    tail -n 30 "$log_dir/editor-test.log"
fi

step "fuzzing"
if [ -f tests/fuzz/fuzz_statements.cpp ]; then
    if build fuzz; then
        if [ -d tests/fuzz/corpus ]; then
            # New inputs go to a scratch directory, the checked-in corpus is only read.
            # The script tests are seeds too: gathered here, not kept twice in the tree.
            mkdir -p build/fuzz/corpus-run build/fuzz/artifacts build/fuzz/seeds
            for f in tests/scripts/*/*.tsl; do
                g=$(basename "$(dirname "$f")"); cp "$f" "build/fuzz/seeds/$g-$(basename "$f")"
            done
            if (cd build/fuzz && ./fuzz_statements -max_total_time=60 -artifact_prefix=artifacts/ \
                    corpus-run "$root/tests/fuzz/corpus" seeds </dev/null >"$log_dir/fuzz.log" 2>&1); then
                passed=$((passed + 1)); echo "fuzz run: no findings in 60 s"
            else
                failed=$((failed + 1)); notes+=("the fuzz run found a failure (see $log_dir/fuzz.log)")
                tail -n 40 "$log_dir/fuzz.log"
            fi
        else
            echo "no tests/fuzz/corpus: fuzz target built, not run"
        fi
        # The keystroke language, the WaitForKey notation and the Run command lines.
        if [ -x build/fuzz/fuzz_keys ]; then
            mkdir -p build/fuzz/keys-run build/fuzz/keys-artifacts
            if (cd build/fuzz && ./fuzz_keys -max_total_time=20 -artifact_prefix=keys-artifacts/ \
                    keys-run "$root/tests/fuzz/corpus-keys" </dev/null >"$log_dir/fuzz-keys.log" 2>&1); then
                passed=$((passed + 1)); echo "keys fuzz run: no findings in 20 s"
            else
                failed=$((failed + 1)); notes+=("the keys fuzz run found a failure (see $log_dir/fuzz-keys.log)")
                tail -n 40 "$log_dir/fuzz-keys.log"
            fi
        fi
        # Menu files: 20 s from the example menus and the kept findings.
        if [ -x build/fuzz/fuzz_menus ]; then
            mkdir -p build/fuzz/menu-corpus-run build/fuzz/menu-seeds build/fuzz/artifacts
            cp examples/menus/*.mnu build/fuzz/menu-seeds/
            if (cd build/fuzz && ./fuzz_menus -max_total_time=20 -artifact_prefix=artifacts/menu- \
                    menu-corpus-run menu-seeds "$root/tests/fuzz/menu_regressions" \
                    </dev/null >"$log_dir/fuzz-menus.log" 2>&1); then
                passed=$((passed + 1)); echo "menu fuzz run: no findings in 20 s"
            else
                failed=$((failed + 1)); notes+=("the menu fuzz run found a failure (see $log_dir/fuzz-menus.log)")
                tail -n 40 "$log_dir/fuzz-menus.log"
            fi
        fi
        # DialogBox control definitions: 20 s from the seeds in tests/fuzz/dialog-corpus.
        if [ -x build/fuzz/fuzz_dialog_fields ]; then
            mkdir -p build/fuzz/dialog-corpus-run build/fuzz/artifacts
            if (cd build/fuzz && ./fuzz_dialog_fields -max_total_time=20 -artifact_prefix=artifacts/ \
                    dialog-corpus-run "$root/tests/fuzz/dialog-corpus" </dev/null >"$log_dir/fuzz-dialog.log" 2>&1); then
                passed=$((passed + 1)); echo "dialog fuzz run: no findings in 20 s"
            else
                failed=$((failed + 1)); notes+=("the dialog fuzz run found a failure (see $log_dir/fuzz-dialog.log)")
                tail -n 40 "$log_dir/fuzz-dialog.log"
            fi
        fi
    fi
else
    echo "no fuzz target yet"
fi

step "summary"
for n in "${notes[@]+"${notes[@]}"}"; do echo "  $n"; done
echo "finished in $(( $(date +%s) - started )) s"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
