#!/usr/bin/env bash
# The folders' includes run one way, as scripts/folder_arrows.txt says; the libraries link in the same
# direction, the README names every folder, and nothing headless touches a window toolkit.
set -eu
cd "${1:-.}"

table=$(grep -v '^#' scripts/folder_arrows.txt)
mapfile -t folders < <(cut -d: -f1 <<<"$table" | cut -d/ -f1 | sort -u)
failures=0

complain() {
    [ -z "$1" ] && return
    echo "$1"
    failures=1
}

complain "$(grep -rnE '^\s*#\s*include\s*"' --include='*.h' --include='*.cpp' --include='*.inc' "${folders[@]}" |
    awk -F: -v table="$table" '
        function place_of(path, parts) {
            split(path, parts, "/")
            return parts[2] == "ui" ? parts[1] "/ui" : parts[1]
        }
        BEGIN {
            rows = split(table, row, "\n")
            for (i = 1; i <= rows; ++i) {
                split(row[i], side, ":")
                allowed[side[1], side[1]] = 1
                n = split(side[2], name, " ")
                for (j = 1; j <= n; ++j) allowed[side[1], name[j]] = 1
            }
        }
        {
            split($3, quoted, "\"")
            if (!((place_of($1), place_of(quoted[2])) in allowed))
                print $1 ":" $2 ": " place_of($1) " may not include from " place_of(quoted[2])
        }')"

# The library of a place is vyn_ and its name; what it links must be a place that it may include.
while IFS=: read -r place seen; do
    file=$place/CMakeLists.txt
    [ -f "$file" ] || continue
    for linked in $(grep -oE '\bvyn_[a-z]+(_ui)?\b' "$file" | sort -u); do
        other=${linked#vyn_}
        other=${other/_ui//ui}
        [ "$other" = "$place" ] && continue
        grep -q "^$other:" <<<"$table" || continue
        [[ " $seen " == *" $other "* ]] || complain "$file: $place may not link $linked"
    done
done <<<"$table"

for folder in "${folders[@]}"; do
    grep -qF "\`$folder/\`" README.md || complain "README.md does not say what is in $folder/"
done

for folder in "${folders[@]}"; do
    [ "$folder" = app ] && continue
    complain "$(grep -rnE '^\s*#\s*include\s*<(Q[A-Za-z]+|qwt)' --exclude-dir=ui "$folder" |
        sed 's/$/: a headless folder may not include Qt/')"
done
# The program's one session is for the window: what computes is handed one.
complain "$(grep -rnE '\b(vyn_db|get_images|get_field_data)\(\)' --include='*.cpp' --include='*.h' \
    markers calib align render process sample cli python plugins view/*.cpp view/edit --exclude-dir=ui \
    --exclude=session.cpp | sed 's/$/: only the window asks for the one session of the program/')"

[ "$failures" -eq 0 ]
