"""Makes docs/benchmarks.md of what was measured."""

import pathlib
import platform
import re
import string
import subprocess

import charts
import verdicts

ROOT = pathlib.Path(__file__).resolve().parent.parent


def table(titles, rows, numeric_from=1):
    marks = ["---" if column < numeric_from else "---:" for column in range(len(titles))]
    return "\n".join("| " + " | ".join(map(str, row)) + " |" for row in [titles, marks, *rows])


def seconds(figures, name):
    low, high = figures.spread(name)
    return f"{figures.median(name):.3f} ({low:.3f} to {high:.3f})"


def figures_table(workload, measured):
    rows = []
    for name, figures in measured.items():
        rate = workload.jobs * workload.files * workload.size / (1 << 20) / figures.median("wall")
        rows.append([name, seconds(figures, "wall"), seconds(figures, "cpu"),
                     f"{figures.median('peak_kib') / 1024:.1f}", f"{rate:.0f}",
                     f"{100 * figures.median('server') / figures.median('wall'):.0f} %"])
    return table(["contender", "wall, s", "CPU, s", "peak, MiB", "MiB/s", "server's core busy"], rows)


def chapters(measured):
    texts = []
    for workload, figures in measured:
        rounds = len(next(iter(figures.values())).rounds["wall"])
        texts.append(f"### {workload.title}\n\n{workload.requests:,} requests a run, {rounds} rounds."
                     f"\n\n{figures_table(workload, figures)}\n\n"
                     f"![{workload.title}](benchmarks/{workload.key}.svg)")
    return "\n\n".join(texts)


def scaling_table(scaling):
    return table(["files", "constructing, µs a file", "the rest, µs a file"],
                 [[f"{count:,}", f"{figures.median('construction'):.3f}",
                   f"{figures.median('run'):.2f}"] for count, figures in scaling.items()], 0)


def micro_table(micro):
    rows = [[f"`{re.sub('/iterations:.*', '', one['name'])}`", f"{one['cpu_time']:,.0f}",
             f"{one['allocations']:.1f}"] for one in micro]
    return table(["benchmark", "ns", "allocations"], rows)


def hops_table(hops):
    return table(["a hop between threads on", "semaphore, µs", "event descriptor, µs"],
                 [[where, f"{one['semaphore']:.1f}", f"{one['descriptor']:.1f}"]
                  for where, one in hops.items()])


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    cores = len(re.findall(r"^processor", pathlib.Path("/proc/cpuinfo").read_text(), re.M))

    def version(*command):
        return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout.strip()

    curl, openssl = (version("pkg-config", "--modversion", name) for name in ("libcurl", "openssl"))
    return (f"{cpu}, {cores} cores, Linux {platform.release()}, libcurl {curl}, OpenSSL {openssl}, "
            f"GCC {version('g++', '-dumpfullversion')}")


def write(measured, hops, scaling, micro):
    template = string.Template((ROOT / "bench/benchmarks.md.in").read_text())
    by_key = {workload.key: (workload, figures) for workload, figures in measured}
    rows = verdicts.rows(by_key, scaling, micro)
    (ROOT / "docs/benchmarks.md").write_text(template.substitute(
        verdicts=table(["workload", "to reach", "measured", "reached"], rows, 2),
        chapters=chapters(measured), scaling=scaling_table(scaling), micro=micro_table(micro),
        hops=hops_table(hops), machine=machine()))
    charts.draw(ROOT / "docs/benchmarks", measured, scaling)
