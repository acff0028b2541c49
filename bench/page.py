#!/usr/bin/env python3
"""Makes docs/performance.md, its plots and the figures in README.md of what the benchmarks told (see target.h).

The argument is the folder that holds one file of results for each benchmark. On that folder's disk the flush is timed.
"""

import datetime
import math
import os
import pathlib
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs/performance.md"
PLOTS = ROOT / "docs/performance"
README = ROOT / "README.md"
BEGIN, END = "<!-- scripts/bench begins -->\n", "<!-- scripts/bench ends -->\n"
BIN_SECONDS = 0.25

TEXT = """# Performance

`scripts/bench` made this page on {date}. It builds the release preset, runs every program of
`bench/` and ends with an error when a target is missed. Measured on {machine}.

## Targets

Most limits are ratios to a peer that the same run measures in turn with the server, so that they hold on any machine. The
others are what a user or an operator would notice. In a ratio of times less is better, in one of rates more.

{targets}{faults}
## Growth of a calculation

A calculation takes time in proportion to the employees and to the days. The grey line is the smallest size times as many.

![Seconds of a calculation against employees and against days](performance/growth.svg)

## Acknowledgements and the disk

The server acknowledges an event when it is safe on the disk. Events that come together share one flush, so many
terminals wait little longer on a slow disk than on a fast one; a lone terminal has a flush of its own for each event. The
bare loop writes the same rows through SQLite alone, with a flush for each event. Memory cards of small industrial
computers take 5 to 20 ms for a flush.

![Acknowledged events per second against the time that a flush takes longer](performance/flush.svg)

## While a company is recalculated

Worker threads recalculate a year of 1,000 employees for an administration client, while a terminal sends one event
after the other and a web client asks for one month after the other.

![The longest wait in each quarter of a second, before and during the recalculation](performance/latency.svg)

![Waits up to which a share of the answers came](performance/share.svg)
"""


def number(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def quantity(text, unit):
    return f"{text} ×" if unit == "ratio" else f"{text} {unit}"


def read_results(folder):
    """The lines of each benchmark, as lists of fields."""
    return {file.stem: [line.split("\t") for line in file.read_text().splitlines()]
            for file in sorted(folder.glob("bench_*.tsv"))}


def lines_of(results, kind):
    return [fields[1:] for lines in results.values() for fields in lines if fields[0] == kind]


def target_table(results):
    rows = ["| target | limit | today | measured against | program |", "|---|---|---|---|---|"]
    for bench, lines in results.items():
        for fields in lines:
            if fields[0] != "target":
                continue
            name, unit, value, relation, limit, against, met = fields[1:]
            bound = "at least" if relation == ">=" else "at most"
            today = quantity(number(float(value)), unit)
            if met != "met":
                today = f"**{today}, missed**"
            limit = quantity(f"{float(limit):.3g}", unit)
            rows.append(f"| {name} | {bound} {limit} | {today} | {against or '—'} | `{bench}` |")
    return "\n".join(rows) + "\n"


def fault_lines(results):
    """Of benchmarks that failed in another way than by a target that is missed."""
    faults = ""
    for bench, lines in results.items():
        code = [fields[1] for fields in lines if fields[0] == "ended"]
        missed = any(fields[0] == "target" and fields[-1] != "met" for fields in lines)
        if code != ["0"] and not (code == ["1"] and missed):
            faults += f"\n**`{bench}` failed with {code[0] if code else 'no end'}; what it did not tell is not above.**\n"
    return faults


def flush_ms(folder):
    """Median of a flush that follows upon 4 KiB."""
    took = []
    path = folder / "flush"
    with open(path, "wb", buffering=0) as file:
        for _ in range(101):
            file.write(bytes(4096))
            start = time.perf_counter()
            os.fdatasync(file.fileno())
            took.append((time.perf_counter() - start) * 1000)
    path.unlink()
    return statistics.median(took)


def machine(folder):
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    kind = subprocess.run(["df", "--output=fstype", folder], capture_output=True, text=True, check=True)
    return (f"a machine with {os.cpu_count()} cores and {memory:.0f} GiB of memory,\n"
            f"whose disk ({kind.stdout.split()[-1]}) takes {number(flush_ms(folder))} ms for a flush")


def curves_of(results):
    curves = {}
    for name, x, y in lines_of(results, "point"):
        curves.setdefault(name, []).append((float(x), float(y)))
    return curves


def longest_in_bins(points):
    bins = {}
    for x, y in points:
        key = math.floor(x / BIN_SECONDS)
        bins[key] = max(y, bins.get(key, 0))
    return [((key + 0.5) * BIN_SECONDS, y) for key, y in sorted(bins.items())]


def shares(points):
    """What the answers took up to a share of them, as -log10 of the share that took longer."""
    took = sorted(y for _, y in points)
    steps = [step / 40 for step in range(0, math.floor(math.log10(len(took)) * 40) + 1)]
    return [(step, took[min(len(took) - 1, math.floor((1 - 10**-step) * len(took)))]) for step in steps]


def write_data(folder, curves):
    """Files of points for plots.gnuplot."""
    def write(name, points):
        (folder / f"{name}.dat").write_text("".join(f"{x:.6g} {y:.6g}\n" for x, y in points))

    for name in ("calculation by employees", "calculation by days", "events of 100 terminals by delay",
                 "events of one terminal by delay", "events of a bare loop by delay"):
        write(name, curves[name])
    for what in ("events", "web months"):
        for phase in ("idle", "while a year is recalculated"):
            points = curves[f"{what}, {phase}"]
            write(f"{what}, {phase}", longest_in_bins(points))
            write(f"{what}, {phase}, shares", shares(points))


def draw(folder, curves):
    write_data(folder, curves)
    PLOTS.mkdir(exist_ok=True)
    subprocess.run(["gnuplot", "-e", f"out='{PLOTS}/'", ROOT / "bench/plots.gnuplot"], cwd=folder, check=True)


def write_readme(results, where):
    rows = ["| | |", "|---|---|"]
    rows += [f"| {name} | {quantity(number(float(value)), unit)} |" for name, unit, value in lines_of(results, "figure")]
    text = README.read_text()
    before, rest = text.split(BEGIN)
    after = rest.split(END)[1]
    told = f"On {where}:\n\n" + "\n".join(rows) + "\n"
    README.write_text(before + BEGIN + told + END + after)


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    results = read_results(folder)
    where = machine(folder)
    PAGE.write_text(TEXT.format(date=f"{datetime.date.today():%-d %B %Y}", machine=where,
                                targets=target_table(results), faults=fault_lines(results)))
    write_readme(results, where)
    try:
        draw(folder, curves_of(results))
    except KeyError as name:
        sys.exit(f"The plots stay as they were: nobody told {name}")


main()
