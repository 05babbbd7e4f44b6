#!/usr/bin/env bash
# What users, disks and other programs do to a running one, over and over: kills, aborts, full disks,
# two writers of one file, hundreds of points in one window. Whatever happens, the file that was there is
# whole or replaced by a whole one, and no temporary file of a program that ended by itself is left.
#     scripts/soak.sh BIN [kills=N] [aborts=N] [disks=N] [writers=N] [points=N]
set -euo pipefail
bin=$(realpath "$1")
shift
kills=200 aborts=100 disks=60 writers=30 points=500
for setting in "$@"; do
    [[ $setting =~ ^(kills|aborts|disks|writers|points)=[0-9]+$ ]] || { echo "What is $setting?" && exit 2; }
    declare "$setting"
done

batch=$bin/vynlite-batch
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

now_ms() { date +%s%3N; }
random_ms() { awk -v most="$1" -v r=$RANDOM 'BEGIN { printf "%.3f", most * r / 32768 / 1000 }'; }

save() { # TARGET: computes the point and replaces the target
    exec "$batch" run "$folder/point/project.xml" --save-project "$1" --force --quiet
}

# The target can be read and computed again.
check_whole() {
    "$batch" get "$1" >/dev/null 2>"$folder/why" ||
        fail "$2: $1 is damaged: $(cat "$folder/why")"
}
check_computes() {
    "$batch" run "$1" --quiet 2>"$folder/why" || fail "$2: $1 does not compute: $(cat "$folder/why")"
}
check_no_leftovers() { # where a program ended by itself
    local left
    left=$(find "$folder/saved" "$TMPDIR" -name '.vyn-*')
    [ -z "$left" ] || fail "$1 leaves $left"
    rm -rf "$folder"/saved/.vyn-* "$TMPDIR"/.vyn-*
}

export TMPDIR=$folder/tmp
mkdir "$TMPDIR" "$folder/saved"
"$batch" sample "$folder/point" --size 480x360 --quiet
targets=("$folder/saved/point.ims" "$folder/saved/point.xml")
start=$(now_ms)
for target in "${targets[@]}"; do
    (save "$target")
done
whole_run=$((($(now_ms) - start) / 2))

# Ends a run by a signal at any moment of it. Prints how long the program went on.
stop_one() {
    local begin
    (save "$2") 2>/dev/null &
    sleep "$(random_ms $((whole_run * 5 / 4)))"
    begin=$(now_ms)
    kill "-$1" $! 2>/dev/null || true
    wait $! 2>/dev/null || true
    latest=$(($(now_ms) - begin))
}

for ((i = 0; i < kills; ++i)); do
    stop_one KILL "${targets[i % 2]}"
    check_whole "${targets[i % 2]}" "kill $i"
done
for target in "${targets[@]}"; do
    check_computes "$target" "after the kills"
done
rm -rf "$folder"/saved/.vyn-* "$TMPDIR"/.vyn-*
echo "kills: $kills, each within $whole_run ms of a run"

slowest=0
for ((i = 0; i < aborts; ++i)); do
    stop_one TERM "${targets[i % 2]}"
    check_whole "${targets[i % 2]}" "abort $i"
    check_no_leftovers "abort $i"
    ((latest <= slowest)) || slowest=$latest
done
echo "aborts: $aborts, the slowest ended after $slowest ms"

# A file may not grow beyond some size, or the disk is full.
size=$(stat -c %s "${targets[0]}")
for ((i = 0; i < disks; ++i)); do
    target=${targets[i % 2]}
    (
        ulimit -f $((size * (i + 1) / (disks + 1) / 1024))
        save "$target"
    ) 2>"$folder/why" || grep -q "$(basename "$target")" "$folder/why" ||
        fail "file size $i: the target is not named: $(cat "$folder/why")"
    check_whole "$target" "file size $i"
    check_no_leftovers "file size $i"
done
if unshare -rm true 2>/dev/null; then
    for ((i = 0; i < disks; ++i)); do
        # Room for the old container and a part of the new one.
        unshare -rm bash -s "$folder" $((size / 1024 + size * 2 * (i + 1) / (disks + 1) / 1024 + 64)) \
            "$batch" "${targets[0]}" 2>"$folder/why" <<'DISK' ||
set -e
mkdir -p "$1/small"
mount -t tmpfs -o "size=$2k" small "$1/small"
cp "$4" "$1/small/point.ims"
"$3" run "$1/point/project.xml" --save-project "$1/small/point.ims" --force --quiet 2>"$1/refused" ||
    grep "small/point.ims" "$1/refused" | grep -q "No space" || { cat "$1/refused" >&2 && exit 1; }
"$3" get "$1/small/point.ims" >/dev/null
[ "$(ls -A "$1/small")" = point.ims ]
DISK
            fail "full disk $i: $(cat "$folder/why")"
    done
    echo "full disks: $disks by file size, $disks by a small file system"
else
    echo "full disks: $disks by file size; no small file system can be mounted here"
fi

for ((i = 0; i < writers; ++i)); do
    (save "${targets[i % 2]}") 2>"$folder/one" &
    (save "${targets[i % 2]}") 2>"$folder/two" || grep -q "open elsewhere" "$folder/two" ||
        fail "writers $i: $(cat "$folder/two")"
    wait $! || grep -q "open elsewhere" "$folder/one" || fail "writers $i: $(cat "$folder/one")"
    check_whole "${targets[i % 2]}" "writers $i"
    check_no_leftovers "writers $i"
done
echo "two writers: $writers"

if ((points > 0)); then
    QT_QPA_PLATFORM=offscreen "$bin/vyn_window_bench" --points "$points" || fail "points in a window"
fi
((failures == 0)) || { echo "$failures failures" && exit 1; }
echo "Nothing was lost"
