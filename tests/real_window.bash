# What the tests in a real window share: a display of their own with a window manager, the program in it, and ways to
# wait for its windows. Sourced with the arguments of the test: FOLDER_OF_THE_PROGRAMS [FOLDER_FOR_SCREENSHOTS].
# shellcheck shell=bash

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
    cat "$work/k470.log" >&2 2>/dev/null || true
    echo "FAILED: $*; in front: $(active_title)" >&2
    shot failed
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

# The title of the window that has the keyboard; nothing while the window manager still moves it.
active_title() {
    local active
    active=$(xdotool getactivewindow 2>/dev/null) || return 1
    [ "$(xdotool getwindowfocus -f 2>/dev/null)" = "$active" ] && xdotool getwindowname "$active"
}
# Run by await, whose count of tries it sees. When several windows close at once, a window manager may leave the keyboard
# to nobody; a user would click on what is left.
active_is() {
    local title
    title=$(active_title)
    [ -n "$title" ] || [ -z "${main:-}" ] || [ $((tries % 40)) -ne 39 ] || xdotool windowactivate "$main"
    # The pattern is one on purpose.
    # shellcheck disable=SC2053
    [[ "$title" == $1 ]]
}
# A question has no title of its own: it is what is in front of the main window.
question_is_up() {
    active_title >/dev/null && [ "$(xdotool getactivewindow)" != "$main" ]
}
await_question() { await "the question" question_is_up; }
await_window() { await "the window $1" active_is "$1"; }
await_main_window() { await_window 'K470 *MHz*'; }
shot() { [ -z "$shots" ] || import -window root "$shots/$1.png"; }
keys() { xdotool key --clearmodifiers --delay 40 "$@"; }

export HOME=$work XDG_CONFIG_HOME=$work/config XDG_RUNTIME_DIR=$work
export QT_QPA_PLATFORM=xcb LC_ALL=C.UTF-8
unset WAYLAND_DISPLAY QT_SCALE_FACTOR
mkdir -p "$work/config/k470"

Xvfb -displayfd 3 -screen 0 "${SCREEN:-1280x1024}x24" -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
await "the display" test -s "$work/display"
DISPLAY=:$(cat "$work/display")
export DISPLAY
openbox >/dev/null 2>&1 &
await "the window manager" xdotool get_desktop

# Starts the program in a language (0 English, 1 Chinese) with further arguments; $program and $main are then its process
# and its window.
start_program() {
    printf '[K470]\nLanguage=%s\n' "$1" >"$work/config/k470/k470.ini"
    shift
    "$programs/k470" "$@" 2>"$work/k470.log" &
    program=$!
    await_main_window
    main=$(xdotool getactivewindow)
}

# Leaves the program through its menu.
leave_program() {
    keys alt+f e
    await "the program to end" bash -c "! kill -0 $program"
}
