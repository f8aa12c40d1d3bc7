#!/bin/bash
# Takes the pictures of docs/dialogs.md: every box as it renders under Wine
# on Xvfb, one PNG each in docs/dialogs/. Needs a built win64 (or win32)
# tree: bash tools/dialog-shots.sh [BUILD_DIR]
# Each box is shown by tslrun (not in console mode), found on the display by
# its caption, captured with ImageMagick's import, and then left to the run
# time limit, which ends tslrun.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/win64}" && pwd)
state=$build/wine-shots
out=$root/docs/dialogs
work=$(mktemp -d)
mkdir -p "$out" "$state"
bash "$root/tools/wine-env.sh" start "$state" >/dev/null || exit 1
display=":$(head -n1 "$state/display")"
# No window manager runs on the display: let Wine draw the frames and captions itself.
bash "$root/tools/wine-env.sh" run "$state" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1

# shot NAME CAPTION SCRIPT-LINES...: runs the lines, captures the window CAPTION.
shot() {
    local name=$1 caption=$2; shift 2
    printf '%s\r\n' "$@" >"$work/$name.tsl"
    (cd "$work" && TSL_WINE_TIMEOUT=6 bash "$root/tools/wine-env.sh" run "$state" "$build/tslrun.exe" "$name.tsl" \
        >/dev/null 2>&1) &
    local job=$! id=""
    for _ in $(seq 1 50); do
        id=$(xwininfo -display "$display" -name "$caption" 2>/dev/null | sed -n 's/^xwininfo: Window id: \(0x[0-9a-f]*\).*/\1/p')
        [ -n "$id" ] && break
        sleep 0.1
    done
    if [ -n "$id" ]; then
        sleep 0.5   # the controls paint after the window appears
        import -display "$display" -window "$id" "$out/$name.png" && echo "docs/dialogs/$name.png: $caption"
    else
        echo "no window \"$caption\" for $name" >&2
    fi
    wait "$job"
}

shot message "Note" 'Message("Note", "The files are copied.")'
shot pause "Backup" 'Pause("Backup", "Insert the backup disk, then press OK.")'
shot askyesno "Backup" 'AskYesNo("Backup", "Copy the reports as well?")'
shot askline "Your name" 'AskLine("Your name", "Whom shall the letters be signed by?", "A. Writer")'
shot askpassword "Log on" 'AskPassword("Log on", "Password for the server:")'
shot buttonnames "Save" 'ButtonNames("&Save", "&Discard")' 'AskLine("Save", "File name:", "report.txt")'
shot display "Please wait" 'Display(5, "Please wait", "Copying the reports.")'
shot itemselect "Choose a fruit" 'ItemSelect("Choose a fruit", "pear|apple|fig|cherry|plum", "|")'
shot textselect "Steps" 'TextSelect("Steps", "1. Back up|2. Copy|3. Check|4. Report", "|")'
shot textbox "win.ini" 'TextBox("win.ini", "C:\windows\win.ini")'
form=(
    'formFormat = "TSLDLGED,4.0"' 'formCaption = "Order"' 'formX = 40' 'formY = 40' 'formWidth = 220'
    'formHeight = 150' 'formNumControls = 11' 'name = "Ann"' 'size = 2' 'extras = 1' 'files = "C:\windows\*.ini"'
    "form01 = '8, 6, 60, 10, STATICTEXT, , \"Your name:\"'"
    "form02 = '70, 5, 100, 12, EDITBOX, name, \"\"'"
    "form03 = '8, 24, 50, 12, RADIOBUTTON, size, \"Small\", 1'"
    "form04 = '60, 24, 50, 12, RADIOBUTTON, size, \"Large\", 2'"
    "form05 = '120, 24, 40, 12, CHECKBOX, extras, \"Milk\", 1'"
    "form06 = '165, 24, 45, 12, CHECKBOX, extras, \"Sugar\", 2'"
    "form07 = '8, 42, 200, 10, VARYTEXT, files, \"\"'"
    "form08 = '8, 54, 120, 70, FILELISTBOX, files, \"\"'"
    "form09 = '8, 128, 120, 12, EDITBOX, files, \"\"'"
    "form10 = '150, 90, 50, 14, PUSHBUTTON, , DEFAULT, 1'"
    "form11 = '150, 110, 50, 14, PUSHBUTTON, , DEFAULT, 0'"
    'DialogBox("form", "")'
)
shot dialogbox "Order" "${form[@]}"

# The same dialog and a Display with PrettyDialogs=1 (the texture brush).
ini="$state/prefix/drive_c/windows/TSLPROCS.INI"
printf '[MAIN]\r\nPrettyDialogs=1\r\n' >"$ini"
shot dialogbox-pretty "Order" "${form[@]}"
shot display-pretty "Please wait" 'Display(5, "Please wait", "Copying the reports.")'
rm -f "$ini"

bash "$root/tools/wine-env.sh" stop "$state" >/dev/null
rm -rf "$work"
