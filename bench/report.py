"""Writes docs/benchmarks.md and its charts."""

import os
import pathlib
import platform
import re
import string

import charts
import marks
from measure import output_of

ROOT = pathlib.Path(__file__).resolve().parent.parent


def row(title, mark):
    reach, measured, is_reached = mark
    return f"| {title} | {reach} | {measured} | {'yes' if is_reached else '**no**'} |"


def rows(workload, figures):
    return [row(workload.title, mark(workload, figures)) for mark in workload.marks]


def summary(workload, figures):
    """For the terminal: the medians of both contenders, then the marks."""
    medians = [f"  {contender}: time {one.median('wall'):.3f} s, CPU {one.median('cpu'):.3f} s, "
               f"peak {one.median('peak_kib') / 1024:.1f} MiB" for contender, one in figures.items()]
    return "\n".join([*medians, *rows(workload, figures)])


def machine():
    cpu = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text()).group(1)
    curl, openssl = (output_of(["pkg-config", "--modversion", name]).strip()
                     for name in ("libcurl", "openssl"))
    compiler = output_of(["g++", "-dumpfullversion"]).strip()
    return (f"{cpu}, {os.cpu_count()} cores, Linux {platform.release()}, libcurl {curl}, "
            f"OpenSSL {openssl}, GCC {compiler}")


def write(measured, scaling):
    """Returns the table of the marks."""
    table = "\n".join(["| workload | to reach | measured | reached |", "| --- | --- | ---: | ---: |",
                       *(line for one in measured for line in rows(*one)),
                       row("100,000 files, a service that answers at once",
                           marks.linear(scaling, 1.25))])
    template = string.Template((ROOT / "bench/benchmarks.md.in").read_text())
    (ROOT / "docs/benchmarks.md").write_text(template.substitute(marks=table, machine=machine()))
    charts.draw(ROOT / "docs/benchmarks", measured, scaling)
    return table
