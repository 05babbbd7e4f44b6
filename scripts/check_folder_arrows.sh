#!/usr/bin/env bash
# The folders' includes run one way. Reads the include lines of each folder against what it may see.
set -eu
cd "${1:-.}"

declare -A may_see=(
    [core]="core"
    [markers]="core markers"
    [api]="core markers api"
    [calib]="core markers api calib"
    [align]="core markers api align"
    [process]="core markers api calib align process"
    [cli]="core markers api calib align process cli"
    [plugins]="core markers api plugins"
)
failures=0
for folder in "${!may_see[@]}"; do
    while IFS=: read -r file line text; do
        seen=$(sed -E 's/.*"([^/"]+)\/.*/\1/' <<<"$text")
        if [[ " ${may_see[$folder]} " != *" $seen "* ]]; then
            echo "$file:$line: $folder may not include from $seen"
            failures=$((failures + 1))
        fi
    done < <(grep -rnE '^\s*#\s*include\s*"' --include='*.h' --include='*.cpp' --include='*.inc' "$folder" || true)
done
# Nothing headless touches a window toolkit.
while IFS= read -r hit; do
    echo "$hit: a headless folder may not include Qt"
    failures=$((failures + 1))
done < <(grep -rnE '^\s*#\s*include\s*<Q[A-Za-z]+' core markers api calib align process cli plugins || true)
[ "$failures" -eq 0 ]
