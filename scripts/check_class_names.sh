#!/usr/bin/env bash
# No two classes of one program share a name: the linker would silently take one for the other. Classes of
# unnamed namespaces are of their file alone; those of the tests meet the product's and their own folder's.
set -eu
cd "${1:-.}"

find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' \) -print | sort | xargs awk '
    FNR == 1 { depth = 0; unnamed = 0 }
    /^namespace .*{$/ {
        space[++depth] = $2 == "{" ? "" : $2
        if ($2 == "{") ++unnamed
    }
    /^}  \/\/ namespace/ {
        if (space[depth] == "") --unnamed
        --depth
    }
    /^(class|struct|union|enum class|enum) [A-Za-z_][A-Za-z_0-9]*( final)?( :.*)?( *{.*)?$/ && !/^[^{]*;$/ && !unnamed {
        name = ""
        for (i = 1; i <= depth; ++i) name = name space[i] "::"
        word = $1 == "enum" && $2 == "class" ? $3 : $2
        split(FILENAME, part, "/")
        room = part[2] == "tests" || part[2] == "bench" || part[2] == "scripts" ? part[2] "/" part[3] : ""
        place = FILENAME ":" FNR
        n = ++count[name word]
        rooms[name word, n] = room
        for (i = 1; i < n; ++i)
            if (room == "" || rooms[name word, i] == "" || rooms[name word, i] == room)
                print place ": " name word " is also the name of the class at " places[name word, i]
        places[name word, n] = place
    }' | { ! grep .; }
