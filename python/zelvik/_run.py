# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Runs of a world with a controller, recordings, numbers over time, and a progress bar."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from importlib.util import find_spec
from typing import Any, Protocol

import numpy as np
from numpy.typing import NDArray

from ._core import ArticulatedSystem, World

_STEPS_BETWEEN_LOOKS = 100  # of the progress bar, where nothing else wants to see the steps


class Capturing(Protocol):
    """What `run` calls to keep a moment: a `Recorder` or a `Log`."""

    def capture(self) -> None:
        """Keep the present moment."""


def run(
    world: World,
    seconds: float,
    *,
    control: Callable[[float], object] | None = None,
    capture: Sequence[Capturing] = (),
    rate: float = 60.0,
    progress: bool = True,
) -> None:
    """Step a world for a time.

    Parameters
    ----------
    world : World
        What is stepped.
    seconds : float
        Simulated time, rounded to whole steps.
    control : callable, optional
        Called before each step with the world's time (s).
    capture : sequence of Recorder or Log
        Each captures `rate` times a second, of simulated time, and at the end.
    rate : float
        (1/s)
    progress : bool
        Whether a bar shows how far it is, if the package ``tqdm`` is installed.
    """
    steps = max(round(seconds / world.time_step), 0)
    stride = max(round(1.0 / (rate * world.time_step)), 1) if capture else _STEPS_BETWEEN_LOOKS
    with _bar(steps, progress) as bar:
        done = 0
        while done < steps:
            count = min(stride - done % stride, steps - done)
            if control is None:
                world.integrate(count)
            else:
                for _ in range(count):
                    control(world.world_time)
                    world.integrate()
            done += count
            for each in capture:
                each.capture()
            bar.update(count)


class _NoBar:
    def __enter__(self) -> _NoBar:
        return self

    def __exit__(self, *_: object) -> None:
        pass

    def update(self, steps: int) -> None:
        pass


def _bar(steps: int, wanted: bool) -> Any:
    if not wanted:
        return _NoBar()
    try:
        # The widget of notebooks warns where ipywidgets is missing; the plain bar works there as well.
        if find_spec("ipywidgets"):
            from tqdm.auto import tqdm
        else:
            from tqdm import tqdm
    except ImportError:
        return _NoBar()
    return tqdm(total=steps, unit="step")


class Log:
    """Numbers of a robot over time, for plots: what a `Recorder` is for pictures.

    Parameters
    ----------
    robot : ArticulatedSystem
        What `capture` reads.
    """

    def __init__(self, robot: ArticulatedSystem) -> None:
        self.robot = robot
        self._rows: list[NDArray[np.float64]] = []

    def capture(self) -> None:
        """Append the robot's state, the forces of the last step, and the force of its contacts."""
        robot, world = self.robot, self.robot.world
        touch = np.zeros(3)
        for contact in robot.contacts:
            if not contact.self_collision:
                touch += contact.impulse
        self._rows.append(
            np.concatenate([
                [world.world_time],
                robot.generalized_coordinate,
                robot.generalized_velocity,
                robot.generalized_force,
                touch / world.time_step,
            ])
        )

    def __len__(self) -> int:
        return len(self._rows)

    def __repr__(self) -> str:
        return f"<Log of {self.robot!r}: {len(self)} moments>"

    def _columns(self, first: int, count: int) -> NDArray[np.float64]:
        if not self._rows:
            return np.zeros((0, count))
        return np.array([row[first : first + count] for row in self._rows])

    @property
    def time(self) -> NDArray[np.float64]:
        """World time (s), shape (n,)."""
        return self._columns(0, 1)[:, 0]

    @property
    def coordinates(self) -> NDArray[np.float64]:
        """Generalized coordinates, shape (n, coordinates)."""
        return self._columns(1, self.robot.generalized_coordinate_dim)

    @property
    def velocities(self) -> NDArray[np.float64]:
        """Generalized velocities, shape (n, dof)."""
        return self._columns(1 + self.robot.generalized_coordinate_dim, self.robot.dof)

    @property
    def forces(self) -> NDArray[np.float64]:
        """Generalized forces that acted, PD and feed-forward, shape (n, dof)."""
        first = 1 + self.robot.generalized_coordinate_dim + self.robot.dof
        return self._columns(first, self.robot.dof)

    @property
    def contact_force(self) -> NDArray[np.float64]:
        """Sum of the forces of contacts with other objects (N, world axes), shape (n, 3)."""
        return self._columns(1 + self.robot.generalized_coordinate_dim + 2 * self.robot.dof, 3)

    def plot(self, joints: Sequence[str] | None = None) -> Any:
        """Plot joints and contact force over time; needs the package ``matplotlib``.

        Parameters
        ----------
        joints : sequence of str, optional
            Names of joints of one velocity; by default all.

        Returns
        -------
        matplotlib.figure.Figure
            Four plots: positions, velocities and forces of joints, force of contacts.
        """
        from matplotlib import pyplot

        figure = pyplot.figure(figsize=(9, 9), layout="constrained")
        pyplot.close(figure)  # a notebook shows what is returned, once
        axes = figure.subplots(4, 1, sharex=True)
        names = self.robot.joints.names if joints is None else joints
        time = self.time
        for name in names:
            joint = self.robot.joints[name]
            place, rate = joint.coordinate_slice, joint.velocity_slice
            if rate.stop - rate.start != 1:
                continue
            axes[0].plot(time, self.coordinates[:, place], label=name)
            axes[1].plot(time, self.velocities[:, rate])
            axes[2].plot(time, self.forces[:, rate])
        axes[3].plot(time, self.contact_force, label=["x", "y", "z"])
        labels = ("position (rad, m)", "velocity (rad/s, m/s)", "force (N m, N)", "contacts (N)")
        for each, label in zip(axes, labels, strict=True):
            each.set_ylabel(label)
            each.grid(alpha=0.3)
        axes[0].legend(ncols=4, fontsize="small")
        axes[3].legend(ncols=3, fontsize="small")
        axes[3].set_xlabel("time (s)")
        return figure
