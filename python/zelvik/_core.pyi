# SPDX-FileCopyrightText: 2026 the zelvik authors
# SPDX-License-Identifier: BSD-3-Clause
from collections.abc import Iterator, Sequence
import enum
import os
from typing import Any, NoReturn, Self, SupportsIndex, overload

import numpy
import numpy.typing

import zelvik._records


VERSION: str = '0.1.0'

class FatalError(RuntimeError):
    """
    A fatal message of the library: what is wrong, which value, and where.

    The call has done nothing, or a file is read up to the fault. The world can be used on.
    """

class BodyType(enum.Enum):
    """How a body takes part in a step."""

    STATIC = 1
    """Never moves."""

    KINEMATIC = 2
    """Moves with the velocity that the caller sets, whatever pushes it."""

    DYNAMIC = 3
    """Moves by forces and contacts."""

class ObjectType(enum.Enum):
    """What kind of object this is."""

    SPHERE = 0

    BOX = 1

    CYLINDER = 2

    CONE = 3

    CAPSULE = 4

    MESH = 5

    GROUND = 6

    COMPOUND = 7

    HEIGHTMAP = 8

    ARTICULATED_SYSTEM = 9

    UNRECOGNIZED = 10

    HULL = 11

class BroadPhase(enum.Enum):
    """How pairs that may touch are found; the contacts are the same set."""

    AUTO = 0
    """All pairs for few shapes, sweep and prune for many (default)."""

    HASH = 1
    """
    A hash space, which overlooks a pair now and then that meets at the origin.
    """

    SIMPLE = 2
    """All pairs."""

    SWEEP_AND_PRUNE = 3
    """Along x; for many bodies that are spread out."""

    QUADTREE = 4
    """Cells of 4 m in a square of 128 m about the origin."""

class GyroscopicMode(enum.Enum):
    """How a single body integrates the term w x (I w) of Euler's equation."""

    IMPLICIT_BODY = 0
    """One Newton step in body axes (default)."""

    IMPLICIT_WORLD = 1
    """One Newton step in world axes, torque included."""

    EXPLICIT = 2
    """Forward Euler; gains energy in a fast spin."""

    NONE = 3
    """Left out."""

class ControlMode(enum.Enum):
    """What makes the joint forces of a robot."""

    FEED_FORWARD = 0
    """`generalized_force` alone."""

    PD_PLUS_FEED_FORWARD = 1
    """Plus a PD law on joint targets, integrated implicitly."""

class IntegrationScheme(enum.Enum):
    """How positions of a robot follow its velocities."""

    TRAPEZOID = 0
    """With the mean of old and new velocity (default)."""

    SEMI_IMPLICIT = 1
    """With the new velocity."""

    EXPLICIT = 2
    """With the old velocity."""

    RUNGE_KUTTA_4 = 3
    """Fourth order; free bases and ball joints second."""

class Frame(enum.Enum):
    """Axes in which a force or a point is given."""

    WORLD = 0

    PARENT = 1

    BODY = 2

class JointType(enum.Enum):
    """Motion that a joint leaves free."""

    FIXED = 0

    REVOLUTE = 1
    """Angle (rad); rate about the axis (rad/s)."""

    PRISMATIC = 2
    """Displacement (m); rate along the axis (m/s)."""

    SPHERICAL = 3
    """Unit quaternion w, x, y, z; angular velocity in child axes (rad/s)."""

    FLOATING = 4
    """
    Position (m) and unit quaternion w, x, y, z; linear (m/s) and angular velocity (rad/s) in world axes.
    """

class ShapeType(enum.Enum):
    """Shapes of a robot; in brackets what `size` holds (m)."""

    BOX = 0
    """(x, y, z)"""

    CYLINDER = 1
    """(radius, length)"""

    SPHERE = 2
    """(radius,)"""

    MESH = 3
    """()"""

    CAPSULE = 4
    """(radius, length of the cylinder part)"""

    HULL = 5
    """()"""

class Object:
    """
    Base of everything that a `World` holds and steps; made by its add functions.

    Operations with a `local_idx` take the body inside of a robot, 0 for single bodies.
    """

    @property
    def world(self) -> World:
        """The world that it is, or was, part of."""

    @property
    def is_removed(self) -> bool:
        """
        Whether it has been removed from its world; the only thing left to ask then.
        """

    @property
    def name(self) -> str:
        """For `World.get_object`; empty at first, need not be unique."""

    @name.setter
    def name(self, arg: str, /) -> None: ...

    @property
    def object_type(self) -> ObjectType:
        """What kind of object this is."""

    @property
    def index_in_world(self) -> int:
        """Place in `World.objects`; changes when an earlier object is removed."""

    @property
    def id_in_world(self) -> int:
        """Differs for all objects that the world ever held."""

    @property
    def shape_change_count(self) -> int:
        """Grows when the size or the place of a shape changes."""

    @property
    def body_type(self) -> BodyType:
        """How the object takes part in a step."""

    def get_mass(self, local_idx: int = 0) -> float:
        """Get the mass of a body (kg)."""

    def get_position(self, local_idx: int = 0, point: numpy.typing.ArrayLike | None = None) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get where a body, or a point of it, is (m, world axes), shape (3,).

        Without `point` (m, body frame): the centre of mass of a single body, the frame origin
        (the joint) of a body of a robot.
        """

    def get_velocity(self, local_idx: int = 0) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the velocity of that point (m/s, world axes), shape (3,).

        Of a robot: as of the last step.
        """

    def get_orientation(self, local_idx: int = 0) -> numpy.typing.NDArray[numpy.float64]:
        """Get the rotation matrix body to world, shape (3, 3)."""

    def get_body_type(self, local_idx: int = 0) -> BodyType:
        """Get how a body takes part in a step."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

    def set_external_force(self, force: numpy.typing.ArrayLike, local_idx: int = 0, point: numpy.typing.ArrayLike | None = None) -> None:
        """
        Add a force for the next step.

        Parameters
        ----------
        force : array_like, shape (3,)
            (N, world axes)
        local_idx : int
            Body inside of a robot; 0 for single bodies.
        point : array_like, shape (3,), optional
            Where it acts (m, body frame); by default the centre of mass.
        """

    def set_external_torque(self, torque: numpy.typing.ArrayLike, local_idx: int = 0) -> None:
        """Add a torque (N m, world axes), shape (3,), for the next step."""

    def clear_external_forces_and_torques(self) -> None:
        """Empty the lists of external forces and torques."""

    @property
    def vis_forces(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        External forces of the last step that had any (N, world axes), shape (n, 3).
        """

    @property
    def vis_force_positions(self) -> numpy.typing.NDArray[numpy.float64]:
        """Where they act (m, world axes), shape (n, 3)."""

    @property
    def vis_torques(self) -> numpy.typing.NDArray[numpy.float64]:
        """External torques likewise (N m, world axes), shape (n, 3)."""

    @property
    def vis_torque_positions(self) -> numpy.typing.NDArray[numpy.float64]:
        """Where they are to be drawn (m, world axes), shape (n, 3)."""

    @property
    def contacts(self) -> list[Contact]:
        """Contacts of the present step, from `World.integrate1` on; copies."""

