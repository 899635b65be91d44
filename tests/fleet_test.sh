#!/usr/bin/env bash
# A dealer's day: three radios are programmed from one table of channels, and a fourth that does not store a line is
# noticed and gets its old content back.
# usage: fleet_test.sh FOLDER_OF_THE_PROGRAMS
set -euo pipefail

programs=$(cd "$1" && pwd)
work=$(mktemp -d)
radio=
cleanup() {
    trap - EXIT
    [ -z "$radio" ] || kill "$radio" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAILED: $*" >&2
    cat "$work"/*.err >&2 2>/dev/null || true
    exit 1
}

# Runs a command until it succeeds, up to half a minute.
await() {
    local what=$1 tries=0
    shift
    until "$@" 2>/dev/null; do
        tries=$((tries + 1))
        [ $tries -lt 600 ] || fail "waited in vain for $what"
        sleep 0.05
    done
}

# Serves a radio at $work/port, whose memory after each session is in $work/NAME.bin.
start_radio() { # NAME [OPTION]...
    "$programs/k470-sim" --link "$work/port" --out "$work/$1.bin" "${@:2}" >/dev/null 2>"$work/$1.err" &
    radio=$!
    await "the radio $1" test -e "$work/port"
}

stop_radio() { # NAME
    kill "$radio"
    wait "$radio" || fail "the radio $1 ended with $?"
    radio=
    [ ! -s "$work/$1.err" ] || fail "the radio $1 complained"
}

# What a command ends with; what it says on standard error is in $work/said.err.
code_of() {
    local code=0
    "$programs/k470-cli" --lang en --quiet "$@" 2>"$work/said.err" || code=$?
    echo $code
}

expect() { # CODE COMMAND...
    local code
    code=$(code_of "${@:2}")
    [ "$code" = "$1" ] || fail "k470-cli ${*:2}: $code instead of $1"
}

same_lines() { # FILE FILE FIRST LAST
    cmp -i $(($3 * 16)) -n $((($4 - $3 + 1) * 16)) "$1" "$2" >/dev/null
}

byte() { od -An -tx1 -j$(($2)) -N1 "$1" | tr -d ' '; }
put_byte() { printf '%b' "\\x$3" | dd of="$1" bs=1 seek=$(($2)) conv=notrunc status=none; }

export XDG_STATE_HOME=$work/state
backups=$work/state/k470/backups

cat >"$work/fleet.csv" <<'END'
Channel,Receive MHz,Transmit MHz,Receive Tone,Transmit Tone,Power,Bandwidth,Lockout,Scan
1,446.00625,,None,,Low,Narrow,Off,No
2,,,,,,,,
3,401.5,411.5,67.0,D754I,High,Wide,QT/DQT,Yes
4,446.525,451.525,88.5,88.5,High,Narrow,Carrier,Yes
5,470.1,470.1,D023N,None,Low,Wide,Off,No
END
expect 0 new --band 400-480 --channels 5 "$work/fleet.tw"
expect 0 import "$work/fleet.csv" "$work/fleet.tw"
expect 0 unpack "$work/fleet.tw" "$work/sent.raw"
put_byte "$work/sent.raw" 0x670 55
put_byte "$work/sent.raw" 0x66F "$(byte "$work/sent.raw" 0x632)"

kept=0
for channels in 3 16 99; do
    name=radio$channels
    start_radio "$name" --channels "$channels"
    expect 0 write --port "$work/port" "$work/fleet.tw"
    expect 0 verify --port "$work/port" "$work/fleet.tw"
    stop_radio "$name"
    same_lines "$work/sent.raw" "$work/$name.bin" 0 0 || fail "channel 1 of $name"
    [ "$(byte "$work/$name.bin" 0x010)" = ff ] || fail "channel 2 of $name is not empty"
    same_lines "$work/sent.raw" "$work/$name.bin" 2 4 || fail "channels 3 to 5 of $name"
    same_lines "$work/sent.raw" "$work/$name.bin" 99 107 || fail "settings of $name"
    kept=$((kept + 1))
    [ "$(find "$backups" -name '*-port*.tw' | wc -l)" = $kept ] || fail "the backup of $name"
done

export XDG_STATE_HOME=$work/fourth
backups=$work/fourth/k470/backups
start_radio fourth --channels 99 --fault no-store@5
expect 0 read --port "$work/port" "$work/any.raw"
await "the end of the reading" test -s "$work/fourth.bin"
cp "$work/fourth.bin" "$work/old.raw"
expect 6 write --port "$work/port" "$work/fleet.tw"
cp "$work/said.err" "$work/verdict"
expect 6 verify --port "$work/port" "$work/fleet.tw"
stop_radio fourth
grep -q 'Channel 4 (line 3), address 0031: 25 65 44 .* expected, 15 29 40 .* found' "$work/verdict" ||
    fail "the line is not named: $(cat "$work/verdict")"
same_lines "$work/old.raw" "$work/fourth.bin" 3 3 || fail "the fourth radio has stored the line"
same_lines "$work/sent.raw" "$work/fourth.bin" 4 4 || fail "the fourth radio has not stored the next line"
backup=$(echo "$backups"/*.tw)
[ -s "$backup" ] || fail "one backup was expected: $backup"
grep -qF "To restore it: k470-cli write --port $work/port $backup" "$work/verdict" || fail "the backup is not named"

head -c 1792 /dev/zero | tr '\0' '\245' >"$work/other.raw"
start_radio fifth --image "$work/other.raw"
expect 0 write --port "$work/port" "$backup"
stop_radio fifth
same_lines "$work/old.raw" "$work/fifth.bin" 0 107 || fail "the backup does not bring the old content back"
same_lines "$work/other.raw" "$work/fifth.bin" 108 111 || fail "a line that never travels has changed"
echo "1 passed, 0 failed"
