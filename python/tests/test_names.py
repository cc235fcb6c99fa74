# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Every public function of the headers has a Python name or a reason."""

from __future__ import annotations

import zelvik
from cpp_names import PAGE, public_functions, python_names, reason_for, resolve, write_page


def test_every_public_function_is_accounted_for() -> None:
    headers = public_functions()
    assert "World::integrate1" in headers["World.hpp"]  # the scanner sees something
    unsaid, unknown = [], []
    for header, functions in headers.items():
        for function in functions:
            names = python_names(zelvik, function)
            if not names and not reason_for(header, function):
                unsaid.append(f"{header}: {function}")
            unknown += [f"{function}: {name}" for name in names if not resolve(zelvik, name)]
    assert not unsaid, "give a binding, a name or a reason in cpp_names.py: " + ", ".join(unsaid)
    assert not unknown


def test_the_page_is_up_to_date() -> None:
    assert PAGE.read_text(encoding="utf-8") == write_page(zelvik), "run cpp_names.py"
