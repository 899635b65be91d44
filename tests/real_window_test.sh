#!/usr/bin/env bash
# A radio of five channels is read, edited with a real keyboard and mouse in a real window, and written back; the radio
# must then hold exactly the expected bytes.
# usage: real_window_test.sh FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail
SCREEN=1024x600
# shellcheck source=tests/real_window.bash
source "$(dirname "$0")/real_window.bash"

"$programs/k470-sim" --channels 5 --link "$work/radio" >"$work/sim.txt" &
await "the simulated radio" test -e "$work/radio"
export K470_PORTS="COM1=$work/radio"
"$programs/k470-cli" read --port COM1 "$work/before.bin"

start_program 0
eval "$(xdotool getwindowgeometry --shell "$main")"
[ "$HEIGHT" -lt 580 ] || fail "window and title bar are higher than the screen"

# Nothing opens beside the menus, then the radio is read.
xdotool mousemove --window "$main" 600 10 click 3
keys ctrl+r
await_question
keys Return
await_window 'K470'
shot read
keys Return
await_window 'K470 Programming Software*'

# Channel 3: another frequency, tone and bandwidth, by keyboard alone.
keys Down Down
xdotool type --delay 40 446.525
keys Return Right Return
xdotool type --delay 40 88.5
keys Return Right Return Down Return
shot edited

# Channel 2: another transmit frequency, beginning with the mouse.
xdotool mousemove --window "$main" 177 137 click 1
xdotool type --delay 40 451.5
keys Return
shot clicked

# The language, through the menu.
keys alt+s l
await_window 'Language File Setup'
keys Down Return
await_window 'K470 编程软件*'
shot chinese

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

poke() { printf '%b' "$2" | dd of="$work/before.bin" bs=1 seek=$(($1)) conv=notrunc status=none; }
peek() { od -An -tu1 -j$(($1)) -N1 "$work/before.bin" | tr -d ' '; }
poke 0x020 '\x00\x25\x65\x44'
poke 0x028 '\x75\x03'
poke 0x02C "\\x$(printf %02x $(($(peek 0x02C) & 0xEF)))"
poke 0x014 '\x00\x00\x15\x45'
poke 0x66F '\x05'
poke 0x670 '\x55'
if ! cmp "$work/before.bin" "$work/after.bin"; then
    cmp -l "$work/before.bin" "$work/after.bin" | head -40 >&2
    fail "the radio does not hold the expected bytes"
fi
grep -q '^language=1$' "$work/config/k470/k470.ini" || fail "the language was not kept"
echo "1 passed, 0 failed"
