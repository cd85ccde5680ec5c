"""Draws the charts with gnuplot."""

import subprocess

HEAD = """set terminal svg size 640,320 font "sans,12" background "white"
set output "{output}"
set title "{title}"
set grid ytics
"""

BARS = """set style data histograms
set style histogram errorbars gap 2 lw 1
set style fill solid 0.7 border -1
set boxwidth 0.9
set bmargin 3
set yrange [0:*]
set ylabel "{unit}"
set key outside right
$data << END
{rows}
END
plot $data using 2:3:4:xtic(1) title "{first}", $data using 5:6:7 title "{second}"
"""

LINES = """set logscale x
set yrange [0:*]
set xlabel "files"
set ylabel "microseconds a file"
set key outside right
$data << END
{rows}
END
plot $data using 1:2 with linespoints title "constructing", \\
     $data using 1:3 with linespoints title "the rest"
"""


def gnuplot(folder, key, title, text):
    folder.mkdir(parents=True, exist_ok=True)
    script = HEAD.format(output=folder / f"{key}.svg", title=title) + text
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def bar(figures, name, unit=1):
    """The median, the lowest and the highest."""
    return " ".join(str(value / unit) for value in (figures.median(name), *figures.spread(name)))


def draw_peaks(folder, measured):
    contenders = ("Cirrus", "bare libcurl")
    rows = "\n".join(" ".join([f'"{workload.title}"',
                               *(bar(figures[name], "peak_kib", 1024) for name in contenders)])
                     for workload, figures in measured)
    gnuplot(folder, "peaks", "Peak resident memory",
            BARS.format(rows=rows, unit="MiB", first=contenders[0], second=contenders[1]))


def draw(folder, measured, scaling):
    for workload, by_contender in measured:
        labels = {name: name.replace(", ", "\\n") for name in by_contender}
        rows = "\n".join(f'"{labels[name]}" {bar(one, "wall")} {bar(one, "cpu")}'
                         for name, one in by_contender.items())
        gnuplot(folder, workload.key, workload.title,
                BARS.format(rows=rows, unit="seconds", first="wall", second="CPU"))
    draw_peaks(folder, [one for one in measured if one[0].key.startswith("bulk")])
    rows = "\n".join(f"{count} {one.median('construction')} {one.median('run')}"
                     for count, one in scaling.items())
    gnuplot(folder, "scaling", "A job over an instant service", LINES.format(rows=rows))
