#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Plots of time per step against an error, one SVG per scene: plot.py SWEEP_JSONL OUT_DIR"""
import json
import math
import pathlib
import sys

WIDTH, HEIGHT = 760, 460
LEFT, RIGHT, TOP, BOTTOM = 80, 20, 40, 60
COLOURS = {"zelvik": "#d1242f", "mujoco": "#0969da", "ode": "#1a7f37", "bullet": "#9a6700",
           "dart": "#8250df"}
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


def series(engine, points, x_axis, y_axis):
    """Points joined in the order of their time; each with its setting as a tooltip."""
    colour = COLOURS.get(engine, "#57606a")
    placed = sorted((x_axis.place(t), y_axis.place(e), name) for t, e, name in points)
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y, _ in placed)
    parts = [f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="1" '
             'stroke-dasharray="3 3"/>']
    for number, (x, y, name) in enumerate(placed):
        parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="5" fill="{colour}">'
                     f"<title>{engine} {name}</title></circle>")
        above = -8 if number % 2 == 0 else 16
        parts.append(text(x, y + above, name.replace("broad=", ""), "middle", 8,
                          f'fill="{colour}"'))
    return parts


def legend(engines):
    parts = []
    for i, engine in enumerate(engines):
        x = LEFT + 10 + 100 * i
        parts.append(f'<circle cx="{x}" cy="{TOP - 12}" r="5" '
                     f'fill="{COLOURS.get(engine, "#57606a")}"/>')
        parts.append(text(x + 10, TOP - 8, engine, "start"))
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
    for engine, values in by_engine.items():
        parts += series(engine, values, x_axis, y_axis)
    parts += legend(list(by_engine))
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
