#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""The rooms of the sources, from the lowest to the highest, and the rule between them.

A room is a folder of src/ with the public headers that belong to it. Sources and public headers of
a room include from itself and from rooms below it, so no two rooms include each other.

    scripts/rooms.py check       fails and names each include that points upwards
    scripts/rooms.py draw FILE   draws the rooms and their includes as SVG
"""

import re
import sys
from collections import Counter
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent

# name: what it holds. A folder below a room (object/terrain) belongs to that room.
ROOMS = {
    "core": "messages, numbers, four lanes, small matrices, XML, materials",
    "collision": "ODE and its guard, search and order of pairs, points of contact",
    "contact": "the problem of one contact, its law, the search for a sliding one",
    "object": "single bodies, shapes, terrain, wires",
    "tree": "factorisation and responses along a tree of velocities",
    "model": "joints and bodies as records, URDF reading",
    "articulated": "articulated systems and the passes over their trees",
    "solver": "sweeps over all contacts, batches, order, memory of impulses",
    "world": "the step, contacts, assembly, rays, objects",
    "worldfile": "world files: load and export",
    "view": "zelvik_view: recordings, pages, pictures",
    "import": "zelvik_model: robots as they are published",
    "rl": "zelvik_rl: many worlds on threads",
}

# Public headers below include/zelvik by room; what is not named here belongs to `core` if it stands
# at the top, and else to the room of its folder.
HEADERS = {
    "core": ["object/BodyType.hpp", "object/GeomRecord.hpp"],
    "tree": ["object/ArticulatedSystem/TreeFactor.hpp"],
    "model": ["object/ArticulatedSystem/JointAndBodies.hpp", "urdf.hpp"],
    "articulated": [
        f"object/ArticulatedSystem/{name}.hpp"
        for name in ("ArticulatedSystem", "JointParameters", "RobotContacts", "TreeDescription")
    ],
    "solver": ["contact/BisectionContactSolver.hpp"],
    "world": ["World.hpp", "RayHit.hpp", "ContactReport.hpp", "Watch.hpp"],
}
FOLDERS = {"contact": "contact", "object": "object", "view": "view", "model": "import", "rl": "rl"}
ROOM_OF_HEADER = {name: room for room, names in HEADERS.items() for name in names}


def room_of_header(name):
    """Room of a public header, given by its path below include/zelvik."""
    folder = name.split("/")[0] if "/" in name else None
    return ROOM_OF_HEADER.get(name) or FOLDERS.get(folder, "core")


def files():
    """(room, path) of every source and header."""
    for path in sorted(TOP.glob("src/**/*.[ch]pp")):
        yield path.relative_to(TOP / "src").parts[0], path
    for path in sorted(TOP.glob("include/zelvik/**/*.hpp")):
        yield room_of_header(str(path.relative_to(TOP / "include/zelvik"))), path


def includes():
    """(room, path, line, included room, included name) of every include of a file of ours."""
    for room, path in files():
        for number, line in enumerate(path.read_text().splitlines(), 1):
            found = re.match(r'#include (?:<zelvik/([^>]+)>|"([^"]+)")', line)
            if not found:
                continue
            public, own = found.groups()
            if public:
                yield room, path, number, room_of_header(public), public
            else:
                yield room, path, number, own.split("/")[0] if "/" in own else room, own


def check():
    """Prints each offence; the number of them."""
    height = {room: i for i, room in enumerate(ROOMS)}
    offences = []
    for room, path in files():
        if room not in height:
            offences.append(f"{path.relative_to(TOP)}: {room} is no room (see scripts/rooms.py)")
    for name in ROOM_OF_HEADER:
        if not (TOP / "include/zelvik" / name).is_file():
            offences.append(f"scripts/rooms.py: there is no header {name}")
    for room, path, number, below, name in includes():
        where = f"{path.relative_to(TOP)}:{number}"
        if below not in height:
            offences.append(f"{where}: {name} is in no room")
        elif room in height and height[below] > height[room]:
            offences.append(f"{where}: {room} includes {name} from {below} above it")
    print("\n".join(offences) or f"rooms: {len(list(files()))} files, no include points upwards")
    return len(offences)


# Layout of the picture (px).
ROW, LEFT, BOX, WIDTH, TITLE = 46, 16, 500, 880, 40


def draw(target):
    """Boxes from the highest room to the lowest, and an arc for the includes between two rooms."""
    count, lines, arcs = Counter(), Counter(), Counter()
    for room, path in files():
        count[room] += 1
        lines[room] += len(path.read_text().splitlines())
    for room, _, _, below, _ in includes():
        if room != below:
            arcs[room, below] += 1
    shown = [room for room in reversed(ROOMS) if count[room]]
    middle = {room: TITLE + i * ROW + ROW / 2 - 3 for i, room in enumerate(shown)}
    height = TITLE + len(shown) * ROW + 10
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{WIDTH}" height="{height}" fill="white"/>',
           f'<text x="{LEFT}" y="22" font-size="14">Rooms of the sources; an arc: includes from a '
           'room below, wider for more of them</text>']
    for (upper, lower), n in sorted(arcs.items(), key=lambda item: item[0]):
        a, b = middle[upper], middle[lower]
        reach = LEFT + BOX + 18 + (b - a) * 0.62
        out.append(f'<path d="M{LEFT + BOX} {a:.0f}C{reach:.0f} {a:.0f} {reach:.0f} {b:.0f} '
                   f'{LEFT + BOX} {b:.0f}" fill="none" stroke="#1b6ca8" stroke-opacity="0.45" '
                   f'stroke-width="{0.8 + 0.9 * n ** 0.5:.1f}"><title>{upper} includes {lower}: '
                   f'{n}</title></path>')
    for room in shown:
        y = middle[room] - ROW / 2 + 6
        out.append(f'<rect x="{LEFT}" y="{y:.0f}" width="{BOX}" height="{ROW - 10}" rx="4" '
                   'fill="#eef4f9" stroke="#1b6ca8"/>'
                   f'<text x="{LEFT + 10}" y="{y + 15:.0f}" font-weight="bold">{room}</text>'
                   f'<text x="{LEFT + BOX - 10}" y="{y + 15:.0f}" text-anchor="end" fill="#555">'
                   f'{count[room]} files, {lines[room]} lines</text>'
                   f'<text x="{LEFT + 10}" y="{y + 30:.0f}" fill="#333">{ROOMS[room]}</text>')
    Path(target).write_text("\n".join(out) + "\n</svg>\n")


if __name__ == "__main__":
    if sys.argv[1:] == ["check"]:
        sys.exit(1 if check() else 0)
    if len(sys.argv) == 3 and sys.argv[1] == "draw":
        draw(sys.argv[2])
    else:
        sys.exit(__doc__)
