#!/usr/bin/env bash
# With a token file, cirrus-share talks to https://www.googleapis.com as the system's resolver and
# CA store have it: here they lead to the emulator, on port 443 of a network namespace of its own.
# Usage: google_endpoint_test.sh PATH-OF-CIRRUS-SHARE PATH-OF-EMULATOR. Skipped (77) where
# namespaces can not be made.
set -euo pipefail

share=$1
emulator=$2
store=/etc/ssl/certs/ca-certificates.crt

if [[ ${3:-} != inside ]]; then
    unshare --mount --net true 2>/dev/null && [[ -e $store ]] && command -v ip >/dev/null || exit 77
    exec unshare --mount --net "$0" "$share" "$emulator" inside
fi

folder=$(mktemp -d)
cleanup() {
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
    rm -rf "$folder"
}
server=0
trap cleanup EXIT
ip link set lo up
: >"$folder/hosts"
mount --bind "$folder/hosts" /etc/hosts
printf 'the-token\n' >"$folder/token"
echo "some text" >"$folder/file.txt"

if "$share" --token-file "$folder/token" "$folder/file.txt" 2>"$folder/error"; then
    echo "FAILED: a host that nobody knows was found"
    exit 1
fi
grep -q "Could not connect to Google" "$folder/error"
echo "127.0.0.1 www.googleapis.com" >"$folder/hosts"

exec 3< <(exec "$emulator" --port 443 --token the-token --ca-file "$folder/ca.pem" \
    --client-file "$folder/client.json")
server=$!
# The last of the three lines that it prints once it listens.
while read -r -u 3 line && [[ $line != ca:* ]]; do :; done

# Not trusted yet.
if "$share" --token-file "$folder/token" "$folder/file.txt" 2>"$folder/error"; then
    echo "FAILED: an unknown authority was trusted"
    exit 1
fi
grep -q "certificate is not trusted" "$folder/error"

# Signing in gives a token that the Drive takes. Each attempt has a browser of its own, which opens
# a connection first that it does not use.
# Usage: sign_in CHANGE-OF-THE-ADDRESS
sign_in() {
    mkfifo "$folder/address"
    "$share" sign-in --client "$folder/client.json" --ca-file "$folder/ca.pem" \
        --save "$folder/signed-in" 2>"$folder/address" &
    exec 4<"$folder/address"
    rm "$folder/address"
    read -r -u 4 _
    read -r -u 4 address
    [[ $address =~ 127.0.0.1%3A([0-9]+) ]]
    exec 5<>"/dev/tcp/127.0.0.1/${BASH_REMATCH[1]}"
    curl --silent --location --cacert "$folder/ca.pem" "$(sed "$1" <<<"$address")" >"$folder/page"
    wait $!
}
sign_in '' || { echo "FAILED: signing in"; exit 1; }
[[ $(stat -c %a "$folder/signed-in") == 600 ]]
grep -q "close this page" "$folder/page"

mount --bind "$folder/ca.pem" "$store"
"$share" --token-file "$folder/token" "$folder/file.txt" | grep -qE '^https://drive\.google\.com/'
"$share" --token-file "$folder/signed-in" "$folder/file.txt" | grep -qE '^https://drive\.google\.com/'
if sign_in 's/code_challenge=..../code_challenge=AAAA/'; then
    echo "FAILED: a code was good for another program"
    exit 1
fi
