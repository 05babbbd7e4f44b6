#!/usr/bin/env bash
# Every link and picture of the manual and of the README leads somewhere, and every picture is shown.
set -euo pipefail
cd "${1:-.}"

failures=0
report() {
    echo "$*"
    failures=1
}

# Lines "page <tab> target" of every link and picture in the text, code left out.
links() {
    local page
    for page in README.md help/*.md; do
        sed -E -e '/^```/,/^```/d' -e '/^    /d' -e 's/`[^`]*`//g' "$page" |
            { grep -oE '\]\([^)]+\)' || true; } | sed -E "s|^\]\((.*)\)\$|$page\t\1|"
    done
}

heads=$(mktemp)
trap 'rm -f "$heads"' EXIT
awk -f help/heads.awk README.md >"$heads"
sed -i 's/^README.md/..\/README.md/' "$heads"
awk -f help/heads.awk help/*.md >>"$heads"
known_heads=$(cut -f 1,3 "$heads")


while IFS=$'\t' read -r page target; do
    case "$target" in
        http://* | https://*) continue ;;
    esac
    file=${target%%#*}
    anchor=
    [[ "$target" == *#* ]] && anchor=${target#*#}
    if [ -z "$file" ]; then path=$page; else path=$(dirname "$page")/$file; fi
    path=${path#./}
    if [ ! -e "$path" ]; then
        report "$page: $target does not exist"
    elif [ -n "$anchor" ]; then
        name=$(basename "$path")
        [ "$path" = README.md ] && name=../README.md
        grep -qxF "$name"$'\t'"$anchor" <<<"$known_heads" ||
            report "$page: $target: there is no such head"
    fi
done < <(links)

for picture in help/pictures/*.png; do
    grep -qF "pictures/$(basename "$picture")" README.md help/*.md ||
        report "$picture is shown nowhere"
done

for page in help/*.md; do
    grep -qE "^ +$(basename "$page")\)?\$" help/CMakeLists.txt ||
        report "$page is not in the contents (help/CMakeLists.txt)"
done
[ "$failures" -eq 0 ]
