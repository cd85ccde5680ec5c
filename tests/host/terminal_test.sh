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
expect 0 "$link" '[0-9]:[0-9]{2}\.[0-9]{3} [0-9]+ detail uploadNextItem\(\)' --emulator --log "a file.txt"
expect 1 '^$' 'in the future' --emulator --email a@example.com --expires 2020-01-01 "a file.txt"
expect 2 '^$' 'files is required' --emulator
expect 2 '^$' 'Exactly 1 option from .--token-file,--emulator' "a file.txt"
expect 2 '^$' 'not a date' --emulator --expires tomorrow "a file.txt"
expect 2 '^$' 'missing' --emulator missing
expect 2 '^$' 'not a date' --emulator --expires 2035-02-31 "a file.txt"
expect 2 '^$' 'not a date' --emulator --expires ' 2035-02-01' "a file.txt"
expect 2 '^$' 'not a file that can be read: \.' --emulator .
mkdir empty && touch empty/token
for token in empty empty/token missing; do
    expect 2 '^$' "there is no token in $token" --token-file "$token" "a file.txt"
done
expect 0 'Shares files' '^$' --help
expect 0 'cirrus-share [0-9]' '^$' --version

# An empty value is a value, and the file behind it is shared.
expect 0 "$link" '' --emulator --message= --contents held "a file.txt"
[[ -s held ]] || { echo "FAILED: the file behind an empty value"; failures=$((failures + 1)); }

# The end is exact: a minute that has passed is refused, the next one is not.
expect 1 '^$' 'in the future' --emulator --email a@example.com \
    --expires "$(date -d '-30 seconds' +%FT%H:%M)" "a file.txt"
expect 0 "$link" '' --emulator --email a@example.com --expires "$(date -d '+2 minutes' +%FT%H:%M)" "a file.txt"

# What a name holds is shown, and commands no terminal.
touch $'\x1b[31mred\xe9\xc2\x9b'
expect 0 "$link" 'share: \\x1b\[31mred\\xe9\\xc2\\x9b' --emulator $'\x1b[31mred\xe9\xc2\x9b'

"$share" --emulator "a file.txt" >/dev/full 2>error
[[ $? == 1 && $(<error) == *"could not be written"* ]] ||
    { echo "FAILED: lost output: $(<error)"; failures=$((failures + 1)); }

# On a terminal the bar is as wide as that, and lines of the log stand alone.
script -qec "stty cols 40; '$share' --emulator --log 'a file.txt'" screen </dev/null >/dev/null
tr '\r' '\n' <screen | sed 's/\x1b\[K//g' | grep -a '^\[' | awk 'length > 40 { exit 1 }' &&
    ! grep -aE '%[0-9].*detail|detail.*\[#' screen >/dev/null && grep -aq '^\|\[#*\.*\]' screen ||
    { echo "FAILED: the bar"; failures=$((failures + 1)); }

# Interrupted while it uploads, with far too much left to be done by then. A shell has its background
# jobs ignore SIGINT, and that must stay so.
mapfile -t many < <(for number in {1..3000}; do echo "$number"; done)
touch "${many[@]}"
mkfifo progress
"$share" --emulator "${many[@]}" >output 2>progress &
exec 3<progress
read -r -u 3 first
kill -INT $!
read -r -u 3 second
kill -TERM $!
wait $!
status=$?
[[ $first == "0 %" && $second == "10 %" && $status == 130 && ! -s output ]] ||
    { echo "FAILED: interrupt: $first, $second, status $status"; failures=$((failures + 1)); }

exit $((failures != 0))
