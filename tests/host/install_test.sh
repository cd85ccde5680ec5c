#!/usr/bin/env bash
# Installs a build tree into an empty prefix and uses it as hosts do, with each compiler.
# Usage: install_test.sh SOURCE-FOLDER BUILD-FOLDER
set -euo pipefail

sources=$1
build=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Werror)
host=$sources/examples/offline_test

cmake --install "$build" --prefix "$folder/first" >/dev/null
# Nothing may remember where it was installed.
prefix=$folder/prefix
mv "$folder/first" "$prefix"
library=$(find "$prefix" -name libCirrus.so)
export PKG_CONFIG_PATH=${library%/*}/pkgconfig LD_LIBRARY_PATH=${library%/*}

echo "== only the public interface is exported"
exported=$(nm -DC --defined-only "$library" | cut -d' ' -f3-)
grep -q '^cirrus::ShareController::cancel()' <<<"$exported"
if grep -vE '^(CIRRUS_1|((typeinfo( name)?|vtable) for )?cirrus::.*)$' <<<"$exported"; then
    exit 1
fi

compilers=(g++)
if clang=$("$sources"/scripts/tool clang++ 2>/dev/null); then
    compilers+=("$clang")
fi
for compiler in "${compilers[@]}"; do
    echo "== $compiler: each header alone"
    read -ra paths <<<"$(pkg-config --cflags cirrus cirrus-emulator)"
    read -ra toolkits <<<"$(pkg-config --cflags Qt6Core glib-2.0 | sed 's/-I/-isystem /g')"
    while read -r header; do
        "$compiler" -std=c++23 -fPIC -fsyntax-only "${warnings[@]}" "${paths[@]}" "${toolkits[@]}" \
            -include "$header" -x c++ /dev/null
    done < <(find "$prefix/include" -name '*.h')

    echo "== $compiler: an older language is refused in words"
    if "$compiler" -std=c++20 -fsyntax-only "${paths[@]}" -include Cirrus/Cirrus.h -x c++ /dev/null \
        2>"$folder/refusal"; then
        exit 1
    fi
    grep -q 'Cirrus needs C++23' "$folder/refusal"

    echo "== $compiler: find_package"
    cmake -S "$host" -B "$folder/$compiler" -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_CXX_FLAGS="${warnings[*]}" -DCMAKE_NO_SYSTEM_FROM_IMPORTED=ON \
        -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$folder/$compiler" >/dev/null
    "$folder/$compiler/sharing_test" --gtest_brief=1

    echo "== $compiler: pkg-config"
    mkdir "$folder/$compiler.make"
    make -C "$folder/$compiler.make" -f "$sources/tests/host/consumers/pkg_config/Makefile" \
        CXX="$compiler" HOST="$host" >/dev/null
    "$folder/$compiler.make/sharing_test" --gtest_brief=1
done

# Usage: expect_refusal NAME SED-SCRIPT MESSAGE
expect_refusal() {
    mkdir "$folder/$1"
    sed "$2" "$host/CMakeLists.txt" >"$folder/$1/CMakeLists.txt"
    if cmake -S "$folder/$1" -B "$folder/$1/build" -DCMAKE_PREFIX_PATH="$prefix" >"$folder/out" 2>&1; then
        exit 1
    fi
    tr -s ' \n' ' ' <"$folder/out" | grep -qF "$3"
}

echo "== another version is refused, and so is a component that is not there"
expect_refusal later 's/find_package(Cirrus 1.0/find_package(Cirrus 2.0/' 'requested version "2.0"'
expect_refusal unknown 's/COMPONENTS Emulator/COMPONENTS Emulater/' 'Cirrus has no component "Emulater"'
expect_refusal missing 's/COMPONENTS Emulator/COMPONENTS Static/' 'installed without its component Static'
