#!/usr/bin/env bash
# The folders' includes run one way. Reads the include lines of each folder against what it may see.
# A folder's widgets live in its sub-folder ui, which is a place of its own.
set -eu
cd "${1:-.}"

headless="core markers api calib align process"
declare -A may_see=(
    [core]="core"
    [markers]="core markers"
    [api]="core markers api"
    [calib]="core markers api calib"
    [align]="core markers api align"
    [process]="$headless"
    [view]="$headless view"
    [cli]="$headless view cli"
    [plugins]="core markers api plugins"
    [core/ui]="core core/ui"
    [view/ui]="$headless view core/ui view/ui"
    [calib/ui]="$headless view core/ui view/ui calib/ui"
    [align/ui]="$headless core/ui align/ui"
    [app]="$headless view core/ui view/ui calib/ui align/ui app"
)
folders=(core markers api calib align process view cli plugins app)
failures=0

table=$(for place in "${!may_see[@]}"; do echo "$place ${may_see[$place]}"; done)
wrong=$(grep -rnE '^\s*#\s*include\s*"' --include='*.h' --include='*.cpp' --include='*.inc' "${folders[@]}" |
    awk -F: -v table="$table" '
        function place_of(path, parts) {
            split(path, parts, "/")
            return parts[2] == "ui" ? parts[1] "/ui" : parts[1]
        }
        BEGIN {
            rows = split(table, row, "\n")
            for (i = 1; i <= rows; ++i) {
                n = split(row[i], name, " ")
                for (j = 2; j <= n; ++j) allowed[name[1], name[j]] = 1
            }
        }
        {
            split($3, quoted, "\"")
            if (!((place_of($1), place_of(quoted[2])) in allowed))
                print $1 ":" $2 ": " place_of($1) " may not include from " place_of(quoted[2])
        }')
if [ -n "$wrong" ]; then
    echo "$wrong"
    failures=1
fi
# Nothing headless touches a window toolkit.
while IFS= read -r hit; do
    echo "$hit: a headless folder may not include Qt"
    failures=1
done < <(grep -rnE '^\s*#\s*include\s*<(Q[A-Za-z]+|qwt)' --exclude-dir=ui \
    "${folders[@]:0:9}" || true)
[ "$failures" -eq 0 ]
