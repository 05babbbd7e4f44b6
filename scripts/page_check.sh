#!/usr/bin/env bash
# The pages of a run in a browser without a window: no error of a script, rows sorted by a click on a
# head, prints on A4 with every point on them. Needs chromium and poppler-utils; no network.
#     scripts/page_check.sh BIN [FOLDER]     FOLDER keeps the pictures of the pages
set -euo pipefail
batch=$(realpath "$1")/vynlite-batch
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
kept=${2:-$folder/pictures}
mkdir -p "$kept"
kept=$(realpath "$kept")
points=40
fail() {
    echo "FAILED: $*"
    exit 1
}

browser() { # ARGUMENTS...: with what scripts complain of on standard error
    HOME=$folder timeout 120 chromium --headless --no-sandbox --disable-gpu --no-first-run \
        --disable-dev-shm-usage --disable-background-networking --disable-component-update \
        --host-resolver-rules='MAP * ~NOTFOUND' --user-data-dir="$folder/browser" \
        --enable-logging=stderr --virtual-time-budget=5000 "$@" 2>"$folder/browser.log"
}

check_quiet() { # WHAT
    ! grep -E 'CONSOLE' "$folder/browser.log" || fail "$1: the browser's console is not empty"
}

"$batch" sample "$folder/run" --size 320x240 --noise --points "$points" --quiet
# Some points that are not as they should be: gone, saturated, left out.
rm "$folder/run/wind_on_p007.tif"
sed -i -e '1s/$/,saturation_level,skip,group,alpha/' -e '2s/$/,,,,/' \
    -e '3,$s/^p0*\([0-9]*\).*/&,,,run \1,\1/' "$folder/run/run.csv"
sed -i -e '/^p011/s/,,,run/,20000,,run/' -e '/^p023/s/,,,run/,,1,run/' "$folder/run/run.csv"
"$batch" --quiet schedule run "$folder/run/run.csv" 2>/dev/null || true
"$batch" schedule summary "$folder/run/run.csv" --limit rms_px=0.04 || true
index=$folder/run/run_results/index.html
page=$folder/run/run_results/p001/page.html

# Presses the head of a column with numbers, and the one of states, and tells the order of the rows.
cat >"$folder/probe.js" <<'PROBE'
<script>
"use strict";
const heads = Array.from(document.querySelectorAll("th"));
const column = heads.findIndex(function (head) { return head.textContent.includes("root mean square"); });
function keys(at) {
  return Array.from(document.querySelector("tbody").rows).map(function (row) {
    return row.cells[at].dataset.key;
  });
}
function check(what, at, up) {
  heads[at].querySelector("button").click();
  const shown = keys(at), filled = shown.filter(function (key) { return key !== ""; });
  const ordered = filled.every(function (key, i) {
    if (i === 0) return true;
    const order = isNaN(key) ? filled[i - 1].localeCompare(key) : filled[i - 1] - key;
    return up ? order <= 0 : order >= 0;
  });
  const last = shown.slice(filled.length).every(function (key) { return key === ""; });
  return what + (ordered && last && filled.length > 1 ? " ok" : " WRONG " + shown.join(" "));
}
const told = [check("numbers up", column, true), check("numbers down", column, false),
              check("states up", 3, true), "rows " + keys(1).length];
document.body.innerHTML = "<pre id=\"told\">" + told.join("\n") + "</pre>";
</script>
PROBE
sed "/<\/body>/e cat $folder/probe.js" "$index" >"$folder/run/run_results/probe.html"

for name in "$index" "$page"; do
    browser --dump-dom "file://$name" >"$folder/dom" || fail "$name does not load"
    grep -q '</body>' "$folder/dom" || fail "$name is not whole"
    check_quiet "$name"
done
echo "loaded: index.html and a point's page, the console is empty"

browser --dump-dom "file://$folder/run/run_results/probe.html" >"$folder/dom"
check_quiet "sorting"
sed -n '/id="told"/,/<\/pre>/p' "$folder/dom" | sed -E 's/<[^>]*>//g' >"$folder/told"
[ "$(grep -c ' ok$' "$folder/told")" = 3 ] && grep -qx "rows $points" "$folder/told" ||
    fail "sorting: $(cat "$folder/told")"
echo "sorted: $(paste -sd , "$folder/told")"

browser --window-size=1280,1600 --screenshot="$kept/index.png" "file://$index" >/dev/null
browser --window-size=1280,2400 --screenshot="$kept/page.png" "file://$page" >/dev/null
for name in index page; do
    file=$index
    [ "$name" = index ] || file=$page
    browser --print-to-pdf="$kept/$name.pdf" --no-pdf-header-footer "file://$file" >/dev/null
    size=$(pdfinfo "$kept/$name.pdf" | sed -nE 's/^Page size: *([0-9.]+) x ([0-9.]+).*/\1 \2/p' |
        awk '{ print ($1 < $2 ? $1 : $2), ($1 < $2 ? $2 : $1) }')
    awk '{ exit !($1 > 594 && $1 < 597 && $2 > 841 && $2 < 843) }' <<<"$size" ||
        fail "$name.pdf is not on A4 but $size points"
    pdftoppm -r 60 -png "$kept/$name.pdf" "$kept/$name"
done

# A row that is cut has its name on one page and its words on another; one that is lost has none.
pages=$(pdfinfo "$kept/index.pdf" | sed -nE 's/^Pages: *//p')
for ((i = 1; i <= points; ++i)); do
    name=$(printf 'p%03d' "$i")
    [ "$(pdftotext -layout "$kept/index.pdf" - | grep -cE "(^| )$name( |$)")" = 1 ] ||
        fail "$name does not stand once on the printed pages"
done
# The words of the widest rows end within the page.
pdftotext -bbox "$kept/index.pdf" "$folder/words.html"
awk -F '"' '/<page/ { width = $2; height = $4 }
    /<word/ && ($2 < 0 || $6 > width || $4 < 0 || $8 > height) { print; bad = 1 } END { exit bad }' \
    "$folder/words.html" || fail "words stand beyond the edge of the printed page"
echo "printed: $pages pages of A4 with $points points, nothing beyond their edges"
