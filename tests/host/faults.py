"""Lets single system calls of a host fail. See scripts/faults."""

import argparse
import collections
import concurrent.futures
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile
import time

# What the system may answer. Calls are those of the x86-64 and of the arm64 interface.
ERRORS = {
    **dict.fromkeys(["socket", "socketpair", "eventfd2", "pipe2", "dup", "epoll_create1"],
                    ["EMFILE", "ENOMEM"]),
    "connect": ["EINTR", "ECONNREFUSED", "ENETUNREACH", "ENOMEM"],
    **dict.fromkeys(["bind", "listen"], ["EADDRINUSE", "ENOMEM"]),
    **dict.fromkeys(["accept", "accept4"], ["EINTR", "EMFILE"]),
    **dict.fromkeys(["sendto", "sendmsg", "sendmmsg"],
                    ["EINTR", "EAGAIN", "ECONNRESET", "EPIPE", "ENOMEM"]),
    **dict.fromkeys(["recvfrom", "recvmsg"], ["EINTR", "EAGAIN", "ECONNRESET", "ENOMEM"]),
    **dict.fromkeys(["read", "pread64", "readv"], ["EINTR", "EAGAIN", "EIO", "ENOMEM"]),
    **dict.fromkeys(["write", "writev"], ["EINTR", "EAGAIN", "EIO", "ENOMEM"]),
    **dict.fromkeys(["poll", "ppoll", "epoll_wait", "select", "pselect6"], ["EINTR", "ENOMEM"]),
    **dict.fromkeys(["open", "openat"], ["EINTR", "EMFILE", "EIO", "ENOMEM"]),
    **dict.fromkeys(["stat", "fstat", "lstat", "newfstatat", "statx", "access", "lseek",
                     "readlink", "getdents64"], ["EIO", "ENOMEM"]),
    **dict.fromkeys(["mmap", "munmap", "mremap", "mprotect", "brk", "madvise"], ["ENOMEM"]),
    **dict.fromkeys(["clone", "clone3"], ["EAGAIN", "ENOMEM"]),
    **dict.fromkeys(["getsockopt", "setsockopt", "getsockname", "getpeername"],
                    ["ENOTCONN", "ENOMEM"]),
    "fcntl": ["EINTR", "ENOMEM"],
    "ioctl": ["EINTR", "ENOMEM"],
    "getrandom": ["EINTR", "EAGAIN"],
    "sysinfo": ["ENOMEM"],
}
# Calls that cannot fail, not in an honest way, or (futex) not without breaking the C library; and
# what the host does on its own account.
SPARED = set("""close futex exit exit_group rseq set_robust_list rt_sigprocmask rt_sigaction
    sigaltstack gettid getpid getppid getuid geteuid getgid getegid prctl sched_yield uname
    restart_syscall clock_gettime set_tid_address rt_sigtimedwait mkdir mkdirat alarm
    setitimer sched_getaffinity clock_nanosleep""".split())

Run = collections.namedtuple("Run", "mode call error number")


