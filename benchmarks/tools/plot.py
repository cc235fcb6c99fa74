#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Plots of time per step against an error, one SVG per scene: plot.py SWEEP_JSONL OUT_DIR"""
import json
import math
import pathlib
import sys

WIDTH, HEIGHT = 960, 480
LEFT, RIGHT, TOP, BOTTOM = 80, 270, 20, 60
COLOURS = {"zelvik": "#d1242f", "mujoco": "#0969da", "mujoco_newer": "#54aeff",
           "ode": "#1a7f37", "bullet": "#9a6700", "dart": "#8250df"}
PLOTS = [("S1m", "creep_m_per_s", "foot creep over one period (m/s)"),
         ("S1m", "penetration_m", "deepest penetration (m)"),
         ("S4-216-spheres", "penetration_m", "deepest penetration (m)"),
         ("S5", "penetration_m", "deepest penetration (m)"),
         ("S5", "creep_m_per_s", "largest creep of a box (m/s)")]
SMALLEST = 1e-9  # zeros stand here


class Axis:
    """A logarithmic axis over whole decades."""

    def __init__(self, values, begin, end):
        self.low = math.floor(math.log10(min(values)))
        self.high = max(math.ceil(math.log10(max(values))), self.low + 1)
        self.begin, self.end = begin, end

    def place(self, value):
        share = (math.log10(value) - self.low) / (self.high - self.low)
        return self.begin + share * (self.end - self.begin)

    def decades(self):
        return [10.0 ** k for k in range(self.low, self.high + 1)]


def text(x, y, content, anchor="middle", size=12, extra=""):
    escaped = content.replace("&", "&amp;").replace("<", "&lt;")
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" {extra}>'
            f"{escaped}</text>")


def grid(x_axis, y_axis):
    parts = []
    for value in x_axis.decades():
        x = x_axis.place(value)
        parts.append(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{HEIGHT - BOTTOM}"/>')
        parts.append(text(x, HEIGHT - BOTTOM + 18, f"{value:g}"))
    for value in y_axis.decades():
        y = y_axis.place(value)
        parts.append(f'<line x1="{LEFT}" y1="{y:.1f}" x2="{WIDTH - RIGHT}" y2="{y:.1f}"/>')
        parts.append(text(LEFT - 6, y + 4, f"{value:.0e}", "end"))
    return parts


def series(engine, points, x_axis, y_axis, row):
    """Points joined in the order of their time, with numbers that the list at the right explains,
    from the given row on."""
    colour = COLOURS.get(engine, "#57606a")
    placed = sorted((x_axis.place(t), y_axis.place(e), name) for t, e, name in points)
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y, _ in placed)
    side = WIDTH - RIGHT + 16
    parts = [f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1" '
             'stroke-dasharray="3 3"/>',
             text(side, TOP + 14 * row + 8, engine, "start", 12, f'fill="{colour}"')]
    for number, (x, y, name) in enumerate(placed, 1):
        parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="7" fill="{colour}"/>')
        parts.append(text(x, y + 3, str(number), "middle", 9, 'fill="#ffffff"'))
        parts.append(text(side, TOP + 14 * (row + number) + 8, f"{number}  {name}", "start", 9))
    return parts


def points_of(lines, scene, figure):
    by_engine = {}
    for line in lines:
        value = line.get("accuracy", {}).get(figure)
        if line["scene"] != scene or value is None:
            continue
        by_engine.setdefault(line["engine"], []).append(
            (line["cpu_us_per_step"]["min"], max(value, SMALLEST), line["setting"]))
    return by_engine


def plot(scene, label, by_engine):
    points = [point for engine in by_engine.values() for point in engine]
    x_axis = Axis([p[0] for p in points], LEFT, WIDTH - RIGHT)
    y_axis = Axis([p[1] for p in points], HEIGHT - BOTTOM, TOP)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
             'font-family="sans-serif" stroke="#d0d7de" stroke-width="0.5">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>']
    parts += grid(x_axis, y_axis)
    row = 0
    for engine, values in by_engine.items():
        parts += series(engine, values, x_axis, y_axis, row)
        row += len(values) + 1.5
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 20, f"{scene}: CPU time per step (µs)"))
    parts.append(text(18, HEIGHT / 2, label, "middle", 12,
                      f'transform="rotate(-90 18 {HEIGHT / 2})"'))
    return "\n".join(parts).replace("<text ", '<text stroke="none" ') + "\n</svg>\n"


def main():
    lines = [json.loads(line) for line in pathlib.Path(sys.argv[1]).read_text().splitlines()]
    out = pathlib.Path(sys.argv[2])
    for scene, figure, label in PLOTS:
        by_engine = points_of(lines, scene, figure)
        if not by_engine:
            continue
        name = f"sweep-{scene.lower()}-{figure.split('_')[0]}.svg"
        head = "<!-- SPDX-FileCopyrightText: 2026 the zelvik authors -->\n" \
               "<!-- SPDX-License-Identifier: BSD-3-Clause -->\n"
        (out / name).write_text(head + plot(scene, label, by_engine))
        print(name)


if __name__ == "__main__":
    main()
