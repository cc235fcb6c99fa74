# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Runs, logs, plots, and what a notebook shows."""

from __future__ import annotations

import base64
import re
from collections.abc import Callable

import numpy as np
import pytest

import zelvik


def test_a_run_captures_and_controls(
    world: zelvik.World, robot: zelvik.ArticulatedSystem, capfd: pytest.CaptureFixture[str]
) -> None:
    recorder, log = zelvik.Recorder(world), zelvik.Log(robot)
    times: list[float] = []
    zelvik.run(world, 1.0, control=times.append, capture=[recorder, log], rate=100)
    np.testing.assert_allclose(times, 0.0025 * np.arange(400))
    assert world.step_count == 400 and len(log) == len(recorder) == 100
    assert "400/400" in capfd.readouterr().err
    np.testing.assert_allclose(log.time, 0.01 * np.arange(1, 101))
    assert (log.coordinates[-1] == robot.generalized_coordinate).all()
    assert (log.velocities[-1] == robot.generalized_velocity).all()
    assert (log.forces[-1] == robot.generalized_force).all()
    assert log.contact_force[-1] == pytest.approx([0, 0, 117.72], abs=5.0)  # it sways
    zelvik.run(world, 0.0101, progress=False)
    assert world.step_count == 404 and capfd.readouterr().err == ""

    figure = log.plot(["LF_KFE", "RH_HAA", "ROOT"])
    positions, *_, contacts = figure.axes
    knee = positions.lines[0].get_ydata()
    assert knee == pytest.approx(log.coordinates[:, robot.joints["LF_KFE"].coordinate_slice][:, 0])
    assert len(positions.lines) == 2 and len(contacts.lines) == 3
    assert len(zelvik.Log(robot).plot().axes[0].lines) == 12  # also without a moment


def test_worlds_and_recordings_show_themselves(
    world: zelvik.World, robot: zelvik.ArticulatedSystem
) -> None:
    shown: str = getattr(world, "_repr_html_")()  # noqa: B009: what notebooks look for
    picture = re.match(r'<img src="data:image/png;base64,([^"]+)"/>', shown)
    assert picture and base64.b64decode(picture[1])[1:4] == b"PNG"
    assert "2 objects" in shown
    recorder = zelvik.Recorder(world)
    show: Callable[[], str] = getattr(recorder, "_repr_html_")  # noqa: B009
    assert show() == "<code>&lt;Recorder: 0 frames&gt;</code>"
    recorder.capture()
    page = show()
    assert page.startswith("<iframe srcdoc=") is zelvik.Recorder.has_html_viewer()
    assert page.count('"') <= 8 and "http://" not in page.replace("http://www.w3.org", "")
