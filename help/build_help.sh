#!/usr/bin/env bash
# build_help.sh BATCH WORK OUT PAGE... : makes OUT/HELPVYNLITE.qch of the pages of this folder. BATCH
# is the command-line program, which prints the table of settings.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
batch=$1 work=$2 out=$3
shift 3

rm -rf "$work"
mkdir -p "$work/pictures" "$out"
cp "$here"/*.md "$here/manual.css" "$work"
cp "$here"/pictures/*.png "$work/pictures"

{
    printf '# Settings\n\nEvery setting of a project. `vynlite-batch get --table` prints this table;\n'
    printf '`--set KEY=VALUE` changes a setting for one run.\n\n'
    printf '| setting | type | default | allowed | meaning |\n|---|---|---|---|---|\n'
    "$batch" get --table | grep -v '^#' |
        sed 's/|/\\|/g; s/\*/\\*/g' | awk -F '\t' '{
            print "| `" $1 "` | " $2 " | " ($3 == "" ? "" : "`" $3 "`") " | " $4 " | " $5 " |" }'
} >"$work/settings.md"

html_of() { # PAGE.md: the name of its page in the help file
    local name=${1%.md}
    [ "$name" = README ] && name=index
    echo "$name.html"
}

cd "$work"
# The help window does not fit pictures to its width.
for picture in pictures/*.png; do
    width=$((0x$(od -An -j16 -N4 -tx1 "$picture" | tr -d ' \n'))) # of the file's head
    [ "$width" -le 700 ] || echo "s|<img src=\"$picture\"|& width=\"700\"|"
done >wide_pictures.sed

awk -f "$here/heads.awk" "$@" >heads.tsv

for page in "$@"; do
    {
        title=$(awk -F '\t' -v page="$page" '$1 == page { print $4; exit }' heads.tsv)
        printf '<!DOCTYPE html>\n<html><head><meta charset="utf-8"/><title>%s</title>\n' "$title"
        printf '<link rel="stylesheet" type="text/css" href="manual.css"/></head><body>\n'
        cmark-gfm --extension table "$page" |
            sed -E -e 's/<table>/<table border="1" cellspacing="0" cellpadding="4">/' \
                -e 's/(href="[^":]*)README\.md/\1index.html/g' \
                -e 's/(href="[^":]*)\.md(#|")/\1.html\2/g' -f wide_pictures.sed |
            awk -F '\t' -v page="$page" '
                # Anchors in the order of the heads.
                NR == FNR { if ($1 == page) anchor[++heads] = $3; next }
                /^<h[1-6]>/ { sub(/>/, "><a name=\"" anchor[++seen] "\"></a>") }
                { print }' heads.tsv -
        printf '</body></html>\n'
    } >"$(html_of "$page")"
done

escape() { sed 's/&/\&amp;/g; s/</\&lt;/g; s/>/\&gt;/g; s/"/\&quot;/g'; }

# Contents: a section per page, its second-level heads below. Keywords: every head below the title.
contents() {
    local page level anchor text open=0
    while IFS=$'\t' read -r page level anchor text; do
        if [ "$level" = 1 ]; then
            [ $open = 1 ] && echo '</section>'
            open=1
            echo "<section title=\"$text\" ref=\"$(html_of "$page")\">"
        elif [ "$level" = 2 ]; then
            echo "<section title=\"$text\" ref=\"$(html_of "$page")#$anchor\"/>"
        fi
    done
    echo '</section>'
}
keywords() {
    local page level anchor text
    while IFS=$'\t' read -r page level anchor text; do
        [ "$level" = 1 ] && anchor=
        echo "<keyword name=\"$text\" ref=\"$(html_of "$page")${anchor:+#$anchor}\"/>"
    done
}
escape <heads.tsv | contents >contents.xml
escape <heads.tsv | sort -t $'\t' -k 4,4 | keywords >keywords.xml
sed -e '/@contents@/{r contents.xml' -e 'd}' -e '/@keywords@/{r keywords.xml' -e 'd}' \
    "$here/HELPVYNLITE.qhp.in" >HELPVYNLITE.qhp

qhelpgenerator HELPVYNLITE.qhp -o "$work/HELPVYNLITE.qch" >qhelpgenerator.log 2>&1 || {
    cat qhelpgenerator.log >&2
    exit 1
}
mv "$work/HELPVYNLITE.qch" "$out/HELPVYNLITE.qch"
