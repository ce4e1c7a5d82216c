#!/usr/bin/env bash
# Takes the example cut through the command line and proves each claim on the way. scripts/demo builds
# the tool and calls this.
#
#   CEL=path/to/cel examples/demo.sh
set -euo pipefail

cel=$(realpath "${CEL:?must name the built tool}")
examples=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CEL_CONFIG_DIR=$work/settings
cp "$examples/harbour.edl" "$work"
cd "$work"

chapter=0
say() {
    chapter=$((chapter + 1))
    printf '\n-- %s. %s\n\n' "$chapter" "$*"
}

# Runs the tool, under the name it has for its users.
run() {
    printf '$ cel %s\n' "$*"
    "$cel" "$@"
    printf '\n'
}

fail() {
    printf 'demo: %s\n' "$*" >&2
    exit 1
}

# same FILE FILE WHAT: proves that two files are the same, byte for byte.
same() {
    cmp "$1" "$2" || fail "$3: it changed"
    printf 'Compared byte for byte: %s.\n' "$3"
}

say 'A cut arrives from another editing system, as an edit list (EDL).'
run import harbour.edl scene4.cel --rate 25
printf 'What a simple list of cuts cannot say, such as a dissolve, is named above: nothing vanishes unseen.\n'

say 'This is what arrived: two picture tracks, two sound tracks, and black where nothing plays.'
run show scene4.cel
printf 'A closer look, with the numbers that an assistant would check against the paperwork:\n\n'
run show scene4.cel V1 --table --from 10:00:00:00 --to 10:00:30:00

say 'Is the cut in order? Every track is checked, event by event.'
run check scene4.cel

say 'It was saved. Now it is read back and saved once more: the two files must not differ in a bit.'
run export scene4.cel readback.cel
same scene4.cel readback.cel 'the cut that was saved and the cut that was read back'

say 'It leaves as an edit list, and that list is brought in again: the same shots, frames and speeds?'
run export scene4.cel out.edl
"$cel" import out.edl returned.cel --rate 25 >import.log || fail "the list did not come back: $(cat import.log)"
"$cel" show scene4.cel --json >before.json
"$cel" show returned.cel --json >after.json
same before.json after.json "reel, clip, timecode, speed and level of $(grep -c recordIn before.json) sections on 4 tracks"

say 'A single bit of a copy is turned over, as a worn disk would do it. Does anybody notice?'
cp scene4.cel worn.cel
place=$(($(stat -c %s worn.cel) / 2))
byte=$(od -An -tu1 -j "$place" -N 1 worn.cel)
printf "\\x$(printf %02x $((byte ^ 1)))" | dd of=worn.cel bs=1 seek="$place" conv=notrunc status=none
printf 'The bit is in byte %s of the file.\n\n' "$place"
printf '$ cel check worn.cel\n'
if "$cel" check worn.cel; then
    fail 'the damage was not found'
fi

say 'The disk is full in the middle of a save. What becomes of the cut that was there?'
cp scene4.cel before.cel
printf '$ cel import harbour.edl scene4.cel   (on a disk with room for 4 KiB)\n'
if (trap '' XFSZ && ulimit -f 4 && "$cel" import harbour.edl scene4.cel --rate 25 2>&1); then
    fail 'a save without room for it succeeded'
fi
printf '\n'
same scene4.cel before.cel 'the cut on the disk, before and after the failed save'

printf '\nDone: the cut came in, was drawn, checked, saved, read back and sent out again; nothing changed on
the way that was not named, damage was found, and a failed save harmed nothing.\n'
