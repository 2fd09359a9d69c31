#!/usr/bin/env python3
# SharedStore - PIN and card data cache
# SPDX-License-Identifier: Apache-2.0
"""Makes a table and plots of what the benchmarks wrote. usage: report.py FOLDER-OF-JSON OUTPUT-FOLDER"""

import collections
import json
import math
import os
import pathlib
import statistics
import sys

TEXT = """# Benchmarks

Measured by `scripts/bench.sh` on {cores} cores of {model}.

{rows}

A row sets a path through the library next to the least that could do the same work, to another way of doing it, or to
itself under other conditions. Both are measured in turn, {batches} times; ours, against and ratio are the medians of the
batches, the ratio that of the ratios. Times are those of the processor, but for commits and threads, where the time of
the wall counts. Memory is what the heap holds more, versions included. The log is off; the rows "log off" compare with
a program that defines an empty `pvlogLog`, so the calls themselves are on both sides. "two threads" is the time per
operation of both together: 0.625 is 1.6 times the throughput. Commits are durable on both sides.

![cost against size and against the number of compartments](benchmarks.svg)

{others}

Instructions per operation, which are the same on a busy machine, stand in `bench/instructions.txt`.
"""

STYLE = """text { font: 12px sans-serif; fill: #222 } .back { fill: #fff } .title { font-size: 14px }
path { fill: none; stroke-width: 2 } .grid { stroke: #ddd; stroke-width: 1 } .SetData { stroke-dasharray: 5 4 }
.c0 { stroke: #0969da } .c1 { stroke: #bc4c00 } .c2 { stroke: #1a7f37 }
@media (prefers-color-scheme: dark) { text { fill: #ddd } .back { fill: #0d1117 } .grid { stroke: #30363d }
.c0 { stroke: #58a6ff } .c1 { stroke: #f0883e } .c2 { stroke: #3fb950 } }"""


def quantity(value, units, step):
    """A number with three digits, in the largest unit that leaves it 1 or more."""
    for unit in units:
        if value < step or unit == units[-1]:
            return f"{value:.3g} {unit}" if value < 1000 else f"{value:.0f} {unit}"
        value /= step


def duration(nanoseconds):
    return quantity(nanoseconds, ["ns", "µs", "ms", "s"], 1000)


class Row:
    """A path, what it is compared with, and the costs of both sides by batch."""

    def __init__(self):
        self.sides = {"ours": {}, "against": {}}
        self.error, self.aim, self.is_memory = None, 0, False

    def add(self, side, batch, entry):
        self.error = self.error or entry.get("error_message")
        if "error_message" not in entry:
            self.aim, self.is_memory = entry["aim"], "bytes" in entry
            self.sides[side][batch] = entry["bytes"] if self.is_memory else cost(entry)

    def cells(self):
        if self.error:
            return ["", "", "", "", self.error]
        ours, against = (self.sides[side] for side in ("ours", "against"))
        ratio = statistics.median(ours[batch] / against[batch] for batch in ours)
        show = (lambda value: f"{value:.0f} B") if self.is_memory else duration
        costs = [show(statistics.median(side.values())) for side in (ours, against)]
        aim = [f"{self.aim:.3g}", "yes" if ratio <= self.aim else "no"] if self.aim else ["", ""]
        return [*costs, f"{ratio:.2f}", *aim]


def cost(entry):
    return entry["real_time" if "/real_time" in entry["name"] else "cpu_time"]


def read(folder):
    rows = collections.defaultdict(Row)
    curves = collections.defaultdict(list)
    for file in sorted(folder.glob("*.json")):
        for entry in json.loads(file.read_text())["benchmarks"]:
            kind, name, *rest = entry["name"].split("/")
            if kind == "row":
                rows[name, entry["label"]].add(rest[0], rest[1], entry)
            else:
                curves[name].append((int(rest[0]), cost(entry)))
    return rows, curves


