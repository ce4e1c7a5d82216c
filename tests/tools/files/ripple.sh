# ripple.sh FILE TRACK EDIT...: what each edit makes of the level envelope of a track, one line for
# each: seconds:level of every node, "(" a start guard, ")" an end guard, "b" in black.
file=$1 track=$2
shift 2
for edit; do
    rm -f edited.cel
    cel edit "$file" "$track" $edit -o edited.cel >/dev/null || exit
    printf '%s: ' "$edit"
    cel levels edited.cel "$track" show --json | LC_ALL=C awk '
        /"seconds"/ { seconds = $2 + 0 }
        /"level"/ { level = $2 + 0 }
        /"type"/ { mark = /start/ ? "(" : /end/ ? ")" : "" }
        /"black"/ {
            printf "%s%.6g:%.4g%s%s", gap, seconds, level, mark, /true/ ? "b" : ""
            gap = " "
        }
        END { print "" }'
done
