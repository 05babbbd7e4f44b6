# Which sources may be compiled as one: prints "FILE GROUP" for each file given, so that no two files of a
# group have a name in their unnamed namespaces (or static) in common, and none has more than `most` files.
# Reads our formatting: what stands in a namespace starts in the first column, names before ( = { [ or ;
FNR == 1 { files[++count] = FILENAME; unnamed = 0 }
/^namespace {/ { unnamed = 1; next }
/^}  \/\/ namespace$/ { unnamed = 0; next }
unnamed && /^enum [A-Za-z]* ?{.*}/ { note_enumerators($0) }
unnamed || /^static / || /^VYN_CHOOSE_KERNELS/ { note(name_of($0)) }

function name_of(line, words, n) {
    if (line !~ /^[A-Za-z_]/ || line ~ /^(template|namespace|public|private|extern|using [^=]*;|[A-Z_]+\($)/)
        return ""
    if (line ~ /^[A-Z][A-Z_]+\(/) {  # a macro: its arguments make the name
        sub(/\).*/, "", line)
        return line
    }
    sub(/^(class|struct|union|enum class|enum) /, "", line) && sub(/[ :;{].*/, "", line)
    while (gsub(/<[^<>]*>/, "", line)) {}
    sub(/ *[({=;[].*/, "", line)
    n = split(line, words, /[^A-Za-z0-9_]+/)
    return words[n]
}

function note_enumerators(line, words, n, i) {
    gsub(/^[^{]*{ *|}.*$| *= *[^,}]*/, "", line)
    n = split(line, words, /[ ,]+/)
    for (i = 1; i <= n; ++i) note(words[i])
}

function note(name) {
    if (name != "") names[FILENAME] = names[FILENAME] name SUBSEP
}

END {
    for (i = 1; i <= count; ++i) {
        n = split(names[files[i]], own, SUBSEP) - 1
        for (group = 1;; ++group) {
            free = size[group] < most
            for (k = 1; free && k <= n; ++k) free = !((group, own[k]) in taken)
            if (free) break
        }
        ++size[group]
        for (k = 1; k <= n; ++k) taken[group, own[k]] = 1
        print files[i], group
    }
}
