#!/usr/bin/env bash
# Tries cirrus-share as a user would. Usage: terminal_test.sh PATH-OF-CIRRUS-SHARE
set -uo pipefail

share=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
echo "some text" >"a file.txt"
failures=0

# expect STATUS OUTPUT-PATTERN ERROR-PATTERN ARGUMENT...
expect() {
    local status=$1 output=$2 error=$3
    shift 3
    "$share" "$@" >output 2>error
    local got=$?
    if [[ $got != "$status" || ! $(<output) =~ $output || ! $(<error) =~ $error ]]; then
        echo "FAILED: cirrus-share $*: status $got"
        cat output error
        failures=$((failures + 1))
    fi
}

link='^https://drive\.google\.com/drive/folders/[A-Za-z0-9_-]+$'
expect 0 "$link" '^100 %$' --emulator --contents held "a file.txt"
[[ $(<held) == "$(sha256sum <"a file.txt" | cut -d' ' -f1)  Stashly/Shared files/a file.txt" ]] ||
    { echo "FAILED: contents"; failures=$((failures + 1)); }
expect 0 "$link" 'detail uploadNextItem\(\)' --emulator --log "a file.txt"
expect 1 '^$' 'in the future' --emulator --email a@example.com --expires 2020-01-01 "a file.txt"
expect 2 '^$' 'files is required' --emulator
expect 2 '^$' 'Exactly 1 option from .--token-file,--emulator' "a file.txt"
expect 2 '^$' 'not a date' --emulator --expires tomorrow "a file.txt"
expect 2 '^$' 'missing' --emulator missing
expect 0 'Shares files' '^$' --help

# Interrupted as soon as it uploads, with far too much left to be done by then.
mapfile -t many < <(for number in {1..3000}; do echo "$number"; done)
touch "${many[@]}"
mkfifo progress
"$share" --emulator "${many[@]}" >output 2>progress &
exec 3<progress
read -r -u 3 first
kill -INT $!
wait $!
status=$?
[[ $first == "0 %" && $status == 130 && ! -s output ]] ||
    { echo "FAILED: interrupt: $first, status $status"; failures=$((failures + 1)); }

exit $((failures != 0))