class Outcome:
    """What came of a host whose first job strace looked at. Each has an emulator of its own."""

    def __init__(self, programs, folder, mode, words):
        files = [folder / name for name in ("small", "large", "empty")]
        for path, size in zip(files, (5000, 3000000, 0)):
            path.write_bytes(bytes(size))
        emulator = subprocess.Popen(
            [programs / "cirrus-drive-emulator", "--token", "token", "--list", "--requests",
             "--ca-file", folder / "authority"], stdout=subprocess.PIPE, text=True)
        port = [emulator.stdout.readline() for _ in range(3)][0].strip().rsplit(":", 1)[1]
        self.host = subprocess.Popen(
            [programs / "faults_host", mode, port, folder / "authority", *files], cwd=folder,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.wait((folder / "ready").exists)
        tracer = subprocess.Popen(["strace", "-f", "-yy", "-p", str(self.host.pid),
                                   "-o", folder / "log", *words], stderr=subprocess.DEVNULL)
        self.wait(self.is_traced)
        self.host.send_signal(signal.SIGUSR1)
        self.wait((folder / "first").exists)
        tracer.terminate()
        tracer.wait()
        self.host.send_signal(signal.SIGUSR1)
        self.wait((folder / "second").exists)
        self.usage = self.count_usage() if self.host.poll() is None else {}
        self.host.send_signal(signal.SIGUSR1)
        self.output = self.host.communicate()[0].splitlines()
        emulator.terminate()
        listed = [line.split("\t") for line in emulator.communicate()[0].splitlines()]
        self.uploads = collections.Counter(
            words[0] for words in listed if words[0].startswith("Root/"))
        # A session's address is used once; other requests are told apart by what they are about.
        self.requests = collections.Counter(
            words[1] if "upload_id" in words[1] else
            f"{words[0]} {re.sub('files/[^/]+', 'files/ID', words[1].split('?')[0])}"
            for words in listed if words[1].startswith("/"))
        # Thread by thread, so that the two halves of a call follow each other.
        lines = (folder / "log").read_text(errors="replace").splitlines()
        self.log = "\n".join(sorted(lines, key=lambda line: line.split()[0]))

    def is_traced(self):
        status = pathlib.Path(f"/proc/{self.host.pid}/status").read_text()
        return "TracerPid:\t0" not in status

    def count_usage(self):
        """Threads, and descriptors other than connections, of which the library may keep some."""
        process = pathlib.Path(f"/proc/{self.host.pid}")
        descriptors = [os.readlink(path) for path in (process / "fd").iterdir()]
        return {"threads": len(list((process / "task").iterdir())),
                "descriptors": sum(not held.startswith("socket:") for held in descriptors)}

    def wait(self, condition):
        while not condition() and self.host.poll() is None:
            time.sleep(0.002)

    def is_possible(self):
        """Whether a call has failed, and with what the system may answer: the pair of sockets with
        which libcurl wakes its own loop is never full, and never loses its other end."""
        return "(INJECTED)" in self.log and not re.search(
            r"<UNIX.*(\n.*resumed.*)?(EAGAIN|ECONNRESET|EPIPE) .*INJECTED", self.log)

    def broken_promise(self, plain):
        """What should not have happened, compared with a run in which no call failed."""
        status = self.host.returncode
        done = ("first", "next")[len(self.output) >= 1]
        if status == -signal.SIGALRM:
            return f"the {done} job does not end"
        if status != 0 or len(self.output) != 3:
            return f"the process ends with status {status} in the {done} job: {self.output}"
        first, second, completions = self.output
        if second != "shared":
            return f"the next job {second}"
        if completions != plain.output[2]:
            return f"{completions} completions instead of {plain.output[2]}"
        for what, count in self.usage.items():
            if count > plain.usage[what]:
                return f"{count} {what} instead of {plain.usage[what]}"
        for what, count in {**self.uploads, **self.requests}.items():
            if count > plain.uploads[what] + plain.requests[what] and count > 1:
                return f"sent {count} times: {what}"
        for job in {"Second"} | ({"First"} if first == "shared" else set()):
            if sum(path.startswith(f"Root/{job}/") for path in self.uploads) != 3:
                return f"the {job} job has not uploaded its files"
        return None


class Faults:
    def __init__(self, programs):
        self.programs = programs
        self.plain = {}

    def look(self, mode, words):
        with tempfile.TemporaryDirectory() as folder:
            return Outcome(self.programs, pathlib.Path(folder), mode, words)

    def try_run(self, run):
        return self.look(run.mode, [
            "-e", f"trace={run.call}",
            "-e", f"inject={run.call}:error={run.error}:when={run.number}"])

    def count(self, mode):
        """The runs of a mode: what its threads call, without any fault, and the errors for it."""
        outcome = self.plain[mode] = self.look(mode, [])
        if reason := outcome.broken_promise(outcome):
            sys.exit(f"without any fault, {reason}")
        calls = collections.Counter(re.findall(r"^(\d+) +(\w+)\(", outcome.log, re.MULTILINE))
        most = collections.Counter()
        for (_, call), count in calls.items():
            most[call] = max(most[call], count)
        for call in sorted(most.keys() - ERRORS.keys() - SPARED):
            print(f"no error is known for {call}, which is left out")
        known = sorted(most.keys() & ERRORS.keys())
        # Once, and with some errors also from the first call on until the first job ends.
        return [Run(mode, call, error, number + 1) for call in known for error in ERRORS[call]
                for number in range(most[call])] + [
            Run(mode, call, error, "1+") for call in known for error in ERRORS[call]
            if error not in ("EINTR", "EAGAIN")]


def sample(runs, limit):
    """As many runs as wanted, the same ones each time: first one of each call and error."""
    dice = random.Random(1)
    groups = collections.Counter()
    ranked = []
    for run in dice.sample(runs, len(runs)):
        groups[run[:3]] += 1
        ranked.append((groups[run[:3]], run))
    return [run for _, run in sorted(ranked, key=lambda entry: entry[0])[:limit]]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("runs", type=int, nargs="?", default=2000)
    parser.add_argument("--texts", action="store_true", help="say how jobs ended")
    parser.add_argument("--only", metavar="MODE:CALL:ERROR:NUMBER")
    arguments = parser.parse_args()
    faults = Faults(arguments.programs.resolve())
    possible = faults.count("cold") + faults.count("warm")
    if arguments.only:
        mode, call, error, number = arguments.only.split(":")
        outcome = faults.try_run(Run(mode, call, error, number))
        print(outcome.log, *outcome.output, sep="\n")
        sys.exit(outcome.broken_promise(faults.plain[mode]))
    runs = sample(possible, arguments.runs)
    rows = collections.defaultdict(collections.Counter)
    texts = collections.Counter()
    broken = 0
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for run, outcome in zip(runs, pool.map(faults.try_run, runs)):
            row = rows[run.call]
            if not outcome.is_possible():
                row["none"] += 1
                continue
            reason = outcome.broken_promise(faults.plain[run.mode])
            if reason:
                broken += 1
                print(f"{reason}: scripts/faults --only {':'.join(map(str, run))}", flush=True)
            row["runs"] += 1
            result = "broken" if reason else outcome.output[0].split(":")[0]
            row[result] += 1
            texts[outcome.output[0] if outcome.output else "nothing"] += 1
    print(f"{len(runs)} of {len(possible)} possible runs, {broken} broken promises\n")
    print("| call | errors | runs | shared | failed | broken | no fault |")
    print("|---|---|---:|---:|---:|---:|---:|")
    for call, row in sorted(rows.items()):
        cells = [row[name] for name in ("runs", "shared", "failed", "broken", "none")]
        print("|", " | ".join(map(str, [f"`{call}`", ", ".join(ERRORS[call]), *cells])), "|")
    if arguments.texts:
        for text, count in texts.most_common():
            print(count, text)
    sys.exit(broken != 0)


main()