def table(lines):
    widths = [max(map(len, column)) for column in zip(*lines)]
    lines = [[cell.ljust(width) for cell, width in zip(line, widths)] for line in lines]
    lines.insert(1, ["-" * width for width in widths])
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def panel(left, title, curves, label):
    """One plot with logarithmic axes: costs of all curves, each labelled at its end."""
    top, width, height = 40, 350, 360
    points = [point for curve in curves.values() for point in curve]
    x_most = math.log10(max(x for x, _ in points))
    y_least = math.floor(math.log10(min(y for _, y in points)))
    y_most = math.ceil(math.log10(max(y for _, y in points)))

    def at(x, y):
        return left + width * math.log10(x) / x_most, top + height * (y_most - math.log10(y)) / (y_most - y_least)

    svg = [f'<text class="title" x="{left}" y="{top - 16}">{title}</text>']
    for power in range(math.floor(x_most) + 1):
        x, _ = at(10**power, 1)
        svg.append(f'<path class="grid" d="M{x:.0f} {top}V{top + height}"/>')
        svg.append(f'<text x="{x:.0f}" y="{top + height + 18}" text-anchor="middle">{label(10**power)}</text>')
    for power in range(y_least, y_most + 1):
        _, y = at(1, 10**power)
        svg.append(f'<path class="grid" d="M{left} {y:.0f}H{left + width}"/>')
        svg.append(f'<text x="{left - 8}" y="{y + 4:.0f}" text-anchor="end">{duration(10**power)}</text>')

    ends = sorted((at(*curve[-1])[1], name) for name, curve in curves.items())
    free = top
    for y, name in ends:
        free = max(y, free + 15)
        svg.append(f'<text x="{at(*curves[name][-1])[0] + 8:.0f}" y="{free + 4:.0f}">{name}</text>')
    colours = {}
    for name, curve in curves.items():
        operation, _, what = name.partition(" ")
        colour = colours.setdefault(what or operation, len(colours))
        path = "L".join("{:.1f} {:.1f}".format(*at(*point)) for point in curve)
        svg.append(f'<path class="c{colour} {operation}" d="M{path}"/>')
    return svg


def plot(curves):
    sizes = {name: curve for name, curve in curves.items() if name.startswith(("GetData ", "SetData "))}
    trees = {name.replace(" and SetData", "+SetData"): curve for name, curve in curves.items()
             if len(curve) > 1 and name not in sizes and not name.startswith("threads")}
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 1160 440"><style>{STYLE}</style>',
           '<rect class="back" width="1160" height="440"/>',
           *panel(60, "cost against the size of the value", sizes, lambda n: quantity(n, ["B", "kB", "MB", "GB"], 1000)),
           *panel(605, "cost against the number of compartments", trees, lambda n: quantity(n, ["", "k", "M"], 1000).strip()), "</svg>"]
    return "\n".join(svg) + "\n"


def processor():
    lines = pathlib.Path("/proc/cpuinfo").read_text().splitlines()
    return next((line.split(": ")[1] for line in lines if line.startswith("model name")), "an unknown processor")


def main():
    source, target = map(pathlib.Path, sys.argv[1:])
    rows, curves = read(source)
    head = ["path", "against", "ours", "other", "ratio", "aim", "met"]
    shown = table([head, *([*names, *row.cells()] for names, row in rows.items())])
    others = [[f"{name}, {x}" if name.startswith("threads") else name, duration(y)]
              for name, curve in curves.items() if name.startswith("threads") or len(curve) == 1 for x, y in curve]
    batches = max(len(row.sides["ours"]) for row in rows.values())
    text = TEXT.format(cores=os.cpu_count(), model=processor(), rows=shown, batches=batches,
                       others=table([["cost per operation", ""], *others]))
    (target / "benchmarks.md").write_text(text)
    (target / "benchmarks.svg").write_text(plot(curves))
    print(shown)


main()
