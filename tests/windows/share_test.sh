#!/usr/bin/env bash
# Shares from Windows programs, under Wine, with the emulator on port 443 of a network namespace of
# its own: bytes, names, a refused connection, the idle limit, and ends in mid-upload.
# Usage: share_test.sh FOLDER-OF-THE-PROGRAMS PATH-OF-EMULATOR
set -euo pipefail

programs=$1
emulator=$2

if [[ ${3:-} != inside ]]; then
    # It opens the sockets of all programs, in the namespace in which it was started.
    wineserver -k 2>/dev/null || true
    wineserver -w
    exec unshare --mount --net "$0" "$programs" "$emulator" inside
fi

folder=$(mktemp -d)
server=0
cleanup() {
    wineserver -k 2>/dev/null || true
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
    rm -rf "$folder"
}
trap cleanup EXIT
ip link set lo up
echo "127.0.0.1 www.googleapis.com" >"$folder/hosts"
mount --bind "$folder/hosts" /etc/hosts
printf 'the-token\n' >"$folder/token"
export WINEDEBUG=-all
compiler=$(x86_64-w64-mingw32-g++-posix -print-file-name=libstdc++-6.dll)
WINEPATH="$(winepath -w "${compiler%/*}");$(winepath -w /usr/x86_64-w64-mingw32/lib)"
export WINEPATH

failures=0
# check PROMISE COMMAND...
check() {
    local promise=$1
    shift
    if ! "$@"; then
        echo "FAILED: $promise"
        cat "$folder/output" "$folder/error"
        failures=$((failures + 1))
    else
        echo "passed: $promise"
    fi
}

# share ARGUMENT...: its status in $status, its seconds in $seconds
share() {
    local begin=$SECONDS
    status=0
    wine "$programs/cirrus-share.exe" --token-file "$folder/token" "$@" \
        >"$folder/output" 2>"$folder/error" || status=$?
    seconds=$((SECONDS - begin))
}

says() { grep -q -- "$1" "$folder/error"; }

# start OPTION...: the emulator
start() {
    exec 3< <(exec "$emulator" --port 443 --token the-token --ca-file "$folder/ca.pem" --list "$@")
    server=$!
    while read -r -u 3 line && [[ $line != ca:* ]]; do :; done
}

# What the emulator holds at its end, in $held.
stop() {
    kill "$server" || true
    cat <&3 >"$folder/held"
    wait "$server" || true
}

cd "$folder"
mkdir files
head -c 3000000 /dev/urandom >"files/three megabytes.bin"
printf 'line\r\n\032end' >"files/ж 日本 é.txt"
: >files/empty
deep=$folder/files/$(printf 'd%.0s' {1..120})/$(printf 'e%.0s' {1..150})
mkdir -p "$deep"
echo deep >"$deep/deep.txt"

share files/empty
check "a refused connection is told" says "Could not connect to Google"
check "a failure is the status" [ "$status" = 1 ]

start
# On Windows, the authority would have to be in the store first. Wine's Schannel trusts everybody.
share "files/three megabytes.bin" "files/ж 日本 é.txt" files/empty \
    "Z:${deep//\//\\}\deep.txt" # winepath cuts at 260 characters
check "the link is written" grep -qE '^https://drive\.google\.com/drive/folders/' output
stop
while read -r file; do
    sum=$(sha256sum <"$file" | cut -d' ' -f1)
    check "$file arrives byte by byte" \
        grep -qP "^Stashly/Shared files/\Q$(basename "$file")\E\t\d+\t$sum$" held
done < <(find files -type f)

# A server that stands still: the idle limit, by libcurl's counts.
start
kill -STOP "$server"
share files/empty
check "a silent server ends the job" says "did not answer in time"
check "after ten seconds ($seconds s)" test "$seconds" -ge 9 -a "$seconds" -le 14
kill -CONT "$server"
stop

start --rate 200000
wine "$programs/cirrus-share.exe" --token-file token "files/three megabytes.bin" >output 2>error &
until grep -q "%" error || ! kill -0 "$!" 2>/dev/null; do :; done
kill -INT "$!"
status=0
wait "$!" || status=$?
check "Ctrl-C ends it (status $status)" [ "$status" = 130 ]
begin=$SECONDS
status=0
wine "$programs/cirrus_windows_exit.exe" the-token "files/three megabytes.bin" || status=$?
check "the process can end in mid-upload (status $status)" [ "$status" = 3 ]
check "and at once" test $((SECONDS - begin)) -le 4
stop
check "nothing of what was stopped is there" [ ! -s held ]
exit $((failures != 0))
