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
cp "$examples/harbour.edl" "$examples/harbour.srt" "$work"
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

# differs FILE FILE [TRACK...]: the tool says where the two do not play the same, and they must not.
differs() {
    printf '$ cel diff %s\n' "$*"
    if "$cel" diff "$@"; then
        fail "$1 and $2 should differ"
    fi
    printf '\n'
}

say 'This is what arrived: two picture tracks, two sound tracks, and black where nothing plays.'
run show scene4.cel
printf 'A closer look, with the numbers that an assistant would check against the paperwork:\n\n'
run show scene4.cel V1 --table --from 10:00:00:00 --to 10:00:30:00

say 'Is the cut in order? Every track is checked, event by event.'
run check scene4.cel

say 'An answer is too long: four seconds go, of picture and sound alike. They are put aside first.'
run edit scene4.cel V1,A1 extract 10:00:16:00 10:00:20:00 --to aside.cel
run edit scene4.cel V1,A1 remove 10:00:16:00 10:00:20:00 -o shorter.cel --picture
differs scene4.cel shorter.cel
printf 'Up to 10:00:16:00 nothing changed; all that follows on these two tracks is four seconds earlier.\n'

say 'Second thoughts: they go back in, and the cuts that this left behind are taken away.'
run edit shorter.cel V1,A1 insert 10:00:16:00 --from aside.cel V1,A1 -o restored.cel
run edit restored.cel V1 simplify cuts --range 10:00:10:00 10:00:24:00 --picture
run diff scene4.cel restored.cel
printf 'Not a frame was lost on the way: what plays is what played before.\n'

say 'A shot ends 12 frames earlier (a ripple trim), and gulls go over the black of the upper track.'
run edit scene4.cel V1 trim end 10:00:09:00 -00:00:00:12 -o trimmed.cel --picture
run edit trimmed.cel V2 overlay 10:00:09:00 --from V1 --range 10:00:11:00 10:00:13:00 --picture
differs scene4.cel trimmed.cel
printf 'The comparison names the two edits, to the frame, and nothing else.\n'

say 'The sound is mixed: the interview 12 dB lower for a line, then a ride of the fader, kept in a store.'
run levels scene4.cel A1 set -12dB 10:00:16:00 10:00:20:00 -o mixed.celdb
printf 'The fader leaves a node every four frames, 60 of them:\n'
for node in {0..59}; do
    level=$(LC_ALL=C awk -v n="$node" 'BEGIN { printf "%.4f", 0.65 + 0.35 * cos(n * 0.15) }')
    "$cel" levels mixed.celdb A1 set "$level" "$(LC_ALL=C awk -v n="$node" 'BEGIN { print 42.2 + 0.16 * n }')" >/dev/null
done
run levels mixed.celdb A1 thin --within 0.5dB --picture --width 100
printf 'So few nodes are enough, and the worst error is measured, not guessed.\n'

say 'Four seconds go in the middle of the lowered line. The levels of what follows go along.'
run edit mixed.celdb V1,A1 extract 10:00:18:00 10:00:22:00 --to aside.celdb
run edit mixed.celdb V1,A1 remove 10:00:18:00 10:00:22:00 -o shorter.celdb --picture
run edit shorter.celdb V1,A1 insert 10:00:18:00 --from aside.celdb V1,A1
run diff mixed.celdb shorter.celdb
printf 'Put back, the sound is as loud as before, to a thousandth of a decibel, at every moment.\n'

say 'Two seconds are to go at the end of two tracks, and one of them is not that long.'
cp scene4.cel before.cel
printf '$ cel edit scene4.cel V1,V2 remove 10:02:20:00 10:02:22:00\n'
if "$cel" edit scene4.cel V1,V2 remove 10:02:20:00 10:02:22:00 2>&1; then
    fail 'an edit of what is not there succeeded'
fi
printf '\n'
same scene4.cel before.cel 'the cut before and after the refused edit, on both tracks'

say 'Subtitles arrive beside the cut. Then a shot goes, from picture, sound and subtitles at once.'
cp scene4.cel spoken.cel
run import harbour.srt --into spoken.cel
run edit spoken.cel V1,V2,A1,A2,S1 remove 10:00:14:16 10:00:22:01 -o cutdown.cel
run show cutdown.cel V1 S1 --from 10:00:10:00 --to 10:00:30:00
run export cutdown.cel S1 cutdown.srt
"$cel" import harbour.srt moved.cel --into scene4.cel --offset -00:00:07:10 >moved.log
"$cel" export moved.cel S1 moved.srt >moved.log
for list in cutdown moved; do grep -v '^[0-9]*$' "$list.srt" | tail -n 48 >"$list.txt"; done
same cutdown.txt moved.txt 'times and texts of the last subtitles, and those of the file moved by the length of the shot'

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
if (trap '' XFSZ && ulimit -f 4 && "$cel" import harbour.edl scene4.cel --rate 25) 2>&1 | cat; then
    fail 'a save without room for it succeeded'
fi
printf '\n'
same scene4.cel before.cel 'the cut on the disk, before and after the failed save'

printf '\nDone: the cut came in, was drawn, checked, edited, mixed, compared, saved, read back and sent out again;
nothing changed on the way that was not named, damage was found, and a failed save harmed nothing.\n'
