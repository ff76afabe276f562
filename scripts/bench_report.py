#!/usr/bin/env python3
"""Draws what the benchmarks measured: a page with a plot for each work, time against jobs, both on logarithmic scales.

usage: scripts/bench_report.py FIGURES.tsv...   the page goes to standard output

A line of a file: work, clock, who ("" is the library), jobs, milliseconds, the bound of the library's ratio or 0.
"""
import csv
import html
import math
import os
import platform
import sys
import time

WIDTH, HEIGHT = 560, 330
LEFT, RIGHT, TOP, BOTTOM = 64, 26, 12, 36
COLOURS = ["#c2185b", "#616161", "#1565c0", "#2e7d32", "#ef6c00", "#6a1b9a"]  # the library's comes first
STYLE = """body { font: 15px/1.4 sans-serif; max-width: 1180px; margin: 2em auto; padding: 0 1em; color: #222 }
section { display: inline-block; vertical-align: top; width: 580px; margin-bottom: 2em }
h2 { font-size: 1.05em; margin: 0 } svg text { font: 11px sans-serif; fill: #444 }
table { border-collapse: collapse; font-size: 13px }
td, th { padding: 1px 6px; text-align: right; font-weight: normal; white-space: nowrap }
th:first-child, td:first-child { text-align: left } thead { border-bottom: 1px solid #bbb } .beyond { color: #c00 }"""


def read(path):
    """The works of one file: {work: (clock, {who: {jobs: (milliseconds, bound)}})}, in their order."""
    works = {}
    with open(path, newline="") as file:
        for work, clock, who, jobs, milliseconds, bound in csv.reader(file, delimiter="\t"):
            lines = works.setdefault(work, (clock, {}))[1]
            lines.setdefault(who, {})[int(jobs)] = (float(milliseconds), float(bound))
    return works


def decades(low, high):
    return range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)


def number(value):
    return f"{value:,.0f}" if value >= 1 else f"{value:g}"


class Plot:
    """The two scales, and what is drawn on them."""

    def __init__(self, lines):
        self.jobs = decades(min(map(min, lines.values())), max(map(max, lines.values())))
        times = [milliseconds for line in lines.values() for milliseconds, _ in line.values()]
        self.times = decades(min(times), max(times))
        self.parts = []

    @staticmethod
    def share(scale, value):
        return (math.log10(value) - scale[0]) / max(scale[-1] - scale[0], 1)

    def at(self, jobs, milliseconds):
        x = LEFT + self.share(self.jobs, jobs) * (WIDTH - LEFT - RIGHT)
        y = HEIGHT - BOTTOM - self.share(self.times, milliseconds) * (HEIGHT - TOP - BOTTOM)
        return round(x, 1), round(y, 1)

    def text(self, x, y, anchor, words):
        self.parts.append(f'<text x="{x}" y="{y}" text-anchor="{anchor}">{html.escape(words)}</text>')

    def rule(self, start, end):
        self.parts.append(f'<path d="M{start[0]} {start[1]}L{end[0]} {end[1]}" stroke="#ddd"/>')

    def grid(self):
        for power in self.jobs:
            x, y = self.at(10**power, 10 ** self.times[0])
            self.rule((x, y), (x, TOP))
            self.text(x, y + 14, "middle", number(10**power))
        for power in self.times:
            x, y = self.at(10 ** self.jobs[0], 10**power)
            self.rule((x, y), (WIDTH - RIGHT, y))
            self.text(x - 6, y + 4, "end", number(10.0**power))
        self.text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 6, "middle", "jobs; milliseconds upwards")

    def line(self, points, colour, is_library):
        places = [self.at(jobs, milliseconds) for jobs, (milliseconds, _) in sorted(points.items())]
        path = " ".join(f"{x},{y}" for x, y in places)
        width = 2.5 if is_library else 1.5
        self.parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"/>')
        self.parts += [f'<circle cx="{x}" cy="{y}" r="{width + 0.5}" fill="{colour}"/>' for x, y in places]

    def svg(self):
        return f'<svg viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}">{"".join(self.parts)}</svg>'


def plot(lines):
    drawn = Plot(lines)
    drawn.grid()
    for colour, (who, points) in reversed(list(zip(COLOURS, lines.items()))):  # the library's lies on top
        drawn.line(points, colour, who == "")
    return drawn.svg()


def cell(library, other):
    """The library's time as a multiple of the other's."""
    milliseconds, bound = other
    ratio = library[0] / milliseconds
    attributes = ' class="beyond"' if bound and ratio > bound else ""
    return f"<td{attributes}>{ratio:.2f}{f' &le; {bound:g}' if bound else ''}</td>"


def table(lines):
    """The library's times, and what it takes of each other's."""
    library = lines[""]
    rows = ["<tr><th></th>" + "".join(f"<th>{number(jobs)}</th>" for jobs in library) + "</tr></thead><tbody>"]
    for colour, (who, points) in zip(COLOURS, lines.items()):
        name = html.escape(f"library / {who}" if who else "library, ms")
        cells = [cell(library[jobs], points[jobs]) if who else f"<td>{points[jobs][0]:.3g}</td>" for jobs in library]
        rows.append(f'<tr><td><span style="color:{colour}">&#9632;</span> {name}</td>{"".join(cells)}</tr>')
    return f"<table><thead>{''.join(rows)}</tbody></table>"


def section(work, clock, lines):
    time_of = "processor time" if clock == "processor" else "time that passes, with the disk"
    return f"<section><h2>{html.escape(work)}</h2><small>{time_of}</small>{plot(lines)}{table(lines)}</section>"


def processor():
    with open("/proc/cpuinfo") as file:
        names = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
    return f"{names[0] if names else platform.machine()}, {os.cpu_count()} processors"


def main(paths):
    where = f"{processor()}, Linux {platform.release()}, {time.strftime('%Y-%m-%d')}"
    print('<!DOCTYPE html><html lang="en"><meta charset="utf-8"><title>Times of the queues</title>')
    print(f"<style>{STYLE}</style>")
    print(f"<h1>Times of the queues</h1><p>{html.escape(where)}. What the plots show: docs/performance.md.</p>")
    for path in paths:
        print(f"<h1>{html.escape(os.path.basename(path).removesuffix('.tsv'))}</h1>")
        for work, (clock, lines) in read(path).items():
            print(section(work, clock, lines))
    print("</html>")


if __name__ == "__main__":
    main(sys.argv[1:])
