"""What Cirrus has to reach in each workload, and whether it did.

Contenders are compared round by round, and the median of that counts: the machine's speed drifts,
and the runs of one round follow one another closely.
"""

import statistics

CIRRUS, CURL = "Cirrus", "bare libcurl"


def rounds(figures, name, over, of):
    return zip(figures[of].rounds[name], figures[over].rounds[name], strict=True)


def ratio(figures, name, over=CURL, of=CIRRUS):
    return statistics.median(one / other for one, other in rounds(figures, name, over, of))


def difference(figures, name):
    return statistics.median(one - other for one, other in rounds(figures, name, CURL, CIRRUS))


def row(title, reach, text, is_reached):
    return [title, reach, text, "yes" if is_reached else "**no**"]


def small(workload, figures):
    microseconds = difference(figures, "wall") / workload.requests * 1e6
    processor = ratio(figures, "cpu")
    return [row(workload.title, "wall ≤ bare libcurl + 40 µs a request", f"{microseconds:+.1f} µs",
                microseconds <= 40),
            row(workload.title, "CPU ≤ 1.2 × bare libcurl", f"{processor:.2f} ×", processor <= 1.2)]


def growth(thousand, ten_thousand):
    per_file = [figures[CIRRUS].median("wall") / workload.files
                for workload, figures in (thousand, ten_thousand)]
    change = per_file[1] / per_file[0] - 1
    return row("a file of 10,000 against one of 1,000", "at most 10 % more", f"{100 * change:+.1f} %",
               change <= 0.1)


def bulk(workload, figures):
    wall, processor = ratio(figures, "wall"), ratio(figures, "cpu")
    return [row(workload.title, "wall ≤ 1.03 × bare libcurl", f"{wall:.3f} ×", wall <= 1.03),
            row(workload.title, "CPU ≤ 1.05 × bare libcurl", f"{processor:.3f} ×", processor <= 1.05)]


def memory(workload, figures):
    more = (figures[CIRRUS].median("peak_kib") - figures[CURL].median("peak_kib")) / 1024
    return row(workload.title, "peak memory ≤ bare libcurl + 4 MiB", f"{more:+.2f} MiB", more <= 4)


def round_trips(workload, figures):
    trip = figures[CIRRUS].median("round trip")
    count = 2 + workload.requests
    times = figures[CIRRUS].median("wall") / (count * trip)
    return row(f"{workload.title} ({1e3 * trip:.1f} ms)", f"wall ≤ 1.02 × {count} round trips",
               f"{times:.4f} ×", times <= 1.02)


def jobs(workload, figures):
    wall = ratio(figures, "wall")
    threads = int(max(figures[CIRRUS].rounds["threads"])) - 1
    return [row(workload.title, "wall ≤ 1.1 × 64 threads of bare libcurl", f"{wall:.2f} ×",
                wall <= 1.1),
            row(workload.title, "2 threads beside the host's", threads, threads == 2)]


def linear(scaling):
    """Memory that is touched for the first time makes the construction of large jobs dearer."""
    smallest, largest = (sum(scaling[count].median(name) for name in ("construction", "run"))
                         for count in (min(scaling), max(scaling)))
    return row("100,000 files against 1,000 over an instant service",
               "linear: a file costs at most 1.25 ×", f"{largest / smallest:.2f} ×",
               largest <= 1.25 * smallest)


def log(figures, micro):
    more = ratio(figures, "wall", over=CIRRUS, of="Cirrus, log dropped") - 1
    low, high = figures[CIRRUS].spread("wall")
    noise = (high - low) / figures[CIRRUS].median("wall")
    silent = next(one for one in micro if one["name"].startswith("writeLine/absent"))
    return [row("a log that drops every line", "no difference beyond the spread",
                f"{100 * more:+.1f} %, spread {100 * noise:.1f} %", abs(more) <= noise),
            row("no log", "no message built", f"{silent['allocations']:.0f} allocations a line",
                silent["allocations"] == 0)]


def rows(by_key, scaling, micro):
    found = []
    for key in ("small-1000", "small-10000"):
        found += small(*by_key[key])
    found.append(growth(by_key["small-1000"], by_key["small-10000"]))
    for key in ("bulk-10", "bulk-1024"):
        found += bulk(*by_key[key])
    for key in ("bulk-10", "bulk-1024", "bulk-256"):
        found.append(memory(*by_key[key]))
    found.append(round_trips(*by_key["round-trips"]))
    found += jobs(*by_key["jobs"])
    found.append(linear(scaling))
    found += log(by_key["small-1000"][1], micro)
    return found
