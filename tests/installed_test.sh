#!/usr/bin/env bash
# The Debian package as a user meets it: installed, started by the menu entry's command in an empty home with a codeplug
# as its argument, and removed without a trace but the user's settings. Needs root to install; anybody else unpacks the
# package into a folder and tests what is left to test there.
# usage: installed_test.sh PACKAGE.deb [FOLDER_FOR_SCREENSHOTS]
set -euo pipefail
package=$(realpath "$1")
# shellcheck source=tests/real_window.bash
source "$(dirname "$0")/real_window.bash" /usr/bin "${2:-}"

root=
installed=
if [ "$(id -u)" -ne 0 ]; then
    root=$work/root
    echo "Not root: the package is unpacked instead of installed."
elif dpkg-query -W k470 >/dev/null 2>&1; then
    root=$work/root
    echo "There is a package k470 on this machine, which stays: the new one is unpacked instead of installed."
fi

# Leaves the machine as it was, however the test ends.
leave() {
    trap - EXIT
    [ -z "$installed" ] || dpkg --purge k470 >/dev/null || true
    cleanup
}
trap leave EXIT

# What the package consists of, as absolute paths; folders without a slash at the end.
contents() { dpkg-deb --fsys-tarfile "$package" | tar -t | sed -E 's,^\./?,/,; s,(.)/$,\1,'; }
existing() { while read -r path; do [ ! -e "$path" ] || echo "$path"; done; }
# Folders that only root may look into make find fail.
names_in_system() { { find /etc /opt /usr /var -xdev -name '*k470*' 2>/dev/null || true; } | sort; }

contents >"$work/contents"
existing <"$work/contents" >"$work/existing-before"
names_in_system >"$work/names-before"
if [ -z "$root" ]; then
    installed=yes
    # Some small systems are set to leave manuals and documents out.
    dpkg --path-include='/usr/share/*' --install "$package" >"$work/dpkg.log" 2>&1 ||
        fail "not installed: $(cat "$work/dpkg.log")"
else
    dpkg-deb --extract "$package" "$root"
    export XDG_DATA_DIRS=$root/usr/share:/usr/local/share:/usr/share PATH=$root/usr/bin:$PATH
    update-mime-database "$root/usr/share/mime"
    update-desktop-database "$root/usr/share/applications"
fi
share=$root/usr/share

# Everything is where others look for it.
icons=icons/hicolor
for file in applications/k470.desktop mime/packages/k470.xml metainfo/example.k470.k470.metainfo.xml \
    $icons/scalable/apps/k470.svg $icons/{16x16,22x22,24x24,32x32,48x48,64x64,128x128,256x256}/apps/k470.png \
    bash-completion/completions/k470-cli man/man1/{k470,k470-cli,k470-sim}.1.gz \
    doc/k470/{README.md,copyright,changelog.gz}; do
    [ -s "$share/$file" ] || fail "$share/$file is missing"
done
for link in $(grep -oE '\]\([^):]+\)' "$share/doc/k470/README.md" | tr -d '])('); do
    [ -s "$share/doc/k470/$link" ] || fail "the installed README links to $link, which is not there"
done
for program in k470 k470-cli k470-sim; do
    [ "$(command -v $program)" = "$root/usr/bin/$program" ] || fail "$program is not found"
    ! command -v man >/dev/null || [ "$(man -M "$share/man" -w $program)" = "$share/man/man1/$program.1.gz" ] ||
        fail "man does not find $program"
done
completed=$(bash --norc -c '
    source "$1"; COMP_WORDS=(k470-cli ver) COMP_CWORD=1; _k470_cli; echo "${COMPREPLY[*]}"' \
    - "$share/bash-completion/completions/k470-cli")
[ "$completed" = verify ] || fail "k470-cli ver is completed to \"$completed\""

# Desktops know a codeplug and which program opens it.
codeplug=$work/"fleet of a dealer.tw"
k470-cli --quiet new --band 350-390 --channels 5 "$codeplug"
type=application/x-k470-codeplug
told=$(gio info -a standard::content-type "$codeplug")
[[ $told == *"content-type: $type" ]] || fail "the type of a codeplug: $told"
told=$(gio mime $type)
[[ $told == *k470.desktop* ]] || fail "no program opens a codeplug: $told"

# The menu entry's command in an empty home.
home=$work/home
mkdir "$home"
read -ra command < <(sed -n 's/^Exec=//p' "$share/applications/k470.desktop")
[[ " ${command[*]} " == *" %f "* ]] || fail "the menu entry takes no file: ${command[*]}"
for i in "${!command[@]}"; do
    [ "${command[i]}" != %f ] || command[i]=$codeplug
done
env -u XDG_CONFIG_HOME -u XDG_CACHE_HOME -u XDG_DATA_HOME -u XDG_STATE_HOME HOME="$home" \
    "${command[@]}" 2>"$work/k470.log" &
program=$!
# Opening a file leaves the name in the title to the next save; the band in it is the file's, not the first start's.
await_window 'K470 *350 - 390 MHz*'
main=$(xdotool getactivewindow)
shot installed
leave_program
wait $program || fail "the program ended with $?"
[ ! -s "$work/k470.log" ] || fail "the program complained"

# Removed, only the settings are left.
if [ -z "$root" ]; then
    dpkg --remove k470 >"$work/dpkg.log" 2>&1 || fail "not removed: $(cat "$work/dpkg.log")"
    existing <"$work/contents" >"$work/existing-after"
    diff "$work/existing-before" "$work/existing-after" >&2 || fail "a removed package leaves files"
    dpkg --purge k470 >"$work/dpkg.log" 2>&1 || fail "not purged: $(cat "$work/dpkg.log")"
    installed=
    names_in_system >"$work/names-after"
    diff "$work/names-before" "$work/names-after" >&2 || fail "a purged package leaves files"
    told=$(gio mime $type 2>&1) || true
    [[ $told != *k470.desktop* ]] || fail "a removed program still opens codeplugs: $told"
    ! grep -qs k470 /usr/share/applications/mimeinfo.cache /usr/share/mime/globs2 || fail "a cache still knows it"
fi
left=$(cd "$home" && find . -type f)
[ "$left" = ./.config/k470/k470.ini ] || fail "other files than the settings are in the home: $left"
echo "1 passed, 0 failed"
