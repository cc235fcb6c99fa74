# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Records without behaviour: what is handed to a world, or comes out of it, in several numbers.

Lengths in m, masses in kg, angles in rad. A matrix ``rotation`` maps the inner frame to the outer.
"""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from . import _core

_ORIGIN = (0.0, 0.0, 0.0)
_ONES = (1.0, 1.0, 1.0)


def _identity() -> Any:
    return np.eye(3)


def _zeros() -> Any:
    return np.zeros((3, 3))


@dataclass
class TerrainProperties:
    """Rough ground by a handful of numbers; equal properties give equal terrain."""

    frequency: float = 0.1
    """Noise cycles per metre of the first octave (1/m)."""
    x_size: float = 10.0
    """Extent (m)."""
    y_size: float = 10.0
    """Extent (m)."""
    z_scale: float = 2.0
    """Height of the range of the noise (m); heights run from 0 to it."""
    fractal_lacunarity: float = 2.0
    """Factor of the frequency from octave to octave."""
    fractal_gain: float = 0.25
    """Factor of the amplitude from octave to octave."""
    step_size: float = 0.0
    """Height of a terrace (m); 0 or less for smooth terrain."""
    fractal_octaves: int = 3
    """Number of octaves, up to 1000; 0 counts as 1."""
    x_samples: int = 100
    """Grid size, 2 or more."""
    y_samples: int = 100
    """Grid size, 2 or more."""
    seed: int = 0
    """Another seed, another terrain."""


@dataclass(eq=False)
class CompoundChild:
    """One shape of a compound."""

    object_type: _core.ObjectType
    """BOX, CYLINDER, CAPSULE or SPHERE."""
    size: Sequence[float]
    """Box: extents along x, y, z. Cylinder and capsule: radius, height (of a capsule without its
    caps). Sphere: radius. (m)"""
    position: ArrayLike = _ORIGIN
    """Origin of the shape (m, body frame), shape (3,)."""
    rotation: ArrayLike = field(default_factory=_identity)
    """Shape to body, shape (3, 3)."""
    material: str = ""
    """Name that the material table knows."""


@dataclass(eq=False)
class CollisionShape:
    """A shape of a `Link` that collides."""

    shape: _core.ShapeType
    """Kind."""
    size: Sequence[float] = ()
    """As `ShapeType` says (m)."""
    position: ArrayLike = _ORIGIN
    """(m, body frame), shape (3,)."""
    rotation: ArrayLike = field(default_factory=_identity)
    """Shape to body, shape (3, 3)."""
    scale: ArrayLike = _ONES
    """Applied to the vertices of a mesh, shape (3,)."""
    name: str = ""
    """For the caller's use."""
    material: str = ""
    """Name that the material table knows."""
    mesh_file: str = ""
    """Relative to the robot's resource directory."""


@dataclass(eq=False)
class VisualShape:
    """A shape of a `Link` for a renderer."""

    shape: _core.ShapeType
    """Kind."""
    size: Sequence[float] = ()
    """As `ShapeType` says (m)."""
    position: ArrayLike = _ORIGIN
    """(m, body frame), shape (3,)."""
    rotation: ArrayLike = field(default_factory=_identity)
    """Shape to body, shape (3, 3)."""
    scale: ArrayLike = _ONES
    """Applied to the vertices of a mesh, shape (3,)."""
    name: str = ""
    """Of the shape."""
    material: str = ""
    """For a renderer."""
    mesh_file: str = ""
    """Relative to the robot's resource directory."""
    color: ArrayLike = (0.7, 0.7, 0.7, 1.0)
    """Red, green, blue, alpha, 0 to 1, shape (4,)."""
    local_idx: int = 0
    """Body of the robot that it comes from."""


@dataclass(eq=False)
class Link:
    """A rigid body with the joint that connects it to its parent, and the bodies below it.

    The joint of the root is FIXED or FLOATING. Bodies on fixed joints are merged into their parent.
    """

    name: str = ""
    """Of the body."""
    mass: float = 0.0
    """(kg)"""
    com: ArrayLike = _ORIGIN
    """Centre of mass (m, body frame), shape (3,)."""
    inertia: ArrayLike = field(default_factory=_zeros)
    """About the centre of mass (kg m^2, body axes), shape (3, 3)."""
    joint_name: str = ""
    """Of the joint above; joints that move need one."""
    joint_type: _core.JointType = _core.JointType.FIXED
    """Of the joint above."""
    joint_axis: ArrayLike = _ORIGIN
    """Unit vector (body axes), shape (3,)."""
    joint_position: ArrayLike = _ORIGIN
    """Origin of the joint (m, parent frame), shape (3,); of a fixed root: in the world."""
    joint_rotation: ArrayLike = field(default_factory=_identity)
    """Joint frame to parent at coordinate zero, shape (3, 3)."""
    joint_limit: tuple[float, float] = (0.0, 0.0)
    """Lower and upper limit (rad or m); equal values: no limit. A spherical joint reads the lower
    value as its largest angle, and a negative one as none: (0, 0) locks it."""
    effort: float = -1.0
    """Largest joint force (N or N m); none unless above 0."""
    damping: float = 0.0
    """(N s/m or N m s/rad)"""
    friction: float = 0.0
    """Stored only."""
    stiffness: float = 0.0
    """Of a spring in the joint (N/m or N m/rad)."""
    rotor_inertia: float = 0.0
    """Added to the diagonal of the mass matrix (kg or kg m^2)."""
    spring_mount: Sequence[float] = (0.0, 0.0, 0.0, 0.0)
    """Rest coordinate of the spring: the first, or a quaternion w, x, y, z."""
    collisions: list[CollisionShape] = field(default_factory=list)
    """Shapes that collide."""
    visuals: list[VisualShape] = field(default_factory=list)
    """Shapes to draw."""
    children: list[Link] = field(default_factory=list)
    """Bodies below."""


@dataclass
class JointSpring:
    """A spring in a joint."""

    body_idx: int
    """Body below the joint."""
    stiffness: float
    """(N/m or N m/rad)"""
    spring_mount: Sequence[float] = (0.0, 0.0, 0.0, 0.0)
    """Rest coordinate: the first, or a quaternion w, x, y, z."""


@dataclass
class Camera:
    """Where a picture is taken from. Angles in rad, lengths in m, world axes."""

    azimuth: float = -0.9
    """Of the camera seen from the target, from +x towards +y (rad)."""
    elevation: float = 0.35
    """Of the camera above the target (rad), within +-pi/2."""
    distance: float = 0.0
    """To the target (m); 0: so that everything but grounds and height maps is seen."""
    target: ArrayLike | None = None
    """What the camera looks at (m), shape (3,); None: the middle of what `distance` describes."""
    follow: str = ""
    """Name of an object or body that the camera looks at."""
    field_of_view: float = 0.6
    """Over the picture's height (rad)."""
