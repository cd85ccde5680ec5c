"""Runs contenders against a fresh local Drive each time, pinned apart from it."""

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
ROUND_TRIP = 0.050
NAMESPACES = ("cirrus-bench-client", "cirrus-bench-server")


@dataclasses.dataclass(frozen=True)
class Contender:
    name: str
    arguments: tuple = ()
    preload: str = ""


@dataclasses.dataclass(frozen=True)
class Workload:
    key: str
    title: str
    files: int
    size: int
    rounds: int
    contenders: tuple
    jobs: int = 1
    is_delayed: bool = False

    @property
    def requests(self):
        return self.jobs * (2 * self.files + 5)


class Figures:
    """What the rounds of one contender came to: a list of numbers by name."""

    def __init__(self):
        self.rounds = {}

    def add(self, figures):
        for name, value in figures.items():
            self.rounds.setdefault(name, []).append(value)

    def median(self, name):
        return statistics.median(self.rounds[name])

    def spread(self, name):
        return min(self.rounds[name]), max(self.rounds[name])


def as_root(*command):
    return list(command) if os.geteuid() == 0 else ["sudo", *command]


def pinned(core, command, namespace=None):
    entered = as_root("ip", "netns", "exec", namespace) if namespace else []
    return [*entered, "taskset", "-c", str(core), *map(str, command)]


def pairs(line):
    """The figures of a line of names and numbers in turn."""
    words = line.split()
    return {name: float(value) for name, value in zip(words[::2], words[1::2])}


class Server:
    """A local Drive in a process of its own that keeps no contents."""

    def __init__(self, bin_folder, authority, namespace=None):
        self.authority = authority
        self.process = subprocess.Popen(
            pinned(SERVER_CORE, [bin_folder / "cirrus-drive-emulator", "--discard", "--list",
                                 "--ca-file", authority, "--token", "token"], namespace),
            stdout=subprocess.PIPE, text=True)
        lines = [self.process.stdout.readline() for _ in range(3)]
        self.port = int(lines[0].rsplit(":", 1)[1])

    def processor_seconds(self):
        fields = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1]
        ticks = sum(int(field) for field in fields.split()[11:13])
        return ticks / os.sysconf("SC_CLK_TCK")

    def stop(self):
        """Ends it; how many files and bytes it has received."""
        self.process.send_signal(signal.SIGTERM)
        listing, _ = self.process.communicate()
        sizes = [int(line.split("\t")[1]) for line in listing.splitlines()]
        return len(sizes), sum(sizes)


@contextlib.contextmanager
def delayed_link(bin_folder):
    """Two network namespaces with half the round trip between them in each direction."""

    def within(namespace, *words):
        subprocess.run(as_root("ip", "-n", namespace, *words), check=True)

    relay = None
    try:
        for namespace, address, peer in zip(NAMESPACES, ("10.0.0.1", "127.0.0.1"),
                                            ("127.0.0.1", "10.0.0.1")):
            subprocess.run(as_root("ip", "netns", "add", namespace), check=True)
            within(namespace, "tuntap", "add", "link0", "mode", "tun")
            # The Drive listens on its loopback address only, so that is what the link leads to.
            subprocess.run(as_root("ip", "netns", "exec", namespace, "sysctl", "-q", "-w",
                                   "net.ipv4.conf.link0.route_localnet=1"), check=True)
            within(namespace, "link", "set", "link0", "up")
            if peer == "127.0.0.1":
                within(namespace, "address", "add", address, "dev", "link0")
            else:
                within(namespace, "link", "set", "lo", "up")
            within(namespace, "route", "add", peer, "dev", "link0", "src", address)
        relay = subprocess.Popen(
            pinned(SERVER_CORE, [bin_folder / "cirrus-bench-link", *NAMESPACES,
                                 round(ROUND_TRIP / 2 * 1e6)]),
            stdout=subprocess.PIPE, text=True)
        relay.stdout.readline()
        yield
    finally:
        if relay:
            relay.terminate()
            relay.wait()
        for namespace in NAMESPACES:
            subprocess.run(as_root("ip", "netns", "delete", namespace), check=False)


def round_trip(bin_folder, authority):
    """The median time that connecting over the delayed link takes, in seconds."""
    probe = ("import socket, statistics, sys, time\n"
             "def connect():\n"
             "    start = time.monotonic()\n"
             "    with socket.create_connection(('127.0.0.1', int(sys.argv[1]))):\n"
             "        return time.monotonic() - start\n"
             "print(statistics.median(connect() for _ in range(31)))")
    client, server_side = NAMESPACES
    server = Server(bin_folder, authority, server_side)
    try:
        return float(subprocess.run(
            pinned(CONTENDER_CORE, [sys.executable, "-c", probe, server.port], client),
            check=True, text=True, stdout=subprocess.PIPE).stdout)
    finally:
        server.stop()


def make_files(folder, workload):
    """Distinct names; large contents are stored once."""
    folder.mkdir()
    first = folder / "00000.bin"
    with open(first, "wb") as file:
        for start in range(0, workload.size, 1 << 20):
            file.write(os.urandom(min(1 << 20, workload.size - start)))
    for number in range(1, workload.files):
        os.link(first, folder / f"{number:05}.bin")


def run_once(bin_folder, folder, workload, contender):
    """One run of one contender in a fresh process; checks that everything arrived."""
    client, server_side = NAMESPACES if workload.is_delayed else (None, None)
    server = Server(bin_folder, folder.parent / "authority.pem", server_side)
    try:
        environment = dict(os.environ, LD_PRELOAD=contender.preload)
        command = pinned(CONTENDER_CORE,
                         [bin_folder / "cirrus-bench-contender", "--server", server.port, "--ca",
                          server.authority, "--token", "token", "--jobs", workload.jobs,
                          *contender.arguments, folder], client)
        figures = pairs(subprocess.run(command, env=environment, check=True, text=True,
                                       stdout=subprocess.PIPE).stdout)
        figures["server"] = server.processor_seconds()
    finally:
        received = server.stop()
    files = workload.jobs * workload.files
    if received != (files, files * workload.size):
        raise RuntimeError(f"{workload.key}, {contender.name}: {received} has arrived")
    return figures


def measure(bin_folder, scratch, workload, factor):
    """The figures of each contender by name; the contenders take turns."""
    folder = pathlib.Path(scratch) / workload.key
    make_files(folder, workload)
    figures = {contender.name: Figures() for contender in workload.contenders}
    with delayed_link(bin_folder) if workload.is_delayed else contextlib.nullcontext():
        extra = {}
        if workload.is_delayed:
            extra["round trip"] = round_trip(bin_folder, folder.parent / "authority.pem")
        else:  # brings the files into memory
            run_once(bin_folder, folder, workload, workload.contenders[0])
        for number in range(max(1, round(workload.rounds * factor))):
            turn = number % len(workload.contenders)
            for contender in workload.contenders[turn:] + workload.contenders[:turn]:
                one = run_once(bin_folder, folder, workload, contender)
                figures[contender.name].add(one | extra)
    return figures
