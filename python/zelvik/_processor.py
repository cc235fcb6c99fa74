# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""A look at the processor before code is loaded that it may not understand."""

from pathlib import Path

_NEEDED = ("avx2", "fma")


def check(cpuinfo: Path = Path("/proc/cpuinfo")) -> None:
    """Raise ImportError where the library would end with "Illegal instruction"."""
    try:
        text = cpuinfo.read_text(encoding="utf-8", errors="replace")
    except OSError:
        return  # nobody to ask
    flags = next((line.split() for line in text.splitlines() if line.startswith("flags")), None)
    if flags is None:
        return
    missing = [flag for flag in _NEEDED if flag not in flags]
    if missing:
        raise ImportError(
            f"zelvik is built for processors with AVX2 and FMA, and this one lacks "
            f"{' and '.join(missing)}; build it from a clone for every processor: "
            f"pip install . --config-settings=cmake.define.ZELVIK_NATIVE_FLAGS=OFF"
        )
