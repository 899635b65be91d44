#!/usr/bin/env bash
# The gesture that opens the memory map, and the service windows, with a real keyboard and mouse.
# usage: real_service_test.sh FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail
# shellcheck source=tests/real_window.bash
source "$(dirname "$0")/real_window.bash"

# Clicks the right button over the grid while the named keys are held.
gesture() {
    xdotool mousemove --window "$main" 177 137
    local key
    for key in "$@"; do xdotool keydown "$key"; done
    xdotool click 3
    for key in "$@"; do xdotool keyup "$key"; done
}

start_program 0
gesture shift ctrl
gesture
# Had one of them opened the memory map, this key would not reach the main window's menu.
keys alt+h a
await_window 'About  K470'
shot about
keys Return
await_main_window

gesture shift ctrl alt
await_window 'Memory Map'
shot memory-map
xdotool type --delay 40 ab
keys Return
keys Escape
await_main_window

keys alt+s a
await_window 'K470 Tune'
shot tune
keys Escape
await_window 'K470 Tune'
keys alt+F4
await_main_window
leave_program
echo "1 passed, 0 failed"
