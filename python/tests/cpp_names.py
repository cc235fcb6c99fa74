# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
"""What each public function of the C++ headers is called in Python, or why it has no name there.

``python python/tests/cpp_names.py`` writes the table to docs/python-names.md; a test keeps it
complete. Names follow a rule (docs/python.md), and the exceptions stand here.
"""

from __future__ import annotations

import re
from pathlib import Path

ROOT = Path(__file__).parents[2]
HEADERS = ROOT / "include" / "zelvik"
PAGE = ROOT / "docs" / "python-names.md"

# C++ classes whose name in Python differs.
CLASSES = {"BisectionContactSolver": "ContactSolver"}

# Where the rule does not hold: one name, or several with " or " between them.
NAMES = {
    "ArticulatedSystem::getBodyCom": "Body.com",
    "ArticulatedSystem::getBodyInertia": "Body.inertia",
    "ArticulatedSystem::getChildren": "Body.children",
    "ArticulatedSystem::getComPositions": "Body.com_position",
    "ArticulatedSystem::getCompositeMass": "Body.composite_mass",
    "ArticulatedSystem::getDofStart": "Joint.velocity_slice",
    "ArticulatedSystem::getGcStart": "Joint.coordinate_slice",
    "ArticulatedSystem::getJointAxes": "Body.joint_axis",
    "ArticulatedSystem::getJointType": "Body.joint_type",
    "ArticulatedSystem::getParents": "Body.parent",
    "ArticulatedSystem::setCollisionObjectOrientationOffset": "CollisionDefinition.rotation_offset",
    "ArticulatedSystem::setCollisionObjectPositionOffset": "CollisionDefinition.position_offset",
    "ArticulatedSystem::setCollisionObjectShapeParameters": "CollisionDefinition.set_shape_parameters",
    "ArticulatedSystem::setExternalForce": "Object.set_external_force or "
    "ArticulatedSystem.set_external_force_in",
    "ArticulatedSystem::setGeneralizedForce": "ArticulatedSystem.feed_forward_force",
    "ArticulatedSystem::setBodyCom": "Body.com",
    "ArticulatedSystem::setBodyInertia": "Body.inertia",
    "ArticulatedSystem::printOutBodyNamesInOrder": "ArticulatedSystem.body_names",
    "ArticulatedSystem::printOutFrameNamesInOrder": "ArticulatedSystem.frames",
    "BisectionContactSolver::getERP": "World.erp",
    "BisectionContactSolver::getERP2": "World.erp2",
    "BisectionContactSolver::getSurfaceLayer": "World.contact_surface_layer",
    "BisectionContactSolver::resetHistory": "World.reset_history",
    "BisectionContactSolver::setERP": "World.erp or World.erp2",
    "BisectionContactSolver::setParameters": "World.set_contact_solver_param",
    "BisectionContactSolver::setSurfaceLayer": "World.contact_surface_layer",
    "BisectionContactSolver::setTimeStep": "World.time_step",
    "HeightMap::getHeightMap": "HeightMap.heights",
    "HeightMap::rayHits": "World.ray_test",
    "HeightMap::usesExactContacts": "HeightMap.exact_contacts",
    "Mesh::loadObj": "World.add_mesh",
    "Object::setExternalForce": "Object.set_external_force",
    "SingleBodyObject::getBodyInertia": "SingleBodyObject.inertia",
    "SingleBodyObject::getBodyPosition": "SingleBodyObject.position",
    "SingleBodyObject::getQuaternion": "SingleBodyObject.orientation",
    "ContactReport::getPoints": "Touch.points",
    "State::getBytes": "State.to_bytes",
    "World::addArticulatedSystem": "World.add_articulated_system or "
    "World.add_articulated_system_from_tree",
    "World::addHeightMap": "World.add_height_map or World.add_height_map_from_png or "
    "World.add_height_map_from_text or World.add_terrain or World.add_height_map_copy",
    "World::addMesh": "World.add_mesh or World.add_mesh_copy",
    "World::getObjList": "World.objects",
    "World::isWarmStarted": "World.warm_start",
    "World::setLedger": "World.set_ledger",
    "World::setERP": "World.erp or World.erp2",
    "read_png_file": "World.add_height_map_from_png",
    "readUrdfTree": "read_urdf_tree",
    "LoadFromURDF2::read": "read_urdf_tree",
    "setBaseOrientation": "ArticulatedSystem.set_base_orientation",
    "getImpulse": "Contact.impulse",
    "Contact::frameOf": "Contact.frame",
    "writePng": "write_png",
}

_STAGE = "a stage of the step, called by the world"
_SWEEP = "the solver's access to an object during the sweeps"
_TREE = "the inner layout of a robot; names and parts tell it"
_GEOM = "a geom of the collision library"
_WORLD = "called by the world"

