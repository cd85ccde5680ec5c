#!/usr/bin/env bash
# Unpacks the Debian packages that scripts/package has made, and builds the examples on them. Needs
# lintian and devscripts.
# Usage: package_test.sh SOURCE-FOLDER PACKAGES-FOLDER
set -euo pipefail

sources=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

lintian --fail-on error,warning --allow-root "$2"/*.changes

runtime=("$2"/libcirrus1_*.deb)
development=("$2"/libcirrus-dev_*.deb)

# field PACKAGE NAME PATTERN
field() {
    local value
    value=$(dpkg-deb -f "$1" "$2")
    [[ $value =~ $3 ]] || { echo "FAILED: ${1##*/}: $2: $value"; exit 1; }
}
version=$(sed -n 's/^#define CIRRUS_VERSION_[A-Z]* //p' "$sources/include/Cirrus/Version.h" | paste -sd.)
field "${runtime[0]}" Version "^$version$"
# What the sources ask of libcurl shows in no symbol.
field "${runtime[0]}" Depends 'libcurl4(t64)? \(>= 7\.85\).*libstdc\+\+6 '
field "${development[0]}" Depends 'libcirrus1 \(= .*libssl-dev'

dpkg-deb -x "${runtime[0]}" "$folder/root"
# Neither is a matter of this processor, and older versions do not know of the second.
ignored=(--nocfprotection)
if [[ $(hardening-check --help) == *nobranchprotection* ]]; then
    ignored+=(--nobranchprotection)
fi
hardening-check "${ignored[@]}" "$folder"/root/usr/lib/*/libCirrus.so.*.* >"$folder/hardening" ||
    { echo "FAILED: the library is not hardened"; cat "$folder/hardening"; exit 1; }
mapfile -t files < <(cd "$folder/root/usr/lib" && find . -not -type d | sed 's/[.0-9]*$//' | sort -u)
[[ ${files[*]##*/} == libCirrus.so ]] || { echo "FAILED: runtime holds ${files[*]}"; exit 1; }

dpkg-deb -x "${development[0]}" "$folder/root"
dpkg-deb -x "$2"/cirrus-tools_*.deb "$folder/root"
LD_LIBRARY_PATH=$(echo "$folder"/root/usr/lib/*) "$folder/root/usr/bin/cirrus-share" --emulator \
    "$sources/README.md" >/dev/null
for program in "$folder"/root/usr/bin/*; do
    [[ -e $folder/root/usr/share/man/man1/${program##*/}.1.gz ]] ||
        { echo "FAILED: no manual of ${program##*/}"; exit 1; }
done

dpkg-deb -x "$2"/cirrus-doc_*.deb "$folder/root"
documents=$folder/root/usr/share/doc/cirrus-doc
while read -r link; do
    [[ -e $documents/html/$link ]] || { echo "FAILED: a page links $link"; exit 1; }
done < <(grep -oh 'href="[^"#:]*\.[a-z]*' "$documents"/html/*.html | cut -c7- | sort -u)
for example in "$documents"/examples/*; do
    build=$folder/build/${example##*/}
    cmake -S "$example" -B "$build" -DCMAKE_PREFIX_PATH="$folder/root/usr" >/dev/null
    cmake --build "$build" --parallel "$(nproc)" >/dev/null
done
"$folder/build/offline_test/sharing_test" --gtest_brief=1
