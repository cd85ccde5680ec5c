"""Runs both contenders, each time against a fresh emulator on the other core."""

import contextlib
import dataclasses
import os
import pathlib
import signal
import statistics
import subprocess
import sys

CONTENDER_CORE = 0
SERVER_CORE = 1
NAMESPACES = [f"cirrus-{side}-{os.getpid()}" for side in ("client", "server")]
CONTENDERS = {"Cirrus": "cirrus", "bare libcurl": "curl"}


@dataclasses.dataclass(frozen=True)
class Link:
    round_trip: float  # seconds
    bits_per_second: int = 0  # 0: no limit


@dataclasses.dataclass(frozen=True)
class Workload:
    key: str
    title: str
    files: int
    size: int
    rounds: int
    marks: tuple
    jobs: int = 1
    link: Link | None = None

    @property
    def requests(self):
        """To find and create the root folder, create the destination, share it and get its link;
        two for each file."""
        return self.jobs * (2 * self.files + 5)


class Figures(dict):
    """What each round of one contender measured: a list of numbers by name."""

    def add(self, figures):
        for name, value in figures.items():
            self.setdefault(name, []).append(value)

    def median(self, name):
        return statistics.median(self[name])


def as_root(*command):
    return list(command) if os.geteuid() == 0 else ["sudo", *command]


def pinned(core, command, namespace=None):
    entered = as_root("ip", "netns", "exec", namespace) if namespace else []
    return [*entered, "taskset", "-c", str(core), *map(str, command)]


def output_of(command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout


def pairs(line):
    """The figures of a line of alternating names and numbers."""
    words = line.split()
    return {name: float(value) for name, value in zip(words[::2], words[1::2])}


class Server:
    """An emulator in a process of its own. It keeps no contents, only their sizes."""

    def __init__(self, bin_folder, authority, namespace):
        self.process = subprocess.Popen(
            pinned(SERVER_CORE, [bin_folder / "cirrus-drive-emulator", "--discard", "--list",
                                 "--ca-file", authority, "--token", "token"], namespace),
            stdout=subprocess.PIPE, text=True)
        lines = [self.process.stdout.readline() for _ in range(3)]
        self.port = int(lines[0].rsplit(":", 1)[1])

    def stop(self):
        """Ends it. Returns how many files and bytes it has received."""
        self.process.send_signal(signal.SIGTERM)
        listing, _ = self.process.communicate()
        sizes = [int(line.split("\t")[1]) for line in listing.splitlines()]
        return len(sizes), sum(sizes)


@contextlib.contextmanager
def joined_namespaces(bin_folder, link):
    """Two network namespaces, one for the contender and one for the server, joined by `link`."""

    def within(namespace, *words):
        subprocess.run(as_root("ip", "-n", namespace, *words), check=True)

    relay = None
    try:
        for namespace, address, peer in zip(NAMESPACES, ("10.0.0.1", "127.0.0.1"),
                                            ("127.0.0.1", "10.0.0.1")):
            subprocess.run(as_root("ip", "netns", "add", namespace), check=True)
            within(namespace, "tuntap", "add", "link0", "mode", "tun")
            # The emulator listens on 127.0.0.1 only, so the link has to lead there. A connection must
            # not profit from what the kernel learnt from the one before.
            subprocess.run(as_root("ip", "netns", "exec", namespace, "sysctl", "-q", "-w",
                                   "net.ipv4.conf.link0.route_localnet=1",
                                   "net.ipv4.tcp_no_metrics_save=1"), check=True)
            within(namespace, "link", "set", "link0", "up")
            if peer == "127.0.0.1":
                within(namespace, "address", "add", address, "dev", "link0")
            else:
                within(namespace, "link", "set", "lo", "up")
            within(namespace, "route", "add", peer, "dev", "link0", "src", address)
        relay = subprocess.Popen(
            pinned(SERVER_CORE, [bin_folder / "cirrus-bench-link", *NAMESPACES,
                                 round(link.round_trip / 2 * 1e6), link.bits_per_second]),
            stdout=subprocess.PIPE, text=True)
        relay.stdout.readline()
        yield NAMESPACES
    finally:
        if relay:
            relay.terminate()
            relay.wait()
        for namespace in NAMESPACES:
            subprocess.run(as_root("ip", "netns", "delete", namespace), check=False)


def measured_round_trip(bin_folder, authority, namespaces):
    """The median time that connecting over the link takes, in seconds."""
    probe = ("import socket, statistics, sys, time\n"
             "def connect():\n"
             "    start = time.monotonic()\n"
             "    with socket.create_connection(('127.0.0.1', int(sys.argv[1]))):\n"
             "        return time.monotonic() - start\n"
             "print(statistics.median(connect() for _ in range(31)))")
    client, server_side = namespaces
    server = Server(bin_folder, authority, server_side)
    try:
        return float(output_of(pinned(CONTENDER_CORE, [sys.executable, "-c", probe, server.port],
                                      client)))
    finally:
        server.stop()


def make_files(folder, workload):
    """Files of distinct names that all are the same random bytes, stored once."""
    folder.mkdir()
    first = folder / "00000.bin"
    with open(first, "wb") as file:
        for start in range(0, workload.size, 1 << 20):
            file.write(os.urandom(min(1 << 20, workload.size - start)))
    for number in range(1, workload.files):
        os.link(first, folder / f"{number:05}.bin")


def run_once(bin_folder, folder, workload, contender, namespaces):
    """One run in a process of its own. Raises unless every byte has arrived."""
    client, server_side = namespaces
    authority = folder.parent / "authority.pem"
    server = Server(bin_folder, authority, server_side)
    try:
        figures = pairs(output_of(pinned(
            CONTENDER_CORE,
            [bin_folder / "cirrus-bench-contender", "--contender", CONTENDERS[contender],
             "--server", server.port, "--ca", authority, "--token", "token",
             "--jobs", workload.jobs, folder], client)))
    finally:
        received = server.stop()
    files = workload.jobs * workload.files
    if received != (files, files * workload.size):
        raise RuntimeError(f"{workload.title}, {contender}: {received} arrived")
    return figures


def measure(bin_folder, scratch, workload, factor):
    """The figures of both contenders by name. In every other round the second goes first."""
    folder = pathlib.Path(scratch) / workload.key
    make_files(folder, workload)
    figures = {contender: Figures() for contender in CONTENDERS}
    with contextlib.ExitStack() as stack:
        namespaces = (None, None)
        if workload.link:
            namespaces = stack.enter_context(joined_namespaces(bin_folder, workload.link))
            figures["Cirrus"].add({"round trip": measured_round_trip(
                bin_folder, folder.parent / "authority.pem", namespaces)})
        else:  # loads the programs and the files into memory
            run_once(bin_folder, folder, workload, "Cirrus", namespaces)
        rounds = max(1, round(workload.rounds * factor))
        for number in range(rounds):
            print(f"\r{workload.title}: round {number + 1} of {rounds}", end="", file=sys.stderr,
                  flush=True)
            for contender in list(CONTENDERS)[::-1 if number % 2 else 1]:
                figures[contender].add(
                    run_once(bin_folder, folder, workload, contender, namespaces))
        print(file=sys.stderr)
    return figures
