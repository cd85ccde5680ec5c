"""Draws the charts with gnuplot."""

import subprocess

from measure import CONTENDERS

HEAD = """set terminal svg size 720,320 font "sans,12" background "white"
set output "{output}"
set title "{title}"
set ylabel "{unit}"
set yrange [0:*]
set grid ytics
set key outside right
$data << END
{rows}
END
"""

BARS = """set style data histograms
set style histogram errorbars gap 2 lw 1
set style fill solid 0.7 border -1
set boxwidth 0.9
set bmargin 3
plot $data using 2:3:4:xtic(1) title "Cirrus", $data using 5:6:7 title "bare libcurl"
"""

LINES = """set logscale x
set xlabel "files in the job"
plot $data using 1:2 with linespoints title "constructing", \\
     $data using 1:3 with linespoints title "the rest"
"""


def gnuplot(folder, key, title, unit, rows, plot):
    script = HEAD.format(output=folder / f"{key}.svg", title=title, unit=unit,
                         rows="\n".join(rows)) + plot
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def bars(label, figures, name, unit):
    """One group of the chart: median, lowest and highest of both contenders."""
    values = [value / unit for contender in CONTENDERS
              for one in [figures[contender]]
              for value in (one.median(name), min(one[name]), max(one[name]))]
    return " ".join([f'"{label}"', *map(str, values)])


def draw(folder, measured, scaling):
    folder.mkdir(parents=True, exist_ok=True)
    by_key = {workload.key: (workload, figures) for workload, figures in measured}

    def groups(keys, names, unit_of):
        return [bars(f"{label}\\n{name}", by_key[key][1], figure, unit_of(by_key[key][0]))
                for key, label in keys.items() for figure, name in names.items()]

    times = {"wall": "time", "cpu": "CPU"}
    gnuplot(folder, "small", "Files of 1 KiB, no delay", "µs a request",
            groups({"small-1000": "1,000 files", "small-10000": "10,000 files"}, times,
                   lambda workload: workload.requests / 1e6), BARS)
    bulk = {"bulk-10": "20 × 10 MiB", "bulk-1024": "1 GiB"}
    gnuplot(folder, "bulk", "Large files over loopback", "seconds a GiB",
            groups(bulk, times, lambda workload: workload.files * workload.size / (1 << 30)), BARS)
    gnuplot(folder, "link", "Over a link", "seconds",
            groups({"link-20ms": "1,000 × 1 KiB, 20 ms", "link-50ms": "100 × 1 KiB, 50 ms",
                    "link-100mbit": "200 MiB, 100 Mbit/s"}, {"wall": "time"}, lambda _: 1), BARS)
    gnuplot(folder, "memory", "Peak memory", "MiB",
            groups(bulk, {"peak_kib": ""}, lambda _: 1024), BARS)
    gnuplot(folder, "scaling", "A job over a service that answers at once", "µs a file",
            [f"{count} {one.median('construction')} {one.median('run')}"
             for count, one in scaling.items()], LINES)
