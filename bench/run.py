"""Measures everything and writes docs/benchmarks.md. Started by scripts/bench."""

import argparse
import pathlib
import signal
import sys
import tempfile

import report
from marks import cpu, memory, round_trips, threads, wall, wall_per_request
from measure import Figures, Link, Workload, measure, output_of, pairs

KIB = 1 << 10
MIB = 1 << 20

SMALL = (wall_per_request(50), cpu(1.5))
BULK = (wall(1.10), cpu(1.15), memory(4))

WORKLOADS = [
    Workload("small-1000", "1,000 files of 1 KiB", 1000, KIB, 31, SMALL),
    Workload("small-10000", "10,000 files of 1 KiB", 10000, KIB, 7, SMALL),
    Workload("link-20ms", "1,000 files of 1 KiB, 20 ms round trip", 1000, KIB, 2, (wall(1.005),),
             link=Link(0.020)),
    Workload("link-50ms", "100 files of 1 KiB, 50 ms round trip, no root folder yet", 100, KIB, 2,
             (round_trips(1.02),), link=Link(0.050)),
    Workload("bulk-10", "20 files of 10 MiB", 20, 10 * MIB, 31, BULK),
    Workload("bulk-1024", "one file of 1 GiB", 1, 1024 * MIB, 9, BULK),
    Workload("link-100mbit", "20 files of 10 MiB at 100 Mbit/s, 2 ms round trip", 20, 10 * MIB, 5,
             (wall(1.005),), link=Link(0.002, 100_000_000)),
    Workload("jobs", "64 jobs of 20 files of 64 KiB at once", 20, 64 * KIB, 15,
             (wall(1.15), threads(2)), jobs=64),
]


def measure_scaling(bin_folder, rounds):
    """The figures by the number of files."""
    figures = {}
    for number in range(rounds):
        print(f"\rscaling: round {number + 1} of {rounds}", end="", file=sys.stderr, flush=True)
        for line in output_of([bin_folder / "cirrus-bench-scaling"]).splitlines():
            one = pairs(line)
            figures.setdefault(int(one["files"]), Figures()).add(one)
    print(file=sys.stderr)
    return figures


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--rounds", type=float, default=1, help="multiplies the number of rounds")
    parser.add_argument("--only", action="append", choices=[one.key for one in WORKLOADS],
                        help="measure this workload, and write no page")
    options = parser.parse_args()
    bin_folder = options.build.resolve() / "bin"
    # So that servers and namespaces are cleaned up.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("terminated"))

    measured = []
    with tempfile.TemporaryDirectory(dir=options.build, prefix="bench-") as scratch:
        for workload in WORKLOADS:
            if not options.only or workload.key in options.only:
                measured.append(
                    (workload, measure(bin_folder, scratch, workload, options.rounds)))
                print(report.summary(*measured[-1]), flush=True)
    if not options.only:
        scaling = measure_scaling(bin_folder, max(1, round(5 * options.rounds)))
        print(report.write(measured, scaling))


if __name__ == "__main__":
    main()
