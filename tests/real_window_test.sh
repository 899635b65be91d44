#!/usr/bin/env bash
# The real program in a real window, driven with a real keyboard and mouse: a radio is read, edited and written, and must
# then hold exactly the expected bytes; the other windows open and close; a codeplug file is saved and opened.
# usage: real_window_test.sh FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail
SCREEN=1024x600
# shellcheck source=tests/real_window.bash
source "$(dirname "$0")/real_window.bash"

poke() { printf '%b' "$2" | dd of="$work/before.bin" bs=1 seek=$(($1)) conv=notrunc status=none; }
peek() { od -An -tu1 -j$(($1)) -N1 "$work/before.bin" | tr -d ' '; }
unpacked_has() { # OFFSET HEX
    "$programs/k470-cli" unpack "$work/saved.tw" "$work/plain.bin" &&
        [ "$(od -An -tx1 -j$(($1)) -N4 "$work/plain.bin" | tr -d ' ')" = "$2" ]
}
# Clicks the right button over the grid while the named keys are held.
gesture() {
    xdotool mousemove --window "$main" 177 137
    local key
    for key in "$@"; do xdotool keydown "$key"; done
    xdotool click 3
    for key in "$@"; do xdotool keyup "$key"; done
}

# A radio of five channels that no program has written to yet: it lacks the marks of a write.
"$programs/k470-sim" --channels 5 --link "$work/sample" >"$work/sim.txt" &
await "the simulated radio" test -e "$work/sample"
K470_PORTS="COM1=$work/sample" "$programs/k470-cli" read --port COM1 "$work/before.bin"
poke 0x66F '\x00\x00'
"$programs/k470-sim" --image "$work/before.bin" --link "$work/radio" >"$work/sim.txt" &
await "the unwritten radio" test -e "$work/radio"
export K470_PORTS="COM1=$work/radio"

start_program 0
eval "$(xdotool getwindowgeometry --shell "$main")"
[ "$HEIGHT" -lt 580 ] || fail "window and title bar are higher than the screen"

# Nothing opens beside the menus, nor with a part of the gesture; then the radio is read.
xdotool mousemove --window "$main" 600 10 click 3
gesture shift ctrl
keys ctrl+r
await_question
keys Return
await_window 'K470'
shot read
keys Return
await_window 'K470 Programming Software*'

# Channel 3: another frequency, tone and bandwidth, by keyboard alone. Channel 2 begins with the mouse.
keys Down Down
xdotool type --delay 40 446.525
keys Return Right Return
xdotool type --delay 40 88.5
keys Return Right Return Down Return
xdotool mousemove --window "$main" 177 137 click 1
xdotool type --delay 40 451.5
keys Return
shot edited

# The other windows.
gesture shift ctrl alt
await_window 'Memory Map'
shot memory-map
xdotool type --delay 40 ab
keys Return Escape
await_main_window
keys alt+s a
await_window 'K470 Tune'
shot tune
keys Escape
await_window 'K470 Tune'
keys alt+F4
await_main_window
keys alt+s l
await_window 'Language File Setup'
keys Down Return
await_window 'K470 编程软件*'
shot chinese

# Saved under a name without its extension; New asks; the file comes back through the open dialog.
keys alt+f s
await_question
xdotool type --delay 40 "$work/saved"
keys Return
await "the file" unpacked_has 0x20 00256544
await_main_window
keys alt+f n
await_question
keys Tab Return
await_main_window
keys alt+f o
await_question
shot open
xdotool type --delay 40 "$work/saved.tw"
keys Return
await_main_window

# Write it back. The end of the session then asks nothing, over a question neither, and keeps the language.
keys ctrl+w
await_question
keys Return
await_window 'K470'
keys Return
await_window 'K470 编程软件*'
keys ctrl+w
await_question
kill -TERM "$program"
await "the program to end" bash -c "! kill -0 $program"

"$programs/k470-cli" read --port COM1 "$work/after.bin"
poke 0x020 '\x00\x25\x65\x44'
poke 0x028 '\x75\x03'
poke 0x02C "\\x$(printf %02x $(($(peek 0x02C) & 0xEF)))"
poke 0x014 '\x00\x00\x15\x45'
poke 0x66F '\x05\x55'
if ! cmp "$work/before.bin" "$work/after.bin"; then
    cmp -l "$work/before.bin" "$work/after.bin" | head -40 >&2
    fail "the radio does not hold the expected bytes"
fi
grep -q '^language=1$' "$work/config/k470/k470.ini" || fail "the language was not kept"

# By argument; a file that is no codeplug says so.
start_program 0 "$work/saved.tw"
shot argument
leave_program
printf 'no codeplug' >"$work/other.tw"
"$programs/k470" "$work/other.tw" 2>"$work/k470.log" &
program=$!
await_window 'Error'
keys Return
await_main_window
leave_program
echo "1 passed, 0 failed"
