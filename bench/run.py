"""Measures everything and writes docs/benchmarks.md; started by scripts/bench."""

import argparse
import json
import pathlib
import signal
import subprocess
import sys
import tempfile

import measure
import report
from measure import Contender, Workload

MIB = 1 << 20

CIRRUS = Contender("Cirrus")
CURL = Contender("bare libcurl", ("--contender", "curl"))


def workloads(library_folder):
    dropping = Contender("Cirrus, log dropped", ("--dropping-log",))
    unlimited = Contender("Cirrus, unlimited", (),
                          str(library_folder / "libcirrus-bench-unlimited.so"))
    limited = Contender("bare libcurl, limited",
                        ("--contender", "curl", "--unsent-backlog", str(128 * 1024)))
    threads = Contender("bare libcurl, threads", ("--contender", "curl", "--threads"))
    pair = (CIRRUS, CURL)
    backlog = (CIRRUS, CURL, threads, unlimited, limited)
    return [
        Workload("small-1000", "1,000 files of 1 KiB", 1000, 1024, 61, (*pair, threads, dropping)),
        Workload("small-10000", "10,000 files of 1 KiB", 10000, 1024, 21, (*pair, threads)),
        Workload("bulk-10", "20 files of 10 MiB", 20, 10 * MIB, 121, backlog),
        Workload("bulk-1024", "one file of 1 GiB", 1, 1024 * MIB, 31, backlog),
        Workload("bulk-256", "20 files of 256 MiB", 20, 256 * MIB, 5, pair),
        Workload("round-trips", "100 files of 1 KiB over a slow link", 100, 1024, 3, pair,
                 is_delayed=True),
        Workload("jobs", "64 jobs of 20 files of 64 KiB at once", 20, 64 * 1024, 31, pair, jobs=64),
    ]


def lines_of(*command):
    return subprocess.run(list(map(str, command)), check=True, text=True,
                          stdout=subprocess.PIPE).stdout.splitlines()


def hops(bin_folder):
    """Microseconds a hop, by cores and by way."""
    program = bin_folder / "cirrus-bench-hops"
    on_one = lines_of("taskset", "-c", measure.CONTENDER_CORE, program)
    return {"one core": measure.pairs(on_one[0]), "two cores": measure.pairs(lines_of(program)[0])}


def scaling(bin_folder, rounds):
    """Figures by number of files."""
    figures = {}
    for _ in range(rounds):
        for line in lines_of(bin_folder / "cirrus-bench-scaling"):
            one = measure.pairs(line)
            figures.setdefault(int(one["files"]), measure.Figures()).add(one)
    return figures


def micro(bin_folder):
    """The results of the microbenchmarks."""
    output = lines_of("taskset", "-c", measure.CONTENDER_CORE, bin_folder / "cirrus-bench-micro",
                      "--benchmark_format=json")
    return json.loads("\n".join(output))["benchmarks"]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--rounds", type=float, default=1, help="factor to the number of rounds")
    parser.add_argument("--only", action="append", help="measure this workload; print, not write")
    options = parser.parse_args()
    bin_folder = options.build.resolve() / "bin"
    # Whatever ends it, servers and namespaces go with it.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("terminated"))

    measured = []
    with tempfile.TemporaryDirectory(dir=options.build, prefix="bench-") as scratch:
        for workload in workloads(options.build.resolve() / "lib"):
            if not options.only or workload.key in options.only:
                print(f"{workload.title} ...", flush=True)
                figures = measure.measure(bin_folder, scratch, workload, options.rounds)
                measured.append((workload, figures))
                print(report.figures_table(workload, figures), flush=True)
    if not options.only:
        growth = scaling(bin_folder, max(1, round(7 * options.rounds)))
        report.write(measured, hops(bin_folder), growth, micro(bin_folder))


if __name__ == "__main__":
    main()