# Why there is no name, by function, with or without its class.
REASONS = {
    **dict.fromkeys(
        "preContactSolverUpdate1 preContactSolverUpdate2 appendJointLimits enforceJointLimits "
        "updateTimeStep updateTimeStepIfNecessary contactProblemUpdate computeDampedMass "
        "getFullDelassusAndTauStar integrateWithoutContact rkIntegrate setConstraintForce "
        "updateWorldInertia updateOrientation updateMassInfo forgetContacts updateCollision "
        "applyTension Object::integrate SingleBodyObject::integrate ArticulatedSystem::integrate "
        "LengthConstraint::update BisectionContactSolver::solve".split(),
        _STAGE,
    ),
    **dict.fromkeys(
        "addContactPointVel subContactPointVel getContactPointVel updateGenVelWithImpulse "
        "getDelassusAndTauStar getPerObjectContact usesFullDelassus getImpactVel "
        "getContactFrameJacobians getContactResponse getDampedDiagonal".split(),
        _SWEEP,
    ),
    **dict.fromkeys(
        "getDofParent getPathDof getPathGc getLeaves getDepths getSparseJacobian "
        "getSparseJacobian_internal getSparseRotationalJacobian computeSparseInverse "
        "getCompositeCom getCompositeInertia ArticulatedSystem::getWorldInertia getPose".split(),
        _TREE,
    ),
    **dict.fromkeys(
        "getGeom getGeomCount getCollisionGeoms getCollisionObject destroyCollisionBodies "
        "HeightMap::collide isMissedByOde isInReach dropUnusedVertices".split(),
        _GEOM,
    ),
    **dict.fromkeys(
        "addContactToPerObjectContact clearPerObjectContact setIndexInWorld setIdInWorld "
        "releaseBody areVisForcesCurrent setShapes shareForceWarning visitState "
        "hasForgottenContacts rejoin copyParameters".split(),
        _WORLD,
    ),
    "MaterialManager::init": "reading of files",
    "generateTerrain": "the constructor's; `World.add_terrain` makes the map",
    "coordinateCount": "`Joint.coordinate_slice` tells it",
    "velocityCount": "`Joint.velocity_slice` tells it",
    "Single3DContactProblem::checkRank": _SWEEP,
    "ZelvikMsg::stream": "messages go to `logging` and `FatalError`",
    "getImmovable": "a warning tells it",
    "getImpulseMaps": _SWEEP,
    "viewContacts": _SWEEP,
    "objectTypeToString": "`ObjectType.name`",
    "stringToObjectType": "`ObjectType[name]`",
    "Image::pixel": "images are arrays",
    **dict.fromkeys(
        "ContactReport::getName ContactReport::getShapeName ContactReport::getMaterial".split(),
        "objects, bodies and collision bodies tell it",
    ),
    **dict.fromkeys(
        [f"{c}::copy" for c in "Object Sphere Box Cylinder Capsule Ground Cone Mesh Compound "
         "ConvexHull HeightMap ArticulatedSystem".split()],
        "a part of `World::clone`",
    ),
}

# Why nothing of a header or class has a name.
WHOLE = {
    "math.hpp": "linear algebra: numpy",
    "rotation.hpp": "linear algebra: numpy",
    "contact/FastTrig.hpp": "inner function of the solver",
    "SparseJacobian.hpp": "linear algebra: numpy",
    "object/ImplicitGyroscopic.hpp": "inner function of the integration",
    "object/ArticulatedSystem/TreeFactor.hpp": "linear algebra along the tree of a robot",
    "object/GeomRecord.hpp": _GEOM,
    "object/Cone.hpp": "a cone collides with nothing, and worlds add none",
    "NumberList.hpp": "reading of files",
    "Path.hpp": "paths are those of `pathlib`",
    "LocaleGuard.hpp": "reading of files",
    "XmlDepth.hpp": "reading of files",
    "ZelvikTinyXmlWrapper.hpp": "reading of files",
    "ZelvikTinyXmlWriter.hpp": "writing of files",
    "urdf.hpp": "reading of single elements of a file",
    "EigenArguments.hpp": "linear algebra: numpy",
    "TextFile.hpp": "reading of files",
    "model/Report.hpp": "the library `zelvik_model` is not part of the package yet",
    "model/Robot.hpp": "the library `zelvik_model` is not part of the package yet",
    "view/Rasterizer.hpp": "`Recorder.render` draws",
    "object/ArticulatedSystem/JointAndBodies.hpp": "trees are `Link` records",
    "contact/Single3DContactProblem.hpp": "linear algebra: numpy",
    "DelassusRow": _SWEEP,
    "TreeDescription": "trees are `Link` records",
    "NotCopied.hpp": "memory of C++",
}

_TOKEN = re.compile(r"""//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])'""", re.S)
_DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n\\]|\\\n|\\.)*", re.M)
_BLOCK = re.compile(r"\b(class|struct|namespace|enum)\b(?:\s+class)?(?:\s+ZELVIK_API)?\s*([\w:]*)[^()=]*$")
_FUNCTION = re.compile(r"(~?\b\w+|operator\s*\S+?)\s*\(")


