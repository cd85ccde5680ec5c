#!/usr/bin/env bash
# A host's process ends by itself, in whatever state its jobs are and however it is left.
# Usage: exit_test.sh PATH-OF-EXIT-HOST [world]. With "world" against a network that swallows
# everything, in a namespace of its own; that is skipped (77) where namespaces can not be made.
set -uo pipefail

host=$1
if [[ ${2:-} == world ]]; then
    unshare --mount --net true 2>/dev/null && command -v ip >/dev/null || exit 77
    exec unshare --mount --net "$0" "$host" inside
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
truncate --size 16M large
echo "some text" >small
failures=0

# expect_exit STATE WAY FILE...: that the host ends as it means to.
expect_exit() {
    timeout --signal KILL 20 "$host" "$@" >output 2>&1 </dev/null
    local status=$?
    if [[ $status != 7 || -s output ]]; then
        echo "FAILED: exit_host $*: status $status"
        cat output
        failures=$((failures + 1))
    fi
}

if [[ ${2:-} == inside ]]; then
    # Nothing inherited from whoever runs this may look like a descriptor of the library's.
    for descriptor in $(ls "/proc/$$/fd"); do
        ((descriptor > 2 && descriptor != 255)) && eval "exec $descriptor>&-"
    done
    # What comes back from the loopback device to no address of ours is dropped.
    ip link set lo up
    ip route add default dev lo
    # Not the pairs that libcurl wakes itself with: they lead nowhere, and it keeps them to itself.
    cat >nothing_is_inherited <<'END'
#!/bin/sh
inodes=$(awk '{ print $10 }' /proc/net/tcp /proc/net/udp | paste -sd '|')
! ls -l /proc/self/fd | grep -E "anon_inode|socket:\[($inodes)\]"
END
    chmod +x nothing_is_inherited
    echo "nameserver 192.0.2.1" >resolv.conf
    echo "192.0.2.2 www.googleapis.com" >hosts
    mount --bind resolv.conf /etc/resolv.conf
    expect_exit world return
    expect_exit world exit
    mount --bind hosts /etc/hosts
    expect_exit world return
    expect_exit world exit
    exit $((failures != 0))
fi

for way in return leak exit completion log; do
    expect_exit idle "$way"
    expect_exit started "$way" small
    expect_exit answer "$way" small
    expect_exit "answer cancelled" "$way" small
    expect_exit body "$way" large
    expect_exit "done" "$way" small
done
# In the middle of a step the callback thread is taken, and nothing can be logged there.
for way in return leak exit completion; do
    expect_exit step "$way" small
done
# The library waits for a step, but not for ever. A file that is missing has a task and a line behind.
expect_exit stuck leak missing
expect_exit stuck exit missing
exit $((failures != 0))
