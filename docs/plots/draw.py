# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Draws lines "plot,scheme,x,y" from the standard input as one SVG per plot: draw.py DIRECTORY."""

import math
import sys
from collections import defaultdict

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 640, 360, 72, 16, 36, 48
COLOURS = {"TRAPEZOID": "#1b6ca8", "SEMI_IMPLICIT": "#2e8b57", "EXPLICIT": "#c0392b",
           "RUNGE_KUTTA_4": "#7d3c98"}
# Title, x axis, y axis, logarithmic x.
PLOTS = {
    "energy": ("Double pendulum, 2 ms: error of the energy", "time (s)", "|error| / 9.81 J", False),
    "order": ("Double pendulum: largest error of the energy in 10 s", "time step (s)",
              "|error| / 9.81 J", True),
    "tree_energy": ("Free tree of six bodies, 2 ms: error of the energy", "time (s)",
                    "relative error", False),
    "tree_momentum": ("Free tree of six bodies, 2 ms: error of the angular momentum", "time (s)",
                      "relative error", False),
}
FLOOR = 1e-13  # smaller errors are drawn here


def scale(values, logarithmic, low, high):
    """Maps the range of the values to low..high; returns the map and the ticks."""
    a, b = min(values), max(values)
    if not logarithmic:
        a = 0.0
        return (lambda v: low + (v - a) / (b - a) * (high - low)), \
            [a + (b - a) * i / 5 for i in range(6)]
    a, b = math.floor(math.log10(a)), math.ceil(math.log10(b))
    step = max(1, (b - a) // 7)
    return (lambda v: low + (math.log10(v) - a) / (b - a) * (high - low)), \
        [10.0 ** e for e in range(a, b + 1, step)]


def draw(plot, curves):
    """The SVG text of one plot; the vertical axis is always logarithmic."""
    title, x_label, y_label, log_x = PLOTS[plot]
    xs = [x for points in curves.values() for x, _ in points]
    ys = [y for points in curves.values() for _, y in points]
    to_x, x_ticks = scale(xs, log_x, LEFT, WIDTH - RIGHT)
    to_y, y_ticks = scale(ys, True, HEIGHT - BOTTOM, TOP)
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
           f'<text x="{LEFT}" y="20" font-size="14">{title}</text>']
    for tick in y_ticks:
        y = to_y(tick)
        out.append(f'<path d="M{LEFT} {y:.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>'
                   f'<text x="{LEFT - 6}" y="{y + 4:.1f}" text-anchor="end">{tick:.0e}</text>')
    for tick in x_ticks:
        x = to_x(tick)
        out.append(f'<path d="M{x:.1f} {TOP}V{HEIGHT - BOTTOM}" stroke="#eee"/>'
                   f'<text x="{x:.1f}" y="{HEIGHT - BOTTOM + 16}" text-anchor="middle">'
                   f'{tick:.3g}</text>')
    out.append(f'<text x="{WIDTH - RIGHT}" y="{HEIGHT - BOTTOM - 6}" text-anchor="end">{x_label}</text>'
               f'<text transform="translate(14 {TOP}) rotate(-90)" text-anchor="end">{y_label}</text>')
    for i, (scheme, points) in enumerate(curves.items()):
        path = "L".join(f"{to_x(x):.1f} {to_y(y):.1f}" for x, y in points)
        out.append(f'<path d="M{path}" fill="none" stroke="{COLOURS[scheme]}" stroke-width="1.5"/>'
                   f'<text x="{LEFT + 8 + 135 * i}" y="{HEIGHT - 8}" fill="{COLOURS[scheme]}">'
                   f'{scheme}</text>')
    return "\n".join(out) + "\n</svg>\n"


def main():
    plots = defaultdict(lambda: defaultdict(list))
    for line in sys.stdin:
        plot, scheme, x, y = line.split(",")
        plots[plot][scheme].append((float(x), max(abs(float(y)), FLOOR)))
    for plot, curves in plots.items():
        with open(f"{sys.argv[1]}/{plot}.svg", "w", encoding="ascii") as file:
            file.write(draw(plot, curves))


main()