class _Scanner:
    """Finds the public functions of one header that clang-format has laid out."""

    def __init__(self) -> None:
        self.found: set[str] = set()
        self.blocks: list[list[str]] = []  # kind, name, access
        self.statement = ""

    def scan(self, text: str) -> set[str]:
        text = _TOKEN.sub(lambda m: "" if m[0][0] == "/" else "0", text)
        text = _DIRECTIVE.sub("", text)
        for place, c in enumerate(text):
            if c == "{":
                self._open()
            elif c == "}":
                self.blocks.pop()
                self.statement = ""
            elif c == ";":
                self._record()
                self.statement = ""
            elif c == ":" and text[place + 1] != ":" and self._names_access():
                self.blocks[-1][2] = self.statement.split()[-1]
                self.statement = ""
            else:
                self.statement += c
        return self.found

    def _names_access(self) -> bool:
        return re.search(r"\b(public|private|protected)\s*$", self.statement) is not None

    def _open(self) -> None:
        block = _BLOCK.search(self.statement)
        if block:
            kind = "class" if block[1] == "struct" else block[1]
            self.blocks.append([kind, block[2], "private" if block[1] == "class" else "public"])
        else:
            self._record()
            self.blocks.append(["body", "", "private"])
        self.statement = ""

    def _record(self) -> None:
        """Note the function that the statement declares, if it is one that callers see."""
        statement = re.sub(r"^\s*template\s*<(?:[^<>]|<[^<>]*>)*>", "", self.statement).strip()
        if statement.startswith(("using", "friend", "typedef", "static_assert")):
            return
        if any(kind == "body" or access != "public" for kind, _, access in self.blocks):
            return
        if any(kind == "namespace" and name.endswith("detail") for kind, name, _ in self.blocks):
            return
        function = _FUNCTION.search(statement)
        if not function or "=" in statement[: function.start()] or "std::function" in statement:
            return
        name = function[1]
        classes = [name for kind, name, _ in self.blocks if kind == "class"]
        if name.startswith(("~", "operator")) or (classes and name == classes[-1]):
            return
        self.found.add("::".join([*classes, name]))


def public_functions() -> dict[str, list[str]]:
    """Functions of each header that has any, as ``Class::name`` or ``name``."""
    out = {}
    for header in sorted(HEADERS.rglob("*.hpp")):
        found = _Scanner().scan(header.read_text(encoding="utf-8"))
        if found:
            out[header.relative_to(HEADERS).as_posix()] = sorted(found)
    return out


def snake_case(name: str) -> str:
    """``getERP2`` becomes ``get_erp2``, ``getWorldTime`` ``get_world_time``."""
    name = re.sub(r"([a-z0-9])([A-Z])", r"\1_\2", name)
    return re.sub(r"([A-Z])([A-Z][a-z])", r"\1_\2", name).lower()


def candidates(function: str) -> list[str]:
    """Python names that the rule allows, the likeliest first."""
    *classes, name = function.split("::")
    owner = CLASSES.get(classes[-1], classes[-1]) + "." if classes else ""
    snake = snake_case(name)
    bare = re.sub(r"^(get|set)_", "", snake)
    return [owner + bare, owner + snake] if bare != snake else [owner + snake]


def resolve(module: object, name: str) -> bool:
    """Whether the module has the name."""
    for part in name.split("."):
        if not hasattr(module, part):
            return False
        module = getattr(module, part)
    return True


def own_reason(function: str) -> str:
    """Why this very function has no name; empty if it should have one."""
    return REASONS.get(function) or REASONS.get(function.split("::")[-1], "")


def reason_for(header: str, function: str) -> str:
    """Why a function has no name; empty if nobody has said."""
    classes = function.split("::")[:-1]
    whole = next((WHOLE[key] for key in (*classes, header) if key in WHOLE), "")
    return own_reason(function) or whole


def python_names(module: object, function: str) -> list[str]:
    """The Python names of a function; none if there are none."""
    if function in NAMES:
        return NAMES[function].split(" or ")
    if own_reason(function):
        return []
    return [name for name in candidates(function) if resolve(module, name)][:1]


def write_page(module: object) -> str:
    """The page docs/python-names.md."""
    lines = [
        "# Names in Python",
        "",
        "Every public function of the headers, and what it is called in Python or why it has no name",
        "there. Written by `python python/tests/cpp_names.py`; a test keeps it complete.",
    ]
    for header, functions in public_functions().items():
        rows = [(f, python_names(module, f), reason_for(header, f)) for f in functions]
        lines += ["", f"## {header}", ""]
        if not any(names for _, names, _ in rows) and len({reason for *_, reason in rows}) == 1:
            lines.append(f"None: {rows[0][2]}.")
            continue
        lines += ["| C++ | Python |", "|---|---|"]
        for function, names, reason in rows:
            python = ", ".join(f"`{name}`" for name in names) or f"none: {reason}"
            lines.append(f"| `{function}` | {python} |")
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    import zelvik

    PAGE.write_text(write_page(zelvik), encoding="utf-8")
