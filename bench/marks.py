"""What Cirrus has to reach. Each mark gives, for the figures of a workload, what is to be reached,
what was measured, and whether it was reached.

The contenders are compared round by round, and the median of the comparisons counts: the machine's
speed drifts, but the runs of one round are only seconds apart.
"""

import statistics


def compare(figures, name, how):
    return statistics.median(map(how, figures["Cirrus"][name], figures["bare libcurl"][name]))


def ratio(name, label, limit):
    """At most `limit` times the figure of bare libcurl."""

    def mark(_, figures):
        measured = compare(figures, name, lambda one, other: one / other)
        return f"{label} ≤ {limit} × bare libcurl's", f"{measured:.3f} ×", measured <= limit

    return mark


def wall(limit):
    return ratio("wall", "time", limit)


def cpu(limit):
    return ratio("cpu", "CPU", limit)


def wall_per_request(limit):
    """At most `limit` microseconds a request more than bare libcurl."""

    def mark(workload, figures):
        seconds = compare(figures, "wall", lambda one, other: one - other)
        measured = seconds / workload.requests * 1e6
        return (f"time ≤ bare libcurl's + {limit} µs a request", f"{measured:+.1f} µs",
                measured <= limit)

    return mark


def round_trips(limit):
    """At most `limit` times the round trips of the requests, of TCP and of TLS."""

    def mark(workload, figures):
        trip, count = figures["Cirrus"].median("round trip"), workload.requests + 2
        measured = figures["Cirrus"].median("wall") / (count * trip)
        return (f"time ≤ {limit} × {count} round trips", f"{measured:.4f} × of {1e3 * trip:.2f} ms",
                measured <= limit)

    return mark


def memory(limit):
    """At most `limit` MiB more than bare libcurl, which also holds one whole file."""

    def mark(_, figures):
        measured = compare(figures, "peak_kib", lambda one, other: (one - other) / 1024)
        return (f"peak memory ≤ bare libcurl's + {limit} MiB", f"{measured:+.2f} MiB",
                measured <= limit)

    return mark


def threads(limit):
    """At most `limit` threads besides the one that the host started with."""

    def mark(_, figures):
        measured = int(max(figures["Cirrus"]["threads"])) - 1
        return f"{limit} threads besides the host's", measured, measured <= limit

    return mark


def linear(scaling, limit):
    """A file in the largest job costs at most `limit` times what it costs in the smallest."""
    smallest, *_, largest = (one.median("construction") + one.median("run")
                             for one in scaling.values())
    measured = largest / smallest
    return (f"linear: a file costs ≤ {limit} × what it costs in a job of 1,000",
            f"{measured:.2f} ×", measured <= limit)
