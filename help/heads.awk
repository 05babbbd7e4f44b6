# Lists the heads of Markdown pages as lines "page.md <tab> level <tab> anchor <tab> text". The
# anchor is the text in small letters, blanks as hyphens, without other signs.
FNR == 1 { in_code = 0 }
/^```/ { in_code = !in_code }
!in_code && /^#+ / {
    text = $0
    level = index(text, " ") - 1
    sub(/^#+ +/, "", text)
    gsub(/[`*]/, "", text)
    anchor = tolower(text)
    gsub(/[^a-z0-9 _-]/, "", anchor)
    gsub(/ /, "-", anchor)
    page = FILENAME
    sub(/.*\//, "", page)
    print page "\t" level "\t" anchor "\t" text
}
