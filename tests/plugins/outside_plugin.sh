#!/usr/bin/env bash
# Programs find the installed plug-ins by themselves, and one from outside of the tree where they are told: builds
# the example against an installation of the package, has the program at $2 convert a picture through it, there
# and back, and asks for the same text again.
# $1: source tree; $3: build tree; $4: C++ compiler; $5: interpreter of the Python module, or nothing
set -euo pipefail
source=$1 program=$2 build=$3 compiler=$4 python=${5:-}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

for component in program development ${python:+python}; do
    cmake --install "$build" --prefix "$folder/prefix" --component $component >/dev/null
done
cmake -S "$source/examples/plugin" -B "$folder/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$folder/prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
if grep -F -e "$source/core" -e "-I$source " "$folder/build/compile_commands.json"; then
    echo "The example sees headers of the source tree" >&2
    exit 1
fi
cmake --build "$folder/build"

cd "$folder"
printf 'vynlite-text 3 2\n1 2.5 -\n-4 1000000 0.125\n' >there.vtext
if VYNLITE_PLUGINS=$build/lib/plugins "$program" convert there.vtext without.tif 2>/dev/null; then
    echo "The picture was read without the plug-in" >&2
    exit 1
fi
export VYNLITE_PLUGINS=$build/lib/plugins:$folder/build
"$program" convert there.vtext picture.tif
"$program" convert picture.tif back.vtext
diff there.vtext back.vtext

unset VYNLITE_PLUGINS
prefix/bin/vynlite-batch convert picture.tif picture.fit
[ -z "$python" ] ||
    PYTHONPATH=prefix/lib/python3/dist-packages "$python" -B -c 'import vynlite; vynlite.read("picture.fit")'
