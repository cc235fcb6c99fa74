// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "Bindings.hpp"
#include "Records.hpp"

// Single bodies and their shapes.

namespace zelvik::python {

namespace {

using Body = const SingleBodyHandle&;

void setPose(Body self, ArrayLike position, ArrayLike orientation) {
  SingleBodyObject& body = self.bodyBetweenSteps("set_pose");
  const Mat<3, 1> p = readVector<3>(position, "position");
  // In this order the centre of mass follows.
  body.setOrientation(readQuaternion(orientation, "orientation"));
  body.setPosition(p);
}

void bindState(nb::class_<SingleBodyHandle, ObjectHandle>& cls) {
  cls.def_prop_rw(
         "position", [](Body self) { return toPython(self.body().getBodyPosition()); },
         [](Body self, ArrayLike p) {
           self.bodyBetweenSteps("position").setPosition(readVector<3>(p, "position"));
         },
         "Position of the body origin (m, world axes), shape (3,); a copy.")
      .def_prop_rw(
          "orientation", [](Body self) { return toPython(self.body().getQuaternion()); },
          [](Body self, ArrayLike q) {
            self.bodyBetweenSteps("orientation").setOrientation(readQuaternion(q, "orientation"));
          },
          "Unit quaternion w, x, y, z, body to world, shape (4,); a copy. Normalised when set.\n\n"
          "With a centre-of-mass offset use `set_pose`: the stored centre does not turn along.")
      .def_prop_ro(
          "rotation_matrix", [](Body self) { return toPython(self.body().getRotationMatrix()); },
          "Body to world, shape (3, 3).")
      .def("set_pose", setPose, "position"_a, "orientation"_a,
           "Place the body: origin (m, world axes), shape (3,), and quaternion w, x, y, z, shape "
           "(4,).")
      .def_prop_rw(
          "linear_velocity", [](Body self) { return toPython(self.body().getLinearVelocity()); },
          [](Body self, ArrayLike v) {
            SingleBodyObject& body = self.body();
            body.setVelocity(readVector<3>(v, "linear_velocity"), body.getAngularVelocity());
          },
          "Of the centre of mass (m/s, world axes), shape (3,); a copy.")
      .def_prop_rw(
          "angular_velocity", [](Body self) { return toPython(self.body().getAngularVelocity()); },
          [](Body self, ArrayLike w) {
            SingleBodyObject& body = self.body();
            body.setVelocity(body.getLinearVelocity(), readVector<3>(w, "angular_velocity"));
          },
          "(rad/s, world axes), shape (3,); a copy.")
      .def(
          "set_velocity",
          [](Body self, ArrayLike linear, ArrayLike angular) {
            self.body().setVelocity(readVector<3>(linear, "linear"),
                                    readVector<3>(angular, "angular"));
          },
          "linear"_a, "angular"_a = nb::make_tuple(0.0, 0.0, 0.0),
          "Set velocity of the centre of mass (m/s) and angular velocity (rad/s), world axes.")
      .def_prop_ro(
          "com_position", [](Body self) { return toPython(self.body().getComPosition()); },
          "Centre of mass (m, world axes), shape (3,).")
      .def_prop_ro(
          "linear_momentum", [](Body self) { return toPython(self.body().getLinearMomentum()); },
          "(N s, world axes), shape (3,).")
      .def_prop_ro(
          "kinetic_energy", [](Body self) { return self.body().getKineticEnergy(); }, "(J)")
      .def(
          "get_potential_energy",
          [](Body self, ArrayLike gravity) {
            return self.body().getPotentialEnergy(readVector<3>(gravity, "gravity"));
          },
          "gravity"_a, "Get -m g . x of the centre of mass (J); `gravity` (m/s^2, world axes).")
      .def(
          "get_energy",
          [](Body self, ArrayLike gravity) {
            return self.body().getEnergy(readVector<3>(gravity, "gravity"));
          },
          "gravity"_a, "Get potential and kinetic energy (J); `gravity` (m/s^2, world axes).");
}

void bindDescription(nb::class_<SingleBodyHandle, ObjectHandle>& cls) {
  cls.def_prop_rw(
         "body_type", [](Body self) { return self.body().getBodyType(); },
         [](Body self, BodyType type) { self.bodyBetweenSteps("body_type").setBodyType(type); },
         "How the body takes part in a step. Every type but DYNAMIC moves its shapes to "
         "collision group 0x80000000.")
      .def_prop_rw(
          "mass", [](Body self) { return self.body().getMass(0); },
          [](Body self, double mass) { self.bodyBetweenSteps("mass").setMass(mass); },
          "(kg), above 0. Setting it leaves the inertia as it is; see `scale_mass`.")
      .def(
          "scale_mass",
          [](Body self, double factor) { self.bodyBetweenSteps("scale_mass").scaleMass(factor); },
          "factor"_a, "Multiply mass and inertia, as another density does.")
      .def_prop_rw(
          "inertia", [](Body self) { return toPython(self.body().getBodyInertia()); },
          [](Body self, ArrayLike inertia) {
            self.bodyBetweenSteps("inertia").setInertia(readMatrix(inertia, "inertia"));
          },
          "About the centre of mass (kg m^2, body axes), shape (3, 3), positive definite; "
          "a copy.")
      .def_prop_ro(
          "world_inertia", [](Body self) { return toPython(self.body().getWorldInertia()); },
          "About the centre of mass (kg m^2, world axes), shape (3, 3).")
      .def_prop_rw(
          "com_offset", [](Body self) { return toPython(self.body().getComOffset()); },
          [](Body self, ArrayLike offset) {
            self.bodyBetweenSteps("com_offset").setComOffset(readVector<3>(offset, "com_offset"));
          },
          "Centre of mass (m, body frame), shape (3,); a copy. Setting it leaves the "
          "origin where it is.")
      .def_prop_rw(
          "linear_damping", [](Body self) { return self.body().getLinearDamping(); },
          [](Body self, double damping) {
            self.body().setLinearDamping(checkFinite(damping, "linear_damping"));
          },
          "Drag force per velocity of the centre of mass (N s/m).")
      .def_prop_rw(
          "angular_damping", [](Body self) { return toPython(self.body().getAngularDamping()); },
          [](Body self, ArrayLike damping) {
            self.body().setAngularDamping(readVector<3>(damping, "angular_damping"));
          },
          "Drag torque per angular velocity (N m s/rad, body axes), shape (3,). Acts only if the "
          "first value is above 0.")
      .def_prop_rw(
          "gyroscopic_mode", [](Body self) { return self.body().getGyroscopicMode(); },
          [](Body self, GyroscopicMode mode) { self.body().setGyroscopicMode(mode); },
          "How the gyroscopic torque is integrated.")
      .def_prop_rw(
          "collision_group", [](Body self) { return self.body().getCollisionGroup(); },
          [](Body self, unsigned long group) {
            self.bodyBetweenSteps("collision_group").setCollisionGroup(group);
          },
          "Category bits of the shapes; 0 without a shape.")
      .def_prop_rw(
          "collision_mask", [](Body self) { return self.body().getCollisionMask(); },
          [](Body self, unsigned long mask) {
            self.bodyBetweenSteps("collision_mask").setCollisionMask(mask);
          },
          "Collide bits of the shapes; 0 without a shape.")
      .def_prop_rw(
          "material", [](Body self) { return self.body().getMaterial(); },
          [](Body self, const std::string& name) { self.body().setMaterial(name); },
          "Name that the material table knows.")
      .def_prop_rw(
          "appearance", [](Body self) { return self.body().getAppearance(); },
          [](Body self, const std::string& text) { self.body().setAppearance(text); },
          "Free text for a renderer.");
}

template <typename T>
using Shape = nb::class_<ShapeHandle<T>, SingleBodyHandle>;

template <typename T>
Shape<T> shape(nb::module_& m, const char* name, const char* doc) {
  return Shape<T>(m, name, nb::is_final(), nb::type_slots(collectorSlots<ShapeHandle<T>>()), doc);
}

/// What cylinders and capsules have.
template <typename T>
void bindRound(Shape<T>& cls, const char* heightDoc) {
  cls.def_prop_rw(
         "radius", [](const ShapeHandle<T>& s) { return s.shape().getRadius(); },
         [](const ShapeHandle<T>& s, double radius) {
           s.shapeBetweenSteps("radius").setRadius(radius);
         },
         "(m); the inertia follows.")
      .def_prop_rw(
          "height", [](const ShapeHandle<T>& s) { return s.shape().getHeight(); },
          [](const ShapeHandle<T>& s, double height) {
            s.shapeBetweenSteps("height").setHeight(height);
          },
          heightDoc)
      .def(
          "set_size",
          [](const ShapeHandle<T>& s, double radius, double height) {
            s.shapeBetweenSteps("set_size").setSize(radius, height);
          },
          "radius"_a, "height"_a, "Set both (m); the inertia follows.");
}

using CompoundHandle = ShapeHandle<Compound>;

void bindCompound(nb::module_& m) {
  shape<Compound>(m, "Compound", "One rigid body with several shapes.")
      .def_prop_ro(
          "children",
          [](const CompoundHandle& s) {
            nb::list out;
            for (const auto& child : s.shape().getChildren()) out.append(makeCompoundChild(child));
            return out;
          },
          nb::sig("def children(self) -> list[zelvik._records.CompoundChild]"),
          "The shapes as they are; copies.")
      .def(
          "set_child_material",
          [](const CompoundHandle& s, size_t child, const std::string& material) {
            s.shapeBetweenSteps("set_child_material").setChildMaterial(child, material);
          },
          "child"_a, "material"_a, "Set the material of one shape.")
      .def(
          "set_child_size",
          [](const CompoundHandle& s, size_t child, ArrayLike lengths) {
            s.shapeBetweenSteps("set_child_size")
                .setChildSize(child, readVector<3>(lengths, "lengths"));
          },
          "child"_a, "lengths"_a,
          "Set the size of one shape, as `CompoundChild.size` says (m), shape (3,); what a shape "
          "does not have is not read.")
      .def(
          "set_child_pose",
          [](const CompoundHandle& s, size_t child, ArrayLike position, ArrayLike rotation) {
            s.shapeBetweenSteps("set_child_pose")
                .setChildPose(child, readVector<3>(position, "position"),
                              readMatrix(rotation, "rotation"));
          },
          "child"_a, "position"_a, "rotation"_a,
          "Place one shape: (m, body frame), shape (3,), and rotation matrix shape to body, shape "
          "(3, 3).");
}

nb::object adoptVertices(const std::vector<float>& values) {
  return adopt(std::vector<float>(values), 3);
}

}  // namespace

void bindBodies(nb::module_& m) {
  nb::class_<SingleBodyHandle, ObjectHandle> body(
      m, "SingleBodyObject", nb::type_slots(collectorSlots<SingleBodyHandle>()),
      "Base of all objects of one body. Its state is set between steps.");
  bindState(body);
  bindDescription(body);

  shape<Sphere>(m, "Sphere", "Solid sphere.")
      .def_prop_rw(
          "radius", [](const ShapeHandle<Sphere>& s) { return s.shape().getRadius(); },
          [](const ShapeHandle<Sphere>& s, double radius) {
            s.shapeBetweenSteps("radius").setRadius(radius);
          },
          "(m); the inertia follows.");
  shape<Box>(m, "Box", "Solid box.")
      .def_prop_rw(
          "dimensions",
          [](const ShapeHandle<Box>& s) { return toPython(s.shape().getDimensions()); },
          [](const ShapeHandle<Box>& s, ArrayLike lengths) {
            s.shapeBetweenSteps("dimensions").setDimensions(readVector<3>(lengths, "dimensions"));
          },
          "Full lengths (m), shape (3,); a copy. The inertia follows.");
  auto cylinder = shape<Cylinder>(m, "Cylinder", "Solid cylinder along z of the body.");
  bindRound(cylinder, "(m); the inertia follows.");
  auto capsule = shape<Capsule>(
      m, "Capsule", "Solid cylinder along z of the body with a half sphere at each end.");
  bindRound(capsule, "Of the cylinder part (m); the inertia follows.");
  shape<Ground>(m, "Ground", "Static horizontal plane; everything below it is solid.")
      .def_prop_ro(
          "height", [](const ShapeHandle<Ground>& s) { return s.shape().getHeight(); },
          "z of the plane (m).");
  bindCompound(m);
  shape<Mesh>(m, "Mesh", "Rigid body whose shape is a triangle mesh.")
      .def_prop_ro(
          "file_name", [](const ShapeHandle<Mesh>& s) { return s.shape().getFileName(); },
          "The file that it was read from.")
      .def_prop_ro(
          "scale", [](const ShapeHandle<Mesh>& s) { return s.shape().getScale(); },
          "Factor that was applied to every coordinate.")
      .def_prop_ro(
          "vertices",
          [](const ShapeHandle<Mesh>& s) { return adoptVertices(s.shape().getVertices()); },
          nb::sig("def vertices(self) -> numpy.typing.NDArray[numpy.float32]"),
          "(m, body axes), scaled, shape (n, 3); a copy.")
      .def_prop_ro(
          "indices",
          [](const ShapeHandle<Mesh>& s) {
            return adopt(std::vector<unsigned>(s.shape().getIndices()), 3);
          },
          nb::sig("def indices(self) -> numpy.typing.NDArray[numpy.uint32]"),
          "Triangles, from 0, shape (n, 3); a copy.");
  shape<ConvexHull>(m, "ConvexHull", "Solid convex polyhedron.")
      .def_prop_ro(
          "corners",
          [](const ShapeHandle<ConvexHull>& s) {
            return adopt(std::vector<double>(s.shape().getCorners()), 3);
          },
          nb::sig("def corners(self) -> numpy.typing.NDArray[numpy.float64]"),
          "(m, body axes), shape (n, 3); a copy.")
      .def_prop_ro(
          "triangles",
          [](const ShapeHandle<ConvexHull>& s) {
            return adopt(std::vector<unsigned>(s.shape().getTriangles()), 3);
          },
          nb::sig("def triangles(self) -> numpy.typing.NDArray[numpy.uint32]"),
          "Corners of the triangles, from 0, shape (n, 3); a copy.");
}

}  // namespace zelvik::python
