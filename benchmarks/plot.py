"""Draws how the cost of a record grows, as one SVG."""

import math
import re

WIDTH, HEIGHT, LEFT, TOP = 300, 240, 60, 40
COLOURS = {"vellix": "#1f6feb", "write": "#888888", "mutex": "#555555",
           "spdlog": "#d1741f"}
PANELS = [
    ("Message, bytes", r"record/message:(\d+)$", True),
    ("Data, bytes", r"record/data:(\d+)$", False),
    ("Threads", r"record/disk(?:/threads:(\d+))?$", True),
]


def series(medians, pattern):
    """The points of each who does the jobs that fit."""
    found = {}
    for name, ns in medians.items():
        match = re.match(pattern, name.job)
        if match and name.by in COLOURS:
            found.setdefault(name.by, []).append((int(match[1] or 1), ns))
    return {by: sorted(points) for by, points in found.items()}


def line_over_floor(points):
    """Start and slope of what the library adds to the floor: the line for
    which the sum of the squared distances, relative to the floor, is least."""
    floor = dict(points["write"])
    rows = [(x, ns - floor[x], 1 / floor[x] ** 2) for x, ns in points["vellix"]]
    weight = sum(w for _, _, w in rows)
    mean_x = sum(w * x for x, _, w in rows) / weight
    mean_y = sum(w * y for _, y, w in rows) / weight
    slope = (sum(w * (x - mean_x) * (y - mean_y) for x, y, w in rows)
             / sum(w * (x - mean_x) ** 2 for x, _, w in rows))
    return mean_y - slope * mean_x, slope


def nice(value):
    for unit, size in (("M", 1 << 20), ("K", 1 << 10)):
        if value >= size and value % size == 0:
            return f"{value // size}{unit}"
    return f"{value:g}"


def text(x, y, words, anchor="middle", size=11):
    return (f'<text x="{x:.0f}" y="{y:.0f}" font-size="{size}" '
            f'text-anchor="{anchor}">{words}</text>')


def panel(left, title, lines, logarithmic):
    xs = sorted({x for points in lines.values() for x, _ in points})
    top = max(ns for points in lines.values() for _, ns in points)
    low = min(ns for points in lines.values() for _, ns in points)
    steep = top > 50 * low  # then both axes are logarithmic

    def at_x(x):
        scale = math.log if logarithmic else float
        return left + WIDTH * (scale(x) - scale(xs[0])) / (
            scale(xs[-1]) - scale(xs[0]))

    def at_y(ns):
        part = math.log(ns / 100) / math.log(top / 100) if steep else ns / top
        return TOP + HEIGHT * (1 - part)

    out = [f'<rect x="{left}" y="{TOP}" width="{WIDTH}" height="{HEIGHT}" '
           'fill="none" stroke="#ccc"/>',
           text(left + WIDTH / 2, TOP + HEIGHT + 34, title, size=12)]
    out += [text(at_x(x), TOP + HEIGHT + 16, nice(x)) for x in xs]
    step = 10 ** math.floor(math.log10(top))
    step = step / 4 if top / step < 2 else step
    ticks = ([10 ** e for e in range(2, 8) if 10 ** e <= top] if steep else
             [step * i for i in range(int(top / step) + 1)])
    out += [text(left - 5, at_y(ns) + 4, f"{ns:,.0f}", "end") for ns in ticks]
    for row, (by, points) in enumerate(sorted(lines.items())):
        path = " ".join(f"{at_x(x):.1f},{at_y(ns):.1f}" for x, ns in points)
        out.append(f'<polyline points="{path}" fill="none" stroke-width="2" '
                   f'stroke="{COLOURS[by]}"/>')
        # Below the lines, which rise or stay in the upper half.
        y = TOP + HEIGHT - 8 - 15 * (len(lines) - 1 - row)
        out.append(f'<rect x="{left + WIDTH - 70}" y="{y - 6}" width="14" '
                   f'height="3" fill="{COLOURS[by]}"/>')
        out.append(text(left + WIDTH - 50, y, by, "start"))
    return out


def svg(medians):
    """None when the jobs were not run."""
    shapes = []
    for index, (title, pattern, logarithmic) in enumerate(PANELS):
        lines = series(medians, pattern)
        if not lines:
            return None
        left = LEFT + index * (WIDTH + LEFT + 20)
        shapes += panel(left, title, lines, logarithmic)
    shapes.append(text(LEFT, 20, "Nanoseconds per log record, to a file on disk",
                       "start", 14))
    width = len(PANELS) * (WIDTH + LEFT + 20) + 20
    height = TOP + HEIGHT + 50
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" '
            f'height="{height}" viewBox="0 0 {width} {height}" '
            'font-family="sans-serif">\n'
            '<rect width="100%" height="100%" fill="white"/>\n'
            + "\n".join(shapes) + "\n</svg>\n")
