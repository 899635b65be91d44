#!/usr/bin/env bash
# Codeplug files through the real dialogs in a real window, in both languages: saved, opened, opened by argument.
# usage: real_files_test.sh FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail
# shellcheck source=tests/real_window.bash
source "$(dirname "$0")/real_window.bash"

unpacked_has() { # FILE OFFSET HEX
    "$programs/k470-cli" unpack "$1" "$work/plain.bin" &&
        [ "$(od -An -tx1 -j$(($2)) -N4 "$work/plain.bin" | tr -d ' ')" = "$3" ]
}

for language in 0 1; do
    saved=$work/saved$language.tw
    start_program $language

    # A channel is typed in and saved under a name without its extension.
    xdotool type --delay 40 446.525
    keys Return alt+f s
    await_question
    shot save$language
    xdotool type --delay 40 "${saved%.tw}"
    keys Return
    await "the file" test -s "$saved"
    await_main_window
    await "its content" unpacked_has "$saved" 0 00256544

    # New asks; the file comes back through the open dialog.
    keys alt+f n
    await_question
    keys Tab Return
    await_main_window
    keys alt+f o
    await_question
    shot open$language
    xdotool type --delay 40 "$saved"
    keys Return
    await_main_window
    # Saved again, it has the channel, and a second one.
    keys Down
    xdotool type --delay 40 447
    keys Return alt+f s
    await "the second channel" unpacked_has "$saved" 0x10 00007044
    leave_program

    # By argument, after start-up; an open file that is no codeplug says so.
    start_program $language "$saved"
    shot argument$language
    leave_program
    printf 'no codeplug' >"$work/other.tw"
    printf '[K470]\nLanguage=%s\n' $language >"$work/config/k470/k470.ini"
    "$programs/k470" "$work/other.tw" 2>"$work/k470.log" &
    program=$!
    await_window 'Error'
    shot refused$language
    keys Return
    await_main_window
    leave_program
done
echo "1 passed, 0 failed"
