#!/usr/bin/env bash
# A radio of five channels is read, edited with a real keyboard and mouse in a real window, and written back; the radio
# must then hold exactly the expected bytes.
# usage: real_window_test.sh FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail

programs=$(cd "$1" && pwd)
shots=${2:-}
work=$(mktemp -d)
cleanup() {
    trap - EXIT
    jobs -p | xargs -r kill 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*" >&2
    xdotool search --onlyvisible --name . getwindowname %@ >&2 2>/dev/null || true
    exit 1
}

# Runs a command until it succeeds, up to half a minute.
await() {
    local what=$1 tries=0
    shift
    until "$@" >/dev/null 2>&1; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || fail "waited in vain for $what"
        sleep 0.05
    done
}

active_title() { xdotool getactivewindow getwindowname 2>/dev/null; }
active_is() { [[ "$(active_title)" == $1 ]]; }
await_window() { await "the window $1" active_is "$1"; }
shot() { [ -z "$shots" ] || import -window root "$shots/$1.png"; }
keys() { xdotool key --clearmodifiers --delay 40 "$@"; }

export HOME=$work XDG_CONFIG_HOME=$work/config XDG_RUNTIME_DIR=$work
export QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
unset WAYLAND_DISPLAY QT_SCALE_FACTOR
mkdir -p "$work/config/k470"
printf '[K470]\nLanguage=0\n' >"$work/config/k470/k470.ini"

Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
await "the display" test -s "$work/display"
DISPLAY=:$(cat "$work/display")
export DISPLAY
openbox >/dev/null 2>&1 &

"$programs/k470-sim" --channels 5 --link "$work/radio" >"$work/sim.txt" &
await "the simulated radio" test -e "$work/radio"
export K470_PORTS="COM1=$work/radio"
"$programs/k470-cli" read --port COM1 "$work/before.bin"

"$programs/k470" 2>"$work/k470.log" &
program=$!
await_window 'K470 Programming Software*'
main=$(xdotool getactivewindow)

# Read the radio.
keys ctrl+r
await "the question to be in front" bash -c "[ \"\$(xdotool getactivewindow)\" != $main ]"
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

# Write it back and leave.
keys ctrl+w
await "the question to be in front" bash -c "[ \"\$(xdotool getactivewindow)\" != $main ]"
keys Return
await_window 'K470'
keys Return
await_window 'K470 编程软件*'
keys alt+f e
await "the program to end" bash -c "! kill -0 $program"

"$programs/k470-cli" read --port COM1 "$work/after.bin"

poke() { printf "$2" | dd of="$work/before.bin" bs=1 seek=$(($1)) conv=notrunc status=none; }
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
