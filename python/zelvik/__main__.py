# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""What the package does from the command line: ``python -m zelvik demo``."""

from __future__ import annotations

import argparse
import math
import sys
from pathlib import Path

from . import MODEL_DIR, __version__, _demo


def _duration(text: str) -> float:
    value = float(text)
    if not 0.0 < value < math.inf:
        raise argparse.ArgumentTypeError("a number above 0 is needed")
    return value


def main(arguments: list[str] | None = None) -> int:
    """Run a command; returns the exit status."""
    parser = argparse.ArgumentParser(prog="python -m zelvik", description="zelvik from Python")
    parser.add_argument("--version", action="version", version=f"zelvik {__version__}")
    commands = parser.add_subparsers(dest="command", required=True)
    demo = commands.add_parser("demo", help="a quadruped stands, is pushed, and is recorded")
    demo.add_argument("--seconds", type=_duration, default=10.0, help="simulated time")
    demo.add_argument("--push", type=float, default=30.0, help="sideways for 0.2 s (N)")
    demo.add_argument("--record", type=Path, default=Path(), help="directory of replay and picture")
    commands.add_parser("models", help="print the directory of the models")
    options = parser.parse_args(arguments)
    if options.command == "models":
        print(MODEL_DIR)
        return 0
    return _demo.run(options.seconds, options.push, options.record)


if __name__ == "__main__":
    sys.exit(main())
