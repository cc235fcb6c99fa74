#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Instructions per step out of the lists that instructions.sh makes: instructions.py DIR STEPS"""
import pathlib
import re
import sys

LINE = re.compile(r"^\s*([\d,]+) \([^)]*\)\s+(.*?)(?: \[([^\]]*)\])?$")
SHOWN = 25  # functions

# Functions that a step calls, by the stage that they belong to.
STAGES = [
    ("clear, poses of geoms", r"StepContacts::clear\(|::(clearPerObjectContact|"
                              r"updateCollision|updateTimeStepIfNecessary)\("),
    ("collision detection", r"CollisionSpace::detect\("),
    ("contact records, wires", r"StepContacts::(build|appendWires)\(|World::updateWires\("),
    ("first update", r"::preContactSolverUpdate1\("),
    ("joint limits", r"::appendJointLimits\("),
    ("second update", r"::preContactSolverUpdate2\("),
    ("assembly of problems", r"StepContacts::assemble\("),
    ("solve", r"^zelvik::contact::BisectionContactSolver::solve\("),
    ("integration, kinematics", r"(ArticulatedSystem|SingleBodyObject)::integrate\("),
]


def counts(path):
    """Instructions by function; the same function of several files counts once."""
    found = {}
    for line in path.read_text().splitlines():
        match = LINE.match(line)
        if match and match.group(2) != "PROGRAM TOTALS":
            name = match.group(2).split(":", 1)[-1]
            found[name] = found.get(name, 0) + int(match.group(1).replace(",", ""))
    return found


def per_step(directory, steps, kind):
    once, twice = (counts(directory / f"{n}.{kind}") for n in (steps, 2 * steps))
    return {name: (count - once.get(name, 0)) / steps for name, count in twice.items()}


def shortened(name):
    name = name.replace("zelvik::", "").replace("(anonymous namespace)::", "")
    while (cut := re.sub(r"<[^<>]*>|\([^()]*\)", "", name)) != name:
        name = cut
    return name if len(name) <= 60 else name[:57] + "..."


def show(rows, total):
    for name, count in rows:
        print(f"{count:12,.0f} {100 * count / total:5.1f} %  {name}")


def main():
    directory, steps = pathlib.Path(sys.argv[1]), int(sys.argv[2])
    inclusive, own = (per_step(directory, steps, kind) for kind in ("yes", "no"))
    total = sum(count for name, count in inclusive.items()
                if name.startswith("zelvik::World::integrate("))
    if total <= 0:
        sys.exit("instructions.py: World::integrate does not occur; is the library stripped?")
    print(f"{total:,.0f} instructions per step")
    print("\nStages (what the compiler took into the step itself counts as the rest):")
    stages = [(label, sum(count for name, count in inclusive.items() if re.search(pattern, name)))
              for label, pattern in STAGES]
    show(stages + [("rest", total - sum(count for _, count in stages))], total)
    print(f"\nFunctions, own instructions, the first {SHOWN}:")
    ranked = sorted(own.items(), key=lambda item: -item[1])[:SHOWN]
    show([(shortened(name), count) for name, count in ranked], total)


if __name__ == "__main__":
    main()