class World:
    """
    A simulation: owns every object, every wire, the contact solver and the material table.

    Parameters
    ----------
    file : path, optional
        A world file; otherwise the world is empty.
    time_step : float, optional
        (s)
    gravity : array_like, shape (3,), optional
        (m/s^2, world axes)

    Notes
    -----
    Lengths in m, masses in kg, times in s, world axes; quaternions are w, x, y, z.
    A world serves one thread at a time; other worlds run beside it on other threads.

    Raises
    ------
    FatalError
        For every fault in the file.
    """

    def __init__(self, file: str | os.PathLike[str] | None = None, *, time_step: float | None = None, gravity: numpy.typing.ArrayLike | None = None) -> None: ...

    def add_stiff_wire(self, body1: Object, pos1: numpy.typing.ArrayLike, body2: Object, pos2: numpy.typing.ArrayLike, length: float, *, local_idx1: int = 0, local_idx2: int = 0) -> StiffLengthConstraint:
        """
        Add a wire that holds its length in the contact solve.

        Parameters
        ----------
        body1, body2 : Object
            Of this world.
        pos1, pos2 : array_like, shape (3,)
            Attachment points (m, body frames).
        length : float
            At rest (m).
        local_idx1, local_idx2 : int
            Bodies inside of robots.

        Notes
        -----
        A new wire acts as a strut; a rope wants ``stretch_type = 0``.
        """

    def add_compliant_wire(self, body1: Object, pos1: numpy.typing.ArrayLike, body2: Object, pos2: numpy.typing.ArrayLike, length: float, stiffness: float, *, local_idx1: int = 0, local_idx2: int = 0) -> CompliantLengthConstraint:
        """
        Add a wire that is a spring of `stiffness` (N/m); see `add_stiff_wire`.
        """

    def get_wire(self, name: str) -> LengthConstraint | None:
        """
        Get the first stiff wire of that name, else the first compliant one, else None.
        """

    def get_constraint(self, name: str) -> LengthConstraint | None:
        """Get the first stiff wire of that name, else None."""

    @property
    def objects(self) -> list[Object]:
        """All objects by world index; a new list."""

    @property
    def stiff_wires(self) -> list[StiffLengthConstraint]:
        """All stiff wires in the order in which they were added; a new list."""

    @property
    def compliant_wires(self) -> list[CompliantLengthConstraint]:
        """All compliant wires in the order in which they were added; a new list."""

    def __iter__(self) -> Iterator[Object]:
        """All objects by world index."""

    def __len__(self) -> int: ...

    def __bool__(self) -> bool: ...

    def get_object(self, name: str) -> Object | None:
        """Get the first object of that name, or None."""

    def ray_test(self, start: numpy.typing.ArrayLike, direction: numpy.typing.ArrayLike, length: float = float('inf'), mask: int = 18446744073709551615) -> list[RayHit]:
        """
        Cast a ray.

        Parameters
        ----------
        start, direction : array_like, shape (3,)
            (m, world axes); the direction need not be of unit length.
        length : float
            (m), may be infinite.
        mask : int
            Groups that the ray sees; the ray itself is of group 1.

        Returns
        -------
        list of RayHit
            At most 200, the nearest first.
        """

    @property
    def contact_solver(self) -> ContactSolver:
        """The contact solver with sweeps and residuals of the last step."""

    @property
    def contact_problems(self) -> dict[str, numpy.typing.NDArray[Any]]:
        """
        What the solver saw in the last step: contacts, stiff wires and joint limits.

        Copies with one row a problem: "position" (n, 3) (m, world axes), "impulse" (n, 3)
        (N s, contact frame: tangent, tangent, normal), "depth" (n,) (m, negative while
        penetrating), "friction" (n,), "rank" (n,): 0 to 3 a contact, 4 a wire, 5 a joint
        limit.
        """

    @property
    def gravity(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Gravity (m/s^2, world axes), shape (3,); a copy. (0, 0, -9.81) at first.
        """

    @gravity.setter
    def gravity(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def time_step(self) -> float:
        """Time step (s), above 0; 0.005 at first."""

    @time_step.setter
    def time_step(self, arg: float, /) -> None: ...

    @property
    def erp(self) -> float:
        """Share of the penetration that becomes separating velocity (1/s)."""

    @erp.setter
    def erp(self, arg: float, /) -> None: ...

    @property
    def erp2(self) -> float:
        """What is added to every coefficient of restitution."""

    @erp2.setter
    def erp2(self, arg: float, /) -> None: ...

    @property
    def warm_start(self) -> bool:
        """
        Whether each solve starts from the impulses of the step before instead of from zero.

        Off at first. Writing it, also the same value, forgets the impulses.
        """

    @warm_start.setter
    def warm_start(self, arg: bool, /) -> None: ...

    @property
    def contact_surface_layer(self) -> float:
        """
        Overlap that contacts keep (m); 1e-5 serves for robots and boxes, 0 (at first) is none.
        """

    @contact_surface_layer.setter
    def contact_surface_layer(self, arg: float, /) -> None: ...

    def set_contact_solver_param(self, relaxation: float = 1.0, max_iterations: int = 150, threshold: float = 1e-08) -> None:
        """
        Set weight of a newly computed impulse, sweep limit and stopping error per contact.
        """

    def set_default_material(self, friction: float, restitution: float = 0.0, restitution_threshold: float = 0.01) -> None:
        """
        Set what pairs with a name get that the table does not know.

        Parameters
        ----------
        friction : float
            Coefficient of friction, 0 or more.
        restitution : float
            Coefficient of restitution, 0 to 1.
        restitution_threshold : float
            Impact speed below which nothing bounces (m/s).
        """

    def set_material_pair_prop(self, a: str, b: str, friction: float, restitution: float = 0.0, restitution_threshold: float = 0.01) -> None:
        """
        Set the properties of the pair (a, b), which is the same as (b, a).

        See Also
        --------
        set_default_material : units and ranges.
        """

    def update_material_prop(self, manager: MaterialManager) -> None:
        """Replace the material table by a copy."""

    @property
    def material_manager(self) -> MaterialManager:
        """The material table in force; writes go to the world."""

    @property
    def broad_phase(self) -> BroadPhase:
        """How pairs that may touch are found; AUTO at first."""

    @broad_phase.setter
    def broad_phase(self, arg: BroadPhase, /) -> None: ...

    def integrate(self, steps: int = 1) -> None:
        """
        Advance by `steps` time steps.

        Other Python threads run meanwhile. Ctrl-C ends a long run between two steps.
        """

    def integrate1(self) -> None:
        """
        First half of a step: collisions, contacts, mass matrices and Jacobians.

        Nothing has moved when it returns; contacts can be read and forces set. `integrate2`
        has to follow; nothing can be added, removed or placed in between.
        """

    def integrate2(self) -> None:
        """
        Second half of a step: takes forces in, solves the contacts, moves the objects.
        """

    def reset_history(self) -> None:
        """
        Forget what the world remembers of its steps; time and step count are 0 again.

        A run that begins from a state that is set afterwards repeats another one from the
        same state to the last bit. Objects, parameters, state and targets stay.
        """

    def export_to_xml(self, file: str | os.PathLike[str]) -> None:
        """
        Write the present state as a world file, and beside it the robots made of text.

        A snapshot: materials, wires and appearances are not in it, and worlds with meshes or
        height maps cannot be read back. A file that cannot be written is a warning.

        Raises
        ------
        FatalError
            For a robot that was made of links.
        """

    @property
    def world_time(self) -> float:
        """
        Simulated time since construction, the world file's start or `reset_history` (s).
        """

    @property
    def step_count(self) -> int:
        """Steps since construction or `reset_history`."""

    @property
    def object_change_count(self) -> int:
        """Grows with every add and remove."""

    @property
    def config_file(self) -> str:
        """Normalised path of the world file; empty without one."""

    def __repr__(self) -> str: ...

    def add_sphere(self, radius: float, mass: float, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Sphere:
        """
        Add a solid sphere at the origin.

        Parameters
        ----------
        radius : float
            (m)
        mass : float
            (kg)
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_box(self, x: float, y: float, z: float, mass: float, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Box:
        """
        Add a solid box at the origin.

        Parameters
        ----------
        x, y, z : float
            Full lengths (m).
        mass : float
            (kg)
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_cylinder(self, radius: float, height: float, mass: float, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Cylinder:
        """
        Add a solid cylinder at the origin, its axis along z of the body.

        Parameters
        ----------
        radius, height : float
            (m)
        mass : float
            (kg)
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_capsule(self, radius: float, height: float, mass: float, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Capsule:
        """
        Add a capsule at the origin, its axis along z of the body.

        Parameters
        ----------
        radius : float
            (m)
        height : float
            Length of the cylinder part, without the caps (m).
        mass : float
            (kg)
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_ground(self, height: float = 0.0, material: str = '', mask: int = 18446744073709551615) -> Ground:
        """
        Add a horizontal plane at z = `height` (m); everything below it is solid.
        """

    def add_compound(self, children: Sequence[zelvik._records.CompoundChild], mass: float, com: numpy.typing.ArrayLike, inertia: numpy.typing.ArrayLike, group: int = 1, mask: int = 18446744073709551615) -> Compound:
        """
        Add several shapes as one body, each with a material of its own.

        Parameters
        ----------
        children : sequence of CompoundChild
            Two or more.
        mass : float
            (kg)
        com : array_like, shape (3,)
            Centre of mass (m, body frame).
        inertia : array_like, shape (3, 3)
            About the centre of mass (kg m^2, body axes).

        Raises
        ------
        FatalError
            For fewer than two children, other shapes and sizes that are no sizes.
        """

    def add_mesh(self, file: str | os.PathLike[str], mass: float, inertia: numpy.typing.ArrayLike, com: numpy.typing.ArrayLike = (0.0, 0.0, 0.0), scale: float = 1.0, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Mesh:
        """
        Add a body whose shape is a triangle mesh from an OBJ file.

        Parameters
        ----------
        file : path
            Of the OBJ file.
        mass : float
            (kg)
        inertia : array_like, shape (3, 3)
            About the centre of mass (kg m^2, body axes).
        com : array_like, shape (3,)
            Centre of mass (m, body axes).
        scale : float
            Factor of every coordinate of the file.
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_mesh_copy(self, source: Mesh, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> Mesh:
        """
        Add a second mesh from the file of the first, with the same mass data.

        An empty `material` means that of the source.
        """

    def add_convex_hull(self, corners: numpy.typing.ArrayLike, triangles: numpy.typing.ArrayLike, mass: float, material: str = '', group: int = 1, mask: int = 18446744073709551615) -> ConvexHull:
        """
        Add a solid convex body with the mass data of the solid.

        Parameters
        ----------
        corners : array_like, shape (n, 3)
            (m, body axes)
        triangles : array_like, shape (m, 3)
            Corners of the surface's triangles, from 0, counter-clockwise seen from outside.
        mass : float
            (kg)
        material : str
            Name that the material table knows.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).

        Raises
        ------
        FatalError
            For a size that is negative or not finite.
        """

    def add_height_map(self, heights: numpy.typing.ArrayLike, x_size: float, y_size: float, center: numpy.typing.ArrayLike = (0.0, 0.0), material: str = '', group: int = 9223372036854775808, mask: int = 18446744073709551615) -> HeightMap:
        """
        Add terrain from an array of heights.

        Parameters
        ----------
        heights : array_like, shape (y_samples, x_samples)
            Heights (m); row 0 at low y, column 0 at low x.
        x_size, y_size : float
            Extent (m).
        center : array_like, shape (2,)
            Of the map (m, world axes).
        """

    def add_height_map_from_png(self, file: str | os.PathLike[str], x_size: float, y_size: float, height_scale: float, height_offset: float = 0.0, center: numpy.typing.ArrayLike = (0.0, 0.0), material: str = '', group: int = 9223372036854775808, mask: int = 18446744073709551615) -> HeightMap:
        """
        Add terrain from a grey PNG image: height = pixel * height_scale + height_offset (m).
        """

    def add_height_map_from_text(self, file: str | os.PathLike[str], center: numpy.typing.ArrayLike = (0.0, 0.0), material: str = '', group: int = 9223372036854775808, mask: int = 18446744073709551615) -> HeightMap:
        """Add terrain from a text file: sample counts, sizes (m), heights (m)."""

    def add_terrain(self, properties: zelvik._records.TerrainProperties, center: numpy.typing.ArrayLike = (0.0, 0.0), material: str = '', group: int = 9223372036854775808, mask: int = 18446744073709551615) -> HeightMap:
        """Add terrain from fractal noise; equal properties give equal terrain."""

    def add_height_map_copy(self, source: HeightMap, group: int = 9223372036854775808, mask: int = 18446744073709551615) -> HeightMap:
        """Add a copy of another map, material included."""

    def add_articulated_system(self, urdf: str | os.PathLike[str], resource_directory: str | os.PathLike[str] = '', joint_order: Sequence[str] = (), group: int = 1, mask: int = 18446744073709551615, do_not_collide_with_parent: bool = True, ignore_initial_overlaps: bool = False) -> ArticulatedSystem:
        """
        Add a robot from a URDF file, or from URDF text (anything that holds a "<").

        Parameters
        ----------
        urdf : path or str
            File or text.
        resource_directory : path
            Where mesh files are; by default the directory of the file.
        joint_order : sequence of str
            Joints whose branches come first, in this order.
        group, mask : int
            Two bodies collide if the group of one meets the mask of the other (64 bits).
        do_not_collide_with_parent : bool
            Whether a body never collides with its nearest ancestor that has mass.
        ignore_initial_overlaps : bool
            Whether pairs of shapes never collide that overlap by more than 1 mm while all joint
            coordinates are zero. Without it a robot with such pairs is warned of.

        Raises
        ------
        FatalError
            For every fault in the file.
        """

    def add_articulated_system_from_tree(self, root: zelvik._records.Link, resource_directory: str | os.PathLike[str] = '.', group: int = 1, mask: int = 18446744073709551615, do_not_collide_with_parent: bool = True, ignore_initial_overlaps: bool = False) -> ArticulatedSystem:
        """Add a robot from a tree of `Link`; materials come from the tree."""

    @overload
    def remove_object(self, object: Object) -> None:
        """
        Remove an object with its wires, or a wire.

        Using it afterwards raises ReferenceError; arrays that were taken from it stay as they
        are.

        Raises
        ------
        ValueError
            If it belongs to another world.
        """

    @overload
    def remove_object(self, wire: LengthConstraint) -> None: ...

    DEFAULT_GROUP: int = 1

    GROUND_GROUP: int = 9223372036854775808

    ALL_MASK: int = 18446744073709551615

    def save_state(self, into: State | None = None) -> State:
        """
        Save this moment: all that the next step depends on, apart from parameters.

        Parameters
        ----------
        into : State, optional
            Its memory is used again and it is returned; by default a new one is made.

        Raises
        ------
        FatalError
            With `BroadPhase.QUADTREE`, whose order nobody can restore.
        """

    def restore_state(self, state: State) -> None:
        """
        Go back to a saved moment.

        The world then continues to the last bit as the one that was saved, if it was built by the
        same calls and has the same parameters, materials, shapes and gains, which are no part of a
        state. Views follow. Contacts are empty until the next step.

        Raises
        ------
        FatalError
            For a state of a world of another structure; nothing has changed then.
        """

    @property
    def state_hash(self) -> int:
        """`State.hash` of the present moment."""

    @property
    def is_between_halves(self) -> bool:
        """Whether `integrate1` has run and `integrate2` has not."""

    def clone(self) -> World:
        """
        Make a world of its own with the same objects, wires, parameters and state.

        It continues to the last bit as this one does. Objects and wires have the same places in
        their lists. `copy.deepcopy` does the same, also for attributes of a subclass, and gives the
        twins of objects, wires and joints that are copied along: `copy.deepcopy((world, robot))`.
        """

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __reduce_ex__(self, protocol: SupportsIndex, /) -> str | tuple[object, ...]: ...

    def set_ledger(self, on: bool = True) -> None:
        """Keep books of energy and momentum in each step from now on, or stop."""

    @property
    def ledger(self) -> Ledger:
        """The books of the last step; zeros while `set_ledger` is off. A copy."""

    def set_watch(self, *, energy_gain: float = 1.0, energy_share: float = 0.2, depth: float = 0.05, speed: float = 100.0, rate: float = 1000.0, unsolved_steps: int = 100) -> None:
        """
        Look after each step whether something has gone wrong, until it has.

        One warning then tells what, where and why it may be; `watch_report` keeps it. Values that
        are not finite are always found; a limit of infinity is not looked for.

        Parameters
        ----------
        energy_gain : float
            Energy of an object that appears from nowhere in a step (J).
        energy_share : float
            The same as a share of its kinetic energy; both have to be passed.
        depth : float
            Of an overlap (m).
        speed, rate : float
            Of a body or joint (m/s), (rad/s).
        unsolved_steps : int
            In a row in which the solver stops at its limit; 0: not counted.
        """

    def clear_watch(self) -> None:
        """Watch no more, and forget what was found."""

    @property
    def watch_report(self) -> WatchReport | None:
        """What the watch has found; None while it has not."""

    @property
    def contact_report(self) -> ContactReport:
        """Who touches whom, forces, slip, what begins and ends."""

    def set_contact_history(self, on: bool = True) -> None:
        """Follow the contacts of every body in each step from now on, or stop."""

    def start_contact_history(self) -> None:
        """Begin an interval: sums and largest values are 0 again, times go on."""

    def get_contact_history(self, object: Object, body: int = 0) -> BodyContactHistory:
        """Get what contacts did to a body since then."""

class MaterialPairProperties:
    """What two surfaces do to each other; a copy from the table."""

    @property
    def friction(self) -> float:
        """Coefficient of friction, 0 or more."""

    @property
    def restitution(self) -> float:
        """0 to 1."""

    @property
    def restitution_threshold(self) -> float:
        """Impact speed below which nothing bounces (m/s)."""

    def __repr__(self) -> str: ...

class MaterialManager:
    """
    Table of friction and restitution by pairs of material names.

    A table of its own, empty or read from a file, for `World.update_material_prop`; or that of
    a world, `World.material_manager`, which writes through.

    Parameters
    ----------
    file : path, optional
        A file with the root element "zelvik" and a child "material".

    Raises
    ------
    FatalError
        If the file cannot be read.
    """

    def __init__(self, file: str | os.PathLike[str] | None = None) -> None: ...

    def set_default_material_properties(self, friction: float, restitution: float = 0.0, restitution_threshold: float = 0.01) -> None:
        """Set what pairs with an unknown name get."""

    def set_material_pair_prop(self, a: str, b: str, friction: float, restitution: float = 0.0, restitution_threshold: float = 0.01) -> None:
        """Set the properties of the pair (a, b), which is the same as (b, a)."""

    def get_material_pair_prop(self, a: str, b: str) -> MaterialPairProperties:
        """
        Get the properties of a pair: the default ones if either name is unknown.

        Two known names that were never paired give 0.8, 0 and 0.01.
        """

    def __repr__(self) -> str: ...

class Contact:
    """One object's view of a contact; a copy that stays as it is."""

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m, world axes), shape (3,)."""

    @property
    def normal(self) -> numpy.typing.NDArray[numpy.float64]:
        """Unit, towards the A side (world axes), shape (3,)."""

    @property
    def frame(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Rotation matrix world to contact frame, shape (3, 3); rows: tangent, tangent, normal.
        """

    @property
    def impulse(self) -> numpy.typing.NDArray[numpy.float64]:
        """On this object in the last step (N s, world axes), shape (3,)."""

    @property
    def depth(self) -> float:
        """Signed distance, negative while penetrating (m)."""

    @property
    def impact_vel(self) -> float:
        """Normal velocity of this side's point before the solve (m/s)."""

    @property
    def local_body_index(self) -> int:
        """Body inside of this object."""

    @property
    def shape_index(self) -> int | None:
        """Place of the shape among those of this object; None where it has none."""

    @property
    def pair_shape_index(self) -> int | None:
        """The same of the other side."""

    @property
    def pair_object(self) -> Object | None:
        """The other side; None once it has been removed."""

    @property
    def pair_body_type(self) -> BodyType:
        """How the other side takes part in a step."""

    @property
    def object_a(self) -> bool:
        """Whether this object is the A side of the pair."""

    @property
    def self_collision(self) -> bool:
        """Whether it stands for both sides of a contact of a robot with itself."""

    @property
    def skip(self) -> bool:
        """
        Whether it does not act: the twin of a contact of a robot with itself, or one with an object that has been removed.
        """

    def __repr__(self) -> str: ...

class SingleBodyObject(Object):
    """Base of all objects of one body. Its state is set between steps."""

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """Position of the body origin (m, world axes), shape (3,); a copy."""

    @position.setter
    def position(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def orientation(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Unit quaternion w, x, y, z, body to world, shape (4,); a copy. Normalised when set.

        With a centre-of-mass offset use `set_pose`: the stored centre does not turn along.
        """

    @orientation.setter
    def orientation(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def rotation_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """Body to world, shape (3, 3)."""

    def set_pose(self, position: numpy.typing.ArrayLike, orientation: numpy.typing.ArrayLike) -> None:
        """
        Place the body: origin (m, world axes), shape (3,), and quaternion w, x, y, z, shape (4,).
        """

    @property
    def linear_velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """Of the centre of mass (m/s, world axes), shape (3,); a copy."""

    @linear_velocity.setter
    def linear_velocity(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def angular_velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """(rad/s, world axes), shape (3,); a copy."""

    @angular_velocity.setter
    def angular_velocity(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    def set_velocity(self, linear: numpy.typing.ArrayLike, angular: numpy.typing.ArrayLike = (0.0, 0.0, 0.0)) -> None:
        """
        Set velocity of the centre of mass (m/s) and angular velocity (rad/s), world axes.
        """

    @property
    def com_position(self) -> numpy.typing.NDArray[numpy.float64]:
        """Centre of mass (m, world axes), shape (3,)."""

    @property
    def linear_momentum(self) -> numpy.typing.NDArray[numpy.float64]:
        """(N s, world axes), shape (3,)."""

    @property
    def kinetic_energy(self) -> float:
        """(J)"""

    def get_potential_energy(self, gravity: numpy.typing.ArrayLike) -> float:
        """Get -m g . x of the centre of mass (J); `gravity` (m/s^2, world axes)."""

    def get_energy(self, gravity: numpy.typing.ArrayLike) -> float:
        """Get potential and kinetic energy (J); `gravity` (m/s^2, world axes)."""

    @property
    def body_type(self) -> BodyType:
        """
        How the body takes part in a step. Every type but DYNAMIC moves its shapes to collision group 0x80000000.
        """

    @body_type.setter
    def body_type(self, arg: BodyType, /) -> None: ...

    @property
    def mass(self) -> float:
        """
        (kg), above 0. Setting it leaves the inertia as it is; see `scale_mass`.
        """

    @mass.setter
    def mass(self, arg: float, /) -> None: ...

    def scale_mass(self, factor: float) -> None:
        """Multiply mass and inertia, as another density does."""

    @property
    def inertia(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        About the centre of mass (kg m^2, body axes), shape (3, 3), positive definite; a copy.
        """

    @inertia.setter
    def inertia(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def world_inertia(self) -> numpy.typing.NDArray[numpy.float64]:
        """About the centre of mass (kg m^2, world axes), shape (3, 3)."""

    @property
    def com_offset(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Centre of mass (m, body frame), shape (3,); a copy. Setting it leaves the origin where it is.
        """

    @com_offset.setter
    def com_offset(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def linear_damping(self) -> float:
        """Drag force per velocity of the centre of mass (N s/m)."""

    @linear_damping.setter
    def linear_damping(self, arg: float, /) -> None: ...

    @property
    def angular_damping(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Drag torque per angular velocity (N m s/rad, body axes), shape (3,). Acts only if the first value is above 0.
        """

    @angular_damping.setter
    def angular_damping(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def gyroscopic_mode(self) -> GyroscopicMode:
        """How the gyroscopic torque is integrated."""

    @gyroscopic_mode.setter
    def gyroscopic_mode(self, arg: GyroscopicMode, /) -> None: ...

    @property
    def collision_group(self) -> int:
        """Category bits of the shapes; 0 without a shape."""

    @collision_group.setter
    def collision_group(self, arg: int, /) -> None: ...

    @property
    def collision_mask(self) -> int:
        """Collide bits of the shapes; 0 without a shape."""

    @collision_mask.setter
    def collision_mask(self, arg: int, /) -> None: ...

    @property
    def material(self) -> str:
        """Name that the material table knows."""

    @material.setter
    def material(self, arg: str, /) -> None: ...

    @property
    def appearance(self) -> str:
        """Free text for a renderer."""

    @appearance.setter
    def appearance(self, arg: str, /) -> None: ...

class Sphere(SingleBodyObject):
    """Solid sphere."""

    @property
    def radius(self) -> float:
        """(m); the inertia follows."""

    @radius.setter
    def radius(self, arg: float, /) -> None: ...

class Box(SingleBodyObject):
    """Solid box."""

    @property
    def dimensions(self) -> numpy.typing.NDArray[numpy.float64]:
        """Full lengths (m), shape (3,); a copy. The inertia follows."""

    @dimensions.setter
    def dimensions(self, arg: numpy.typing.ArrayLike, /) -> None: ...

class Cylinder(SingleBodyObject):
    """Solid cylinder along z of the body."""

    @property
    def radius(self) -> float:
        """(m); the inertia follows."""

    @radius.setter
    def radius(self, arg: float, /) -> None: ...

    @property
    def height(self) -> float:
        """(m); the inertia follows."""

    @height.setter
    def height(self, arg: float, /) -> None: ...

    def set_size(self, radius: float, height: float) -> None:
        """Set both (m); the inertia follows."""

class Capsule(SingleBodyObject):
    """Solid cylinder along z of the body with a half sphere at each end."""

    @property
    def radius(self) -> float:
        """(m); the inertia follows."""

    @radius.setter
    def radius(self, arg: float, /) -> None: ...

    @property
    def height(self) -> float:
        """Of the cylinder part (m); the inertia follows."""

    @height.setter
    def height(self, arg: float, /) -> None: ...

    def set_size(self, radius: float, height: float) -> None:
        """Set both (m); the inertia follows."""

class Ground(SingleBodyObject):
    """Static horizontal plane; everything below it is solid."""

    @property
    def height(self) -> float:
        """z of the plane (m)."""

class Compound(SingleBodyObject):
    """One rigid body with several shapes."""

    @property
    def children(self) -> list[zelvik._records.CompoundChild]:
        """The shapes as they are; copies."""

    def set_child_material(self, child: int, material: str) -> None:
        """Set the material of one shape."""

    def set_child_size(self, child: int, lengths: numpy.typing.ArrayLike) -> None:
        """
        Set the size of one shape, as `CompoundChild.size` says (m), shape (3,); what a shape does not have is not read.
        """

    def set_child_pose(self, child: int, position: numpy.typing.ArrayLike, rotation: numpy.typing.ArrayLike) -> None:
        """
        Place one shape: (m, body frame), shape (3,), and rotation matrix shape to body, shape (3, 3).
        """

class Mesh(SingleBodyObject):
    """Rigid body whose shape is a triangle mesh."""

    @property
    def file_name(self) -> str:
        """The file that it was read from."""

    @property
    def scale(self) -> float:
        """Factor that was applied to every coordinate."""

    @property
    def vertices(self) -> numpy.typing.NDArray[numpy.float32]:
        """(m, body axes), scaled, shape (n, 3); a copy."""

    @property
    def indices(self) -> numpy.typing.NDArray[numpy.uint32]:
        """Triangles, from 0, shape (n, 3); a copy."""

class ConvexHull(SingleBodyObject):
    """Solid convex polyhedron."""

    @property
    def corners(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m, body axes), shape (n, 3); a copy."""

    @property
    def triangles(self) -> numpy.typing.NDArray[numpy.uint32]:
        """Corners of the triangles, from 0, shape (n, 3); a copy."""

class HeightMap(SingleBodyObject):
    """
    Terrain: a static body made of a regular grid of heights.

    Sample (row j, column i) stands at x = center_x - x_size/2 + i x_size/(x_samples - 1) and
    likewise in y. Each cell is split along the diagonal from (i, j) to (i+1, j+1).
    """

    def get_height(self, x: float, y: float) -> float:
        """
        Get the height of the surface at a point (m, world axes).

        Beyond the edges the nearest border value. The map counts as standing where it was made.
        """

    def get_heights(self, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the heights at many points (m, world axes); `x` and `y` are broadcast together.
        """

    def get_normal(self, x: float, y: float) -> numpy.typing.NDArray[numpy.float64]:
        """Get the unit normal at a point (world axes), shape (3,)."""

    def get_normals(self, x: numpy.typing.ArrayLike, y: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]:
        """Get the unit normals at many points (world axes), shape (..., 3)."""

    @property
    def heights(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m), shape (y_samples, x_samples); a copy. Row 0 at low y."""

    @property
    def center_x(self) -> float:
        """(m, world axes)"""

    @property
    def center_y(self) -> float:
        """(m, world axes)"""

    @property
    def x_size(self) -> float:
        """(m)"""

    @property
    def y_size(self) -> float:
        """(m)"""

    @property
    def x_samples(self) -> int:
        """Columns."""

    @property
    def y_samples(self) -> int:
        """Rows."""

    @property
    def exact_contacts(self) -> bool:
        """Whether contacts are found on the triangles themselves, as at first."""

    @exact_contacts.setter
    def exact_contacts(self, arg: bool, /) -> None: ...

    @property
    def is_turned(self) -> bool:
        """Whether it is turned by no multiple of a right angle."""

class ArticulatedSystem(Object):
    """
    A robot: a tree of rigid bodies joined by joints, on a fixed or a floating base.

    The equation of motion is M du/dt + h = tau with the mass matrix M, the velocities u and the
    nonlinear terms h. Vectors of the robot are read-only arrays on its own memory: they show each
    step as it comes. Setting the property writes.
    """

    @property
    def generalized_coordinate(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Coordinates, shape (generalized_coordinate_dim,); a read-only view.

        A floating base: position (m), unit quaternion w, x, y, z; then the joints in
        body order: angle (rad), displacement (m), or unit quaternion w, x, y, z.
        Setting them places the robot and drops its contacts.
        """

    @generalized_coordinate.setter
    def generalized_coordinate(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def generalized_velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Velocities, shape (dof,); a read-only view.

        A floating base: linear (m/s), then angular (rad/s), both in world axes; then
        the joints: rad/s, m/s, or angular velocity in child axes (rad/s).
        """

    @generalized_velocity.setter
    def generalized_velocity(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def generalized_velocity_dim(self) -> int:
        """Number of velocities."""

    @property
    def generalized_coordinate_dim(self) -> int:
        """Number of coordinates."""

    @property
    def dof(self) -> int:
        """Number of velocities."""

    @property
    def body_count(self) -> int:
        """
        Bodies of the tree, the root included; bodies on fixed joints count with their parent.
        """

    def set_base_pos(self, position: numpy.typing.ArrayLike) -> None:
        """Move the root, also a fixed one (m, world axes), shape (3,)."""

    def set_base_orientation(self, orientation: numpy.typing.ArrayLike) -> None:
        """
        Turn the root, also a fixed one: quaternion w, x, y, z, body to world, shape (4,).
        """

    @property
    def base_orientation(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Unit quaternion w, x, y, z of a floating base, shape (4,); a copy.

        Raises
        ------
        FatalError
            For a fixed base.
        """

    @property
    def control_mode(self) -> ControlMode:
        """What makes the joint forces; FEED_FORWARD at first."""

    @control_mode.setter
    def control_mode(self, arg: ControlMode, /) -> None: ...

    @property
    def p_gain(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Stiffness of the PD law (N/m or N m/rad), shape (dof,); a read-only view.
        """

    @p_gain.setter
    def p_gain(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def d_gain(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Damping of the PD law (N s/m or N m s/rad), shape (dof,); a read-only view.
        """

    @d_gain.setter
    def d_gain(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def p_target(self) -> numpy.typing.NDArray[numpy.float64]:
        """Targets of the PD law, laid out as the coordinates; a read-only view."""

    @p_target.setter
    def p_target(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def d_target(self) -> numpy.typing.NDArray[numpy.float64]:
        """Targets of the PD law, laid out as the velocities; a read-only view."""

    @d_target.setter
    def d_target(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def feed_forward_force(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Feed-forward joint forces (N or N m), shape (dof,), kept until set again; a read-only view.
        """

    @feed_forward_force.setter
    def feed_forward_force(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def generalized_force(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Joint forces of the last step: control and damping, after limits (N or N m), shape (dof,); a read-only view. To apply forces set `feed_forward_force`.
        """

    def set_force_limits(self, lower: numpy.typing.ArrayLike, upper: numpy.typing.ArrayLike) -> None:
        """
        Bound the sum of feed-forward, PD and damping forces (N or N m), shape (dof,) each.
        """

    @property
    def force_lower_limit(self) -> numpy.typing.NDArray[numpy.float64]:
        """(N or N m), shape (dof,); a read-only view."""

    @property
    def force_upper_limit(self) -> numpy.typing.NDArray[numpy.float64]:
        """(N or N m), shape (dof,); a read-only view."""

    @property
    def joint_limits(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Lower and upper limit (rad or m), shape (dof, 2); a copy.

        Equal values: no limit. Only the first row of a joint is read; a spherical joint reads
        its lower value as its largest angle.
        """

    @joint_limits.setter
    def joint_limits(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def joint_damping(self) -> numpy.typing.NDArray[numpy.float64]:
        """Viscous damping (N s/m or N m s/rad), shape (dof,); a read-only view."""

    @joint_damping.setter
    def joint_damping(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def joint_friction(self) -> numpy.typing.NDArray[numpy.float64]:
        """As read from the model, shape (dof,); stored only; a read-only view."""

    @property
    def rotor_inertia(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        What is added to the diagonal of M (kg or kg m^2), shape (dof,); a read-only view.
        """

    @property
    def springs(self) -> list[zelvik._records.JointSpring]:
        """Springs in the joints; copies. Setting them replaces all."""

    @springs.setter
    def springs(self, arg: Sequence[zelvik._records.JointSpring], /) -> None: ...

    @property
    def integration_scheme(self) -> IntegrationScheme:
        """
        How positions follow velocities. In PD mode TRAPEZOID takes its place from the first contact on.
        """

    @integration_scheme.setter
    def integration_scheme(self, arg: IntegrationScheme, /) -> None: ...

    @property
    def bodies(self) -> BodyList:
        """Bodies by index or name, in depth-first order."""

    @property
    def joints(self) -> JointList:
        """
        Joints that move by index or name, as in ``robot.joints["LF_KFE"].position``; a floating base is the first, "ROOT".
        """

    @property
    def frames(self) -> CoordinateFrameList:
        """Every joint's frame, those of fixed joints included."""

    @property
    def collision_bodies(self) -> CollisionDefinitionList:
        """Collision shapes by index or name."""

    @property
    def vis_objects(self) -> list[zelvik._records.VisualShape]:
        """The visual shapes of the model; copies."""

    @property
    def vis_col_objects(self) -> list[zelvik._records.VisualShape]:
        """
        The collision shapes for a renderer, parallel to `collision_bodies`; copies.
        """

    def update_kinematics(self) -> None:
        """Compute the world poses of all bodies from the coordinates."""

    def compute_mass_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Compute the joint-space inertia of the present coordinates, shape (dof, dof).
        """

    def compute_nonlinearities(self, gravity: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]:
        """
        Compute gravity, Coriolis and centrifugal forces (N or N m), shape (dof,), and the body velocities.

        Call `compute_mass_matrix` first, whose results it reads. `gravity` (m/s^2, world axes).
        """

    @property
    def mass_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        M (kg, kg m, kg m^2), shape (dof, dof), as of the last `World.integrate1`, without damping; a copy.
        """

    @property
    def inverse_mass_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Inverse of M plus the implicit damping of the step, shape (dof, dof); a copy.
        """

    @property
    def nonlinearities(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        h (N or N m), shape (dof,), as of the last `World.integrate1`; a read-only view.
        """

    @property
    def generalized_momentum(self) -> numpy.typing.NDArray[numpy.float64]:
        """M u as of the last step, shape (dof,); a copy."""

    def get_dense_jacobian(self, body: int | str, point: numpy.typing.ArrayLike | None = None) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the Jacobian of a world point as if fixed to the body, shape (3, dof).

        Parameters
        ----------
        body : int or str
            Index or name.
        point : array_like, shape (3,), optional
            (m, world axes); by default the body's origin.
        """

    def get_dense_rotational_jacobian(self, body: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """Get the angular Jacobian of a body (world axes), shape (3, dof)."""

    def get_angular_velocity(self, body: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the angular velocity of a body (rad/s, world axes), shape (3,), of the last step.
        """

    def integrate_position(self, coordinates: numpy.typing.ArrayLike, velocities: numpy.typing.ArrayLike, dt: float) -> numpy.typing.NDArray[numpy.float64]:
        """
        Move coordinates by velocities over `dt` (s), quaternions as such; returns the new ones.
        """

    def set_mass(self, body: int | str, mass: float) -> None:
        """Set the mass of a body (kg); its inertia does not change."""

    def get_body_idx(self, name: str) -> int:
        """
        Get the index of a body.

        Raises
        ------
        FatalError
            For a link that was merged into its parent, and for an unknown name.
        """

    def get_body_idx_of_link(self, name: str) -> int:
        """
        Get the index of the body that holds a link: its own, or for a link on fixed joints the one
        that it was merged into.

        Raises
        ------
        FatalError
            For an unknown name.
        """

    def get_frame_idx_by_name(self, name: str) -> int:
        """
        Get the index of a frame.

        Raises
        ------
        FatalError
            For an unknown name.
        """

    def get_frame_position(self, frame: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """Get the origin of a frame (m, world axes), shape (3,)."""

    def get_frame_orientation(self, frame: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """Get the rotation matrix frame to world, shape (3, 3)."""

    def get_frame_velocity(self, frame: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the velocity of a frame's origin (m/s, world axes), shape (3,), of the last step.
        """

    def get_frame_angular_velocity(self, frame: int | str) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the angular velocity of the body that a frame is fixed in (rad/s, world axes), shape (3,), of the last step.
        """

    def get_potential_energy(self, gravity: numpy.typing.ArrayLike) -> float:
        """Get the potential energy, zero at the world's origin (J)."""

    @property
    def kinetic_energy(self) -> float:
        """With the mass matrix as last computed (J)."""

    def get_energy(self, gravity: numpy.typing.ArrayLike) -> float:
        """Get potential and kinetic energy (J)."""

    def get_angular_momentum(self, reference_point: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the angular momentum about a world point (kg m^2/s, world axes), shape (3,).
        """

    def set_external_force_in(self, body: int | str, force_frame: Frame, force: numpy.typing.ArrayLike, point_frame: Frame, point: numpy.typing.ArrayLike) -> None:
        """
        Add a force (N) at a point (m), each in the axes named, for the next step.
        """

    def clear_external_forces(self) -> None:
        """Move the pending forces to the display lists."""

    @property
    def body_names(self) -> list[str]:
        """By body index."""

    @property
    def joint_names(self) -> list[str]:
        """
        Of the joints that move, in body order; a floating base adds "ROOT" in front.
        """

    @property
    def robot_name(self) -> str:
        """File name of the model; empty for text and for a tree."""

    @property
    def model_path(self) -> str:
        """Normalised path of the URDF file; empty for text and for a tree."""

    @property
    def model_text(self) -> str:
        """The URDF text that was given; empty for a file and for a tree."""

    @property
    def model_joint_order(self) -> list[str]:
        """The order of joints that was given with a URDF model; empty for none."""

    @property
    def model_top_directory(self) -> str:
        """Directory of the URDF file."""

    @property
    def resource_directory(self) -> str:
        """Directory of the mesh files."""

    def export_model_text(self, file: str | os.PathLike[str]) -> None:
        """
        Write the URDF text that the robot was made from.

        Raises
        ------
        FatalError
            For a robot that was not made from text, and for a name without ".urdf".
        """

    def ignore_collision_between(self, body_a: int | str, body_b: int | str) -> None:
        """Let no shape of one body collide with one of the other any more."""

class Body:
    """A body of a robot."""

    @property
    def robot(self) -> ArticulatedSystem:
        """The robot that it is part of."""

    @property
    def index(self) -> int:
        """Place in the robot's list."""

    def __eq__(self, arg: object, /) -> bool: ...

    def __hash__(self) -> int: ...

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

    @property
    def name(self) -> str: ...

    @property
    def mass(self) -> float:
        """(kg); setting it leaves the inertia as it is."""

    @mass.setter
    def mass(self, arg: float, /) -> None: ...

    @property
    def com(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Centre of mass (m, body axes), shape (3,); a copy. The inertia about it stays.
        """

    @com.setter
    def com(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def inertia(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        About the centre of mass (kg m^2, body axes), shape (3, 3), symmetric; a copy.
        """

    @inertia.setter
    def inertia(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """Frame origin, which is the joint (m, world axes), shape (3,)."""

    @property
    def com_position(self) -> numpy.typing.NDArray[numpy.float64]:
        """Centre of mass (m, world axes), shape (3,)."""

    @property
    def rotation_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """Body to world, shape (3, 3)."""

    @property
    def orientation(self) -> numpy.typing.NDArray[numpy.float64]:
        """Unit quaternion w, x, y, z, body to world, shape (4,)."""

    @property
    def velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """Of the frame origin (m/s, world axes), shape (3,), of the last step."""

    @property
    def angular_velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """(rad/s, world axes), shape (3,), of the last step."""

    @property
    def parent(self) -> Body | None:
        """The body above; None for the root."""

    @property
    def children(self) -> list[Body]:
        """The bodies that hang on it."""

    @property
    def joint_type(self) -> JointType:
        """Of the joint above the body."""

    @property
    def joint_axis(self) -> numpy.typing.NDArray[numpy.float64]:
        """Axis of the joint above (unit, world axes), shape (3,)."""

    @property
    def composite_mass(self) -> float:
        """Of the body and all below it (kg)."""

class BodyList:
    """A sequence whose entries are found by name, too."""

    def __len__(self) -> int: ...

    @overload
    def __getitem__(self, index: int) -> Body: ...

    @overload
    def __getitem__(self, name: str) -> Body: ...

    def __contains__(self, name: str) -> bool: ...

    def __iter__(self) -> Iterator[Body]: ...

    @property
    def names(self) -> list[str]:
        """Names in the order of the entries."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

class Joint:
    """A joint of a robot that moves."""

    @property
    def robot(self) -> ArticulatedSystem:
        """The robot that it is part of."""

    @property
    def index(self) -> int:
        """Place in the robot's list."""

    def __eq__(self, arg: object, /) -> bool: ...

    def __hash__(self) -> int: ...

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

    @property
    def name(self) -> str: ...

    @property
    def type(self) -> JointType: ...

    @property
    def body(self) -> Body:
        """The body below the joint."""

    @property
    def coordinate_slice(self) -> slice[int, int, int]:
        """
        Its part of the robot's coordinates, as in ``q[joint.coordinate_slice]``.
        """

    @property
    def velocity_slice(self) -> slice[int, int, int]:
        """Its part of the robot's velocities, gains and forces."""

    @property
    def position(self) -> float:
        """Angle (rad) or displacement (m). Setting it places the robot."""

    @position.setter
    def position(self, arg: float, /) -> None: ...

    @property
    def velocity(self) -> float:
        """(rad/s or m/s)"""

    @velocity.setter
    def velocity(self, arg: float, /) -> None: ...

    @property
    def force(self) -> float:
        """Control and damping of the last step, after limits (N or N m)."""

    @property
    def limits(self) -> tuple[float, float] | None:
        """Lower and upper limit (rad or m); None without."""

class JointList:
    """A sequence whose entries are found by name, too."""

    def __len__(self) -> int: ...

    @overload
    def __getitem__(self, index: int) -> Joint: ...

    @overload
    def __getitem__(self, name: str) -> Joint: ...

    def __contains__(self, name: str) -> bool: ...

    def __iter__(self) -> Iterator[Joint]: ...

    @property
    def names(self) -> list[str]:
        """Names in the order of the entries."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

class CoordinateFrame:
    """A named frame fixed in a body of a robot."""

    @property
    def robot(self) -> ArticulatedSystem:
        """The robot that it is part of."""

    @property
    def index(self) -> int:
        """Place in the robot's list."""

    def __eq__(self, arg: object, /) -> bool: ...

    def __hash__(self) -> int: ...

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

    @property
    def name(self) -> str:
        """Of the joint."""

    @property
    def body(self) -> Body:
        """The body that it is fixed in."""

    @property
    def body_name(self) -> str:
        """Of the link at the far side of the joint."""

    @property
    def joint_type(self) -> JointType: ...

    @property
    def position_in_body(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m, body frame), shape (3,)."""

    @property
    def rotation_in_body(self) -> numpy.typing.NDArray[numpy.float64]:
        """Rotation matrix frame to body, shape (3, 3)."""

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """Origin (m, world axes), shape (3,)."""

    @property
    def rotation_matrix(self) -> numpy.typing.NDArray[numpy.float64]:
        """Frame to world, shape (3, 3)."""

    @property
    def orientation(self) -> numpy.typing.NDArray[numpy.float64]:
        """Unit quaternion w, x, y, z, frame to world, shape (4,)."""

    @property
    def velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """Of the origin (m/s, world axes), shape (3,), of the last step."""

    @property
    def angular_velocity(self) -> numpy.typing.NDArray[numpy.float64]:
        """(rad/s, world axes), shape (3,), of the last step."""

class CoordinateFrameList:
    """A sequence whose entries are found by name, too."""

    def __len__(self) -> int: ...

    @overload
    def __getitem__(self, index: int) -> CoordinateFrame: ...

    @overload
    def __getitem__(self, name: str) -> CoordinateFrame: ...

    def __contains__(self, name: str) -> bool: ...

    def __iter__(self) -> Iterator[CoordinateFrame]: ...

    @property
    def names(self) -> list[str]:
        """Names in the order of the entries."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

class CollisionDefinition:
    """A collision shape of a robot."""

    @property
    def robot(self) -> ArticulatedSystem:
        """The robot that it is part of."""

    @property
    def index(self) -> int:
        """Place in the robot's list."""

    def __eq__(self, arg: object, /) -> bool: ...

    def __hash__(self) -> int: ...

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

    @property
    def name(self) -> str: ...

    @property
    def body(self) -> Body:
        """The body that it is fixed in."""

    @property
    def material(self) -> str:
        """Name that the material table knows."""

    @material.setter
    def material(self, arg: str, /) -> None: ...

    @property
    def position_offset(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m, body frame), shape (3,); a copy."""

    @position_offset.setter
    def position_offset(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def rotation_offset(self) -> numpy.typing.NDArray[numpy.float64]:
        """Rotation matrix shape to body, shape (3, 3); a copy."""

    @rotation_offset.setter
    def rotation_offset(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    def set_shape_parameters(self, parameters: numpy.typing.ArrayLike) -> None:
        """
        Set the size, as `ShapeType` says (m).

        Raises
        ------
        FatalError
            For a wrong number of values and for values that are no sizes.
        """

class CollisionDefinitionList:
    """A sequence whose entries are found by name, too."""

    def __len__(self) -> int: ...

    @overload
    def __getitem__(self, index: int) -> CollisionDefinition: ...

    @overload
    def __getitem__(self, name: str) -> CollisionDefinition: ...

    def __contains__(self, name: str) -> bool: ...

    def __iter__(self) -> Iterator[CollisionDefinition]: ...

    @property
    def names(self) -> list[str]:
        """Names in the order of the entries."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    def __repr__(self) -> str: ...

class LengthConstraint:
    """Ties a point of one body to a point of another by a length."""

    def __deepcopy__(self, memo: dict[int, object], /) -> Self: ...

    @property
    def name(self) -> str:
        """For `World.get_wire`; need not be unique."""

    @name.setter
    def name(self, arg: str, /) -> None: ...

    @property
    def stretch_type(self) -> int:
        """
        When the wire acts: 0 if its distance is above its length, as a rope; 1 (at first) if
        below, as a strut; 2 always.
        """

    @stretch_type.setter
    def stretch_type(self, arg: int, /) -> None: ...

    @property
    def is_active(self) -> bool:
        """Whether the wire acted in the last step."""

    @property
    def stretch(self) -> float:
        """Distance minus length (m), of the last step."""

    @property
    def distance(self) -> float:
        """Between the points (m), of the last step."""

    @property
    def length(self) -> float:
        """At rest (m); set it as a winch does."""

    @length.setter
    def length(self, arg: float, /) -> None: ...

    @property
    def local_pos1(self) -> numpy.typing.NDArray[numpy.float64]:
        """Attachment point (m, frame of body 1), shape (3,); a copy."""

    @local_pos1.setter
    def local_pos1(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def local_pos2(self) -> numpy.typing.NDArray[numpy.float64]:
        """Attachment point (m, frame of body 2), shape (3,); a copy."""

    @local_pos2.setter
    def local_pos2(self, arg: numpy.typing.ArrayLike, /) -> None: ...

    @property
    def norm(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Unit, from point 1 to point 2 (world axes), shape (3,), of the last step.
        """

    @property
    def p1(self) -> numpy.typing.NDArray[numpy.float64]:
        """Point on body 1 (m, world axes), shape (3,), of the last step."""

    @property
    def p2(self) -> numpy.typing.NDArray[numpy.float64]:
        """Point on body 2 (m, world axes), shape (3,), of the last step."""

    @property
    def body1(self) -> Object | None:
        """The first object; None once it has been removed."""

    @property
    def body2(self) -> Object | None:
        """The second object; None once it has been removed."""

    @property
    def local_idx1(self) -> int:
        """Body inside of the first object."""

    @property
    def local_idx2(self) -> int:
        """Body inside of the second object."""

    def __repr__(self) -> str: ...

class StiffLengthConstraint(LengthConstraint):
    """
    A wire that does not give: while active it is one more problem of the contact solver.
    """

class CompliantLengthConstraint(LengthConstraint):
    """A spring between two bodies."""

    @property
    def stiffness(self) -> float:
        """(N/m)"""

    @stiffness.setter
    def stiffness(self, arg: float, /) -> None: ...

    @property
    def tension1(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Force on body 1 (N, world axes), shape (3,), of the last step that it acted in.
        """

    @property
    def tension2(self) -> numpy.typing.NDArray[numpy.float64]:
        """Force on body 2: the negative of the other."""

class RayHit:
    """One point where a ray meets a shape."""

    @property
    def object(self) -> Object:
        """Whose shape was hit."""

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m, world axes), shape (3,)."""

    @property
    def normal(self) -> numpy.typing.NDArray[numpy.float64]:
        """Unit, out of the shape (world axes), shape (3,)."""

    @property
    def distance(self) -> float:
        """From the start of the ray (m)."""

    def __repr__(self) -> str: ...

class ContactSolver:
    """Effort and parameters of a world's contact solver, for reading."""

    @property
    def loop_counter(self) -> int:
        """Sweeps of the last solve."""

    @property
    def error_history(self) -> numpy.typing.NDArray[numpy.float64]:
        """
        Sum of squared residuals of each sweep of the last solve (m^2/s^2), shape (loop_counter,); a copy.
        """

    @property
    def threshold(self) -> float:
        """Stopping error per contact (m^2/s^2)."""

    @property
    def max_iterations(self) -> int:
        """Sweep limit."""

    def __repr__(self) -> str: ...

class State:
    """
    A moment of a world, made by `World.save_state`: a value that can be compared, copied,
    pickled and sent.

    Parameters
    ----------
    bytes : bytes, optional
        What `to_bytes` gave; empty without.

    Raises
    ------
    FatalError
        For bytes that are no state, of another version, or damaged.
    """

    @overload
    def __init__(self) -> None: ...

    @overload
    def __init__(self, bytes: bytes) -> None: ...

    @staticmethod
    def from_bytes(bytes: bytes) -> State:
        """Make the state that gave these bytes."""

    def to_bytes(self) -> bytes:
        """Give the state as bytes (docs/state-format.md)."""

    def __bytes__(self) -> bytes: ...

    def __len__(self) -> int: ...

    @property
    def is_empty(self) -> bool:
        """Whether it holds no moment, as at first."""

    @property
    def hash(self) -> int:
        """
        Hash of all values (64 bits): equal for states equal to the last bit; 0 for an
        empty one.
        """

    def __eq__(self, arg: object, /) -> bool: ...

    def __hash__(self) -> NoReturn: ...

    def __copy__(self) -> State: ...

    def __deepcopy__(self, memo: dict[int, object], /) -> State: ...

    def __reduce__(self) -> tuple[type[State], tuple[bytes]]: ...

    def __repr__(self) -> str: ...

    VERSION: int = 1

class LedgerCause(enum.Enum):
    """What moves energy and momentum."""

    GRAVITY = 0
    """Momentum only."""

    ACTUATION = 1
    """Joint forces, after force limits."""

    DAMPING = 2
    """Of joints, and drag of single bodies."""

    NORMAL = 3
    """Contacts along their normals."""

    FRICTION = 4
    """Contacts along their tangents."""

    LIMITS = 5
    """Of joints: work only."""

    WIRES = 6
    """Wires."""

    EXTERNAL = 7
    """Forces and torques that a caller set."""

    BASE = 8
    """What holds a fixed base."""

    INTEGRATION = 9
    """What remains: the error of the scheme."""

class LedgerBalance:
    """Energy (J) and momentum (world axes) at one moment."""

    @property
    def kinetic(self) -> float:
        """Rotors included (J)."""

    @property
    def gravity(self) -> float:
        """Zero at the origin of the world (J)."""

    @property
    def springs(self) -> float:
        """Of joints, zero at rest (J)."""

    @property
    def wires(self) -> float:
        """Of compliant wires that act (J)."""

    @property
    def momentum(self) -> numpy.typing.NDArray[numpy.float64]:
        """(N s), shape (3,)."""

    @property
    def spin(self) -> numpy.typing.NDArray[numpy.float64]:
        """Angular momentum about the origin (N m s), shape (3,)."""

    @property
    def energy(self) -> float:
        """Sum of the four (J)."""

class LedgerEntry:
    """What one cause has done in a step."""

    @property
    def work(self) -> float:
        """(J)"""

    @property
    def impulse(self) -> numpy.typing.NDArray[numpy.float64]:
        """(N s, world axes), shape (3,)."""

    @property
    def twist(self) -> numpy.typing.NDArray[numpy.float64]:
        """Angular impulse about the origin (N m s), shape (3,)."""

class LedgerAccount:
    """
    Energy and momentum before and after a step, and what changed them.

    `account[LedgerCause.FRICTION]` is an entry; `after - before` is the sum of all. Accounts
    of consecutive steps add up by `+=`.
    """

    @property
    def before(self) -> LedgerBalance:
        """Before the step."""

    @property
    def after(self) -> LedgerBalance:
        """After the step."""

    def __getitem__(self, cause: LedgerCause) -> LedgerEntry: ...

    def __iadd__(self, next: LedgerAccount) -> LedgerAccount: ...

class Ledger:
    """The books of a step; a copy."""

    @property
    def whole(self) -> LedgerAccount:
        """Of all dynamic objects and the wires."""

    @property
    def objects(self) -> list[LedgerAccount]:
        """By `Object.index_in_world`; zeros for those that are not dynamic."""

class Finding(enum.Enum):
    """What a watch finds."""

    NOT_FINITE = 0
    """A velocity or coordinate."""

    ENERGY = 1
    """From nowhere."""

    DEPTH = 2
    """Of an overlap."""

    SPEED = 3
    """Of a body or joint."""

    UNSOLVED = 4
    """Contacts, for many steps."""

class WatchReport:
    """What a watch has found; `str` tells it in words. A copy."""

    @property
    def finding(self) -> Finding:
        """Kind of finding."""

    @property
    def step(self) -> int:
        """`World.step_count` after the step."""

    @property
    def time(self) -> float:
        """`World.world_time` after it (s)."""

    @property
    def time_step(self) -> float:
        """(s)"""

    @property
    def object_name(self) -> str:
        """Empty for a finding of the solver."""

    @property
    def body_name(self) -> str:
        """Of a robot."""

    @property
    def joint_name(self) -> str:
        """Above that body."""

    @property
    def quantity(self) -> str:
        """With its unit."""

    @property
    def value(self) -> float:
        """Of the quantity."""

    @property
    def limit(self) -> float:
        """Of the quantity."""

    @property
    def last_coordinates(self) -> list[float]:
        """Of the object, before the step."""

    @property
    def last_velocities(self) -> list[float]:
        """Of the object, before the step."""

    @property
    def acted(self) -> list[str]:
        """Contacts and limits of the object in the step."""

    @property
    def causes(self) -> list[str]:
        """What may be behind it, the likeliest first."""

    @property
    def object(self) -> int | None:
        """`Object.index_in_world`; None for a finding of the solver."""

    @property
    def body(self) -> int | None:
        """Index inside of the object."""

    def to_text(self) -> str:
        """Tell it in several lines."""

    def __str__(self) -> str: ...

    def to_json(self) -> str:
        """Give it as one JSON object; numbers that are not finite are null."""

class ContactMotion(enum.Enum):
    """What a point of contact does in a step."""

    OPEN = 0
    """No force."""

    STICK = 1
    """The force is inside of the friction cone."""

    SLIP = 2
    """The force is on it."""

    IMPACT = 3
    """The surfaces came together faster than 0.05 m/s."""

class ContactPoint:
    """
    A point of a touch, of the step that was made (world axes), as side 0 sees it; a copy.
    """

    @property
    def position(self) -> numpy.typing.NDArray[numpy.float64]:
        """(m), shape (3,)."""

    @property
    def normal(self) -> numpy.typing.NDArray[numpy.float64]:
        """Unit, towards side 0, shape (3,)."""

    @property
    def force(self) -> numpy.typing.NDArray[numpy.float64]:
        """On side 0, friction included (N), shape (3,)."""

    @property
    def slip(self) -> numpy.typing.NDArray[numpy.float64]:
        """Of side 0 relative to side 1, along the surface (m/s), shape (3,)."""

    @property
    def approach(self) -> float:
        """Speed before it (m/s)."""

    @property
    def depth(self) -> float:
        """Of the overlap, before it (m)."""

    @property
    def motion(self) -> ContactMotion:
        """What it does."""

class Touch:
    """Two bodies that touch; a copy."""

    @property
    def points(self) -> list[ContactPoint]:
        """Its points."""

    @property
    def objects(self) -> tuple[Object, Object]:
        """Sides 0 and 1."""

    @property
    def bodies(self) -> tuple[int, int]:
        """Indices inside of the objects."""

    @property
    def begins(self) -> bool:
        """Whether they did not touch in the report that was asked for before."""

    @property
    def force(self) -> numpy.typing.NDArray[numpy.float64]:
        """On side 0 (N, world axes), shape (3,)."""

    @property
    def centre(self) -> numpy.typing.NDArray[numpy.float64]:
        """Centre of pressure (m, world axes), shape (3,)."""

    def get_torque_about(self, point: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]:
        """Get the torque on side 0 about a point (N m, world axes), shape (3,)."""

class ContactSum:
    """Contacts taken together; a copy."""

    @property
    def count(self) -> int:
        """Points."""

    @property
    def force(self) -> numpy.typing.NDArray[numpy.float64]:
        """On the side looked for (N, world axes), shape (3,)."""

    @property
    def moment(self) -> numpy.typing.NDArray[numpy.float64]:
        """The same about the origin of the world (N m), shape (3,)."""

    @property
    def centre(self) -> numpy.typing.NDArray[numpy.float64]:
        """Of pressure (m), shape (3,)."""

class BodyContactHistory:
    """
    What contacts did to a body since `World.start_contact_history`; a copy.
    """

    @property
    def impulse(self) -> numpy.typing.NDArray[numpy.float64]:
        """Sum (N s, world axes), shape (3,)."""

    @property
    def largest_force(self) -> float:
        """Of a step (N)."""

    @property
    def touches(self) -> bool:
        """In the last step."""

    @property
    def time_in_contact(self) -> float:
        """Since it began to touch (s)."""

    @property
    def time_in_air(self) -> float:
        """Since it ceased to touch (s)."""

    @property
    def last_time_in_contact(self) -> float:
        """That ended last (s)."""

    @property
    def last_time_in_air(self) -> float:
        """That ended last (s)."""

class ContactReport:
    """
    The contacts of the last step, for people: who touches whom, with which force.

    Always that of the world's last step. Wires are not in it.
    """

    @property
    def touches(self) -> list[Touch]:
        """Pairs of bodies that touch."""

    @property
    def ended(self) -> list[tuple[int, int]]:
        """
        `Object.id_in_world` of pairs that touched in the report asked for before and do not any more.
        """

    def get_force(self, object: Object, name: str | None = None) -> numpy.typing.NDArray[numpy.float64]:
        """
        Get the force of all contacts on an object (N, world axes), shape (3,).

        With `name`, on a collision shape, link or body of a robot; zero if nothing has it.
        """

    def sum_up(self, *, object: Object | None = None, body: int | None = None, shape: str = '', material: str = '', by: Object | None = None, by_material: str = '') -> ContactSum:
        """
        Sum up the points whose one side fits the first four arguments, and the other `by`.

        What is left out fits all.
        """

class Recorder:
    """
    Records a world, frame by frame, and writes what it has seen as a page or as pictures.

    Parameters
    ----------
    world : World
        Only read, and only in `capture`.
    contacts, wires, forces : bool
        Whether they are kept beside the poses.
    visual_shapes, collision_shapes : bool
        Of robots.
    expected_frames : int
        Room that is reserved.

    Examples
    --------
    >>> recorder = zelvik.Recorder(world)
    >>> for _ in range(600):
    ...     world.integrate()
    ...     recorder.capture()
    >>> recorder.write_html("replay.html")
    """

    def __init__(self, world: World, *, contacts: bool = True, wires: bool = True, forces: bool = True, visual_shapes: bool = True, collision_shapes: bool = True, expected_frames: int = 0) -> None: ...

    def capture(self) -> None:
        """
        Append a frame: poses as they are; contacts, wires and forces of the last step.
        """

    @property
    def frame_count(self) -> int:
        """Frames captured so far."""

    def __len__(self) -> int: ...

    def __bool__(self) -> bool: ...

    @property
    def memory(self) -> int:
        """Bytes that the frames take, without shapes."""

    def write_html(self, file: str | os.PathLike[str], title: str = 'zelvik replay', ghost: Recorder | None = None) -> None:
        """
        Write the recording as one page that opens in any browser, without a network.

        Parameters
        ----------
        file : path
            What is written.
        title : str
            Of the page.
        ghost : Recorder, optional
            Another recording, shown translucent in the same place.

        Raises
        ------
        FatalError
            Without a frame, in a build without the page, and for a file that cannot be
            written.
        """

    @staticmethod
    def has_html_viewer() -> bool:
        """Whether this build holds the page of `write_html`."""

    def write_replay(self, file: str | os.PathLike[str], title: str = 'zelvik replay') -> None:
        """Write the bare data of the page."""

    def encode_replay(self, title: str = 'zelvik replay') -> bytes:
        """Get the bytes of `write_replay`."""

    def __repr__(self) -> str: ...

    def render(self, *, width: int = 640, height: int = 400, frame: int | None = None, camera: zelvik._records.Camera | None = None, dark: bool = False, collision_shapes: bool = False, wires: bool = True, contacts: bool = False, forces: bool = False, grid: bool = True) -> numpy.typing.NDArray[numpy.uint8]:
        """
        Draw a frame, without screen or graphics card.

        Parameters
        ----------
        width, height : int
            (pixels), 16 to 8192.
        frame : int, optional
            From 0; by default the last.
        camera : Camera, optional
            By default everything is seen.
        dark : bool
            Background.
        collision_shapes : bool
            Instead of visual ones, where a body has both.
        wires, contacts, forces, grid : bool
            Whether they are drawn; impulses of contacts are arrows, green where
            the contact sticks, orange where it slides.

        Raises
        ------
        FatalError
            Without a frame, and for sizes and cameras out of range.

        Returns
        -------
        ndarray, shape (height, width, 3), uint8
            Red, green, blue.
        """

    def write_png(self, file: str | os.PathLike[str], *, width: int = 640, height: int = 400, frame: int | None = None, camera: zelvik._records.Camera | None = None, dark: bool = False, collision_shapes: bool = False, wires: bool = True, contacts: bool = False, forces: bool = False, grid: bool = True) -> None:
        """
        Draw a frame into a PNG file.

        Parameters
        ----------
        file : path
            What is written.
        width, height : int
            (pixels), 16 to 8192.
        frame : int, optional
            From 0; by default the last.
        camera : Camera, optional
            By default everything is seen.
        dark : bool
            Background.
        collision_shapes : bool
            Instead of visual ones, where a body has both.
        wires, contacts, forces, grid : bool
            Whether they are drawn; impulses of contacts are arrows, green where
            the contact sticks, orange where it slides.

        Raises
        ------
        FatalError
            Without a frame, and for sizes and cameras out of range.
        """

def write_png(file: str | os.PathLike[str], image: numpy.typing.NDArray[numpy.uint8]) -> None:
    """Write an image, shape (height, width, 3), uint8, as a PNG file."""

def read_urdf_tree(urdf: str | os.PathLike[str], joint_order: Sequence[str] = ()) -> zelvik._records.Link:
    """
    Read URDF, a file or text that holds a "<", into a tree of `Link`.

    Children of a link come in the order of `joint_order`, and where that names none of them, in
    the order in which their joints stand in the file.

    Raises
    ------
    FatalError
        For every fault in the file.
    """
