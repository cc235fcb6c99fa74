// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"
#include "Records.hpp"

// The add functions of World.

namespace zelvik::python {

namespace {

using MadeRobot = Made<RobotHandle>;
template <typename T>
using MadeShape = Made<ShapeHandle<T>>;

// What the documentation of all add functions ends with.
#define ZELVIK_COLLISION_DOC                                                                   \
  "material : str\n    Name that the material table knows.\n"                                  \
  "group, mask : int\n    Two bodies collide if the group of one meets the mask of the other " \
  "(64 bits).\n\n"                                                                             \
  "Raises\n------\nFatalError\n    For a size that is negative or not finite."

void bindShapes(nb::class_<WorldHandle>& world) {
  world
      .def(
          "add_sphere",
          [](const WorldSelf& self, double radius, double mass, const std::string& material,
             unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_sphere");
            return MadeShape<Sphere>{
                handleOf(self, held.addSphere(radius, mass, material, group, mask))};
          },
          "radius"_a, "mass"_a, "material"_a = "", "group"_a = kDefaultGroup, "mask"_a = kAllMask,
          "Add a solid sphere at the origin.\n\n"
          "Parameters\n----------\nradius : float\n    (m)\nmass : float\n    "
          "(kg)\n" ZELVIK_COLLISION_DOC)
      .def(
          "add_box",
          [](const WorldSelf& self, double x, double y, double z, double mass,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_box");
            return MadeShape<Box>{
                handleOf(self, held.addBox(x, y, z, mass, material, group, mask))};
          },
          "x"_a, "y"_a, "z"_a, "mass"_a, "material"_a = "", "group"_a = kDefaultGroup,
          "mask"_a = kAllMask,
          "Add a solid box at the origin.\n\n"
          "Parameters\n----------\nx, y, z : float\n    Full lengths (m).\nmass : float\n    "
          "(kg)\n" ZELVIK_COLLISION_DOC)
      .def(
          "add_cylinder",
          [](const WorldSelf& self, double radius, double height, double mass,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_cylinder");
            return MadeShape<Cylinder>{
                handleOf(self, held.addCylinder(radius, height, mass, material, group, mask))};
          },
          "radius"_a, "height"_a, "mass"_a, "material"_a = "", "group"_a = kDefaultGroup,
          "mask"_a = kAllMask,
          "Add a solid cylinder at the origin, its axis along z of the body.\n\n"
          "Parameters\n----------\nradius, height : float\n    (m)\nmass : float\n    "
          "(kg)\n" ZELVIK_COLLISION_DOC)
      .def(
          "add_capsule",
          [](const WorldSelf& self, double radius, double height, double mass,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_capsule");
            return MadeShape<Capsule>{
                handleOf(self, held.addCapsule(radius, height, mass, material, group, mask))};
          },
          "radius"_a, "height"_a, "mass"_a, "material"_a = "", "group"_a = kDefaultGroup,
          "mask"_a = kAllMask,
          "Add a capsule at the origin, its axis along z of the body.\n\n"
          "Parameters\n----------\nradius : float\n    (m)\n"
          "height : float\n    Length of the cylinder part, without the caps (m).\n"
          "mass : float\n    (kg)\n" ZELVIK_COLLISION_DOC)
      .def(
          "add_ground",
          [](const WorldSelf& self, double height, const std::string& material,
             unsigned long mask) {
            World& held = self.p->betweenSteps("add_ground");
            return MadeShape<Ground>{handleOf(self, held.addGround(height, material, mask))};
          },
          "height"_a = 0.0, "material"_a = "", "mask"_a = kAllMask,
          "Add a horizontal plane at z = `height` (m); everything below it is solid.");
}

/// Numbers that are no indices become one that is out of range.
std::vector<unsigned> readIndices(ArrayLike argument, const char* what) {
  const Table table = readTable(argument, what);
  std::vector<unsigned> indices;
  indices.reserve(table.values.size());
  for (const double value : table.values)
    indices.push_back(value >= 0.0 && value < 1e9 ? static_cast<unsigned>(value) : ~0u);
  return indices;
}

void bindMeshes(nb::class_<WorldHandle>& world) {
  world
      .def(
          "add_compound",
          [](const WorldSelf& self, const std::vector<CompoundChildRecord>& children, double mass,
             ArrayLike com, ArrayLike inertia, unsigned long group, unsigned long mask) {
            std::vector<Compound::CompoundObjectChild> shapes;
            for (const CompoundChildRecord& child : children)
              shapes.push_back(readCompoundChild(child.value));
            World& held = self.p->betweenSteps("add_compound");
            return MadeShape<Compound>{
                handleOf(self, held.addCompound(shapes, mass, readVector<3>(com, "com"),
                                                readMatrix(inertia, "inertia"), group, mask))};
          },
          "children"_a, "mass"_a, "com"_a, "inertia"_a, "group"_a = kDefaultGroup,
          "mask"_a = kAllMask,
          "Add several shapes as one body, each with a material of its own.\n\n"
          "Parameters\n----------\nchildren : sequence of CompoundChild\n    Two or more.\n"
          "mass : float\n    (kg)\ncom : array_like, shape (3,)\n    Centre of mass (m, body "
          "frame).\ninertia : array_like, shape (3, 3)\n    About the centre of mass (kg m^2, body "
          "axes).\n\nRaises\n------\nFatalError\n    For fewer than two children, other shapes "
          "and sizes that are no sizes.")
      .def(
          "add_mesh",
          [](const WorldSelf& self, const PathArgument& file, double mass, ArrayLike inertia,
             ArrayLike com, double scale, const std::string& material, unsigned long group,
             unsigned long mask) {
            World& held = self.p->betweenSteps("add_mesh");
            const Mat<3, 3> I = readMatrix(inertia, "inertia");
            const Mat<3, 1> c = readVector<3>(com, "com");
            return MadeShape<Mesh>{handleOf(self, unlocked(self.p->state, [&] {
                                              return held.addMesh(file.text, mass, I, c, scale,
                                                                  material, group, mask);
                                            }))};
          },
          "file"_a, "mass"_a, "inertia"_a, "com"_a = nb::make_tuple(0.0, 0.0, 0.0), "scale"_a = 1.0,
          "material"_a = "", "group"_a = kDefaultGroup, "mask"_a = kAllMask,
          "Add a body whose shape is a triangle mesh from an OBJ file.\n\n"
          "Parameters\n----------\nfile : path\n    Of the OBJ file.\nmass : float\n    (kg)\n"
          "inertia : array_like, shape (3, 3)\n    About the centre of mass (kg m^2, body axes).\n"
          "com : array_like, shape (3,)\n    Centre of mass (m, body axes).\n"
          "scale : float\n    Factor of every coordinate of the file.\n" ZELVIK_COLLISION_DOC)
      .def(
          "add_mesh_copy",
          [](const WorldSelf& self, const ShapeHandle<Mesh>& source, const std::string& material,
             unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_mesh_copy");
            const Mesh* mesh = &source.shape();
            return MadeShape<Mesh>{handleOf(self, held.addMesh(mesh, material, group, mask))};
          },
          "source"_a, "material"_a = "", "group"_a = kDefaultGroup, "mask"_a = kAllMask,
          "Add a second mesh from the file of the first, with the same mass data.\n\n"
          "An empty `material` means that of the source.")
      .def(
          "add_convex_hull",
          [](const WorldSelf& self, ArrayLike corners, ArrayLike triangles, double mass,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_convex_hull");
            const Table points = readTable(corners, "corners");
            const std::vector<unsigned> indices = readIndices(triangles, "triangles");
            return MadeShape<ConvexHull>{handleOf(
                self, held.addConvexHull(points.values, indices, mass, material, group, mask))};
          },
          "corners"_a, "triangles"_a, "mass"_a, "material"_a = "", "group"_a = kDefaultGroup,
          "mask"_a = kAllMask,
          "Add a solid convex body with the mass data of the solid.\n\n"
          "Parameters\n----------\ncorners : array_like, shape (n, 3)\n    (m, body axes)\n"
          "triangles : array_like, shape (m, 3)\n    Corners of the surface's triangles, from 0, "
          "counter-clockwise seen from outside.\n"
          "mass : float\n    (kg)\n" ZELVIK_COLLISION_DOC);
}

void bindHeightMaps(nb::class_<WorldHandle>& world) {
  world
      .def(
          "add_height_map",
          [](const WorldSelf& self, ArrayLike heights, double xSize, double ySize, ArrayLike center,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_height_map");
            const Table table = readTable(heights, "heights");
            const Mat<2, 1> c = readVector<2>(center, "center");
            return MadeShape<HeightMap>{
                handleOf(self, unlocked(self.p->state, [&] {
                           return held.addHeightMap(table.columns, table.rows, xSize, ySize, c[0],
                                                    c[1], table.values, material, group, mask);
                         }))};
          },
          "heights"_a, "x_size"_a, "y_size"_a, "center"_a = nb::make_tuple(0.0, 0.0),
          "material"_a = "", "group"_a = kGroundGroup, "mask"_a = kAllMask,
          "Add terrain from an array of heights.\n\n"
          "Parameters\n----------\nheights : array_like, shape (y_samples, x_samples)\n"
          "    Heights (m); row 0 at low y, column 0 at low x.\n"
          "x_size, y_size : float\n    Extent (m).\n"
          "center : array_like, shape (2,)\n    Of the map (m, world axes).")
      .def(
          "add_height_map_from_png",
          [](const WorldSelf& self, const PathArgument& file, double xSize, double ySize,
             double heightScale, double heightOffset, ArrayLike center, const std::string& material,
             unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_height_map_from_png");
            const Mat<2, 1> c = readVector<2>(center, "center");
            return MadeShape<HeightMap>{handleOf(
                self, unlocked(self.p->state, [&] {
                  return held.addHeightMap(file.text, c[0], c[1], xSize, ySize, heightScale,
                                           heightOffset, material, group, mask);
                }))};
          },
          "file"_a, "x_size"_a, "y_size"_a, "height_scale"_a, "height_offset"_a = 0.0,
          "center"_a = nb::make_tuple(0.0, 0.0), "material"_a = "", "group"_a = kGroundGroup,
          "mask"_a = kAllMask,
          "Add terrain from a grey PNG image: height = pixel * height_scale + height_offset (m).")
      .def(
          "add_height_map_from_text",
          [](const WorldSelf& self, const PathArgument& file, ArrayLike center,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_height_map_from_text");
            const Mat<2, 1> c = readVector<2>(center, "center");
            return MadeShape<HeightMap>{handleOf(self, unlocked(self.p->state, [&] {
                                                   return held.addHeightMap(file.text, c[0], c[1],
                                                                            material, group, mask);
                                                 }))};
          },
          "file"_a, "center"_a = nb::make_tuple(0.0, 0.0), "material"_a = "",
          "group"_a = kGroundGroup, "mask"_a = kAllMask,
          "Add terrain from a text file: sample counts, sizes (m), heights (m).")
      .def(
          "add_terrain",
          [](const WorldSelf& self, TerrainPropertiesRecord properties, ArrayLike center,
             const std::string& material, unsigned long group, unsigned long mask) {
            World& held = self.p->betweenSteps("add_terrain");
            TerrainProperties terrain = readTerrain(properties.value);
            const Mat<2, 1> c = readVector<2>(center, "center");
            return MadeShape<HeightMap>{handleOf(self, unlocked(self.p->state, [&] {
                                                   return held.addHeightMap(c[0], c[1], terrain,
                                                                            material, group, mask);
                                                 }))};
          },
          "properties"_a, "center"_a = nb::make_tuple(0.0, 0.0), "material"_a = "",
          "group"_a = kGroundGroup, "mask"_a = kAllMask,
          "Add terrain from fractal noise; equal properties give equal terrain.")
      .def(
          "add_height_map_copy",
          [](const WorldSelf& self, const ShapeHandle<HeightMap>& source, unsigned long group,
             unsigned long mask) {
            World& held = self.p->betweenSteps("add_height_map_copy");
            const HeightMap* map = &source.shape();
            return MadeShape<HeightMap>{handleOf(self, held.addHeightMap(map, group, mask))};
          },
          "source"_a, "group"_a = kGroundGroup, "mask"_a = kAllMask,
          "Add a copy of another map, material included.");
}

void bindRobots(nb::class_<WorldHandle>& world) {
  world
      .def(
          "add_articulated_system",
          [](const WorldSelf& self, const PathArgument& urdf, const PathArgument& directory,
             const std::vector<std::string>& jointOrder, unsigned long group, unsigned long mask,
             bool doNotCollideWithParent, bool ignoreInitialOverlaps) {
            World& held = self.p->betweenSteps("add_articulated_system");
            return MadeRobot{handleOf(self, unlocked(self.p->state, [&] {
                                        return held.addArticulatedSystem(
                                            urdf.text, directory.text, jointOrder, group, mask,
                                            {doNotCollideWithParent, ignoreInitialOverlaps});
                                      }))};
          },
          "urdf"_a, "resource_directory"_a = "", "joint_order"_a = nb::make_tuple(),
          "group"_a = kDefaultGroup, "mask"_a = kAllMask, "do_not_collide_with_parent"_a = true,
          "ignore_initial_overlaps"_a = false,
          "Add a robot from a URDF file, or from URDF text (anything that holds a \"<\").\n\n"
          "Parameters\n----------\nurdf : path or str\n    File or text.\n"
          "resource_directory : path\n    Where mesh files are; by default the directory of the "
          "file.\njoint_order : sequence of str\n    Joints whose branches come first, in this "
          "order.\ngroup, mask : int\n    Two bodies collide if the group of one meets the mask of "
          "the other (64 bits).\ndo_not_collide_with_parent : bool\n    Whether a body never "
          "collides with its nearest ancestor that has mass.\nignore_initial_overlaps : bool\n    "
          "Whether pairs of shapes never collide that overlap by more than 1 mm while all joint\n  "
          "  "
          "coordinates are zero. Without it a robot with such pairs is warned of.\n\n"
          "Raises\n------\nFatalError\n    For every fault in the file.")
      .def(
          "add_articulated_system_from_tree",
          [](const WorldSelf& self, LinkRecord root, const PathArgument& directory,
             unsigned long group, unsigned long mask, bool doNotCollideWithParent,
             bool ignoreInitialOverlaps) {
            World& held = self.p->betweenSteps("add_articulated_system_from_tree");
            const Child tree = readLink(root.value);
            return MadeRobot{handleOf(self, unlocked(self.p->state, [&] {
                                        return held.addArticulatedSystem(
                                            tree, directory.text, group, mask,
                                            {doNotCollideWithParent, ignoreInitialOverlaps});
                                      }))};
          },
          "root"_a, "resource_directory"_a = ".", "group"_a = kDefaultGroup, "mask"_a = kAllMask,
          "do_not_collide_with_parent"_a = true, "ignore_initial_overlaps"_a = false,
          "Add a robot from a tree of `Link`; materials come from the tree.");
}

}  // namespace

void bindWorldObjects(nb::class_<WorldHandle>& world) {
  bindShapes(world);
  bindMeshes(world);
  bindHeightMaps(world);
  bindRobots(world);
  world
      .def(
          "remove_object", removeObject, "object"_a,
          "Remove an object with its wires, or a wire.\n\n"
          "Using it afterwards raises ReferenceError; arrays that were taken from it stay as they\n"
          "are.\n\nRaises\n------\nValueError\n    If it belongs to another world.")
      .def("remove_object", removeWire, "wire"_a);
  world.attr("DEFAULT_GROUP") = World::kDefaultGroup;
  world.attr("GROUND_GROUP") = World::kGroundGroup;
  world.attr("ALL_MASK") = World::kAllMask;
}

}  // namespace zelvik::python
