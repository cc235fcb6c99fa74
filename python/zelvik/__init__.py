# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""Rigid-body physics with hard contacts for legged robots.

Lengths in m, masses in kg, times in s, angles in rad; world axes unless said otherwise;
quaternions are w, x, y, z.
"""

from pathlib import Path as _Path

from ._processor import check as _check_processor

_check_processor()

from ._core import VERSION as __version__
from ._core import (
    ArticulatedSystem,
    Body,
    BodyType,
    Box,
    BroadPhase,
    Capsule,
    CollisionDefinition,
    CompliantLengthConstraint,
    Compound,
    Contact,
    ContactSolver,
    ControlMode,
    ConvexHull,
    CoordinateFrame,
    Cylinder,
    FatalError,
    Frame,
    Ground,
    GyroscopicMode,
    HeightMap,
    IntegrationScheme,
    Joint,
    JointType,
    LengthConstraint,
    MaterialManager,
    MaterialPairProperties,
    Mesh,
    Object,
    ObjectType,
    RayHit,
    Recorder,
    ShapeType,
    SingleBodyObject,
    Sphere,
    State,
    StiffLengthConstraint,
    World,
    read_urdf_tree,
    write_png,
)
from ._records import (
    Camera,
    CollisionShape,
    CompoundChild,
    JointSpring,
    Link,
    TerrainProperties,
    VisualShape,
)
from ._run import Log, run

MODEL_DIR = _Path(__file__).parent / "models"
"""Where the robots, meshes, terrains and worlds of the package are."""

__all__ = [
    "MODEL_DIR",
    "ArticulatedSystem",
    "Body",
    "BodyType",
    "Box",
    "BroadPhase",
    "Camera",
    "Capsule",
    "CollisionDefinition",
    "CollisionShape",
    "CompliantLengthConstraint",
    "Compound",
    "CompoundChild",
    "Contact",
    "ContactSolver",
    "ControlMode",
    "ConvexHull",
    "CoordinateFrame",
    "Cylinder",
    "FatalError",
    "Frame",
    "Ground",
    "GyroscopicMode",
    "HeightMap",
    "IntegrationScheme",
    "Joint",
    "JointSpring",
    "JointType",
    "LengthConstraint",
    "Link",
    "Log",
    "MaterialManager",
    "MaterialPairProperties",
    "Mesh",
    "Object",
    "ObjectType",
    "RayHit",
    "Recorder",
    "ShapeType",
    "SingleBodyObject",
    "Sphere",
    "State",
    "StiffLengthConstraint",
    "TerrainProperties",
    "VisualShape",
    "World",
    "__version__",
    "read_urdf_tree",
    "run",
    "write_png",
]
